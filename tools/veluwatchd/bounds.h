// SPDX-License-Identifier: GPL-2.0-or-later
//
// The watcher's bounds and times.
#pragma once

#include <stddef.h>

#include <chrono>

// A change is queued when nothing has happened for this long: programs write a file in bits, rename it and set
// its times, all within a moment.
inline constexpr double kSettleSeconds = 3;
inline constexpr double kSettleSecondsMin = 0.05;
inline constexpr double kSettleSecondsMax = 3600;

// Changes that are held back at most; each takes a few hundred bytes. More are queued without waiting, and
// where the queue cannot be written they become requests for whole shares.
inline constexpr size_t kChangesMax = 20'000;

// Requests whose paths are remembered until the daemon has carried them out.
inline constexpr size_t kAskedMax = 100'000;

// How often what cannot be watched is indexed anew. A tree beyond the kernel's limit may be large, and to walk it
// keeps disks from sleeping.
inline constexpr double kRescanSeconds = 3600;
inline constexpr double kRescanSecondsMin = 1;
inline constexpr double kRescanSecondsMax = 30.0 * 24 * 3600;

// The two halves of a rename stand next to each other in the kernel's list, but may be read apart.
inline constexpr std::chrono::milliseconds kMovePatience(200);

// First halves that wait at most. Between the two there are only events of other processes at that moment; those of
// files that leave the shares are many, and each would be compared with all.
inline constexpr size_t kLeavingMax = 64;

// How often shares are looked for: a few calls that wake no disk.
inline constexpr double kCheckSeconds = 10;
inline constexpr double kCheckSecondsMin = 0.05;
inline constexpr double kCheckSecondsMax = 3600;

// How often a queue that could not be written is tried again.
inline constexpr std::chrono::seconds kQueueRetryPause(5);

// How often a number that changes all the time is told.
inline constexpr std::chrono::seconds kStatePause(1);

// Some 2,000 changes of files with short names.
inline constexpr size_t kEventBufferSize = 64 * 1024;
