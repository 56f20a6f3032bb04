// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/pictures_in_step.h"

#include <stdio.h>
#include <sys/stat.h>
#include <time.h>

#include <algorithm>
#include <utility>

#include "catalogue/bounds.h"
#include "photo/photo_ea.h"
#include "photo/photo_index.h"
#include "platform/hash.h"
#include "platform/index/file_state.h"
#include "platform/index/picture_rows.h"
#include "platform/limits.h"
#include "platform/media_record.h"
#include "platform/photo_record.h"
#include "platform/recent.h"

namespace {

// The bytes between two texts of a hash, which neither has.
constexpr char kBetween = '\0';

uint64_t FieldHash(std::string_view text, uint64_t hash) {
    return HashByte(HashText(text, hash), kBetween);
}

uint64_t LookHash(std::string_view name, std::string_view create_time, int64_t size) {
    return FieldHash(std::to_string(size), FieldHash(create_time, FieldHash(name, kHashStart)));
}

uint64_t ColumnsHash(const PictureColumns &columns) {
    uint64_t hash = kHashStart;
    for (const std::string *text :
         {&columns.make, &columns.model, &columns.exposure, &columns.fnumber, &columns.date_taken})
        hash = FieldHash(*text, hash);
    for (const int64_t number : {columns.width, columns.height, columns.iso})
        hash = FieldHash(std::to_string(number), hash);
    return hash;
}

bool HashesRead(Catalogue catalogue, const std::string &directory, PictureHashes *hashes) {
    const auto take = [&](std::string_view name, const PictureColumns &columns) {
        if (hashes->size() < kFileStatesMax) // what is not known is written again
            hashes->emplace_back(LookHash(name, columns.create_time, columns.file_size),
                                 ColumnsHash(columns));
    };
    const bool read = PictureRowsRead(catalogue, directory.c_str(), take) == 0;
    std::ranges::sort(*hashes);
    return read;
}

// A time as the store keeps it, without its newline.
std::string_view Stored(std::string_view time) {
    return time.substr(0, time.find('\n'));
}

// Null: there is none.
const uint64_t *Find(const PictureHashes &hashes, uint64_t look) {
    const auto found = std::ranges::lower_bound(hashes, look, {}, &PictureHashes::value_type::first);
    return found != hashes.end() && found->first == look ? &found->second : nullptr;
}

// Of a directory that a catalogue does not answer for, nothing is known, and all is written.
PicturesInStep DirectoryRead(const std::string &path) {
    PicturesInStep pictures;
    return PicturesInStepGet(path, &pictures) ? std::move(pictures) : PicturesInStep{.directory = path};
}

const PicturesInStep &DirectoryOf(KnownPictures *known, const std::string &path) {
    return RecentOf(&known->directories, &PicturesInStep::directory, path, kPictureDirectories,
                    DirectoryRead);
}

} // namespace

bool PicturesInStepGet(const std::string &directory, PicturesInStep *pictures) {
    pictures->directory = directory;
    pictures->may_have_texts = PhotoTextsMayBeIn(directory.c_str());
    return HashesRead(Catalogue::media, directory, &pictures->media) &&
           HashesRead(Catalogue::photo, directory, &pictures->library);
}

PictureStep PictureStepOf(const PicturesInStep &pictures, const std::string &name) {
    const std::string path = pictures.directory + '/' + name;
    struct stat status;
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
        return PictureStep::behind;
    char media_time[kMediaTimeSize];
    char library_time[kPhotoTimeSize];
    VELUIndexTimeText(status.st_ctim.tv_sec, media_time, sizeof media_time);
    PhotoTimeText(status.st_ctim.tv_sec, library_time, sizeof library_time);
    const uint64_t *media = Find(pictures.media, LookHash(name, media_time, status.st_size));
    if (media == nullptr)
        return PictureStep::behind;
    const uint64_t *library = Find(pictures.library, LookHash(name, Stored(library_time), status.st_size));
    const bool same = library != nullptr && *library == *media;
    return same && !(pictures.may_have_texts && PhotoTextsWait(path.c_str())) ? PictureStep::both
                                                                              : PictureStep::media;
}

bool IsPictureInStep(KnownPictures *known, const std::string &path) {
    const size_t slash = path.rfind('/');
    return slash != std::string::npos && PictureStepOf(DirectoryOf(known, path.substr(0, slash)),
                                                       path.substr(slash + 1)) == PictureStep::both;
}
