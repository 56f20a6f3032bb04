// SPDX-License-Identifier: GPL-2.0-or-later
//
// The first packets of a file.
#pragma once

extern "C" {
#include <libavcodec/packet.h>
#include <libavformat/avformat.h>
}

#include <memory>

struct PacketFree {
    void operator()(AVPacket *packet) const noexcept { av_packet_free(&packet); }
};
using PacketHandle = std::unique_ptr<AVPacket, PacketFree>;

// Reads on to a packet of a stream. Null when there is none among the next kFilmPacketsMax.
PacketHandle FirstPacketOf(AVFormatContext *format, int stream);
