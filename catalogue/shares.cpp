// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/shares.h"

#include <sys/types.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "platform/path.h"
#include "platform/rule_set.h"

namespace {

// As many as the kernel follows.
constexpr int kLinksMax = 40;

// False for what is no link.
bool LinkRead(const std::string &link, std::string *target) {
    char text[kSharePathSize];
    const ssize_t size = readlink(link.c_str(), text, sizeof text - 1);
    if (size >= 0)
        target->assign(text, static_cast<size_t>(size));
    return size >= 0;
}

// Goes on from what a link names to where that leads, as far as it is a link itself. Directories above it keep their names: it
// may lie on storage that is away.
std::string LinksFollow(std::filesystem::path link, std::string target) {
    std::string first;
    for (int links = 0; links < kLinksMax; ++links) {
        const std::filesystem::path to = (link.parent_path() / target).lexically_normal();
        const std::string path(PathOfDirectory(to.native()));
        if (first.empty())
            first = path;
        if (!LinkRead(path, &target))
            return path;
        link = path;
    }
    return first;
}

} // namespace

bool ShareTargetGet(const char *link, char (&target)[kSharePathSize]) {
    std::string found;
    if (!LinkRead(link, &found))
        return false;
    found = PathOfDirectory(found);
    if (RuleSetActive() == RuleSet::complete)
        found = LinksFollow(link, found);
    const size_t length = found.copy(target, sizeof target - 1);
    target[length] = '\0';
    return true;
}

std::vector<std::string> ShareTargetsGet() {
    std::vector<std::string> targets;
    for (const char *link : kShareLinks) {
        char target[kSharePathSize];
        if (ShareTargetGet(link, target))
            targets.emplace_back(target);
    }
    return targets;
}
