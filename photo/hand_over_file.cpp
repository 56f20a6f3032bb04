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

constexpr off_t kBlockSize = 16 * 1024; // holds most last lines whole

// The size of a file of this size without what stands behind its last newline, which was not written to its end; -1 when it
// cannot be read. A disk may leave any number of zeros there.
off_t WholeSize(const FdHandle &file, off_t size) {
    char block[kBlockSize];
    for (off_t begin = size; begin > 0;) {
        const off_t end = begin;
        begin -= std::min(begin, kBlockSize);
        const auto count = static_cast<size_t>(end - begin);
        if (!FileReadAt(file, static_cast<uint64_t>(begin), block, count))
            return -1;
        if (const void *newline = memrchr(block, '\n', count); newline != nullptr)
            return begin + (static_cast<const char *>(newline) - block) + 1;
    }
    return 0;
}

bool WriteAt(const FdHandle &file, off_t offset, std::string_view bytes) {
    return FileWriteAt(file, static_cast<uint64_t>(offset), bytes);
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
    *begin = WholeSize(file, std::min<off_t>(size, kHandOverSpoolMax)); // behind that nothing is read
    if (*begin < 0)
        return false;
    if (*begin + static_cast<off_t>(lines.size()) > kHandOverSpoolMax) {
        errno = EFBIG;
        return false;
    }
    if ((*begin == size || ftruncate(file.get(), *begin) == 0) && WriteAt(file, *begin, lines) &&
        fdatasync(file.get()) == 0 && (*begin > 0 || FolderSync(kFolder)))
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
        if (begin < end && !WriteAt(file, begin, {&kHandOverDone, 1}))
            return false;
    // A text whose newer one was taken away before it is marked would count again after a power cut.
    if (end < size && (fdatasync(file.get()) != 0 || ftruncate(file.get(), end) != 0))
        return false;
    return fdatasync(file.get()) == 0;
}

bool HandOverFileRemove() {
    return unlink(kHandOverSpool) == 0 || errno == ENOENT;
}
