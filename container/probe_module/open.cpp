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
const std::string &FormatsLetIn() {
    static const std::string let_in = [] {
        std::string names;
        void *place = nullptr;
        while (const AVInputFormat *format = av_demuxer_iterate(&place)) {
            if ((format->flags & AVFMT_NOFILE) == 0 && av_match_list(format->name, kNamingFormats, ',') == 0)
                names.append(names.empty() ? "" : ",").append(format->name);
        }
        return names;
    }();
    return let_in;
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

FormatHandle FormatOpen(const char *path, AVIOContext *avio, const FormatManner &manner, int *error) {
    int ignored = 0;
    int &result = error != nullptr ? *error : ignored;
    result = AVERROR(ENOMEM);
    Options options;
    // The empty list of protocols: no address can be opened, not even a file's.
    if (av_dict_set(&options.all, "format_whitelist", FormatsLetIn().c_str(), 0) < 0 ||
        av_dict_set(&options.all, "protocol_whitelist", "", 0) < 0 ||
        (manner.all_programs && av_dict_set(&options.all, "scan_all_pmts", "1", 0) < 0))
        return nullptr;
    AVFormatContext *format = avformat_alloc_context();
    if (format == nullptr)
        return nullptr;
    format->pb = avio;
    format->io_open = OpenRefuse;
    if (manner.probe_bytes > 0)
        format->probesize = manner.probe_bytes;
    if (manner.streams > 0)
        format->max_streams = manner.streams;
    // Frees the context when it fails.
    result = avformat_open_input(&format, path, nullptr, &options.all);
    return FormatHandle(result < 0 ? nullptr : format);
}
