// SPDX-License-Identifier: GPL-2.0-or-later
#include <taglib/asfattribute.h>
#include <taglib/asffile.h>
#include <taglib/asfpicture.h>

#include <utility>

#include "platform/limits.h"
#include "reader/sound/library_files.h"
#include "reader/sound/library_stream.h"
#include "reader/sound/picture_choice.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/wave_codecs.h"

namespace {

using namespace std::string_view_literals;

// Identifiers of objects (ASF specification, section 10), as files have them.
constexpr std::string_view kStreamProperties =
    "\x91\x07\xDC\xB7\xB7\xA9\xCF\x11\x8E\xE6\x00\xC0\x0C\x20\x53\x65"sv;
constexpr std::string_view kSoundStream =
    "\x40\x9E\x69\xF8\x4D\x5B\xCF\x11\xA8\xFD\x00\x80\x5F\x5C\x44\x2B"sv;

constexpr size_t kIdentifier = 16;

// Lists of attributes: their number stands at the front of all of them, in two bytes.
constexpr std::string_view kAttributeLists[] = {
    "\x40\xA4\xD0\xD2\x07\xE3\xD2\x11\x97\xF0\x00\xA0\xC9\x5E\xA8\x50"sv,
    "\xEA\xCB\xF8\xC5\xAF\x5B\x77\x48\x84\x67\xAA\x8C\x44\xFA\x4C\xCA"sv,
    "\x94\x1C\x23\x44\x98\x94\xD1\x49\xA1\x41\x1D\x13\x4E\x45\x70\x54"sv,
};
constexpr std::string_view kExtension = "\xB5\x03\xBF\x5F\x2E\xA9\xCF\x11\x8E\xE3\x00\xC0\x0C\x20\x53\x65"sv;

// Each object: its identifier and its size. Those of the extension are looked at as if they stood behind one another.
struct AsfObject {
    std::string_view identifier;
    Cursor content; // its beginning
};

// Calls `look` for each object of the header, until it returns false. Returns whether it went to the end of all.
template <class Look>
bool ObjectsLook(ReaderInput *input, Look look) {
    constexpr int64_t kFirstObject = 30; // behind identifier, size, number of objects and two bytes
    constexpr size_t kObjectHeader = 24;
    constexpr int64_t kExtensionHeader = 46;
    uint8_t object[kObjectHeader + 54 + 64];
    uint8_t header[kFirstObject];
    if (SoundRead(input, 0, header) < sizeof header)
        return false;
    Cursor size_of_header{{header + kIdentifier, 8}};
    const auto end =
        static_cast<int64_t>(std::min(TakeLittle(&size_of_header, 8), static_cast<uint64_t>(input->size)));
    int64_t at = kFirstObject;
    for (int i = 0; at < end; ++i) {
        Cursor cursor{{object, SoundRead(input, at, object)}};
        const std::string_view identifier = Characters(Take(&cursor, kIdentifier));
        const uint64_t size = TakeLittle(&cursor, 8);
        if (cursor.cut || size < kObjectHeader || i == kSoundChunksMax ||
            !look(AsfObject{identifier, cursor}))
            return false;
        if (identifier == kExtension)
            at += kExtensionHeader;
        else
            at += static_cast<int64_t>(std::min(size, static_cast<uint64_t>(input->size)));
    }
    return true;
}

// TagLib takes as many attributes as a list says, whether they are there or not.
bool AttributesAreBounded(ReaderInput *input) {
    uint64_t attributes = 0;
    return ObjectsLook(input, [&](AsfObject object) {
        for (const std::string_view list : kAttributeLists)
            attributes += object.identifier == list ? TakeLittle(&object.content, 2) : 0;
        return attributes <= kSoundItemsMax;
    });
}

void SoundStreamFind(ReaderInput *input, SoundStream *stream) {
    ObjectsLook(input, [&](AsfObject object) {
        if (object.identifier != kStreamProperties || !BeginsWith(object.content.rest, kSoundStream))
            return true;
        Take(&object.content, 54);
        const WaveFormat format = WaveFormatRead(object.content.rest, stream);
        stream->bitrate = static_cast<double>(format.bytes_per_second) * 8;
        return false;
    });
}

std::string TextOf(const TagLib::ASF::Attribute &attribute) {
    switch (attribute.type()) {
    case TagLib::ASF::Attribute::BoolType:
        return attribute.toBool() != 0 ? "1" : "0";
    case TagLib::ASF::Attribute::WordType:
        return std::to_string(attribute.toUShort());
    case TagLib::ASF::Attribute::DWordType:
        return std::to_string(attribute.toUInt());
    case TagLib::ASF::Attribute::QWordType:
        return std::to_string(attribute.toULongLong());
    case TagLib::ASF::Attribute::UnicodeType:
        return attribute.toString().to8Bit(true);
    case TagLib::ASF::Attribute::BytesType:
    case TagLib::ASF::Attribute::GuidType:
        break;
    }
    return {};
}

void PicturesAdd(const TagLib::ASF::AttributeList &attributes, SoundFile *file) {
    std::vector<TagLib::ByteVector> bytes;
    std::vector<TagPicture> choice;
    for (const TagLib::ASF::Attribute &attribute : attributes) {
        if (bytes.size() >= kSoundPicturesMax)
            break;
        const TagLib::ASF::Picture picture = attribute.toPicture();
        bytes.push_back(picture.picture());
        const auto &data = std::as_const(bytes.back());
        choice.push_back({static_cast<unsigned>(picture.type()),
                          {reinterpret_cast<const uint8_t *>(data.data()), data.size()}});
    }
    PicturesTake(choice, file->picture);
}

} // namespace

void AsfRead(SoundFile *file) {
    if (!AttributesAreBounded(file->input))
        return;
    LibraryStream library_stream(file->input, 0, file->input->size);
    const TagLib::ASF::File asf(&library_stream);
    if (!asf.isValid() || asf.tag() == nullptr)
        return;
    SoundStream stream;
    SoundStreamFind(file->input, &stream);
    if (asf.audioProperties() != nullptr)
        stream.duration = asf.audioProperties()->lengthInMilliseconds() / 1000.0;
    if (!(stream.bitrate > 0) && stream.duration > 0) // left open, as for VBR
        stream.bitrate = static_cast<double>(file->input->size) * 8 / stream.duration;
    stream.container = "asf";
    StreamFactsAdd(stream, FactSource::taglib, file->facts);

    // These four have an object of their own, without names; of several authors the others are attributes.
    const TagLib::ASF::Tag &tag = *asf.tag();
    TagItems items{{"Title", tag.title().to8Bit(true)},
                   {"Author", tag.artist().to8Bit(true)},
                   {"Description", tag.comment().to8Bit(true)}};
    for (const auto &[name, attributes] : tag.attributeListMap()) {
        if (name == "WM/Picture")
            PicturesAdd(attributes, file);
        else
            for (const TagLib::ASF::Attribute &attribute : attributes)
                items.push_back({name.to8Bit(true), TextOf(attribute)});
    }
    FactsFromItems(items, kAsfTable, FactSource::taglib, file->facts);
}
