// SPDX-License-Identifier: GPL-2.0-or-later
//
// What libraries need that are loaded ahead of the C library and take its calls over.
#pragma once

#include <dlfcn.h>
#include <fcntl.h>
#include <stdarg.h>
#include <sys/types.h>

// Returns the function of this name behind the library's own; the first argument gives its type.
template <typename Function>
Function Next(Function, const char *name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

// Returns the mode of an open call, which is among its arguments only when the file may be made.
inline mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE ? va_arg(arguments, mode_t) : 0;
}
