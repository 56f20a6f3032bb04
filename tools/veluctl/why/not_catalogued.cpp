// SPDX-License-Identifier: GPL-2.0-or-later
//
// What add --wait has not brought into the catalogue.
#include "tools/shared/safe_text.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/why/why.h"

namespace {

// A list of a whole library may be asked for; the rest is a number.
constexpr long long kToldMax = 20;

} // namespace

long long NotCataloguedTell(CatalogueReader *reader, const std::vector<std::string> &paths) {
    long long count = 0;
    for (const std::string &path : paths) {
        Catalogued found;
        if (!CataloguedRead(reader, path, &found))
            return -1;
        const bool known = !found.kinds.empty();
        if (known && (!found.against || found.against->word != std::string_view(kTroubleWord)))
            continue;
        if (++count > kToldMax)
            continue;
        const Reason reason = known ? *found.against : ReasonOf(reader, path);
        Complain(kNotCatalogued,
                 Quoted(path) + (known ? " has a row by its name alone: " : " is not in the catalogue: ") +
                     SafeText(reason.text));
        if (!reason.command.empty())
            Complain(kNotCatalogued, "to change that: " + reason.command);
    }
    if (count > kToldMax)
        Complain(kNotCatalogued, "and " + Counted(count - kToldMax, "more path"));
    return count;
}
