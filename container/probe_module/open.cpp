// SPDX-License-Identifier: GPL-2.0-or-later
#include "container/probe_module/open.h"

extern "C" {
#include <libavutil/avstring.h>
}

#include <string>

namespace {

// libavformat goes by a file's content, whatever its extension says. Content that only names other files and addresses is
// no media file: lists of parts, manifests, session descriptions, indices of subtitles that lie in a file beside, and
// drawings whose library looks for their fonts and pictures.
constexpr char kNamingFormats[] = "concat,dash,hls,imf,sdp,svg_pipe,vobsub";

// All other formats, but for those that look for their files themselves: picture sequences, scripts, devices, the network.
std::string FormatsLetIn() {
    std::string names;
    void *place = nullptr;
    while (const AVInputFormat *format = av_demuxer_iterate(&place)) {
        if ((format->flags & AVFMT_NOFILE) == 0 && av_match_list(format->name, kNamingFormats, ',') == 0)
            names.append(names.empty() ? "" : ",").append(format->name);
    }
    return names;
}

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
    if (av_dict_set(&options.all, "format_whitelist", FormatsLetIn().c_str(), 0) < 0 ||
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
