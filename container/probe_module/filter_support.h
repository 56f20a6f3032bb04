// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the daemon and the module both ask before the filter is used.
#pragma once

#include <errno.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>

// Returns whether the kernel has system call filters: a kernel that has them complains of the missing filter
// (EFAULT), any other of the call.
inline bool SyscallFilterSupported() {
    return prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, nullptr, 0, 0) != 0 && errno == EFAULT;
}
