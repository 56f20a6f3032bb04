// SPDX-License-Identifier: GPL-2.0-or-later
//
// What veluctl ends with. Scripts depend on the numbers: they never change their meaning.
#pragma once

enum ExitCode : int {
    kDone = 0,
    kFound = 1,
    kUsage = 2,
    kRefused = 3,
    kNoRights = 4,
    kNotRunning = 5,
    kUnreachable = 6,
    kNotFinished = 7,
    kFailed = 8,
    kNotCatalogued = 9
};

struct ExitCodeText {
    ExitCode code;
    const char *meaning;
};

// For the help and the manual.
inline constexpr ExitCodeText kExitCodes[] = {
    {kDone, "Done; nothing wrong was found."},
    {kFound, "check, config, missing or duplicates found something, or list, find, export, log, recent, "
             "show, why, dump or share list found nothing."},
    {kUsage, "The command line was wrong."},
    {kRefused, "A path or a name was refused; nothing was queued or changed."},
    {kNoRights, "The queue or the setup may not be written, or the daemon not be signalled, by this user."},
    {kNotRunning, "The daemon does not run. What was queued is done at its next start."},
    {kUnreachable,
     "A catalogue cannot be reached, or takes nothing. What --wait has waited for is kept by the "
     "daemon, which tries it again."},
    {kNotFinished, "The run did not end within the time of --timeout, or the daemon ended before it. Ctrl-C "
                   "ends the waiting alone, by the signal: what was queued is done."},
    {kFailed, "Something else failed: a full disk, no memory, a log that cannot be read."},
    {kNotCatalogued, "The run of add --wait has ended, and something that was asked for is not in the "
                     "catalogue or could not be read."},
};
