// SPDX-License-Identifier: GPL-2.0-or-later
//
// File times as the text that catalogue rows hold.
#include "platform/index/file_state.h"
#include "platform/index/run.h"
#include "platform/veluindex.h"

#include <sys/stat.h>
#include <time.h>

namespace {

void Empty(char *text, size_t size) {
    if (text != nullptr && size > 0)
        *text = '\0';
}

bool WriteTime(time_t time, char *text, size_t size) {
    tm local;
    return localtime_r(&time, &local) != nullptr && strftime(text, size, "%Y-%m-%d %H:%M:%S", &local) != 0;
}

// localtime_r alone would keep the time zone of the daemon's start for as long as it runs. A run has asked for it.
void TimeZoneAsk() {
    if (!RunIsOpen())
        tzset();
}

} // namespace

bool VELUIndexTimeText(time_t time, char *text, size_t size) {
    TimeZoneAsk();
    if (WriteTime(time, text, size))
        return true;
    Empty(text, size);
    return false;
}

int VELUIndexCTimeMTimeGet(const char *path, char *ctime_text, size_t ctime_size, char *mtime_text,
                           size_t mtime_size) {
    Empty(ctime_text, ctime_size);
    Empty(mtime_text, mtime_size);
    if (path == nullptr || ctime_text == nullptr || mtime_text == nullptr)
        return -1;
    struct stat status;
    if (stat(path, &status) != 0)
        return -1;
    TimeZoneAsk();
    if (WriteTime(status.st_ctim.tv_sec, ctime_text, ctime_size) &&
        WriteTime(status.st_mtim.tv_sec, mtime_text, mtime_size))
        return 0;
    Empty(ctime_text, ctime_size);
    Empty(mtime_text, mtime_size);
    return -1;
}
