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

#include "platform/file.h"
#include "platform/velusdk.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

// The umask is 0, and the file says which process is signalled: only its owner may write it.
constexpr mode_t kMode = 0644;

// A probe that outlives a killed daemon by a moment shares its lock for so long. Looks are this far apart.
constexpr int kLooks = 200;
constexpr timespec kLookPause = {0, 10'000'000};

// False, with the reason in errno, when another process has it locked for longer than a moment.
bool Lock(int fd) {
    for (int look = 1; flock(fd, LOCK_EX | LOCK_NB) != 0; ++look) {
        if (errno != EWOULDBLOCK)
            return true; // on such a file system the number in the file has to do
        if (look == kLooks || KLIBReadPidFile(kPidFile) >= 1) {
            errno = EWOULDBLOCK;
            return false;
        }
        nanosleep(&kLookPause, nullptr);
    }
    return true;
}

// A device, which an administrator may have put there, has no length.
bool Empty(int fd) {
    return ftruncate(fd, 0) == 0 || errno == EINVAL;
}

} // namespace

int PidFileTake(FdHandle *file) {
    do {
        *file = FdHandle(open(kPidFile, O_WRONLY | O_CREAT | O_CLOEXEC, kMode));
        if (!*file) {
            syslog(LOG_ERR, "%s(%d): Failed to create %s. (%s)", kLogName, __LINE__, kPidFile,
                   strerror(errno));
            return 0;
        }
        if (!Lock(file->get())) {
            syslog(LOG_NOTICE, "Daemon alive. No need to start");
            return 1;
        }
        // One that ends removes its file, which may be the one that was just opened.
    } while (!IsFileAt(kPidFile, file->get(), 0));
    if (!Empty(file->get()) || dprintf(file->get(), "%d", static_cast<int>(getpid())) < 0)
        syslog(LOG_ERR, "%s(%d): fprintf pid failed. (%s)", kLogName, __LINE__, strerror(errno));
    return -1;
}
