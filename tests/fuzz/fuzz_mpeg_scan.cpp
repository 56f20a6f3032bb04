// SPDX-License-Identifier: GPL-2.0-or-later
//
// The frame search with both gaps, and the VBR headers of what it finds.
#include "audio/mpeg_header.h"
#include "audio/vbr_header.h"

#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    Mp3FileCtx ctx;
    Mp3FileAttach(&ctx, MemoryFileOpen(data, size), static_cast<int64_t>(size));
    const ByteSource source = Mp3Source(&ctx);
    for (FrameGap gap : {FrameGap::none, FrameGap::zeros}) {
        int64_t pos = 0;
        MpegHeaderInfo info;
        if (MpegFrameSearch(&source, &pos, &info, gap) == 0)
            continue;
        if (MpegHeaderCheck(&source, pos) != 0 || info.header_pos != pos)
            abort();
        XingHeaderRead(&ctx, 0, &info);
        VbriHeaderRead(&ctx, 0, &info);
    }
    return 0;
}

static const FuzzTarget kTarget("fuzz_mpeg_scan", Try);
