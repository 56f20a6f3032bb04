// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/cover_notes.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file.h"
#include "platform/index/cover_place.h"
#include "platform/index/run_state.h"
#include "platform/media_record.h"
#include "platform/own_group.h"

namespace {

CoverNotes &notes = run_state.cover_notes;

FdHandle NotesOpen(const std::string &path) {
    return FdHandle(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK,
                         OwnFileMode()));
}

bool NotesBegin(const std::string &covers) {
    if (notes.file)
        return true;
    notes.path = covers + std::string(kCoverNotes);
    notes.file = NotesOpen(notes.path);
    if (!notes.file && errno == ENOENT && CoverDirMake(covers))
        notes.file = NotesOpen(notes.path);
    struct stat status;
    if (!notes.file || fstat(notes.file.get(), &status) != 0)
        return false;
    notes.left = status.st_size;
    notes.unsettled = notes.unsettled || notes.left > 0;
    return true;
}

} // namespace

void CoverNoteAdd(const std::string &covers, const char *media_path) {
    if (!run_state.run.active || !NotesBegin(covers))
        return;
    std::string note(1, '\0');
    note += media_path;
    notes.added = notes.ahead = true;
    static_cast<void>(!write(notes.file.get(), note.data(), note.size()));
}

void CoverNotesInBatch() {
    notes.ahead = false;
}

void CoverNotesCommitted() {
    if (!notes.added || notes.ahead)
        return;
    notes.added = ftruncate(notes.file.get(), notes.left) != 0;
}

void CoverNotesKeep() {
    struct stat status;
    if (!notes.file || fstat(notes.file.get(), &status) != 0)
        return;
    notes.left = status.st_size;
    notes.unsettled = true;
}

void CoverNotesEnd() {
    if (notes.ahead)
        CoverNotesKeep();
    if (notes.file && notes.left == 0)
        unlink(notes.path.c_str());
    notes = {.unsettled = notes.unsettled};
}

bool CoverNoteNext(const FdHandle &file, uint64_t *offset, std::string *media_path) {
    char read[kMediaPathSize + 1];
    const size_t got = FileReadUpTo(file, *offset, read, sizeof read);
    if (got < 2)
        return false;
    const void *next = memchr(read + 1, '\0', got - 1);
    const size_t length = next != nullptr ? static_cast<size_t>(static_cast<const char *>(next) - read) : got;
    media_path->assign(read + 1, length - 1);
    *offset += length;
    return true;
}
