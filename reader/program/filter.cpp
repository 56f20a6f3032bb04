// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/program/confine.h"

#include <errno.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

#include "platform/confine/syscall_rules.h"
#include "reader/protocol/message.h"

namespace {

// Libraries look for files by name in passing: for translations of their messages beside the program, for tables of their own.
constexpr int kLooks[] = {SCMP_SYS(readlink),   SCMP_SYS(readlinkat), SCMP_SYS(access),  SCMP_SYS(faccessat),
                          SCMP_SYS(faccessat2), SCMP_SYS(stat),       SCMP_SYS(lstat),   SCMP_SYS(fstat),
                          SCMP_SYS(stat64),     SCMP_SYS(lstat64),    SCMP_SYS(fstat64), SCMP_SYS(newfstatat),
                          SCMP_SYS(fstatat64),  SCMP_SYS(statx),      SCMP_SYS(getcwd)};

// Memory is its own, and no code.
bool MemoryAllow(const SyscallFilter &filter, int call) {
    return SyscallAllow(filter, call, ArgumentLacks(2, PROT_EXEC),
                        ArgumentHas(3, MAP_TYPE | MAP_ANONYMOUS, MAP_PRIVATE | MAP_ANONYMOUS));
}

bool SlotsAllow(const SyscallFilter &filter) {
    for (int slot = kReaderFirstSlot; slot < kReaderFirstSlot + kReaderSlots; ++slot) {
        if (!SyscallAllow(filter, SCMP_SYS(pwrite64), ArgumentIs(0, static_cast<uint64_t>(slot))))
            return false;
    }
    return true;
}

bool RulesAdd(const SyscallFilter &filter) {
    const scmp_arg_cmp socket = ArgumentIs(0, kReaderSocket);
    const scmp_arg_cmp errors = ArgumentIs(0, STDERR_FILENO);
    return SyscallAllow(filter, SCMP_SYS(pread64)) && SyscallAllow(filter, SCMP_SYS(close)) &&
           SlotsAllow(filter) &&
           std::all_of(std::begin(kLooks), std::end(kLooks),
                       [&](int call) { return SyscallRefuse(filter, call, EACCES); }) &&
           MemoryAllow(filter, SCMP_SYS(mmap)) && MemoryAllow(filter, SCMP_SYS(mmap2)) &&
           // As PacketReceive and PacketSend call them.
           SyscallAllow(filter, SCMP_SYS(recvmsg), socket, ArgumentIs(2, MSG_CMSG_CLOEXEC)) &&
           SyscallAllow(filter, SCMP_SYS(sendmsg), socket, ArgumentIs(2, MSG_NOSIGNAL)) &&
           // The C library's last words.
           SyscallAllow(filter, SCMP_SYS(write), errors) && SyscallAllow(filter, SCMP_SYS(writev), errors);
}

} // namespace

bool FilterInstall() {
    const SyscallFilter filter = SyscallFilterMake();
    return filter != nullptr && RulesAdd(filter) && SyscallFilterLoad(filter);
}
