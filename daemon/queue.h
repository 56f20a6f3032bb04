// SPDX-License-Identifier: GPL-2.0-or-later
//
// The indexing queue: takes over what other programs have written and carries it out.
#pragma once

inline constexpr char kQueueFile[] = "/var/spool/velu_indexing_queue";
inline constexpr char kQueueWorkingCopy[] = "/var/spool/velu_indexing_queue.tmp";

// Written to at the end of every run: its time is when that was.
inline constexpr char kLastRunFile[] = "/var/run/veluindexd.last_run";

// Renames the queue to its working copy (or takes a copy that an interrupted run left), carries out its lines in
// order, brings the catalogue safely to disk, deletes the copy and tells the media servers.
//
// When the catalogue could not take the rows, or the copy could not be read to its end, the copy stays and its
// lines are carried out again. Returns after how many wake-ups of the main loop that, or a queue that had to
// wait for it, is to be tried; 0 when nothing waits.
int IndexQueueProcess();
