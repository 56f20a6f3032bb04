// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl report: a page about the catalogue.
#include "tools/veluctl/report/report.h"

#include <stdio.h>

#include <filesystem>

#include "catalogue/features.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/report/page_file.h"
#include "tools/veluctl/row_writer.h"

namespace {

constexpr char kStandardOutput[] = "-";

// A page is opened later, from another folder maybe.
std::string PathWhole(const std::string &path) {
    return std::filesystem::absolute(path).lexically_normal();
}

// False, with the reason in the reader, when a catalogue cannot be read.
bool PageMake(Report *report, bool check) {
    if (check && !CatalogueCheck(report->tallies.reader, &report->findings))
        return false;
    report->checked = check;
    MomentBegin(&report->tallies);
    NumbersOfKindsTake(report);
    HeadWrite(report);
    KindsWrite(report);
    GrowthWrite(report);
    MusicWrite(report);
    FilmsWrite(report);
    PicturesWrite(report);
    NotableWrite(report);
    MomentEnd(&report->tallies);
    ProblemsWrite(report);
    FootWrite(report);
    return !report->tallies.failed;
}

} // namespace

ExitCode ReportCommand(const Options &options) {
    FeatureSwitchesRead();
    CatalogueReader reader;
    Report report = {.tallies = {&reader}, .now = time(nullptr)};
    if (!PageMake(&report, !options.no_check))
        return Complain(kUnreachable, reader.failure);
    const std::string &page = report.html.text();
    const std::string &path = options.path;
    if (path == kStandardOutput) {
        fwrite(page.data(), 1, page.size(), stdout);
        return kDone; // whether it was written shows at the end of the program
    }
    const std::string problem = PageFileWrite(path, page);
    if (!problem.empty())
        return Complain(kFailed, Quoted(path) + ": " + problem);
    return Complain(kDone, "the page is in " + Quoted(PathWhole(path)) + ", " +
                               ValueShow(std::to_string(page.size()), Type::bytes));
}
