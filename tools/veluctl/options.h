// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a command line asks for.
#pragma once

#include <stdint.h>

#include <string>
#include <vector>

#include "tools/veluctl/row_writer.h"

// By how much the lengths of one recording may differ unless asked otherwise: silence at its ends is cut in different ways.
inline constexpr uint32_t kToleranceSeconds = 2;

inline constexpr uint32_t kEveryRow = UINT32_MAX; // as a limit: none

struct Options {
    std::vector<std::string> paths; // add, remove
    std::string path;               // show, why, dump, report, forget, share; what export writes
    std::string new_path;
    std::string old_path;
    std::string what;  // reindex, refresh, config, list, recent, missing, duplicates, export, share, feature
    std::string name;  // share, feature
    std::string input; // a file of paths, or "-"
    bool null_input = false;
    bool force = false;
    bool no_signal = false;
    bool wait = false;
    uint32_t timeout = 0; // seconds; 0: as long as it takes

    bool json = false;
    bool csv = false;
    std::vector<std::string> kinds;
    std::string directory;
    std::vector<std::string> words; // find, export
    std::string sort;
    std::string group;
    bool playlist = false;
    uint32_t limit = kEveryRow;
    uint32_t tolerance = kToleranceSeconds; // duplicates

    bool every_reader = false;
    bool everything = false; // log
    bool watch = false;      // status
    bool fix = false;
    bool no_check = false;
    bool yes = false;
    bool index = false;

    [[nodiscard]] Form form() const { return json ? Form::json : csv ? Form::csv : Form::table; }
};
