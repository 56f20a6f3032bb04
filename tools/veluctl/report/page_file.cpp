// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/page_file.h"

#include <stdio.h>

#include "tools/veluctl/replaced_file.h"

std::string PageFileWrite(const std::string &path, std::string_view page) {
    ReplacedFile file;
    if (std::string problem = file.Open(path); !problem.empty())
        return problem;
    fwrite(page.data(), 1, page.size(), file.out()); // whether it was written shows at the end
    return file.Commit();
}
