// SPDX-License-Identifier: GPL-2.0-or-later
//
// What engines spell differently. Every other statement of the catalogues is the same for all of them.
#pragma once

struct VELUDBWords {
    const char *path;   // the type of a text that compares byte by byte
    const char *serial; // the type of a key that the database counts up by itself
    const char *real;   // the type of a number that keeps its 15 digits

    const char *
        clustered; // behind a table's columns: its rows lie in the order of its primary key, if the engine can do that

    // A boolean is kept as it was spelled, so that the schema has to make the spellings one.
    bool keeps_spelled_booleans;

    // A trigger calls a function that the database has, where others hold its statements themselves.
    bool triggers_call;

    // A statement that fails by its own fault takes its transaction with it, unless that can go back to a savepoint.
    bool fails_whole;

    // Between two transactions the session may serve another program, and a read may be answered by a copy that lags
    // behind unless its transaction has written: nothing that counts stands outside of one.
    bool pooled;

    // Functions compare text without regard to case and accents: velu_holds(part, text, ...) and velu_is(whole, text), both with the
    // folded text in front (folding.h). Others have "text ~ pattern", a regular expression over bytes.
    bool folds;

    // Statements. The first, within a transaction, lets one program at a time prepare the tables; null where beginning
    // it does so already.
    const char *prepare_lock;
    // Puts the counter of TABLE's keys behind its largest id; null where the rows themselves are the counter.
    const char *count_on;
    const char *compact;   // gives back what removed rows have held
    const char *has_table; // an expression: 1 when there is a table TABLE, else 0
};
