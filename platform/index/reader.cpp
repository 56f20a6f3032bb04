// SPDX-License-Identifier: GPL-2.0-or-later
//
// Opening the catalogues for programs that only read them.
#include "platform/veluindex.h"

#include <syslog.h>

namespace {

constexpr char kLogName[] = "reader.c";

} // namespace

VELUDB *VELUIndexReaderOpen(Catalogue catalogue) {
    char uri[kCatalogueUriSize];
    if (VELUIndexUriGet(catalogue, uri, sizeof uri) != 0) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return nullptr;
    }
    DatabaseHandle db(VELUDBOpenExisting(uri, CatalogueName(catalogue)));
    if (db != nullptr && VELUDBForbidWrites(db.get()) != 0) {
        syslog(LOG_ERR, "%s (%d) Failed to open the database of the %s. (%s)", kLogName, __LINE__,
               CatalogueName(catalogue), VELUDBErrorGet(db.get()));
        return nullptr;
    }
    return db.release();
}
