// SPDX-License-Identifier: GPL-2.0-or-later
//
// What is kept and why: requests that their catalogue did not take, rows of what is on storage that is away.
#include <unistd.h>

#include "catalogue/shares.h"
#include "daemon/queue_kept.h"
#include "daemon/storage_away.h"
#include "tools/shared/safe_text.h"
#include "tools/veluctl/run_records.h"
#include "tools/veluctl/run_view.h"
#include "tools/veluctl/span_text.h"
#include "tools/veluctl/status/status.h"
#include "tools/veluctl/store_away.h"

namespace {

// Requests that are shown; there may be thousands.
constexpr int64_t kShown = 3;

void RequestsSay(int64_t count) {
    KeptReader reader;
    KeptLine kept;
    const bool opened = reader.Open();
    const int64_t since = KeptSince();
    for (int64_t shown = 0; opened && shown < kShown && reader.Next(&kept); ++shown)
        StatusSay("", SafeText(kept.line) + ", for " + SpanText(kept.seconds + since));
    if (count > kShown)
        StatusSay("", "and " + std::to_string(count - kShown) + " more");
}

// What is known of it since the last run that tried.
StoreAway AwayLook() {
    const LastRun last = LastRunRead();
    return StoreAwayLook(last.has_record() ? last.record->begin : last.end - 1);
}

std::string ReasonSay() {
    const std::string reason = AwayLook().reason;
    return reason.empty() ? ": a catalogue was away, locked, full or read-only; veluctl log tells why"
                          : ": " + SafeText(reason);
}

std::vector<std::string> AwayFind() {
    std::vector<std::string> all;
    for (const std::string &target : ShareTargetsGet()) {
        const std::vector<std::string> away = ShareAwayIn(target, {});
        all.insert(all.end(), away.begin(), away.end());
    }
    return all;
}

} // namespace

void KeptStatus(StatusView *status) {
    const bool there = access(kKeptFile, F_OK) == 0;
    const KeptView view = KeptLook();
    if (status->json) {
        Json state = Json::object();
        state["present"] = there;
        state["requests"] = view.readable || !there ? Json(view.requests) : Json();
        state["oldest_seconds"] = view.readable ? Json(view.oldest_seconds) : Json();
        if (view.requests > 0)
            JsonTextPut(&state, "reason", AwayLook().reason);
        status->answer["kept"] = state;
    } else if (there && !view.readable) {
        StatusSay("kept requests", kHidden);
    } else if (view.requests > 0) {
        StatusSay("kept requests", std::to_string(view.requests) + " could not be stored, the oldest for " +
                                       SpanText(view.oldest_seconds) + ". The daemon tries again by itself" +
                                       ReasonSay());
        RequestsSay(view.requests);
    }
}

void StorageStatus(StatusView *status) {
    const std::vector<std::string> away = AwayFind();
    if (status->json) {
        status->answer["away"] = Json::array();
        for (const std::string &place : away) {
            Json one = Json::object();
            JsonTextPut(&one, "path", place);
            status->answer["away"].push_back(one);
        }
        return;
    }
    for (const std::string &place : away)
        StatusSay(place == away.front() ? "storage away" : "", SafeText(place) + ": its rows are kept");
}
