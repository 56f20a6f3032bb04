// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the disk says of files that may be copies.
#include "tools/veluctl/duplicates/copies.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include <algorithm>

std::string CopyLook(CopyName *name) {
    struct stat status;
    if (stat(name->path.c_str(), &status) != 0)
        return strerror(errno);
    if (!S_ISREG(status.st_mode))
        return "is no file any more";
    name->size = static_cast<uint64_t>(status.st_size);
    name->device = status.st_dev;
    name->inode = status.st_ino;
    return {};
}

int CopiesNumber(CopyGroup *group) {
    std::map<std::pair<dev_t, ino_t>, int> numbers;
    for (CopyName &name : *group) {
        const int next = static_cast<int>(numbers.size()) + 1;
        const auto [number, first] = numbers.try_emplace({name.device, name.inode}, next);
        name.copy = number->second;
        name.freed = first && next > 1 ? name.size : 0;
    }
    return static_cast<int>(numbers.size());
}

void CopiesTold::Add(const CopyGroup &group) {
    for (const CopyName &name : group)
        group_of_.emplace(name.path, groups_);
    ++groups_;
}

bool CopiesTold::Has(const CopyGroup &group) const {
    const auto first = group_of_.find(group.front().path);
    return first != group_of_.end() && std::ranges::all_of(group, [&](const CopyName &name) {
               const auto other = group_of_.find(name.path);
               return other != group_of_.end() && other->second == first->second;
           });
}
