// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/terminal_line.h"

#include "tools/shared/safe_text.h"
#include "tools/veluctl/terminal.h"

void TerminalLineShow(FILE *out, const std::string &text, const std::string &place) {
    // The cursor's own column stays free, or the line would wrap.
    const size_t columns = TerminalColumns(out) - 1;
    const std::string begin = DisplayCut(SafeTextOn(text, out) + (place.empty() ? "" : ": "), columns);
    fprintf(out, "\r%s%s\033[K", begin.c_str(),
            DisplayCutMiddle(SafeTextOn(place, out), columns - DisplayWidth(begin)).c_str());
    fflush(out);
}
