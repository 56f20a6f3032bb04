// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_away.h"

#include <stdint.h>

#include <algorithm>
#include <utility>

#include "daemon/queue_kept.h"
#include "daemon/queue_tell.h"
#include "platform/limits.h"
#include "platform/veluindex.h"

namespace {

constexpr Catalogue kBoth[kCatalogues] = {Catalogue::media, Catalogue::photo};

struct Away {
    bool away[kCatalogues] = {};
    bool back[kCatalogues] = {}; // which is yet to be told
    bool newly = false;          // likewise
    bool tells = false;          // once more, in the run that goes on
    int64_t told = 0;            // when, by the clock of kept requests
    int64_t pause = 0;           // until it is again
};
Away known;

bool IsAway() {
    return known.away[0] || known.away[1];
}

} // namespace

void AwayKnow() {
    known.tells = IsAway() && kept_clock() - known.told >= known.pause;
    for (const Catalogue catalogue : kBoth)
        if (known.away[static_cast<size_t>(catalogue)])
            VELUIndexRunKnownAway(catalogue, known.tells);
}

void AwayNote() {
    for (const Catalogue catalogue : kBoth) {
        const auto number = static_cast<size_t>(catalogue);
        const RunFared fared = VELUIndexRunFared(catalogue);
        if (fared == RunFared::untold)
            continue;
        const bool was_away = std::exchange(known.away[number], fared == RunFared::away);
        known.newly = known.newly || (known.away[number] && !was_away);
        known.back[number] = !known.away[number] && (was_away || known.back[number]);
    }
}

void AwayTell(size_t kept) {
    for (const Catalogue catalogue : kBoth)
        if (std::exchange(known.back[static_cast<size_t>(catalogue)], false))
            BackTell(catalogue, kept);
    const bool newly = std::exchange(known.newly, false);
    if (kept > 0 && (newly || !IsAway()))
        KeptTell(kept);
    if (!newly && !known.tells)
        return;
    known.pause = newly ? kQueueRetryFirst : std::min(known.pause * 2, kQueueRetryLast);
    known.told = kept_clock();
}

void AwayForget() {
    known = {};
}
