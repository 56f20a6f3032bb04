// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/asf.h"

#include <string.h>

#include <string_view>

#include "platform/bytes.h"
#include "reader/syntax/asf_identifiers.h"

namespace {

constexpr int64_t kObjectHeader = 24; // identifier and size

struct Walk {
    ReaderInput *input;
    uint32_t objects_left = kContentBoxesMax;
    bool sound = false;
    bool other = false;
};

bool Is(const uint8_t *bytes, std::string_view identifier) {
    return memcmp(bytes, identifier.data(), kAsfIdentifierSize) == 0;
}

uint64_t Little(const uint8_t *bytes, size_t size) {
    return BytesNumber(bytes, size, ByteOrder::kLittle);
}

void StreamRead(Walk *walk, int64_t begin) {
    uint8_t kind[kAsfIdentifierSize];
    if (!FileBytes(walk->input, begin, kind, sizeof kind))
        return;
    if (Is(kind, kAsfAudioMedia))
        walk->sound = true;
    else if (!Is(kind, kAsfCommandMedia))
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
        const uint64_t size = Little(header + kAsfIdentifierSize, 8);
        if (size < static_cast<uint64_t>(kObjectHeader) || size > static_cast<uint64_t>(end - position))
            return;
        const int64_t inside = position + kObjectHeader;
        const int64_t next = position + static_cast<int64_t>(size);
        if (Is(header, kAsfStreamProperties))
            StreamRead(walk, inside);
        else if (Is(header, kAsfHeaderExtension) && depth < kDeepest)
            ObjectsRead(walk, inside + kExtensionFixed, next, depth + 1);
        else if (Is(header, kAsfExtendedStreamProperties) && depth < kDeepest)
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
        const uint64_t size = Little(head.bytes.data() + kAsfIdentifierSize, 8);
        const auto left = static_cast<uint64_t>(head.input->size - head.begin);
        ObjectsRead(&walk, begin, head.begin + static_cast<int64_t>(size < left ? size : left), 0);
    }
    return walk.sound && !walk.other ? ContentFormat::asf_sound : ContentFormat::film;
}
