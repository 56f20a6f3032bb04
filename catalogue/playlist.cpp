// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/playlist.h"

#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include "catalogue/media_info.h"

namespace {

// The time as ctime() writes it, newline included. A year that ctime() cannot write leaves the field empty.
void CtimeText(time_t when, char (&field)[kMediaTimeSize]) {
    field[0] = '\0';
    char text[64]; // ctime_r asks for 26 bytes; a year beyond four digits takes a few more
    if (ctime_r(&when, text) != nullptr)
        snprintf(field, sizeof field, "%s", text);
}

} // namespace

int PlaylistRead(const char *path, MediaInfo *record) {
    struct stat status;
    if (stat(path, &status) != 0 || !S_ISREG(status.st_mode))
        return -1;
    record->file_size = static_cast<uint64_t>(status.st_size);
    CtimeText(status.st_ctime, record->create_time);
    CtimeText(status.st_mtime, record->modify_time);
    return 0;
}
