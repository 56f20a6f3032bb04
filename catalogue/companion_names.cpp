// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/companion_names.h"

#include <stddef.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <span>

#include "daemon/walk_rules_pictures.h"
#include "platform/letters.h"
#include "platform/path.h"

namespace {

// What cameras write beside raw photos, and phones beside films of a moment.
constexpr std::string_view kPictures[] = {"jpg", "jpeg", "jpe", "heic", "heif", "avif", "jxl", "tif", "tiff"};
constexpr std::string_view kFilms[] = {"mov", "mp4"};

// At the end of a stem, beside a film: pixels of the picture that it belongs to are coded so. Apple's service hands them out as
// IMG_1.HEIC and IMG_1_HEVC.MOV.
constexpr std::string_view kFilmMarks[] = {"_HEVC", "_HEIC"};

// Of a picture that has its film in itself. The raw photo that was taken with it does not say so.
constexpr std::string_view kMotionMark = ".MP";

constexpr std::string_view kBurst = "BURST";
constexpr std::string_view kBurstCover = "_COVER";

// With fewer digits it is the number in its burst that stands behind "BURST", else the time, which all of it share.
constexpr size_t kBurstTimeDigits = 8;

// "20190504_101112_001" is the first of a burst.
constexpr std::string_view kNumberedTime = "dddddddd_dddddd_ddd";
constexpr size_t kNumberedTimeDigits = 3;

// Of pictures that were made of one: "....RAW-01.COVER" and "....RAW-02.ORIGINAL".
constexpr std::string_view kCover = ".COVER";
constexpr std::string_view kOriginal = ".ORIGINAL";

// An extension as a number, in small letters; all have up to four. A walk asks for each file that it meets.
constexpr uint32_t Packed(std::string_view extension) {
    uint32_t packed = 0;
    if (extension.size() > sizeof packed)
        return 0;
    for (const char byte : extension)
        packed = packed << 8 | static_cast<uint8_t>(Lower(byte));
    return packed;
}

struct ExtensionKind {
    uint32_t extension;
    CompanionKind kind;
};

constexpr size_t kExtensions = std::size(kPictures) + std::size(kRawPictures) + std::size(kFilms);

consteval std::array<ExtensionKind, kExtensions> ExtensionsMake() {
    std::array<ExtensionKind, kExtensions> all = {};
    size_t count = 0;
    const auto add = [&](auto extensions, CompanionKind kind) {
        for (const std::string_view extension : extensions)
            all[count++] = {Packed(extension), kind};
    };
    add(std::span(kPictures), CompanionKind::picture);
    add(std::span(kRawPictures), CompanionKind::raw);
    add(std::span(kFilms), CompanionKind::film);
    std::ranges::sort(all, {}, &ExtensionKind::extension);
    return all;
}

constexpr auto kKinds = ExtensionsMake();
static_assert(std::ranges::adjacent_find(kKinds, {}, &ExtensionKind::extension) == kKinds.end() &&
                  kKinds.front().extension != 0,
              "each extension fits, and stands there once");

CompanionKind KindOf(std::string_view extension) {
    const uint32_t packed = Packed(extension);
    const auto found = std::ranges::lower_bound(kKinds, packed, {}, &ExtensionKind::extension);
    return found != kKinds.end() && found->extension == packed ? found->kind : CompanionKind::none;
}

// The last byte tells most names apart.
bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() > end.size() && IsSame(text.substr(text.size() - 1), end.substr(end.size() - 1)) &&
           IsSame(text.substr(text.size() - end.size()), end);
}

// Takes an end off, if it is there and something stands before it.
bool EndTake(std::string_view *text, std::string_view end) {
    const bool there = EndsWith(*text, end);
    if (there)
        text->remove_suffix(end.size());
    return there;
}

// Takes the digits at the end off. Returns how many there were.
size_t DigitsTake(std::string_view *text) {
    const size_t before = text->size();
    while (!text->empty() && IsDigit(text->back()))
        text->remove_suffix(1);
    return before - text->size();
}

bool IsNumberedTime(std::string_view stem) {
    return std::ranges::equal(
        stem, kNumberedTime, [](char byte, char form) { return form == 'd' ? IsDigit(byte) : byte == form; });
}

// "IMG_20190504_101112_BURST001_COVER", "00001IMG_00001_BURST20190504101112345"
bool BurstTake(std::string_view stem, CompanionName *name) {
    std::string_view rest = stem;
    const bool leads = EndTake(&rest, kBurstCover);
    const std::string_view numbered = rest;
    const size_t digits = DigitsTake(&rest);
    if (digits == 0 || !EndsWith(rest, kBurst))
        return false;
    name->series = digits < kBurstTimeDigits ? rest : numbered.substr(rest.size() - kBurst.size());
    name->leads = leads;
    return true;
}

// "PXL_20190504_101112345.RAW-01.MP.COVER"
bool MadeOfOneTake(std::string_view stem, CompanionName *name) {
    std::string_view rest = stem;
    const bool leads = EndTake(&rest, kCover);
    if (!leads && !EndTake(&rest, kOriginal))
        return false;
    EndTake(&rest, kMotionMark);
    if (DigitsTake(&rest) == 0 || !rest.ends_with('-'))
        return false;
    name->series = rest;
    name->leads = leads;
    return true;
}

void SeriesTake(std::string_view stem, CompanionName *name) {
    if (BurstTake(stem, name) || MadeOfOneTake(stem, name))
        return;
    if (IsNumberedTime(stem))
        name->series = stem.substr(0, stem.size() - kNumberedTimeDigits);
}

} // namespace

CompanionKind CompanionKindOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos || dot == 0 ? CompanionKind::none : KindOf(name.substr(dot + 1));
}

CompanionName CompanionNameOf(std::string_view name) {
    CompanionName found = {.kind = CompanionKindOf(name)};
    if (found.kind == CompanionKind::none)
        return found;
    found.stem = NameWithoutExtension(name);
    if (found.kind != CompanionKind::film)
        SeriesTake(found.stem, &found);
    else if (!EndTake(&found.stem, kFilmMarks[0]))
        EndTake(&found.stem, kFilmMarks[1]);
    EndTake(&found.stem, kMotionMark);
    return found;
}
