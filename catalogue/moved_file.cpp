// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/moved_file.h"

#include <sys/stat.h>

#include "audio/cover_file.h"
#include "catalogue/file_stamp.h"
#include "catalogue/media_info.h"
#include "catalogue/util.h"
#include "platform/index/file_state.h"
#include "platform/index/media_move.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "moved_file.c";

// The texts that a row gets from its path where nothing else gives any.
MediaInfo DefaultsOf(const std::string &path) {
    MediaInfo record = {};
    MediaDefaultsFill(kLogName, path.c_str(), &record);
    MediaInfoValid(&record);
    return record;
}

bool AreInOneDirectory(std::string_view path, std::string_view other) {
    return path.substr(0, path.rfind('/')) == other.substr(0, other.rfind('/'));
}

// The cover of another directory is another one, also where it looks like the one before, and where it has none.
void FolderCoverForget(std::string *stamp) {
    if (!FileStampIsFolderCover(FileStampCover(*stamp)))
        return;
    stamp->resize(stamp->size() - FileStampCover(*stamp).size());
    stamp->append(kStampUnsureCover);
}

// The stamp of a file that has moved: the time of its status is another one, and the number counts as it did. What lies beside
// it is looked at with the file.
std::string MovedStamp(const std::string &before, const struct stat &status, bool in_place) {
    const FileStampWords then = FileStampWordsOf(before);
    const std::string own = FileStampOf(status);
    const FileStampWords now = FileStampWordsOf(own);
    std::string stamp(now.age);
    stamp.append(now.changed).append(" ").append(FileStampCountsNumber(before) ? now.number : then.number);
    stamp.append(" ").append(then.reading).append(then.beside);
    if (!in_place)
        FolderCoverForget(&stamp);
    return stamp;
}

// Moves the row, with what it has from the file's name. `create_time` may be empty: then it stays.
int FileMoved(const char *new_path, const char *old_path, const char *create_time, const std::string &stamp) {
    const FromName from_name = FromNameOf(stamp);
    const MediaInfo before = DefaultsOf(old_path);
    const MediaInfo after = DefaultsOf(new_path);
    return MediaFileMove(new_path, old_path,
                         {.old_title = from_name.title ? before.title : "",
                          .new_title = after.title,
                          .old_album = from_name.album ? before.album : "",
                          .new_album = after.album,
                          .create_time = create_time,
                          .stamp = stamp});
}

} // namespace

int MovedFileKeep(const char *new_path, const char *old_path) {
    FileState state;
    struct stat status;
    const int known = FileStateOf(old_path, &state);
    if (known == 0) // after a failure of the power, its row may have been ahead of them
        CoversClean(old_path);
    if (known != 1 || stat(new_path, &status) != 0 || !S_ISREG(status.st_mode) ||
        !FileStampHoldsMoved(state.stamp, FileStampOf(status)))
        return known < 0 ? -1 : 0;
    char create_time[kMediaTimeSize];
    VELUIndexTimeText(status.st_ctim.tv_sec, create_time, sizeof create_time);
    const std::string stamp = MovedStamp(state.stamp, status, AreInOneDirectory(new_path, old_path));
    return FileMoved(new_path, old_path, create_time, stamp) == 0 ? 1 : -1;
}

int MovedUnseenKeep(const std::string &new_path, const std::string &old_path) {
    FileState state;
    const int known = FileStateOf(old_path.c_str(), &state);
    if (known != 1)
        return known < 0 ? -1 : MovedTreeKeep(new_path, old_path);
    if (!AreInOneDirectory(new_path, old_path))
        FolderCoverForget(&state.stamp);
    return FileMoved(new_path.c_str(), old_path.c_str(), "", state.stamp);
}

int MovedTreeKeep(const std::string &new_path, const std::string &old_path) {
    return MediaTreeMove(new_path.c_str(), old_path.c_str()) == 0 ? MovedAlbumKeep(new_path, old_path) : -1;
}

int MovedAlbumKeep(const std::string &new_path, const std::string &old_path) {
    // Of the files right in it; the others lie in directories whose names are the same.
    const MediaInfo before = DefaultsOf(old_path + "/.");
    const MediaInfo after = DefaultsOf(new_path + "/.");
    return MediaAlbumRename(new_path.c_str(), after.album, before.album);
}
