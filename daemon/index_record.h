// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a run by the rules `complete` writes down for people: while it goes on how far it is, and at its end what became of it.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <string>
#include <utility>
#include <vector>

inline constexpr char kRunRecord[] = "/var/lib/velu/run";          // of the run that goes on
inline constexpr char kLastRunRecord[] = "/var/lib/velu/last_run"; // of the last one that ended

struct IndexRecord {
    int64_t pid = 0;          // of the daemon
    int64_t begin = 0;        // seconds of the epoch
    int64_t end = 0;          // 0: it goes on
    int64_t milliseconds = 0; // that it took so far
    int64_t request = 0;      // the number of the one that is carried out
    int64_t files = 0;        // that had their turn
    int64_t known = 0;        // those, and others that are known to be there
    int64_t counted = 0;      // 1: what the request is about was counted to its end
    int64_t added = 0;
    int64_t changed = 0;
    int64_t unchanged = 0;
    int64_t troubled = 0;
    int64_t removed = 0; // rows
    std::vector<std::pair<int64_t, std::string>> left_out =
        {};                  // entries, and the reason in words behind a number
    std::string folder = {}; // where it is
};

// Puts a record in the place of another, whole or not at all. What fails is nobody's concern: it is for people.
void IndexRecordWrite(const char *path, const IndexRecord &record);

// False when there is none, or none that can be read.
[[nodiscard]] bool IndexRecordRead(const char *path, IndexRecord *record);
