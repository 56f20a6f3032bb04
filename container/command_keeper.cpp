// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/command_keeper.h"

#include "container/child_processes.h"
#include "platform/clock.h"
#include "platform/sdk/program.h"

#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr char kShell[] = "/bin/sh";

// The keeper's exit status without a shell, as shells have it.
constexpr int kNotStarted = 127;

// The keeper's only descriptor beside the standard streams.
constexpr int kLife = STDERR_FILENO + 1;

// Waits until the daemon has let go or is gone, and tells it when the shell has ended. What has ended by then is reaped.
void DaemonAwait(pid_t shell, int children) {
    pollfd waits[] = {{kLife, POLLIN, 0}, {children, POLLIN, 0}};
    while (poll(waits, 2, -1) > 0 && waits[0].revents == 0) {
        signalfd_siginfo told;
        if (read(children, &told, sizeof told) < 0)
            return;
        for (pid_t ended = 1; ended > 0;) {
            ended = waitpid(-1, nullptr, WNOHANG);
            if (ended == shell && write(kLife, "", 1) < 0)
                return;
        }
    }
}

// Runs with all signals blocked: what is sent to the group is meant for the command, and the daemon's handlers are not the
// keeper's. It lets go of all descriptors of the daemon, whose locks would outlive the daemon otherwise.
[[noreturn]] void Keep(const char *command, int life, int output) {
    if (setpgid(0, 0) != 0 || dup2(output, STDOUT_FILENO) < 0 || (life != kLife && dup2(life, kLife) < 0))
        _exit(kNotStarted);
    closefrom(kLife + 1);
    prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0); // what loses its parent becomes the keeper's child
    sigset_t child_signal;
    sigemptyset(&child_signal);
    sigaddset(&child_signal, SIGCHLD);
    const int children = signalfd(-1, &child_signal, SFD_CLOEXEC);
    const char *const arguments[] = {"sh", "-c", command, nullptr};
    const pid_t shell = children >= 0 ? ProgramStart(kShell, arguments) : -1;
    if (shell < 0)
        _exit(kNotStarted);
    close(STDOUT_FILENO); // the reader is to see the end of the command's output
    DaemonAwait(shell, children);
    ChildProcessesEnd();
    _exit(0);
}

// Forks with all signals blocked, in the child for good.
pid_t ForkBlocked() {
    sigset_t all_signals;
    sigset_t before;
    sigfillset(&all_signals);
    sigprocmask(SIG_SETMASK, &all_signals, &before);
    const pid_t child = fork();
    if (child != 0)
        sigprocmask(SIG_SETMASK, &before, nullptr);
    return child;
}

// Waits for the end of a child without reaping it, so that its number stays its own. False when there is no such child.
bool AwaitEnd(pid_t child) {
    siginfo_t ended;
    int result = 0;
    do
        result = waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    while (result != 0 && errno == EINTR);
    return result == 0;
}

} // namespace

bool CommandKeeperStart(const char *command, const FdHandle &output, CommandKeeper *keeper) {
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0)
        return false;
    keeper->life = FdHandle(ends[0]);
    const FdHandle keepers_end(ends[1]);
    keeper->pid = ForkBlocked();
    if (keeper->pid == 0)
        Keep(command, keepers_end.get(), output.get());
    return keeper->pid > 0;
}

bool CommandKeeperEnd(CommandKeeper *keeper, int64_t deadline) {
    static_cast<void>(
        WaitForBytes(keeper->life, deadline)); // the word that the shell has ended, or the keeper's end
    keeper->life.Close();
    if (!AwaitEnd(keeper->pid))
        return true;
    // What is left of the group when somebody has killed the keeper.
    kill(-keeper->pid, SIGKILL);
    const int status = ProgramWait(keeper->pid);
    return !WIFEXITED(status) || WEXITSTATUS(status) != kNotStarted;
}

bool WaitForBytes(const FdHandle &fd, int64_t deadline) {
    for (;;) {
        const int64_t rest = deadline - MonotonicMilliseconds();
        if (rest <= 0)
            return false;
        pollfd wait = {.fd = fd.get(), .events = POLLIN, .revents = 0};
        const int ready = poll(&wait, 1, static_cast<int>(rest));
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    }
}
