// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/hdr.h"

#include <algorithm>
#include <string_view>

#include "platform/limits.h"
#include "reader/film/packets.h"

namespace {

// A user data message of SMPTE ST 2094-40 as it stands in every codec (ITU-T T.35: country, provider, its own code,
// application 4).
constexpr std::string_view kDynamicMessage{"\xB5\x00\x3C\x00\x01\x04", 6};

bool HasDynamicMessage(const AVPacket &packet) {
    for (int i = 0; i < packet.side_data_elems; ++i) {
        if (packet.side_data[i].type == AV_PKT_DATA_DYNAMIC_HDR10_PLUS)
            return true;
    }
    // Messages precede the picture that they are of.
    const auto size = static_cast<size_t>(std::clamp<int>(packet.size, 0, kFilmMessagesMax));
    const std::string_view bytes(reinterpret_cast<const char *>(packet.data), size);
    return bytes.find(kDynamicMessage) != std::string_view::npos;
}

// The message comes with every frame, so that any one tells.
bool IsDynamic(const FilmView &view) {
    const PacketHandle packet = FirstPacketOf(view.format, view.film->index);
    return packet != nullptr && HasDynamicMessage(*packet);
}

// The profile of H.264 (ISO/IEC 14496-10, 7.3.2.1.1): of the configuration record, or of the first parameter set in a stream of
// start codes. 0 when there is neither.
int H264Profile(const AVCodecParameters &parameters) {
    const std::string_view bytes(reinterpret_cast<const char *>(parameters.extradata),
                                 static_cast<size_t>(std::max(parameters.extradata_size, 0)));
    if (bytes.size() > 1 && bytes[0] == 1)
        return static_cast<unsigned char>(bytes[1]);
    const size_t start = bytes.find(std::string_view("\0\0\1", 3));
    const bool is_set =
        start != std::string_view::npos && bytes.size() - start > 4 && (bytes[start + 3] & 0x1F) == 7;
    return is_set ? static_cast<unsigned char>(bytes[start + 4]) : 0;
}

uint8_t ConfigurationByte(const AVCodecParameters &parameters, int place) {
    return place < parameters.extradata_size ? parameters.extradata[place] : uint8_t{0};
}

} // namespace

bool IsDeepColour(const AVCodecParameters &parameters) {
    switch (parameters.codec_id) {
    case AV_CODEC_ID_H264: // High 10 and above
        return H264Profile(parameters) == 0 || H264Profile(parameters) >= FF_PROFILE_H264_HIGH_10;
    case AV_CODEC_ID_HEVC: // ISO/IEC 14496-15, bitDepthLumaMinus8
        return ConfigurationByte(parameters, 0) != 1 || (ConfigurationByte(parameters, 17) & 7) != 0;
    case AV_CODEC_ID_AV1: // AV1-ISOBMFF, high_bitdepth
        return (ConfigurationByte(parameters, 0) & 0x80) == 0 ||
               (ConfigurationByte(parameters, 2) & 0x40) != 0;
    default:
        return false;
    }
}

const char *HdrOf(const FilmView &view) {
    if (view.film == nullptr)
        return nullptr;
    if (StreamSideData(*view.film, AV_PKT_DATA_DOVI_CONF) != nullptr)
        return "dolby_vision";
    switch (view.film->codecpar->color_trc) {
    case AVCOL_TRC_SMPTE2084:
        return IsDynamic(view) ? "hdr10plus" : "hdr10";
    case AVCOL_TRC_ARIB_STD_B67:
        return "hlg";
    default:
        return nullptr;
    }
}
