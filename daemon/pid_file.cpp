// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/pid_file.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <utility>

#include "platform/file.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";
constexpr char kFolder[] = "/var/run";

// The umask is 0, and the file says which process is signalled: only its owner may write it.
constexpr mode_t kMode = 0644;

// A probe that outlives a killed daemon by a moment shares its lock for so long. Looks are this far apart.
constexpr int kLooks = 200;
constexpr timespec kLookPause = {0, 10'000'000};

// On a file system without locks, the number in the file has to do.
bool Lock(const FdHandle &file) {
    return flock(file.get(), LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

bool IdWrite(const FdHandle &file) {
    return dprintf(file.get(), "%d", static_cast<int>(getpid())) > 0;
}

// Makes the file without a name and links it to its place, so that nobody ever finds it empty. Returns 0 or an error
// number, which is EEXIST when there is one already.
int NewFileTake(FdHandle *file) {
    FdHandle made(open(kFolder, O_WRONLY | O_TMPFILE | O_CLOEXEC, kMode));
    if (!made || !Lock(made) || !IdWrite(made))
        return errno;
    const std::string name = "/proc/self/fd/" + std::to_string(made.get());
    if (linkat(AT_FDCWD, name.c_str(), AT_FDCWD, kPidFile, AT_SYMLINK_FOLLOW) != 0)
        return errno;
    *file = std::move(made);
    return 0;
}

bool NamesAnother() {
    const pid_t pid = KLIBReadPidFile(kPidFile);
    return pid >= 1 && pid != getpid();
}

// A regular file itself, not a link to one.
bool IsPlain(const FdHandle &file) {
    struct stat status;
    return fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) && IsFileAt(kPidFile, file.get());
}

// A device, which an administrator may have put there, has no length.
bool Empty(const FdHandle &file) {
    return ftruncate(file.get(), 0) == 0 || errno == EINVAL;
}

PidFileEnd OthersTold() {
    syslog(LOG_NOTICE, "Daemon alive. No need to start");
    return PidFileEnd::others;
}

// Nothing when another look is needed.
std::optional<PidFileEnd> LookOnce(FdHandle *file) {
    const int refused = NewFileTake(file);
    if (refused == 0)
        return PidFileEnd::taken;
    FdHandle found(open(kPidFile, O_WRONLY | O_CREAT | O_CLOEXEC, kMode));
    if (!found) {
        syslog(LOG_ERR, "%s(%d): Failed to create %s. (%s)", kLogName, __LINE__, kPidFile, strerror(errno));
        return PidFileEnd::failed;
    }
    const bool locked = Lock(found);
    if (NamesAnother())
        return OthersTold();
    if (!locked) {
        nanosleep(&kLookPause, nullptr);
        return {};
    }
    // A daemon that ends takes its file away, which may be the one that was just opened.
    if (!IsFileAt(kPidFile, found.get(), 0))
        return {};
    if (refused == EEXIST && IsPlain(found) && unlink(kPidFile) == 0)
        return {};
    if (!Empty(found) || !IdWrite(found))
        syslog(LOG_ERR, "%s(%d): fprintf pid failed. (%s)", kLogName, __LINE__, strerror(errno));
    *file = std::move(found);
    return PidFileEnd::taken;
}

} // namespace

PidFileEnd PidFileTake(FdHandle *file) {
    for (int look = 0; look < kLooks; ++look)
        if (const std::optional<PidFileEnd> end = LookOnce(file))
            return *end;
    return OthersTold();
}
