// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/sdk/program.h"
#include "platform/velusdk.h"

#include <sys/wait.h>

int KLIBExec(const char *program, const char *arg1, const char *arg2, const char *arg3, const char *arg4) {
    if (program == nullptr)
        return -1;
    const char *const arguments[] = {program, arg1, arg2, arg3, arg4, nullptr};
    const pid_t child = ProgramStart(program, arguments);
    if (child < 0)
        return -1;
    const int status = ProgramWait(child);
    return status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
