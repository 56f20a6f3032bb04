// SPDX-License-Identifier: GPL-2.0-or-later
//
// Which requests touch the same. Requests that wait in the kept file are known here, and each later one is held against
// them: it has to wait behind those that it touches, or their effects would come in another order than was asked.
#pragma once

#include <string>
#include <string_view>

#include "daemon/queue_hash.h"
#include "daemon/queue_line.h"
#include "platform/veluindex.h"

// The catalogues that a request may write to, or more.
struct QueueCatalogues {
    bool of[kCatalogues];

    [[nodiscard]] bool Has(Catalogue catalogue) const { return of[static_cast<size_t>(catalogue)]; }
};

[[nodiscard]] QueueCatalogues QueueCataloguesOf(const QueueRequest &request);

// The requests that wait. Their paths are kept as hashes: a path that shares another's hash by chance makes a request
// wait that need not.
struct QueueTouched {
    QueueHashTable paths;
    QueueCatalogues whole = {}; // requests about a whole catalogue are among them
    QueueCatalogues any = {};   // requests that may write to a catalogue are among them
};

void QueueTouchAdd(QueueTouched *touched, const QueueRequest &request);

// True when a path of the request is a path of one that waits, contains it or lies under it. Two slashes count as one,
// those at the end do not count. A table, a share that is indexed anew and the photo library touch every request about
// their catalogue that comes behind them; a share has the path that its link leads to. A table also waits for every
// request about its catalogue: rows that came back into it later would be those that it was to lose.
[[nodiscard]] bool QueueTouches(const QueueTouched &touched, const QueueRequest &request);

// The same for one path.
[[nodiscard]] bool QueueTouchesPath(const QueueTouched &touched, std::string_view path);
