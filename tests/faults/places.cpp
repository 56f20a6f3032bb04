// SPDX-License-Identifier: GPL-2.0-or-later
//
// Calls into the C library that fail at chosen places of the file system, end the process there or hold it up; loaded
// ahead of that library (LD_PRELOAD). The rules lie in a file that the tests write while the program runs, so that one
// daemon goes through many faults.
//
// /tmp/places is a table of rules behind a head, each of 512 bytes and in the machine's byte order. A rule has the kind
// of call ("step" is any), a pattern of paths, what happens, and the first and the last call of those that it matches to
// which that happens; the calls seen so far stand in it. Only the daemon itself and the tools beside it go by the rules,
// not what they start. Without the file nothing is done.
#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <fnmatch.h>
#include <limits.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/statfs.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>
#include <time.h>
#include <unistd.h>

#include "tests/faults/real_calls.h"

namespace {

constexpr char kTableFile[] = "/tmp/places";
constexpr size_t kRulesMax = 127;

// What a rule does where it is no error's number.
constexpr int32_t kCount = 0;
constexpr int32_t kKill = -1;
constexpr int32_t kHold = -2;
constexpr int32_t kRedirect = -3;

struct Rule {
    char call[16];
    char place[240];
    char other[240]; // what is opened in the place of it
    int32_t action;
    uint32_t first;
    uint32_t last;
    uint32_t seen;
};
static_assert(sizeof(Rule) == 512);

struct Table {
    uint32_t count;   // of rules
    uint32_t release; // another number lets a held call go on
    uint32_t held;    // goes up when a call is held and when it goes on: odd while one is held
    char unused[500];
    Rule rules[kRulesMax];
};
static_assert(sizeof(Table) == 512 * (kRulesMax + 1));

volatile Table *table;
int forks; // that this process comes from

__attribute__((constructor)) void TableMap() {
    const bool daemon = strcmp(program_invocation_short_name, "veluindexd") == 0;
    const bool tool = strcmp(program_invocation_short_name, "veluctl") == 0 ||
                      strcmp(program_invocation_short_name, "veluwatchd") == 0;
    if (!daemon && !tool)
        return;
    const int file = static_cast<int>(syscall(SYS_openat, AT_FDCWD, kTableFile, O_RDWR | O_CLOEXEC));
    if (file < 0)
        return;
    void *memory = mmap(nullptr, sizeof(Table), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    syscall(SYS_close, file);
    if (memory == MAP_FAILED)
        return;
    table = static_cast<volatile Table *>(memory);
    static bool first_fork_is_the_daemon = daemon;
    pthread_atfork(nullptr, nullptr, [] {
        if (++forks > (first_fork_is_the_daemon ? 1 : 0))
            table = nullptr; // what the program starts
    });
}

// What a call is about: a path below a directory, or an open file when there is no path.
struct Place {
    const char *path;
    int fd;
};

// The whole path of a place, or "" when there is none.
void PathGet(Place place, char (&path)[PATH_MAX]) {
    const bool relative = place.path == nullptr || place.path[0] != '/';
    size_t length = 0;
    if (relative) {
        char link[64] = "/proc/self/cwd";
        if (place.fd != AT_FDCWD)
            snprintf(link, sizeof link, "/proc/self/fd/%d", place.fd);
        const long read = syscall(SYS_readlinkat, AT_FDCWD, link, path, sizeof path - 1);
        length = read > 0 ? static_cast<size_t>(read) : 0;
    }
    path[length] = '\0';
    if (place.path != nullptr && place.path[0] != '\0')
        snprintf(path + length, sizeof path - length, relative ? "/%s" : "%s", place.path);
}

bool Matches(const Rule &rule, const char *call, Place place, char (&path)[PATH_MAX], bool *known) {
    if (strcmp(rule.call, "step") != 0 && strcmp(rule.call, call) != 0)
        return false;
    if (strcmp(rule.place, "*") == 0)
        return true;
    if (!*known)
        PathGet(place, path);
    *known = true;
    return fnmatch(rule.place, path, 0) == 0;
}

void Hold() {
    const uint32_t release = table->release;
    table->held = table->held + 1;
    while (table->release == release) {
        const timespec pause = {0, 200000};
        syscall(SYS_nanosleep, &pause, nullptr);
    }
    table->held = table->held + 1;
}

// True when the call is to fail; errno tells why then. `other` gets the path of another file to be opened.
bool Fails(const char *call, Place place, char *other = nullptr) {
    if (table == nullptr || table->count == 0)
        return false;
    const int before = errno;
    char path[PATH_MAX];
    bool known = false;
    for (uint32_t i = 0; i < table->count; ++i) {
        Rule &rule = const_cast<Rule &>(table->rules[i]);
        if (!Matches(rule, call, place, path, &known))
            continue;
        ++rule.seen;
        if (rule.seen < rule.first || rule.seen > rule.last || rule.action == kCount)
            continue;
        if (rule.action == kKill) {
            syscall(SYS_kill, getpid(), SIGKILL);
            pause();
        } else if (rule.action == kHold) {
            Hold();
        } else if (rule.action == kRedirect) {
            if (other != nullptr)
                memcpy(other, rule.other, sizeof rule.other);
        } else {
            errno = rule.action;
            return true;
        }
    }
    errno = before;
    return false;
}

const char *OpenKind(int flags) {
    return (flags & O_DIRECTORY) != 0 ? "opendir" : "open";
}

int OpenAt(int dir, const char *path, int flags, mode_t mode) {
    static const auto next = Next(&openat64, "openat64");
    char other[sizeof(Rule::other)] = "";
    if (Fails(OpenKind(flags), {path, dir}, other))
        return -1;
    return next(dir, other[0] != '\0' ? other : path, flags, mode);
}

FILE *StreamOpen(const char *path, const char *mode) {
    static const auto next = Next(&fopen64, "fopen64");
    char other[sizeof(Rule::other)] = "";
    if (Fails("open", {path, AT_FDCWD}, other))
        return nullptr;
    return next(other[0] != '\0' ? other : path, mode);
}

} // namespace

extern "C" {

int open64(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAt(AT_FDCWD, path, flags, mode);
}

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAt(AT_FDCWD, path, flags, mode);
}

int openat64(int dir, const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAt(dir, path, flags, mode);
}

int openat(int dir, const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return OpenAt(dir, path, flags, mode);
}

FILE *fopen(const char *path, const char *mode) {
    return StreamOpen(path, mode);
}

FILE *fopen64(const char *path, const char *mode) {
    return StreamOpen(path, mode);
}

DIR *opendir(const char *path) {
    static const auto next = Next(&opendir, "opendir");
    return Fails("opendir", {path, AT_FDCWD}) ? nullptr : next(path);
}

dirent64 *readdir64(DIR *directory) {
    static const auto next = Next(&readdir64, "readdir64");
    return Fails("readdir", {nullptr, dirfd(directory)}) ? nullptr : next(directory);
}

dirent *readdir(DIR *directory) {
    static const auto next = Next(&readdir, "readdir");
    return Fails("readdir", {nullptr, dirfd(directory)}) ? nullptr : next(directory);
}

int stat64(const char *path, struct stat64 *status) noexcept {
    static const auto next = Next(&stat64, "stat64");
    return Fails("stat", {path, AT_FDCWD}) ? -1 : next(path, status);
}

int stat(const char *path, struct stat *status) noexcept {
    static const auto next = Next(&stat, "stat");
    return Fails("stat", {path, AT_FDCWD}) ? -1 : next(path, status);
}

int lstat64(const char *path, struct stat64 *status) noexcept {
    static const auto next = Next(&lstat64, "lstat64");
    return Fails("stat", {path, AT_FDCWD}) ? -1 : next(path, status);
}

int lstat(const char *path, struct stat *status) noexcept {
    static const auto next = Next(&lstat, "lstat");
    return Fails("stat", {path, AT_FDCWD}) ? -1 : next(path, status);
}

int fstatat64(int dir, const char *path, struct stat64 *status, int flags) noexcept {
    static const auto next = Next(&fstatat64, "fstatat64");
    return Fails("stat", {path, dir}) ? -1 : next(dir, path, status, flags);
}

int fstatat(int dir, const char *path, struct stat *status, int flags) noexcept {
    static const auto next = Next(&fstatat, "fstatat");
    return Fails("stat", {path, dir}) ? -1 : next(dir, path, status, flags);
}

int statx(int dir, const char *path, int flags, unsigned mask, struct statx *status) noexcept {
    static const auto next = Next(&statx, "statx");
    return Fails("stat", {path, dir}) ? -1 : next(dir, path, flags, mask, status);
}

int access(const char *path, int mode) noexcept {
    static const auto next = Next(&access, "access");
    return Fails("stat", {path, AT_FDCWD}) ? -1 : next(path, mode);
}

int faccessat(int dir, const char *path, int mode, int flags) noexcept {
    static const auto next = Next(&faccessat, "faccessat");
    return Fails("stat", {path, dir}) ? -1 : next(dir, path, mode, flags);
}

ssize_t readlink(const char *path, char *buffer, size_t size) noexcept {
    static const auto next = Next(&readlink, "readlink");
    return Fails("readlink", {path, AT_FDCWD}) ? -1 : next(path, buffer, size);
}

int statfs64(const char *path, struct statfs64 *status) noexcept {
    static const auto next = Next(&statfs64, "statfs64");
    return Fails("statfs", {path, AT_FDCWD}) ? -1 : next(path, status);
}

int fstatfs64(int fd, struct statfs64 *status) noexcept {
    static const auto next = Next(&fstatfs64, "fstatfs64");
    return Fails("statfs", {nullptr, fd}) ? -1 : next(fd, status);
}

int statvfs64(const char *path, struct statvfs64 *status) noexcept {
    static const auto next = Next(&statvfs64, "statvfs64");
    return Fails("statfs", {path, AT_FDCWD}) ? -1 : next(path, status);
}

ssize_t read(int fd, void *buffer, size_t size) {
    static const auto next = Next(&read, "read");
    return Fails("read", {nullptr, fd}) ? -1 : next(fd, buffer, size);
}

ssize_t pread64(int fd, void *buffer, size_t size, off64_t at) {
    static const auto next = Next(&pread64, "pread64");
    return Fails("read", {nullptr, fd}) ? -1 : next(fd, buffer, size, at);
}

ssize_t write(int fd, const void *buffer, size_t size) {
    static const auto next = Next(&write, "write");
    return Fails("write", {nullptr, fd}) ? -1 : next(fd, buffer, size);
}

ssize_t pwrite64(int fd, const void *buffer, size_t size, off64_t at) {
    static const auto next = Next(&pwrite64, "pwrite64");
    return Fails("write", {nullptr, fd}) ? -1 : next(fd, buffer, size, at);
}

int ftruncate64(int fd, off64_t size) noexcept {
    static const auto next = Next(&ftruncate64, "ftruncate64");
    return Fails("write", {nullptr, fd}) ? -1 : next(fd, size);
}

int fsync(int fd) {
    static const auto next = Next(&fsync, "fsync");
    return Fails("sync", {nullptr, fd}) ? -1 : next(fd);
}

int fdatasync(int fd) {
    static const auto next = Next(&fdatasync, "fdatasync");
    return Fails("sync", {nullptr, fd}) ? -1 : next(fd);
}

int syncfs(int fd) noexcept {
    static const auto next = Next(&syncfs, "syncfs");
    return Fails("sync", {nullptr, fd}) ? -1 : next(fd);
}

int rename(const char *from, const char *to) noexcept {
    static const auto next = Next(&rename, "rename");
    return Fails("rename", {to, AT_FDCWD}) ? -1 : next(from, to);
}

int renameat(int from_dir, const char *from, int to_dir, const char *to) noexcept {
    static const auto next = Next(&renameat, "renameat");
    return Fails("rename", {to, to_dir}) ? -1 : next(from_dir, from, to_dir, to);
}

int unlink(const char *path) noexcept {
    static const auto next = Next(&unlink, "unlink");
    return Fails("unlink", {path, AT_FDCWD}) ? -1 : next(path);
}

int unlinkat(int dir, const char *path, int flags) noexcept {
    static const auto next = Next(&unlinkat, "unlinkat");
    return Fails("unlink", {path, dir}) ? -1 : next(dir, path, flags);
}

int mkdir(const char *path, mode_t mode) noexcept {
    static const auto next = Next(&mkdir, "mkdir");
    return Fails("mkdir", {path, AT_FDCWD}) ? -1 : next(path, mode);
}

ssize_t send(int fd, const void *buffer, size_t size, int flags) {
    static const auto next = Next(&send, "send");
    return Fails("send", {nullptr, fd}) ? -1 : next(fd, buffer, size, flags);
}

} // extern "C"
