// SPDX-License-Identifier: GPL-2.0-or-later
//
// The unit tests' own syslog(): messages of the code under test are kept instead of sent, also those of
// processes that it forks.
#pragma once

#include <string>
#include <vector>

struct LogLine {
    int priority;
    std::string text;
};

// All lines since the last call, oldest first.
std::vector<LogLine> LogTake();

// The same lines as text, the line number of the source ("(123)" or ":123") written as "#".
std::vector<std::string> LogTakeTexts();
