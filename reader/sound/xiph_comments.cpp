// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/sound/xiph_comments.h"

#include <utility>

#include "platform/limits.h"
#include "reader/sound/ogg_comments.h"
#include "reader/sound/picture_choice.h"
#include "reader/sound/sound_bytes.h"
#include "reader/sound/tag_tables.h"

namespace {

// "CHAPTER001NAME" beside "CHAPTER001", which is its time.
std::string KeyOf(const TagLib::String &key) {
    const std::string name = key.to8Bit(true);
    return name.starts_with("CHAPTER") && name.ends_with("NAME") ? "CHAPTER NAME" : name;
}

void PicturesAdd(const TagLib::List<TagLib::FLAC::Picture *> &from, std::vector<TagLib::ByteVector> *bytes,
                 std::vector<unsigned> *types) {
    for (const TagLib::FLAC::Picture *picture : from) {
        if (bytes->size() >= kSoundPicturesMax)
            return;
        bytes->push_back(picture->data());
        types->push_back(static_cast<unsigned>(picture->type()));
    }
}

// At the comments' vendor: its length, the vendor, the number of comments.
bool CommentsAreBounded(ReaderInput *input, int64_t vendor) {
    uint8_t number[4];
    if (SoundRead(input, vendor, number) < sizeof number)
        return false;
    const int64_t length = static_cast<int64_t>(BytesNumber(number, sizeof number, ByteOrder::kLittle));
    if (SoundRead(input, vendor + 4 + length, number) < sizeof number)
        return false;
    return BytesNumber(number, sizeof number, ByteOrder::kLittle) <= kSoundItemsMax;
}

} // namespace

void XiphFactsAdd(TagLib::Ogg::XiphComment *comments, const TagLib::List<TagLib::FLAC::Picture *> &pictures,
                  SoundFile *file) {
    std::vector<TagLib::ByteVector> bytes;
    std::vector<unsigned> types;
    PicturesAdd(pictures, &bytes, &types);
    if (comments != nullptr) {
        TagItems items;
        for (const auto &[key, values] : comments->fieldListMap()) {
            for (const TagLib::String &value : values)
                items.push_back({KeyOf(key), value.to8Bit(true)});
        }
        FactsFromItems(items, kXiphTable, FactSource::taglib, file->facts);
        PicturesAdd(comments->pictureList(), &bytes, &types);
    }
    std::vector<TagPicture> choice;
    for (size_t i = 0; i < bytes.size(); ++i) {
        const auto &picture = std::as_const(bytes[i]);
        choice.push_back({types[i], {reinterpret_cast<const uint8_t *>(picture.data()), picture.size()}});
    }
    PicturesTake(choice, file->picture);
}

bool FlacCommentsAreBounded(ReaderInput *input, int64_t begin) {
    constexpr uint8_t kComments = 4;
    constexpr uint8_t kLast = 0x80;
    uint8_t header[4];
    if (SoundRead(input, begin, header) < sizeof header || !BeginsWith(header, "fLaC"))
        return false;
    int64_t at = begin + 4;
    for (size_t i = 0; i < kSoundItemsMax; ++i) {
        if (SoundRead(input, at, header) < sizeof header)
            return true;
        at += 4;
        if ((header[0] & ~kLast) == kComments && !CommentsAreBounded(input, at))
            return false;
        if ((header[0] & kLast) != 0)
            return true;
        at += BigEndian24(header + 1);
    }
    return false;
}

bool OggCommentsAreBounded(ReaderInput *input) {
    int64_t first = 0;
    int64_t content = 0; // of the second page, which begins with the comments
    const int64_t second = OggPageSkip(input, 0, &first);
    if (second < 0 || OggPageSkip(input, second, &content) < 0)
        return false;
    const int64_t comments = OggCommentsAt(input, first, content);
    return comments >= 0 && CommentsAreBounded(input, content + comments);
}
