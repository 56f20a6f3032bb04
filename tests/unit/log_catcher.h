// SPDX-License-Identifier: GPL-2.0-or-later
//
// The lines that the tested code has logged since the catcher was made.
#pragma once

#include <string>
#include <vector>

#include "tests/unit/log_capture.h"

class LogCatcher {
public:
    LogCatcher() { LogTake(); }

    // The lines so far that hold `part`.
    std::vector<std::string> Lines(const std::string &part = "") {
        Gather();
        std::vector<std::string> found;
        for (const std::string &line : lines_)
            if (line.find(part) != std::string::npos)
                found.push_back(line);
        return found;
    }

    // The next line that has not been asked for, or the empty string when there is none.
    std::string Next() {
        Gather();
        return next_ < lines_.size() ? lines_[next_++] : std::string();
    }

    // No line waits for Next.
    bool Quiet() {
        Gather();
        return next_ == lines_.size();
    }

private:
    void Gather() {
        for (LogLine &line : LogTake())
            lines_.push_back(std::move(line.text));
    }

    std::vector<std::string> lines_;
    size_t next_ = 0;
};
