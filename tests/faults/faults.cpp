// SPDX-License-Identifier: GPL-2.0-or-later
//
// Calls into the C library that fail while a chosen file is read; loaded ahead of that library (LD_PRELOAD). It goes
// where a tracer of system calls cannot: to single allocations, which make no system call, to the libraries that read
// through streams, and into the probe's child, whose filter ends it when a tracer takes a call away.
//
// /tmp/faults holds a rule a line, read when the program starts: the call (read, fread, alloc in the daemon itself or
// child-alloc in the probe's child), what the file's path contains, the error's number, and which of the calls fails,
// from 1; 0 only counts them. The calls seen so far stand in /tmp/faults.seen, a word for each rule.
#include <errno.h>
#include <fcntl.h>
#include <malloc.h>
#include <pthread.h>
#include <stdarg.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/faults/real_calls.h"

// What the C library calls its allocator whoever takes its usual names.
extern "C" void *__libc_malloc(size_t size);
extern "C" void *__libc_calloc(size_t count, size_t size);
extern "C" void *__libc_realloc(void *block, size_t size);
extern "C" void *__libc_memalign(size_t alignment, size_t size);

namespace {

constexpr char kRulesFile[] = "/tmp/faults";
constexpr char kSeenFile[] = "/tmp/faults.seen";
constexpr char kShares[] = "/volume1/"; // files elsewhere are nobody's to read

constexpr size_t kRulesMax = 4096; // more than any test needs
constexpr size_t kSeenSize = kRulesMax * sizeof(uint32_t);

struct Rule {
    char call[16];
    char path[64];
    int error;
    unsigned which;
};

Rule rules[kRulesMax];
size_t rule_count;
uint32_t *seen; // in memory that children share

int forks; // that this process comes from: the first makes the daemon, the next the probe's child
constexpr int kForksToChild = 2;

// The rule of the file that was looked at or opened last, if it has one, and its descriptor once it is open.
const Rule *current;
int current_fd = -1;

// True when this is the call that is to fail; errno tells why then.
bool Fails(const char *call) {
    if (current == nullptr || strcmp(current->call, call) != 0)
        return false;
    if (++seen[current - rules] != current->which)
        return false;
    errno = current->error;
    return true;
}

bool AllocFails() {
    return Fails(forks < kForksToChild ? "alloc" : "child-alloc");
}

bool ReadFails(const char *call, int fd) {
    return fd >= 0 && fd == current_fd && Fails(call);
}

bool InShares(const char *path) {
    return strncmp(path, kShares, strlen(kShares)) == 0;
}

void FileTurnedTo(const char *path) {
    if (!InShares(path))
        return;
    current = nullptr;
    for (size_t i = 0; i < rule_count && current == nullptr; ++i) {
        if (strstr(path, rules[i].path) != nullptr)
            current = &rules[i];
    }
}

void FileOpened(const char *path, int fd) {
    if (InShares(path))
        current_fd = fd;
    else if (fd == current_fd)
        current_fd = -1; // closed since, and its number given to another file
}

__attribute__((constructor)) void RulesRead() {
    const int file = open(kSeenFile, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file < 0 || ftruncate(file, kSeenSize) != 0)
        abort();
    void *memory = mmap(nullptr, kSeenSize, PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    FILE *list = fopen(kRulesFile, "re");
    if (memory == MAP_FAILED || list == nullptr)
        abort();
    seen = static_cast<uint32_t *>(memory);
    pthread_atfork(nullptr, nullptr, [] { ++forks; });
    Rule rule;
    while (fscanf(list, "%15s %63s %d %u", rule.call, rule.path, &rule.error, &rule.which) == 4) {
        if (rule_count == kRulesMax)
            abort();
        rules[rule_count++] = rule;
    }
    fclose(list);
}

int Open(const char *path, int flags, mode_t mode) {
    static const auto next = Next(&open64, "open64");
    FileTurnedTo(path);
    const int fd = next(path, flags, mode);
    FileOpened(path, fd);
    return fd;
}

FILE *StreamOpen(const char *path, const char *mode) {
    static const auto next = Next(&fopen64, "fopen64");
    FileTurnedTo(path);
    FILE *stream = next(path, mode);
    FileOpened(path, stream != nullptr ? fileno(stream) : -1);
    return stream;
}

} // namespace

extern "C" {

int open(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Open(path, flags, mode);
}

int open64(const char *path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Open(path, flags, mode);
}

FILE *fopen(const char *path, const char *mode) {
    return StreamOpen(path, mode);
}

FILE *fopen64(const char *path, const char *mode) {
    return StreamOpen(path, mode);
}

int stat64(const char *path, struct stat64 *status) noexcept {
    static const auto next = Next(&stat64, "stat64");
    FileTurnedTo(path);
    return next(path, status);
}

ssize_t read(int fd, void *buffer, size_t size) {
    static const auto next = Next(&read, "read");
    return ReadFails("read", fd) ? -1 : next(fd, buffer, size);
}

size_t fread(void *buffer, size_t size, size_t count, FILE *stream) {
    static const auto next = Next(&fread, "fread");
    if (!ReadFails("fread", fileno(stream)))
        return next(buffer, size, count, stream);
    stream->_flags |= _IO_ERR_SEEN; // for ferror(), as when the read below it fails
    return 0;
}

void *malloc(size_t size) noexcept {
    return AllocFails() ? nullptr : __libc_malloc(size);
}

void *calloc(size_t count, size_t size) noexcept {
    return AllocFails() ? nullptr : __libc_calloc(count, size);
}

void *realloc(void *block, size_t size) noexcept {
    return AllocFails() ? nullptr : __libc_realloc(block, size);
}

int posix_memalign(void **block, size_t alignment, size_t size) noexcept {
    if (AllocFails())
        return current->error;
    *block = __libc_memalign(alignment, size);
    return *block != nullptr ? 0 : ENOMEM;
}

} // extern "C"
