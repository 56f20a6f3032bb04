// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the benchmarks of the store share: its rows, wall time and memory.
#pragma once

#include <stdio.h>
#include <stdlib.h>

#include <chrono>
#include <fstream>
#include <string>

#include "platform/media_record.h"
#include "platform/veluindex.h"

inline double Now() {
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

[[noreturn]] inline void Fail(const std::string &what) {
    fprintf(stderr, "bench: %s failed\n", what.c_str());
    exit(1);
}

// A value of /proc/self/status in KiB.
inline long StatusOf(const std::string &key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);)
        if (line.compare(0, key.size(), key) == 0)
            return atol(line.c_str() + key.size());
    return 0;
}

inline void ForgetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

inline MediaInfo RecordOf(int number) {
    constexpr int kFolder = 1000;
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "/volume1/music/Artist %d/Album/%d.mp3", number / kFolder,
             number);
    snprintf(record.title, sizeof record.title, "Title of the song with number %d", number);
    snprintf(record.album, sizeof record.album, "Album");
    snprintf(record.artist, sizeof record.artist, "Artist %d", number / kFolder);
    snprintf(record.genre, sizeof record.genre, "Genre");
    snprintf(record.create_time, sizeof record.create_time, "2009-01-02 03:04:05");
    snprintf(record.modify_time, sizeof record.modify_time, "2009-01-02 03:04:05");
    record.track = number % 20;
    record.duration = 200.5F;
    record.audio_bitrate = 128000;
    record.file_size = 4000000;
    return record;
}

// Both give the seconds that it took, to the disk.
inline double SaveInOneRun(int rows, int first = 0) {
    const double start = Now();
    VELUIndexRunBegin();
    for (int i = first; i < first + rows; ++i) {
        const MediaInfo record = RecordOf(i);
        if (MediaInfoDBSave(kMediaMusic, &record) != 0)
            Fail("MediaInfoDBSave");
    }
    if (VELUIndexRunEnd() != 0)
        Fail("VELUIndexRunEnd");
    return Now() - start;
}

inline double SaveOnAConnectionEach(int rows) {
    const double start = Now();
    for (int i = 0; i < rows; ++i) {
        const MediaInfo record = RecordOf(i);
        if (MediaInfoDBSave(kMediaMusic, &record) != 0)
            Fail("MediaInfoDBSave");
    }
    return Now() - start;
}
