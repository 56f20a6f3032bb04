// SPDX-License-Identifier: GPL-2.0-or-later
//
// How far a run by the rules `complete` has come, written down for people now and then, and what became of it at its end. By the
// appliance's rules all of this does nothing.
#pragma once

#include <string>

#include "daemon/tree_cursor.h"

// Begins a run, and ends it: what became of its files is written down then. A scope, since memory may run out.
struct ProgressScope {
    ProgressScope();
    ProgressScope(const ProgressScope &) = delete;
    ProgressScope &operator=(const ProgressScope &) = delete;
    ~ProgressScope();
};

// Notes that the next request is carried out.
void ProgressRequest();

// Takes what has been left out and removed in a part of the run that ends.
void ProgressTake();

// While a tree is walked, its files can be counted ahead.
struct ProgressTree {
    explicit ProgressTree(const char *path);
    ProgressTree(const ProgressTree &) = delete;
    ProgressTree &operator=(const ProgressTree &) = delete;
    ~ProgressTree();

private:
    bool counts_;
};

// Notes that a file has had its turn.
void ProgressFile(const std::string &path);

// Counts some of the files ahead. To be called where readers have all the work that they may have, and nothing is left to do but to
// wait for one of them, which is at the file `path`.
void ProgressAhead(const std::string &path);
