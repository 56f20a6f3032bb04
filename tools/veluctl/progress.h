// SPDX-License-Identifier: GPL-2.0-or-later
//
// The display of --wait: one line that changes on a terminal, else a line when something has changed.
#pragma once

#include <stdint.h>
#include <stdio.h>

#include <string>

#include "tools/veluctl/run_view.h"

class Progress {
public:
    Progress(FILE *out, int64_t rows_before);

    // Shows a moment of the run. `rows` are the files catalogued, -1 when not known; `seconds` count from the
    // run's beginning.
    void Show(const RunView &view, int64_t rows, double seconds);
    // Shows the last moment, and what came of it where the daemon says that; the line is over.
    void Finish(const RunView &view, int64_t rows, double seconds);
    // Leaves what is shown, and goes to the next line.
    void End();

private:
    FILE *out_;
    bool terminal_;
    int64_t rows_before_;
    bool running_ = false;
    double run_begin_ = 0;
    // What was printed last, where lines are printed.
    std::string last_;
    double last_time_ = 0;
    Phase last_phase_ = Phase::queued;
};

// Returns what is shown of a moment: phase, and files of files by what the daemon says; where it says nothing, lines, files and their
// rate.
std::string ProgressText(const RunView &view, int64_t rows_before, int64_t rows, double run_seconds);

// Returns what is worked on: the folder, or the request and the file that is open.
std::string ProgressPlace(const RunView &view);
