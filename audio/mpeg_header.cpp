// SPDX-License-Identifier: GPL-2.0-or-later
#include "audio/mpeg_header.h"

#include <string.h>
#include <syslog.h>

#include <algorithm>
#include <limits>

namespace {

constexpr char kLogName[] = "metaid3.c";

constexpr size_t kHeaderBytes = 4;

// A header in the file's last bytes has no room for a frame.
constexpr int64_t kSearchTail = 10;

constexpr int32_t kMpeg1 = 1;
constexpr int32_t kMpeg2 = 2;
constexpr int32_t kMpeg25 = 3;

constexpr int32_t kJointStereo = 1;

// kbit/s by version (MPEG-1, the others), layer and index; the index 15 is not allowed.
constexpr int16_t kBitRates[2][3][15] = {
    {{0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
     {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
     {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320}},
    {{0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
     {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160}},
};

// Hz by version and index; the index 3 is not allowed.
constexpr int32_t kSampleRates[3][3] = {{44100, 48000, 32000}, {22050, 24000, 16000}, {11025, 12000, 8000}};

// Frame size = kbit/s x this / sample rate, by version and layer. MPEG-2 layer 2 frames are counted
// like those of layer 3.
constexpr int32_t kFrameFactors[2][3] = {{48000, 144000, 144000}, {24000, 72000, 72000}};

constexpr int32_t kSlotBytes[3] = {4, 1, 1}; // padding, by layer

constexpr int kNotAllowed = -1;   // a field has a value that no header has
constexpr int kNotSupported = -2; // MPEG-2.5

// The frame size in bytes by the fields of a header's second and third byte that decide it, or one of the two
// reasons why there is none. Hostile files make the search ask every four bytes, which is too often for divisions.
struct FrameSizes {
    int16_t bytes[16 * 128] = {};
};

// The bits: version (2), layer (2); bit rate (4), sample rate (2), padding (1).
constexpr size_t FrameSizesIndex(unsigned second, unsigned third) {
    return (second & 0x1E) << 6 | third >> 1;
}

constexpr int FrameSize(unsigned second, unsigned third) {
    const bool is_mpeg25 = (second & 0x10) == 0;
    const bool is_mpeg1 = (second & 0x08) != 0;
    const unsigned layer_code = (second & 0x06) >> 1;
    const unsigned bit_rate = third >> 4;
    const unsigned sample_rate = (third & 0x0C) >> 2;
    if ((is_mpeg25 && is_mpeg1) || layer_code == 0 || sample_rate == 3 || bit_rate == 15)
        return kNotAllowed;
    if (is_mpeg25)
        return kNotSupported;
    const int generation = is_mpeg1 ? 0 : 1;
    const unsigned layer = 3 - layer_code; // from 0
    const int padding = (third & 0x02) != 0 ? kSlotBytes[layer] : 0;
    return kBitRates[generation][layer][bit_rate] * kFrameFactors[generation][layer] /
               kSampleRates[generation][sample_rate] +
           padding;
}

constexpr FrameSizes FrameSizesMake() {
    FrameSizes sizes;
    for (unsigned second = 0xE0; second <= 0xFF; second += 2) {
        for (unsigned third = 0; third <= 0xFF; third += 2)
            sizes.bytes[FrameSizesIndex(second, third)] = static_cast<int16_t>(FrameSize(second, third));
    }
    return sizes;
}

constexpr FrameSizes kFrameSizes = FrameSizesMake();

// MPEG-1 layer 2, 384 kbit/s at 32000 Hz, padded.
constexpr size_t kLargestFrame = 1729;
static_assert(std::ranges::max(kFrameSizes.bytes) == kLargestFrame);

inline int FrameSizeOf(const uint8_t *head) {
    return kFrameSizes.bytes[FrameSizesIndex(head[1], head[2])];
}

inline bool IsSync(const uint8_t *head) {
    return head[0] == 0xFF && (head[1] & 0xE0) == 0xE0;
}

// A sync pattern whose rates can be decoded. Bytes of 0xFF, of which hostile and damaged files have long
// runs, look like one sync pattern after the other, but never like this.
inline bool HasRates(const uint8_t *head) {
    return IsSync(head) && FrameSizeOf(head) != kNotAllowed;
}

// A header of a frame, which may have the size 0: free format.
inline bool IsHeader(const uint8_t *head) {
    return IsSync(head) && FrameSizeOf(head) >= 0;
}

// Decodes the four bytes of a header with a good sync pattern. False when a field has a value that is not
// allowed, or for MPEG-2.5, which is not supported; what was decoded up to there stays in `info`. The bit
// rate is left in kbit/s.
inline bool HeaderDecode(const uint8_t *head, int64_t pos, MpegHeaderInfo *info) {
    info->header_pos = pos;
    const bool is_mpeg25 = (head[1] & 0x10) == 0;
    if ((head[1] & 0x08) != 0) {
        if (is_mpeg25)
            return false;
        info->version = kMpeg1;
    } else {
        info->version = is_mpeg25 ? kMpeg25 : kMpeg2;
    }

    const int layer_code = (head[1] & 0x06) >> 1;
    if (layer_code == 0) {
        info->layer = -1;
        return false;
    }
    info->layer = 4 - layer_code;
    info->is_protected = (head[1] & 0x01) == 0 ? 1 : 0;

    const int bit_rate_index = head[2] >> 4;
    const int sample_rate_index = (head[2] & 0x0F) >> 2;
    if (sample_rate_index == 3 || bit_rate_index == 15)
        return false;
    const int generation = info->version == kMpeg1 ? 0 : 1;
    const int32_t kbps = kBitRates[generation][info->layer - 1][bit_rate_index];
    info->bit_rate = kbps;
    info->byte_rate = static_cast<float>(kbps * 1000 / 8.0);
    info->sample_rate = kSampleRates[info->version - 1][sample_rate_index];
    info->padding = (head[2] & 0x02) != 0 ? 1 : 0;

    info->channel_mode = head[3] >> 6;
    info->mode_extension = info->channel_mode == kJointStereo ? (head[3] >> 4) & 3 : -1;
    info->copyright = (head[3] & 0x08) != 0 ? 1 : 0;
    info->original = (head[3] & 0x04) != 0 ? 1 : 0;
    info->emphasis = head[3] & 0x03;

    if (is_mpeg25)
        return false;
    info->frame_size = FrameSizeOf(head);
    return true;
}

// HeaderDecode, and what a header that stands for the whole file must have beyond it: a frame size, which
// free format lacks. Completes the bit rate.
inline bool HeaderAccept(const uint8_t *head, int64_t pos, MpegHeaderInfo *info) {
    if (!HeaderDecode(head, pos, info) || info->frame_size == 0)
        return false;
    info->bit_rate *= 1000;
    return true;
}

double Duration(int64_t file_size, int32_t bit_rate) {
    // A frame of padding alone (free format with the padding bit) has no bit rate.
    if (bit_rate == 0)
        return std::numeric_limits<double>::infinity();
    const int32_t kilobits =
        bit_rate / 1000; // tables hold whole ones, and what free format has more does not count
    return static_cast<double>(file_size) / kilobits * 0.008;
}

// The piece of the file that a search looks at without asking the reader again.
struct Reach {
    const ByteSource *source;
    int64_t start = 0;
    std::span<const uint8_t> bytes = {};
};

// The bytes from `pos` on, at least `least` of them unless the file ends before.
inline std::span<const uint8_t> ReachTo(Reach *reach, int64_t pos, size_t least) {
    const int64_t offset = pos - reach->start;
    const auto held = static_cast<int64_t>(reach->bytes.size());
    if (offset >= 0 && offset <= held && static_cast<int64_t>(least) <= held - offset)
        return reach->bytes.subspan(static_cast<size_t>(offset));
    reach->start = pos;
    reach->bytes = reach->source->window(reach->source->reader, pos, least);
    return reach->bytes;
}

// The next byte of 0xFF in [at, stop), or stop. Hostile files have one every few bytes, too often for a call.
inline const uint8_t *SyncByteFind(const uint8_t *at, const uint8_t *stop) {
    constexpr ptrdiff_t kNear = 8;
    const uint8_t *const near = stop - at < kNear ? stop : at + kNear;
    for (; at < near; ++at) {
        if (*at == 0xFF)
            return at;
    }
    const void *const far = memchr(at, 0xFF, static_cast<size_t>(stop - at));
    return far == nullptr ? stop : static_cast<const uint8_t *>(far);
}

// Moves *pos to the first sync byte at or after it whose header passes. Returns its bytes, or null. `passes` gets
// the header and the end of the window, which reaches to the header behind the largest frame as well unless the
// file ends before; else each frame across the window's end would move it there and back again.
template <typename Passes>
const uint8_t *HeadFind(Reach *reach, int64_t *pos, Passes passes) {
    constexpr size_t kReach = kLargestFrame + kHeaderBytes;
    const int64_t limit = reach->source->size - kSearchTail;
    while (*pos < limit) {
        const std::span<const uint8_t> bytes = ReachTo(reach, *pos, kReach);
        if (bytes.size() < kHeaderBytes) {
            *pos = limit;
            break;
        }
        // Fewer than asked for are the file's last ones.
        const size_t behind = bytes.size() < kReach ? kHeaderBytes : kReach;
        const auto count =
            static_cast<size_t>(std::min(limit - *pos, static_cast<int64_t>(bytes.size() - behind + 1)));
        const uint8_t *const stop = bytes.data() + count;
        const uint8_t *const end = bytes.data() + bytes.size();
        for (const uint8_t *at = SyncByteFind(bytes.data(), stop); at < stop;
             at = SyncByteFind(at + 1, stop)) {
            const int64_t at_pos = *pos + (at - bytes.data());
            if (passes(at, end, at_pos)) {
                *pos = at_pos;
                return at;
            }
        }
        *pos += static_cast<int64_t>(count);
        *pos = std::min(limit, ByteSourceAdvance(*reach->source, bytes.first(count), *pos));
    }
    return nullptr;
}

void NotFoundLog() {
    syslog(LOG_ERR, "%s (%d) MPEG Header not found", kLogName, __LINE__);
}

inline bool IsHeaderAt(Reach *reach, int64_t pos) {
    const std::span<const uint8_t> bytes = ReachTo(reach, pos, kHeaderBytes);
    if (bytes.size() >= kHeaderBytes)
        return IsHeader(bytes.data());
    uint8_t head[kHeaderBytes];
    memset(head, kUnreadByte, sizeof head);
    if (!bytes.empty())
        memcpy(head, bytes.data(), bytes.size());
    return IsHeader(head);
}

// The first position in [from, limit) whose byte is not zero, or limit; `from` when it lies behind that.
int64_t NonZeroFind(Reach *reach, int64_t from, int64_t limit) {
    while (from < limit) {
        std::span<const uint8_t> bytes = ReachTo(reach, from, 1);
        if (bytes.empty())
            return from;
        const auto held = static_cast<int64_t>(bytes.size());
        bytes = bytes.first(static_cast<size_t>(std::min(held, limit - from)));
        if (!IsAllZero(bytes)) {
            const auto found = std::find_if(bytes.begin(), bytes.end(), [](uint8_t b) { return b != 0; });
            return from + (found - bytes.begin());
        }
        from += static_cast<int64_t>(bytes.size());
        from = std::min(limit, ByteSourceAdvance(*reach->source, bytes, from));
    }
    return from;
}

// The run of zero bytes behind a frame that reaches furthest so far, and whether a header follows it. Any
// number of frames may end in it, and it may be as long as the file, so that its bytes are looked at only
// once. Frames are short: what another frame can end in before this run is at most a frame long.
struct ZeroRun {
    int64_t start = 0;
    int64_t end = 0;
    bool leads_to_header = false;
};

bool LeadsToHeader(Reach *reach, ZeroRun *furthest, int64_t frame_end) {
    if (frame_end < furthest->start) {
        const int64_t next = NonZeroFind(reach, frame_end, std::min(furthest->start, reach->source->size));
        if (next < furthest->start)
            return IsHeaderAt(reach, next);
        furthest->start = frame_end;
    } else if (frame_end >= furthest->end) {
        const int64_t next = NonZeroFind(reach, frame_end, reach->source->size);
        *furthest = {frame_end, next, IsHeaderAt(reach, next)};
    }
    return furthest->leads_to_header;
}

} // namespace

int MpegHeaderFind(const ByteSource *source, int64_t *pos, MpegHeaderInfo *info) {
    if (source == nullptr || pos == nullptr || info == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return 0;
    }
    Reach reach{source};
    const uint8_t *head =
        HeadFind(&reach, pos, [](const uint8_t *at, const uint8_t *, int64_t) { return IsSync(at); });
    if (head == nullptr)
        NotFoundLog();
    if (head == nullptr || !HeaderAccept(head, *pos, info))
        return 0;
    info->duration = Duration(source->size, info->bit_rate);
    return 1;
}

int MpegHeaderCheck(const ByteSource *source, int64_t pos) {
    if (source == nullptr)
        return -1;
    Reach reach{source};
    return IsHeaderAt(&reach, pos) ? 0 : -1;
}

int MpegFrameSearch(const ByteSource *source, int64_t *pos, MpegHeaderInfo *info, FrameGap gap) {
    if (source == nullptr || pos == nullptr || info == nullptr) {
        syslog(LOG_ERR, "%s (%d) Bad parameter.", kLogName, __LINE__);
        return 0;
    }
    Reach reach{source};
    ZeroRun furthest;
    int64_t at = *pos;
    bool found = false;
    // Candidates come every four bytes in hostile files: only the last is decoded, and one whose frame ends in the
    // window, where no header and no gap is, costs no more than the look there.
    uint8_t candidate[kHeaderBytes];
    int64_t candidate_pos = -1;
    const auto leads_somewhere = [&](const uint8_t *head, const uint8_t *end, int64_t head_pos) {
        if (!HasRates(head))
            return false;
        memcpy(candidate, head, sizeof candidate);
        candidate_pos = head_pos;
        const int frame_size = FrameSizeOf(head);
        if (frame_size >= 0)
            info->frame_size = frame_size;
        if (frame_size <= 0)
            return false;
        if (end - head - frame_size < static_cast<ptrdiff_t>(kHeaderBytes))
            return true;
        const uint8_t *const next = head + frame_size;
        return IsHeader(next) || (gap == FrameGap::zeros && *next == 0);
    };
    while (!found && at < source->size - kSearchTail) {
        if (HeadFind(&reach, &at, leads_somewhere) == nullptr) {
            // A sync pattern at the very last place was found, and its header is no good.
            const std::span<const uint8_t> last =
                ReachTo(&reach, source->size - kSearchTail - 1, kHeaderBytes);
            if (last.size() < kHeaderBytes || !IsSync(last.data()))
                NotFoundLog();
            break;
        }
        const int64_t frame_end = at + FrameSizeOf(candidate);
        found = gap == FrameGap::zeros ? LeadsToHeader(&reach, &furthest, frame_end)
                                       : IsHeaderAt(&reach, frame_end);
        if (!found)
            ++at;
    }
    *pos = at;
    if (candidate_pos >= 0 && HeaderAccept(candidate, candidate_pos, info) && found)
        info->duration = Duration(source->size, info->bit_rate);
    return found ? 1 : 0;
}
