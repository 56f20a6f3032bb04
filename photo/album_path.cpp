// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/album_path.h"

#include <string.h>

#include "daemon/path_rules.h"
#include "platform/path.h"
#include "platform/rule_set.h"

std::string AlbumPathOf(const char *path) {
    return RuleSetActive() == RuleSet::complete ? std::string(PathOfDirectory(path)) : path;
}

const char *AlbumNameOf(const char *path) {
    return BelowPhotoShare(path);
}

AlbumLevel PhotoShareLevelGet(const char *path) {
    if (path == nullptr)
        return kAlbumDeeper;
    const char *name = AlbumNameOf(path);
    if (*name == '\0')
        return kAlbumDeeper;
    const char *slash = strchr(name, '/');
    if (slash == nullptr)
        return kAlbumTop;
    return strchr(slash + 1, '/') == nullptr ? kAlbumSub : kAlbumDeeper;
}

int IsPhotoShareRoot(const char *path) {
    return IsPhotoShare(path) ? 1 : 0;
}
