// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_ignore.h"

#include <errno.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>

#include "platform/file.h"
#include "platform/limits.h"
#include "platform/utf8.h"

namespace {

constexpr char kLogName[] = "walk_ignore.c";

constexpr std::string_view kAnyDirectories = "**";

// Cuts the first part off, up to the separator, which goes too.
std::string_view PartTake(std::string_view *text, char separator) {
    const size_t end = std::min(text->find(separator), text->size());
    const std::string_view part = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    return part;
}

// The bytes of the character that a text, not empty, begins with; of what is no character each is one.
size_t CharacterSize(std::string_view text) {
    size_t size = 1;
    while (size < text.size() && Utf8IsContinuation(text[size]))
        ++size;
    return size;
}

// Matches the names of one level. When the rest does not match, the last "*" takes a byte more: what stands before it has
// matched as early as it can, so that no other way needs to be tried.
bool NameMatches(std::string_view pattern, std::string_view name) {
    size_t at = 0;
    size_t in = 0;
    size_t star = std::string_view::npos;
    size_t star_in = 0;
    while (in < name.size()) {
        const bool escaped = at + 1 < pattern.size() && pattern[at] == '\\';
        if (at < pattern.size() && !escaped && pattern[at] == '*') {
            star = ++at;
            star_in = in;
        } else if (at < pattern.size() && !escaped && pattern[at] == '?') {
            ++at;
            in += CharacterSize(name.substr(in));
        } else if (at < pattern.size() && pattern[at + (escaped ? 1 : 0)] == name[in]) {
            at += escaped ? 2 : 1;
            ++in;
        } else if (star != std::string_view::npos) {
            at = star;
            in = ++star_in;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', at) == std::string_view::npos;
}

// Matches level by level, with "**" for names as "*" is for bytes.
bool PathMatches(std::string_view pattern, std::string_view path) {
    std::string_view behind_any;
    std::string_view path_there;
    bool any = false;
    while (true) {
        std::string_view rest = pattern;
        const std::string_view part = PartTake(&rest, '/');
        std::string_view path_rest = path;
        const std::string_view name = PartTake(&path_rest, '/');
        if (pattern.empty() && path.empty())
            return true;
        if (part == kAnyDirectories) {
            if (rest.empty())
                return !path.empty(); // what lies in a directory, not itself
            any = true;
            pattern = behind_any = rest;
            path_there = path;
        } else if (!pattern.empty() && !path.empty() && NameMatches(part, name)) {
            pattern = rest;
            path = path_rest;
        } else if (any && !path_there.empty()) {
            PartTake(&path_there, '/');
            path = path_there;
            pattern = behind_any;
        } else {
            return false;
        }
    }
}

std::string_view WithoutEndBlanks(std::string_view line) {
    if (line.ends_with('\r'))
        line.remove_suffix(1);
    while (line.ends_with(' ') && !line.ends_with("\\ "))
        line.remove_suffix(1);
    return line;
}

// False for a line that is no pattern.
bool PatternRead(std::string_view line, IgnorePattern *pattern) {
    line = WithoutEndBlanks(line);
    if (line.starts_with('#'))
        return false;
    pattern->takes_back = line.starts_with('!');
    line.remove_prefix(pattern->takes_back ? 1 : 0);
    pattern->directories = line.ends_with('/');
    while (line.ends_with('/'))
        line.remove_suffix(1);
    pattern->is_path = line.find('/') != std::string_view::npos;
    line.remove_prefix(line.starts_with('/') ? 1 : 0);
    pattern->text = line;
    return !line.empty();
}

void NotWholeTell(std::string_view file, const char *reason, int line = __builtin_LINE()) {
    syslog(LOG_ERR, "%s (%d) Not all of %.*s counts. (%s)", kLogName, line, static_cast<int>(file.size()),
           file.data(), reason);
}

// Reads a file as far as it counts. False, with the reason in errno, when there is none, or it cannot be read.
bool TextRead(const std::string &path, std::string *text, bool *whole) {
    const FdHandle file = RegularFileOpen(path.c_str(), nullptr);
    if (!file)
        return false;
    text->resize(kIgnoreFileMax + 1);
    int failure = 0;
    text->resize(FileReadUpTo(file, 0, text->data(), text->size(), &failure));
    *whole = text->size() <= kIgnoreFileMax;
    if (!*whole) // the last line may be cut
        text->resize(text->rfind('\n', kIgnoreFileMax - 1) + 1);
    errno = failure;
    return failure == 0;
}

// The last pattern that matches; null when none does.
const IgnorePattern *LastMatch(const std::vector<IgnorePattern> &patterns, std::string_view path,
                               bool is_directory) {
    const auto found = std::find_if(patterns.rbegin(), patterns.rend(), [&](const IgnorePattern &pattern) {
        return (is_directory || !pattern.directories) && IgnoreMatches(pattern, path);
    });
    return found != patterns.rend() ? &*found : nullptr;
}

} // namespace

std::vector<IgnorePattern> IgnorePatternsOf(std::string_view text, size_t most, bool *whole) {
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    std::vector<IgnorePattern> patterns;
    bool all = true;
    if (text.starts_with(kByteOrderMark))
        text.remove_prefix(kByteOrderMark.size());
    for (size_t number = 1; !text.empty(); ++number) {
        const std::string_view line = PartTake(&text, '\n');
        IgnorePattern pattern = {.line = number};
        if (!PatternRead(line, &pattern))
            continue;
        if (pattern.text.size() > kIgnorePatternMax || patterns.size() >= most)
            all = false;
        else
            patterns.push_back(std::move(pattern));
    }
    if (whole != nullptr)
        *whole = all;
    return patterns;
}

bool IgnoreMatches(const IgnorePattern &pattern, std::string_view path) {
    return pattern.is_path ? PathMatches(pattern.text, path)
                           : NameMatches(pattern.text, path.substr(path.rfind('/') + 1));
}

void IgnoreEnter(IgnoreRules *rules, const char *name, std::string_view directory) {
    if (name == nullptr)
        return;
    const std::string path = std::string(directory) + '/' + name;
    std::string text;
    bool whole = true;
    errno = 0;
    if (!TextRead(path, &text, &whole)) {
        if (rules->tells && errno != 0 && errno != ENOENT && errno != ENOTDIR)
            NotWholeTell(path, strerror(errno));
        return;
    }
    bool all = true;
    std::vector<IgnorePattern> patterns = IgnorePatternsOf(text, kIgnorePatternsMax - rules->patterns, &all);
    if (rules->tells && (!whole || !all))
        NotWholeTell(path, "it is too long");
    rules->patterns += patterns.size();
    rules->files.push_back({directory.size(), std::move(patterns)});
}

void IgnoreLeave(IgnoreRules *rules, size_t directory_size) {
    while (!rules->files.empty() && rules->files.back().directory_size >= directory_size) {
        rules->patterns -= rules->files.back().patterns.size();
        rules->files.pop_back();
    }
}

std::optional<bool> IgnoreVerdict(const std::vector<IgnorePattern> &patterns, std::string_view path,
                                  bool is_directory) {
    const IgnorePattern *found = LastMatch(patterns, path, is_directory);
    return found != nullptr ? std::optional(!found->takes_back) : std::nullopt;
}

IgnoreDecision IgnoreDecide(const IgnoreRules &rules, std::string_view path, bool is_directory) {
    for (auto file = rules.files.rbegin(); file != rules.files.rend(); ++file) {
        const size_t size = file->directory_size;
        if (const auto *found = LastMatch(file->patterns, path.substr(size + 1), is_directory))
            return {found, size};
    }
    return {};
}

bool IsIgnored(const IgnoreRules &rules, std::string_view path, bool is_directory) {
    const IgnorePattern *pattern = IgnoreDecide(rules, path, is_directory).pattern;
    return pattern != nullptr && !pattern->takes_back;
}
