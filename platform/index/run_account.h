// SPDX-License-Identifier: GPL-2.0-or-later
//
// What became of the statements of a run, and of the requests that asked for them: the books, without the connections. A
// store is away when a statement fails for another reason than its own row's values; its request is then not done with.
#pragma once

#include <stdint.h>

#include <string>

#include "platform/number_set.h"
#include "platform/veluindex.h"

struct RunAccount {
    uint64_t removed = 0; // rows of media files
    uint64_t request = 0; // whose statements come now; 0: nobody's
    NumberSet failed;     // requests of which a statement failed because its store was away
    struct Part {
        uint64_t doubtful = 0; // requests up to this one may have lost what was committed
        uint64_t lost = 0;     // statements, each about a row, that failed because the store was away
        std::string reason;    // of the first of them
        bool known = false;    // it was away before, and that has been told
        bool written = false;  // likewise, and it takes writes in this run
        bool reached = false;  // by the run that is over
        uint64_t failures = 0; // statements, for whatever reason; also of earlier runs
        uint64_t losses =
            0; // times that what was reported as done was lost or may have been; also of earlier runs
    };
    Part of[kCatalogues];
};

// Begins a run: forgets everything but the numbers of failures and losses.
void AccountBegin(RunAccount *account);

// Notes that a statement of `request` failed because its store was away. `reason` is for people.
void AccountLost(RunAccount *account, Catalogue catalogue, uint64_t request, const char *reason);

// Notes that what was committed for the requests so far may be lost.
void AccountDoubt(RunAccount *account, Catalogue catalogue);

// Logs for each catalogue that was away, and not known to be, how many rows are not stored. A single one has had its line when
// it failed.
void AccountTell(const RunAccount &account);
