// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/path_rules.h"

#include <string.h>
#include <strings.h>

#include <optional>
#include <string>
#include <string_view>

#include "catalogue/shares.h"
#include "daemon/walk_rules.h"
#include "platform/path.h"
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

std::optional<std::string> photo_share;

// Where the photo share's link leads; empty: it has its fixed place.
const std::string &PhotoShareFound() {
    static const std::string nowhere;
    const char *link = ActiveWalkRules().photo_link;
    if (link == nullptr)
        return nowhere;
    if (char target[kSharePathSize]; !photo_share)
        photo_share = ShareTargetGet(link, target) ? target : "";
    return *photo_share;
}

} // namespace

int IsPhotoPath(const char *path) {
    if (const std::string &share = PhotoShareFound(); !share.empty())
        return PathIsAtOrUnder(path, share) ? 1 : 0;
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
    if (const std::string &share = PhotoShareFound(); !share.empty())
        return share.size();
    const WalkRules &rules = ActiveWalkRules();
    return rules.volume_length + 1 + rules.photo_share.size();
}

const char *BelowPhotoShare(const char *path) {
    const size_t length = strnlen(path, PhotoSharePathLength() + 1);
    return PhotoShareFound().empty() || IsPhotoPath(path) != 0 ? path + length : path + strlen(path);
}

bool IsPhotoShare(const char *path) {
    return strlen(path) == PhotoSharePathLength() && (PhotoShareFound().empty() || IsPhotoPath(path) != 0);
}

bool MayHoldPhotoPaths(std::string_view path) {
    const std::string_view place = PathWithoutEndSlashes(path);
    if (const std::string &share = PhotoShareFound(); !share.empty())
        return PathIsAtOrUnder(place, share) || PathIsUnder(share, place);
    return IsPhotoPath(std::string(path).c_str()) != 0 || place.size() <= ActiveWalkRules().volume_length;
}

void PhotoShareForget() {
    photo_share.reset();
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
