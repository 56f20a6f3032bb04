// SPDX-License-Identifier: GPL-2.0-or-later
//
// A probe module for tests: it stands in the place of the shipped one, lets that one read the file, under its
// own system call filter, and then does what a file that has taken the child over might do. Which, says the
// begin of the file's name.
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr char kShipped[] = "/usr/velu/lib/velu/shipped.so";
constexpr size_t kEaten = size_t{400} << 20; // above half of the memory that the test shows to the daemon
constexpr size_t kPage = 4096;

using Probe = int (*)(const char *path, void *record);

// Found when the daemon loads this module: the child could open nothing any more.
const Probe shipped = reinterpret_cast<Probe>(dlsym(dlopen(kShipped, RTLD_NOW), "MiscMediaInfoProbe"));

[[noreturn]] void Hang() {
    for (;;)
        sleep(1);
}

[[noreturn]] void Eat() {
    char *memory = static_cast<char *>(malloc(kEaten));
    for (size_t i = 0; memory != nullptr && i < kEaten; i += kPage)
        memory[i] = 1;
    Hang();
}

// A sanitizer's handler would have more to say than the filter lets it.
void EndBy(int number) {
    signal(number, SIG_DFL);
    raise(number);
}

void Exec() {
    char program[] = "/bin/true";
    char *const arguments[] = {program, nullptr};
    execv(program, arguments);
}

struct Fault {
    const char *name;
    void (*run)();
};

const Fault kFaults[] = {
    {"hang", Hang},
    {"eat", Eat},
    {"crash", [] { EndBy(SIGSEGV); }},
    {"abort", [] { EndBy(SIGABRT); }},
    {"terminate", [] { EndBy(SIGTERM); }},
    {"socket", [] { socket(AF_INET, SOCK_STREAM, 0); }},
    {"execute", Exec},
    {"write", [] { open("/tmp/written", O_WRONLY | O_CREAT, 0600); }},
    {"unlink", [] { unlink("/var/run/veluindexd.pid"); }},
    {"kill", [] { kill(getppid(), SIGKILL); }},
};

} // namespace

extern "C" int MiscMediaInfoProbe(const char *path, void *record) {
    const int result = shipped(path, record);
    const char *name = strrchr(path, '/') + 1;
    for (const Fault &fault : kFaults) {
        if (strncmp(name, fault.name, strlen(fault.name)) == 0)
            fault.run();
    }
    return result;
}
