// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/sql_text.h"

#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

#include <algorithm>

#include "platform/veludb.h"

bool SqlNameEscape(const char *name, SqlName *out, const char *log_name, int line) {
    const size_t length = strlen(name);
    out->literal.resize(length * 2 + 1);
    const int literal = VELUDBEscapeString(out->literal.data(), name, length);
    if (literal >= 0) {
        out->literal.resize(static_cast<size_t>(literal));
        out->pattern.resize(out->literal.size() * 3 + 1);
        const int pattern =
            VELUDBEscapeBackslash(out->pattern.data(), out->pattern.size(), out->literal.c_str());
        if (pattern >= 0) {
            out->pattern.resize(static_cast<size_t>(pattern));
            return true;
        }
    }
    syslog(LOG_ERR, "%s (%d) Failed to escape condition.", log_name, line);
    return false;
}

std::string SqlFormat(size_t size, const char *format, ...) {
    std::string text(size, '\0');
    va_list arguments;
    va_start(arguments, format);
    const int wanted = vsnprintf(text.data(), size, format, arguments);
    va_end(arguments);
    text.resize(std::min(static_cast<size_t>(std::max(wanted, 0)), size - 1));
    // What is left of a cut statement must not happen to be another one: it keeps a quote open.
    if (static_cast<size_t>(wanted) >= size && std::count(text.begin(), text.end(), '\'') % 2 == 0)
        text.back() = text.back() == '\'' ? ' ' : '\'';
    return text;
}
