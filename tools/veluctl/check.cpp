// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl check: finding, showing and mending.
#include "tools/veluctl/check.h"

#include <stdio.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <set>

#include "catalogue/features.h"
#include "daemon/queue.h"
#include "platform/veluindex.h"
#include "tools/veluctl/check_readers.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/requests.h"

namespace {

constexpr Column kColumns[] = {
    {"problem", "PROBLEM", Type::text},
    {"repair", "REPAIR", Type::text},
    {"path", "PATH", Type::path},
};

// What --fix does about a finding, in a word.
const char *RepairWord(const Finding &finding) {
    if (!finding.folder.empty())
        return "remove";
    if (finding.line.empty())
        return "none";
    if (finding.line[0] == kCommandTruncate)
        return "refresh";
    return finding.line[0] == kCommandTreeRemove ? "forget" : "index";
}

void FindingsShow(const std::vector<Finding> &findings, const Options &options) {
    if (findings.empty() && options.form() == Form::table) {
        puts("Nothing wrong was found.");
        return;
    }
    RowWriter writer(options.form(), kColumns, stdout);
    std::map<std::string, long long> counts;
    for (const Finding &finding : findings) {
        writer.Add({std::string(finding.problem), std::string(RepairWord(finding)), finding.path});
        ++counts[finding.problem];
    }
    writer.End();
    if (options.form() != Form::table)
        return;
    const bool mendable = std::any_of(findings.begin(), findings.end(), IsMendable);
    std::string summary;
    for (const auto &[problem, count] : counts)
        summary += (summary.empty() ? "" : ", ") + std::to_string(count) + " " + problem;
    printf("%s: %s.%s\n", Counted(static_cast<long long>(findings.size()), "finding").c_str(),
           summary.c_str(), mendable && !options.fix ? " --fix queues the repairs." : "");
    if (counts.contains(kDamaged))
        puts("What is wrong with a file that is damaged: veluctl why FILE");
}

// False when some finding is left as it is.
bool CoversMend(const std::vector<Finding> &findings) {
    bool all = true;
    for (const Finding &finding : findings) {
        if (finding.folder.empty()) {
            all = all && !finding.line.empty();
            continue;
        }
        CleanOldCover(finding.folder.c_str());
        if (access(finding.folder.c_str(), F_OK) == 0) {
            Complain(kNoRights, Quoted(finding.folder) + " could not be removed");
            all = false;
        }
    }
    return all;
}

ExitCode Mend(const std::vector<Finding> &findings, const Options &options) {
    std::set<std::string> known;
    std::vector<std::string> lines;
    for (const Finding &finding : findings) {
        if (!finding.line.empty() && known.insert(finding.line).second)
            lines.push_back(finding.line);
    }
    // What is forgotten comes first: a path may have been a file and be a directory now.
    std::stable_partition(lines.begin(), lines.end(),
                          [](const std::string &line) { return line[0] == kCommandTreeRemove; });
    if (!lines.empty()) {
        const ExitCode sent = RequestLinesSend(lines, options);
        if (sent != kDone)
            return sent;
    }
    return CoversMend(findings) ? kDone : kFound;
}

} // namespace

bool IsMendable(const Finding &finding) {
    return !finding.line.empty() || !finding.folder.empty();
}

bool CatalogueCheck(CatalogueReader *reader, std::vector<Finding> *findings) {
    std::vector<CheckedRow> rows;
    if (!DatabasesCheck(reader))
        return false;
    if (!CheckedRowsLoad(reader, &rows) || !DamageMark(reader, &rows))
        return false;
    SharesCheck(&rows, findings);
    RowsCheck(rows, findings);
    CoversCheck(rows, findings);
    return FilesCheck(reader, findings);
}

ExitCode CheckCommand(const Options &options) {
    FeatureSwitchesRead();
    CatalogueReader reader;
    std::vector<Finding> findings;
    if (!CatalogueCheck(&reader, &findings))
        return FailureTell(reader);
    if (access(kQueueFile, F_OK) == 0 || access(kQueueWorkingCopy, F_OK) == 0)
        Complain(kDone, "requests are waiting or in work: what they are about may count as wrong here");
    if (const std::string remark = ReadersRemarkNow(); !remark.empty())
        Complain(kDone, remark);
    FindingsShow(findings, options);
    if (findings.empty())
        return kDone;
    return options.fix ? Mend(findings, options) : kFound;
}
