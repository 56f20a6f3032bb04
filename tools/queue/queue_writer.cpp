// SPDX-License-Identifier: GPL-2.0-or-later
//
// The queue's name moves from file to file: the daemon renames the one it takes over, and the next writer
// makes a new one. So a lock on the file says nothing about the name. A writer locks the file, then looks
// whether it is still the queue, writes, and looks again. If the name has left the file only after the write,
// the daemon has opened the file later still and reads the lines; if it had left before, nobody can tell how
// far the daemon had read.
#include "tools/queue/queue_writer.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <string>

#include "platform/file.h"

namespace {

// The daemon takes the queue over at most once in a sleep; to meet that so many times in a row is no accident.
constexpr int kAttempts = 1000;

// The lock keeps writers of this kind from taking back each other's lines when the disk is full. Anybody who
// can read the queue can hold it, so that it must not be waited for without an end: lines are whole without
// it.
constexpr int kLockAttempts = 200;
constexpr timespec kLockPause = {0, 10'000'000};

constexpr mode_t kQueueMode = 0644;

FdHandle QueueOpen(const char *queue) {
    // O_NONBLOCK: a pipe in the queue's place would wait for a reader.
    FdHandle file(open(queue, O_RDWR | O_APPEND | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK, kQueueMode));
    struct stat status;
    if (file && fstat(file.get(), &status) == 0 && !S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return {};
    }
    return file;
}

void Lock(int fd) {
    for (int attempt = 0; attempt < kLockAttempts; ++attempt) {
        if (flock(fd, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK)
            return;
        nanosleep(&kLockPause, nullptr);
    }
}

off_t SizeOf(int fd) {
    struct stat status;
    return fstat(fd, &status) == 0 ? status.st_size : 0;
}

bool EndsInsideLine(const FdHandle &file) {
    const off_t size = SizeOf(file.get());
    char last = '\n';
    return size > 0 && FileReadSomeAt(file, static_cast<uint64_t>(size - 1), &last, 1) == 1 && last != '\n';
}

// One write takes it all on every ordinary day. Returns 0 or an error number; the file is then as it was,
// unless somebody else has written behind the piece.
int WriteWhole(int fd, std::string_view text) {
    const size_t whole = text.size();
    while (!text.empty()) {
        const ssize_t put = write(fd, text.data(), text.size());
        if (put < 0 && errno == EINTR)
            continue;
        if (put < 0) {
            const int error = errno;
            const auto piece = static_cast<off_t>(whole - text.size());
            const off_t end = lseek(fd, 0, SEEK_CUR); // behind our own last byte
            if (piece > 0 && end == SizeOf(fd) && ftruncate(fd, end - piece) != 0)
                return errno;
            return error;
        }
        text.remove_prefix(static_cast<size_t>(put));
    }
    return 0;
}

} // namespace

int QueueAppend(const char *queue, std::string_view lines, FdHandle *file) {
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        FdHandle fd = QueueOpen(queue);
        if (!fd)
            return errno;
        Lock(fd.get());
        if (!IsFileAt(queue, fd.get()))
            continue;
        const std::string text = (EndsInsideLine(fd) ? "\n" : "") + std::string(lines);
        if (const int error = WriteWhole(fd.get(), text); error != 0)
            return error;
        if (!IsFileAt(queue, fd.get()))
            continue;
        flock(fd.get(), LOCK_UN);
        if (file != nullptr)
            *file = std::move(fd);
        return 0;
    }
    return EAGAIN;
}
