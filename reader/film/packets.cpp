// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/packets.h"

#include "platform/limits.h"

PacketHandle FirstPacketOf(AVFormatContext *format, int stream) {
    PacketHandle packet(av_packet_alloc());
    for (int i = 0; packet != nullptr && i < kFilmPacketsMax && av_read_frame(format, packet.get()) >= 0;
         ++i) {
        if (packet->stream_index == stream)
            return packet;
        av_packet_unref(packet.get());
    }
    return nullptr;
}
