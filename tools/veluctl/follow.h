// SPDX-License-Identifier: GPL-2.0-or-later
//
// --wait: following requests to the end of their run.
#pragma once

#include <stdint.h>
#include <stdio.h>
#include <time.h>

#include <string>
#include <vector>

#include "platform/handle.h"
#include "tools/veluctl/exit_code.h"

// What was there before the requests were queued.
struct FollowStart {
    int64_t rows = -1; // of the media tables; -1: not known
    time_t time = 0;
};

FollowStart FollowBegin();

// Shows how far the file that took these lines has come until the daemon is done with them; says then whether it keeps other
// requests. `timeout` in seconds, 0: none.
ExitCode Follow(FdHandle file, const std::vector<std::string> &lines, const FollowStart &start,
                uint32_t timeout, FILE *out);

// Shows the run that goes on, or that is about to begin, and those behind it, whoever has asked for them, until the daemon is idle.
ExitCode FollowAll(FILE *out);
