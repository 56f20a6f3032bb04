// SPDX-License-Identifier: GPL-2.0-or-later
//
// A file with a name of its own until all of it is on the disk.
#include "tools/veluctl/replaced_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

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

// Returns why writing has failed, which nobody has kept: another byte fails for the same reason.
std::string WriteProblem(FILE *out) {
    errno = 0;
    const bool failed = fputc('\n', out) == EOF || fflush(out) != 0;
    return failed && errno != 0 ? strerror(errno) : "not all of it could be written";
}

} // namespace

ReplacedFile::~ReplacedFile() {
    if (!name_.empty())
        unlink(name_.c_str());
}

std::string ReplacedFile::Open(const std::string &path) {
    struct stat before;
    const bool there = lstat(path.c_str(), &before) == 0;
    // Replacing the name of a device or of a link would not do what was meant.
    if (there && !S_ISREG(before.st_mode))
        return "is there and no ordinary file; - writes to standard output";
    path_ = path;
    std::string name = path + ".XXXXXX";
    FdHandle file(mkostemp(name.data(), O_CLOEXEC));
    if (!file)
        return strerror(errno);
    name_ = name;
    if (fchmod(file.get(), RightsFor(there ? &before : nullptr)) != 0)
        return strerror(errno);
    out_.reset(fdopen(file.get(), "w"));
    if (out_ == nullptr)
        return strerror(errno);
    static_cast<void>(file.Release()); // the stream has it
    return {};
}

std::string ReplacedFile::Commit() {
    if (ferror(out_.get()) != 0)
        return WriteProblem(out_.get());
    if (fflush(out_.get()) != 0 || fsync(fileno(out_.get())) != 0 ||
        rename(name_.c_str(), path_.c_str()) != 0)
        return strerror(errno);
    name_.clear();
    return {};
}
