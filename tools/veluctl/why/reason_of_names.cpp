// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the rules say against a path by its names, and by what directories hold that says so.
#include <strings.h>

#include <algorithm>

#include "catalogue/subtitles.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/walk_above.h"
#include "platform/rule_set.h"
#include "tools/veluctl/shell_word.h"
#include "tools/veluctl/why/left_out_word.h"
#include "tools/veluctl/why/why.h"

namespace {

std::string RulesNamed() {
    return std::string("the rules ") + RuleSetWord(RuleSetActive());
}

// "it", or what it lies in.
std::string ItOrAbove(const std::string &path, size_t size) {
    return size == path.size() ? std::string("it") : "it lies in " + Named(path.substr(0, size)) + ", which";
}

std::string ShownWithoutDots(const std::string &path) {
    const size_t name = path.rfind('/') + 1;
    const size_t begin = std::min(path.find_first_not_of('.', name), path.size());
    return begin < path.size() ? path.substr(0, name) + path.substr(begin) : std::string();
}

Reason Hidden(const std::string &path, size_t size) {
    const std::string hidden = path.substr(0, size);
    Reason reason = {LeftOutWord(LeftOut::hidden),
                     ItOrAbove(path, size) + " has a name that begins with a dot"};
    if (const std::string shown = ShownWithoutDots(hidden); !shown.empty())
        reason.command = "sudo mv " + ShellWord(hidden) + ' ' + ShellWord(shown) + " && " +
                         AddCommandLine(shown + path.substr(size));
    return reason;
}

Reason Marked(const std::string &directory) {
    const std::string mark = directory + '/' + ActiveWalkRules().index.marker;
    return {LeftOutWord(LeftOut::marked), Named(directory) + " holds a " + ActiveWalkRules().index.marker,
            "sudo rm " + ShellWord(mark) + " && " + AddCommandLine(directory), mark};
}

std::string PatternWritten(const IgnorePattern &pattern) {
    const bool in_first_level = pattern.is_path && pattern.text.find('/') == std::string::npos;
    return (in_first_level ? "/" : "") + pattern.text + (pattern.directories ? "/" : "");
}

Reason Ignored(const std::string &path, size_t size, bool is_directory, const IgnoreRules &ignore) {
    const IgnoreDecision decision =
        IgnoreDecide(ignore, std::string_view(path).substr(0, size), is_directory || size < path.size());
    const std::string file = path.substr(0, decision.directory_size) + '/' + ActiveWalkRules().index.ignore;
    const std::string line = std::to_string(decision.pattern->line);
    return {LeftOutWord(LeftOut::ignored),
            ItOrAbove(path, size) + " is named by line " + line + " of " + Named(file) + ": " +
                PatternWritten(*decision.pattern),
            "sudo sed -i " + line + "d " + ShellWord(file) + " && " + AddCommandLine(path), file,
            decision.pattern->line};
}

bool IsCompleteExtension(const char *extension) {
    const IndexHandler *row = CompleteHandlerTable;
    while (row->extension != nullptr && strcasecmp(row->extension, extension) != 0)
        ++row;
    return row->extension != nullptr;
}

Reason OfNoKind(const std::string &path) {
    const char *extension = VELUIndexExtGet(path.c_str());
    Reason reason = {LeftOutWord(LeftOut::unknown), "its name has no extension, by which its kind is known"};
    if (extension == nullptr)
        return reason;
    reason.text = "no file with the extension " + Named(extension) + " is indexed by " + RulesNamed();
    if (IsCompleteExtension(extension)) // else it would have been found
        reason.text += ". By the rules complete it would be: rules=\"complete\" in /etc/veluinfo.conf, and "
                       "a restart of the daemon";
    return reason;
}

Reason Subtitle(const std::string &path) {
    const std::vector<std::string> films = FilmsOf(path);
    const auto film =
        std::ranges::find_if(films, [](const std::string &other) { return IsIndexedPath(other.c_str()); });
    if (film == films.end())
        return {LeftOutWord(LeftOut::subtitle),
                "it is a subtitle, which belongs to a film, and no film beside it has its name"};
    return {LeftOutWord(LeftOut::subtitle), "it is a subtitle, and is kept with its film " + Named(*film),
            "veluctl show " + ShellWord(*film)};
}

} // namespace

std::optional<Reason> ReasonOfWalk(const std::string &path, bool is_directory) {
    IgnoreRules ignore;
    const LeftOutAt left_out = WalkLeftOut(ActiveWalkRules().index, path, is_directory, &ignore);
    switch (left_out.why) {
    case LeftOut::hidden:
        return Hidden(path, left_out.size);
    case LeftOut::marked:
        return Marked(path.substr(0, left_out.size));
    case LeftOut::ignored:
        return Ignored(path, left_out.size, is_directory, ignore);
    default:
        break;
    }
    if (left_out.why == LeftOut::nothing && IsRecyclePath(path.c_str()) == 0)
        return std::nullopt;
    const size_t size = left_out.why == LeftOut::nothing ? path.size() : left_out.size;
    return Reason{LeftOutWord(LeftOut::system),
                  left_out.why == LeftOut::nothing
                      ? "it lies in a recycle bin"
                      : ItOrAbove(path, size) + " has a name by which systems keep what is theirs"};
}

std::optional<Reason> ReasonOfName(const std::string &path) {
    switch (FileLeftOut(path.c_str())) {
    case LeftOut::nothing:
        return std::nullopt;
    case LeftOut::subtitle:
        return Subtitle(path);
    case LeftOut::companion:
        return Reason{LeftOutWord(LeftOut::companion), "it belongs to the films of the disc beside it"};
    case LeftOut::hidden:
        return Hidden(path, path.size());
    default:
        return OfNoKind(path);
    }
}
