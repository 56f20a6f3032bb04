// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/queue/watcher_state.h"

#include <gtest/gtest.h>

TEST(WatcherState, ComesBackAsItWasWritten) {
    const WatcherState state = {12,        4711, 2, 3, {{"/a b", false}, {"/c", true}}, WatchFault::overflow,
                                1793450000};
    EXPECT_EQ(WatcherStateText(state), "pid 12\ndirectories 4711\nunwatched 2\nwatched /a b\naway "
                                       "/c\noverflows 3\nfault overflow 1793450000\n");
    EXPECT_EQ(WatcherStateParse(WatcherStateText(state)), state);
    EXPECT_EQ(WatcherStateParse(WatcherStateText({})), WatcherState());
}

TEST(WatcherState, SaysHowLongItWaits) {
    for (const double settle : {0.05, 3.0, 3600.0}) {
        WatcherState state;
        state.settle = settle;
        EXPECT_EQ(WatcherStateParse(WatcherStateText(state)), state);
    }
}

TEST(WatcherState, WritesAPathInOneLineByAnyLocale) {
    EXPECT_EQ(WatcherPathText("/a b/\xC3\xA9"), "/a b/\xC3\xA9");
    EXPECT_EQ(WatcherPathText("/a\nb\xFF"), "/a\\x0Ab\\xFF");
}

TEST(WatcherState, LeavesOutWhatItDoesNotKnow) {
    WatcherState known;
    known.directories = 7;
    EXPECT_EQ(WatcherStateParse("directories 7\nlater word\nempty\n\nfault unheard-of\nunwatched x"), known);
}

TEST(WatcherState, HasAWordAndATextForEachFault) {
    for (const WatchFault fault : {WatchFault::broken_off, WatchFault::overflow, WatchFault::limit,
                                   WatchFault::unwatched, WatchFault::queue}) {
        EXPECT_STRNE(WatchFaultWord(fault), "none");
        WatcherState state;
        state.fault = fault;
        EXPECT_EQ(WatcherStateParse(WatcherStateText(state)).fault, fault);
    }
}
