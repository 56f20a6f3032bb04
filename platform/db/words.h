// SPDX-License-Identifier: GPL-2.0-or-later
//
// What engines spell differently. Every other statement of the catalogues is the same for all of them.
#pragma once

struct VELUDBWords {
    const char *path;   // the type of a text that compares byte by byte
    const char *serial; // the type of a key that the database counts up by itself
    const char *real;   // the type of a number that keeps its 15 digits

    // A boolean is kept as it was spelled, so that the schema has to make the spellings one.
    bool keeps_spelled_booleans;

    // Statements. The first, within a transaction, lets one program at a time prepare the tables; null where beginning
    // it does so already.
    const char *prepare_lock;
    // As the first of a transaction, lets all its reads see the same moment; null where they do already.
    const char *one_view;
    // Puts the counter of TABLE's keys behind its largest id; null where the rows themselves are the counter.
    const char *count_on;
    const char *begin_reading; // see VELUDBBeginReading
    const char *forbid_writes; // see VELUDBForbidWrites
};
