// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening and reading files that anybody may have put there: nothing here waits for another program, and a signal
// never makes a read come back early. Writing and synchronising the daemon's own.
#pragma once

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string_view>

#include "platform/handle.h"

// Opens for reading without ever waiting, as a pipe that has taken the file's place would for its writer. `more_flags`
// are further flags of open(2). Empty, with the reason in errno, on failure.
inline FdHandle OpenForReading(const char *path, int more_flags = 0) noexcept {
    return FdHandle(open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK | more_flags));
}

// True for a reason in errno that says that a path leads to no file; what cannot be looked at for another one may be there.
[[nodiscard]] inline bool IsNoFile(int error) noexcept {
    return error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG || error == EINVAL;
}

// Returns the next entry of a directory; null behind the last, for one that could not be opened, or when the rest cannot be read.
// `unseen` becomes true in the latter two cases.
inline const dirent *DirectoryNext(const DirHandle &directory, bool *unseen) noexcept {
    errno = 0;
    const dirent *entry = directory != nullptr ? readdir(directory.get()) : nullptr;
    *unseen = *unseen || directory == nullptr || (entry == nullptr && errno != 0);
    return entry;
}

// Opens a regular file for reading; its size in bytes goes to `size` unless that is null. Anything else gives an
// empty handle and is not even opened: a pipe may wait for its writer, and a device may do things.
inline FdHandle RegularFileOpen(const char *path, uint64_t *size) noexcept {
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    FdHandle file = OpenForReading(path);
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return {};
    if (size != nullptr)
        *size = static_cast<uint64_t>(status.st_size);
    return file;
}

// Reads up to `size` bytes from where the descriptor stands, in one call. Returns how many there were, 0 at the end,
// or -1 with the reason in errno.
[[nodiscard]] inline ssize_t FileReadSome(const FdHandle &file, void *out, size_t size) noexcept {
    ssize_t got = 0;
    do {
        got = read(file.get(), out, size);
    } while (got < 0 && errno == EINTR);
    return got;
}

// Reads up to `size` bytes at `offset`, in one call, and returns what FileReadSome returns. Where the
// descriptor stands does not count and does not change.
[[nodiscard]] inline ssize_t FileReadSomeAt(int fd, uint64_t offset, void *out, size_t size) noexcept {
    if (offset > INT64_MAX) {
        errno = EINVAL;
        return -1;
    }
    ssize_t got = 0;
    do {
        got = pread(fd, out, size, static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    return got;
}
[[nodiscard]] inline ssize_t FileReadSomeAt(const FdHandle &file, uint64_t offset, void *out,
                                            size_t size) noexcept {
    return FileReadSomeAt(file.get(), offset, out, size);
}

// Reads `size` bytes at `offset`, in as many calls as it takes. Returns how many there were; fewer than asked for
// mean the file's end (`failure`, unless null, becomes 0) or a failure (it becomes the error number).
inline size_t FileReadUpTo(int fd, uint64_t offset, void *out, size_t size, int *failure = nullptr) noexcept {
    size_t done = 0;
    ssize_t got = 1;
    while (done < size && got > 0) {
        got = FileReadSomeAt(fd, offset + done, static_cast<uint8_t *>(out) + done, size - done);
        if (got > 0)
            done += static_cast<size_t>(got);
    }
    if (failure != nullptr)
        *failure = got < 0 ? errno : 0;
    return done;
}
inline size_t FileReadUpTo(const FdHandle &file, uint64_t offset, void *out, size_t size,
                           int *failure = nullptr) noexcept {
    return FileReadUpTo(file.get(), offset, out, size, failure);
}

// Reads `size` bytes at `offset`. False when the file ends before or cannot be read.
[[nodiscard]] inline bool FileReadAt(const FdHandle &file, uint64_t offset, void *out, size_t size) noexcept {
    return FileReadUpTo(file, offset, out, size) == size;
}

// Writes all of the bytes at `offset`. False, with the reason in errno, when not all of them could be written.
[[nodiscard]] inline bool FileWriteAt(int fd, uint64_t offset, std::string_view bytes) noexcept {
    while (!bytes.empty()) {
        const ssize_t put = pwrite(fd, bytes.data(), bytes.size(), static_cast<off_t>(offset));
        if (put > 0) {
            offset += static_cast<uint64_t>(put);
            bytes.remove_prefix(static_cast<size_t>(put));
        } else if (put == 0) {
            errno = ENOSPC; // nothing was taken, for no reason that is told
            return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}
[[nodiscard]] inline bool FileWriteAt(const FdHandle &file, uint64_t offset,
                                      std::string_view bytes) noexcept {
    return FileWriteAt(file.get(), offset, bytes);
}

// Brings what has happened to the names in a folder to the disk. False, with the reason in errno, on failure.
[[nodiscard]] inline bool FolderSync(const char *path) noexcept {
    const FdHandle folder = OpenForReading(path, O_DIRECTORY);
    return folder && fsync(folder.get()) == 0;
}

// True when `path` names the file that is open; with `flags` 0 also through a link.
[[nodiscard]] inline bool IsFileAt(const char *path, int fd, int flags = AT_SYMLINK_NOFOLLOW) noexcept {
    struct stat named;
    struct stat opened;
    return fstatat(AT_FDCWD, path, &named, flags) == 0 && fstat(fd, &opened) == 0 &&
           named.st_dev == opened.st_dev && named.st_ino == opened.st_ino;
}
