// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/open.h"

namespace {

// libavformat goes by a file's content, whatever its extension says. Only formats that hold their media
// themselves are let in; playlists, manifests, session descriptions, picture sequences, scripts and devices,
// which name other files and addresses, are not. The list covers the extensions of the index and what is
// found under them in the wild.
constexpr char kFormats[] =
    // audio
    "aac,ac3,aiff,amr,ape,au,caf,dsf,dts,dtshd,eac3,flac,iff,ircam,loas,mlp,mmf,mp3,mpc,mpc8,oma,qcp,"
    "rso,sox,spdif,tak,truehd,tta,voc,w64,wav,wv,xwma,"
    // video and both
    "asf,av1,avi,cavsvideo,dirac,dv,flv,gxf,h261,h263,h264,hevc,ipu,ivf,ivr,kux,live_flv,m4v,matroska,mov,"
    "mpeg,mpegts,mpegvideo,mxf,nsv,nut,nuv,obu,ogg,pva,rm,swf,vc1,vc1test,wtv,yuv4mpegpipe";

// Refuses to open a further file for a format that asks for one all the same.
int OpenRefuse(AVFormatContext *, AVIOContext **, const char *, int, AVDictionary **) {
    return AVERROR(EACCES);
}

struct Options {
    Options() = default;
    Options(const Options &) = delete;
    Options &operator=(const Options &) = delete;
    ~Options() { av_dict_free(&all); }

    AVDictionary *all = nullptr;
};

} // namespace

FormatHandle FormatOpen(const char *path, AVIOContext *avio) {
    Options options;
    // The empty list of protocols: no address can be opened, not even a file's.
    if (av_dict_set(&options.all, "format_whitelist", kFormats, 0) < 0 ||
        av_dict_set(&options.all, "protocol_whitelist", "", 0) < 0)
        return nullptr;
    AVFormatContext *format = avformat_alloc_context();
    if (format == nullptr)
        return nullptr;
    format->pb = avio;
    format->io_open = OpenRefuse;
    // Frees the context when it fails.
    if (avformat_open_input(&format, path, nullptr, &options.all) < 0)
        return nullptr;
    return FormatHandle(format);
}
