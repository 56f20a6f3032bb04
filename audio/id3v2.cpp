// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/id3v2.h"

#include "audio/id3_cover.h"
#include "audio/id3_version.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>
#include <syslog.h>

namespace {

constexpr char kLogName[] = "metaid3.c";

constexpr int64_t kTagHeaderBytes = 10;
constexpr int64_t kTagSizeOffset = 6;

// Where a comment's description begins: behind its encoding byte and language.
constexpr int64_t kCommentDescription = 4;

enum Encoding : int { kUtf16WithMark = 1, kUtf16BigEndian = 2 };

// The characters of a frame id as one number, in upper case: ids compare without regard to case.
constexpr uint32_t IdAppend(uint32_t id, uint8_t c) {
    const bool is_lower = c >= 'a' && c <= 'z';
    return id << 8 | static_cast<uint32_t>(is_lower ? c - 'a' + 'A' : c);
}

constexpr uint32_t Id(const char *text) {
    uint32_t id = 0;
    for (; *text != '\0'; ++text)
        id = IdAppend(id, static_cast<uint8_t>(*text));
    return id;
}

// What differs between the frames of version 2 and those of later versions.
struct FrameLayout {
    int64_t header_bytes;
    int64_t id_bytes;
    uint32_t picture;
    bool is_version2;
};

constexpr FrameLayout kLayout22 = {kId3FrameHeader22, 3, Id("PIC"), true};
constexpr FrameLayout kLayout23 = {kId3FrameHeader23, 4, Id("APIC"), false};

// An offset that is no flag's: the record begins with a text field.
constexpr size_t kNoFlag = 0;

// A frame and the field that it fills. A field without a flag is a number: its text is taken byte by byte, up
// to a slash ("3/12" is the third of twelve).
struct TextField {
    uint32_t id22;
    uint32_t id23;
    size_t offset;
    size_t size;
    size_t flag_offset;
};

constexpr TextField kTextFields[] = {
    {Id("TT2"), Id("TIT2"), offsetof(Id3v2Tag, title), sizeof(Id3v2Tag::title),
     offsetof(Id3v2Tag, title_utf16)},
    {Id("TP1"), Id("TPE1"), offsetof(Id3v2Tag, artist), sizeof(Id3v2Tag::artist),
     offsetof(Id3v2Tag, artist_utf16)},
    {Id("TAL"), Id("TALB"), offsetof(Id3v2Tag, album), sizeof(Id3v2Tag::album),
     offsetof(Id3v2Tag, album_utf16)},
    {Id("TYE"), Id("TYER"), offsetof(Id3v2Tag, year), sizeof(Id3v2Tag::year), offsetof(Id3v2Tag, year_utf16)},
    {Id("TCO"), Id("TCON"), offsetof(Id3v2Tag, genre), sizeof(Id3v2Tag::genre),
     offsetof(Id3v2Tag, genre_utf16)},
    {Id("TRK"), Id("TRCK"), offsetof(Id3v2Tag, track), sizeof(Id3v2Tag::track), kNoFlag},
    {Id("TPA"), Id("TPOS"), offsetof(Id3v2Tag, disc), sizeof(Id3v2Tag::disc), kNoFlag},
    {Id("TCM"), Id("TCOM"), offsetof(Id3v2Tag, composer), sizeof(Id3v2Tag::composer),
     offsetof(Id3v2Tag, composer_utf16)},
    {Id("COM"), Id("COMM"), offsetof(Id3v2Tag, comment), sizeof(Id3v2Tag::comment),
     offsetof(Id3v2Tag, comment_utf16)},
};

struct Frame {
    int64_t pos;   // of its header
    int64_t data;  // behind its header
    uint32_t size; // of the data, as claimed
};

// The text of a frame as it is stored.
struct FrameText {
    // One byte more than is copied, so that single-byte text is always terminated.
    char bytes[kId3TextFrameMax + 2] = {};
    bool is_utf16 = false;
};

constexpr size_t kTextCopyMax = sizeof(FrameText::bytes) - 1;

const TextField *TextFieldFind(const FrameLayout &layout, uint32_t id) {
    for (const TextField &field : kTextFields) {
        if (id == (layout.is_version2 ? field.id22 : field.id23))
            return &field;
    }
    return nullptr;
}

bool HasByteOrderMark(const char *text) {
    const auto b0 = static_cast<uint8_t>(text[0]);
    const auto b1 = static_cast<uint8_t>(text[1]);
    return (b0 == 0xFF && b1 == 0xFE) || (b0 == 0xFE && b1 == 0xFF);
}

bool HasByteOrderMarkAt(Mp3FileCtx *ctx, int64_t pos) {
    const char mark[2] = {static_cast<char>(Mp3ReadByte(ctx, pos)),
                          static_cast<char>(Mp3ReadByte(ctx, pos + 1))};
    return HasByteOrderMark(mark);
}

// Copies the text of a frame. False when it has none.
bool TextRead(Mp3FileCtx *ctx, const FrameLayout &layout, const Frame &frame, bool is_comment,
              FrameText *text) {
    const int64_t end = frame.data + frame.size;
    const int encoding = Mp3ReadByte(ctx, frame.data);
    int64_t pos = frame.data + 1;
    if (is_comment) {
        // The description ends at its first zero byte, in UTF-16 too.
        const int64_t zero = Mp3FindZero(ctx, frame.data + kCommentDescription, end);
        pos = zero < end ? zero + 1 : end;
    }
    if (pos >= end)
        return false;

    size_t used = 0;
    if (encoding == kUtf16WithMark) {
        text->is_utf16 = HasByteOrderMarkAt(ctx, pos);
    } else if (encoding == kUtf16BigEndian && !layout.is_version2) {
        text->is_utf16 = true;
        text->bytes[used++] = '\xFE';
        text->bytes[used++] = '\xFF';
    }
    for (; pos < end; ++pos) {
        text->bytes[used] = static_cast<char>(Mp3ReadByte(ctx, pos));
        if (used < kTextCopyMax - 1)
            ++used;
    }
    return true;
}

void TextStore(Id3v2Tag *tag, const TextField &field, const FrameText &text) {
    char *const record = reinterpret_cast<char *>(tag);
    char *const out = record + field.offset;
    const bool is_number = field.flag_offset == kNoFlag;
    const bool is_utf16 = text.is_utf16 && !is_number;
    if (is_utf16) {
        Id3CopyUtf16(text.bytes, out, field.size);
    } else {
        snprintf(out, field.size, "%s", text.bytes);
    }
    if (is_number) {
        char *slash = strchr(out, '/');
        if (slash != nullptr)
            *slash = '\0';
    } else {
        const int32_t flag = is_utf16 ? 1 : 0;
        memcpy(record + field.flag_offset, &flag, sizeof flag);
    }
}

uint32_t IdRead(Mp3FileCtx *ctx, const FrameLayout &layout, int64_t pos) {
    uint32_t id = 0;
    for (int64_t i = 0; i < layout.id_bytes; ++i)
        id = IdAppend(id, static_cast<uint8_t>(Mp3ReadByte(ctx, pos + i)));
    return id;
}

uint32_t FrameSizeRead(Mp3FileCtx *ctx, const FrameLayout &layout, int version, int64_t pos) {
    if (layout.is_version2) {
        // Three bytes: the last of the four-byte number that begins with the id's last character.
        return Mp3ReadBE32(ctx, pos + layout.id_bytes - 1) & 0xFFFFFF;
    }
    const int64_t size_pos = pos + layout.id_bytes;
    return version == kId3Version3 ? Mp3ReadBE32(ctx, size_pos) : Mp3ReadSyncsafe(ctx, size_pos);
}

void FramesRead(Id3v2Tag *tag, Mp3FileCtx *ctx, int version, const char *path, const FrameLayout &layout) {
    memset(tag, 0, sizeof *tag);
    const int64_t end = Mp3ReadSyncsafe(ctx, kTagSizeOffset) + kTagHeaderBytes;
    int64_t pos = kTagHeaderBytes;
    int pictures = 0;
    while (pos < end) {
        const int first = Mp3ReadByte(ctx, pos);
        if (first < '0' || first > 'Z')
            break;
        const uint32_t id = IdRead(ctx, layout, pos);
        const Frame frame = {pos, pos + layout.header_bytes, FrameSizeRead(ctx, layout, version, pos)};
        pos = frame.data + frame.size;

        if (id == layout.picture) {
            if (tag->cover_count < 1 && pictures++ < kId3PicturesMax)
                tag->cover_count +=
                    Id3CoverSave(ctx, frame.pos, tag->cover_count + 1, version, frame.size, path);
            continue;
        }
        if (frame.size > kId3TextFrameMax)
            break;
        const TextField *field = TextFieldFind(layout, id);
        if (field == nullptr)
            continue;
        // The first comment that is not empty stays; of the other fields, the last.
        const bool is_comment = field->offset == offsetof(Id3v2Tag, comment);
        if (is_comment && tag->comment[0] != '\0')
            continue;
        FrameText text;
        if (TextRead(ctx, layout, frame, is_comment, &text))
            TextStore(tag, *field, text);
    }
}

bool IsMissing(const Id3v2Tag *tag, const Mp3FileCtx *ctx, const char *path) {
    return tag == nullptr || ctx == nullptr || path == nullptr;
}

} // namespace

