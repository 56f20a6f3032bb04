// SPDX-License-Identifier: GPL-2.0-or-later
//
// A path that is not there yet will lie where the innermost directory above it lies.
#include "tools/veluctl/status/free_space.h"

#include <sys/statvfs.h>

#include <algorithm>

#include "tools/veluctl/row_writer.h"

int64_t FreeBytes(std::string path) {
    struct statvfs space = {};
    while (statvfs(path.c_str(), &space) != 0) {
        if (path.size() <= 1)
            return -1;
        path.resize(std::max<size_t>(std::min(path.rfind('/'), path.size() - 1), 1));
    }
    return static_cast<int64_t>(space.f_bavail) * static_cast<int64_t>(space.f_frsize);
}

std::string FreeText(const std::string &front, int64_t bytes) {
    return bytes >= 0 ? front + ValueShow(std::to_string(bytes), Type::bytes) + " free" : std::string();
}
