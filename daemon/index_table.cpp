// SPDX-License-Identifier: GPL-2.0-or-later
#include <strings.h>

#include <iterator>

#include "daemon/index.h"

constexpr IndexHandler IndexHandlerTable[] = {
    {"mp3", Indexer::music},
    {"mp1", Indexer::probed_audio},
    {"mp2", Indexer::probed_audio},
    {"mpa", Indexer::probed_audio},
    {"wma", Indexer::probed_audio},
    {"wav", Indexer::probed_audio},
    {"ogg", Indexer::probed_audio},
    {"m4a", Indexer::mp4},
    {"aac", Indexer::aac},
    {"ac3", Indexer::probed_audio},
    {"ram", Indexer::probed_audio},
    {"ra", Indexer::probed_audio},
    {"m4p", Indexer::mp4},
    {"flac", Indexer::flac},
    {"aiff", Indexer::aiff},
    {"aif", Indexer::aiff},
    {"pcm", Indexer::plain_audio},
    {"m4b", Indexer::mp4},
    {"ape", Indexer::probed_audio},
    {"m3u", Indexer::playlist},
    {"wpl", Indexer::playlist},
    {"avi", Indexer::probed_video},
    {"mpg", Indexer::probed_video},
    {"mpeg", Indexer::probed_video},
    {"dat", Indexer::vcd},
    {"asf", Indexer::probed_video},
    {"wmv", Indexer::probed_video},
    {"vob", Indexer::probed_video},
    {"mov", Indexer::probed_video},
    {"rm", Indexer::probed_video},
    {"rmvb", Indexer::probed_video},
    {"mp4", Indexer::probed_video},
    {"divx", Indexer::probed_video},
    {"xvid", Indexer::probed_video},
    {"flv", Indexer::probed_video},
    {"mkv", Indexer::probed_video},
    {"ts", Indexer::probed_video},
    {"m2ts", Indexer::probed_video},
    {"m2t", Indexer::probed_video},
    {"mts", Indexer::probed_video},
    {"m4v", Indexer::probed_video},
    {"3gp", Indexer::probed_video},
    {"3g2", Indexer::probed_video},
    {"qt", Indexer::probed_video},
    {"swf", Indexer::probed_video},
    {"dvr-ms", Indexer::probed_video},
    {"iso", Indexer::plain_video},
    {"ifo", Indexer::plain_video},
    {"srt", Indexer::plain_video},
    {"ass", Indexer::plain_video},
    {"ssa", Indexer::plain_video},
    {"idx", Indexer::plain_video},
    {"sub", Indexer::plain_video},
    {"smi", Indexer::plain_video},
    {"psb", Indexer::plain_video},
    {"trp", Indexer::probed_video},
    {"tp", Indexer::probed_video},
    {"jpg", Indexer::photo},
    {"jpeg", Indexer::photo},
    {"jpe", Indexer::photo},
    {"bmp", Indexer::photo},
    {"gif", Indexer::photo},
    {"ico", Indexer::photo},
    {"png", Indexer::photo},
    {"psd", Indexer::photo},
    {"tif", Indexer::photo},
    {"tiff", Indexer::photo},
    {"ufo", Indexer::photo},
    {nullptr, {}},
};

// 68 extensions and the row that ends them: a lost or doubled line shows here.
static_assert(std::size(IndexHandlerTable) == 68 + 1);

const IndexHandler *IndexHandlerFind(const char *extension) {
    for (const IndexHandler *row = IndexHandlerTable; row->extension != nullptr; ++row) {
        if (strcasecmp(row->extension, extension) == 0)
            return row;
    }
    return nullptr;
}
