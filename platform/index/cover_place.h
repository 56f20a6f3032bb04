// SPDX-License-Identifier: GPL-2.0-or-later
//
// The folders of covers, for those who store covers, and what a run has to know of those that it has stored.
#pragma once

#include <string>

// Formats beside those of CoverFormat, which the rules `complete` keep.
inline constexpr int kCoverWebp = 3;
inline constexpr int kCoverGif = 4;

// The name of what is made beside a cover to take its place.
inline constexpr char kCoverNew[] = ".new";

// A cover and what surrounds it.
struct CoverPlace {
    std::string covers; // folder of all covers
    std::string folder; // of the media file's covers
    std::string path;
    bool is_new = false; // its folder is: nothing is in it
};

// Gets the place of a cover, as GetCoverPath does, for covers of any format. False when there is none.
[[nodiscard]] bool CoverPlaceGet(const char *media_path, int picture_type, int cover_index, int format,
                                 CoverPlace *place);

// Makes the folder of all covers. False, with the reason in errno, when it cannot be made.
[[nodiscard]] bool CoverDirMake(const std::string &covers);

// Makes its folder. False, with the reason in errno, when it cannot be made.
[[nodiscard]] bool CoverPlaceMake(CoverPlace *place);

// Removes what CleanOldCover does, but for the cover named `kept`; null: all of it.
void CoverFolderClean(const char *folder, const char *kept);

// Removes all covers of a media file.
void CoversRemove(const std::string &media_path);

// Brings the covers that have got a place since the last call to the disk. False, with the reason in errno, when
// they may not be there.
bool CoversSync();

// Moves the covers of a media file, if it has any, in the place of those of another one. False, with one log line, when they
// could not be moved.
bool CoversMove(const char *new_media_path, const char *old_media_path);
