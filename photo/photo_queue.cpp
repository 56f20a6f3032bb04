// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/photo_queue.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include "catalogue/features.h"
#include "daemon/path_rules.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"

unsigned (*photo_queue_pause)(unsigned seconds) = sleep;

namespace {

constexpr char kLogName[] = "photo_index.c";

constexpr char kThumbQueue[] = "/var/spool/thumb_create.queue";
constexpr char kThumbPidFile[] = "/var/run/velumkthumbd.pid";
constexpr char kFlvQueue[] = "/var/spool/flv_create.queue";
constexpr char kFlvPidFile[] = "/var/run/velumkflvd.pid";

constexpr size_t kLineSize = 4097; // a path and its newline

constexpr int kLookupFlags = 0x404; // compares from a line's first byte on, and minds case

constexpr unsigned kRetrySeconds = 1;

using TextHandle = std::unique_ptr<char, CloseWith<free>>;

enum class Opening { done, queued, failed };

// Opens the queue for a line, or finds that the line is in it.
Opening QueueOpen(const char *line, const char *queue_file, FdHandle *file) {
    for (int failures = 0;;) {
        char found[kLineSize] = "";
        const int lookup = KLIBFileGetLine(queue_file, line, found, sizeof found, kLookupFlags);
        if (lookup > 0 && strlen(found) == strlen(line))
            return Opening::queued;
        const int flags =
            lookup < 0 ? O_RDWR | O_CREAT | O_EXCL | O_TRUNC | O_SYNC : O_RDWR | O_APPEND | O_SYNC;
        *file = FdHandle(open(queue_file, flags, 0777));
        if (*file)
            return Opening::done;
        const int error = errno;
        syslog(LOG_ERR, "(%s, %d) open(%s, %d) failed, reason=%s\n", kLogName, __LINE__, queue_file, flags,
               strerror(error));
        if (error != EACCES || ++failures > kConverterQueueRetriesMax)
            return Opening::failed;
        VELUIndexRunFlush(); // nobody waits for a catalogue because this waits for a queue
        photo_queue_pause(kRetrySeconds);
    }
}

int LineAppend(int file, const char *line, const char *queue_file) {
    char text[kLineSize];
    snprintf(text, sizeof text, "%s\n", line);
    if (write(file, text, strlen(text)) >= 0)
        return 0;
    syslog(LOG_ERR, "%s: %s(%d) - failed to write (%s, %d) into %s, reason=%s", kLogName, "WriteThumbQueue",
           __LINE__, line, static_cast<int>(strlen(line)), queue_file, strerror(errno));
    return -1;
}

// Cuts `path` to what the thumbnail daemon is asked for: a directory itself, or the directory of a picture.
// False when the path is neither.
bool ThumbTargetGet(char *path, mode_t type) {
    if (S_ISDIR(type))
        return true;
    if (!HasPictureExtension(path))
        return false;
    if (char *slash = strrchr(path, '/'); slash != nullptr)
        *slash = '\0';
    return true;
}

// This and FlvQueueAdd queue what the path is eligible for. They return true when the daemon is to be woken; `pid`
// becomes what its pid file says once that was read.
bool ThumbQueueAdd(const char *path, mode_t type, pid_t *pid) {
    const TextHandle target(strdup(path));
    if (target == nullptr) {
        syslog(LOG_ERR, "%s(%d) failed to strdup %s, reason=%s\n", kLogName, __LINE__, path, strerror(errno));
        return false;
    }
    if (!ThumbTargetGet(target.get(), type))
        return false;
    *pid = KLIBReadPidFile(kThumbPidFile);
    if (*pid <= 0) {
        syslog(LOG_ERR, "%s(%d) Thumb daemon is not running .....\n", kLogName, __LINE__);
        return false;
    }
    return WriteThumbQueue(target.get(), kThumbQueue) == 0;
}

bool FlvQueueAdd(const char *path, mode_t type, pid_t *pid) {
    if (!S_ISDIR(type) && !BlVELUIndexIsVideoOnWebFile(path))
        return false;
    *pid = KLIBReadPidFile(kFlvPidFile);
    if (*pid <= 0) {
        syslog(LOG_ERR, "%s(%d) FLV daemon is not running .....\n", kLogName, __LINE__);
        return false;
    }
    return WriteThumbQueue(path, kFlvQueue) == 0;
}

} // namespace

int WriteThumbQueue(const char *line, const char *queue_file) {
    if (line == nullptr || queue_file == nullptr)
        return -1;
    FdHandle file;
    const Opening opening = QueueOpen(line, queue_file, &file);
    if (opening != Opening::done)
        return opening == Opening::queued ? 0 : -1;
    if (flock(file.get(), LOCK_EX) != 0) {
        syslog(LOG_ERR, "%s: %s(%d) - failed to lock file descriptor of %s, reason=%s", kLogName,
               "WriteThumbQueue", __LINE__, queue_file, strerror(errno));
        return -1;
    }
    const int result = LineAppend(file.get(), line, queue_file);
    flock(file.get(), LOCK_UN);
    return result;
}

void PhotoConvertQueueAdd(const char *path, int request) {
    struct stat status;
    if (path == nullptr || stat(path, &status) != 0 || !(S_ISDIR(status.st_mode) || S_ISREG(status.st_mode)))
        return;
    pid_t pid = 0;
    bool wake = false;
    if ((request & kConvertThumbnail) && supportphoto)
        wake = ThumbQueueAdd(path, status.st_mode, &pid);
    if ((request & kConvertFlv) && supportphoto && supportcinehall)
        wake = FlvQueueAdd(path, status.st_mode, &pid) || wake;
    if (!wake)
        return;
    VELUIndexRunFlush();
    // One signal goes to the daemon whose pid file was read last. When that one does not run, `pid` is 0 and
    // the signal goes to this process's own group, where it asks for one more run.
    kill(pid, SIGUSR1);
}
