// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/watch_loop.h"

#include <errno.h>
#include <poll.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>
#include <utility>

#include "catalogue/features.h"
#include "platform/rule_set.h"
#include "tools/shared/safe_text.h"
#include "tools/veluwatchd/events.h"
#include "tools/veluwatchd/queue_output.h"
#include "tools/veluwatchd/request_plan.h"
#include "tools/veluwatchd/shares.h"
#include "tools/veluwatchd/state_output.h"

namespace {

using Seconds = std::chrono::duration<double>;

struct Loop {
    Seconds settle;
    Seconds check;
    Seconds rescan;
    Watcher watcher;
    EventReader reader;
    QueueOutput output;
    std::vector<Share> shares;
    StateOutput state;
    WatchTime now;
    WatchTime last_event;
    WatchTime first_change; // when the first of the changes came that are not queued yet
    WatchTime share_check;
    WatchTime rescan_at;
    bool waiting = false; // there are changes that are not queued yet
    bool blind = false;   // events were lost: all watches are to be made anew at the next pause
};

WatchTime After(WatchTime time, Seconds pause) {
    return time + std::chrono::duration_cast<WatchTime::duration>(pause);
}

PathState PathLook(const std::string &path) {
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return {};
    if (S_ISDIR(status.st_mode))
        return {PathKind::directory, 0};
    if (!S_ISREG(status.st_mode))
        return {};
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    constexpr double kNanosecond = 1e-9;
    return {PathKind::file, static_cast<double>(now.tv_sec - status.st_mtim.tv_sec) +
                                static_cast<double>(now.tv_nsec - status.st_mtim.tv_nsec) * kNanosecond};
}

void PathRefuse(const std::string &path, const std::string &why) {
    syslog(LOG_WARNING, "%s cannot be queued: %s", SafeText(path).c_str(), why.c_str());
}

// Gives all watches up. They are made anew in the next pause: while the events pour in, some would be lost
// again.
void Overflown(Loop *loop) {
    syslog(LOG_WARNING, "too many events at once: all shares are indexed anew");
    FaultNote(&loop->watcher, WatchFault::overflow);
    WatcherClose(&loop->watcher);
    loop->reader.leaving.clear();
    for (Share &share : loop->shares)
        share.node = kNoNode;
    loop->watcher.changes.paths.clear();
    loop->watcher.changes.renames.clear();
    loop->blind = true;
    loop->share_check = After(loop->now, loop->settle);
}

int EventsTake(Loop *loop) {
    switch (EventsRead(&loop->reader, &loop->watcher)) {
    case EventResult::overflow:
        Overflown(loop);
        break;
    case EventResult::failed:
        return errno;
    case EventResult::drained:
        break;
    }
    loop->last_event = loop->now;
    return 0;
}

// Forgets the requests that the daemon has done. Events that came before it had done them are read first,
// because they are judged by what was asked then.
void AskedForget(Loop *loop) {
    if (!QueueOutputDone(loop->output))
        return;
    if (EventsTake(loop) == 0 && loop->reader.leaving.empty())
        loop->watcher.changes.asked = {};
}

// Queues the changes that have come to rest, or (`everything`) all of them.
void ChangesQueue(Loop *loop, bool everything) {
    Changes &changes = loop->watcher.changes;
    AskedForget(loop);
    const PlanSettings settings = {PathLook,
                                   [&](const std::string &path) { return ShareWord(loop->shares, path); },
                                   PathRefuse, loop->settle, everything};
    const std::string lines = RequestPlanMake(&changes, loop->now, settings);
    if (!QueueOutputWrite(&loop->output, lines, loop->now))
        FaultNote(&loop->watcher, WatchFault::queue);
    loop->waiting = !changes.empty();
    loop->first_change = loop->now;
    loop->last_event = loop->now;
}

// Queues at once what is too much to remember. When the queue cannot be written, requests for whole shares
// take the place of single changes.
void ChangesBound(Loop *loop) {
    if (loop->watcher.changes.size() <= kChangesMax)
        return;
    if (loop->output.waiting.empty()) {
        ChangesQueue(loop, true);
        return;
    }
    syslog(LOG_WARNING, "more than %zu changes wait for the queue: all shares are indexed anew instead",
           kChangesMax);
    Changes &changes = loop->watcher.changes;
    changes.paths.clear();
    changes.renames.clear();
    SharesReindex(loop->shares, &loop->watcher);
}

int SharesLook(Loop *loop) {
    loop->share_check = After(loop->now, loop->check);
    const bool was_blind = std::exchange(loop->blind, false);
    if (was_blind && !WatcherOpen(&loop->watcher))
        return errno;
    SharesCheck(&loop->shares, &loop->watcher, false);
    UnmountedRetry(&loop->watcher);
    return 0;
}

void Rescan(Loop *loop) {
    loop->rescan_at = After(loop->now, loop->rescan);
    UnwatchedRetry(&loop->watcher);
}

void ChangesDue(Loop *loop) {
    LeavingExpire(&loop->reader, &loop->watcher, loop->now, false);
    ChangesBound(loop);
    if (!loop->watcher.changes.empty() && !std::exchange(loop->waiting, true)) {
        loop->first_change = loop->now;
        loop->last_event = loop->now;
    }
    // Half of a rename is no change yet.
    const bool rest = loop->now >= After(loop->last_event, loop->settle) && loop->reader.leaving.empty();
    const bool long_enough = loop->now >= After(loop->first_change, loop->settle * kWatchHoldSettles);
    // Changes take less room than their lines, and are merged as long as the queue cannot be written.
    if (!loop->output.waiting.empty() &&
        (loop->now < loop->output.retry || !QueueOutputWrite(&loop->output, {}, loop->now)))
        return;
    if (loop->waiting && !loop->blind && (rest || long_enough))
        ChangesQueue(loop, false);
}

int PollTimeout(const Loop &loop) {
    WatchTime due = std::min(loop.share_check, loop.rescan_at);
    if (!loop.output.waiting.empty())
        due = std::min(due, loop.output.retry);
    else if (loop.waiting && !loop.blind)
        due = std::min(due, std::min(After(loop.last_event, loop.settle),
                                     After(loop.first_change, loop.settle * kWatchHoldSettles)));
    if (const auto leaving = LeavingDue(loop.reader); leaving.has_value())
        due = std::min(due, *leaving);
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(due - std::chrono::steady_clock::now());
    return static_cast<int>(std::max<long long>(left.count(), 1));
}

// `failed`: the kernel tells no more, and the next start of the program would not know that something was missed.
void End(Loop *loop, bool failed) {
    const bool missed = loop->blind || failed;
    if (!missed)
        EventsTake(loop);
    LeavingExpire(&loop->reader, &loop->watcher, loop->now, true);
    for (const Share &share : loop->shares) {
        if (missed && share.seen && !share.told_away)
            TreeMissed(&loop->watcher.changes, share.path);
    }
    ChangesQueue(loop, true);
    if (!loop->output.waiting.empty())
        syslog(LOG_ERR, "changes are lost: the queue cannot be written. \"veluctl check\" finds them.");
}

int Begin(Loop *loop, bool reindex) {
    FeatureSwitchesRead();
    loop->watcher.changes.photo_library = supportphoto != 0;
    loop->watcher.changes.rows_move = RuleSetActive() == RuleSet::complete;
    if (!WatcherOpen(&loop->watcher))
        return errno;
    SharesCheck(&loop->shares, &loop->watcher, true);
    if (reindex)
        SharesReindex(loop->shares, &loop->watcher);
    loop->now = std::chrono::steady_clock::now();
    loop->last_event = loop->first_change = loop->now;
    loop->share_check = After(loop->now, loop->check);
    loop->rescan_at = After(loop->now, loop->rescan);
    StateTell(&loop->state, loop->shares, loop->watcher, loop->now);
    syslog(LOG_NOTICE, "watching %zu directories", loop->watcher.tree.size());
    return 0;
}

} // namespace

