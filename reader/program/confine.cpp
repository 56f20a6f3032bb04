// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/program/confine.h"

#include <fcntl.h>
#include <grp.h>
#include <linux/capability.h>
#include <pwd.h>
#include <signal.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "platform/confine/process_limit.h"
#include "platform/handle.h"
#include "platform/limits.h"
#include "reader/protocol/message.h"

namespace {

constexpr int kFirstOther = kReaderFirstSlot + kReaderSlots;
static_assert(kReaderOpenFilesMax == kFirstOther + static_cast<int>(kReaderDescriptorsMax));

struct Identity {
    uid_t user = 65534; // nobody, whatever the system calls it
    gid_t group = 65534;
};

// Not getpwnam, which would load modules and ask the network.
Identity ReaderIdentity() {
    const FileHandle users(fopen("/etc/passwd", "re"));
    while (const passwd *user = users != nullptr ? fgetpwent(users.get()) : nullptr) {
        if (strcmp(user->pw_name, kReaderUser) == 0)
            return {user->pw_uid, user->pw_gid};
    }
    return {};
}

void UserChange() {
    const Identity reader = ReaderIdentity();
    // The groups first: without root's rights nothing of this can be done, and a user without its group is none.
    if (setgroups(0, nullptr) == 0 && setresgid(reader.group, reader.group, reader.group) == 0)
        static_cast<void>(setresuid(reader.user, reader.user, reader.user) == 0);
}

void CapabilitiesDrop() {
    prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_CLEAR_ALL, 0, 0, 0);
    __user_cap_header_struct head = {_LINUX_CAPABILITY_VERSION_3, 0};
    const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
    syscall(SYS_capset, &head, none);
}

void BoundingSetDrop() {
    for (int capability = 0; prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability)
        prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
}

// A terminal is not for what a file may make a library print. A sanitizer's report is for the tests.
void StreamsClear() {
    FdHandle null(open("/dev/null", O_RDWR));
    constexpr int kStreams = VELU_SANITIZED ? STDERR_FILENO : STDERR_FILENO + 1;
    for (int stream = 0; null && stream < kStreams; ++stream)
        dup2(null.get(), stream);
    if (null.get() <= STDERR_FILENO)
        static_cast<void>(null.Release()); // it is one of them
}

} // namespace

bool IsStartedByDaemon() {
    int type = 0;
    socklen_t size = sizeof type;
    if (getsockopt(kReaderSocket, SOL_SOCKET, SO_TYPE, &type, &size) != 0 || type != SOCK_SEQPACKET)
        return false;
    for (int slot = kReaderFirstSlot; slot < kFirstOther; ++slot) {
        if (fcntl(slot, F_GETFD) < 0)
            return false;
    }
    return true;
}

void SurroundingsClear() {
    clearenv();
    closefrom(kFirstOther);
    StreamsClear();
    // This end of the connection waits.
    const int flags = fcntl(kReaderSocket, F_GETFL);
    if (flags >= 0)
        fcntl(kReaderSocket, F_SETFL, flags & ~O_NONBLOCK);
}

void RightsGiveUp() {
    BoundingSetDrop();
    if (geteuid() == 0)
        UserChange();
    CapabilitiesDrop();
    prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    // Behind the change of user, which undoes them.
    prctl(PR_SET_DUMPABLE, 0, 0, 0, 0);
    prctl(PR_SET_PDEATHSIG, SIGKILL);
}

void LimitsSet() {
    ProcessLimit(RLIMIT_CORE, 0);
    ProcessLimit(RLIMIT_NPROC, 0);
    ProcessLimit(RLIMIT_FSIZE, kReaderPictureMax);
    ProcessLimit(RLIMIT_NOFILE, kReaderOpenFilesMax);
    // AddressSanitizer reserves terabytes.
    if (!VELU_SANITIZED)
        ProcessLimit(RLIMIT_AS, kReaderAddressMax);
}
