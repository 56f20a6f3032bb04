// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_kept.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>

#include "daemon/queue_line.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/hash.h"

int64_t (*kept_clock)() = MonotonicMilliseconds;

namespace {

constexpr mode_t kMode = 0644; // as the queue's own

constexpr size_t kBufferSize = 64 * 1024;
constexpr int64_t kMillisecondsOfSecond = 1000;

// When the ages in the file were true; before it is written first, when the daemon began.
int64_t ages_from = MonotonicMilliseconds();

// Reads a line of the file without its newline.
bool KeptLineParse(std::string_view text, KeptLine *kept) {
    const char *end = text.data() + text.size();
    const std::from_chars_result age = std::from_chars(text.data(), end, kept->seconds);
    if (age.ec != std::errc() || kept->seconds < 0 || age.ptr == end || *age.ptr != ' ')
        return false;
    kept->line = text.substr(static_cast<size_t>(age.ptr + 1 - text.data()));
    QueueRequest request;
    return QueueLineParse(kept->line, request);
}

uint64_t HashOf(std::string_view line) {
    return HashText(line);
}

} // namespace

bool KeptReader::Open() {
    damaged_ = 0;
    return reader_.Open(kKeptFile);
}

bool KeptReader::Next(KeptLine *kept) {
    std::string_view text;
    while (reader_.Next(&text)) {
        // A line without its end is a part of a request, which nobody has made.
        if (text.back() == '\n' && KeptLineParse(text.substr(0, text.size() - 1), kept))
            return true;
        ++damaged_;
    }
    return false;
}

void KeptReader::Rewind() {
    reader_.Seek(0);
    damaged_ = 0;
}

KeptWriter::KeptWriter() : elapsed_((kept_clock() - ages_from) / kMillisecondsOfSecond) {}

KeptWriter::~KeptWriter() {
    Discard();
}

void KeptWriter::Discard() {
    if (file_)
        unlink(kKeptFileNew);
    file_.Close();
}

void KeptWriter::Fail() {
    error_ = errno;
    buffer_.clear();
}

void KeptWriter::Open() {
    unlink(kKeptFileNew); // of a daemon that was killed
    file_ = FdHandle(open(kKeptFileNew, O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, kMode));
    if (!file_)
        Fail();
}

void KeptWriter::Flush() {
    if (error_ == 0 && !FileWriteAt(file_, written_, buffer_))
        Fail();
    written_ += buffer_.size();
    buffer_.clear();
}

// True when that line stands at that place of the new file.
bool KeptWriter::IsAt(uint64_t offset, std::string_view line) {
    Flush();
    std::string found(line.size() + 1, '\0');
    int failure = 0;
    const size_t got = FileReadUpTo(file_, offset, found.data(), found.size(), &failure);
    if (failure != 0) {
        errno = failure;
        Fail();
    }
    return got == found.size() && found.back() == '\n' && found.compare(0, line.size(), line) == 0;
}

bool KeptWriter::IsRepeated(std::string_view line, uint64_t hash) {
    if (line.front() == kCommandTruncate)
        return line == last_;
    const uint64_t place = QueueHashGet(places_, hash);
    return place != 0 && IsAt(place - 1, line);
}

void KeptWriter::Add(int64_t seconds, std::string_view line) {
    if (!file_ && error_ == 0)
        Open();
    const uint64_t hash = HashOf(line);
    if (error_ == 0 && IsRepeated(line, hash))
        return;
    ++count_;
    if (error_ != 0)
        return;
    const bool sets_apart = line.front() == kCommandTruncate || line.front() == kCommandRename;
    if (sets_apart)
        places_ = {};
    buffer_.append(std::to_string(seconds)).push_back(' ');
    QueueHashSet(&places_, hash, written_ + buffer_.size() + 1);
    buffer_.append(line).push_back('\n');
    last_ = line;
    if (buffer_.size() >= kBufferSize)
        Flush();
}

bool KeptWriter::Commit() {
    Flush();
    if (error_ == 0 && count_ > 0 && (fsync(file_.get()) != 0 || rename(kKeptFileNew, kKeptFile) != 0))
        Fail();
    if (error_ == 0 && count_ == 0 && unlink(kKeptFile) != 0 && errno != ENOENT)
        Fail();
    if (error_ == 0 && FolderSync(kSpoolFolder)) {
        ages_from += elapsed_ * kMillisecondsOfSecond; // the rest of a second counts the next time
        file_.Close();
        return true;
    }
    if (error_ == 0)
        Fail();
    Discard();
    errno = error_;
    return false;
}
