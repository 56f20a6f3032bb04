// SPDX-License-Identifier: GPL-2.0-or-later
//
// How long the daemon waits for more, and until when this time. By the rules of the appliance it is always as long.
#include "platform/rule_set.h"
#include "tools/veluctl/queue_wait.h"
#include "tools/veluctl/status/status.h"

void QuietStatus(StatusView *view) {
    const QueueWait wait = QueueWaitLook();
    const bool waits = wait.there && view->daemon != 0;
    const std::optional<int64_t> seconds = waits ? QueueWaitSeconds(wait) : std::nullopt;
    if (view->json) {
        view->answer["quiet_seconds"] = wait.quiet;
        view->answer["begins_in"] = seconds ? Json(*seconds) : Json();
    } else if (RuleSetActive() == RuleSet::complete) {
        StatusSay("quiet interval",
                  std::to_string(wait.quiet) + " s" + (waits ? "; the run " + QueueWaitText(wait) : ""));
    }
}
