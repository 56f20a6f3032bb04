// SPDX-License-Identifier: GPL-2.0-or-later
//
// One pass over the requests that are there: those of the kept file first, then those of a working copy. What cannot be
// stored, and what comes behind it and touches the same, is in the kept file afterwards; all else is done with.
#pragma once

#include "daemon/queue_reader.h"

struct QueuePassEnd {
    bool copy_done = false;   // nothing of the working copy is needed any more
    bool waits = false;       // something is to be tried again
    bool waits_newly = false; // and some of it was not tried before
    bool carried_out = false; // a request was, or was begun
};

// Carries out the requests. `copy` is the working copy, from its reader's place to its end, or null; `again` when it may
// have been worked on before.
QueuePassEnd QueuePass(QueueReader *copy, bool again);

// Brings in step what follows from the rows of a run, by the rules that keep it; to be called before the run ends.
void CatalogueFollow();

// Puts the lines from the reader's place up to the file's present end into the kept file, which the next pass begins with.
// False, logged, when that is not possible; the reader stands where it stood then.
[[nodiscard]] bool QueueLateLinesKeep(QueueReader *copy);
