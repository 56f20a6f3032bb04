// SPDX-License-Identifier: GPL-2.0-or-later
//
// The indexing queue: takes over what other programs have written and carries it out.
#pragma once

#include "daemon/queue_files.h"

// Written to at the end of every run: its time is when that was.
inline constexpr char kLastRunFile[] = "/var/run/veluindexd.last_run";

// Why requests are looked at: a signal says that some are queued, or it is time to try again what waits.
enum class QueueOccasion { queued, again };

// What there is to come back for.
struct QueueLeft {
    bool waits = false;       // requests that could not be stored
    bool waits_newly = false; // some of which have just come to that
    bool queue_waits = false; // a queue that had no turn
};

// Renames the queue to its working copy (or takes a copy that an interrupted run left) and carries out its lines in
// order, behind the requests of the kept file. Brings the catalogue safely to disk, and into the kept file what that
// could not take; then deletes the copy and tells the media servers. `again` leaves the queue alone.
//
// When the copy cannot be read to its end, or the kept file not be written, the copy stays and is done again.
QueueLeft IndexQueueProcess(QueueOccasion occasion);

// Has files read again that an older revision of the readers has read (queue_older), until `stop` says so, and tells the media
// servers when there were any.
void OlderFilesProcess(bool (*stop)());
