// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/hand_over_file.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "platform/file.h"
#include "platform/handle.h"
#include "platform/limits.h"

namespace {

constexpr char kFolder[] = "/var/spool";

// Opens the file for reading and writing; its size goes to `size`.
FdHandle SpoolOpen(int more_flags, off_t *size) {
    FdHandle file(
        open(kHandOverSpool, O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NOCTTY | O_NONBLOCK | more_flags, 0600));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0)
        return {};
    if (!S_ISREG(status.st_mode)) {
        errno = EINVAL;
        return {};
    }
    *size = status.st_size;
    return file;
}

// More than the longest line has, which is escaped throughout.
constexpr off_t kLineMax = 16 * 1024;

// The size of a file of this size without a last line that was not written to its end; -1 when it cannot be read.
off_t WholeSize(const FdHandle &file, off_t size) {
    char tail[kLineMax];
    const off_t begin = size - std::min(size, kLineMax);
    const auto count = static_cast<size_t>(size - begin);
    if (!FileReadAt(file, static_cast<uint64_t>(begin), tail, count))
        return -1;
    const void *newline = memrchr(tail, '\n', count);
    return newline != nullptr ? begin + (static_cast<const char *>(newline) - tail) + 1 : begin;
}

bool FolderSync() {
    const FdHandle folder(open(kFolder, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    return folder && fsync(folder.get()) == 0;
}

bool WriteAt(const FdHandle &file, off_t offset, const std::string &bytes) {
    for (size_t done = 0; done < bytes.size();) {
        const ssize_t put =
            pwrite(file.get(), bytes.data() + done, bytes.size() - done, offset + static_cast<off_t>(done));
        if (put > 0)
            done += static_cast<size_t>(put);
        else if (put == 0 || errno != EINTR)
            return false;
    }
    return true;
}

} // namespace

bool HandOverFileThere() {
    struct stat status;
    return lstat(kHandOverSpool, &status) == 0;
}

bool HandOverFileAppend(const std::string &lines, off_t *begin) {
    off_t size = 0;
    const FdHandle file = SpoolOpen(O_CREAT, &size);
    if (!file)
        return false;
    *begin = WholeSize(file, size);
    if (*begin < 0)
        return false;
    if (*begin + static_cast<off_t>(lines.size()) > kHandOverSpoolMax) {
        errno = EFBIG;
        return false;
    }
    if ((*begin == size || ftruncate(file.get(), *begin) == 0) && WriteAt(file, *begin, lines) &&
        fdatasync(file.get()) == 0 && (*begin > 0 || FolderSync()))
        return true;
    const int reason = errno;
    static_cast<void>(!ftruncate(file.get(), *begin)); // what cannot be taken back is read like any torn line
    errno = reason;
    return false;
}

bool HandOverFileRead(std::vector<HandOverPlace> *out, size_t *damaged) {
    off_t size = 0;
    const FdHandle file = SpoolOpen(0, &size);
    if (!file)
        return false;
    std::string bytes(static_cast<size_t>(std::min<off_t>(size, kHandOverSpoolMax)), '\0');
    int failure = 0;
    bytes.resize(FileReadUpTo(file, 0, bytes.data(), bytes.size(), &failure));
    size_t begin = 0;
    // A line without its newline was not written to its end, and its file not taken away.
    for (size_t end = 0; (end = bytes.find('\n', begin)) != std::string::npos; begin = end + 1) {
        const std::string_view line(bytes.data() + begin, end - begin);
        HandOverText given;
        if (line.empty() || line.front() == kHandOverDone)
            continue;
        if (line.front() == kHandOverWanted && HandOverLineRead(line, &given))
            out->push_back({std::move(given), static_cast<off_t>(begin), static_cast<off_t>(end + 1)});
        else
            ++*damaged;
    }
    errno = failure;
    return failure == 0;
}

bool HandOverFileDone(const std::vector<off_t> &begins, off_t end) {
    off_t size = 0;
    const FdHandle file = SpoolOpen(0, &size);
    if (!file)
        return false;
    for (const off_t begin : begins)
        if (begin < end && !WriteAt(file, begin, {kHandOverDone}))
            return false;
    return (end >= size || ftruncate(file.get(), end) == 0) && fdatasync(file.get()) == 0;
}

bool HandOverFileRemove() {
    return unlink(kHandOverSpool) == 0 || errno == ENOENT;
}
