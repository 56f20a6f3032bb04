// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_above.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "catalogue/shares.h"
#include "daemon/path_rules.h"
#include "platform/path.h"

namespace {

// The bytes of the share's path; where none is known that has it, of as many names as shares have.
size_t ShareLength(std::string_view path) {
    size_t length = 0;
    for (const std::string &share : ShareTargetsGet()) {
        if (PathIsAtOrUnder(path, share))
            length = std::max(length, share.size());
    }
    if (length > 0)
        return length;
    for (int part = 0; part < kShareParts; ++part)
        length = std::min(path.find('/', length + 1), path.size());
    return length;
}

bool IsMarked(const NameRules &rules, std::string_view directory) {
    return rules.marker != nullptr &&
           faccessat(AT_FDCWD, (std::string(directory) + '/' + rules.marker).c_str(), F_OK,
                     AT_SYMLINK_NOFOLLOW) == 0;
}

} // namespace

LeftOutAt WalkLeftOut(const NameRules &rules, std::string_view path, bool is_directory, IgnoreRules *ignore) {
    path = PathWithoutEndSlashes(path);
    for (size_t end = ShareLength(path);;) {
        if (IsMarked(rules, path.substr(0, end)))
            return {LeftOut::marked, end};
        if (end == path.size())
            return {};
        IgnoreEnter(ignore, rules.ignore, path.substr(0, end));
        const size_t begin = end + 1;
        end = std::min(path.find('/', begin), path.size());
        if (const LeftOut why = NameLeftOut(rules, path.substr(begin, end - begin)); why != LeftOut::nothing)
            return {why, end};
        if (IsIgnored(*ignore, path.substr(0, end), is_directory || end < path.size()))
            return {LeftOut::ignored, end};
    }
}

LeftOut PathLeftOut(const NameRules &rules, std::string_view path, bool is_directory, IgnoreRules *ignore) {
    return rules.down_to ? WalkLeftOut(rules, path, is_directory, ignore).why : LeftOut::nothing;
}
