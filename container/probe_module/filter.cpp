// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/filter.h"

#include "container/probe_module/filter_support.h"
#include "platform/confine/syscall_rules.h"

#include <errno.h>
#include <sys/mman.h>
#include <sys/socket.h>

#include <algorithm>
#include <iterator>

namespace {

constexpr int kAllowed[] = {
    // the file
    SCMP_SYS(read), SCMP_SYS(pread64), SCMP_SYS(lseek), SCMP_SYS(_llseek), SCMP_SYS(close),
    // the system log, and the C library's last words on standard error
    SCMP_SYS(write), SCMP_SYS(writev), SCMP_SYS(send)};

bool RulesAdd(const SyscallFilter &filter) {
    return std::all_of(std::begin(kAllowed), std::end(kAllowed),
                       [&](int call) { return SyscallAllow(filter, call); }) &&
           SyscallAllow(filter, SCMP_SYS(mmap), ArgumentLacks(2, PROT_EXEC)) &&
           SyscallAllow(filter, SCMP_SYS(mmap2), ArgumentLacks(2, PROT_EXEC)) &&
           // On the connected socket of the system log only, not to any other address.
           SyscallAllow(filter, SCMP_SYS(sendto), ArgumentIs(4, 0)) &&
           // A log line whose socket has gone is lost.
           SyscallRefuse(filter, SCMP_SYS(socket), EACCES, ArgumentIs(0, AF_UNIX));
}

} // namespace

bool SyscallFilterInstall() {
    if (!SyscallFilterSupported())
        return true;
    const SyscallFilter filter = SyscallFilterMake();
    return filter != nullptr && RulesAdd(filter) && SyscallFilterLoad(filter);
}
