// SPDX-License-Identifier: GPL-2.0-or-later
//
// What waits in the queue, and what is in work.
#include <unistd.h>

#include <algorithm>

#include "daemon/queue.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/progress.h"
#include "tools/veluctl/run_view.h"
#include "tools/veluctl/status/status.h"

void QueueStatus(StatusView *status) {
    for (const char *path : {kQueueFile, kQueueWorkingCopy}) {
        const bool copy = path == kQueueWorkingCopy;
        RequestFile requests = RequestFileOpen(path);
        const bool there = access(path, F_OK) == 0;
        RunView view = {Phase::done, 0, 0, {}, {}};
        if (requests.file)
            view = RunLook(&requests, status->daemon);
        // In the moment between the look at its name and the look at the file, a copy may go or the queue
        // become one.
        const bool kept = copy && requests.file && view.phase == Phase::kept;
        if (status->json) {
            Json state = Json::object();
            state["present"] = there;
            state["lines"] = requests.file || !there ? Json(view.lines_total) : Json();
            if (copy) {
                state["kept"] = kept;
                state["lines_done"] = view.lines_done;
                JsonTextPut(&state, "request", view.request);
                JsonTextPut(&state, "file", view.file);
                state["files"] = view.record ? Json(view.record->files) : Json();
                state["files_known"] =
                    view.record ? Json(std::max(view.record->known, view.record->files)) : Json();
                state["files_counted"] = view.record ? Json(view.record->counted != 0) : Json();
                if (view.record)
                    JsonTextPut(&state, "folder", view.record->folder);
            }
            status->answer[copy ? "working_copy" : "queue"] = state;
        } else if (there && !requests.file) {
            StatusSay(copy ? "working copy" : "queue", kHidden);
        } else if (!copy) {
            StatusSay("queue", there ? std::to_string(view.lines_total) + " waiting" : "empty");
        } else if (there && (view.record || view.beginning)) {
            StatusSay("run", ProgressText(view, -1, -1, 0));
            StatusSay("", ProgressPlace(view));
        } else if (there) {
            StatusSay("working copy", (kept ? "kept for the next try, " : "in work, line ") +
                                          (kept ? std::string() : std::to_string(view.lines_done) + " of ") +
                                          std::to_string(view.lines_total) + (kept ? " lines" : "") +
                                          (view.request.empty() ? "" : ": " + SafeText(view.request)));
        }
    }
}
