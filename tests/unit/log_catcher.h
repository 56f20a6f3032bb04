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
        for (LogLine &line : LogTake())
            lines_.push_back(std::move(line.text));
        std::vector<std::string> found;
        for (const std::string &line : lines_)
            if (line.find(part) != std::string::npos)
                found.push_back(line);
        return found;
    }

private:
    std::vector<std::string> lines_;
};
