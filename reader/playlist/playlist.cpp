// SPDX-License-Identifier: GPL-2.0-or-later
#include <algorithm>
#include <span>
#include <vector>

#include "platform/limits.h"
#include "platform/playlist_bounds.h"
#include "reader/playlist/elements.h"
#include "reader/playlist/formats.h"
#include "reader/playlist/lines.h"
#include "reader/protocol/charset.h"
#include "reader/readers.h"
#include "reader/text/code_pages.h"
#include "reader/text/utf16.h"

namespace {

using namespace std::string_view_literals;

using FormatRead = void (*)(std::string_view text, PlaylistOut *out);

struct Format {
    std::string_view mark; // what the text begins with, or holds in its begin when that is an element
    std::string_view extension;
    FormatRead read;
    bool elements = false;
};

// The first whose mark is there, else the one that the name's extension says, else the first.
constexpr Format kFormats[] = {
    {"#EXTM3U"sv, "m3u"sv, M3uRead},
    {"[playlist]"sv, "pls"sv, PlsRead},
    {"[Reference]"sv, {}, PlsRead},
    {"<asx"sv, "asx"sv, AsxRead, true},
    {"<?wpl"sv, "wpl"sv, WplRead, true},
    {"<smil"sv, {}, WplRead, true},
    {"<playlist"sv, "xspf"sv, XspfRead, true},
    {{}, "cue"sv, CueRead},
};

bool HasMark(std::string_view begin, const Format &format) {
    if (!format.elements || !begin.starts_with('<'))
        return !format.mark.empty() && BeginsWithWord(begin, format.mark);
    for (size_t at = 0; at < begin.size(); ++at) {
        at = begin.find('<', at);
        if (at == std::string_view::npos)
            return false;
        if (BeginsWithWord(begin.substr(at), format.mark))
            return true;
    }
    return false;
}

const Format &FormatOf(std::string_view text, std::string_view extension) {
    const std::string_view begin = WithoutFirst(text, kWhite).substr(0, kContentHead);
    const auto *found =
        std::ranges::find_if(kFormats, [&](const Format &format) { return HasMark(begin, format); });
    if (found == std::end(kFormats))
        found = std::ranges::find(kFormats, extension, &Format::extension);
    const bool fits = found != std::end(kFormats) && found->elements == begin.starts_with('<');
    return fits ? *found : kFormats[0];
}

// False for text without the mark of UTF-16.
bool Utf16Take(Bytes bytes, std::string *text) {
    const bool big = BeginsWith(bytes, "\xFE\xFF");
    if (!big && !BeginsWith(bytes, "\xFF\xFE"))
        return false;
    *text = TextOfUtf16(bytes.subspan(2), big ? ByteOrder::kBig : ByteOrder::kLittle);
    return true;
}

// Reads the text of a file. What is cut off begins with the last line, which may not be whole.
std::string TextRead(ReaderInput *input, bool *cut) {
    *cut = input->size > kPlaylistFileMax;
    std::vector<uint8_t> bytes(static_cast<size_t>(std::clamp<int64_t>(input->size, 0, kPlaylistFileMax)));
    bytes.resize(InputRead(input, 0, std::as_writable_bytes(std::span(bytes))));
    constexpr auto kMark = "\xEF\xBB\xBF"sv;
    std::string text;
    if (!Utf16Take(bytes, &text))
        text = Characters(Bytes(bytes).subspan(BeginsWith(bytes, kMark) ? kMark.size() : 0));
    if (*cut)
        text.resize(text.find_last_of("\r\n") + 1);
    return text;
}

// A document is in one encoding, which it may name.
std::string DocumentText(std::string text, const std::string &charset) {
    const Charset *named = CharsetFind(DocumentEncoding(text));
    return TextGuess(text, named != nullptr ? named->name : charset);
}

} // namespace

void PlaylistEntryAdd(PlaylistOut *out, std::string_view written) {
    const std::string text = TextGuess(written, out->charset);
    EntryAdd(out->entries, text, text == written ? std::string_view() : written);
}

void PlaylistFactAdd(PlaylistOut *out, FactName name, std::string_view written) {
    if (name != FactName::title || FactFind(*out->facts, name) == nullptr)
        FactAddText(out->facts, name, FactSource::own, TextGuess(written, out->charset));
}

ReadOutcome PlaylistEntriesRead(ReaderInput *input, FactList *facts, EntryList *entries) {
    bool cut = false;
    std::string text = TextRead(input, &cut);
    const Format &format = FormatOf(text, input->extension);
    if (format.elements)
        text = DocumentText(std::move(text), input->charset);
    PlaylistOut out = {facts, entries, input->charset};
    format.read(text, &out);
    entries->cut = entries->cut || cut;
    return {AnswerStatus::read, ContentClass::playlist, {}};
}

void PlaylistReaderWarm() {
    CodePagesOpen();
}
