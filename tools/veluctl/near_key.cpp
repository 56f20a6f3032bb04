// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/near_key.h"

#include <algorithm>
#include <vector>

#include "platform/letters.h"

namespace {

// One slip in so many letters: another program's key of the same length differs in more.
constexpr size_t kLettersPerSlip = 4;

size_t Difference(size_t one, size_t other) {
    return one > other ? one - other : other - one;
}

} // namespace

size_t EditDistance(std::string_view one, std::string_view other) {
    // Rows of the table of distances between beginnings of both: two back, one back, this one.
    std::vector<size_t> before_last;
    std::vector<size_t> last;
    std::vector<size_t> row(other.size() + 1);
    for (size_t at = 0; at <= other.size(); ++at)
        row[at] = at;
    for (size_t i = 1; i <= one.size(); ++i) {
        before_last = std::move(last);
        last = row;
        row[0] = i;
        for (size_t j = 1; j <= other.size(); ++j) {
            const bool same = Lower(one[i - 1]) == Lower(other[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            if (i > 1 && j > 1 && Lower(one[i - 1]) == Lower(other[j - 2]) &&
                Lower(one[i - 2]) == Lower(other[j - 1]))
                row[j] = std::min(row[j], before_last[j - 2] + 1);
        }
    }
    return row.back();
}

const ConfigurationKey *NearKey(std::string_view name) {
    const ConfigurationKey *nearest = nullptr;
    size_t least = 0;
    for (const ConfigurationKey &key : kConfigurationKeys) {
        const std::string_view known = key.name;
        const size_t slips = known.size() / kLettersPerSlip;
        if (name == known)
            return &key;
        if (Difference(name.size(), known.size()) > slips)
            continue;
        const size_t distance = EditDistance(name, known);
        if (distance <= slips && (nearest == nullptr || distance < least)) {
            nearest = &key;
            least = distance;
        }
    }
    return nearest;
}
