// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/codec_look.h"

#include <memory>

#include "platform/limits.h"
#include "reader/film/packets.h"

namespace {

struct CodecFree {
    void operator()(AVCodecContext *codec) const noexcept { avcodec_free_context(&codec); }
};
using CodecHandle = std::unique_ptr<AVCodecContext, CodecFree>;

struct FrameFree {
    void operator()(AVFrame *frame) const noexcept { av_frame_free(&frame); }
};

using BufferGet = decltype(AVCodecContext::get_buffer2);

CodecHandle CodecOpen(const AVStream &stream, BufferGet get_buffer = avcodec_default_get_buffer2) {
    const AVCodec *decoder = avcodec_find_decoder(stream.codecpar->codec_id);
    CodecHandle codec(decoder != nullptr ? avcodec_alloc_context3(decoder) : nullptr);
    if (codec == nullptr || avcodec_parameters_to_context(codec.get(), stream.codecpar) < 0)
        return nullptr;
    codec->thread_count = 1; // a reader has one thread
    codec->get_buffer2 = get_buffer;
    return avcodec_open2(codec.get(), decoder, nullptr) < 0 ? nullptr : std::move(codec);
}

// AC-3 and its successor share a syncframe; the identification of the bit stream above 10 is the latter's (ETSI TS 102 366,
// annex E). Containers take the one for the other.
AVCodecID CodecOfFrame(AVCodecID named, const AVPacket &packet) {
    if ((named != AV_CODEC_ID_AC3 && named != AV_CODEC_ID_EAC3) || packet.size < 6)
        return named;
    return packet.data[5] >> 3 > 10 ? AV_CODEC_ID_EAC3 : AV_CODEC_ID_AC3;
}

bool ParametersTake(const FilmView &view, const AVStream &stream, const AVCodecContext &codec) {
    return avcodec_parameters_from_context(view.format->streams[stream.index]->codecpar, &codec) >= 0;
}

} // namespace

bool SoundFrameLook(const FilmView &view) {
    const PacketHandle packet = FirstPacketOf(view.format, view.sound->index);
    const CodecHandle codec = packet != nullptr ? CodecOpen(*view.sound) : nullptr;
    const std::unique_ptr<AVFrame, FrameFree> frame(codec != nullptr ? av_frame_alloc() : nullptr);
    if (frame == nullptr || avcodec_send_packet(codec.get(), packet.get()) < 0 ||
        avcodec_receive_frame(codec.get(), frame.get()) < 0)
        return false;
    codec->codec_id = CodecOfFrame(codec->codec_id, *packet);
    return ParametersTake(view, *view.sound, *codec);
}

bool PictureHeadLook(const FilmView &view) {
    constexpr int kPackets = 8; // a stream may begin in the middle of a picture
    // By the time that it asks for memory for the picture, the decoder knows all about it.
    const BufferGet refuse = [](AVCodecContext *, AVFrame *, int) { return AVERROR(ENOMEM); };
    const CodecHandle codec = CodecOpen(*view.film, refuse);
    for (int i = 0; codec != nullptr && i < kPackets; ++i) {
        const PacketHandle packet = FirstPacketOf(view.format, view.film->index);
        if (packet == nullptr)
            return false;
        static_cast<void>(avcodec_send_packet(codec.get(), packet.get()));
        if (codec->width > 0 && codec->pix_fmt != AV_PIX_FMT_NONE)
            return ParametersTake(view, *view.film, *codec);
    }
    return false;
}

bool FilmCodecLook(const FilmView &view) {
    const CodecHandle codec = CodecOpen(*view.film);
    return codec != nullptr && ParametersTake(view, *view.film, *codec);
}
