// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/run_account.h"

#include <inttypes.h>
#include <syslog.h>

#include <algorithm>
#include <utility>

#include "platform/index/damage.h"
#include "platform/index/store.h"

namespace {

constexpr char kLogName[] = "store.c";

} // namespace

void AccountBegin(RunAccount *account) {
    RunAccount begun;
    for (size_t i = 0; i < kCatalogues; ++i) {
        begun.of[i].failures = account->of[i].failures;
        begun.of[i].losses = account->of[i].losses;
    }
    *account = std::move(begun);
}

void AccountLost(RunAccount *account, Catalogue catalogue, uint64_t request, const char *reason) {
    RunAccount::Part &part = account->of[static_cast<size_t>(catalogue)];
    if (request != 0)
        NumberSetAdd(&account->failed, request);
    if (part.lost++ == 0)
        part.reason = reason;
}

void AccountDoubt(RunAccount *account, Catalogue catalogue) {
    uint64_t &doubtful = account->of[static_cast<size_t>(catalogue)].doubtful;
    doubtful = std::max(doubtful, account->request);
}

void AccountTell(const RunAccount &account) {
    for (const Catalogue catalogue : {Catalogue::media, Catalogue::photo}) {
        const RunAccount::Part &part = account.of[static_cast<size_t>(catalogue)];
        if (part.known)
            continue;
        if (part.lost > 1)
            syslog(LOG_ERR, "%s (%d) The %s was away: %" PRIu64 " rows are not stored. (%s)", kLogName,
                   __LINE__, CatalogueName(catalogue), part.lost, part.reason.c_str());
        if (part.lost > 0)
            DamageTell(catalogue, part.reason);
    }
}
