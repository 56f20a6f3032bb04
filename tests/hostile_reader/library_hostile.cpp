// SPDX-License-Identifier: GPL-2.0-or-later
//
// A reader with a library that files take over: one that begins with kHostileMark has its word carried out. Of all others
// the title is "honest". Whatever a file is, it is sound.
#include "reader/program/library.h"

#include <errno.h>
#include <string.h>

#include <algorithm>
#include <string>

#include "tests/hostile_reader/deeds.h"

// What --wrap of the linker makes of AnswerEncode.
extern "C" {
void RealAnswerEncode(const Answer &answer, std::vector<std::byte> *packet) asm(
    "__real__Z12AnswerEncodeRK6AnswerPSt6vectorISt4byteSaIS3_EE");
void WrappedAnswerEncode(const Answer &answer, std::vector<std::byte> *packet) asm(
    "__wrap__Z12AnswerEncodeRK6AnswerPSt6vectorISt4byteSaIS3_EE");
}

namespace {

std::string word; // of the present file

std::string WordRead(ReaderInput *input) {
    char begin[128] = {};
    const size_t there = InputRead(input, 0, std::as_writable_bytes(std::span(begin)));
    std::string_view text(begin, there);
    if (!text.starts_with(kHostileMark))
        return {};
    text.remove_prefix(kHostileMark.size());
    return std::string(text.substr(0, std::min(text.find('\n'), text.size())));
}

} // namespace

const ReaderKind kLibraryKind = ReaderKind::sound_and_photos;

void LibraryWarm() {}

ContentFormat ContentLook(ReaderInput *) {
    return ContentFormat::flac;
}

ReaderKind ContentReader(ContentFormat) {
    return kLibraryKind;
}

ContentClass ContentClassOf(ContentFormat) {
    return ContentClass::sound;
}

ReadOutcome LibraryRead(ReaderInput *input, ContentFormat, FactList *facts, PictureSink *picture) {
    word = WordRead(input);
    FactAddText(facts, FactName::title, FactSource::own, word.empty() ? "honest" : word);
    if (word == "to-films")
        return {AnswerStatus::films, ContentClass::film, {}};
    std::string cover = "GIF89a and so on";
    if (word == "large-picture")
        cover.resize(kReaderSmallPictureMax + 1);
    if (word == "picture" || word == "large-picture")
        PictureTake(picture, std::as_bytes(std::span(cover)));
    const long result = LibraryDeed(word, *picture);
    if (result == -1)
        return {AnswerStatus::failed, ContentClass::sound, strerrorname_np(errno)};
    if (result >= 0)
        FactAddNumber(facts, FactName::year, FactSource::own, static_cast<double>(result));
    return {AnswerStatus::read, ContentClass::sound, {}};
}

ReadOutcome LibraryPlaylistRead(ReaderInput *, FactList *, EntryList *) {
    return {};
}

void WrappedAnswerEncode(const Answer &answer, std::vector<std::byte> *packet) {
    RealAnswerEncode(answer, packet);
    AnswerDeed(word, packet);
    word.clear();
}
