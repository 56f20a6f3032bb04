// SPDX-License-Identifier: GPL-2.0-or-later
#include "tests/hostile_reader/deeds.h"

#include <errno.h>
#include <fcntl.h>
#include <grp.h>
#include <limits.h>
#include <linux/io_uring.h>
#include <netinet/in.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <string>

#include "platform/limits.h"
#include "reader/protocol/message.h"

namespace {

constexpr char kFile[] = "/tmp/hostile";

long Connect(int family) {
    const int out = socket(family, SOCK_STREAM, 0);
    sockaddr_un address = {AF_UNIX, "/dev/log"};
    return out < 0 ? -1 : connect(out, reinterpret_cast<sockaddr *>(&address), sizeof address);
}

long Execute() {
    char name[] = "/bin/true";
    char *const arguments[] = {name, nullptr};
    return execve(name, arguments, nullptr);
}

long LimitRaise() {
    const rlimit limit = {RLIM_INFINITY, RLIM_INFINITY};
    return setrlimit(RLIMIT_NOFILE, &limit);
}

// Reads the daemon's memory.
long ParentRead() {
    char bytes[16];
    iovec here = {bytes, sizeof bytes};
    iovec there = {reinterpret_cast<void *>(&errno), sizeof bytes};
    return process_vm_readv(getppid(), &here, 1, &there, 1, 0);
}

long DescriptorsSend() {
    const int all[] = {kReaderSocket, kReaderFirstSlot};
    return PacketSend(kReaderSocket, std::as_bytes(std::span("taken")), all, 0);
}

// Returns how many of the descriptors that it was not given are open.
long DescriptorsFind() {
    constexpr int kGiven = kReaderFirstSlot + kReaderSlots + 1; // with the file
    long found = 0;
    char byte = 0;
    for (int fd = kGiven; fd < 4096; ++fd)
        found += pread(fd, &byte, 1, 0) >= 0 || errno != EBADF ? 1 : 0;
    errno = EBADF;
    return found > 0 ? found : -1;
}

long CodeMap(int flags, int fd) {
    return mmap(nullptr, 4096, PROT_READ | PROT_EXEC, flags, fd, 0) != MAP_FAILED ? 0 : -1;
}

long FileMap(int flags) {
    return mmap(nullptr, 4096, PROT_READ, flags, kReaderFirstSlot + kReaderSlots, 0) != MAP_FAILED ? 0 : -1;
}

long CodeMake() {
    void *page = mmap(nullptr, 4096, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return mprotect(page, 4096, PROT_READ | PROT_EXEC);
}

long SlotOverrun(const PictureSink &picture) {
    signal(SIGXFSZ, SIG_IGN); // of one's own signals one may do what one likes
    return pwrite(picture.fd, "x", 1, kReaderPictureMax);
}

// Until it is refused, then it gives up.
long MemoryEat() {
    constexpr size_t kPiece = size_t{1} << 20;
    long pieces = 0;
    while (void *piece = malloc(kPiece)) {
        memset(piece, 1, kPiece);
        ++pieces;
    }
    return pieces;
}

// Takes room until none is left.
long Exhaust() {
    constexpr size_t kPiece = size_t{64} << 20;
    volatile char *last = nullptr;
    for (;;) {
        last = new char[kPiece];
        *last = 1;
    }
}

long Overflow(long depth) {
    volatile char room[4096];
    room[0] = '\0';
    return depth > 0 ? Overflow(depth - 1) + room[0] : 0;
}

long Spin() {
    volatile bool goes_on = true;
    while (goes_on) {
    }
    return 0;
}

struct Deed {
    const char *word;
    long (*act)();
};

// The parent is the daemon.
constexpr Deed kDeeds[] = {
    {"open", [] { return long{open("/etc/passwd", O_RDONLY)}; }},
    {"open-proc", [] { return long{open("/proc/self/maps", O_RDONLY)}; }},
    {"open-folder", [] { return long{open("/", O_RDONLY | O_DIRECTORY)}; }},
    {"open-memory",
     [] { return long{open(("/proc/" + std::to_string(getppid()) + "/mem").c_str(), O_RDWR)}; }},
    {"open-write", [] { return long{open(kFile, O_WRONLY)}; }},
    {"create", [] { return long{open(kFile, O_RDONLY | O_CREAT, 0600)}; }},
    {"openat2", [] { return syscall(SYS_openat2, AT_FDCWD, "/etc/passwd", nullptr, 0); }},
    {"temporary", [] { return long{open("/tmp", O_WRONLY | O_TMPFILE, 0600)}; }},
    {"memory-file", [] { return long{memfd_create("x", 0)}; }},
    {"mkdir", [] { return long{mkdir(kFile, 0700)}; }},
    {"unlink", [] { return long{unlink(kFile)}; }},
    {"rename", [] { return long{rename(kFile, "/tmp/other")}; }},
    {"link", [] { return long{symlink("/etc/passwd", kFile)}; }},
    {"chmod", [] { return long{chmod(kFile, 0777)}; }},
    {"stat",
     [] {
         struct stat status;
         return long{stat("/etc/passwd", &status)};
     }},
    {"read-link",
     [] {
         char target[16];
         return static_cast<long>(readlink("/proc/self/exe", target, sizeof target));
     }},
    {"access", [] { return long{access("/etc/passwd", R_OK)}; }},
    {"read",
     [] {
         char byte;
         return long{read(0, &byte, 1)};
     }},
    {"seek", [] { return static_cast<long>(lseek(kReaderFirstSlot + kReaderSlots, 0, SEEK_SET)); }},
    {"write", [] { return long{write(kReaderSocket, "x", 1)}; }},
    {"truncate", [] { return long{ftruncate(kReaderFirstSlot, 1)}; }},
    {"ioctl", [] { return long{ioctl(0, TIOCSTI, "x")}; }},
    {"fcntl", [] { return long{fcntl(kReaderSocket, F_SETFL, O_NONBLOCK)}; }},
    {"dup", [] { return long{dup2(kReaderSocket, 1)}; }},
    {"socket", [] { return long{socket(AF_INET, SOCK_STREAM, 0)}; }},
    {"connect", [] { return Connect(AF_UNIX); }},
    {"bind",
     [] {
         sockaddr_un own = {AF_UNIX, "x"};
         return long{bind(kReaderSocket, reinterpret_cast<sockaddr *>(&own), sizeof own)};
     }},
    {"send", [] { return long{send(kReaderSocket, "x", 1, 0)}; }},
    {"send-elsewhere",
     [] {
         msghdr message = {};
         return long{sendmsg(kReaderFirstSlot, &message, MSG_NOSIGNAL)};
     }},
    {"peek",
     [] {
         msghdr message = {};
         return long{recvmsg(kReaderSocket, &message, MSG_PEEK)};
     }},
    {"fork", [] { return long{fork()}; }},
    {"vfork", [] { return syscall(SYS_vfork); }},
    {"execute", [] { return Execute(); }},
    {"trace", [] { return ptrace(PTRACE_ATTACH, getppid(), nullptr, nullptr); }},
    {"read-parent", [] { return ParentRead(); }},
    {"kill-parent", [] { return long{kill(getppid(), SIGTERM)}; }},
    {"kill-all", [] { return long{kill(-1, SIGKILL)}; }},
    {"signal-parent", [] { return long{tgkill(getppid(), getppid(), SIGTERM)}; }},
    {"hold-parent", [] { return syscall(SYS_pidfd_open, getppid(), 0); }},
    {"raise-limits", [] { return LimitRaise(); }},
    {"priority", [] { return long{setpriority(PRIO_PROCESS, 0, -20)}; }},
    {"be-root", [] { return long{setuid(0)}; }},
    {"join-groups",
     [] {
         const gid_t root = 0;
         return long{setgroups(1, &root)};
     }},
    {"outlive", [] { return long{prctl(PR_SET_PDEATHSIG, 0)}; }},
    {"be-dumpable", [] { return long{prctl(PR_SET_DUMPABLE, 1)}; }},
    {"namespace", [] { return long{unshare(CLONE_NEWUSER)}; }},
    {"mount", [] { return long{mount("none", "/tmp", "tmpfs", 0, nullptr)}; }},
    {"chroot", [] { return long{chroot("/tmp")}; }},
    {"ring",
     [] {
         io_uring_params wanted = {};
         return syscall(SYS_io_uring_setup, 1, &wanted);
     }},
    {"bpf", [] { return syscall(SYS_bpf, 0, nullptr, 0); }},
    {"key", [] { return syscall(SYS_add_key, "user", "x", "x", 1, -3); }},
    {"share-memory", [] { return syscall(SYS_shmget, 0, 4096, 0666 | 01000); }},
    {"map-code", [] { return CodeMap(MAP_PRIVATE | MAP_ANONYMOUS, -1); }},
    {"map-file", [] { return FileMap(MAP_PRIVATE); }},
    {"map-file-shared", [] { return FileMap(MAP_SHARED); }},
    {"make-code", [] { return CodeMake(); }},
    {"filter", [] { return long{prctl(PR_SET_SECCOMP, 0, nullptr)}; }},
    {"send-descriptors", [] { return DescriptorsSend(); }},
    {"find-descriptors", [] { return DescriptorsFind(); }},
    {"eat", [] { return MemoryEat(); }},
    {"overflow", [] { return Overflow(LONG_MAX); }},
    {"sleep", [] { return Sleep(); }},
    {"spin", [] { return Spin(); }},
    {"abort",
     [] {
         abort();
         return 0L;
     }},
    {"stop", [] { return long{raise(SIGSTOP)}; }},
    {"be-killed", [] { return long{raise(SIGKILL)}; }},
    {"exhaust", [] { return Exhaust(); }},
    {"leave",
     [] {
         _exit(0);
         return 0L;
     }},
    {"hang-up",
     [] {
         close(kReaderSocket);
         return Sleep();
     }},
};

} // namespace

[[noreturn]] long Sleep() {
    const timespec second = {1, 0};
    for (;;)
        nanosleep(&second, nullptr);
}

long LibraryDeed(std::string_view word, const PictureSink &picture) {
    if (word == "overrun")
        return SlotOverrun(picture);
    const auto *deed = std::ranges::find(kDeeds, word, &Deed::word);
    return deed != std::end(kDeeds) ? deed->act() : -2;
}
