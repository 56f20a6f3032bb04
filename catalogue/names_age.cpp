// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/names_age.h"

#include "catalogue/file_stamp.h"

bool NamesHold(const std::string &directory, NamesAge *age) {
    struct stat status;
    const time_t now = time(nullptr);
    if (stat(directory.empty() ? "/" : directory.c_str(), &status) != 0)
        status = {};
    // Another name might have come in the same tick of the clock.
    if (age->looked != 0 && !FileIsRecent(age->status, age->looked) &&
        FileStampOf(status) == FileStampOf(age->status))
        return true;
    *age = {.status = status, .looked = now};
    return false;
}
