// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/state_output.h"

#include <unistd.h>

#include "tools/veluwatchd/bounds.h"

namespace {

WatcherState StateNow(const std::vector<Share> &shares, const Watcher &watcher) {
    WatcherState state = watcher.state;
    state.pid = getpid();
    state.directories = watcher.tree.size();
    state.unwatched = watcher.unwatched.size();
    for (const Share &share : shares) {
        if (share.told_away || watcher.unmounted.contains(share.node))
            state.shares.push_back({WatcherPathText(share.path.empty() ? share.link : share.path), true});
        else if (share.node != kNoNode)
            state.shares.push_back({WatcherPathText(share.path), false});
    }
    return state;
}

} // namespace

void StateTell(StateOutput *output, const std::vector<Share> &shares, const Watcher &watcher, WatchTime now) {
    WatcherState state = StateNow(shares, watcher);
    if (state == output->told)
        return;
    WatcherState counted = output->told;
    counted.directories = state.directories;
    if (counted == state && now - output->written < kStatePause)
        return;
    output->written = now;
    // Where it cannot be written there is none, and it is tried again.
    output->told = WatcherStateWrite(state) ? std::move(state) : WatcherState();
}
