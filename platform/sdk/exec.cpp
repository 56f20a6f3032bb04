// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/velusdk.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

namespace {

using SpawnAttributes = std::unique_ptr<posix_spawnattr_t, int (*)(posix_spawnattr_t *)>;
using SpawnActions = std::unique_ptr<posix_spawn_file_actions_t, int (*)(posix_spawn_file_actions_t *)>;

// Starts the program the way the header promises. Returns its process id, or -1.
pid_t Spawn(const char *program, char *const arguments[]) {
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0)
        return -1;
    const SpawnAttributes attributes_owner(&attributes, posix_spawnattr_destroy);
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return -1;
    const SpawnActions actions_owner(&actions, posix_spawn_file_actions_destroy);

    sigset_t all_signals;
    sigset_t no_signals;
    sigfillset(&all_signals);
    sigemptyset(&no_signals);
    pid_t child = -1;
    if (posix_spawnattr_setsigdefault(&attributes, &all_signals) != 0 ||
        posix_spawnattr_setsigmask(&attributes, &no_signals) != 0 ||
        posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK) != 0 ||
        posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1) != 0 ||
        posix_spawn(&child, program, &actions, &attributes, arguments, environ) != 0)
        return -1;
    return child;
}

} // namespace

int KLIBExec(const char *program, const char *arg1, const char *arg2, const char *arg3, const char *arg4) {
    if (program == nullptr)
        return -1;
    // The calls take the vector without const for history's sake and do not write to it.
    char *const arguments[] = {const_cast<char *>(program), const_cast<char *>(arg1),
                               const_cast<char *>(arg2),    const_cast<char *>(arg3),
                               const_cast<char *>(arg4),    nullptr};
    const pid_t child = Spawn(program, arguments);
    if (child < 0)
        return -1;
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
