// SPDX-License-Identifier: GPL-2.0-or-later
//
// The unit tests write to the daemon's real paths (/etc/veluinfo.conf, /var/lib/velu, /var/spool, ...), so
// they run only inside the sandbox of tests/sandbox, which owns those.
#include <gtest/gtest.h>

#include <stdio.h>
#include <stdlib.h>

int main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    const bool only_listing = testing::GTEST_FLAG(list_tests);
    if (!only_listing && getenv("VELU_SANDBOX") == nullptr) {
        fprintf(stderr, "unit_tests: run me through tests/sandbox: tests/sandbox %s\n", argv[0]);
        return 2;
    }
    return RUN_ALL_TESTS();
}
