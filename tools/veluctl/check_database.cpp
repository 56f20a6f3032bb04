// SPDX-License-Identifier: GPL-2.0-or-later
//
// Whether the files of the catalogues are whole.
#include "platform/veludb.h"
#include "platform/veluindex.h"
#include "tools/veluctl/check.h"

namespace {

// SQLite reads all pages, and says "ok" or what it found first.
bool FileCheck(CatalogueReader *reader, Catalogue catalogue) {
    char uri[kCatalogueUriSize];
    if (VELUIndexUriGet(catalogue, uri, sizeof uri) != 0 || VELUDBFileGet(uri) == nullptr ||
        VELUDBIsMissing(uri))
        return true;
    const ResultHandle rows = CatalogueQuery(reader, catalogue, "pragma quick_check(1)", {});
    if (rows == nullptr)
        return false;
    const Value found = ValueTake(rows, 0, "quick_check");
    if (found == "ok")
        return true;
    // The last line has the place.
    const std::string words = found.value_or("");
    CatalogueFailureSet(reader, catalogue,
                        std::string(VELUDBFileGet(uri)) +
                            ": database disk image is malformed: " + words.substr(words.rfind('\n') + 1));
    return false;
}

} // namespace

bool DatabasesCheck(CatalogueReader *reader) {
    return FileCheck(reader, Catalogue::media) && FileCheck(reader, Catalogue::photo);
}
