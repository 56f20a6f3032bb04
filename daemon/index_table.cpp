// SPDX-License-Identifier: GPL-2.0-or-later
#include <strings.h>

#include <algorithm>
#include <iterator>
#include <string_view>

#include "daemon/index.h"
#include "daemon/walk_rules.h"
#include "daemon/walk_rules_pictures.h"
#include "platform/rule_set.h"

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

// What the rules `complete` know beside them.
constexpr IndexHandler CompleteHandlerTable[] = {
    {"opus", Indexer::probed_audio},
    {"oga", Indexer::probed_audio},
    {"spx", Indexer::probed_audio},
    {"wv", Indexer::probed_audio},
    {"tta", Indexer::probed_audio},
    {"mpc", Indexer::probed_audio},
    {"mka", Indexer::probed_audio},
    {"dsf", Indexer::probed_audio},
    {"dff", Indexer::probed_audio},
    {"m4r", Indexer::probed_audio},
    {"caf", Indexer::probed_audio},
    {"au", Indexer::probed_audio},
    {"weba", Indexer::probed_audio},
    {"w64", Indexer::probed_audio},
    {"dts", Indexer::probed_audio},
    {"eac3", Indexer::probed_audio},
    {"ac4", Indexer::probed_audio},
    {"thd", Indexer::probed_audio},
    {"mid", Indexer::probed_audio},
    {"midi", Indexer::probed_audio},
    {"3ga", Indexer::probed_audio},
    {"amr", Indexer::probed_audio},
    {"webm", Indexer::probed_video},
    {"ogv", Indexer::probed_video},
    {"m2v", Indexer::probed_video},
    {"mxf", Indexer::probed_video},
    {"f4v", Indexer::probed_video},
    {"dv", Indexer::probed_video},
    {"wtv", Indexer::probed_video},
    {"nut", Indexer::probed_video},
    {"mk3d", Indexer::probed_video},
    {"m1v", Indexer::probed_video},
    {"mpe", Indexer::probed_video},
    {"mpv", Indexer::probed_video},
    {"3gpp", Indexer::probed_video},
    {"h264", Indexer::probed_video},
    {"hevc", Indexer::probed_video},
    {"heic", Indexer::photo},
    {"heif", Indexer::photo},
    {"avif", Indexer::photo},
    {"webp", Indexer::photo},
    {"jxl", Indexer::photo},
    {"jp2", Indexer::photo},
    {"svg", Indexer::photo},
    {"tga", Indexer::photo},
    {"cr2", Indexer::photo},
    {"cr3", Indexer::photo},
    {"crw", Indexer::photo},
    {"dng", Indexer::photo},
    {"nef", Indexer::photo},
    {"nrw", Indexer::photo},
    {"arw", Indexer::photo},
    {"srf", Indexer::photo},
    {"sr2", Indexer::photo},
    {"orf", Indexer::photo},
    {"rw2", Indexer::photo},
    {"raf", Indexer::photo},
    {"pef", Indexer::photo},
    {"srw", Indexer::photo},
    {"x3f", Indexer::photo},
    {"3fr", Indexer::photo},
    {"erf", Indexer::photo},
    {"kdc", Indexer::photo},
    {"mrw", Indexer::photo},
    {"raw", Indexer::photo},
    {"rwl", Indexer::photo},
    {"iiq", Indexer::photo},
    {"m3u8", Indexer::playlist},
    {"pls", Indexer::playlist},
    {"xspf", Indexer::playlist},
    {"asx", Indexer::playlist},
    {"cue", Indexer::playlist},
    {nullptr, {}},
};

static_assert(std::size(CompleteHandlerTable) == 72 + 1);

namespace {

constexpr bool IsCompletePhoto(const IndexHandler &row) {
    return row.extension == nullptr || row.indexer != Indexer::photo ||
           std::ranges::find(kCompletePictures, std::string_view(row.extension)) !=
               std::end(kCompletePictures);
}

constexpr bool IsPhotoRow(const IndexHandler &row) {
    return row.extension != nullptr && row.indexer == Indexer::photo;
}

static_assert(std::ranges::all_of(CompleteHandlerTable, IsCompletePhoto) &&
                  std::ranges::count_if(CompleteHandlerTable, IsPhotoRow) == std::ssize(kCompletePictures),
              "the photo library and the media catalogue have the same pictures");

const IndexHandler *Find(const IndexHandler *row, const char *extension) {
    for (; row->extension != nullptr; ++row) {
        if (strcasecmp(row->extension, extension) == 0)
            return row;
    }
    return nullptr;
}

} // namespace

bool IsExtensionOfUse(const char *extension) {
    return IndexHandlerFind(extension) != nullptr || ExtensionLeftOut(extension) == LeftOut::subtitle ||
           IsExtensionOf(ActiveWalkRules().sidecars, extension);
}

const IndexHandler *IndexHandlerFind(const char *extension) {
    if (ExtensionLeftOut(extension) != LeftOut::nothing)
        return nullptr;
    const IndexHandler *row = Find(IndexHandlerTable, extension);
    return row == nullptr && RuleSetActive() == RuleSet::complete ? Find(CompleteHandlerTable, extension)
                                                                  : row;
}
