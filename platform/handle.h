// SPDX-License-Identifier: GPL-2.0-or-later
//
// Move-only owners of C resources. Each C type has one alias here or beside the module that owns its
// library, so that an early return never leaks and no header of a C library spreads for the sake of a close
// call.
#pragma once

#include <dirent.h>
#include <stdio.h>
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
