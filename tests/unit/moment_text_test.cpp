// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/moment_text.h"

#include <gtest/gtest.h>
#include <stdlib.h>

TEST(MomentText, HasOneFormWhateverTheCatalogueHas) {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
    EXPECT_EQ(MomentText("2026-07-31T11:30:59Z"), "2026-07-31 13:30:59");
    EXPECT_EQ(MomentText("2026-12-31T23:30:59Z"), "2027-01-01 00:30:59");
    unsetenv("TZ");
    tzset();
    for (const char *local :
         {"2026-07-01 08:03:09", "2026:07:01 08:03:09", "2026-7-1 8:3:9", "Wed Jul  1 08:03:09 2026"})
        EXPECT_EQ(MomentText(local), "2026-07-01 08:03:09") << local;
    for (const char *other :
         {"", "2026", "2026-07-01", "yesterday", "2026-07-01 08:03:09 x", "2026-13-01 08:03:09"})
        EXPECT_EQ(MomentText(other), other);
}
