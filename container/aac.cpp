// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/aac.h"

#include "catalogue/media_info.h"
#include "container/command_line_reader.h"
#include "container/faad_line.h"
#include "platform/configuration.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "platform/velusdk.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>

#include <memory>

namespace {

constexpr char kLogName[] = "aac.c";
constexpr size_t kDecoderSize = 1024;
constexpr size_t kCommandSize = 4096;

// False when the command does not fit: a cut one would name another file.
bool CommandFormat(const char *quoted_path, char (&command)[kCommandSize]) {
    char decoder[kDecoderSize];
    ConfigurationGet(ConfigurationKeyOf("aacdecoder"), decoder, sizeof decoder);
    const int length = snprintf(command, sizeof command, "%s -i %s 2> /dev/null", decoder, quoted_path);
    return length >= 0 && static_cast<size_t>(length) < sizeof command;
}

} // namespace

int AacMetadataRead(const char *path, MediaInfo *record) {
    if (path == nullptr || *path == '\0' || record == nullptr) {
        syslog(LOG_ERR, "%s:%d Bad parameter.", kLogName, __LINE__);
        return -1;
    }
    const size_t quoted_size = 2 * strlen(path) + 1;
    const std::unique_ptr<char, CloseWith<free>> quoted(static_cast<char *>(malloc(quoted_size)));
    if (quoted == nullptr) {
        syslog(LOG_ERR, "%s:%d Failed to malloc(%d)", kLogName, __LINE__, static_cast<int>(strlen(path)));
        return -1;
    }
    if (KLIBEncShParam(path, quoted.get(), quoted_size) != 0) {
        syslog(LOG_ERR, "%s:%d Failed to encode string [%s]", kLogName, __LINE__, path);
        return -1;
    }
    // The decoder may take its time, which other users of the catalogue must not wait for.
    VELUIndexRunFlush();
    char command[kCommandSize];
    char line[kDecoderLineSize];
    const CommandAnswer result = CommandFormat(quoted.get(), command)
                                     ? CommandLineRead(command, kDecoderTimeMax, line, sizeof line)
                                     : CommandAnswer::kNotStarted;
    if (result == CommandAnswer::kNotStarted)
        syslog(LOG_ERR, "%s:%d Failed to popen. [%s]", kLogName, __LINE__, command);
    if (result == CommandAnswer::kTimedOut)
        syslog(LOG_ERR, "%s:%d Killed after %d ms without a result. [%s]", kLogName, __LINE__,
               kDecoderTimeMax, command);
    if (result != CommandAnswer::kRead)
        return -1;
    if (!FaadLineParse(line, record)) {
        syslog(LOG_ERR, "%s:%d Failed to parse FAAD result. [%s]", kLogName, __LINE__, line);
        return -1;
    }
    MediaInfoValid(record);
    return 0;
}

int AacRead(const char *path, MediaInfo *record) {
    return AacMetadataRead(path, record) == 0 ? 0 : 1;
}
