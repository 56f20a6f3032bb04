// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/filter.h"

#include "container/probe_module/filter_support.h"

#include <errno.h>
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

// Names that an architecture lacks (the 32-bit variants on 64-bit ones and the other way round) are rules that
// never match.
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

struct Refusal {
    int call;
    int error;
};

// A decoder that finds no thread goes on with its own, and a log line whose socket has gone is lost.
constexpr Refusal kRefused[] = {{SCMP_SYS(clone), EAGAIN}, {SCMP_SYS(clone3), EAGAIN}};

bool Allow(scmp_filter_ctx filter, int call) {
    return seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, 0, nullptr) == 0;
}

template <typename... Condition>
bool AllowWhen(scmp_filter_ctx filter, int call, Condition... condition) {
    const scmp_arg_cmp conditions[] = {condition...};
    return seccomp_rule_add_array(filter, SCMP_ACT_ALLOW, call, sizeof...(condition), conditions) == 0;
}

bool Refuse(scmp_filter_ctx filter, const Refusal &refusal) {
    const auto action = SCMP_ACT_ERRNO(static_cast<uint32_t>(refusal.error));
    return seccomp_rule_add_array(filter, action, refusal.call, 0, nullptr) == 0;
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
    for (const Refusal &refusal : kRefused) {
        if (!Refuse(filter, refusal))
            return false;
    }
    const scmp_arg_cmp local_socket = Equal(0, AF_UNIX);
    const auto no_socket = SCMP_ACT_ERRNO(EACCES);
    return AllowWhen(filter, SCMP_SYS(mmap), HasNone(2, PROT_EXEC)) &&
           AllowWhen(filter, SCMP_SYS(mmap2), HasNone(2, PROT_EXEC)) &&
           AllowWhen(filter, SCMP_SYS(mprotect), HasNone(2, PROT_EXEC)) &&
           // On the connected socket of the system log only, not to any other address.
           Allow(filter, SCMP_SYS(send)) && AllowWhen(filter, SCMP_SYS(sendto), Equal(4, 0)) &&
           seccomp_rule_add_array(filter, no_socket, SCMP_SYS(socket), 1, &local_socket) == 0 &&
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
