// SPDX-License-Identifier: GPL-2.0-or-later
#include "compat/mp4v2/movie.h"

#include "compat/mp4v2/track_reader.h"

#include <memory>

namespace {

// The movie header, by its version: of no other use here than to tell a movie from something else.
constexpr uint64_t kMovieHeaderBytes0 = 100;
constexpr uint64_t kMovieHeaderBytes1 = 112;

bool IsMovieHeader(BoxFile *file, const Box &box) {
    const uint8_t *version = BoxPayload(file, box, 1);
    return version != nullptr &&
           box.PayloadSize() >= (*version == 1 ? kMovieHeaderBytes1 : kMovieHeaderBytes0);
}

// Only the first `moov` of the file counts, and in it the first `mvhd`.
bool MovieRead(Mp4Movie *movie) {
    BoxFile *file = &movie->file;
    const Box moov = BoxFind(file, 0, file->size, BoxType("moov"));
    bool has_header = false;
    Box box;
    for (uint64_t pos = moov.start; BoxNext(file, &pos, moov.end, &box);) {
        if (box.type == BoxType("mvhd") && !has_header) {
            if (!IsMovieHeader(file, box))
                return false;
            has_header = true;
        } else if (box.type == BoxType("trak") && movie->tracks.size() < kMp4TracksMax) {
            Mp4Track track;
            if (Mp4TrackRead(file, box, &track))
                movie->tracks.push_back(track);
        }
    }
    if (has_header)
        ItemListRead(file, moov, &movie->items);
    return has_header;
}

} // namespace

MP4FileHandle MP4Read(const char *path, uint32_t) {
    if (path == nullptr)
        return MP4_INVALID_FILE_HANDLE;
    auto movie = std::make_unique<Mp4Movie>();
    if (!BoxFileOpen(&movie->file, path) || !MovieRead(movie.get()))
        return MP4_INVALID_FILE_HANDLE;
    return movie.release();
}

void MP4Close(MP4FileHandle file) {
    delete MovieOf(file);
}
