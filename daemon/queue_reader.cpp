// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_reader.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>

#include "platform/file.h"

bool QueueReader::Open(const char *path) {
    FdHandle file = OpenForReading(path);
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode)) {
        errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
        return false;
    }
    file_ = std::move(file);
    failure_ = 0;
    Seek(0);
    return true;
}

void QueueReader::Seek(off_t begin, off_t end) {
    start_ = end_ = 0;
    behind_buffer_ = begin;
    limit_ = end;
}

void QueueReader::Refill() {
    memmove(buffer_.data(), buffer_.data() + start_, end_ - start_);
    end_ -= start_;
    start_ = 0;
    const off_t room = std::min<off_t>(static_cast<off_t>(kBufferSize - end_), limit_ - behind_buffer_);
    int failure = 0;
    const size_t got = FileReadUpTo(file_, static_cast<uint64_t>(behind_buffer_), buffer_.data() + end_,
                                    static_cast<size_t>(std::max<off_t>(room, 0)), &failure);
    end_ += got;
    behind_buffer_ += static_cast<off_t>(got);
    if (failure != 0)
        failure_ = failure;
}

void QueueReader::PositionShow() const {
    if (limit_ == kNoEnd) // else it is read a second time
        lseek(file_.get(), offset(), SEEK_SET);
}

bool QueueReader::More() {
    if (start_ == end_)
        Refill();
    return start_ < end_ && failure_ == 0;
}

off_t QueueReader::Size() const {
    struct stat status;
    return fstat(file_.get(), &status) == 0 ? status.st_size : 0;
}

bool QueueReader::IsNamed() const {
    struct stat status;
    return fstat(file_.get(), &status) == 0 && status.st_nlink > 0;
}

bool QueueReader::Next(std::string_view *line) {
    const auto newline = [this]() -> const char * {
        const size_t length = std::min(end_ - start_, line_max_);
        return static_cast<const char *>(memchr(buffer_.data() + start_, '\n', length));
    };
    const char *end = newline();
    if (end == nullptr && end_ - start_ < line_max_) {
        Refill();
        end = newline();
    }
    PositionShow();
    const size_t held = std::min(end_ - start_, line_max_);
    // What came of a line whose rest cannot be read would be a request that nobody has made.
    if (end == nullptr && held < line_max_ && failure_ != 0)
        return false;
    const char *begin = buffer_.data() + start_;
    const size_t length = end != nullptr ? static_cast<size_t>(end - begin) + 1 : held;
    *line = {begin, length};
    start_ += length;
    return length > 0;
}
