// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/cover_pictures.h"

#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>

#include "platform/file_bytes.h"
#include "platform/hash.h"
#include "platform/index/run_state.h"
#include "platform/own_group.h"

namespace {

// Hidden, so that who looks through the folders of media meets none that is not.
constexpr std::string_view kFolder = ".pictures";

// Beside the name that is to be replaced.
constexpr std::string_view kNew = ".new";

// What is hashed of either end of a picture. Its begin is the same for all that one program has made, its end for none.
constexpr size_t kHashedBytes = 8192;

constexpr nlink_t kCoverAndName = 2;

bool PartHash(const BytesRef &picture, uint64_t offset, size_t bytes, uint64_t *hash) {
    char read[kHashedBytes];
    const char *part = BytesPart(picture, offset, bytes, read);
    if (part == nullptr)
        return false;
    *hash = HashBlock({part, bytes}, *hash);
    return true;
}

bool IsSameFile(const struct stat &one, const struct stat &other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

// With the one above it.
bool FolderMake(const std::string &folder) {
    const std::string above = folder.substr(0, folder.rfind('/'));
    return (mkdir(above.c_str(), OwnFolderMode()) == 0 || errno == EEXIST) &&
           (mkdir(folder.c_str(), OwnFolderMode()) == 0 || errno == EEXIST);
}

// Where they are empty.
void FoldersLeave(const std::string &folder) {
    if (rmdir(folder.c_str()) == 0)
        rmdir(folder.substr(0, folder.rfind('/')).c_str());
}

FdHandle PictureOpen(int folder, const char *name, struct stat *status) {
    FdHandle file(openat(folder, name, O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (!file || fstat(file.get(), status) != 0 || !S_ISREG(status->st_mode))
        return {};
    return file;
}

} // namespace

std::string CoverPictureName(const BytesRef &picture) {
    uint64_t hash = HashText(std::to_string(picture.bytes));
    const auto part = static_cast<size_t>(std::min<uint64_t>(kHashedBytes, picture.bytes));
    if (!PartHash(picture, 0, part, &hash) || !PartHash(picture, picture.bytes - part, part, &hash))
        return {};
    char digits[sizeof hash * 2 + 1];
    snprintf(digits, sizeof digits, "%016" PRIx64, hash);
    const std::string name = digits;
    return std::string(kFolder) + '/' + name.substr(0, kCoverGroupDigits) + '/' + name;
}

FdHandle CoverPictureFind(const std::string &path, const BytesRef &picture) {
    struct stat status;
    FdHandle file = PictureOpen(AT_FDCWD, path.c_str(), &status);
    const bool same = file && status.st_mtim.tv_sec > run_state.covers_failed &&
                      BytesEqual({static_cast<uint64_t>(status.st_size), file.get()}, picture);
    return same ? std::move(file) : FdHandle();
}

bool CoverPictureEnter(const std::string &cover, const std::string &path) {
    const std::string folder = path.substr(0, path.rfind('/'));
    if (link(cover.c_str(), path.c_str()) == 0)
        return true;
    if (errno == ENOENT && FolderMake(folder) && link(cover.c_str(), path.c_str()) == 0)
        return true;
    // Another picture of that hash, or a file that can have no more names: the next cover is likelier to be like this one.
    const std::string beside = path + std::string(kNew);
    if (errno == EEXIST && (unlink(beside.c_str()) == 0 || errno == ENOENT) &&
        link(cover.c_str(), beside.c_str()) == 0 && rename(beside.c_str(), path.c_str()) == 0)
        return true;
    FoldersLeave(folder);
    return false;
}

void CoverPictureLeave(int covers, int folder, const char *cover) {
    struct stat status;
    if (fstatat(folder, cover, &status, AT_SYMLINK_NOFOLLOW) != 0 || status.st_nlink != kCoverAndName)
        return;
    const FdHandle file = PictureOpen(folder, cover, &status);
    const std::string name =
        file ? CoverPictureName({static_cast<uint64_t>(status.st_size), file.get()}) : std::string();
    struct stat named;
    if (name.empty() || fstatat(covers, name.c_str(), &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        !IsSameFile(status, named) || unlinkat(covers, name.c_str(), 0) != 0)
        return;
    const std::string group = name.substr(0, name.rfind('/'));
    if (unlinkat(covers, group.c_str(), AT_REMOVEDIR) == 0)
        unlinkat(covers, std::string(kFolder).c_str(), AT_REMOVEDIR);
}