int WatchLoop(const WatchOptions &options, bool broken_off, int signals) {
    // By the other rules every file would be read again.
    const bool catch_up = options.catch_up && RuleSetActive() == RuleSet::complete;
    Loop loop;
    if (broken_off)
        FaultNote(&loop.watcher, WatchFault::broken_off);
    loop.settle = Seconds(options.settle);
    loop.watcher.state.settle = options.settle;
    loop.check = Seconds(options.check);
    loop.rescan = Seconds(options.rescan);
    loop.shares = SharesMake(options.paths);
    if (const int error = Begin(&loop, options.reindex_at_start || catch_up || broken_off); error != 0)
        return error;
    int error = 0;
    while (true) {
        pollfd ready[] = {{signals, POLLIN, 0}, {loop.watcher.inotify.get(), POLLIN, 0}};
        const int count = poll(ready, std::size(ready), PollTimeout(loop));
        error = count < 0 && errno != EINTR ? errno : 0;
        loop.now = std::chrono::steady_clock::now();
        if (count > 0 && ready[0].revents != 0)
            break;
        if (count > 0 && ready[1].revents != 0)
            error = EventsTake(&loop);
        if (error == 0 && loop.now >= loop.share_check)
            error = SharesLook(&loop);
        if (error != 0)
            break;
        if (loop.now >= loop.rescan_at)
            Rescan(&loop);
        ChangesDue(&loop);
        StateTell(&loop.state, loop.shares, loop.watcher, loop.now);
    }
    End(&loop, error != 0);
    WatcherStateRemove();
    return error;
}
