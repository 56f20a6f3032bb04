// SPDX-License-Identifier: GPL-2.0-or-later
//
// libvelusdk: the appliance's system library as far as the daemon needs it.
//
// All strings are NUL-terminated bytes; paths are arbitrary bytes without NUL. No function keeps a pointer
// after it returns. Nothing here logs unless said so. Functions named Bl... and Is...Exist answer 1 or 0.
#pragma once

#include <stddef.h>
#include <stdint.h>
#include <sys/types.h>

// Prints the banner of `program` (name, version, what it is, licence) on standard output.
void KLIBCopyright(const char *program);

// Returns the process id that is the first word of a pid file (decimal text), or 0 when the file is missing,
// holds no id of at least 1, or the process does not run.
pid_t KLIBReadPidFile(const char *pid_file);

// Runs `program` (a path, no search, no shell) with up to four arguments, the list ended by the first null,
// and waits for it. The program starts with default signal dispositions, an empty signal mask and only the
// standard streams open. Returns its exit status, or -1 when it could not be started or ended by a signal.
int KLIBExec(const char *program, const char *arg1, const char *arg2, const char *arg3, const char *arg4);

// Quotes `in` as one word of a POSIX shell. `size` is that of `out`, terminator included; 2 x strlen(in) + 1
// is enough for any path that is absolute or has no newline (the empty word takes 3 bytes). Returns 0, or -1
// when an argument is missing or the result does not fit (`out` is then the empty string if there is room).
int KLIBEncShParam(const char *in, char *out, size_t size);

// Looks up a line of a text file that begins with `line`; a line equal to it is preferred to a longer one.
// The line found, without its newline, is copied to `out` and cut to `size` - 1 bytes; without one `out` is
// the empty string. A `line` that holds a newline is never found. `flags` is the appliance's matching mode;
// every caller passes 0x404 (from the line's first byte, case matters).
// Returns 1 when found, 0 when there is none, -1 when the file cannot be read or an argument is missing.
int KLIBFileGetLine(const char *file, const char *line, char *out, size_t size, int flags);

// Reads the value of `key` from a file of key="value" lines: blanks around key and value are ignored, the
// quotes (double, single or none) are taken off, lines that begin with '#' are comments, the first line with
// the key counts. A value in quotes ends at the next quote of its kind, and the rest of its line is ignored.
// The value is cut to `size` - 1 bytes. `flags` is reserved and 0.
// Returns the length of the value in `out`, or -1 (and the empty string) when the file or the key is missing.
int KLIBFileGetKeyValue(const char *file, const char *key, char *out, size_t size, int flags);

// Returns 1 when the file holds `key` with exactly `value`.
int BlVELUFileCheckKeyValue(const char *file, const char *key, const char *value);

// Returns 1 when `path` names anything that exists (links followed).
int BlKLIBFileExist(const char *path);

// Returns 1 when `path` is an existing regular file; its size in bytes goes to `size` unless that is null.
int IsFileExist(const char *path, uint64_t *size);

// Returns 1 when `path` is an existing directory.
int IsDirExist(const char *path);

// Takes white space off both ends of `text`, in place, and returns it.
char *StringTrim(char *text);

// Gets the place where the extended attribute `attribute` of `path` is kept: DIR/@eaDir/NAME/ATTRIBUTE, for a
// file as for a directory. Trailing slashes of `path` do not count. Returns 0, or -1 (and the empty string)
// when an argument is missing, the path has no directory part, or the result does not fit into `size` bytes
// (nothing is cut).
int VELUEAPath(const char *path, const char *attribute, char *out, size_t size);

// Reports an event to the appliance's event log: one syslog line at notice priority with the event number as
// 0x and eight hex digits, its class and level, then the arguments that are not empty.
void VELULogSet1(int log_class, int level, uint32_t event, const char *arg1, const char *arg2,
                 const char *arg3, const char *arg4);
