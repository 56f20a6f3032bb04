// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which start of the machine it is. What was written before the last one may be lost in part: later writes may have come to the
// disk, and earlier ones not.
#pragma once

// Where that is read, and noted.
struct MachineFiles {
    const char *now = "/proc/sys/kernel/random/boot_id";
    const char *noted = "/var/lib/velu/started";
};
extern MachineFiles machine_files;

// Notes the start of the machine that goes on.
void MachineStartNote();

// Has none noted.
void MachineStartForget();

// False when the start that was noted last goes on. True also when that cannot be told.
[[nodiscard]] bool MachineStartedSince();
