// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/photo/gif.h"

#include <algorithm>
#include <array>

#include "platform/limits.h"
#include "reader/photo/boxes.h"
#include "reader/photo/size.h"

namespace {

using namespace std::string_view_literals;

// GIF89a, section 18: a table of colours is announced in a bit, with the logarithm of its entries less one.
constexpr uint8_t kHasColours = 0x80;

constexpr uint8_t kPicture = 0x2C;
constexpr uint8_t kExtension = 0x21;
constexpr uint8_t kComment = 0xFE;
constexpr uint8_t kApplication = 0xFF;

constexpr std::string_view kXmpApplication = "\x0BXMP DataXMP"sv;

struct Walk {
    ReaderInput *input;
    int64_t at;
    int64_t end;
};

// 0 behind the end, which ends whatever is being read.
uint8_t ByteTake(Walk *walk) {
    std::byte byte{};
    if (walk->at < walk->end)
        InputRead(walk->input, walk->at, {&byte, 1});
    ++walk->at;
    return static_cast<uint8_t>(byte);
}

void ColoursSkip(Walk *walk, uint8_t flags) {
    if ((flags & kHasColours) != 0)
        walk->at += int64_t{3} << ((flags & 7) + 1);
}

// Goes over blocks of up to 255 bytes with their sizes in front, to behind the empty one that ends them.
void BlocksSkip(Walk *walk) {
    for (uint8_t size = ByteTake(walk); size != 0; size = ByteTake(walk))
        walk->at += size;
}

std::string BlocksText(Walk *walk) {
    std::string text;
    for (uint8_t size = ByteTake(walk); size != 0; size = ByteTake(walk)) {
        std::array<std::byte, UINT8_MAX> block;
        const size_t got = InputRead(walk->input, walk->at, std::span(block).first(size));
        if (text.size() < kPhotoValueMax)
            text.append(reinterpret_cast<const char *>(block.data()), got);
        walk->at += size;
    }
    return text;
}

// The packet stands there as it is. Whoever takes its bytes for sizes of blocks comes into the bytes behind it, which lead
// out from wherever one steps in; they begin with one that is in no XML.
void XmpRead(Walk *walk, PhotoMetadata *metadata) {
    constexpr char kBehindPacket = 1;
    const int64_t begin = walk->at;
    BlocksSkip(walk);
    const std::vector<uint8_t> packet =
        FilePart(walk->input, static_cast<uint64_t>(begin), static_cast<uint64_t>(walk->at - begin));
    const std::string_view text = Characters(packet);
    XmpBlockRead(text.substr(0, text.find(kBehindPacket)), metadata);
}

void ExtensionRead(Walk *walk, PhotoMetadata *metadata) {
    const uint8_t label = ByteTake(walk);
    std::array<std::byte, kXmpApplication.size()> name{};
    InputRead(walk->input, walk->at, name);
    if (label == kApplication &&
        std::string_view(reinterpret_cast<const char *>(name.data()), name.size()) == kXmpApplication) {
        walk->at += static_cast<int64_t>(name.size());
        XmpRead(walk, metadata);
    } else if (label == kComment && metadata->comment.empty()) {
        metadata->comment = BlocksText(walk);
    } else {
        BlocksSkip(walk);
    }
}

} // namespace

void GifRead(ReaderInput *input, PhotoMetadata *metadata) {
    constexpr int64_t kScreenFlags = 10;
    constexpr int64_t kScreen = 13;
    constexpr int64_t kPlace = 8; // of a picture on the screen
    metadata->size = PlainSize(input);
    Walk walk = {input, kScreenFlags, std::min(input->size, static_cast<int64_t>(kPhotoBytesMax))};
    const uint8_t screen = ByteTake(&walk);
    walk.at = kScreen;
    ColoursSkip(&walk, screen);
    while (walk.at < walk.end) {
        switch (ByteTake(&walk)) {
        case kPicture:
            walk.at += kPlace;
            ColoursSkip(&walk, ByteTake(&walk));
            ByteTake(&walk); // bits of a code
            BlocksSkip(&walk);
            break;
        case kExtension:
            ExtensionRead(&walk, metadata);
            break;
        default: // the end, or damage
            return;
        }
    }
}
