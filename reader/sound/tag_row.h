// SPDX-License-Identifier: GPL-2.0-or-later
//
// A row of a format's table: which fact a key is, and how its values are written.
#pragma once

#include <stdint.h>

#include "reader/protocol/fact_names.h"

// How a value is written.
enum class ValueForm : uint8_t {
    text,
    number,    // "128.5"
    whole,     // "12"
    pair,      // "3/12": the number, and the total that belongs to it
    flag,      // "1", "true"
    date,      // "2004-05-06", "2004": gives the year as well where the fact is the date
    gain,      // "-7.89 dB"
    gain_r128, // RFC 7845, section 5.2.1: 1/256 dB, and 5 dB below ReplayGain's level
    genre,     // "Rock", "17", "(17)"
    genre_id3, // likewise, and ID3's own "(17)(RX)Rock", "((Live)"
};

// A key ends in "*" when it stands for all that begin so. The first row of a fact that gives something counts, so that
// the order of rows is that of preference.
struct TagRow {
    const char *key;
    FactName fact;
    ValueForm form = ValueForm::text;
};
