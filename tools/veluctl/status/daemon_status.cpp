// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether the daemon runs, by which rules, and when it last did something.
#include <sys/stat.h>

#include "daemon/queue.h"
#include "platform/rule_set.h"
#include "tools/veluctl/process_start.h"
#include "tools/veluctl/status/status.h"

void DaemonStatus(StatusView *view) {
    const time_t since = view->daemon != 0 ? ProcessStart(view->daemon) : 0;
    struct stat status;
    const time_t last_run = stat(kLastRunFile, &status) == 0 ? status.st_mtime : 0;
    if (!view->json) {
        StatusSay("daemon", view->daemon == 0 ? "not running"
                                              : "running as process " + std::to_string(view->daemon) +
                                                    (since != 0 ? " since " + TimeText(since) : ""));
        StatusSay("last run ended", last_run != 0 ? TimeText(last_run) : "none since the machine started");
        return;
    }
    view->answer["running"] = view->daemon != 0;
    view->answer["pid"] = view->daemon != 0 ? Json(view->daemon) : Json();
    view->answer["since"] = since != 0 ? Json(static_cast<int64_t>(since)) : Json();
    view->answer["last_run"] = last_run != 0 ? Json(static_cast<int64_t>(last_run)) : Json();
}

void RulesStatus(StatusView *view) {
    const char *rules = RuleSetWord(RuleSetConfigured());
    if (view->json)
        view->answer["rules"] = rules;
    else
        StatusSay("rules", rules);
}
