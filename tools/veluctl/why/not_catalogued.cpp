// SPDX-License-Identifier: GPL-2.0-or-later
//
// What add --wait has not brought into the catalogue.
#include "tools/shared/safe_text.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/shell_word.h"
#include "tools/veluctl/why/why.h"

namespace {

// A list of a whole library may be asked for; the rest is a number.
constexpr long long kToldMax = 20;

// Says what is wrong with a path: nothing (0), something (1), or it cannot be told (-1). It prints only where `told` allows it.
int PathTell(CatalogueReader *reader, const std::string &path, bool told) {
    Catalogued found;
    if (!CataloguedRead(reader, path, &found))
        return -1;
    const bool known = !found.kinds.empty();
    const bool in_trouble = known && found.against && found.against->word == std::string_view(kTroubleWord);
    const int64_t below = known ? TroubledBelow(reader, path) : 0;
    if (below < 0)
        return -1;
    if (known && !in_trouble && below == 0)
        return 0;
    if (!told)
        return 1;
    if (below > 0) {
        Complain(kNotCatalogued,
                 Quoted(path) + " holds " + Counted(below, "file") + " that could not be read:");
        CommandTell("veluctl find has:trouble --dir " + ShellWord(path));
        return 1;
    }
    const Reason reason = known ? *found.against : ReasonOf(reader, path);
    Complain(kNotCatalogued, Quoted(path) +
                                 (known ? " has a row by its name alone: " : " is not in the catalogue: ") +
                                 SafeText(reason.text));
    if (!reason.command.empty())
        Complain(kNotCatalogued, "to change that: " + reason.command);
    return 1;
}

} // namespace

long long NotCataloguedTell(CatalogueReader *reader, const std::vector<std::string> &paths) {
    long long count = 0;
    for (const std::string &path : paths) {
        const int wrong = PathTell(reader, path, count < kToldMax);
        if (wrong < 0)
            return -1;
        count += wrong;
    }
    if (count > kToldMax)
        Complain(kNotCatalogued, "and " + Counted(count - kToldMax, "more path"));
    return count;
}
