// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/shell_word.h"

#include <stdio.h>

#include <algorithm>

#include "tools/shared/safe_text.h"
#include "tools/veluctl/single_quoted.h"

namespace {

bool IsPlain(char byte) {
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || (byte >= '0' && byte <= '9') ||
           std::string_view("/._-+,:=@%").find(byte) != std::string_view::npos;
}

// The shell takes at most two digits of a byte that is written out.
std::string BytesWritten(std::string_view text) {
    std::string word = "$'";
    for (const char byte : text) {
        char written[8] = {byte, '\0'};
        if (!IsPlain(byte))
            snprintf(written, sizeof written, "\\x%02X", static_cast<unsigned char>(byte));
        word += written;
    }
    return word + "'";
}

} // namespace

std::string ShellWord(std::string_view text) {
    if (!text.empty() && std::ranges::all_of(text, IsPlain))
        return std::string(text);
    const std::string quoted = SingleQuoted(text, "'\\''", "\\");
    // The backslash alone is doubled by what makes texts safe; within quotes it stands for itself.
    std::string doubled;
    for (const char byte : quoted)
        doubled.append(byte == '\\' ? 2 : 1, byte);
    return SafeText(quoted) == doubled ? quoted : BytesWritten(text);
}
