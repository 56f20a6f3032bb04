// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_presence.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/file.h"

namespace {

// Most files that a failing disk holds are hit where their readers begin.
constexpr size_t kProbedBytes = 65536;

bool IsNothing(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
}

bool IsReadable(const char *path, off_t size) {
    const FdHandle file = OpenForReading(path);
    static char bytes[kProbedBytes];
    const off_t end = std::max<off_t>(size - static_cast<off_t>(sizeof bytes), 0);
    return file && pread(file.get(), bytes, sizeof bytes, 0) >= 0 &&
           pread(file.get(), bytes, sizeof bytes, end) >= 0;
}

} // namespace

bool MayBeThere(const char *path, int *error) {
    struct stat status;
    *error = stat(path, &status) == 0 ? 0 : errno;
    return !IsNothing(*error);
}

bool IsSeen(const char *path) {
    struct stat status;
    return lstat(path, &status) == 0;
}

MetFile MetFileLook(const char *path, off_t *size) {
    struct stat status;
    // A name that was read a moment ago, and is not there: that may be a file system that fails.
    if (lstat(path, &status) != 0)
        return MetFile::unreadable;
    if (S_ISLNK(status.st_mode) && stat(path, &status) != 0)
        return IsNothing(errno) ? MetFile::gone : MetFile::unreadable;
    if (!S_ISREG(status.st_mode))
        return MetFile::gone;
    *size = status.st_size;
    return IsReadable(path, status.st_size) ? MetFile::there : MetFile::unreadable;
}
