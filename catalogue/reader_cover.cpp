// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/reader_cover.h"

#include <errno.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>

#include "audio/cover_file.h"
#include "platform/file.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "reader_cover.c";

// A reader gives the picture that counts; it is stored as the front cover (id3.org 2.3.0, section 4.15).
constexpr int kFrontCover = 3;
constexpr int kCoverIndex = 1;

// What is copied at a time.
constexpr size_t kCopiedBytes = 65536;

int CoverFormatOf(PictureFormat format) {
    switch (format) {
    case PictureFormat::jpeg:
        return kCoverJpeg;
    case PictureFormat::png:
        return kCoverPng;
    case PictureFormat::none:
    case PictureFormat::webp:
    case PictureFormat::gif:
        break;
    }
    return 0;
}

bool PictureCopy(const ReadResult &read, CoverFile *cover) {
    static uint8_t bytes[kCopiedBytes];
    for (uint64_t done = 0; done < read.answer.picture_bytes;) {
        const auto wanted =
            static_cast<size_t>(std::min<uint64_t>(sizeof bytes, read.answer.picture_bytes - done));
        if (!FileReadAt(read.picture, done, bytes, wanted) || !CoverFileWrite(cover, {bytes, wanted}))
            return false;
        done += wanted;
    }
    return true;
}

} // namespace

bool ReaderCoverSave(const ReadResult &read, const char *path) {
    const int format = CoverFormatOf(read.answer.picture);
    if (format == 0)
        return false;
    char cover_path[kMediaPathSize];
    if (GetCoverPath(path, cover_path, sizeof cover_path, kFrontCover, kCoverIndex, format) == 0) {
        syslog(LOG_ERR, "%s (%d) FAILED to get CoverPath of %s", kLogName, __LINE__, path);
        return false;
    }
    CoverFile cover{kLogName, path, cover_path};
    if (CoverFileCreate(&cover) && PictureCopy(read, &cover) && CoverFileFinish(&cover))
        return true;
    CoverFileDiscard(&cover);
    return false;
}
