// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/covers.h"

#include <sys/stat.h>

#include <algorithm>

#include "platform/handle.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"

std::vector<KeptCover> CoversOf(const std::string &media_path) {
    std::vector<KeptCover> covers;
    char folder[kMediaPathSize];
    if (GetCoverFolder(media_path.c_str(), folder, sizeof folder) == 0)
        return covers;
    const DirHandle entries(opendir(folder));
    while (const dirent *entry = entries ? readdir(entries.get()) : nullptr) {
        const std::string path = std::string(folder) + '/' + entry->d_name;
        struct stat status;
        if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode))
            continue;
        KeptCover cover = {path, static_cast<uint64_t>(status.st_size), 0, 0};
        VELUIndexImgResGet(path.c_str(), &cover.width, &cover.height);
        covers.push_back(cover);
    }
    std::sort(covers.begin(), covers.end(),
              [](const KeptCover &one, const KeptCover &other) { return one.path < other.path; });
    return covers;
}

RecordPart CoverPart(const KeptCover &cover) {
    return {
        "cover",
        {},
        {{"width", "WIDTH", Type::integer},
         {"height", "HEIGHT", Type::integer},
         {"file_size", "SIZE", Type::bytes},
         {"path", "PATH", Type::path}},
        {std::to_string(cover.width), std::to_string(cover.height), std::to_string(cover.size), cover.path}};
}
