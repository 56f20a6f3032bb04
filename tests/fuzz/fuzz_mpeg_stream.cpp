// SPDX-License-Identifier: GPL-2.0-or-later
//
// The reader of MPEG video, from the file to the record.
#include "container/metavideo.h"

#include "platform/media_record.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/fuzz/memory_file.h"

static int Try(const uint8_t *data, size_t size) {
    const MemoryFile file(data, size);
    MediaInfo record = {};
    if (MpegVideoInfoGet(file.path.c_str(), &record) != 0 && (record.width != 0 || record.duration != 0))
        abort();
    // Beyond these no header can say more: 14 bits each.
    if (record.width > 0x3FFF || record.height > 0x3FFF || record.channels > 3)
        abort();
    return 0;
}

static const FuzzTarget kTarget("fuzz_mpeg_stream", Try);
