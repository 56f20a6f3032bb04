// SPDX-License-Identifier: GPL-2.0-or-later
//
// Removing the covers that a kill has left without rows.
#include <errno.h>
#include <fcntl.h>
#include <unistd.h>

#include <string>

#include "platform/file.h"
#include "platform/index/cover_notes.h"
#include "platform/index/cover_place.h"
#include "platform/index/file_state.h"
#include "platform/index/run.h"
#include "platform/index/run_state.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

namespace {

// False when the catalogue cannot be asked.
bool NotesGo(const FdHandle &file) {
    std::string media_path;
    for (uint64_t offset = 0; CoverNoteNext(file, &offset, &media_path);) {
        const int has_cover = FileHasCover(media_path.c_str());
        if (has_cover < 0)
            return false;
        if (has_cover == 0)
            CoversRemove(media_path);
    }
    return true;
}

} // namespace

void VELUIndexCoversSettle() {
    bool &unsettled = run_state.cover_notes.unsettled;
    if (!unsettled)
        return;
    RunScope scope;
    char covers[kMediaPathSize];
    if (VELUIndexCoverDirGet(covers, sizeof covers) != 0)
        return;
    const std::string path = covers + std::string(kCoverNotes);
    const FdHandle file = OpenForReading(path.c_str(), O_NOFOLLOW);
    unsettled = file ? !NotesGo(file) : errno != ENOENT;
    if (file && !unsettled)
        unlink(path.c_str());
}
