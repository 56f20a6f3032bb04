// SPDX-License-Identifier: GPL-2.0-or-later
//
// Both ends of an answer against each other, and each field of it lied in.
#include "reader/protocol/message.h"

#include <gtest/gtest.h>
#include <string.h>

#include <limits>
#include <string>

namespace {

using Packet = std::vector<std::byte>;

// Where the fields are.
constexpr size_t kMagic = 0, kStatus = 8, kContent = 12, kPicture = 16, kPictureBytes = 20, kFactCount = 24,
                 kReasonBytes = 28, kEntriesBytes = 32, kEntriesCut = 36;
constexpr size_t kFirstFact = kAnswerHeadSize;

Answer Example() {
    Answer answer = {7,
                     AnswerStatus::failed,
                     ContentClass::sound,
                     PictureFormat::png,
                     kReaderSmallPictureMax + 1,
                     {},
                     "no frame"};
    FactAddText(&answer.facts, FactName::title, FactSource::taglib, "A title");
    FactAddNumber(&answer.facts, FactName::duration, FactSource::own, 12.5);
    FactAddText(&answer.facts, FactName::artist, FactSource::taglib, "One");
    FactAddText(&answer.facts, FactName::artist, FactSource::taglib, "Zwölf");
    FactAddNumber(&answer.facts, FactName::year, FactSource::libavformat, 1999);
    return answer;
}

Answer ExampleWithPicture(uint32_t bytes) {
    Answer answer = Example();
    answer.picture_bytes = bytes;
    answer.small_picture.assign(bytes, 'p');
    return answer;
}

Packet Encoded(const Answer &answer) {
    Packet packet;
    AnswerEncode(answer, &packet);
    return packet;
}

bool IsBelieved(const Packet &packet) {
    Answer answer;
    return AnswerDecode(packet, &answer);
}

template <typename Value>
Packet With(Packet packet, size_t place, Value value) {
    memcpy(packet.data() + place, &value, sizeof value);
    return packet;
}

void ExpectSame(const Answer &expected, const Answer &answer) {
    EXPECT_EQ(expected.number, answer.number);
    EXPECT_EQ(expected.status, answer.status);
    EXPECT_EQ(expected.content, answer.content);
    EXPECT_EQ(expected.picture, answer.picture);
    EXPECT_EQ(expected.picture_bytes, answer.picture_bytes);
    EXPECT_EQ(expected.small_picture, answer.small_picture);
    EXPECT_EQ(expected.reason, answer.reason);
    EXPECT_EQ(expected.facts.text_bytes, answer.facts.text_bytes);
    ASSERT_EQ(expected.facts.facts.size(), answer.facts.facts.size());
    for (size_t i = 0; i < answer.facts.facts.size(); ++i) {
        const Fact &fact = answer.facts.facts[i];
        EXPECT_EQ(expected.facts.facts[i].name, fact.name);
        EXPECT_EQ(expected.facts.facts[i].source, fact.source);
        EXPECT_EQ(expected.facts.facts[i].position, fact.position);
        EXPECT_EQ(expected.facts.facts[i].number, fact.number);
        EXPECT_EQ(expected.facts.facts[i].text, fact.text);
    }
}

TEST(ReaderAnswer, ComesAsItWasSent) {
    Answer answer;
    ASSERT_TRUE(AnswerDecode(Encoded(Example()), &answer));
    ExpectSame(Example(), answer);
    ASSERT_TRUE(AnswerDecode(Encoded({}), &answer));
    ExpectSame({}, answer);
    for (const uint32_t bytes : {1U, 1234U, kReaderSmallPictureMax}) {
        ASSERT_TRUE(AnswerDecode(Encoded(ExampleWithPicture(bytes)), &answer));
        ExpectSame(ExampleWithPicture(bytes), answer);
    }
}

TEST(ReaderAnswer, ASmallPictureComesWithItAndALargerOneDoesNot) {
    const Packet good = Encoded(ExampleWithPicture(1234));
    for (const uint32_t bytes : {1U, 1233U, 1235U, kReaderSmallPictureMax, kReaderSmallPictureMax + 1})
        EXPECT_FALSE(IsBelieved(With(good, kPictureBytes, bytes))) << bytes;
    Packet without = good;
    without.resize(good.size() - 1234);
    EXPECT_FALSE(IsBelieved(without));
    EXPECT_TRUE(IsBelieved(With(without, kPictureBytes, kReaderSmallPictureMax + 1)));
    EXPECT_FALSE(IsBelieved(Encoded(ExampleWithPicture(kReaderSmallPictureMax + 1))));
    EXPECT_FALSE(IsBelieved(With(With(good, kPicture, PictureFormat::none), kPictureBytes, uint32_t{0})));
}

TEST(ReaderAnswer, EveryFactComesAsItWasSent) {
    Answer sent = {1, AnswerStatus::read, ContentClass::film, {}, 0, {}, {}};
    for (const FactKind &kind : kFacts) {
        EXPECT_TRUE(kind.type == FactType::text
                        ? FactAddText(&sent.facts, kind.name, FactSource::exiv2, kind.word)
                        : FactAddNumber(&sent.facts, kind.name, FactSource::exiv2, 3));
    }
    Answer answer;
    ASSERT_TRUE(AnswerDecode(Encoded(sent), &answer));
    ExpectSame(sent, answer);
}

TEST(ReaderAnswer, TheLargestOneFits) {
    Answer sent = {1,
                   AnswerStatus::failed,
                   ContentClass::sound,
                   PictureFormat::jpeg,
                   kReaderSmallPictureMax,
                   {},
                   std::string(kReaderReasonMax, 'r')};
    sent.small_picture.assign(kReaderSmallPictureMax, 'p');
    constexpr size_t kEach = kReaderTextMax / kReaderFactsMax;
    for (size_t i = 0; i < kReaderFactsMax; ++i)
        ASSERT_TRUE(FactAddText(&sent.facts, FactName::keyword, FactSource::own,
                                std::to_string(100 + i) + std::string(kEach - 3, 'x')));
    const Packet packet = Encoded(sent);
    EXPECT_LE(packet.size(), kReaderAnswerSize);
    Answer answer;
    ASSERT_TRUE(AnswerDecode(packet, &answer));
    ExpectSame(sent, answer);
}

TEST(ReaderAnswer, AReasonIsOfOneLine) {
    const auto told = [](std::string reason) {
        Answer answer;
        EXPECT_TRUE(
            AnswerDecode(Encoded({1, AnswerStatus::failed, {}, {}, 0, {}, std::move(reason)}), &answer));
        return answer.reason;
    };
    EXPECT_EQ("a  b", told(" a\r\nb\n"));
    EXPECT_EQ(std::string(kReaderReasonMax, 'x'), told(std::string(kReaderReasonMax + 1, 'x')));
    EXPECT_EQ(std::string(kReaderReasonMax - 1, 'x'), told(std::string(kReaderReasonMax - 1, 'x') + "ä"));
    EXPECT_GE(kReaderReasonMax, told(std::string(kReaderReasonMax, '\xFF')).size());
    const Packet good = Encoded({1, AnswerStatus::failed, {}, {}, 0, {}, "a b"});
    EXPECT_TRUE(IsBelieved(good));
    EXPECT_FALSE(IsBelieved(With(good, kAnswerHeadSize + 1, '\n')));
    EXPECT_FALSE(IsBelieved(With(good, kAnswerHeadSize + 1, '\xFF')));
    EXPECT_FALSE(IsBelieved(With(good, kAnswerHeadSize + 2, ' ')));
}

TEST(ReaderAnswer, OnlyAFailureHasAReason) {
    Answer answer;
    ASSERT_TRUE(AnswerDecode(Encoded({1, AnswerStatus::read, {}, {}, 0, {}, "none"}), &answer));
    EXPECT_EQ("", answer.reason);
    const Packet failed = Encoded({1, AnswerStatus::failed, {}, {}, 0, {}, "none"});
    EXPECT_FALSE(IsBelieved(With(failed, kStatus, AnswerStatus::read)));
}

TEST(ReaderAnswer, WhatIsTheOtherReadersHasNothing) {
    for (const AnswerStatus status : {AnswerStatus::films, AnswerStatus::sound}) {
        const Packet good = Encoded({1, status, ContentClass::film, {}, 0, {}, {}});
        EXPECT_TRUE(IsBelieved(good));
        EXPECT_FALSE(IsBelieved(With(With(good, kPicture, PictureFormat::jpeg), kPictureBytes, uint32_t{5})));
        Answer with_facts = {1, status, ContentClass::film, {}, 0, {}, {}};
        FactAddNumber(&with_facts.facts, FactName::year, FactSource::own, 1999);
        EXPECT_FALSE(IsBelieved(Encoded(with_facts)));
    }
}

TEST(ReaderAnswer, OnlyAPlaylistThatWasReadHasEntries) {
    Answer sent = {1, AnswerStatus::read, ContentClass::playlist, {}, 0, {}, {}, 1234, 1};
    Answer answer;
    ASSERT_TRUE(AnswerDecode(Encoded(sent), &answer));
    EXPECT_EQ(answer.entries_bytes, 1234u);
    EXPECT_EQ(answer.entries_cut, 1u);
    const Packet good = Encoded(sent);
    EXPECT_TRUE(IsBelieved(With(good, kEntriesBytes, static_cast<uint32_t>(kPlaylistTextMax))));
    EXPECT_FALSE(IsBelieved(With(good, kEntriesBytes, static_cast<uint32_t>(kPlaylistTextMax) + 1)));
    EXPECT_FALSE(IsBelieved(With(good, kEntriesCut, uint32_t{2})));
    EXPECT_FALSE(IsBelieved(With(good, kContent, ContentClass::sound)));
    EXPECT_FALSE(IsBelieved(With(good, kStatus, AnswerStatus::failed)));
    EXPECT_FALSE(IsBelieved(With(With(good, kPicture, PictureFormat::jpeg), kPictureBytes, uint32_t{5})));
    sent.content = ContentClass::sound;
    sent.entries_bytes = 0;
    EXPECT_FALSE(IsBelieved(Encoded(sent))) << "nor more of them";
}

TEST(ReaderAnswer, EachFieldOfItsHeadLiedIn) {
    const Packet good = Encoded(Example());
    EXPECT_FALSE(IsBelieved(With(good, kMagic, kRequestMagic)));
    EXPECT_FALSE(IsBelieved(With(good, kStatus, uint32_t{5})));
    EXPECT_FALSE(IsBelieved(With(good, kContent, uint32_t{5})));
    EXPECT_FALSE(IsBelieved(With(good, kPicture, uint32_t{5})));
    EXPECT_FALSE(IsBelieved(With(good, kPicture, PictureFormat::none)));
    EXPECT_FALSE(IsBelieved(With(good, kPictureBytes, uint32_t{0})));
    EXPECT_TRUE(IsBelieved(With(good, kPictureBytes, kReaderPictureMax)));
    EXPECT_FALSE(IsBelieved(With(good, kPictureBytes, kReaderPictureMax + 1)));
    for (const uint32_t count : {0U, 4U, 6U, 1000U, UINT32_MAX}) {
        EXPECT_FALSE(IsBelieved(With(good, kFactCount, count)));
        EXPECT_FALSE(IsBelieved(With(good, kReasonBytes, count)));
    }
}

TEST(ReaderAnswer, EachFieldOfAFactLiedIn) {
    const Packet good = Encoded(Example()); // its first fact is a text of seven bytes
    constexpr size_t kSource = kFirstFact + 2, kUnused = kFirstFact + 3, kLength = kFirstFact + 4,
                     kText = kFirstFact + 8;
    EXPECT_FALSE(IsBelieved(With(good, kFirstFact, static_cast<uint16_t>(kFactNames))));
    EXPECT_FALSE(IsBelieved(With(good, kFirstFact, UINT16_MAX)));
    EXPECT_FALSE(IsBelieved(With(good, kFirstFact, FactName::duration)));
    EXPECT_TRUE(IsBelieved(With(good, kFirstFact, FactName::album)));
    EXPECT_FALSE(IsBelieved(With(good, kSource, uint8_t{4})));
    EXPECT_FALSE(IsBelieved(With(good, kUnused, uint8_t{1})));
    for (const uint32_t length : {0U, 6U, 8U, 1U << 20, UINT32_MAX})
        EXPECT_FALSE(IsBelieved(With(good, kLength, length)));
    for (const char byte : {'\0', ' ', '\n', '\xFF', '\xC3'}) {
        EXPECT_FALSE(IsBelieved(With(good, kText, byte)));
        EXPECT_FALSE(IsBelieved(With(good, kText + 6, byte)));
    }
    EXPECT_FALSE(IsBelieved(With(good, kText + 3, '\0')));
}

TEST(ReaderAnswer, NumbersLiedIn) {
    Answer answer = {1, AnswerStatus::read, ContentClass::sound, {}, 0, {}, {}};
    FactAddNumber(&answer.facts, FactName::year, FactSource::own, 1999);
    FactAddNumber(&answer.facts, FactName::duration, FactSource::own, 1);
    const Packet good = Encoded(answer);
    constexpr size_t kYear = kFirstFact + 4, kDuration = kFirstFact + kAnswerFactSize + 4;
    for (const double number : {-1.0, 0.5, 1e300, std::numeric_limits<double>::infinity()})
        EXPECT_FALSE(IsBelieved(With(good, kYear, number)));
    EXPECT_FALSE(IsBelieved(With(good, kDuration, std::numeric_limits<double>::quiet_NaN())));
    EXPECT_FALSE(IsBelieved(With(good, kFirstFact + kAnswerFactSize, FactName::year))); // twice
}

TEST(ReaderAnswer, OneThatIsCutOrGoesOnIsNone) {
    for (const Answer &sent : {Example(), ExampleWithPicture(100)}) {
        const Packet good = Encoded(sent);
        for (size_t size = 0; size < good.size(); ++size)
            EXPECT_FALSE(IsBelieved(Packet(good.begin(), good.begin() + static_cast<ptrdiff_t>(size))))
                << size;
        Packet longer = good;
        longer.push_back(std::byte{0});
        EXPECT_FALSE(IsBelieved(longer));
    }
}

TEST(ReaderAnswer, MoreFactsThanThereMayBe) {
    Answer answer = {1, AnswerStatus::read, ContentClass::picture, {}, 0, {}, {}};
    for (size_t i = 0; i < kReaderFactsMax; ++i)
        FactAddText(&answer.facts, FactName::keyword, FactSource::own, std::to_string(i));
    EXPECT_TRUE(IsBelieved(Encoded(answer)));
    answer.facts.facts.push_back({FactName::keyword, FactSource::own, 0, 0, "one more"});
    EXPECT_FALSE(IsBelieved(Encoded(answer)));
}

TEST(ReaderAnswer, MoreTextThanThereMayBe) {
    Answer answer = {1, AnswerStatus::read, ContentClass::picture, {}, 0, {}, {}};
    answer.facts.facts.push_back(
        {FactName::keyword, FactSource::own, 0, 0, std::string(kReaderValueMax, 'x')});
    EXPECT_TRUE(IsBelieved(Encoded(answer)));
    answer.facts.facts[0].text += 'x';
    EXPECT_FALSE(IsBelieved(Encoded(answer)));
    answer.facts.facts.clear();
    for (size_t i = 0; i < kReaderTextMax / kReaderValueMax; ++i)
        FactAddText(&answer.facts, FactName::keyword, FactSource::own,
                    std::to_string(100 + i) + std::string(kReaderValueMax - 3, 'x'));
    EXPECT_TRUE(IsBelieved(Encoded(answer)));
    answer.facts.facts.push_back({FactName::keyword, FactSource::own, 0, 0, "y"});
    EXPECT_FALSE(IsBelieved(Encoded(answer)));
}

} // namespace
