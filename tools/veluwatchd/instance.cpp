// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/instance.h"

#include <stdio.h>
#include <sys/file.h>

#include "platform/file.h"
#include "tools/queue/daemon_process.h"

FdHandle InstanceBegin(bool *broken_off) {
    constexpr mode_t kMode = 0644;
    while (true) {
        FdHandle file(open(kWatcherPidFile, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kMode));
        if (!file || flock(file.get(), LOCK_EX | LOCK_NB) != 0)
            return {};
        // A watcher that ends removes its file, which may be the one that was just opened.
        if (!IsFileAt(kWatcherPidFile, file.get()))
            continue;
        char digit;
        *broken_off = pread(file.get(), &digit, 1, 0) == 1;
        if (ftruncate(file.get(), 0) != 0 || dprintf(file.get(), "%d\n", static_cast<int>(getpid())) < 0)
            return {};
        return file;
    }
}

void InstanceEnd() {
    unlink(kWatcherPidFile);
}
