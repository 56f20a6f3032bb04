// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/shared/near_name.h"

#include <algorithm>
#include <vector>

#include "platform/letters.h"

namespace {

// One slip in so many letters: another program's name of the same length differs in more.
constexpr size_t kLettersPerSlip = 4;

// Where only these names can be meant, a slip in the shortest of them counts, too.
constexpr size_t kLettersPerSlipMeant = 3;

// A single letter is no beginning of anything.
constexpr size_t kBeginningMin = 2;

size_t Difference(size_t one, size_t other) {
    return one > other ? one - other : other - one;
}

const char *Nearest(std::string_view name, std::span<const char *const> names, size_t letters_per_slip) {
    const char *nearest = nullptr;
    size_t least = 0;
    for (const char *one : names) {
        const std::string_view known = one;
        const size_t slips = known.size() / letters_per_slip;
        if (name == known)
            return one;
        if (Difference(name.size(), known.size()) > slips)
            continue;
        const size_t distance = EditDistance(name, known);
        if (distance <= slips && (nearest == nullptr || distance < least)) {
            nearest = one;
            least = distance;
        }
    }
    return nearest;
}

const char *OnlyBeginning(std::string_view name, std::span<const char *const> names) {
    const auto begins = [name](const char *one) { return std::string_view(one).starts_with(name); };
    return name.size() >= kBeginningMin && std::ranges::count_if(names, begins) == 1
               ? *std::ranges::find_if(names, begins)
               : nullptr;
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

const char *NearName(std::string_view name, std::span<const char *const> names) {
    return Nearest(name, names, kLettersPerSlip);
}

std::string MeantHint(std::string_view name, std::span<const char *const> names, const char *front) {
    const char *meant = OnlyBeginning(name, names);
    if (meant == nullptr)
        meant = Nearest(name, names, kLettersPerSlipMeant);
    return meant != nullptr ? std::string("; did you mean ") + front + meant + "?" : std::string();
}
