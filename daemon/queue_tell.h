// SPDX-License-Identifier: GPL-2.0-or-later
//
// The log lines about requests that could not be stored, and about the files that hold them.
#pragma once

#include <stddef.h>

#include "daemon/queue_reader.h"
#include "platform/veluindex.h"

// Logs that a file could not be read to its end.
void ReadFailedTell(const char *file, int reason, int line = __builtin_LINE());

// Logs how many requests are in the kept file.
void KeptTell(size_t count);

// Logs that a catalogue that was away takes rows again.
void BackTell(Catalogue catalogue, size_t kept);

// Logs that the working copy is not done with: it is done again, or its requests are lost when it has no name any more.
void CopyStaysTell(const QueueReader &copy);

// Logs that the kept file could not be written, and what that means for the working copy; `copy` is null without one.
void NotKeptTell(const QueueReader *copy, int reason);
