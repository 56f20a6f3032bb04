// SPDX-License-Identifier: GPL-2.0-or-later
//
// A walk like the daemon's leaves out by their names what it does not even look at. This one meets everything and asks the same
// rules: what they leave out is told, and a directory that they leave out is not entered.
#include "tools/veluctl/overview/left_out_files.h"

#include <stdio.h>

#include <algorithm>

#include "catalogue/features.h"
#include "catalogue/shares.h"
#include "catalogue/util.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/walk_above.h"
#include "platform/path.h"
#include "platform/velusdk.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/row_writer.h"
#include "tools/veluctl/why/left_out_word.h"
#include "tools/veluctl/why/why.h"

namespace {

constexpr Column kColumns[] = {{"reason", "REASON", Type::text}, {"path", "PATH", Type::path}};

struct Listing {
    RowWriter *writer;
    uint32_t limit;

    [[nodiscard]] bool WantsMore() const { return writer->count() < limit; }

    void Add(LeftOut why, const std::string &path, bool is_directory) const {
        if (why != LeftOut::nothing && WantsMore())
            writer->Add({LeftOutWord(why), path + (is_directory ? "/" : "")});
    }
};

LeftOut DirectoryNameLeftOut(const std::string &path) {
    const NameRules &rules = ActiveWalkRules().index;
    const char *name = PathBaseName(path.c_str());
    const LeftOut why = NameLeftOut(rules, name);
    return why == LeftOut::nothing && IsDirectoryNameLeftOut(rules, name) ? LeftOut::system : why;
}

// Of what is no directory.
LeftOut NamedLeftOut(const TreeCursor &cursor) {
    const LeftOut why = NameLeftOut(ActiveWalkRules().index, PathBaseName(cursor.path.c_str()));
    return why != LeftOut::nothing ? why : EntryLeftOut(cursor);
}

// Of what was not entered, or not read to its end. Names count first, as for the daemon.
LeftOut PlaceLeftOut(const TreeCursor &cursor, bool is_directory) {
    const LeftOut why = is_directory
                            ? DirectoryNameLeftOut(cursor.path)
                            : NameLeftOut(ActiveWalkRules().index, PathBaseName(cursor.path.c_str()));
    if (why != LeftOut::nothing || cursor.why != LeftOut::nothing)
        return why != LeftOut::nothing ? why : cursor.why;
    if (IsUnread(cursor.end))
        return LeftOut::unseen;
    return cursor.end == PlaceEnd::left_out && IsRecyclePath(cursor.path.c_str()) != 0 ? LeftOut::system
                                                                                       : LeftOut::nothing;
}

void TreeList(const std::string &top, const Listing &listing) {
    IgnoreRules ignore;
    if (const LeftOutAt above = WalkLeftOut(ActiveWalkRules().index, top, true, &ignore);
        above.why != LeftOut::nothing)
        return listing.Add(above.why, top, true);
    NameRules by_content = ActiveWalkRules().index;
    by_content.names = by_content.prefixes = by_content.directory_names = by_content.directory_parts = {};
    TreeCursor cursor = TreeBegin(top.c_str(), {.rules = &by_content, .tells_ignored = true});
    for (TreeEvent event = TreeNext(&cursor); event != TreeEvent::done && listing.WantsMore();
         event = TreeNext(&cursor)) {
        const bool is_top = cursor.path == top;
        if (event == TreeEvent::entry) {
            listing.Add(NamedLeftOut(cursor), cursor.path, false);
        } else if (event == TreeEvent::entered && !is_top &&
                   DirectoryNameLeftOut(cursor.path) != LeftOut::nothing) {
            listing.Add(DirectoryNameLeftOut(cursor.path), cursor.path, true);
            TreeLeave(&cursor);
        } else if (event == TreeEvent::left && (cursor.end != PlaceEnd::read)) {
            const bool is_directory = IsDirExist(cursor.path.c_str()) != 0;
            listing.Add(PlaceLeftOut(cursor, is_directory), cursor.path, is_directory);
        }
    }
}

// The trees that are asked for, none within another.
ExitCode TreesChoose(const Options &options, std::vector<std::string> *trees) {
    std::vector<std::string> named = options.words;
    if (!options.directory.empty())
        named.push_back(options.directory);
    for (const std::string &name : named) {
        trees->push_back(RequestPathMake(name));
        if (IsDirExist(trees->back().c_str()) == 0)
            return Complain(kUsage, Quoted(name) +
                                        " is no directory: missing files takes directories, and no "
                                        "words of find, which know of what is in the catalogue");
    }
    if (named.empty())
        *trees = ShareTargetsGet();
    std::ranges::sort(*trees);
    std::string last;
    std::erase_if(*trees, [&](const std::string &tree) {
        const bool is_within = !last.empty() && PathIsAtOrUnder(tree, last);
        last = is_within ? last : tree;
        return is_within;
    });
    return kDone;
}

} // namespace

ExitCode LeftOutFilesList(const Options &options) {
    FeatureSwitchesRead();
    std::vector<std::string> trees;
    if (const ExitCode wrong = TreesChoose(options, &trees); wrong != kDone)
        return wrong;
    if (trees.empty())
        return Complain(kFound, "there is no share: name a directory");
    RowWriter writer(options.form(), kColumns, stdout);
    for (const std::string &tree : trees)
        TreeList(tree, {&writer, options.limit});
    writer.End();
    const bool for_people = options.form() == Form::table && options.limit > 0;
    if (for_people)
        fputs(writer.count() == 0 ? "Nothing is left out.\n"
                                  : "By which rule, and how that is changed: veluctl why PATH\n",
              stderr);
    return writer.count() == 0 ? kDone : kFound;
}

HelpList LeftOutReasons() {
    constexpr std::pair<LeftOut, const char *> kMeanings[] = {
        {LeftOut::hidden, "Its name begins with a dot"},
        {LeftOut::system, "A name by which systems keep what is theirs, or a recycle bin"},
        {LeftOut::marked, "The directory holds a .nomedia"},
        {LeftOut::ignored, "A .veluignore names it"},
        {LeftOut::subtitle, "It is kept with its film"},
        {LeftOut::companion, "It belongs to the films of a disc"},
        {LeftOut::unknown, "Files of that kind are not indexed"},
        {LeftOut::special, "It is no regular file, or a link that leads to none"},
        {LeftOut::unseen, "It cannot be looked at"}};
    HelpList reasons = {"Reasons, with files", {}};
    for (const auto &[why, meaning] : kMeanings)
        reasons.entries.emplace_back(LeftOutWord(why), meaning);
    return reasons;
}
