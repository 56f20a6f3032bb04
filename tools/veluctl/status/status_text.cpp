// SPDX-License-Identifier: GPL-2.0-or-later
#include <stdio.h>

#include "tools/veluctl/status/status.h"

void StatusSay(const char *name, const std::string &text) {
    printf("%-16s %s\n", name, text.c_str());
}

std::string TimeText(time_t time) {
    struct tm local;
    char text[32] = "";
    if (localtime_r(&time, &local) != nullptr)
        strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    return text;
}
