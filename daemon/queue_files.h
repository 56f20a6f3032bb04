// SPDX-License-Identifier: GPL-2.0-or-later
//
// The files of the indexing queue.
#pragma once

// The folder of them all.
inline constexpr char kSpoolFolder[] = "/var/spool";

// Written by any program.
inline constexpr char kQueueFile[] = "/var/spool/velu_indexing_queue";

// What the daemon has taken over and works on.
inline constexpr char kQueueWorkingCopy[] = "/var/spool/velu_indexing_queue.tmp";

// Requests that could not be stored (queue_kept.h), and the same while it is written anew.
inline constexpr char kKeptFile[] = "/var/spool/velu_indexing_queue.kept";
inline constexpr char kKeptFileNew[] = "/var/spool/velu_indexing_queue.kept.new";
