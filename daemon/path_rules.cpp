// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/path_rules.h"

#include <string.h>
#include <strings.h>

#include <string_view>

namespace {

// "/volume1": a volume directory of one digit under the root. A fixed place, known to every program that
// writes the queue.
constexpr size_t kVolumeLength = 8;
constexpr std::string_view kPhotoShare = "photo";
constexpr size_t kShareStart = kVolumeLength + 1;
constexpr size_t kShareEnd = kShareStart + kPhotoShare.size();

constexpr std::string_view kRecycleBin = "/#recycle";

} // namespace

int IsPhotoPath(const char *path) {
    if (strlen(path) <= kShareStart || path[kVolumeLength] != '/')
        return 0;
    if (strncasecmp(path + kShareStart, kPhotoShare.data(), kPhotoShare.size()) != 0)
        return 0;
    return path[kShareEnd] == '/' || path[kShareEnd] == '\0';
}

int IsRecyclePath(const char *path) {
    int slashes = 0;
    for (; *path != '\0'; ++path) {
        if (*path == '/' && ++slashes == 3)
            break;
    }
    const std::string_view rest(path);
    if (!rest.starts_with(kRecycleBin))
        return 0;
    return rest.size() == kRecycleBin.size() || rest[kRecycleBin.size()] == '/';
}
