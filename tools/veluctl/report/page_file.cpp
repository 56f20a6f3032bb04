// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/page_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/handle.h"

namespace {

constexpr mode_t kRights = 0777;
constexpr mode_t kNewFile = 0666;

// Returns the rights of the file that is replaced; for a new file, and one of another user (who must not
// decide who may write the page), what the user's mask leaves.
mode_t RightsFor(const struct stat *before) {
    if (before != nullptr && before->st_uid == geteuid())
        return before->st_mode & kRights;
    const mode_t mask = umask(0);
    umask(mask);
    return kNewFile & ~mask;
}

bool BytesWrite(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return false;
        bytes.remove_prefix(static_cast<size_t>(count));
    }
    return true;
}

} // namespace

std::string PageFileWrite(const std::string &path, std::string_view page) {
    struct stat before;
    const bool there = lstat(path.c_str(), &before) == 0;
    // Replacing the name of a device or of a link would not do what was meant.
    if (there && !S_ISREG(before.st_mode))
        return "is there and no ordinary file; - writes to standard output";
    std::string name = path + ".XXXXXX";
    const FdHandle file(mkostemp(name.data(), O_CLOEXEC));
    if (!file)
        return strerror(errno);
    if (BytesWrite(file.get(), page) && fchmod(file.get(), RightsFor(there ? &before : nullptr)) == 0 &&
        fsync(file.get()) == 0 && rename(name.c_str(), path.c_str()) == 0)
        return {};
    std::string reason = strerror(errno);
    unlink(name.c_str());
    return reason;
}
