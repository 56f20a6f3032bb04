// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/roff.h"

std::string RoffText(std::string_view text) {
    std::string escaped;
    for (const char byte : text) {
        if (byte == '\\')
            escaped += "\\e";
        else if (byte == '-')
            escaped += "\\-";
        else
            escaped += byte;
    }
    return escaped.starts_with('.') || escaped.starts_with('\'') ? "\\&" + escaped : escaped;
}

std::string RoffEntry(std::string_view head, std::string_view text) {
    return ".TP\n" + std::string(head) + "\n" + RoffText(text) + "\n";
}
