// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/pool/reader_process.h"

#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include "platform/limits.h"
#include "platform/sdk/program.h"

extern "C" { // which the header of glibc 2.36 leaves out
#include <sys/pidfd.h>
}

namespace {

// The first descriptor above all that a reader is started with.
constexpr int kAboveAll = kReaderFirstSlot + kReaderSlots;

// Where the reader's descriptors go must be free of those that come there later.
FdHandle MovedUp(FdHandle descriptor) {
    if (!descriptor || descriptor.get() >= kAboveAll)
        return descriptor;
    return FdHandle(fcntl(descriptor.get(), F_DUPFD_CLOEXEC, kAboveAll));
}

// A file in memory of fixed size. It takes memory where it is written only.
FdHandle SlotMake() {
    FdHandle slot = MovedUp(FdHandle(memfd_create("picture", MFD_CLOEXEC | MFD_ALLOW_SEALING)));
    if (!slot || ftruncate(slot.get(), kReaderPictureMax) != 0 ||
        fcntl(slot.get(), F_ADD_SEALS, F_SEAL_GROW | F_SEAL_SHRINK | F_SEAL_SEAL) != 0)
        return {};
    return slot;
}

bool SlotsMake(ReaderProcess *process) {
    for (FdHandle &slot : process->slots) {
        slot = SlotMake();
        if (!slot)
            return false;
    }
    return true;
}

// Gives the reader's end of the connection; empty, with the reason in errno, on failure.
FdHandle SocketsMake(ReaderProcess *process) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        return {};
    process->socket = FdHandle(ends[0]);
    return MovedUp(FdHandle(ends[1]));
}

} // namespace

bool ReaderProcessStart(const char *program, ReaderProcess *process) {
    const FdHandle socket = SocketsMake(process);
    if (!socket || !SlotsMake(process))
        return false;
    int descriptors[1 + kReaderSlots] = {socket.get()};
    static_assert(kReaderFirstSlot == kReaderSocket + 1);
    for (int i = 0; i < kReaderSlots; ++i)
        descriptors[1 + i] = process->slots[i].get();
    const char *const arguments[] = {program, nullptr};
    process->pid = ProgramStart(program, arguments, descriptors);
    if (process->pid < 0)
        return false;
    process->alive = FdHandle(pidfd_open(process->pid, 0));
    if (process->alive)
        return true;
    const int reason = errno;
    kill(process->pid, SIGKILL);
    ProgramWait(process->pid);
    errno = reason;
    return false;
}

void ReaderProcessKill(ReaderProcess *process) {
    if (process->alive)
        pidfd_send_signal(process->alive.get(), SIGKILL, nullptr, 0);
    process->socket.Close();
    for (FdHandle &slot : process->slots)
        slot.Close();
}

bool ReaderProcessReap(ReaderProcess *process, int *status) {
    pid_t ended = 0;
    do {
        ended = waitpid(process->pid, status, WNOHANG);
    } while (ended < 0 && errno == EINTR);
    if (ended == 0)
        return false;
    if (ended < 0) // somebody else has
        *status = 0;
    process->alive.Close();
    return true;
}

int64_t ReaderProcessorTime(const ReaderProcess &process) {
    clockid_t clock;
    timespec used = {};
    if (clock_getcpuclockid(process.pid, &clock) != 0 || clock_gettime(clock, &used) != 0)
        return 0;
    return int64_t{used.tv_sec} * 1000 + used.tv_nsec / 1000000;
}

int64_t ReaderResidentBytes(const ReaderProcess &process) {
    char path[sizeof "/proc//statm" + 3 * sizeof process.pid];
    snprintf(path, sizeof path, "/proc/%d/statm", process.pid);
    const FileHandle file(fopen(path, "re"));
    long long pages = 0;
    if (file == nullptr || fscanf(file.get(), "%*s %lld", &pages) != 1)
        return 0;
    return pages * sysconf(_SC_PAGESIZE);
}
