// SPDX-License-Identifier: GPL-2.0-or-later
//
// What can be seen of the daemon's queue from outside: the files' lines, and in /proc how far the daemon has
// come.
#pragma once

#include <stdint.h>
#include <sys/types.h>

#include <optional>
#include <string>
#include <unordered_set>

#include "daemon/index_record.h"
#include "platform/handle.h"

// What waits in the kept file.
struct KeptView {
    bool readable = false; // false also when there is none
    int64_t requests = 0;
    int64_t oldest_seconds = 0;
};

KeptView KeptLook();

// Seconds by which the requests of the kept file are older now than it says: it is written anew with each attempt.
int64_t KeptSince();

// Counts the lines of a file that only grows, each byte once.
struct LineCounter {
    int64_t counted = 0; // bytes
    int64_t lines = 0;
    bool open_line = false; // the last byte counted was no newline
};

// Counts the lines from the beginning up to `end` (bytes). An open last line counts.
int64_t LinesUpTo(LineCounter *counter, const FdHandle &file, int64_t end);

enum class Phase {
    queued,  // waiting in the queue
    running, // taken over, and the daemon has it open
    kept,    // taken over, but nobody works on it, or a line of it waits in the kept file
    done     // carried out, and its file gone
};

struct RunView {
    Phase phase;
    int64_t lines_done;
    int64_t lines_total;
    std::string request;                    // the line that is carried out
    std::string file;                       // that the daemon, or its probe, has open in it
    std::optional<IndexRecord> record = {}; // what the daemon itself says of its run, by the rules `complete`
    bool beginning = false;                 // the daemon will say more of it in a moment
    std::string kept_because = {};          // why it is kept; empty: not known here
};

// A file of requests, held open so that it is known whatever its name becomes.
struct RequestFile {
    FdHandle file;
    LineCounter total;
    LineCounter done;
    ino_t kept_looked_at = 0; // the kept file that `kept` tells of; each is a new one
    bool kept = false;        // a line of the file that somebody waits for stands there
    // The lines that somebody waits for; others may have queued theirs in the same file. Nothing: all that it has.
    std::optional<std::unordered_set<std::string>> waited_for = {};
};

// Tells how far a file of requests has come with the daemon of that id (0: none runs). Place and open files
// of a process are seen by its own user and root only; others get the phase and the number of lines.
RunView RunLook(RequestFile *requests, pid_t daemon);

// Opens a file of requests to look at it; empty when there is none.
RequestFile RequestFileOpen(const char *path);
