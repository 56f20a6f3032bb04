// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a walk does, in its order, while readers are at the files that it has met. A file has its turn when its reader has
// answered; a step that comes behind it waits for that, and where nothing waits, a step is done at once. The line is short, so
// that what is done follows the walk closely.
#pragma once

#include <functional>
#include <list>
#include <string>

#include "daemon/index.h"

using TurnStep = std::function<void(const std::string &path)>;

struct Turn {
    std::string path;
    TurnStep step;
    ReadTicket ticket = 0; // of a file that a reader has; 0: nothing is waited for
};

// Belongs to one walk. Turns that are left when it ends, because memory has run out, are dropped undone; so are all from the
// moment on when the run gives up what it is asked for. Then nothing may follow from what the walk has not met.
struct Turns {
    std::list<Turn> waiting;
    bool given_up = false;

    Turns() = default;
    Turns(const Turns &) = delete;
    Turns &operator=(const Turns &) = delete;
    ~Turns();
};

// True when the walk goes on to no purpose.
[[nodiscard]] bool TurnsGivenUp(Turns *turns);

// Puts a turn behind the others, and does those whose time has come.
void TurnWait(Turns *turns, const std::string &path, TurnStep step, ReadTicket ticket);

// Do `step` for a path when it is its turn. For a file that an add hands to a reader, that is when it is read; for one that has
// not changed since it was, `keep` is done instead. What the steps refer to has to live as long as the walk.
template <typename Step>
void TurnTake(Turns *turns, const std::string &path, Step step) {
    if (!turns->waiting.empty())
        TurnWait(turns, path, step, 0);
    else if (!TurnsGivenUp(turns))
        step(path);
}
template <typename Step, typename Keep>
void FileTurnTake(Turns *turns, const std::string &path, Step step, Keep keep) {
    const ReadTicket ticket = IndexFileHandOver(path.c_str());
    if (ticket == kUnchangedTicket)
        TurnTake(turns, path, keep);
    else if (ticket != 0)
        TurnWait(turns, path, step, ticket);
    else
        TurnTake(turns, path, step);
}
template <typename Step>
void FileTurnTake(Turns *turns, const std::string &path, Step step) {
    FileTurnTake(turns, path, step, step);
}

// Does all that waits.
void TurnsFinish(Turns *turns);
