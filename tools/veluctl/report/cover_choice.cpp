// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/cover_choice.h"

#include <errno.h>
#include <unistd.h>

#include <algorithm>
#include <span>

#include "platform/file.h"
#include "platform/media_record.h"
#include "platform/veluindex.h"
#include "tools/veluctl/covers.h"
#include "tools/veluctl/report/webp_size.h"

namespace {

constexpr std::string_view kFrontCover = "/3_"; // its picture type in id3.org 2.3.0, section 4.15

bool IsFront(const KeptCover &cover) {
    return cover.path.compare(cover.path.rfind('/'), kFrontCover.size(), kFrontCover) == 0;
}

PixelSize SizeOf(const KeptCover &cover, PictureFormat format, std::string_view bytes) {
    return format == PictureFormat::webp ? WebpSizeRead(bytes) : PixelSize{cover.width, cover.height};
}

// A file may grow while it is read.
ChosenCover CoverRead(const KeptCover &cover) {
    if (cover.size > kCoverBytesMax)
        return {CoverFate::large};
    const FdHandle file = OpenForReading(cover.path.c_str(), O_NOFOLLOW);
    std::string bytes(kCoverBytesMax + 1, '\0');
    int failure = file ? 0 : errno;
    bytes.resize(file ? FileReadUpTo(file, 0, bytes.data(), bytes.size(), &failure) : 0);
    if (failure != 0)
        return {failure == ENOENT ? CoverFate::gone : CoverFate::unreadable};
    const PictureFormat format =
        PictureFormatOf(std::as_bytes(std::span(bytes).first(std::min(bytes.size(), kPictureHeadSize))));
    const PixelSize size = SizeOf(cover, format, bytes);
    if (format == PictureFormat::none || size.width <= 0 || size.height <= 0)
        return {CoverFate::damaged};
    if (bytes.size() > kCoverBytesMax || size.width > kCoverSideMax || size.height > kCoverSideMax)
        return {CoverFate::large};
    return {CoverFate::fit, format, std::move(bytes)};
}

// Whether the folder of its covers is there for others, but not for this user.
bool IsFolderRefused(const std::string &media_path) {
    char folder[kMediaPathSize];
    return GetCoverFolder(media_path.c_str(), folder, sizeof folder) != 0 &&
           access(folder, R_OK | X_OK) != 0 && errno == EACCES;
}

} // namespace

ChosenCover CoverChoose(const std::string &media_path) {
    std::vector<KeptCover> covers = CoversOf(media_path);
    if (covers.empty() && IsFolderRefused(media_path))
        return {CoverFate::unreadable};
    std::stable_partition(covers.begin(), covers.end(), IsFront);
    ChosenCover chosen;
    for (size_t at = 0; at < covers.size() && chosen.fate != CoverFate::fit; ++at)
        chosen = CoverRead(covers[at]);
    return chosen;
}
