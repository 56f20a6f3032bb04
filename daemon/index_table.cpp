// SPDX-License-Identifier: GPL-2.0-or-later
#include <strings.h>

#include <iterator>

#include "audio/aiff.h"
#include "catalogue/media.h"
#include "catalogue/music.h"
#include "catalogue/photo.h"
#include "catalogue/playlist.h"
#include "catalogue/video.h"
#include "container/aac.h"
#include "container/flac.h"
#include "container/mp4.h"
#include "daemon/index.h"

constexpr IndexHandler IndexHandlerTable[] = {
    {"mp3", MusicFileIndex, MusicFileRemove},
    {"mp1", ProbedAudioIndex, AudioRemove},
    {"mp2", ProbedAudioIndex, AudioRemove},
    {"mpa", ProbedAudioIndex, AudioRemove},
    {"wma", ProbedAudioIndex, AudioRemove},
    {"wav", ProbedAudioIndex, AudioRemove},
    {"ogg", ProbedAudioIndex, AudioRemove},
    {"m4a", Mp4FileIndex, Mp4FileRemove},
    {"aac", AacFileIndex, AudioRemove},
    {"ac3", ProbedAudioIndex, AudioRemove},
    {"ram", ProbedAudioIndex, AudioRemove},
    {"ra", ProbedAudioIndex, AudioRemove},
    {"m4p", Mp4FileIndex, Mp4FileRemove},
    {"flac", FlacFileIndex, AudioRemove},
    {"aiff", AiffIndexAdd, AiffIndexDelete},
    {"aif", AiffIndexAdd, AiffIndexDelete},
    {"pcm", PlainAudioIndex, AudioRemove},
    {"m4b", Mp4FileIndex, Mp4FileRemove},
    {"ape", ProbedAudioIndex, AudioRemove},
    {"m3u", PlaylistFileIndex, PlaylistFileRemove},
    {"wpl", PlaylistFileIndex, PlaylistFileRemove},
    {"avi", ProbedVideoIndex, VideoRemove},
    {"mpg", ProbedVideoIndex, VideoRemove},
    {"mpeg", ProbedVideoIndex, VideoRemove},
    {"dat", VcdFileIndex, VcdFileRemove},
    {"asf", ProbedVideoIndex, VideoRemove},
    {"wmv", ProbedVideoIndex, VideoRemove},
    {"vob", ProbedVideoIndex, VideoRemove},
    {"mov", ProbedVideoIndex, VideoRemove},
    {"rm", ProbedVideoIndex, VideoRemove},
    {"rmvb", ProbedVideoIndex, VideoRemove},
    {"mp4", ProbedVideoIndex, VideoRemove},
    {"divx", ProbedVideoIndex, VideoRemove},
    {"xvid", ProbedVideoIndex, VideoRemove},
    {"flv", ProbedVideoIndex, VideoRemove},
    {"mkv", ProbedVideoIndex, VideoRemove},
    {"ts", ProbedVideoIndex, VideoRemove},
    {"m2ts", ProbedVideoIndex, VideoRemove},
    {"m2t", ProbedVideoIndex, VideoRemove},
    {"mts", ProbedVideoIndex, VideoRemove},
    {"m4v", ProbedVideoIndex, VideoRemove},
    {"3gp", ProbedVideoIndex, VideoRemove},
    {"3g2", ProbedVideoIndex, VideoRemove},
    {"qt", ProbedVideoIndex, VideoRemove},
    {"swf", ProbedVideoIndex, VideoRemove},
    {"dvr-ms", ProbedVideoIndex, VideoRemove},
    {"iso", PlainVideoIndex, VideoRemove},
    {"ifo", PlainVideoIndex, VideoRemove},
    {"srt", PlainVideoIndex, VideoRemove},
    {"ass", PlainVideoIndex, VideoRemove},
    {"ssa", PlainVideoIndex, VideoRemove},
    {"idx", PlainVideoIndex, VideoRemove},
    {"sub", PlainVideoIndex, VideoRemove},
    {"smi", PlainVideoIndex, VideoRemove},
    {"psb", PlainVideoIndex, VideoRemove},
    {"trp", ProbedVideoIndex, VideoRemove},
    {"tp", ProbedVideoIndex, VideoRemove},
    {"jpg", PhotoFileIndex, PhotoFileRemove},
    {"jpeg", PhotoFileIndex, PhotoFileRemove},
    {"jpe", PhotoFileIndex, PhotoFileRemove},
    {"bmp", PhotoFileIndex, PhotoFileRemove},
    {"gif", PhotoFileIndex, PhotoFileRemove},
    {"ico", PhotoFileIndex, PhotoFileRemove},
    {"png", PhotoFileIndex, PhotoFileRemove},
    {"psd", PhotoFileIndex, PhotoFileRemove},
    {"tif", PhotoFileIndex, PhotoFileRemove},
    {"tiff", PhotoFileIndex, PhotoFileRemove},
    {"ufo", PhotoFileIndex, PhotoFileRemove},
    {nullptr, nullptr, nullptr},
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
