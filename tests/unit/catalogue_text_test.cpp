// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/index/text.h"

#include "platform/media_record.h"
#include "platform/veluindex.h"

#include <gtest/gtest.h>

#include <string.h>

#include <cmath>
#include <limits>
#include <memory>
#include <string>

namespace {

using namespace std::string_literals;

constexpr size_t kRoomy = 64;

// The text of a field of `size` bytes that begins with `bytes` and is zero behind them.
std::string Single(const std::string &bytes, size_t size = kRoomy) {
    std::string field = bytes;
    field.resize(size, '\0');
    return CatalogueText(field.data(), field.size(), false);
}

std::string Wide(const std::string &bytes, size_t size = kRoomy) {
    std::string field = bytes;
    field.resize(size, '\0');
    return CatalogueText(field.data(), field.size(), true);
}

std::string InPlace(const std::string &bytes, size_t size) {
    std::string field = bytes;
    field.resize(size, '\0');
    CatalogueTextInPlace(field.data(), field.size());
    EXPECT_EQ(field.back(), '\0');
    return field.substr(0, strlen(field.c_str()));
}

template <size_t Size>
void Fill(char (&field)[Size], const std::string &bytes) {
    ASSERT_LE(bytes.size(), Size);
    memcpy(field, bytes.data(), bytes.size());
}

} // namespace

TEST(CatalogueText, KeepsUtf8OfEveryLength) {
    EXPECT_EQ(Single("Caf\u00E9 \u20AC \U0001F3B5"), "Caf\u00E9 \u20AC \U0001F3B5");
}

TEST(CatalogueText, MissingOrEmptyFieldIsEmpty) {
    EXPECT_EQ(CatalogueText(nullptr, kRoomy, false), "");
    EXPECT_EQ(CatalogueText(nullptr, kRoomy, true), "");
    EXPECT_EQ(CatalogueText("x", 0, false), "");
    EXPECT_EQ(CatalogueText("\xFF\xFE", 0, true), "");
    EXPECT_EQ(CatalogueText("\xFF\xFE", 1, true), "");
    EXPECT_EQ(Single(""), "");
}

TEST(CatalogueText, EndsAtNulOrWithTheField) {
    EXPECT_EQ(Single("ab\0cd"s), "ab");
    EXPECT_EQ(Single("abcdef", 4), "abcd");
}

TEST(CatalogueText, OtherBytesAreLatin1AsAWhole) {
    EXPECT_EQ(Single("Caf\xE9"), "Caf\u00E9");
    EXPECT_EQ(Single("\xE9t\xE9"), "\u00E9t\u00E9");
    EXPECT_EQ(Single("\xA0\xFF"), "\u00A0\u00FF");
    EXPECT_EQ(Single("\u00E9\xE9!"), "\u00C3\u00A9\u00E9!") << "one bad byte makes all of it ISO-8859-1";
}

TEST(CatalogueText, OverlongFormsAreNotUtf8) {
    EXPECT_EQ(Single("\xC0\xAF"), "\u00C0\u00AF");
    EXPECT_EQ(Single("\xC1\xBF"), "\u00C1\u00BF");
    EXPECT_EQ(Single("\xE0\x9F\xBF"), "\u00E0 \u00BF");
    EXPECT_EQ(Single("\xF0\x8F\xBF\xBF"), "\u00F0 \u00BF\u00BF");
    EXPECT_EQ(Single("\xE0\xA0\x80"), "\u0800");
    EXPECT_EQ(Single("\xF0\x90\x80\x80"), "\U00010000");
}

