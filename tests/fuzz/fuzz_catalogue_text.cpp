// SPDX-License-Identifier: GPL-2.0-or-later
//
// Field text of both kinds: what comes out must be UTF-8, which a second pass leaves as it is.
#include "platform/index/text.h"

#include <stdint.h>
#include <stdlib.h>

#include "tests/fuzz/fuzz_target.h"

static int Try(const uint8_t *data, size_t size) {
    const auto *field = reinterpret_cast<const char *>(data);
    for (bool utf16 : {false, true}) {
        const std::string text = CatalogueText(field, size, utf16);
        // With room behind it, no character of the field can count as cut.
        std::string roomy = text + std::string(2, '\0');
        if (CatalogueText(roomy.data(), roomy.size(), false) != text)
            abort();
    }
    std::string in_place(field, size);
    CatalogueTextInPlace(in_place.data(), in_place.size());
    const std::string again = CatalogueText(in_place.data(), in_place.size(), false);
    if (size > 0 && again != in_place.c_str())
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_catalogue_text", Try);
