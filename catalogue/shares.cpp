// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/shares.h"

#include <sys/types.h>
#include <unistd.h>

bool ShareTargetGet(const char *link, char (&target)[kSharePathSize]) {
    const ssize_t size = readlink(link, target, sizeof target - 1);
    if (size < 0)
        return false;
    auto length = static_cast<size_t>(size);
    while (length > 1 && target[length - 1] == '/')
        --length;
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