TEST(CatalogueText, SurrogatesAndTooHighAreNotUtf8) {
    EXPECT_EQ(Single("\xED\xA0\x80!"), "\u00ED\u00A0 !");
    EXPECT_EQ(Single("\xED\xBF\xBF"), "\u00ED\u00BF\u00BF");
    EXPECT_EQ(Single("\xF4\x90\x80\x80!"), "\u00F4   !");
    EXPECT_EQ(Single("\xF5\xA1\xA1\xA1"), "\u00F5\u00A1\u00A1\u00A1");
    EXPECT_EQ(Single("\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF"), "\xED\x9F\xBF\xEE\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(CatalogueText, StrayContinuationIsNotUtf8) {
    EXPECT_EQ(Single("a\xBF"), "a\u00BF");
}

TEST(CatalogueText, CharacterCutByAFullFieldGoes) {
    EXPECT_EQ(Single("abc\xC3", 5), "abc");
    EXPECT_EQ(Single("ab\xE2\x82", 5), "ab");
    EXPECT_EQ(Single("a\xF0\x9F\x8E", 5), "a");
    EXPECT_EQ(Single("abcd\xC3", 5), "abcd") << "a field without a NUL is full as well";
    EXPECT_EQ(Single("\xE9\xC3\x83\xC3", 5), "\u00E9\u00C3 \u00C3") << "not UTF-8 before the cut";
}

TEST(CatalogueText, CharacterCutInAFieldWithRoomIsLatin1) {
    EXPECT_EQ(Single("abc\xC3", 6), "abc\u00C3");
    EXPECT_EQ(Single("ab\xE2\x82", 6), "ab\u00E2");
}

TEST(CatalogueText, CharacterCutBehindAWholeOneGoes) {
    EXPECT_EQ(Single("a\u00E9\u00E9\xC3"), "a\u00E9\u00E9");
    EXPECT_EQ(Single("\u20ACab\xE2\x82"), "\u20ACab");
    EXPECT_EQ(Single("\u00E9\xF0\x9F\x8E"), "\u00E9");
    EXPECT_EQ(Single("\u00E9\xE0\x80"), "\u00C3\u00A9\u00E0") << "no character begins so";
    EXPECT_EQ(Single("a\u00E9 \xC3"), "a\u00E9") << "a blank before the cut goes as well";
}

TEST(CatalogueText, Utf8CutByAShorterFieldKeepsItsWholeCharacters) {
    for (const size_t field : {size_t{30}, size_t{127}}) {
        std::string title = field % 2 == 0 ? "x" : "xx";
        while (title.size() < field)
            title += "\u00E9";
        const std::string whole = title.substr(0, field - 1); // the limit is within the last character
        EXPECT_EQ(Single(title.substr(0, field), kMediaTextSize), whole);
        const auto record = std::make_unique<MediaInfo>();
        Fill(record->title, title.substr(0, field));
        MediaInfoValid(record.get());
        EXPECT_EQ(std::string(record->title), whole);
    }
}

TEST(CatalogueText, ANameIsInNoField) {
    EXPECT_EQ(CatalogueText("caf\xE9"), "caf\u00E9");
    EXPECT_EQ(CatalogueText("caf\u00E9"), "caf\u00E9");
    EXPECT_EQ(CatalogueText("a\u00E9\u00E9\xC3"), "a\u00E9\u00E9");
    EXPECT_EQ(CatalogueText(" a\tb "), "a b");
    EXPECT_EQ(CatalogueText(""), "");
}

TEST(CatalogueText, ImpossibleStartAtTheEndOfAFullFieldIsLatin1) {
    EXPECT_EQ(Single("ab\xE0\x80", 5), "ab\u00E0");
    EXPECT_EQ(Single("ab\xED\xA0", 5), "ab\u00ED\u00A0");
    EXPECT_EQ(Single("abc\xF8", 5), "abc\u00F8");
}

TEST(CatalogueText, ControlCharactersBecomeBlanks) {
    EXPECT_EQ(Single("a\tb\r\nc\x1F!\x7F!"), "a b  c ! !");
    EXPECT_EQ(Single("a\u0080b\u009Fc\u00A0d"), "a b c\u00A0d");
    EXPECT_EQ(Single("a\x80\xE9"), "a \u00E9");
}

TEST(CatalogueText, BlanksAtBothEndsGo) {
    EXPECT_EQ(Single("  a b  "), "a b");
    EXPECT_EQ(Single("\t\n x \x01"), "x");
    EXPECT_EQ(Single("   "), "");
    EXPECT_EQ(Single("\u00A0x"), "\u00A0x") << "a no-break space is text";
}

TEST(CatalogueTextUtf16, BothByteOrders) {
    EXPECT_EQ(Wide("\xFF\xFE"s
                   "A\0\xE9\0\xAC\x20\0\0"s),
              "A\u00E9\u20AC");
    EXPECT_EQ(Wide("\xFE\xFF\0A\0\xE9\x20\xAC\0\0"s), "A\u00E9\u20AC");
}

TEST(CatalogueTextUtf16, WithoutAByteOrderMarkEmpty) {
    EXPECT_EQ(Wide("A\0B\0"s), "");
    EXPECT_EQ(Wide("\xFF"s), "");
    EXPECT_EQ(Wide(""), "");
}

TEST(CatalogueTextUtf16, OnlyAMarkIsEmpty) {
    EXPECT_EQ(Wide("\xFF\xFE"), "");
    EXPECT_EQ(Wide("\xFF\xFE", 2), "");
    EXPECT_EQ(Wide("\xFE\xFF", 3), "");
}

TEST(CatalogueTextUtf16, EndsAtAZeroUnitButNotAtAZeroByte) {
    EXPECT_EQ(Wide("\xFF\xFE"s
                   "A\0\0\x01"s
                   "B\0\0\0C\0"s),
              "A\u0100B");
}

TEST(CatalogueTextUtf16, SurrogatePairs) {
    EXPECT_EQ(Wide("\xFF\xFE\x3C\xD8\xB5\xDF"), "\U0001F3B5");
    EXPECT_EQ(Wide("\xFE\xFF\xD8\x3C\xDF\xB5"), "\U0001F3B5");
    EXPECT_EQ(Wide("\xFE\xFF\xD8\x00\xDC\x00\xDB\xFF\xDF\xFF"s), "\U00010000\U0010FFFF");
}

TEST(CatalogueTextUtf16, LoneSurrogatesAreReplaced) {
    EXPECT_EQ(Wide("\xFE\xFF\xD8\x3C\0A"s), "\uFFFDA");
    EXPECT_EQ(Wide("\xFE\xFF\xDF\xB5\0A"s), "\uFFFDA");
    EXPECT_EQ(Wide("\xFE\xFF\xD8\x3C\xD8\x3C\xDF\xB5"), "\uFFFD\U0001F3B5");
    EXPECT_EQ(Wide("\xFE\xFF\0A\xD8\x3C"s), "A\uFFFD") << "the field has room for the other half";
}

TEST(CatalogueTextUtf16, PairCutByAFullFieldGoes) {
    EXPECT_EQ(Wide("\xFE\xFF\0A\xD8\x3C"s, 6), "A");
    EXPECT_EQ(Wide("\xFE\xFF\0A\xD8\x3C\xDF"s, 7), "A");
    EXPECT_EQ(Wide("\xFE\xFF\0A\xD8\x3C\0\0"s, 9), "A");
    EXPECT_EQ(Wide("\xFE\xFF\0A\xD8\x3C\0\0\0\0"s, 10), "A\uFFFD");
    EXPECT_EQ(Wide("\xFE\xFF\0A\xDF\xB5"s, 6), "A\uFFFD") << "a second half alone was never a pair";
}

TEST(CatalogueTextUtf16, OddLastByteGoes) {
    EXPECT_EQ(Wide("\xFE\xFF\0A\0"s, 5), "A");
    EXPECT_EQ(Wide("\xFF\xFE"s
                   "A\0B"s,
                   5),
              "A");
}

TEST(CatalogueTextUtf16, ControlsAndBlanks) {
    EXPECT_EQ(Wide("\xFE\xFF\0 \0A\0\x09\0B\0\x85\0\x0A"s), "A B");
}

TEST(CatalogueTextInPlace, LongerTextIsCutBetweenCharacters) {
    EXPECT_EQ(InPlace("\xE9\xE9\xE9\xE9", 6), "\u00E9\u00E9");
    EXPECT_EQ(InPlace("\xE9\xE9\xE9", 7), "\u00E9\u00E9\u00E9") << "exactly fits";
    EXPECT_EQ(InPlace("\xE9\xE9\xE9", 6), "\u00E9\u00E9") << "one byte short";
    EXPECT_EQ(InPlace("\xE9  \xE9", 5), "\u00E9") << "blanks before the cut go as well";
}

TEST(CatalogueTextInPlace, FieldWithoutNulIsTerminated) {
    EXPECT_EQ(InPlace("abcd", 4), "abc");
    EXPECT_EQ(InPlace("a", 1), "");
}

TEST(CatalogueTextInPlace, RestOfTheFieldIsZeroed) {
    char field[8] = " ab\0xyz";
    CatalogueTextInPlace(field, sizeof field);
    EXPECT_EQ(std::string(field, sizeof field), "ab\0\0\0\0\0\0"s);
}

TEST(CatalogueTextInPlace, TwiceIsTheSameAsOnce) {
    for (size_t length = 0; length < 300; ++length) {
        char once[kMediaTextSize] = {};
        memset(once, 0xE9, std::min(length, sizeof once - 1));
        CatalogueTextInPlace(once, sizeof once);
        EXPECT_EQ(CatalogueText(once, sizeof once, false), once);
    }
}

TEST(CatalogueTextInPlace, NothingToDoIsHarmless) {
    CatalogueTextInPlace(nullptr, 4);
    char byte = 'x';
    CatalogueTextInPlace(&byte, 0);
    EXPECT_EQ(byte, 'x');
}

TEST(MediaInfoValid, WithoutARecordFails) {
    EXPECT_EQ(MediaInfoValid(nullptr), -1);
}

TEST(MediaInfoValid, EveryTextField) {
    const auto record = std::make_unique<MediaInfo>();
    MediaInfo &r = *record;
    char *const fields[] = {r.title,      r.album,       r.artist,       r.genre,         r.composer,
                            r.comment,    r.camera_make, r.camera_model, r.exposure_time, r.f_number,
                            r.date_taken, r.create_time, r.modify_time};
    for (char *field : fields)
        memcpy(field, " a\t\xE9 ", 6);
    EXPECT_EQ(MediaInfoValid(&r), 0);
    for (char *field : fields)
        EXPECT_STREQ(field, "a \u00E9");
}

TEST(MediaInfoValid, PathIsNeverTouched) {
    const auto record = std::make_unique<MediaInfo>();
    Fill(record->path, "/volume1/music/ \xE9\x01 ");
    MediaInfoValid(record.get());
    EXPECT_STREQ(record->path, "/volume1/music/ \xE9\x01 ");
}

TEST(MediaInfoValid, Utf16FieldsStayRaw) {
    const auto record = std::make_unique<MediaInfo>();
    MediaInfo &r = *record;
    const std::string raw = "\xFF\xFE \0\xE9\0\x01\0"s;
    r.title_utf16 = r.album_utf16 = r.artist_utf16 = r.genre_utf16 = r.composer_utf16 = r.comment_utf16 = 1;
    char *const fields[] = {r.title, r.album, r.artist, r.genre, r.composer, r.comment};
    for (char *field : fields)
        memcpy(field, raw.data(), raw.size());
    MediaInfoValid(&r);
    for (char *field : fields)
        EXPECT_EQ(memcmp(field, raw.data(), raw.size()), 0);
}

TEST(MediaInfoValid, OneFlagCoversOneField) {
    const auto record = std::make_unique<MediaInfo>();
    record->artist_utf16 = 1;
    Fill(record->artist, "\xFF\xFE \0"s);
    Fill(record->album, " album ");
    MediaInfoValid(record.get());
    EXPECT_EQ(memcmp(record->artist, "\xFF\xFE \0", 4), 0);
    EXPECT_STREQ(record->album, "album");
}

TEST(MediaInfoValid, CharacterCutByThe254ByteLimitGoes) {
    const auto record = std::make_unique<MediaInfo>();
    Fill(record->title, std::string(253, 'x') + "\xC3");
    Fill(record->album, std::string(252, 'x') + "\u00E9");
    MediaInfoValid(record.get());
    EXPECT_EQ(std::string(record->title), std::string(253, 'x'));
    EXPECT_EQ(std::string(record->album), std::string(252, 'x') + "\u00E9");
}

TEST(MediaInfoValid, DurationsThatAreNoneBecomeZero) {
    const auto record = std::make_unique<MediaInfo>();
    using Limits = std::numeric_limits<float>;
    for (float bad :
         {Limits::quiet_NaN(), Limits::infinity(), -Limits::infinity(), -1.5F, -Limits::denorm_min()}) {
        record->duration = bad;
        MediaInfoValid(record.get());
        EXPECT_EQ(record->duration, 0.0F) << bad;
    }
    for (float good : {0.0F, 0.25F, Limits::max()}) {
        record->duration = good;
        MediaInfoValid(record.get());
        EXPECT_EQ(record->duration, good);
    }
}

TEST(MediaInfoValid, NegativeCountsBecomeZero) {
    const auto record = std::make_unique<MediaInfo>();
    record->track = -1;
    record->disc = INT32_MIN;
    record->year = -2000;
    MediaInfoValid(record.get());
    EXPECT_EQ(record->track, 0);
    EXPECT_EQ(record->disc, 0);
    EXPECT_EQ(record->year, 0);
    record->track = 7;
    record->disc = INT32_MAX;
    record->year = 1999;
    MediaInfoValid(record.get());
    EXPECT_EQ(record->track, 7);
    EXPECT_EQ(record->disc, INT32_MAX);
    EXPECT_EQ(record->year, 1999);
}
