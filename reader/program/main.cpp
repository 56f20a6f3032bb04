// SPDX-License-Identifier: GPL-2.0-or-later
//
// Reads media files for the daemon, which hands them over as open descriptors, behind a wall: a file may make a library do
// anything, but there is nothing for it to do.
#include <stdio.h>
#include <unistd.h>

#include <new>

#include "reader/program/confine.h"
#include "reader/program/library.h"
#include "reader/program/serve.h"

int main() {
    if (!IsStartedByDaemon()) {
        fputs("This program reads media files for veluindexd, which starts it.\n", stderr);
        return kReaderMisled;
    }
    SurroundingsClear();
    RightsGiveUp();
    LibraryWarm();
    LimitsSet();
    if (!FilterInstall())
        _exit(kReaderUnconfined);
    // Without what libraries do at the end, some of which is forbidden by now.
    try {
        _exit(RequestsServe());
    } catch (const std::bad_alloc &) {
        _exit(kReaderOutOfMemory);
    }
}
