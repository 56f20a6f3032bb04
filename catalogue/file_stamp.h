// SPDX-License-Identifier: GPL-2.0-or-later
//
// By what a look tells that a file is as it was when it was read. A stamp is a text of words: the size, the times of
// modification and of status to the nanosecond, the file's number (its inode), how it was read, and what the file has been given
// by others beside it.
#pragma once

#include <sys/stat.h>
#include <time.h>

#include <string>
#include <string_view>
#include <vector>

#include "platform/handle.h"

// Returns the stamp of a file that this program's readers have read, as far as it is the file's own.
std::string FileStampOf(const struct stat &status);

// Returns the stamp with a number that does not count: of a file whose storage does not keep its numbers.
std::string FileStampWithoutNumber(std::string_view stamp);
[[nodiscard]] bool FileStampCountsNumber(std::string_view stamp);

// What of a row was made from the file's name, as the stamp says it; it comes behind what FileStampOf gives.
struct FromName {
    bool title = false;
    bool album = false;
};
std::string FileStampNamed(const FromName &from_name);
FromName FromNameOf(std::string_view stamp);

// Returns what the stamp of a file says, at its end, of another one beside it that gives values to it, and of the names of such
// files, of subtitles or of what was taken together; the empty text for none.
std::string FileStampBeside(const FdHandle &file);
std::string FileStampBeside(const std::vector<std::string> &paths);
std::string FileStampCompanions(const std::vector<std::string> &paths);

// True for a stamp that says so of what was taken together with its file.
[[nodiscard]] bool FileStampHasCompanions(std::string_view stamp, const std::vector<std::string> &paths);

// The same of pictures beside it that are its cover, as they look.
struct PictureBeside {
    std::string path;
    struct stat status = {};
};
std::string FileStampBeside(const std::vector<PictureBeside> &pictures);

// What it says at its end of a file that has a cover of its own: others beside it do not count.
inline constexpr char kStampOwnCover[] = " p";

// And of one whose cover is to be looked at again: it may be another one by now.
inline constexpr char kStampUnsureCover[] = " u";

// True for what was changed so short before it was looked at that another change might not show.
[[nodiscard]] bool FileIsRecent(const struct stat &status, time_t looked);

// Returns the stamp of a file that was like that when it was looked at, and read since; empty when it has changed meanwhile, or
// so short before the look that another change might not show. A number that is another one by now does not count. `changed`,
// unless null, receives whether it has changed.
std::string FileStampOfRead(const char *path, const struct stat &status, time_t looked,
                            bool *changed = nullptr);

// A stamp taken apart; words that it lacks are empty.
struct FileStampWords {
    std::string_view age = {};     // size and time of modification
    std::string_view changed = {}; // time of status
    std::string_view number = {};
    std::string_view reading = {}; // the readers' revision, and what came from the name
    std::string_view beside = {};  // with a blank in front
};
FileStampWords FileStampWordsOf(std::string_view stamp);

// What a stamp says of files beside it whose names alone count, which comes first; and the rest: of a film or of sound about its
// cover, of a photo about its sidecars.
std::string_view FileStampNames(std::string_view stamp);
std::string_view FileStampCover(std::string_view stamp);

// Whether it says of a cover that it is of pictures beside it.
[[nodiscard]] bool FileStampIsFolderCover(std::string_view cover);

// The words by which a file counts as unchanged, one behind the other: all but `reading`. Of one that an older revision has
// read they count, too: it is read again when nothing else is to be done (FileStampIsOlder). Empty for a stamp of a newer
// program, and for none.
std::string FileStampLook(std::string_view stamp);
[[nodiscard]] bool FileStampIsOlder(std::string_view stamp);

// How the stamp of a file relates to what a look at it would give now.
enum class StampHolds {
    no,
    numbers, // but for the number of the file: either another one has taken its place, or the storage keeps no numbers
    own, // but for what lies beside it
    yes,
};
StampHolds FileStampHolds(std::string_view stamp, std::string_view now);

// The same after the file has been moved, which changes the time of its status and, where its name counts, what lies beside it.
[[nodiscard]] bool FileStampHoldsMoved(std::string_view stamp, std::string_view now);

// True for the stamp of a file of that size which was written last at that time, whatever else has become of it, and by
// whichever reader it was read.
[[nodiscard]] bool FileStampHasAge(std::string_view stamp, const struct stat &status);
