// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/confine/syscall_rules.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr int kAllowed[] = {
    // memory
    SCMP_SYS(brk), SCMP_SYS(munmap), SCMP_SYS(mremap), SCMP_SYS(madvise), SCMP_SYS(sysinfo),
    SCMP_SYS(getrandom),
    // time
    SCMP_SYS(clock_gettime), SCMP_SYS(clock_gettime64), SCMP_SYS(clock_getres), SCMP_SYS(clock_getres_time64),
    SCMP_SYS(gettimeofday), SCMP_SYS(time), SCMP_SYS(clock_nanosleep), SCMP_SYS(clock_nanosleep_time64),
    SCMP_SYS(nanosleep), SCMP_SYS(restart_syscall),
    // locks; decoders ask for the number of processors even for one thread
    SCMP_SYS(futex), SCMP_SYS(futex_time64), SCMP_SYS(sched_yield), SCMP_SYS(sched_getaffinity),
    // signals of its own
    SCMP_SYS(getpid), SCMP_SYS(gettid), SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn), SCMP_SYS(sigreturn), SCMP_SYS(sigaltstack),
    // the end
    SCMP_SYS(exit), SCMP_SYS(exit_group)};

// The flags that an open() for reading does not have.
constexpr uint64_t kOpenForMore = O_ACCMODE | O_CREAT | O_TRUNC;

bool RulesAdd(const SyscallFilter &filter) {
    return std::all_of(std::begin(kAllowed), std::end(kAllowed),
                       [&](int call) { return SyscallAllow(filter, call); }) &&
           SyscallAllow(filter, SCMP_SYS(mprotect), ArgumentLacks(2, PROT_EXEC)) &&
           // abort() of the C library's own checks.
           SyscallAllow(filter, SCMP_SYS(tgkill), ArgumentIs(0, static_cast<uint64_t>(getpid()))) &&
           // A library that finds no thread goes on with its own, and does without a file that it looks for (iconv's for
           // a character set).
           SyscallRefuse(filter, SCMP_SYS(clone), EAGAIN) &&
           SyscallRefuse(filter, SCMP_SYS(clone3), EAGAIN) &&
           SyscallRefuse(filter, SCMP_SYS(open), EACCES, ArgumentLacks(1, kOpenForMore)) &&
           SyscallRefuse(filter, SCMP_SYS(openat), EACCES, ArgumentLacks(2, kOpenForMore));
}

} // namespace

SyscallFilter SyscallFilterMake() {
    SyscallFilter filter(seccomp_init(SCMP_ACT_KILL_PROCESS));
    return filter != nullptr && RulesAdd(filter) ? std::move(filter) : nullptr;
}

bool SyscallFilterLoad(const SyscallFilter &filter) {
    return seccomp_load(filter.get()) == 0;
}
