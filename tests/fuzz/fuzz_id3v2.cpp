// SPDX-License-Identifier: GPL-2.0-or-later
//
// Both walks over the frames of a tag, the tag at the end, and the merge of what they give.
#include "audio/id3_merge.h"

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    for (auto *walk : {Id3v22FramesRead, Id3v23FramesRead}) {
        Mp3FileCtx ctx;
        Mp3FileAttach(&ctx, MemoryFileOpen(data, size), static_cast<int64_t>(size));
        Id3v1Block id3v1;
        Id3v1Read(&ctx, &id3v1);
        int version = 0;
        Id3v2HeaderRead(&ctx, &version);
        Id3v2Tag tag;
        walk(&tag, &ctx, version, "/volume1/music/song.mp3");
        const MpegHeaderInfo mpeg;
        MediaInfo record = {};
        Mp3InfoMerge(&record, &mpeg, &id3v1, &tag);
    }
    return 0;
}

static const FuzzTarget kTarget("fuzz_id3v2", Try);
