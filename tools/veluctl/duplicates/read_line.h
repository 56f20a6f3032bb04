// SPDX-License-Identifier: GPL-2.0-or-later
//
// One line on a terminal that tells how far the reading of files has come. Elsewhere it is nothing.
#pragma once

#include <stdint.h>
#include <stdio.h>

#include <string>

class ReadLine {
public:
    explicit ReadLine(FILE *out);
    ReadLine(const ReadLine &) = delete;
    ReadLine &operator=(const ReadLine &) = delete;
    ~ReadLine() { Clear(); }

    void Show(uint64_t done, uint64_t all, const std::string &path);
    // Makes room for another line.
    void Clear();

private:
    FILE *out_;
    bool terminal_;
    bool shown_ = false;
    int64_t begin_;
    int64_t next_ = 0; // when it may change
};
