// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/cr3.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

#include "platform/limits.h"
#include "reader/photo/boxes.h"
#include "reader/photo/picture.h"

namespace {

using namespace std::string_view_literals;

constexpr std::string_view kBrand = "ftypcrx "sv;
constexpr std::string_view kCanonId = "\x85\xC0\xB6\x87\x82\x0F\x11\xE0\x81\x11\xF4\xCE\x46\x2B\x6A\x48"sv;
constexpr std::string_view kXmpId = "\xBE\x7A\xCF\xCB\x97\xA9\x42\xE8\x9C\x71\x99\x94\x91\xE3\xAF\xAC"sv;

// Of the picture, of how it was taken, of the maker's own kind, and of the place.
constexpr std::array kBlocks = {BoxType("CMT1"), BoxType("CMT2"), BoxType("CMT3"), BoxType("CMT4")};

std::vector<uint8_t> BoxOf(uint32_t type, std::string_view id, std::span<const uint8_t> content) {
    constexpr size_t kNumber = 4; // bytes of the size, and of the type
    std::vector<uint8_t> box(2 * kNumber + id.size() + content.size());
    BytesNumberPut(&box[0], kNumber, box.size(), ByteOrder::kBig);
    BytesNumberPut(&box[kNumber], kNumber, type, ByteOrder::kBig);
    const auto behind = std::copy(id.begin(), id.end(), box.begin() + 2 * kNumber);
    std::copy(content.begin(), content.end(), behind);
    return box;
}

void Append(std::vector<uint8_t> *bytes, const std::vector<uint8_t> &more) {
    bytes->insert(bytes->end(), more.begin(), more.end());
}

struct Parts {
    BoxWalk walk;
    std::vector<uint8_t> blocks; // as boxes, each as large as in the file
    std::vector<uint8_t> xmp;
};

// Whether the box is one of those that a number tells apart. Its content begins behind that then.
bool HasId(ReaderInput *input, Box *box, std::string_view id) {
    if (!box->Is("uuid") || Characters(FilePart(input, static_cast<uint64_t>(box->begin), id.size())) != id)
        return false;
    box->begin = std::min(box->begin + static_cast<int64_t>(id.size()), box->end);
    return true;
}

void BlocksCollect(Parts *parts, const Box &canon) {
    Box box;
    for (int64_t at = canon.begin; BoxTake(&parts->walk, &at, canon.end, &box);) {
        const bool is_block = std::find(kBlocks.begin(), kBlocks.end(), box.type) != kBlocks.end();
        if (!is_block || parts->blocks.size() > kPhotoValueMax)
            continue;
        const std::vector<uint8_t> content = FileBoxRead(parts->walk.input, box);
        if (!content.empty())
            Append(&parts->blocks, BoxOf(box.type, {}, content));
    }
}

void MovieCollect(Parts *parts, const Box &movie) {
    Box box;
    for (int64_t at = movie.begin; BoxTake(&parts->walk, &at, movie.end, &box);) {
        if (HasId(parts->walk.input, &box, kCanonId))
            BlocksCollect(parts, box);
    }
}

Parts PartsCollect(ReaderInput *input) {
    Parts parts = {{input, kPhotoBoxesMax}, {}, {}};
    Box box;
    for (int64_t at = 0; BoxTake(&parts.walk, &at, input->size, &box);) {
        if (box.Is("moov"))
            MovieCollect(&parts, box);
        else if (HasId(input, &box, kXmpId))
            parts.xmp = FileBoxRead(input, box);
    }
    return parts;
}

} // namespace

bool IsCr3(ReaderInput *input) {
    constexpr uint64_t kBrandAt = 4; // behind the size of its box
    return Characters(FilePart(input, kBrandAt, kBrand.size())) == kBrand;
}

bool Cr3Read(ReaderInput *input, PhotoMetadata *metadata, std::string *reason) {
    const Parts parts = PartsCollect(input);
    std::vector<uint8_t> file = BoxOf(BoxType(kBrand.substr(0, 4)), kBrand.substr(4), {});
    Append(&file, BoxOf(BoxType("moov"), {}, BoxOf(BoxType("uuid"), kCanonId, parts.blocks)));
    const bool read = PictureBytesRead(file, metadata, reason);
    if (!parts.xmp.empty())
        XmpBlockRead(Characters(parts.xmp), metadata);
    return read;
}
