// SPDX-License-Identifier: GPL-2.0-or-later
//
// One running reader: a program that is started with a socket and the memory files for pictures, and confines itself.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include "platform/handle.h"
#include "reader/protocol/message.h"

struct ReaderProcess {
    pid_t pid = -1;
    FdHandle alive;  // a pidfd: readable when the process has ended
    FdHandle socket; // never waits
    FdHandle slots[kReaderSlots] = {};
};

// Starts a program (a path). False with the reason in errno.
[[nodiscard]] bool ReaderProcessStart(const char *program, ReaderProcess *process);

// Ends it without waiting, whatever it does, and gives up its socket and slots.
void ReaderProcessKill(ReaderProcess *process);

// Takes note of its end without waiting. False while it still runs; else `status` is as waitpid gives it.
[[nodiscard]] bool ReaderProcessReap(ReaderProcess *process, int *status);

// Processor time that it has used, in milliseconds, and bytes of memory that it holds; 0 when that cannot be told.
int64_t ReaderProcessorTime(const ReaderProcess &process);
int64_t ReaderResidentBytes(const ReaderProcess &process);
