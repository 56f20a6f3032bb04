// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/mp4_cover.h"

#include "audio/cover_file.h"
#include "platform/handle.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <memory>
#include <span>

namespace {

constexpr char kLogName[] = "mp4.c";

// The file has one picture that counts; it is stored as the front cover (id3.org 2.3.0, section 4.15).
constexpr int kFrontCover = 3;
constexpr int kCoverIndex = 1;

struct PictureKind {
    uint32_t type_code;
    CoverFormat format;
    size_t size_min;
};

constexpr PictureKind kKinds[] = {{kMp4CoverJpeg, kCoverJpeg, kCoverJpegMin},
                                  {kMp4CoverPng, kCoverPng, kCoverPngMin}};

const PictureKind *KindFind(uint32_t type_code) {
    for (const PictureKind &kind : kKinds) {
        if (kind.type_code == type_code)
            return &kind;
    }
    return nullptr;
}

using Picture = std::unique_ptr<uint8_t, CloseWith<free>>;

bool CoverStore(CoverFile *cover, std::span<const uint8_t> picture) {
    if (unlink(cover->cover_path) != 0 && errno != ENOENT) {
        syslog(LOG_ERR, "%s (%d) FAILED to unlink :%s, reason=%s", kLogName, __LINE__, cover->cover_path,
               strerror(errno));
        return false;
    }
    return CoverFileCreate(cover) && CoverFileWrite(cover, picture) && CoverFileFinish(cover);
}

} // namespace

int Mp4CoverArtWrite(MP4FileHandle handle, const char *path) {
    if (handle == MP4_INVALID_FILE_HANDLE || path == nullptr || *path == '\0') {
        syslog(LOG_ERR, "%s (%d) Bad parameters.", kLogName, __LINE__);
        return 0;
    }
    uint8_t *bytes = nullptr;
    uint32_t size = 0;
    uint32_t type_code = 0;
    if (!MP4GetMetadataCoverArt(handle, &bytes, &size, 0))
        return 0;
    const Picture picture(bytes);
    MP4GetMetadataCoverArtFileType(handle, &type_code, 0);
    const PictureKind *kind = KindFind(type_code);
    if (kind == nullptr) {
        syslog(LOG_ERR, "%s (%d) Wrong file type %d of cover art of %s.", kLogName, __LINE__,
               static_cast<int>(type_code), path);
        return 0;
    }
    if (size < kind->size_min)
        return 0;
    char cover_path[kMediaPathSize];
    if (GetCoverPath(path, cover_path, sizeof cover_path, kFrontCover, kCoverIndex, kind->format) == 0) {
        syslog(LOG_ERR, "%s (%d) FAILED to get CoverPath of %s", kLogName, __LINE__, path);
        return 0;
    }
    CoverFile cover{kLogName, path, cover_path};
    if (!CoverStore(&cover, {picture.get(), size})) {
        CoverFileDiscard(&cover);
        return 0;
    }
    return 1;
}
