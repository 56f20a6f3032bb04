// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether the daemon runs, with how many readers, and by which rules.
#include "platform/rule_set.h"
#include "tools/veluctl/process_start.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/status/child_processes.h"
#include "tools/veluctl/status/status.h"

void DaemonStatus(StatusView *view) {
    const time_t since = view->daemon != 0 ? ProcessStart(view->daemon) : 0;
    const size_t readers = view->daemon != 0 ? ChildProcesses(view->daemon, "velureader") : 0;
    if (!view->json) {
        StatusSay("daemon", view->daemon == 0 ? NotRunningText(DaemonStartCommand())
                                              : ProcessText(view->daemon, since));
        if (readers > 0)
            StatusSay("readers", std::to_string(readers) + " at work");
        return;
    }
    view->answer["running"] = view->daemon != 0;
    view->answer["pid"] = view->daemon != 0 ? Json(view->daemon) : Json();
    view->answer["since"] = since != 0 ? Json(static_cast<int64_t>(since)) : Json();
    view->answer["readers"] = readers;
}

void RulesStatus(StatusView *view) {
    const char *rules = RuleSetWord(RuleSetConfigured());
    if (view->json)
        view->answer["rules"] = rules;
    else
        StatusSay("rules", std::string(rules) + (RuleSetConfigured() == RuleSet::complete
                                                     ? ""
                                                     : " (veluctl config says how to switch)"));
}
