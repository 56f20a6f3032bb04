// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/directory_reader.h"

#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

bool IsOwnOrParent(const char *name) {
    return strcmp(name, ".") == 0 || strcmp(name, "..") == 0;
}

// True for the errors of a place that is not there; a link that leads nowhere or round in a circle counts as
// such.
bool IsNothing(int error) {
    return error == ENOENT || error == ENOTDIR || error == ELOOP;
}

// Looks what a name in a directory leads to. `link` tells that it is known to be a link. `error` changes on
// failure only.
EntryKind KindLook(int directory, const char *name, bool link, int *error) {
    struct stat status;
    if (fstatat(directory, name, &status, 0) != 0) {
        *error = errno;
        return EntryKind::other;
    }
    if (S_ISREG(status.st_mode))
        return EntryKind::file;
    if (!S_ISDIR(status.st_mode))
        return EntryKind::other;
    if (!link)
        link = fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(status.st_mode);
    return link ? EntryKind::linked_directory : EntryKind::directory;
}

} // namespace

bool DirectoryOpen(DirectoryReader *reader, const char *path) {
    reader->directory.reset(opendir(path));
    reader->position = 0;
    reader->error = reader->directory != nullptr ? 0 : errno;
    return reader->directory != nullptr;
}

bool DirectoryIsMarked(const DirectoryReader &reader) {
    return SubDirectoryIsMarked(reader, ".");
}

bool SubDirectoryIsMarked(const DirectoryReader &reader, const std::string &name) {
    const char *marker = reader.rules->marker;
    return marker != nullptr && faccessat(dirfd(reader.directory.get()), (name + '/' + marker).c_str(), F_OK,
                                          AT_SYMLINK_NOFOLLOW) == 0;
}

const dirent *DirectoryNext(DirectoryReader *reader) {
    while (true) {
        errno = 0;
        const dirent *entry = readdir(reader->directory.get());
        if (entry == nullptr && errno == EINTR)
            continue;
        if (entry == nullptr) {
            reader->error = errno;
            return nullptr;
        }
        reader->position = entry->d_off;
        if (IsOwnOrParent(entry->d_name))
            continue;
        const LeftOut why = NameLeftOut(*reader->rules, entry->d_name);
        if (why == LeftOut::nothing)
            return entry;
        LeftOutCount(reader->left_out, why);
    }
}

EntryKind EntryKindGet(DirectoryReader *reader, const dirent &entry) {
    reader->missed = 0;
    const bool link = entry.d_type == DT_LNK;
    if (!reader->untold && !link && entry.d_type != DT_UNKNOWN) {
        if (entry.d_type == DT_DIR)
            return EntryKind::directory;
        return entry.d_type == DT_REG ? EntryKind::file : EntryKind::other;
    }
    int error = 0;
    const EntryKind kind = KindLook(dirfd(reader->directory.get()), entry.d_name, link, &error);
    reader->missed = IsNothing(error) ? 0 : error;
    return kind;
}

EntryKind PathKindGet(const char *path) {
    int error = 0;
    return KindLook(AT_FDCWD, path, false, &error);
}
