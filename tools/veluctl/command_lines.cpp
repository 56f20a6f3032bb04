// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/command_lines.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/types.h>

bool CommandLinesRead(const std::string &command, const std::function<void(std::string_view line)> &take) {
    FILE *pipe = popen(command.c_str(), "re");
    if (pipe == nullptr)
        return false;
    char *text = nullptr;
    size_t size = 0;
    for (ssize_t length = 0; (length = getline(&text, &size, pipe)) > 0;)
        take({text, static_cast<size_t>(length - (text[length - 1] == '\n' ? 1 : 0))});
    free(text);
    return pclose(pipe) == 0;
}
