// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/broadcast_pages.h"

#include <iconv.h>

#include <iterator>

namespace {

// ETSI EN 300 468, annex A. What is missing converts itself (UCS-2) or is unknown to the C library (KSC 5601).
constexpr const char *kPages[] = {"ISO6937",     "ISO-8859-5",  "ISO-8859-6",  "ISO-8859-7",
                                  "ISO-8859-8",  "ISO-8859-9",  "ISO-8859-10", "ISO-8859-11",
                                  "ISO-8859-13", "ISO-8859-14", "ISO-8859-15", "GB2312"};

// Kept to the end of the program: closing one would unload its file.
iconv_t open_pages[std::size(kPages)];

} // namespace

void BroadcastPagesOpen() {
    if (open_pages[0] != nullptr)
        return;
    for (size_t page = 0; page < std::size(kPages); ++page)
        open_pages[page] = iconv_open("UTF-8", kPages[page]);
}
