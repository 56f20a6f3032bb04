// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/content/content.h"

#include <algorithm>
#include <string_view>

#include "platform/bytes.h"
#include "reader/content/frames.h"
#include "reader/content/head.h"
#include "reader/content/magic.h"
#include "reader/content/streams.h"
#include "reader/content/text.h"

namespace {

using namespace std::string_view_literals;

// Returns the bytes of the tag that the head begins with, 0 when there is none.
int64_t TagLength(const ContentHead &head) {
    constexpr size_t kId3Header = 10; // id3.org 2.4.0, section 3.1
    constexpr uint8_t kId3Footer = 0x10;
    constexpr size_t kApeHeader = 32; // ahead of the items, whose bytes it counts
    if (head.size >= kId3Header && HeadHas(head, 0, "ID3"sv) && head.bytes[3] != 0xFF &&
        head.bytes[4] != 0xFF)
        return int64_t{kId3Header} + Syncsafe32(head.bytes.data() + 6) +
               ((head.bytes[5] & kId3Footer) != 0 ? int64_t{kId3Header} : 0);
    if (head.size >= kApeHeader && HeadHas(head, 0, "APETAGEX"sv))
        return static_cast<int64_t>(kApeHeader + BytesNumber(head.bytes.data() + 12, 4, ByteOrder::kLittle));
    return 0;
}

// Targa has no mark at its begin: newer files have one at their end, and all a header of few possible values.
bool IsTarga(const ContentHead &head) {
    constexpr auto kEndMark = "TRUEVISION-XFILE.\0"sv;
    constexpr size_t kHeader = 18;
    constexpr uint8_t kTypes[] = {1, 2, 3, 9, 10, 11};
    constexpr uint8_t kDepths[] = {8, 15, 16, 24, 32};
    const auto is_one = [](const auto &values, uint8_t value) {
        return std::find(std::begin(values), std::end(values), value) != std::end(values);
    };
    if (head.size < kHeader || head.bytes[1] > 1 || !is_one(kTypes, head.bytes[2]) ||
        !is_one(kDepths, head.bytes[16]))
        return false;
    if (head.input->extension == "tga")
        return true;
    char end[kEndMark.size()];
    return FileBytes(head.input, head.input->size - static_cast<int64_t>(kEndMark.size()),
                     reinterpret_cast<uint8_t *>(end), sizeof end) &&
           std::string_view(end, sizeof end) == kEndMark;
}

bool IsNamedMpeg(const ReaderInput &input) {
    constexpr std::string_view kExtensions[] = {"mp3", "mp2", "mp1", "mpa", "aac"};
    return std::find(std::begin(kExtensions), std::end(kExtensions), input.extension) !=
           std::end(kExtensions);
}

} // namespace

ContentFormat ContentLook(ReaderInput *input) {
    ContentHead head = HeadRead(input, 0);
    for (int tags = 0; tags < kContentTagsMax && TagLength(head) > 0; ++tags)
        head = HeadRead(input, head.begin + TagLength(head));
    const bool tagged = head.begin > 0;
    for (const auto look : {MagicLook, StreamLook, FramesLook, TextLook}) {
        const ContentFormat format = look(head);
        if (format != ContentFormat::unknown)
            return format;
    }
    if (IsTarga(head))
        return ContentFormat::targa;
    if (!tagged && !IsNamedMpeg(*input))
        return ContentFormat::unknown;
    const ContentFormat format = FramesSearch(head);
    // A tag whose sound is damaged or away says something all the same.
    return format == ContentFormat::unknown && tagged ? ContentFormat::mpeg_audio : format;
}
