// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl why: whether a path is in the catalogue and as what, or what keeps it out and how that is changed.
#include "tools/veluctl/why/why.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "catalogue/features.h"
#include "daemon/index_left_out.h"
#include "tools/queue/request_path.h"
#include "tools/shared/safe_text.h"
#include "tools/shared/text_wrap.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/json_text.h"
#include "tools/veluctl/log_lines.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/terminal.h"
#include "tools/veluctl/why/left_out_word.h"
#include "tools/veluctl/why/stamp_text.h"

namespace {

constexpr size_t kIndent = 2;
constexpr size_t kTextMin = 20; // on a narrow terminal

struct WhyAnswer {
    std::string path;
    bool looked_up; // the catalogue could be read
    Catalogued found;
    std::optional<Below> below;   // a directory
    std::optional<Reason> reason; // against what is not catalogued, or will not be much longer
};

// A line for each reason: all of them on one would be too long.
void LeftOutPut(const LeftOutCounts &counts, RecordPart *part) {
    for (size_t why = 0; why < counts.size(); ++why) {
        if (counts[why] == 0)
            continue;
        part->columns.push_back({"left_out", "left_out", Type::text});
        part->values.emplace_back(std::to_string(counts[why]) + ' ' +
                                  LeftOutWords(static_cast<LeftOut>(why)));
    }
}

constexpr const char *kBelowNames[] = {"catalogued_below", "in_trouble", "on_the_disk", "unreadable"};

RecordPart BelowPart(const Below &below) {
    RecordPart part;
    const int64_t counts[] = {below.catalogued, below.in_trouble, below.found, below.unread};
    for (size_t at = 0; at < std::size(counts); ++at) {
        part.columns.push_back({kBelowNames[at], kBelowNames[at], Type::integer});
        part.values.emplace_back(std::to_string(counts[at]));
    }
    return part;
}

void PartAppend(RecordPart *part, const RecordPart &more) {
    part->columns.insert(part->columns.end(), more.columns.begin(), more.columns.end());
    part->values.insert(part->values.end(), more.values.begin(), more.values.end());
}

// What to do about a difference between the two.
std::string BelowAdvice(const std::string &path, const Below &below) {
    if (below.found > below.catalogued)
        return "More is on the disk than in the catalogue: " + AddCommandLine(path);
    return below.found < below.catalogued ? "More is in the catalogue than on the disk: veluctl check" : "";
}

void WhyShow(const WhyAnswer &answer) {
    const bool catalogued = !answer.found.kinds.empty();
    RecordPart part = answer.found.part;
    for (size_t at = 0; at < part.columns.size(); ++at)
        if (part.columns[at].name == std::string_view(kStampName))
            part.values[at] = StampText(*part.values[at]);
    part.name = answer.path + (!answer.looked_up ? " may be in the catalogue or not"
                               : catalogued      ? " is in the catalogue"
                                                 : " is not in the catalogue");
    if (answer.below) {
        PartAppend(&part, BelowPart(*answer.below));
        LeftOutPut(answer.below->left_out, &part);
    }
    RecordPrint({part}, false, stdout);
    if (const std::string advice = answer.below ? BelowAdvice(answer.path, *answer.below) : "";
        !advice.empty())
        printf("\n%s\n", advice.c_str());
    if (!answer.reason)
        return;
    // A terminal has an edge; a line in a pipe stays whole.
    const size_t width =
        IsTerminal(stdout) ? std::max(TerminalColumns(stdout), kTextMin) - kIndent : SIZE_MAX;
    for (const std::string &line :
         TextWrap((catalogued ? "but " : "") + SafeText(answer.reason->text), width))
        printf("%*s%s\n", static_cast<int>(kIndent), "", line.c_str());
    if (!answer.reason->command.empty())
        printf("\nTo change that:\n  %s\n", answer.reason->command.c_str());
}

void WhyPrint(const WhyAnswer &answer) {
    Json json = Json::object();
    JsonTextPut(&json, "path", answer.path);
    json["catalogued"] = answer.looked_up ? Json(!answer.found.kinds.empty()) : Json();
    RecordPart part = answer.found.part;
    if (answer.below)
        PartAppend(&part, BelowPart(*answer.below));
    for (size_t at = 0; at < part.columns.size(); ++at)
        JsonValuePut(&json, part.columns[at], part.values[at]);
    if (answer.below) {
        json["left_out"] = Json::object();
        for (size_t why = 1; why < answer.below->left_out.size(); ++why)
            json["left_out"][LeftOutWord(static_cast<LeftOut>(why))] = answer.below->left_out[why];
    }
    if (answer.reason) {
        json["reason"] = answer.reason->word;
        JsonTextPut(&json, "because", answer.reason->text);
        JsonTextPut(&json, "command", answer.reason->command);
        JsonTextPut(&json, "file", answer.reason->file);
        json["line"] = answer.reason->line;
    }
    JsonPrint(json, stdout);
}

bool IsDirectoryThere(const std::string &path) {
    struct stat status;
    return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

} // namespace

ExitCode WhyCommand(const Options &options) {
    FeatureSwitchesRead();
    WhyAnswer answer = {RequestPathMake(options.path), true, {}, {}, {}};
    if (answer.path.empty())
        return Complain(kUsage, Quoted(options.path) + ": " + strerror(errno));
    CatalogueReader reader;
    answer.looked_up = CataloguedRead(&reader, answer.path, &answer.found);
    if (!answer.looked_up) // what the disk and the rules say holds all the same
        FailureTell(reader);
    const bool catalogued = !answer.found.kinds.empty();
    answer.reason = catalogued ? answer.found.against : ReasonOf(&reader, answer.path);
    if (answer.looked_up && IsDirectoryThere(answer.path) &&
        !BelowRead(&reader, answer.path, &answer.below.emplace()))
        return FailureTell(reader);
    for (const std::string &line : LogLinesTake()) // of files of patterns that do not count whole
        Complain(kDone, SafeText(line));
    options.json ? WhyPrint(answer) : WhyShow(answer);
    if (!answer.looked_up)
        return kUnreachable;
    return catalogued ? kDone : kFound;
}
