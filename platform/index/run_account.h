// SPDX-License-Identifier: GPL-2.0-or-later
//
// What became of a run's writes, and for whom: pure bookkeeping beside the connections of run.cpp. A store is away when
// a statement fails for another reason than its own row's values; then the request that asked for the write is not done.
#pragma once

#include <stdint.h>

#include <string>

#include "platform/number_set.h"
#include "platform/veluindex.h"

struct RunAccount {
    uint64_t request = 0; // that writes now; 0: none
    NumberSet failed;     // requests of which a statement failed because its store was away
    struct Part {
        uint64_t doubtful = 0; // requests up to this one may have lost what was committed
        uint64_t lost = 0;     // statements, each about a row, that failed because the store was away
        std::string reason;    // of the first of them
        uint64_t failures = 0; // statements, for whatever reason; also of earlier runs
        uint64_t losses = 0;   // times that what was reported as done was lost, or may have been; likewise
    };
    Part of[kCatalogues];
};

// Forgets everything but the numbers of failures and losses: a run begins.
void AccountBegin(RunAccount *account);

// A statement that belongs to `request` failed because its store was away, for a reason in words.
void AccountLost(RunAccount *account, Catalogue catalogue, uint64_t request, const char *reason);

// What was committed may be lost: that of all requests so far.
void AccountDoubt(RunAccount *account, Catalogue catalogue);

// Logs for each catalogue how many rows it was away for, if those are more than the one that has had its line.
void AccountTell(const RunAccount &account);
