// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/readers.h"

#include <stdio.h>

#include "audio/id3_merge.h"
#include "audio/id3_version.h"
#include "audio/metaid3.h"
#include "catalogue/exif.h"
#include "catalogue/indexers.h"
#include "container/aac.h"
#include "container/flac.h"
#include "container/metamedia.h"
#include "container/metavideo.h"
#include "container/mp4_reader.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "platform/veluindex.h"
#include "tools/veluctl/record_parts.h"

namespace {

constexpr char kLogName[] = "metaid3.c";

// All readers of media records have one form.
template <int (*Get)(const char *, MediaInfo *)>
bool MediaRead(const char *name, const char *path, RecordPart *part) {
    MediaInfo record = {};
    const bool read = Get(path, &record) == 0;
    *part = MediaPart(name, record);
    return read;
}

// The indexer adds what the file system says, and does not fail for a file that is no AIFF: both are undone
// here.
bool AiffRecordRead(const char *name, const char *path, RecordPart *part) {
    MediaInfo record = {};
    const bool read = AiffInfoGet(path, &record) == 0 && record.sample_rate != 0;
    *record.title = '\0';
    *record.album = '\0';
    *part = MediaPart(name, record);
    return read;
}

// Reads the ID3v2 tag alone, without the rest of the file.
bool Id3v2Read(const char *name, const char *path, RecordPart *part) {
    Mp3FileCtx ctx;
    if (!Mp3FileOpen(path, &ctx, kLogName))
        return false;
    int version = 0;
    Id3v2Tag tag = {};
    const bool found = Id3v2HeaderRead(&ctx, &version) > 0;
    if (found && version == kId3Version2)
        Id3v22FramesRead(&tag, &ctx, version, path);
    else if (found)
        Id3v23FramesRead(&tag, &ctx, version, path);
    MediaInfo record = {};
    const MpegHeaderInfo no_stream;
    const Id3v1Block no_id3v1;
    Mp3InfoMerge(&record, &no_stream, &no_id3v1, &tag);
    record.channels = 0; // of no stream
    *part = MediaPart(name, record);
    if (found)
        part->said.push_back("version 2." + std::to_string(version));
    return found;
}

bool Id3v1TagRead(const char *name, const char *path, RecordPart *part) {
    Mp3FileCtx ctx;
    if (!Mp3FileOpen(path, &ctx, kLogName))
        return false;
    Id3v1Block block;
    const bool found = Id3v1Read(&ctx, &block) == 1;
    MediaInfo record = {};
    const MpegHeaderInfo no_stream;
    const Id3v2Tag no_id3v2 = {};
    Mp3InfoMerge(&record, &no_stream, &block, &no_id3v2);
    record.channels = 0;
    *part = MediaPart(name, record);
    return found;
}

bool ExifRead(const char *name, const char *path, RecordPart *part) {
    PhotoRecord record = {};
    snprintf(record.path, sizeof record.path, "%s", path);
    const bool read = ExifInfoGet(&record) == 0;
    *part = PhotoPart(name, record);
    return read && !part->columns.empty();
}

bool PictureRead(const char *name, const char *path, RecordPart *part) {
    int width = 0;
    int height = 0;
    const bool read = VELUIndexImgResGet(path, &width, &height) == 0;
    *part = PicturePart(name, width, height);
    return read;
}

constexpr Reader kReaders[] = {
    {"ID3v2 tag", kAudioFiles, Id3v2Read},
    {"ID3v1 tag", kAudioFiles, Id3v1TagRead},
    {"MP3 (tags merged, stream measured)", kAudioFiles, MediaRead<Mp3InfoGet>},
    {"FLAC", kAudioFiles, MediaRead<FlacMetadataRead>},
    {"AIFF", kAudioFiles, AiffRecordRead},
    {"AAC decoder", kAudioFiles, MediaRead<AacMetadataRead>},
    {"MP4", kAudioFiles | kVideoFiles, MediaRead<Mp4MetadataRead>},
    {"MPEG video stream", kVideoFiles, MediaRead<MpegVideoInfoGet>},
    {"media probe", kAudioFiles | kVideoFiles, MediaRead<MiscMediaInfoGet>},
    {"EXIF", kPictureFiles, ExifRead},
    {"picture header", kPictureFiles, PictureRead},
};

} // namespace

std::span<const Reader> Readers() {
    return kReaders;
}

unsigned ReaderKindsOf(const char *extension) {
    if (IsPictureExtension(extension))
        return kPictureFiles;
    if (BlVELUIndexIsVideo(extension))
        return kVideoFiles;
    return extension != nullptr && IndexHandlerFind(extension) != nullptr ? kAudioFiles : kAllFiles;
}
