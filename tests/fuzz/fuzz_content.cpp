// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a file is, by its bytes. The first byte chooses the name's extension.
#include "reader/content/content.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/reader_file.h"

static int Try(const uint8_t *data, size_t size) {
    constexpr const char *kExtensions[] = {"", "mp3", "tga", "svg", "m3u"};
    if (size == 0)
        return 0;
    ReaderFile file(data + 1, size - 1);
    file.input.extension = kExtensions[data[0] % std::size(kExtensions)];
    const ContentFormat format = ContentLook(&file.input);
    if (ContentClassOf(format) == ContentClass::unknown && format != ContentFormat::unknown)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_content", Try);
