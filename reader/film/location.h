// SPDX-License-Identifier: GPL-2.0-or-later
//
// Where a film was taken, as telephones and cameras write it (ISO 6709, annex H): "+48.8577+002.2950+035.000/".
#pragma once

extern "C" {
#include <libavutil/dict.h>
}

#include "reader/protocol/fact_list.h"

void LocationRead(const AVDictionary *tags, FactList *facts);
