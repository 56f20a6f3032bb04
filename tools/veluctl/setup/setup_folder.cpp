// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/setup_folder.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tools/veluctl/message.h"

ExitCode SetupFolder(const std::string &folder) {
    constexpr mode_t kOthersWrite = S_IWGRP | S_IWOTH;
    umask(kOthersWrite);
    const bool there = mkdir(folder.c_str(), ACCESSPERMS) == 0 || errno == EEXIST;
    if (there && access(folder.c_str(), W_OK) == 0)
        return kDone;
    const int error = errno;
    if (error == EACCES || error == EPERM || error == EROFS)
        return Complain(kNoRights,
                        folder + ": " + strerror(error) + ". Only root may change this: run it with sudo.");
    return Complain(kFailed, folder + ": " + strerror(error));
}
