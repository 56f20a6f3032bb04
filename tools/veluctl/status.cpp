// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl status: the daemon, its queue and its catalogues at a glance.
#include "tools/veluctl/status/status.h"

#include "tools/queue/daemon_process.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/follow.h"

ExitCode StatusCommand(const Options &options) {
    if (options.watch)
        return FollowAll(stdout);
    StatusView view = {options.json, DaemonFind()};
    DaemonStatus(&view);
    RulesStatus(&view);
    WatcherStatus(&view);
    LastRunStatus(&view);
    QueueStatus(&view);
    QuietStatus(&view);
    KeptStatus(&view);
    StorageStatus(&view);
    const bool reached = CataloguesStatus(&view);
    CoversStatus(&view);
    if (options.json)
        JsonPrint(view.answer, stdout);
    if (view.daemon == 0)
        return kNotRunning;
    return reached ? kDone : kUnreachable;
}
