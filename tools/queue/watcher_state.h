// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the running watcher tells of itself: a file that it replaces as a whole when something has changed, and takes away at its end.
// Each line is a word, a blank and what it says, to the end of the line; paths as WatcherPathText writes them.
//
//     pid 1234
//     settle 3                         seconds that it waits for more to happen before it asks
//     directories 4711                 that are watched
//     unwatched 2                      trees that cannot be, and are indexed anew from time to time
//     watched /volume1/music           a line for each share
//     away /volume1/video              a share whose storage is not there
//     overflows 1                      since its start
//     fault overflow 1793450000        what went wrong last, and when (seconds of the epoch)
#pragma once

#include <stdint.h>
#include <sys/types.h>
#include <time.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

inline constexpr char kWatcherStateFile[] = "/var/run/veluwatchd.state";

// Where something happens all the time, the watcher asks after so many of the times that it waits for more.
inline constexpr int kWatchHoldSettles = 10;

enum class WatchFault {
    none,
    broken_off, // the watcher before was killed: all shares were indexed anew
    overflow,   // the kernel has lost events: likewise
    limit,      // the kernel gives no more watches
    unwatched,  // a directory could not be watched for another reason
    queue       // the queue could not be written
};

struct WatcherShare {
    std::string path; // as WatcherPathText writes it
    bool away = false;

    bool operator==(const WatcherShare &other) const = default;
};

struct WatcherState {
    pid_t pid = 0;
    uint64_t directories = 0;
    uint64_t unwatched = 0;
    uint64_t overflows = 0;
    std::vector<WatcherShare> shares = {};
    WatchFault fault = WatchFault::none;
    time_t fault_time = 0;
    double settle = 0; // 0: not said

    bool operator==(const WatcherState &other) const = default;
};

// Returns the word of a fault, and what people are told of it.
const char *WatchFaultWord(WatchFault fault);
const char *WatchFaultText(WatchFault fault);

// Returns a path as it stands there: the same wherever the watcher and who asks were started, and in one line.
std::string WatcherPathText(std::string_view path);

std::string WatcherStateText(const WatcherState &state);

// Unknown lines are left out: a later version may say more.
WatcherState WatcherStateParse(std::string_view text);

// What the running watcher says; nothing when none runs, or when it says nothing.
std::optional<WatcherState> WatcherStateRead();

// Replaces the file. False, with the reason in errno, when that could not be done; then there is none.
[[nodiscard]] bool WatcherStateWrite(const WatcherState &state);

void WatcherStateRemove();
