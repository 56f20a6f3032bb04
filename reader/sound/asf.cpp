// SPDX-License-Identifier: GPL-2.0-or-later
#include <taglib/asfattribute.h>
#include <taglib/asffile.h>
#include <taglib/asfpicture.h>

#include <utility>

#include "platform/limits.h"
#include "reader/sound/asf_packets.h"
#include "reader/sound/library_files.h"
#include "reader/sound/library_stream.h"
#include "reader/sound/picture_choice.h"
#include "reader/sound/sound_bytes.h"
#include "reader/sound/tag_tables.h"
#include "reader/sound/wave_codecs.h"
#include "reader/syntax/asf_identifiers.h"

namespace {

// Their number of attributes stands at the front of each of these, in two bytes.
constexpr std::string_view kAttributeLists[] = {kAsfExtendedContentDescription, kAsfMetadata,
                                                kAsfMetadataLibrary};

// Each object: its identifier and its size. Those of the extension are looked at as if they stood behind one another.
struct AsfObject {
    std::string_view identifier;
    Cursor content; // its beginning
};

constexpr int64_t kFirstObject = 30; // behind identifier, size, number of objects and two bytes

// Where the header ends; 0 when it is not there.
int64_t HeaderEnd(ReaderInput *input) {
    uint8_t header[kFirstObject];
    if (SoundRead(input, 0, header) < sizeof header)
        return 0;
    Cursor size{{header + kAsfIdentifierSize, 8}};
    return static_cast<int64_t>(std::min(TakeLittle(&size, 8), static_cast<uint64_t>(input->size)));
}

// Calls `look` for each object of the header, until it returns false. Returns whether it went to the end of all.
template <class Look>
bool ObjectsLook(ReaderInput *input, Look look) {
    constexpr size_t kObjectHeader = 24;
    constexpr int64_t kExtensionHeader = 46;
    uint8_t object[kObjectHeader + 54 + 64];
    const int64_t end = HeaderEnd(input);
    int64_t at = kFirstObject;
    for (int i = 0; at < end; ++i) {
        Cursor cursor{{object, SoundRead(input, at, object)}};
        const std::string_view identifier = Characters(Take(&cursor, kAsfIdentifierSize));
        const uint64_t size = TakeLittle(&cursor, 8);
        if (cursor.cut || size < kObjectHeader || i == kSoundChunksMax ||
            !look(AsfObject{identifier, cursor}))
            return false;
        if (identifier == kAsfHeaderExtension)
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

// What the header says of the first stream of sound.
struct AsfSound {
    WaveFormat format;
    uint64_t number = 0; // of the stream; 0: there is none
    AsfPackets packets;
};

AsfSound SoundStreamFind(ReaderInput *input, SoundStream *stream) {
    constexpr int64_t kDataHeader =
        50; // identifier, size, the file's identifier, number of packets, two bytes
    AsfSound sound;
    ObjectsLook(input, [&](AsfObject object) {
        if (object.identifier == kAsfFileProperties) {
            Take(&object.content, 68);
            sound.packets.size = TakeLittle(&object.content, 4);
        } else if (object.identifier == kAsfStreamProperties && sound.number == 0 &&
                   BeginsWith(object.content.rest, kAsfAudioMedia)) {
            Take(&object.content, 48);
            sound.number = TakeLittle(&object.content, 2) & 127;
            Take(&object.content, 4);
            sound.format = WaveFormatRead(object.content.rest, stream);
        }
        return true;
    });
    sound.packets.begin = HeaderEnd(input) + kDataHeader;
    return sound;
}

// bit/s; 0: it cannot be told.
double BitRate(ReaderInput *input, const AsfSound &sound, double duration) {
    if (sound.format.bytes_per_second != 0)
        return static_cast<double>(sound.format.bytes_per_second) * 8;
    // Left open, as for VBR, and by some for MPEG audio of any kind.
    const bool is_mpeg = sound.format.tag == kWaveMpeg || sound.format.tag == kWaveMpegLayer3;
    const double rate = is_mpeg ? AsfMpegRate(input, sound.packets, sound.number) : 0;
    return rate > 0 ? rate : duration > 0 ? static_cast<double>(input->size) * 8 / duration : 0;
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
    const AsfSound sound = SoundStreamFind(file->input, &stream);
    if (asf.audioProperties() != nullptr)
        stream.duration = asf.audioProperties()->lengthInMilliseconds() / 1000.0;
    stream.bitrate = BitRate(file->input, sound, stream.duration);
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
