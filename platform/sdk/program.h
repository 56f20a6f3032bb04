// SPDX-License-Identifier: GPL-2.0-or-later
//
// Starting other programs, and waiting for their end.
#pragma once

#include <sys/types.h>

#include <span>

// Starts `program` (a path, no search) with `arguments`, a list that ends with null and begins with the program's
// name. It has default signal dispositions, an empty signal mask and only the standard streams open, which are ours, and
// behind them `descriptors` (each above where it goes), from 3 on.
// Returns its process id, or -1 with the reason in errno.
pid_t ProgramStart(const char *program, const char *const arguments[], std::span<const int> descriptors = {});

// Waits for the end of a child. Returns what waitpid says of it, or -1 when there is no such child.
int ProgramWait(pid_t child);
