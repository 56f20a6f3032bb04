// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/cover_choice.h"

#include <algorithm>

#include "platform/file.h"
#include "tools/veluctl/covers.h"

namespace {

constexpr std::string_view kJpegStart = "\xFF\xD8\xFF";
constexpr std::string_view kPngStart = "\x89PNG\r\n\x1A\n";
constexpr std::string_view kFrontCover = "/3_"; // its picture type in id3.org 2.3.0, section 4.15

bool IsFit(const KeptCover &cover) {
    return cover.size > 0 && cover.size <= kCoverBytesMax && cover.width > 0 && cover.height > 0 &&
           cover.width <= kCoverSideMax && cover.height <= kCoverSideMax;
}

bool IsFront(const KeptCover &cover) {
    return cover.path.compare(cover.path.rfind('/'), kFrontCover.size(), kFrontCover) == 0;
}

// Empty when it cannot be read whole or has grown meanwhile.
std::string BytesOf(const std::string &path) {
    const FdHandle file = OpenForReading(path.c_str(), O_NOFOLLOW);
    std::string bytes(kCoverBytesMax + 1, '\0');
    int failure = 0;
    const size_t got = file ? FileReadUpTo(file, 0, bytes.data(), bytes.size(), &failure) : 0;
    if (failure != 0)
        return {};
    bytes.resize(got <= kCoverBytesMax ? got : 0);
    return bytes;
}

} // namespace

PictureKind PictureKindOf(std::string_view bytes) {
    if (bytes.starts_with(kJpegStart))
        return PictureKind::jpeg;
    return bytes.starts_with(kPngStart) ? PictureKind::png : PictureKind::none;
}

ChosenCover CoverChoose(const std::string &media_path) {
    std::vector<KeptCover> covers = CoversOf(media_path);
    std::stable_partition(covers.begin(), covers.end(), IsFront);
    for (const KeptCover &cover : covers) {
        if (!IsFit(cover))
            continue;
        std::string bytes = BytesOf(cover.path);
        const PictureKind kind = PictureKindOf(bytes);
        if (kind != PictureKind::none)
            return {kind, std::move(bytes)};
    }
    return {};
}
