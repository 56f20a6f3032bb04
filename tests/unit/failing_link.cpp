// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/failing_link.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

unsigned names_max = 0;
int failing_error = 0;

} // namespace

void LinkFailAt(unsigned names, int error) {
    names_max = names;
    failing_error = error;
}

extern "C" int link(const char *from, const char *to) noexcept {
    struct stat status;
    if (failing_error != 0 && stat(from, &status) == 0 && status.st_nlink >= names_max) {
        errno = failing_error;
        return -1;
    }
    return linkat(AT_FDCWD, from, AT_FDCWD, to, 0);
}