int64_t Id3v2HeaderRead(Mp3FileCtx *ctx, int *version) {
    *version = 0;
    if (Mp3ReadByte(ctx, 0) != 'I' || Mp3ReadByte(ctx, 1) != 'D' || Mp3ReadByte(ctx, 2) != '3')
        return 0;
    *version = Mp3ReadByte(ctx, 3);
    return Mp3ReadSyncsafe(ctx, kTagSizeOffset) + kTagHeaderBytes;
}

void Id3v22FramesRead(Id3v2Tag *tag, Mp3FileCtx *ctx, int version, const char *path) {
    if (IsMissing(tag, ctx, path)) {
        syslog(LOG_ERR, "%s (%d) Bad parameters.", kLogName, __LINE__);
        return;
    }
    FramesRead(tag, ctx, version, path, kLayout22);
}

void Id3v23FramesRead(Id3v2Tag *tag, Mp3FileCtx *ctx, int version, const char *path) {
    if (IsMissing(tag, ctx, path)) {
        syslog(LOG_ERR, "%s (%d) Bad parameters.", kLogName, __LINE__);
        return;
    }
    FramesRead(tag, ctx, version, path, kLayout23);
}

void Id3CopyUtf16(const char *src, char *dst, size_t limit) {
    memset(dst, 0, limit);
    if (!HasByteOrderMark(src))
        return;
    for (size_t i = 0; i + 2 < limit && (src[i] != '\0' || src[i + 1] != '\0'); i += 2) {
        dst[i] = src[i];
        dst[i + 1] = src[i + 1];
    }
}
