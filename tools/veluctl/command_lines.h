// SPDX-License-Identifier: GPL-2.0-or-later
//
// What another program prints.
#pragma once

#include <functional>
#include <string>
#include <string_view>

// Runs a command of the shell, and calls `take` with each line that it prints, without its end. False when it could not be run or ended
// with a failure.
bool CommandLinesRead(const std::string &command, const std::function<void(std::string_view line)> &take);
