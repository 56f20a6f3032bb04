// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/mpeg.h"

#include <optional>

#include "platform/limits.h"
#include "reader/sound/end_tags.h"
#include "reader/sound/frame_walk.h"
#include "reader/sound/sound_bytes.h"
#include "reader/syntax/mpeg_header.h"

namespace {

// What is looked at in one go: two of the longest frames (of free format, 640 kbit/s at 32 kHz) and a Xing header fit.
constexpr size_t kLookSize = 8192;

// Headers of frames that must follow one another at the beginning: a sync word alone is in any data.
constexpr int kFramesInARow = 3;

struct FirstFrame {
    int64_t offset = 0;
    MpegHeader header;
};

// The length that frames of free format have: up to the next header like it.
uint32_t FreeFormatBytes(Bytes data, const MpegHeader &header) {
    for (size_t at = kMpegHeaderSize; at + kMpegHeaderSize <= data.size(); ++at) {
        const MpegHeader next = MpegHeaderParse(data.subspan(at));
        if (MpegHeadersMatch(header, next) && next.channels == header.channels)
            return static_cast<uint32_t>(at);
    }
    return 0;
}

// Whether frames follow one another from here on. `is_end`: of `data`, where the sound ends.
bool FramesFollow(Bytes data, MpegHeader *header, bool is_end) {
    if (header->bitrate == 0)
        header->bytes = FreeFormatBytes(data, *header);
    size_t at = header->bytes;
    const uint32_t unpadded = header->bytes - std::min(header->bytes, header->padding);
    for (int frame = 1; at != 0 && frame < kFramesInARow; ++frame) {
        if (at + kMpegHeaderSize > data.size())
            return is_end && frame > 1;
        const MpegHeader next = MpegHeaderParse(data.subspan(at));
        if (!MpegHeadersMatch(*header, next))
            return false;
        at += next.bitrate == 0 ? unpadded + next.padding : next.bytes;
    }
    return at != 0;
}

// Finds the first frame among `data`, which are at `offset`.
std::optional<FirstFrame> FirstFrameIn(Bytes data, int64_t offset, bool is_end) {
    for (size_t at = 0; at + kMpegHeaderSize <= data.size(); ++at) {
        if (data[at] != 0xFF)
            continue;
        MpegHeader header = MpegHeaderParse(data.subspan(at));
        if (header.layer != 0 && FramesFollow(data.subspan(at), &header, is_end))
            return FirstFrame{offset + static_cast<int64_t>(at), header};
    }
    return std::nullopt;
}

std::optional<FirstFrame> FirstFrameFind(ReaderInput *input, int64_t begin, int64_t end) {
    uint8_t data[kLookSize];
    const int64_t stop = std::min(end, begin + kSoundJunkMax);
    for (int64_t at = begin; at < stop; at += int64_t{kLookSize / 2}) {
        const auto wanted = static_cast<size_t>(std::min<int64_t>(kLookSize, end - at));
        const size_t got = SoundRead(input, at, {data, wanted});
        const bool is_end = at + static_cast<int64_t>(got) >= end || got < wanted;
        if (const auto first = FirstFrameIn({data, got}, at, is_end))
            return first;
        if (is_end)
            break;
    }
    return std::nullopt;
}

// What the first frame tells of the whole stream where it holds no sound.
struct VbrHeader {
    bool is_constant = false; // "Info"
    uint64_t frames = 0;
    uint64_t bytes = 0; // 0: not told
};

// "Xing" or "Info", flags, and what they say is there: frames, bytes.
std::optional<VbrHeader> XingHeader(Bytes frame, const MpegHeader &header) {
    Cursor cursor{frame};
    Take(&cursor, kMpegHeaderSize + header.side_bytes);
    const std::string_view mark = Characters(Take(&cursor, 4));
    if (mark != "Xing" && mark != "Info")
        return std::nullopt;
    VbrHeader found;
    found.is_constant = mark == "Info";
    const uint64_t flags = TakeBig(&cursor, 4);
    if ((flags & 1) != 0)
        found.frames = TakeBig(&cursor, 4);
    if ((flags & 2) != 0)
        found.bytes = TakeBig(&cursor, 4);
    return found;
}

// "VBRI", always 32 bytes behind the header: version, delay, quality, bytes, frames.
std::optional<VbrHeader> VbriHeader(Bytes frame) {
    constexpr size_t kPlace = kMpegHeaderSize + 32;
    Cursor cursor{frame};
    Take(&cursor, kPlace);
    if (Characters(Take(&cursor, 4)) != "VBRI")
        return std::nullopt;
    Take(&cursor, 6);
    VbrHeader found;
    found.bytes = TakeBig(&cursor, 4);
    found.frames = TakeBig(&cursor, 4);
    return found;
}

// Files that were joined have the header of the first one. One that tells much less than there is counts for nothing.
bool IsOfWhole(const VbrHeader &header, int64_t bytes) {
    const auto told = static_cast<int64_t>(header.bytes);
    return header.frames > 0 && (told == 0 || bytes <= told || bytes - told <= told / 16);
}

bool HasBitrate(ReaderInput *input, int64_t offset, int64_t end, const MpegHeader &header) {
    uint8_t data[kLookSize];
    if (end - offset < static_cast<int64_t>(kLookSize))
        return true;
    const auto found = FirstFrameIn({data, SoundRead(input, offset, data)}, offset, false);
    return found && MpegHeadersMatch(found->header, header) && found->header.bitrate == header.bitrate;
}

// Looks at the frames of the beginning, and at one in the middle and one near the end.
bool IsConstant(ReaderInput *input, const FirstFrame &first, int64_t end) {
    uint8_t data[kLookSize];
    Bytes rest{data, SoundRead(input, first.offset, data)};
    while (rest.size() >= kMpegHeaderSize) {
        const MpegHeader header = MpegHeaderParse(rest);
        if (header.layer == 0)
            break; // junk or the tag at the end
        if (header.bitrate != first.header.bitrate)
            return false;
        rest = rest.subspan(std::min<size_t>(std::max<uint32_t>(header.bytes, 1), rest.size()));
    }
    const int64_t size = end - first.offset;
    const int64_t near_end = std::max(first.offset, end - static_cast<int64_t>(2 * kLookSize));
    return HasBitrate(input, first.offset + size / 2, end, first.header) &&
           HasBitrate(input, near_end, end, first.header);
}

void ConstantSet(const FirstFrame &first, int64_t end, SoundStream *stream) {
    const auto bytes = static_cast<double>(end - first.offset);
    const MpegHeader &header = first.header;
    stream->bitrate = header.bitrate;
    if (header.bitrate == 0) // of free format
        stream->bitrate = 8.0 * (header.bytes - std::min(header.bytes, header.padding)) * header.sample_rate /
                          header.samples;
    stream->duration = bytes * 8 / stream->bitrate;
}

void VariableSet(ReaderInput *input, const FirstFrame &first, int64_t end, SoundStream *stream) {
    const MpegHeader &wanted = first.header;
    const FrameTotals totals = FramesAdd(input, first.offset, end, [&](Bytes bytes) -> FrameStep {
        const MpegHeader header = MpegHeaderParse(bytes);
        if (!MpegHeadersMatch(wanted, header))
            return {};
        return {header.bytes, header.samples};
    });
    stream->duration = totals.samples / wanted.sample_rate;
    stream->bitrate = static_cast<double>(end - first.offset) * 8 / stream->duration;
}

void DurationSet(ReaderInput *input, const FirstFrame &first, int64_t end, SoundStream *stream) {
    uint8_t data[kLookSize];
    const Bytes frame{data, SoundRead(input, first.offset, data)};
    std::optional<VbrHeader> vbr = XingHeader(frame, first.header);
    if (!vbr)
        vbr = VbriHeader(frame);
    if (vbr && IsOfWhole(*vbr, end - first.offset)) {
        stream->duration = static_cast<double>(vbr->frames) * first.header.samples / first.header.sample_rate;
        const auto bytes =
            static_cast<double>(vbr->bytes != 0 ? vbr->bytes : static_cast<uint64_t>(end - first.offset));
        stream->bitrate = vbr->is_constant && first.header.bitrate != 0 ? first.header.bitrate
                                                                        : bytes * 8 / stream->duration;
    } else if (first.header.bitrate == 0 || IsConstant(input, first, end)) {
        ConstantSet(first, end, stream);
    } else {
        VariableSet(input, first, end, stream);
    }
}

} // namespace

bool MpegStreamRead(ReaderInput *input, int64_t begin, int64_t end, SoundStream *stream) {
    constexpr const char *kCodecs[] = {"mp1", "mp2", "mp3"};
    const std::optional<FirstFrame> first = FirstFrameFind(input, begin, end);
    if (!first)
        return false;
    stream->sample_rate = first->header.sample_rate;
    stream->channels = first->header.channels;
    stream->codec = kCodecs[first->header.layer - 1];
    stream->container = "mp3";
    DurationSet(input, *first, end, stream);
    return true;
}

void MpegRead(SoundFile *file) {
    const SoundBounds bounds = SoundBoundsFind(file->input);
    SoundStream stream;
    if (MpegStreamRead(file->input, bounds.begin, bounds.end, &stream))
        StreamFactsAdd(stream, FactSource::own, file->facts);
    EndTagsRead(file, bounds, EndTagOrder::kId3First);
}
