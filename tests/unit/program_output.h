// SPDX-License-Identifier: GPL-2.0-or-later
//
// Programs that tests run: encoders that make real files, and the project's own.
#pragma once

#include <stdio.h>
#include <sys/wait.h>

#include <string>

struct ProgramOutput {
    int status; // exit status, or -1 when a signal ended it
    std::string text;
};

// Runs a shell command and takes its standard output.
inline ProgramOutput ProgramRun(const std::string &command) {
    FILE *pipe = popen(command.c_str(), "re");
    if (pipe == nullptr)
        return {-1, ""};
    std::string text;
    for (int byte = 0; (byte = fgetc(pipe)) != EOF;)
        text += static_cast<char>(byte);
    const int status = pclose(pipe);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, text};
}
