// SPDX-License-Identifier: GPL-2.0-or-later
//
// What cameras and phones say by the names of files that were taken together: a raw photo and the picture that was made of it, a
// picture and the film of the moment around it, pictures of one burst.
#pragma once

#include <stdint.h>

#include <string_view>

enum class CompanionKind : uint8_t { none, raw, picture, film };

// The parts of a file's name, which are compared without regard to the case of ASCII.
struct CompanionName {
    CompanionKind kind = CompanionKind::none; // by its extension; none: it is taken with nothing else
    std::string_view stem = {};               // files of one stem and several kinds belong together
    std::string_view series = {};             // so do pictures of one series; empty: it is of none
    bool leads = false;                       // the camera has chosen it as the one of its series to be shown
};

CompanionKind CompanionKindOf(std::string_view name);

// Takes the name of a file apart; the parts are its own bytes.
CompanionName CompanionNameOf(std::string_view name);
