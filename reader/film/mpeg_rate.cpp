// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/mpeg_rate.h"

#include "reader/film/packets.h"
#include "reader/syntax/mpeg_header.h"

bool IsMpegAudio(AVCodecID codec) {
    return codec == AV_CODEC_ID_MP1 || codec == AV_CODEC_ID_MP2 || codec == AV_CODEC_ID_MP3;
}

bool MpegRateLook(const FilmView &view) {
    const int stream = view.sound->index;
    uint32_t rate = 0;
    for (int frame = 0; frame < kMpegSteadyFrames; ++frame) {
        const PacketHandle packet = FirstPacketOf(view.format, stream);
        if (packet == nullptr)
            break;
        const MpegHeader header = MpegHeaderParse({packet->data, static_cast<size_t>(packet->size)});
        if (header.bitrate == 0 || (rate != 0 && header.bitrate != rate))
            return false;
        rate = header.bitrate;
    }
    view.format->streams[stream]->codecpar->bit_rate = rate;
    return rate != 0;
}
