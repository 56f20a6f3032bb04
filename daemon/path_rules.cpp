// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/path_rules.h"

#include <string.h>
#include <strings.h>

#include <string_view>

#include "daemon/walk_rules.h"
#include "platform/veluindex.h"

namespace {

// Returns the path from its slash number `count` on; the empty text when it has fewer.
std::string_view FromSlash(const char *path, int count) {
    for (; *path != '\0'; ++path) {
        if (*path == '/' && --count == 0)
            break;
    }
    return path;
}

} // namespace

int IsPhotoPath(const char *path) {
    const WalkRules &rules = ActiveWalkRules();
    const size_t start = rules.volume_length + 1;
    if (strlen(path) <= start || path[rules.volume_length] != '/')
        return 0;
    if (strncasecmp(path + start, rules.photo_share.data(), rules.photo_share.size()) != 0)
        return 0;
    const char end = path[start + rules.photo_share.size()];
    return end == '/' || end == '\0';
}

size_t PhotoSharePathLength() {
    const WalkRules &rules = ActiveWalkRules();
    return rules.volume_length + 1 + rules.photo_share.size();
}

int IsRecyclePath(const char *path) {
    std::string_view name = FromSlash(path, kShareParts + 1);
    if (name.empty())
        return 0;
    name.remove_prefix(1);
    return IsListed(ActiveWalkRules().share_directories, name.substr(0, name.find('/')));
}

bool IsAttributePath(const char *path) {
    return HasPartLeftOut(ActiveWalkRules().library, path);
}

bool IsLibraryPath(const char *path) {
    const std::string_view text = path;
    return !IsAttributePath(path) &&
           !IsNameLeftOut(ActiveWalkRules().library, text.substr(text.rfind('/') + 1));
}

bool IsPictureExtension(const char *extension) {
    return extension != nullptr &&
           (BlVELUIndexIsPhotoOnWeb(extension) != 0 || IsExtensionOf(ActiveWalkRules().pictures, extension));
}

bool HasPictureExtension(const char *path) {
    return IsPictureExtension(VELUIndexExtGet(path));
}

bool IsLibrarySize(int64_t size) {
    const WalkRules &rules = ActiveWalkRules();
    return size >= rules.picture_size_min && size < rules.picture_size_end;
}
