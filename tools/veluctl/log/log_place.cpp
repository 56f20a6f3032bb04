// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/log/log_place.h"

#include <ctype.h>

std::string_view LogWithoutPlace(std::string_view line) {
    const size_t name = line.find(".c");
    if (name == std::string_view::npos || line.substr(0, name).find(' ') != std::string_view::npos)
        return line;
    size_t end = name + 2;
    while (end < line.size() && (isdigit(static_cast<unsigned char>(line[end])) ||
                                 std::string_view(" ():").find(line[end]) != std::string_view::npos))
        ++end;
    return line.substr(end);
}
