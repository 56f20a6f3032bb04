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

// Adds a request that waits.
void QueueTouchAdd(QueueTouched *touched, const QueueRequest &request);

// Tells whether a request has to wait behind those: when a path of it is a path of theirs, contains one or lies under one
// (two slashes count as one, those at the end do not count); when one of theirs is about its catalogue as a whole (a table,
// a share that is indexed anew, the photo library). A share has the path that its link leads to. A table that is to be
// emptied waits behind every request about its catalogue: their rows, coming later, would be in it again.
[[nodiscard]] bool QueueTouches(const QueueTouched &touched, const QueueRequest &request);

// Tells the same of one path.
[[nodiscard]] bool QueueTouchesPath(const QueueTouched &touched, std::string_view path);
