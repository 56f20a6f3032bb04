// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/program.h"

#include <errno.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <memory>

namespace {

using SpawnAttributes = std::unique_ptr<posix_spawnattr_t, int (*)(posix_spawnattr_t *)>;
using SpawnActions = std::unique_ptr<posix_spawn_file_actions_t, int (*)(posix_spawn_file_actions_t *)>;

bool SignalsReset(posix_spawnattr_t *attributes) {
    sigset_t all_signals;
    sigset_t no_signals;
    sigfillset(&all_signals);
    sigemptyset(&no_signals);
    return posix_spawnattr_setsigdefault(attributes, &all_signals) == 0 &&
           posix_spawnattr_setsigmask(attributes, &no_signals) == 0 &&
           posix_spawnattr_setflags(attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK) == 0;
}

// The descriptors come to stand behind the standard streams. What is above its own place is not overwritten before it is taken.
bool DescriptorsPlace(posix_spawn_file_actions_t *actions, std::span<const int> descriptors) {
    int place = STDERR_FILENO + 1;
    for (const int descriptor : descriptors) {
        if (descriptor <= place || posix_spawn_file_actions_adddup2(actions, descriptor, place) != 0)
            return false;
        ++place;
    }
    return posix_spawn_file_actions_addclosefrom_np(actions, place) == 0;
}

} // namespace

pid_t ProgramStart(const char *program, const char *const arguments[], std::span<const int> descriptors) {
    posix_spawnattr_t attributes;
    if (posix_spawnattr_init(&attributes) != 0)
        return -1;
    const SpawnAttributes attributes_owner(&attributes, posix_spawnattr_destroy);
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0)
        return -1;
    const SpawnActions actions_owner(&actions, posix_spawn_file_actions_destroy);
    // The call takes the words without const for history's sake and does not write to them.
    auto *const words = const_cast<char *const *>(arguments);
    if (!SignalsReset(&attributes) || !DescriptorsPlace(&actions, descriptors)) {
        errno = EINVAL;
        return -1;
    }
    pid_t child = -1;
    errno = posix_spawn(&child, program, &actions, &attributes, words, environ);
    return errno == 0 ? child : -1;
}

int ProgramWait(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR)
            return -1;
    }
    return status;
}
