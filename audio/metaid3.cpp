// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/metaid3.h"

#include "audio/cover_file.h"
#include "audio/id3_merge.h"
#include "audio/id3_version.h"
#include "audio/id3v1.h"
#include "audio/id3v2.h"
#include "audio/mp3_file.h"
#include "audio/mpeg_header.h"
#include "audio/vbr_header.h"

#include <syslog.h>

namespace {

constexpr char kLogName[] = "metaid3.c";

// Reads the ID3v2 tag and returns the position behind it.
int64_t Id3v2Read(Mp3FileCtx *ctx, const char *path, Id3v2Tag *tag) {
    int version = 0;
    const int64_t end = Id3v2HeaderRead(ctx, &version);
    if (end > 0 && version == kId3Version2)
        Id3v22FramesRead(tag, ctx, version, path);
    else if (end > 0 && version >= kId3Version3)
        Id3v23FramesRead(tag, ctx, version, path);
    return end;
}

} // namespace

int Mp3InfoGet(const char *path, MediaInfo *record) {
    if (path == nullptr || record == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameters.", kLogName, __LINE__);
        return -1;
    }
    CoversClean(path);

    Mp3FileCtx ctx;
    if (!Mp3FileOpen(path, &ctx, kLogName))
        return -1;
    Id3v1Block id3v1;
    if (Id3v1Read(&ctx, &id3v1) < 0)
        syslog(LOG_ERR, "%s (%d) Failed to parse ID3V1.", kLogName, __LINE__);
    Id3v2Tag id3v2 = {};
    const int64_t start = Id3v2Read(&ctx, path, &id3v2);

    // A frame counts when the next header follows directly. Zero bytes between the two do not help: they are
    // skipped only as long as the byte behind is zero too, which ends on a zero byte, and no header begins
    // with one.
    const ByteSource source = Mp3Source(&ctx);
    MpegHeaderInfo mpeg;
    int64_t pos = start;
    if (MpegFrameSearch(&source, &pos, &mpeg, FrameGap::none) == 0) {
        syslog(LOG_ERR, "%s (%d) Can't find valid mpeg header: %s", kLogName, __LINE__, path);
        if (id3v2.cover_count > 0)
            CoversClean(path);
        return -1;
    }
    if (XingHeaderRead(&ctx, start, &mpeg) != 0)
        VbriHeaderRead(&ctx, start, &mpeg);
    Mp3InfoMerge(record, &mpeg, &id3v1, &id3v2);
    return 0;
}
