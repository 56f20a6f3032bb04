// SPDX-License-Identifier: GPL-2.0-or-later
//
// The bounds of the probe's child. The watchdog's limits come first, so that its log lines tell what
// happened; these here hold where it does not look: between two looks, and when the daemon is gone.
#include "container/metamedia_child.h"

#include <errno.h>
#include <signal.h>
#include <sys/prctl.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>

#include "platform/confine/process_limit.h"
#include "platform/limits.h"

namespace {

rlim_t PhysicalMemory() {
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long page_size = sysconf(_SC_PAGESIZE);
    return pages > 0 && page_size > 0 ? static_cast<rlim_t>(pages) * static_cast<rlim_t>(page_size) : 0;
}

void LimitsSet() {
    ProcessLimit(RLIMIT_CORE, 0);
    ProcessLimit(RLIMIT_FSIZE, 0); // pipes and sockets do not count, so that the system log can be written
    ProcessLimit(RLIMIT_CPU, kProbeCpuSecondsMax);
    ProcessLimit(RLIMIT_NOFILE, kProbeOpenFilesMax);
    if (VELU_LIMIT_ADDRESS_SPACE)
        ProcessLimit(RLIMIT_AS, PhysicalMemory() + kProbeAddressReserve);
}

// All inherited descriptors are marked close-on-exec, but the child runs no other program, so that they are
// closed by hand. That cannot take the daemon's record locks on a database file: those belong to the process,
// and only a close in the daemon itself gives them up.
void DescriptorsClose() {
    closelog(); // or the system log's lines would go to whatever gets the number of its descriptor next
    closefrom(STDERR_FILENO + 1);
    // What a later log line needs is opened now, while files and sockets can still be opened; the lines look
    // like the daemon's.
    openlog(program_invocation_short_name, LOG_PID | LOG_NDELAY, LOG_DAEMON);
    tzset();
}

} // namespace

void ChildConfine(pid_t parent) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (getppid() != parent)
        _exit(kProbeFailed);
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0); // a handler of core dumps does not ask for the limit below
    DescriptorsClose();
    LimitsSet();
}
