// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl log: the daemon's lines of the last run, those that say the same put together.
#include <stdio.h>
#include <time.h>

#include <algorithm>
#include <optional>

#include "tools/queue/daemon_process.h"
#include "tools/shared/safe_text.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/log/log_groups.h"
#include "tools/veluctl/log/log_source.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/moment_text.h"
#include "tools/veluctl/row_writer.h"
#include "tools/veluctl/run_records.h"
#include "tools/veluctl/search/search_dates.h"
#include "tools/veluctl/status/status.h"
#include "tools/veluctl/terminal.h"

namespace {

// What is looked at where nobody knows when the last run began.
constexpr int64_t kDay = 86'400;

// Of a group, files that are named.
constexpr size_t kShown = 3;

constexpr size_t kIndent = 8; // of what stands behind a number of lines

struct Span {
    int64_t from;
    int64_t to;
    std::string words; // for people
};

// A moment as a period has it.
int64_t MomentOf(const std::string &text) {
    tm calendar = {};
    return strptime(text.c_str(), "%Y-%m-%dT%H:%M:%SZ", &calendar) != nullptr ? timegm(&calendar) : 0;
}

// Of the days that were named. Nothing for what is no date.
std::optional<Span> SpanOf(const std::string &days) {
    const std::optional<Period> period = PeriodOf(days, true);
    if (!period)
        return {};
    const int64_t from = MomentOf(period->begin);
    const int64_t to = MomentOf(period->end) - 1;
    return Span{from, to, "From " + MomentText(from) + " to " + MomentText(to)};
}

Span SpanChoose(const Options &options) {
    const int64_t now = time(nullptr);
    if (options.everything)
        return {0, now, "All lines"};
    const pid_t daemon = DaemonFind();
    if (const std::optional<IndexRecord> run = RunRecordRead(daemon); daemon != 0 && run)
        return {run->begin, now, "The run that began at " + MomentText(run->begin)};
    const LastRun last = LastRunRead();
    if (last.has_record())
        return {last.record->begin, last.record->end,
                "The run from " + MomentText(last.record->begin) + " to " + MomentText(last.record->end)};
    if (last.record)
        return {last.record->end + 1, last.end + 1,
                "The run that ended at " + MomentText(last.end) + ", and all since " +
                    MomentText(last.record->end)};
    return {now - kDay, now, "The last 24 hours (when a run began is not known here)"};
}

constexpr Column kColumns[] = {{"time", "TIME", Type::text},
                               {"group", "GROUP", Type::integer},
                               {"path", "ABOUT", Type::text},
                               {"text", "TEXT", Type::text}};

void RowsPrint(const std::vector<LoggedLine> &lines, const std::vector<LogGroup> &groups, size_t most,
               Form form) {
    std::vector<size_t> group_of(lines.size());
    for (size_t group = 0; group < groups.size(); ++group)
        for (const size_t line : groups[group].lines)
            group_of[line] = group + 1;
    RowWriter writer(form, kColumns, stdout);
    for (size_t at = lines.size() - std::min(most, lines.size()); at < lines.size(); ++at)
        writer.Add({MomentText(lines[at].time), std::to_string(group_of[at]),
                    LogPartsOf(lines[at].text).about, lines[at].text});
    writer.End();
}

void GroupPrint(const std::vector<LoggedLine> &lines, const LogGroup &group, size_t columns) {
    std::string number = std::to_string(group.lines.size());
    number.insert(0, number.size() < kIndent - 2 ? kIndent - 2 - number.size() : 0, ' ');
    for (const std::string &line :
         TextWrap(SafeText(group.text), columns > 2 * kIndent ? columns - kIndent : kIndent)) {
        printf("%s  %s\n", number.c_str(), line.c_str());
        number.assign(kIndent - 2, ' ');
    }
    if (group.lines.size() == 1)
        return;
    size_t named = 0;
    for (; named < std::min(kShown, group.lines.size()); ++named) {
        const std::string about = LogPartsOf(lines[group.lines[named]].text).about;
        if (about.empty())
            return;
        printf("%*s%s\n", static_cast<int>(kIndent + 2), "",
               DisplayCutMiddle(SafeText(about), columns > 2 * kIndent ? columns - kIndent - 2 : kIndent)
                   .c_str());
    }
    if (group.lines.size() > named)
        printf("%*sand %zu more\n", static_cast<int>(kIndent + 2), "", group.lines.size() - named);
}

} // namespace

ExitCode LogCommand(const Options &options) {
    const std::optional<Span> days = SpanOf(options.what);
    if (!days && !options.what.empty())
        return Complain(kUsage, Quoted(options.what) +
                                    " is no date: say today, yesterday, week, month, year or, "
                                    "say, 2026-10-31");
    const Span span = days ? *days : SpanChoose(options);
    const LogAnswer answer = LogRead(span.from, span.to);
    if (answer.source.empty())
        return Complain(kFailed, answer.problem);
    const std::vector<LogGroup> groups = LogGroupsOf(answer.lines);
    if (options.form() != Form::table) {
        RowsPrint(answer.lines, groups, options.limit, options.form());
    } else {
        printf("%s:\n%s from %s.\n", span.words.c_str(),
               Counted(static_cast<long long>(answer.lines.size()), "line").c_str(), answer.source.c_str());
        if (!groups.empty())
            printf("\n");
        for (size_t at = 0; at < std::min<size_t>(groups.size(), options.limit); ++at)
            GroupPrint(answer.lines, groups[at], TerminalColumns(stdout));
    }
    return answer.lines.empty() ? kFound : kDone;
}
