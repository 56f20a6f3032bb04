// SPDX-License-Identifier: GPL-2.0-or-later
//
// Child processes of tests.
#pragma once

#include <limits.h>
#include <sched.h>
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>
#include <new>
#include <string>

// Forks a child that runs `body` and ends with its result; the test's own exit handlers do not run.
template <typename Body>
pid_t ChildStart(Body body) {
    const pid_t child = fork();
    if (child == 0)
        _exit(body());
    return child;
}

inline int ChildStatus(pid_t child) {
    int status = -1;
    return waitpid(child, &status, 0) == child ? status : -1;
}

template <typename Body>
int ChildRunStatus(Body body) {
    return ChildStatus(ChildStart(body));
}

// A child that waits until it is killed.
inline pid_t ChildIdle() {
    return ChildStart([] {
        for (;;)
            pause();
        return 0;
    });
}

// Hides the folder of the load-on-demand modules from this process for good; for children only.
inline bool ModulesHide() {
    char program[PATH_MAX] = {};
    if (readlink("/proc/self/exe", program, sizeof program - 1) < 0)
        return false;
    const std::string modules = std::string(program, strrchr(program, '/')) + "/../lib/velu";
    return unshare(CLONE_NEWNS) == 0 && mount("none", modules.c_str(), "tmpfs", 0, nullptr) == 0;
}

// A value that is seen by the processes forked after it was made. Gone with the test program.
template <typename T>
T *SharedMake() {
    void *memory = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    return new (memory) T{};
}

// A number of /proc/PID/status (kB where it is a size), or -1.
inline long ProcessStatus(pid_t pid, const char *field) {
    const std::string path = "/proc/" + std::to_string(pid) + "/status";
    FILE *file = fopen(path.c_str(), "re");
    if (file == nullptr)
        return -1;
    long value = -1;
    char line[256];
    const std::string form = std::string(field) + ": %ld";
    while (value < 0 && fgets(line, sizeof line, file) != nullptr)
        sscanf(line, form.c_str(), &value);
    fclose(file);
    return value;
}

// True when the process is gone before long, or waits for its parent to reap it.
inline bool ProcessEnds(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/stat";
    for (int i = 0; i < 10000; ++i) {
        FILE *file = fopen(path.c_str(), "re");
        char state = 'Z';
        const bool runs = file != nullptr && fscanf(file, "%*d (%*[^)]) %c", &state) == 1 && state != 'Z';
        if (file != nullptr)
            fclose(file);
        if (!runs)
            return true;
        usleep(1000);
    }
    return false;
}
