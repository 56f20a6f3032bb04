// SPDX-License-Identifier: GPL-2.0-or-later
//
// The seam between the daemon and the probe's module, which alone links libavformat: one function.
#pragma once

struct MediaInfo;

enum ProbeResult : int {
    kProbeDone = 0,
    kProbeFailed = 1,
};

// Reads the file with libavformat and fills the record with what it finds, step by step, so that what was
// found before a failure stays. Returns kProbeDone or kProbeFailed (logged, unless the file merely has
// neither audio nor video).
// To be called in a child process that ends afterwards: once the file is open, the process may only compute,
// read it and write to the system log (filter.h).
using MediaProbe = int (*)(const char *path, MediaInfo *record);
extern "C" int MiscMediaInfoProbe(const char *path, MediaInfo *record);

inline constexpr char kProbeModule[] = "veluprobe.so";
inline constexpr char kProbeEntry[] = "MiscMediaInfoProbe";
