// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/sidecars.h"

#include <dirent.h>
#include <errno.h>
#include <strings.h>

#include <algorithm>

#include "daemon/walk_rules.h"
#include "platform/file.h"
#include "platform/path.h"

namespace {

constexpr std::string_view kExtension = ".xmp";
static_assert(kExtension.substr(1) == kSidecarExtension);

// In whatever case the extension is written.
FdHandle SidecarOpen(const std::string &stem, bool *unseen) {
    constexpr unsigned kCases = 1u << (kExtension.size() - 1);
    std::string path = stem + std::string(kExtension);
    for (unsigned upper = 0; upper < kCases; ++upper) {
        for (size_t i = 1; i < kExtension.size(); ++i) {
            const bool raised = (upper >> (i - 1) & 1u) != 0;
            path[stem.size() + i] = static_cast<char>(kExtension[i] - (raised ? 'a' - 'A' : 0));
        }
        errno = 0; // of what is no regular file
        if (FdHandle file = RegularFileOpen(path.c_str(), nullptr); file)
            return file;
        *unseen = *unseen || (errno != 0 && !IsNoFile(errno));
    }
    return {};
}

} // namespace

bool IsSidecar(std::string_view name) {
    return name.size() > kExtension.size() && strncasecmp(name.data() + name.size() - kExtension.size(),
                                                          kExtension.data(), kExtension.size()) == 0;
}

std::vector<std::string> PhotosOf(const std::string &sidecar) {
    const size_t slash = sidecar.rfind('/');
    if (slash == std::string::npos || !IsSidecar(sidecar))
        return {};
    const std::string folder = sidecar.substr(0, slash + 1);
    const std::string_view stem =
        std::string_view(sidecar).substr(slash + 1, sidecar.size() - slash - 1 - kExtension.size());
    std::vector<std::string> photos;
    const DirHandle entries(opendir(folder.c_str()));
    while (const dirent *entry = entries != nullptr ? readdir(entries.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if ((name == stem || NameWithoutExtension(name) == stem) && !IsSidecar(name))
            photos.push_back(folder + entry->d_name);
    }
    std::ranges::sort(photos);
    return photos;
}

std::vector<FdHandle> SidecarsOpen(const std::string &photo, bool *unseen) {
    const size_t slash = photo.rfind('/');
    const size_t dot = photo.rfind('.');
    std::vector<FdHandle> sidecars;
    if (slash == std::string::npos)
        return sidecars;
    if (FdHandle own = SidecarOpen(photo, unseen); own)
        sidecars.push_back(std::move(own));
    if (dot != std::string::npos && dot > slash + 1) {
        if (FdHandle shared = SidecarOpen(photo.substr(0, dot), unseen); shared)
            sidecars.push_back(std::move(shared));
    }
    return sidecars;
}
