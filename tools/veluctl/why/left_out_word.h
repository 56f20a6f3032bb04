// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reasons of the rules in a word each, for programs: they never change their meaning.
#pragma once

#include "daemon/walk_rules.h"

constexpr const char *LeftOutWord(LeftOut why) {
    switch (why) {
    case LeftOut::nothing:
        break;
    case LeftOut::hidden:
        return "hidden";
    case LeftOut::system:
        return "system";
    case LeftOut::marked:
        return "nomedia";
    case LeftOut::ignored:
        return "pattern";
    case LeftOut::subtitle:
        return "subtitle";
    case LeftOut::companion:
        return "companion";
    case LeftOut::unknown:
        return "extension";
    case LeftOut::special:
        return "special";
    case LeftOut::unseen:
        return "unseen";
    }
    return "";
}
