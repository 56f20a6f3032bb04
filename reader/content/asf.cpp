// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/asf.h"

#include <string.h>

#include <string_view>

#include "platform/bytes.h"

namespace {

using namespace std::string_view_literals;

// Identifiers (ASF 1.20, section 10), as they stand in files.
constexpr auto kStreamProperties = "\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"sv;
constexpr auto kHeaderExtension = "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65"sv;
constexpr auto kExtendedProperties = "\xCB\xA5\xE6\x14\x72\xC6\x32\x43\x83\x99\xA9\x69\x52\x06\x5B\x5A"sv;
constexpr auto kAudioStream = "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"sv;
constexpr auto kCommandStream = "\xC0\xCF\xDA\x59\xE6\x59\xD0\x11\xA3\xAC\x00\xA0\xC9\x03\x48\xF6"sv;

constexpr int64_t kObjectHeader = 24; // identifier and size
constexpr size_t kIdentifier = 16;

struct Walk {
    ReaderInput *input;
    uint32_t objects_left = kContentBoxesMax;
    bool sound = false;
    bool other = false;
};

bool Is(const uint8_t *bytes, std::string_view identifier) {
    return memcmp(bytes, identifier.data(), kIdentifier) == 0;
}

uint64_t Little(const uint8_t *bytes, size_t size) {
    return BytesNumber(bytes, size, ByteOrder::kLittle);
}

void StreamRead(Walk *walk, int64_t begin) {
    uint8_t kind[kIdentifier];
    if (!FileBytes(walk->input, begin, kind, sizeof kind))
        return;
    if (Is(kind, kAudioStream))
        walk->sound = true;
    else if (!Is(kind, kCommandStream))
        walk->other = true;
}

// Where the stream properties inside extended ones begin, or `end` when there are none.
int64_t EmbeddedProperties(Walk *walk, int64_t begin, int64_t end) {
    constexpr int64_t kFixed = 64;
    constexpr size_t kNameHeader = 4;
    constexpr size_t kSystemHeader = 22;
    uint8_t counts[4];
    if (!FileBytes(walk->input, begin + kFixed - 4, counts, sizeof counts))
        return end;
    int64_t position = begin + kFixed;
    for (uint64_t left = Little(counts, 2); left > 0 && walk->objects_left > 0; --left) {
        uint8_t name[kNameHeader];
        if (position >= end || !FileBytes(walk->input, position, name, sizeof name))
            return end;
        --walk->objects_left;
        position += static_cast<int64_t>(kNameHeader + Little(name + 2, 2));
    }
    for (uint64_t left = Little(counts + 2, 2); left > 0 && walk->objects_left > 0; --left) {
        uint8_t system[kSystemHeader];
        if (position >= end || !FileBytes(walk->input, position, system, sizeof system))
            return end;
        --walk->objects_left;
        position += static_cast<int64_t>(kSystemHeader + Little(system + 18, 4));
    }
    return position;
}

// `depth` counts the objects that hold these: extended properties are in the header's extension, and streams in both.
void ObjectsRead(Walk *walk, int64_t begin, int64_t end, int depth) {
    constexpr int kDeepest = 2;
    constexpr int64_t kExtensionFixed = 22;
    int64_t position = begin;
    while (walk->objects_left > 0 && end - position >= kObjectHeader) {
        uint8_t header[kObjectHeader];
        if (!FileBytes(walk->input, position, header, sizeof header))
            return;
        --walk->objects_left;
        const uint64_t size = Little(header + kIdentifier, 8);
        if (size < static_cast<uint64_t>(kObjectHeader) || size > static_cast<uint64_t>(end - position))
            return;
        const int64_t inside = position + kObjectHeader;
        const int64_t next = position + static_cast<int64_t>(size);
        if (Is(header, kStreamProperties))
            StreamRead(walk, inside);
        else if (Is(header, kHeaderExtension) && depth < kDeepest)
            ObjectsRead(walk, inside + kExtensionFixed, next, depth + 1);
        else if (Is(header, kExtendedProperties) && depth < kDeepest)
            ObjectsRead(walk, EmbeddedProperties(walk, inside, next), next, depth + 1);
        position = next;
    }
}

} // namespace

ContentFormat AsfLook(const ContentHead &head) {
    constexpr int64_t kFirstObject = 30;
    Walk walk = {head.input};
    const int64_t begin = head.begin + kFirstObject;
    if (head.size > static_cast<size_t>(kFirstObject)) {
        const uint64_t size = Little(head.bytes.data() + kIdentifier, 8);
        const auto left = static_cast<uint64_t>(head.input->size - head.begin);
        ObjectsRead(&walk, begin, head.begin + static_cast<int64_t>(size < left ? size : left), 0);
    }
    return walk.sound && !walk.other ? ContentFormat::asf_sound : ContentFormat::film;
}
