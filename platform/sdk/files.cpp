// SPDX-License-Identifier: GPL-2.0-or-later
//
// What exists under a path, and where its extended attributes are kept.
#include "platform/sdk/bounded_text.h"
#include "platform/velusdk.h"

#include <sys/stat.h>

int BlKLIBFileExist(const char *path) {
    struct stat status;
    return path != nullptr && stat(path, &status) == 0 ? 1 : 0;
}

int IsFileExist(const char *path, uint64_t *size) {
    struct stat status;
    if (path == nullptr || stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return 0;
    if (size != nullptr)
        *size = static_cast<uint64_t>(status.st_size);
    return 1;
}

int IsDirExist(const char *path) {
    struct stat status;
    return path != nullptr && stat(path, &status) == 0 && S_ISDIR(status.st_mode) ? 1 : 0;
}

int VELUEAPath(const char *path, const char *attribute, char *out, size_t size) {
    if (out == nullptr || size == 0)
        return -1;
    BoundedText result(out, size);
    if (path == nullptr || attribute == nullptr || attribute[0] == '\0')
        return -1;
    std::string_view entry(path);
    entry = entry.substr(0, entry.find_last_not_of('/') + 1);
    const size_t slash = entry.rfind('/');
    if (slash == std::string_view::npos)
        return -1;
    Append(&result, entry.substr(0, slash));
    Append(&result, "/@eaDir");
    Append(&result, entry.substr(slash));
    Append(&result, '/');
    Append(&result, attribute);
    if (!result.cut)
        return 0;
    Shorten(&result, 0);
    return -1;
}
