// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/syntax/iso_container.h"

namespace {

struct BrandRow {
    std::string_view begin;
    const char *name;
};

constexpr BrandRow kBrands[] = {
    {"qt  ", "mov"}, {"M4A ", "m4a"}, {"M4B ", "m4a"}, {"3g2", "3g2"},
    {"3gp", "3gp"},  {"mjp2", "mj2"}, {"mj2s", "mj2"},
};

} // namespace

const char *IsoContainerName(std::string_view brand) {
    if (brand.empty())
        return "mov";
    for (const BrandRow &row : kBrands) {
        if (brand.starts_with(row.begin))
            return row.name;
    }
    return "mp4";
}
