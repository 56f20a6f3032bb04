// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_tell.h"

#include <string.h>
#include <syslog.h>

#include "daemon/queue_files.h"

namespace {

constexpr char kLogName[] = "veluindexd.c";

} // namespace

void ReadFailedTell(const char *file, int reason, int line) {
    syslog(LOG_ERR, "%s(%d): Failed to read %s. (%s)", kLogName, line, file, strerror(reason));
}

void KeptTell(size_t count) {
    syslog(LOG_ERR, "%s(%d): Failed to store all rows. Requests kept in %s: %zu.", kLogName, __LINE__,
           kKeptFile, count);
}

void BackTell(Catalogue catalogue, size_t kept) {
    syslog(LOG_ERR, "%s(%d): The %s is back. Requests kept in %s: %zu.", kLogName, __LINE__,
           CatalogueName(catalogue), kKeptFile, kept);
}

void CopyStaysTell(const QueueReader &copy) {
    if (copy.IsNamed())
        syslog(LOG_ERR, "%s(%d): Failed to store all rows. %s is kept for the next run.", kLogName, __LINE__,
               kQueueWorkingCopy);
    else
        syslog(LOG_ERR,
               "%s(%d): Failed to store all rows. The last requests of %s, which came late, are lost.",
               kLogName, __LINE__, kQueueWorkingCopy);
}

void NotKeptTell(const QueueReader *copy, int reason) {
    if (copy != nullptr && copy->IsNamed()) {
        syslog(LOG_ERR, "%s(%d): Failed to write %s. (%s) %s is kept for the next run.", kLogName, __LINE__,
               kKeptFile, strerror(reason), kQueueWorkingCopy);
        return;
    }
    syslog(LOG_ERR, "%s(%d): Failed to write %s. (%s)", kLogName, __LINE__, kKeptFile, strerror(reason));
    if (copy != nullptr)
        CopyStaysTell(*copy);
}
