// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/cover_store.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <utility>

#include "platform/file_bytes.h"
#include "platform/index/cover_notes.h"
#include "platform/index/cover_pictures.h"
#include "platform/index/cover_place.h"
#include "platform/index/run_state.h"
#include "platform/media_record.h"
#include "platform/own_group.h"

namespace {

constexpr char kLogName[] = "cover_store.c";

// It is the picture that counts, and the only one that is kept (id3.org 2.3.0, section 4.15).
constexpr int kFrontCover = 3;
constexpr int kCoverIndex = 1;

// Other programs have room for so long a path.
bool PlaceMake(const char *media_path, int format, CoverPlace *place) {
    if (!CoverPlaceGet(media_path, kFrontCover, kCoverIndex, format, place) ||
        place->path.size() >= kMediaPathSize)
        return false;
    CoverNoteAdd(place->covers, media_path);
    return CoverPlaceMake(place);
}

// Puts what has been made beside the place into it.
bool PlaceTake(const CoverPlace &place, const std::string &made) {
    if (!place.is_new) {
        const FdHandle covers = OpenForReading(place.covers.c_str(), O_DIRECTORY);
        CoverPictureLeave(covers.get(), AT_FDCWD, place.path.c_str());
    }
    return rename(made.c_str(), place.path.c_str()) == 0;
}

std::string BesidePlace(const CoverPlace &place) {
    return place.folder + '/' + kCoverNew;
}

// A link that is there already is as good.
bool PlaceLink(const CoverPlace &place, const CoverStored &stored) {
    if (stored.path.empty())
        return false;
    if (link(stored.path.c_str(), place.path.c_str()) != 0) {
        if (errno != EEXIST)
            return false;
        if (IsFileAt(place.path.c_str(), stored.file.get()))
            return true;
        const std::string made = BesidePlace(place);
        unlink(made.c_str());
        if (link(stored.path.c_str(), made.c_str()) != 0 || !PlaceTake(place, made))
            return false;
    }
    return IsFileAt(place.path.c_str(), stored.file.get());
}

// Returns the file, open; empty, with the reason in errno, on failure.
FdHandle PlaceCopy(const CoverPlace &place, const CoverPicture &picture) {
    const std::string made = BesidePlace(place);
    if (!place.is_new)
        unlink(made.c_str());
    FdHandle file(open(made.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, OwnFileMode()));
    if (file && BytesWrite(picture.content, file.get()) && fchmod(file.get(), OwnFileMode()) == 0 &&
        PlaceTake(place, made))
        return file;
    return {};
}

bool PictureStore(const CoverPlace &place, const CoverPicture &picture, CoverStored *stored) {
    if (PlaceLink(place, *stored))
        return true;
    const std::string name = CoverPictureName(picture.content);
    if (name.empty()) {
        errno = EIO;
        return false;
    }
    const std::string by_content = place.covers + '/' + name;
    if (FdHandle file = CoverPictureFind(by_content, picture.content); file) {
        OwnGroupGive(by_content.c_str());
        *stored = {by_content, std::move(file)};
        if (PlaceLink(place, *stored))
            return true;
    }
    FdHandle file = PlaceCopy(place, picture);
    if (!file)
        return false;
    const bool entered = CoverPictureEnter(place.path, by_content);
    *stored = {entered ? by_content : place.path, std::move(file)};
    return true;
}

// What passes by itself, unlike a lack of rights.
bool IsOutOfRoom(int error) {
    return error == ENOSPC || error == EDQUOT;
}

// Where there is no room for one cover there is none for most, in this run and when its requests are done again.
bool IsNoRoomNews() {
    run_state.covers_no_room = true;
    return !std::exchange(run_state.covers_no_room_told, true);
}

} // namespace

int CoverStore(const char *media_path, const CoverPicture &picture, CoverStored *stored) {
    CoverPlace place;
    errno = 0;
    if (PlaceMake(media_path, picture.format, &place) && PictureStore(place, picture, stored)) {
        if (!place.is_new)
            CoverFolderClean(place.folder.c_str(), place.path.c_str() + place.folder.size() + 1);
        run_state.covers_stored = true;
        return 0;
    }
    const int error = errno;
    if (IsOutOfRoom(error))
        VELUIndexRunRequestKeep();
    if (!IsOutOfRoom(error) || IsNoRoomNews())
        syslog(LOG_ERR, "%s (%d) Failed to store the cover of %s. (%s)", kLogName, __LINE__, media_path,
               error != 0 ? strerror(error) : "there is no place for it");
    *stored = {};
    if (!place.folder.empty())
        CleanOldCover(place.folder.c_str());
    return -1;
}
