// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/watcher_state.h"

#include <errno.h>
#include <unistd.h>

#include <charconv>
#include <fstream>
#include <sstream>

#include "platform/file_bytes.h"
#include "tools/queue/daemon_process.h"
#include "tools/shared/safe_text.h"

namespace {

struct Fault {
    WatchFault fault;
    const char *word;
    const char *text;
};

constexpr Fault kFaults[] = {
    {WatchFault::none, "none", "nothing went wrong"},
    {WatchFault::broken_off, "broken-off", "the watcher before broke off; all shares were indexed anew"},
    {WatchFault::overflow, "overflow", "too many events at once; all shares were indexed anew"},
    {WatchFault::limit, "limit",
     "the kernel's limit of watches was reached (sysctl fs.inotify.max_user_watches)"},
    {WatchFault::unwatched, "unwatched", "a directory could not be watched (its log says which, and why)"},
    {WatchFault::queue, "queue", "the queue could not be written"},
};

const Fault &FaultOf(WatchFault fault) {
    for (const Fault &one : kFaults) {
        if (one.fault == fault)
            return one;
    }
    return kFaults[0];
}

template <typename Number>
void NumberTake(std::string_view text, Number *number) {
    std::from_chars(text.data(), text.data() + text.size(), *number);
}

void FaultTake(std::string_view text, WatcherState *state) {
    const size_t blank = text.find(' ');
    for (const Fault &one : kFaults) {
        if (text.substr(0, blank) == one.word)
            state->fault = one.fault;
    }
    if (blank != std::string_view::npos)
        NumberTake(text.substr(blank + 1), &state->fault_time);
}

void LineTake(std::string_view word, std::string_view text, WatcherState *state) {
    if (word == "pid")
        NumberTake(text, &state->pid);
    else if (word == "settle")
        NumberTake(text, &state->settle);
    else if (word == "directories")
        NumberTake(text, &state->directories);
    else if (word == "unwatched")
        NumberTake(text, &state->unwatched);
    else if (word == "overflows")
        NumberTake(text, &state->overflows);
    else if (word == "watched" || word == "away")
        state->shares.push_back({std::string(text), word == "away"});
    else if (word == "fault")
        FaultTake(text, state);
}

} // namespace

const char *WatchFaultWord(WatchFault fault) {
    return FaultOf(fault).word;
}

const char *WatchFaultText(WatchFault fault) {
    return FaultOf(fault).text;
}

std::string WatcherPathText(std::string_view path) {
    return SafePageText(path);
}

std::string WatcherStateText(const WatcherState &state) {
    std::ostringstream text;
    text << "pid " << state.pid << '\n';
    if (state.settle > 0)
        text << "settle " << state.settle << '\n';
    text << "directories " << state.directories << "\nunwatched " << state.unwatched << '\n';
    for (const WatcherShare &share : state.shares)
        text << (share.away ? "away " : "watched ") << share.path << '\n';
    text << "overflows " << state.overflows << '\n';
    if (state.fault != WatchFault::none)
        text << "fault " << WatchFaultWord(state.fault) << ' ' << state.fault_time << '\n';
    return text.str();
}

WatcherState WatcherStateParse(std::string_view text) {
    WatcherState state;
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const size_t blank = line.find(' ');
        if (blank != std::string_view::npos)
            LineTake(line.substr(0, blank), line.substr(blank + 1), &state);
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
    }
    return state;
}

std::optional<WatcherState> WatcherStateRead() {
    const pid_t watcher = WatcherFind();
    const std::ifstream file(kWatcherStateFile);
    std::ostringstream text;
    text << file.rdbuf();
    WatcherState state = WatcherStateParse(text.str());
    return watcher != 0 && state.pid == watcher ? std::optional(std::move(state)) : std::nullopt;
}

bool WatcherStateWrite(const WatcherState &state) {
    constexpr mode_t kMode = 0644;
    if (FileReplace(kWatcherStateFile, WatcherStateText(state), kMode))
        return true;
    const int error = errno;
    WatcherStateRemove();
    errno = error;
    return false;
}

void WatcherStateRemove() {
    unlink(kWatcherStateFile);
}
