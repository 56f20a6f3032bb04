// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/unit/failing_readdir.h"

#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>

#include <string>

namespace {

std::string failing_name;
int failing_error = 0;
std::string hidden_name;

using Readdir = dirent *(*)(DIR *);

// Code that is built for 64-bit offsets calls the second name, which is another entry point on 32-bit machines alone.
Readdir Next() {
    static const auto next =
        reinterpret_cast<Readdir>(dlsym(RTLD_NEXT, sizeof(off_t) > sizeof(long) ? "readdir64" : "readdir"));
    return next;
}

} // namespace

void ReaddirFailAt(const char *name, int error) {
    failing_name = name;
    failing_error = error;
}

void ReaddirHide(const char *name) {
    hidden_name = name;
}

extern "C" dirent *readdir(DIR *directory) {
    dirent *entry = Next()(directory);
    if (entry != nullptr && !hidden_name.empty() && hidden_name == entry->d_name)
        entry = Next()(directory);
    if (failing_error == 0 || entry == nullptr || failing_name != entry->d_name)
        return entry;
    errno = failing_error;
    return nullptr;
}
