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

// Frame sizes without padding by version, layer, bit rate and sample rate: hostile files make the search ask
// for one every four bytes, which is too often for a division.
struct FrameSizes {
    int16_t bytes[2][3][15][3] = {};
};

constexpr FrameSizes FrameSizesMake() {
    FrameSizes sizes;
    for (int version = 0; version < 2; ++version) {
        for (int layer = 0; layer < 3; ++layer) {
            for (int bit_rate = 0; bit_rate < 15; ++bit_rate) {
                for (int rate = 0; rate < 3; ++rate)
                    sizes.bytes[version][layer][bit_rate][rate] =
                        static_cast<int16_t>(kBitRates[version][layer][bit_rate] *
                                             kFrameFactors[version][layer] / kSampleRates[version][rate]);
            }
        }
    }
    return sizes;
}

constexpr FrameSizes kFrameSizes = FrameSizesMake();

bool IsSync(const uint8_t *head) {
    return head[0] == 0xFF && (head[1] & 0xE0) == 0xE0;
}

// A sync pattern whose rates can be decoded. Bytes of 0xFF, of which hostile and damaged files have long
// runs, look like one sync pattern after the other, but never like this.
bool HasRates(const uint8_t *head) {
    const bool is_mpeg25_of_mpeg1 = (head[1] & 0x18) == 0x08;
    return IsSync(head) && !is_mpeg25_of_mpeg1 && (head[1] & 0x06) != 0 && (head[2] & 0x0C) != 0x0C &&
           (head[2] & 0xF0) != 0xF0;
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
    const int32_t slot = info->layer == 1 ? 4 : 1;
    info->frame_size = kFrameSizes.bytes[generation][info->layer - 1][bit_rate_index][sample_rate_index] +
                       slot * info->padding;
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
    return static_cast<double>(file_size) / (bit_rate / 1000) * 0.008;
}

// The piece of the file that a search looks at without asking the reader again.
struct Reach {
    const ByteSource *source;
    int64_t start = 0;
    std::span<const uint8_t> bytes = {};
};

// The bytes from `pos` on, at least a header of them unless the file ends before.
inline std::span<const uint8_t> ReachTo(Reach *reach, int64_t pos) {
    const int64_t offset = pos - reach->start;
    const auto held = static_cast<int64_t>(reach->bytes.size());
    if (offset >= 0 && offset + static_cast<int64_t>(kHeaderBytes) <= held)
        return reach->bytes.subspan(static_cast<size_t>(offset));
    reach->start = pos;
    reach->bytes = reach->source->window(reach->source->reader, pos, kHeaderBytes);
    return reach->bytes;
}

// The first header in [begin, stop) that passes, or stop. Three bytes behind stop can be read.
template <bool (*Passes)(const uint8_t *)>
const uint8_t *HeadFind(const uint8_t *begin, const uint8_t *stop) {
    for (const uint8_t *at = begin; at < stop; ++at) {
        if (*at != 0xFF) {
            at = static_cast<const uint8_t *>(memchr(at, 0xFF, static_cast<size_t>(stop - at)));
            if (at == nullptr)
                return stop;
        }
        if (Passes(at))
            return at;
    }
    return stop;
}

// Moves *pos to the first header at or after it that passes. Returns its bytes, or null (logged).
template <bool (*Passes)(const uint8_t *)>
const uint8_t *CandidateFind(Reach *reach, int64_t *pos) {
    const int64_t limit = reach->source->size - kSearchTail;
    while (*pos < limit) {
        const std::span<const uint8_t> bytes = ReachTo(reach, *pos);
        if (bytes.size() < kHeaderBytes) {
            *pos = limit;
            break;
        }
        const auto whole_headers = static_cast<int64_t>(bytes.size() - kHeaderBytes + 1);
        const auto count = static_cast<size_t>(std::min(limit - *pos, whole_headers));
        const uint8_t *const stop = bytes.data() + count;
        const uint8_t *const at = HeadFind<Passes>(bytes.data(), stop);
        *pos += at - bytes.data();
        if (at != stop)
            return at;
        *pos = std::min(limit, ByteSourceAdvance(*reach->source, bytes.first(count), *pos));
    }
    syslog(LOG_ERR, "%s (%d) MPEG Header not found", kLogName, __LINE__);
    return nullptr;
}

bool IsHeaderAt(Reach *reach, int64_t pos) {
    const std::span<const uint8_t> bytes = ReachTo(reach, pos);
    if (bytes.size() >= kHeaderBytes && !HasRates(bytes.data()))
        return false;
    uint8_t head[kHeaderBytes];
    memset(head, kUnreadByte, sizeof head);
    if (!bytes.empty())
        memcpy(head, bytes.data(), std::min(sizeof head, bytes.size()));
    MpegHeaderInfo local;
    return IsSync(head) && HeaderDecode(head, pos, &local);
}

// The first position in [from, limit) whose byte is not zero, or limit; `from` when it lies behind that.
int64_t NonZeroFind(Reach *reach, int64_t from, int64_t limit) {
    while (from < limit) {
        std::span<const uint8_t> bytes = ReachTo(reach, from);
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
    const uint8_t *head = CandidateFind<IsSync>(&reach, pos);
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
    int found = 0;
    while (found == 0 && at < source->size - kSearchTail) {
        const uint8_t *head = CandidateFind<HasRates>(&reach, &at);
        if (head == nullptr)
            break;
        if (HeaderAccept(head, at, info)) {
            const int64_t frame_end = at + info->frame_size;
            const bool leads = gap == FrameGap::zeros ? LeadsToHeader(&reach, &furthest, frame_end)
                                                      : IsHeaderAt(&reach, frame_end);
            found = leads ? 1 : 0;
        }
        if (found == 0)
            ++at;
    }
    *pos = at;
    if (found != 0)
        info->duration = Duration(source->size, info->bit_rate);
    return found;
}
