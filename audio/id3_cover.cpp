// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3_cover.h"

#include "audio/cover_file.h"
#include "audio/id3_version.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

#include <errno.h>
#include <string.h>
#include <strings.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>

namespace {

constexpr char kLogName[] = "metaid3.c";

constexpr int64_t kTypeBytes22 = 3; // "JPG", "PNG"
constexpr int kPictureTypeMax = 20;

constexpr int kNoFormat = 0;

struct TypeName {
    const char *text;
    CoverFormat format;
};

constexpr TypeName kTypes22[] = {{"jpg", kCoverJpeg}, {"png", kCoverPng}};
constexpr TypeName kTypes23[] = {
    {"image/jpeg", kCoverJpeg}, {"image/jpg", kCoverJpeg}, {"image/png", kCoverPng}};

struct ImageType {
    char text[kId3MimeTypeMax + 1] = {};
    int64_t next; // the position behind it
};

ImageType ImageTypeRead(Mp3FileCtx *ctx, int version, int64_t pos, int64_t end) {
    ImageType type;
    const int64_t length =
        version == kId3Version2 ? kTypeBytes22 : std::min<int64_t>(kId3MimeTypeMax, end - pos);
    int64_t i = 0;
    for (; i < length; ++i) {
        type.text[i] = static_cast<char>(Mp3ReadByte(ctx, pos + i));
        if (type.text[i] == '\0' && version != kId3Version2)
            break;
    }
    type.next = version == kId3Version2 ? pos + kTypeBytes22 : pos + i + 1;
    return type;
}

int FormatFind(int version, const char *text) {
    const auto find = [text](std::span<const TypeName> names) -> int {
        for (const TypeName &name : names) {
            if (strcasecmp(name.text, text) == 0)
                return name.format;
        }
        return kNoFormat;
    };
    return version == kId3Version2 ? find(kTypes22) : find(kTypes23);
}

// Copies `length` bytes at `pos` to the cover, filler for those behind the file's end.
bool ImageCopy(Mp3FileCtx *ctx, CoverFile *cover, int64_t pos, int64_t length) {
    while (length > 0) {
        std::span<const uint8_t> bytes = Mp3Window(ctx, pos, 1);
        if (bytes.empty())
            break;
        bytes = bytes.first(static_cast<size_t>(std::min(static_cast<int64_t>(bytes.size()), length)));
        if (!CoverFileWrite(cover, bytes))
            return false;
        pos += static_cast<int64_t>(bytes.size());
        length -= static_cast<int64_t>(bytes.size());
    }
    uint8_t filler[4096];
    memset(filler, kUnreadByte, sizeof filler);
    while (length > 0) {
        const auto count = std::min(static_cast<int64_t>(sizeof filler), length);
        if (!CoverFileWrite(cover, std::span(filler).first(static_cast<size_t>(count))))
            return false;
        length -= count;
    }
    return true;
}

bool CoverStore(Mp3FileCtx *ctx, CoverFile *cover, int64_t pos, int64_t length) {
    if (unlink(cover->cover_path) != 0 && errno != ENOENT) {
        syslog(LOG_ERR, "%s (%d) FAILED to unlink :%s,  reason=%s", kLogName, __LINE__, cover->cover_path,
               strerror(errno));
        return false;
    }
    return CoverFileCreate(cover) && ImageCopy(ctx, cover, pos, length) && CoverFileFinish(cover);
}

} // namespace

int Id3CoverSave(Mp3FileCtx *ctx, int64_t frame_pos, int cover_index, int version, uint32_t frame_size,
                 const char *path) {
    if (ctx == nullptr || path == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameters.", kLogName, __LINE__);
        return 0;
    }
    const int64_t data = frame_pos + (version == kId3Version2 ? kId3FrameHeader22 : kId3FrameHeader23);
    const int64_t end = data + frame_size;
    const ImageType type = ImageTypeRead(ctx, version, data + 1, end);
    const int format = FormatFind(version, type.text);
    if (format == kNoFormat) {
        syslog(LOG_ERR, "%s (%d) Wrong MIME type: %s, file:%s", kLogName, __LINE__, type.text, path);
        return 0;
    }
    const int picture_type = Mp3ReadByte(ctx, type.next);
    if (picture_type > kPictureTypeMax) {
        syslog(LOG_ERR, "%s (%d) Wrong cover type: %d", kLogName, __LINE__, picture_type);
        return 0;
    }
    if (frame_size > kPictureFrameMax || end - ctx->readable_end > kPictureFillMax)
        return 0;

    const int64_t description_end = Mp3FindZero(ctx, type.next + 1, end);
    const int64_t image = std::min(description_end + 1, end);
    const int64_t length = end - image;
    if (length < (format == kCoverJpeg ? kCoverJpegMin : kCoverPngMin))
        return 0;

    char cover_path[kMediaPathSize];
    if (GetCoverPath(path, cover_path, sizeof cover_path, picture_type, cover_index, format) == 0) {
        syslog(LOG_ERR, "%s (%d) FAILED to get CoverPath :%s", kLogName, __LINE__, path);
        return 0;
    }
    CoverFile cover{kLogName, path, cover_path};
    if (!CoverStore(ctx, &cover, image, length)) {
        CoverFileDiscard(&cover);
        return 0;
    }
    return 1;
}
