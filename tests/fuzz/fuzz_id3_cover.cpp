// SPDX-License-Identifier: GPL-2.0-or-later
//
// Picture frames of both layouts, up to the cover file. To be run in tests/sandbox, which owns the place of
// the covers.
#include "audio/id3_cover.h"

#include "platform/veluindex.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    constexpr char kMedia[] = "/volume1/music";
    for (int version : {2, 3}) {
        Mp3FileCtx ctx;
        Mp3FileAttach(&ctx, MemoryFileOpen(data, size), static_cast<int64_t>(size));
        const uint32_t frame_size = Mp3ReadBE32(&ctx, 4);
        const int saved = Id3CoverSave(&ctx, 0, 1, version, frame_size, kMedia);
        char folder[4096];
        if (GetCoverFolder(kMedia, folder, sizeof folder) != 1)
            abort();
        // A cover is there when it was said so, and only then.
        if (access(folder, F_OK) != (saved == 1 ? 0 : -1))
            abort();
        CleanOldCover(folder);
    }
    return 0;
}

static const FuzzTarget kTarget("fuzz_id3_cover", Try);
