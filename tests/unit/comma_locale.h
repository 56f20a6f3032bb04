// SPDX-License-Identifier: GPL-2.0-or-later
//
// A locale whose decimal point is a comma, for as long as this lives: in this process and in programs that it
// runs.
#pragma once

#include <locale.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "tests/unit/program_output.h"
#include "tests/unit/test_files.h"

struct CommaLocale {
    CommaLocale() {
        FileWrite(std::string(kFolder) + "/source", "LC_NUMERIC\n"
                                                    "decimal_point \",\"\n"
                                                    "thousands_sep \"\"\n"
                                                    "grouping -1\n"
                                                    "END LC_NUMERIC\n");
        // It warns of the categories that the source leaves out.
        ProgramRun(std::string("cd ") + kFolder +
                   " && localedef --force --no-archive -i ./source -f UTF-8 ./comma 2> /dev/null");
        setenv("LOCPATH", kFolder, 1);
        setenv("LC_NUMERIC", "comma", 1);
        setlocale(LC_NUMERIC, "");
    }
    ~CommaLocale() {
        unsetenv("LC_NUMERIC");
        unsetenv("LOCPATH");
        setlocale(LC_NUMERIC, "C");
        std::filesystem::remove_all(kFolder);
    }
    CommaLocale(const CommaLocale &) = delete;
    CommaLocale &operator=(const CommaLocale &) = delete;

    static constexpr char kFolder[] = "/tmp/comma-locale";
};
