// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/filter.h"

#include "container/probe_module/filter_support.h"

#include <errno.h>
#include <fcntl.h>
#include <seccomp.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>

#include <memory>

namespace {

struct FilterRelease {
    void operator()(void *filter) const noexcept { seccomp_release(filter); }
};
using FilterHandle = std::unique_ptr<void, FilterRelease>;

// Names that an architecture lacks (the 32-bit variants on 64-bit ones and the other way round) are rules
// that never match.
constexpr int kAllowed[] = {
    // the file
    SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(lseek), SCMP_SYS(_llseek), SCMP_SYS(close),
    // the system log, and the C library's last words on standard error
    SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(getpid), SCMP_SYS(gettid),
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
    SCMP_SYS(rt_sigaction), SCMP_SYS(rt_sigprocmask), SCMP_SYS(rt_sigreturn), SCMP_SYS(sigreturn),
    SCMP_SYS(sigaltstack),
    // the end
    SCMP_SYS(exit), SCMP_SYS(exit_group)};

// The flags that an open() for reading does not have.
constexpr uint64_t kOpenForMore = O_ACCMODE | O_CREAT | O_TRUNC;

bool Allow(scmp_filter_ctx filter, int call) {
    return seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, 0, nullptr) == 0;
}

template <typename... Condition>
bool AllowWhen(scmp_filter_ctx filter, int call, Condition... condition) {
    const scmp_arg_cmp conditions[] = {condition...};
    return seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, sizeof...(condition), conditions) == 0;
}

// Lets the call fail with `error`; when a condition is given, only where it holds.
bool Refuse(scmp_filter_ctx filter, int call, int error, const scmp_arg_cmp *condition = nullptr) {
    return seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(static_cast<uint32_t>(error)), call,
                                  condition != nullptr ? 1 : 0, condition) == 0;
}

scmp_arg_cmp Equal(unsigned argument, uint64_t value) {
    return {argument, SCMP_CMP_EQ, value, 0};
}

scmp_arg_cmp HasNone(unsigned argument, uint64_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, bits, 0};
}

bool RulesAdd(scmp_filter_ctx filter) {
    for (const int call : kAllowed) {
        if (!Allow(filter, call))
            return false;
    }
    // A library that looks for a file of its own (iconv for a broadcast's character set) does without it; a
    // log line whose socket has gone is lost.
    const scmp_arg_cmp open_to_read = HasNone(1, kOpenForMore);
    const scmp_arg_cmp openat_to_read = HasNone(2, kOpenForMore);
    const scmp_arg_cmp local_socket = Equal(0, AF_UNIX);
    return AllowWhen(filter, SCMP_SYS(mmap), HasNone(2, PROT_EXEC)) &&
           AllowWhen(filter, SCMP_SYS(mmap2), HasNone(2, PROT_EXEC)) &&
           AllowWhen(filter, SCMP_SYS(mprotect), HasNone(2, PROT_EXEC)) &&
           // On the connected socket of the system log only, not to any other address.
           Allow(filter, SCMP_SYS(send)) && AllowWhen(filter, SCMP_SYS(sendto), Equal(4, 0)) &&
           // A decoder that finds no thread goes on with its own.
           Refuse(filter, SCMP_SYS(clone), EAGAIN) && Refuse(filter, SCMP_SYS(clone3), EAGAIN) &&
           Refuse(filter, SCMP_SYS(open), EACCES, &open_to_read) &&
           Refuse(filter, SCMP_SYS(openat), EACCES, &openat_to_read) &&
           Refuse(filter, SCMP_SYS(socket), EACCES, &local_socket) &&
           // abort() of the C library's own checks.
           AllowWhen(filter, SCMP_SYS(tgkill), Equal(0, static_cast<uint64_t>(getpid())));
}

} // namespace

bool SyscallFilterInstall() {
    if (!SyscallFilterSupported())
        return true;
    const FilterHandle filter(seccomp_init(SCMP_ACT_KILL_PROCESS));
    return filter != nullptr && RulesAdd(filter.get()) && seccomp_load(filter.get()) == 0;
}
