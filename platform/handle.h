// SPDX-License-Identifier: GPL-2.0-or-later
//
// Move-only owners of C resources, and the safe way to open and read a file that anybody may have put there. Each C type has one alias here or beside the module that owns its
// library, so that an early return never leaks and no header of a C library spreads for the sake of a close
// call.
#pragma once

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdint.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>
#include <utility>

// Calls a C closing function of any result type as the deleter of a unique_ptr.
template <auto Close>
struct CloseWith {
    template <typename T>
    void operator()(T *resource) const noexcept {
        static_cast<void>(Close(resource));
    }
};

using FileHandle = std::unique_ptr<FILE, CloseWith<fclose>>;
using DirHandle = std::unique_ptr<DIR, CloseWith<closedir>>;

// An open file descriptor, or -1.
class FdHandle {
public:
    FdHandle() noexcept = default;
    explicit FdHandle(int fd) noexcept : fd_(fd) {}
    FdHandle(FdHandle &&other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    FdHandle &operator=(FdHandle &&other) noexcept {
        std::swap(fd_, other.fd_);
        return *this;
    }
    FdHandle(const FdHandle &) = delete;
    FdHandle &operator=(const FdHandle &) = delete;
    ~FdHandle() { Close(); }

    [[nodiscard]] int get() const noexcept { return fd_; }
    explicit operator bool() const noexcept { return fd_ >= 0; }

    // Gives the descriptor to another owner.
    [[nodiscard]] int Release() noexcept { return std::exchange(fd_, -1); }

    void Close() noexcept {
        if (fd_ >= 0)
            close(std::exchange(fd_, -1));
    }

private:
    int fd_ = -1;
};

// Opens for reading without ever waiting, as a pipe that has taken the file's place would for its writer. Empty, with
// the reason in errno, on failure.
inline FdHandle OpenForReading(const char *path) noexcept {
    return FdHandle(open(path, O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
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

// Reads `size` bytes at `offset` of a file. False when the file ends before or cannot be read.
[[nodiscard]] inline bool FileReadAt(const FdHandle &file, uint64_t offset, void *out, size_t size) noexcept {
    if (offset > INT64_MAX)
        return false;
    ssize_t got = 0;
    do {
        got = pread(file.get(), out, size, static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    return got >= 0 && static_cast<size_t>(got) == size;
}
