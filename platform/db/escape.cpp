// SPDX-License-Identifier: GPL-2.0-or-later
//
// Text on its way into an SQL statement.
#include "platform/veludb.h"

int VELUDBEscapeString(char *out, const char *in, size_t length) {
    if (out == nullptr || in == nullptr)
        return -1;
    size_t used = 0;
    // A statement ends at a zero byte, so the literal does too.
    for (size_t i = 0; i < length && in[i] != '\0'; ++i) {
        if (in[i] == '\'')
            out[used++] = '\'';
        out[used++] = in[i];
    }
    out[used] = '\0';
    return static_cast<int>(used);
}

int VELUDBEscapeBackslash(char *out, size_t size, const char *in) {
    if (out == nullptr || in == nullptr)
        return -1;
    size_t used = 0;
    for (; *in != '\0'; ++in) {
        const bool special = *in == '\\' || *in == '%' || *in == '_';
        const size_t needed = special ? 2 : 1;
        if (used >= size || size - used <= needed)
            return -1;
        if (special)
            out[used++] = '\\';
        out[used++] = *in;
    }
    if (used >= size)
        return -1;
    out[used] = '\0';
    return static_cast<int>(used);
}
