// SPDX-License-Identifier: GPL-2.0-or-later
//
// Why a catalogue does not take what is to be stored in it.
#pragma once

#include <stdint.h>

#include <string>

struct StoreAway {
    std::string reason;   // for people; empty: nobody knows
    bool lasting = false; // it does not go by itself
};

// Says why requests are kept: what the daemon has logged of it since that moment (seconds of the epoch), as far as this user may read
// that, else what this program comes upon itself when it reads the catalogues.
StoreAway StoreAwayLook(int64_t since);
