// SPDX-License-Identifier: GPL-2.0-or-later
//
// When the daemon last did something, and by the rules `complete` what came of it.
#include <errno.h>
#include <unistd.h>

#include "tools/shared/safe_text.h"
#include "tools/veluctl/moment_text.h"
#include "tools/veluctl/run_records.h"
#include "tools/veluctl/run_text.h"
#include "tools/veluctl/span_text.h"
#include "tools/veluctl/status/status.h"

namespace {

constexpr int64_t kMillisecondsOfSecond = 1000;

int64_t FilesOf(const IndexRecord &record) {
    return record.added + record.changed + record.unchanged;
}

double RateOf(const IndexRecord &record) {
    return record.milliseconds > 0 ? static_cast<double>(FilesOf(record)) * kMillisecondsOfSecond /
                                         static_cast<double>(record.milliseconds)
                                   : 0;
}

void RecordSay(const IndexRecord &record) {
    StatusSay("", RunCountsText(record));
    std::string left_out;
    for (const auto &[count, words] : record.left_out)
        left_out.append(left_out.empty() ? "left out: " : ", ")
            .append(std::to_string(count))
            .append(" ")
            .append(SafeText(words));
    if (!left_out.empty())
        StatusSay("", left_out);
}

std::string SpanSay(const IndexRecord &record) {
    const int64_t seconds = record.milliseconds / kMillisecondsOfSecond;
    const std::string text = ", after " + (seconds > 0 ? SpanText(seconds) : "less than a second");
    char rate[32];
    snprintf(rate, sizeof rate, " (%.0f files/s)", RateOf(record));
    return FilesOf(record) > 0 && record.milliseconds > 0 ? text + rate : text;
}

Json RecordJson(const IndexRecord &record) {
    Json state = Json::object();
    state["begin"] = record.begin;
    state["end"] = record.end;
    state["seconds"] = static_cast<double>(record.milliseconds) / kMillisecondsOfSecond;
    state["requests"] = record.request;
    state["new"] = record.added;
    state["changed"] = record.changed;
    state["gone"] = record.removed;
    state["unchanged"] = record.unchanged;
    state["troubled"] = record.troubled;
    state["left_out"] = Json::object();
    for (const auto &[count, words] : record.left_out)
        state["left_out"][SafeText(words)] = count;
    return state;
}

} // namespace

void LastRunStatus(StatusView *view) {
    const LastRun last = LastRunRead();
    const bool hidden = !last.record && access(kLastRunRecord, R_OK) != 0 && errno == EACCES;
    const bool of_last = last.has_record();
    if (view->json) {
        view->answer["last_run"] = last.end != 0 ? Json(static_cast<int64_t>(last.end)) : Json();
        view->answer["last_run_files"] = of_last ? RecordJson(*last.record) : Json();
        return;
    }
    const time_t end = of_last ? last.record->end : last.end;
    StatusSay("last run ended", end == 0 ? "none since the machine started"
                                         : MomentText(end) + (of_last ? SpanSay(*last.record) : ""));
    if (of_last)
        RecordSay(*last.record);
    else if (hidden)
        StatusSay("", std::string("what came of it ") + kHidden);
}
