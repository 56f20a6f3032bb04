// SPDX-License-Identifier: GPL-2.0-or-later
//
// Runs a probe in a forked, confined and watched child and takes its findings back.
#pragma once

#include "container/metamedia_watch.h"
#include "container/probe_module/probe.h"

#include <sys/types.h>

struct MediaInfo;

// Runs `probe` on a copy of the record in a child. Returns the child's exit status (kProbeDone or
// kProbeFailed), or -1 when it could not be started or did not end by itself. Whatever the child found, also
// before it failed or was killed, is then in the record.
int MediaProbeRun(MediaProbe probe, const char *path, MediaInfo *record, const ChildWatch &watch = {});

// Ties the child's life to its parent's, bounds its resources and lets go of the descriptors that it
// inherited. Afterwards only the standard streams and a connection to the system log are open.
void ChildConfine(pid_t parent);
