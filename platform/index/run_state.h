// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the library knows between two of its calls: one object, of which run_session.cpp is the owner.
#pragma once

#include <stdint.h>
#include <sys/types.h>
#include <time.h>

#include <optional>
#include <string>

#include "platform/handle.h"
#include "platform/index/batch.h"
#include "platform/index/run_account.h"
#include "platform/index/saved_rows.h"
#include "platform/index/store.h"
#include "platform/rule_set.h"

// One catalogue's part in a run.
struct Session {
    StoreConnectionRef connection;
    Batch batch;
    bool batch_open = false;
    BatchMark mark;        // where the batch can be rolled back to
    bool together = false; // its writes come to the disk together or not at all
    int64_t batch_start = 0;
    bool committed = false; // something on this connection, which is not brought to the disk yet
    bool away = false;
    int64_t away_since = 0;
    bool away_told = false; // in this run
};

// What one run knows, and the next does not.
struct Run {
    // Settings of the machine (time zone, cover folder) are then asked for once, not for each file.
    bool active = false;
    bool away = false; // a write was lost, or may have been, because its database was not there
    bool lost = false; // a write was lost after it had been reported as done
    Session sessions[kCatalogues];
    std::optional<std::string> cover_dir; // as configured; filled at its first use
    std::optional<RuleSet> rules;         // by which the run works; none: it does not say
};

// Files that a rename moves (file_state.h).
struct MovedFiles {
    std::string from; // empty: none
    std::string to;
    bool copied = false; // states stand at new paths that have no rows yet
};

// Of files whose rows are yet to come (cover_notes.h).
struct CoverNotes {
    FdHandle file = {};
    std::string path = {}; // of the file
    off_t left = 0;        // so many bytes at its begin are of a run that was broken off
    bool ahead = false;    // a file is noted whose row is in no batch yet
    bool added = false;    // something is noted whose row is not committed
    bool unsettled = true; // there may be notes of a run that was broken off
};

struct RunState {
    Run run;
    RunAccount account; // of the run, also when it is over
    // What outlives a run.
    bool covers_placed = false; // since the covers were last brought to the disk
    // When that failed last. What the kernel could not write it may take for written: pictures that are as old are read from
    // memory as they should be, and may be on the disk otherwise.
    time_t covers_failed = 0;
    bool covers_stored = false;  // one was, since the run has begun
    bool covers_no_room = false; // likewise for one
    bool covers_no_room_told = false;
    bool music_dirty = false; // the table was written to since its marker was cleared
    bool video_dirty = false;
    SavedRows saved;  // by the sweep that goes on
    MovedFiles moved; // by the rename that goes on
    CoverNotes cover_notes;
};

extern RunState run_state;

// The clock for the age of a batch and for how long a database has been away, in milliseconds.
extern int64_t (*run_clock)();
