// SPDX-License-Identifier: GPL-2.0-or-later
//
// The calls of the MP4 reader about tracks.
#include <gtest/gtest.h>

#include "platform/limits.h"
#include "tests/unit/mp4_boxes.h"
#include "tests/unit/mp4_open.h"

namespace {

constexpr MP4TrackId kUnknown = 99;

int ChannelsOf(const TrackParts &parts) {
    const OpenMovie movie(MovieFile(Track(parts)));
    return MP4GetTrackAudioChannels(movie.handle, parts.id);
}

int ChannelsOfEntry(std::string entries, uint8_t description_version = 0) {
    return ChannelsOf({.entries = std::move(entries), .description_version = description_version});
}

uint32_t BitRateOf(const TrackParts &parts) {
    const OpenMovie movie(MovieFile(Track(parts)));
    return MP4GetTrackBitRate(movie.handle, parts.id);
}

uint32_t BitRateOfSizes(std::string sizes, std::string entries = SoundEntry("mp4a", 2)) {
    // 1 s, so that the rate is 8 times the sum
    return BitRateOf({.duration = 44100, .entries = std::move(entries), .sizes = std::move(sizes)});
}

uint32_t BitRateOfDescriptor(std::string_view descriptor) {
    return BitRateOf({.duration = 44100, .entries = SoundEntry("mp4a", 2, descriptor)});
}

constexpr uint32_t kRateOfSamples = (1000 + 2000) * 8; // of the two that a track has by default

std::string SizeOf(const TrackParts &parts) {
    const OpenMovie movie(MovieFile(Track(parts)));
    return std::to_string(MP4GetTrackVideoWidth(movie.handle, parts.id)) + "x" +
           std::to_string(MP4GetTrackVideoHeight(movie.handle, parts.id));
}

uint64_t Seconds(uint64_t duration, uint32_t time_scale) {
    const OpenMovie movie(MovieFile(Track({.time_scale = time_scale})));
    return MP4ConvertFromTrackDuration(movie.handle, 1, duration, 1);
}

} // namespace

TEST(Mp4TrackTest, NoHandleAndNoSuchTrackGiveTheFailureValues) {
    const OpenMovie movie(MovieFile(Track()));
    for (const MP4FileHandle handle : {MP4FileHandle{nullptr}, movie.handle}) {
        for (const MP4TrackId track : {kUnknown, MP4_INVALID_TRACK_ID}) {
            EXPECT_EQ(MP4GetTrackType(handle, track), nullptr);
            EXPECT_EQ(MP4GetTrackAudioChannels(handle, track), -1);
            EXPECT_EQ(MP4GetTrackTimeScale(handle, track), 0u);
            EXPECT_EQ(MP4GetTrackBitRate(handle, track), 0u);
            EXPECT_EQ(MP4GetTrackDuration(handle, track), MP4_INVALID_DURATION);
            EXPECT_EQ(MP4ConvertFromTrackDuration(handle, track, 1, 1), UINT64_MAX);
            EXPECT_EQ(MP4GetTrackVideoWidth(handle, track), 0u);
            EXPECT_EQ(MP4GetTrackVideoHeight(handle, track), 0u);
        }
    }
    EXPECT_EQ(MP4GetNumberOfTracks(nullptr), 0u);
    EXPECT_EQ(MP4FindTrackId(nullptr, 0), MP4_INVALID_TRACK_ID);
    EXPECT_EQ(MP4FindTrackId(movie.handle, 1), MP4_INVALID_TRACK_ID);
}

TEST(Mp4TrackTest, TracksAreFoundInFileOrderAndByHandler) {
    const OpenMovie movie(MovieFile(Track({.id = 7}) + Track(VideoTrack(0xFFFFFFFF)) + Track({.id = 3})));
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle, nullptr, 0), 3u);
    EXPECT_EQ(MP4FindTrackId(movie.handle, 0, nullptr, 0), 7u);
    EXPECT_EQ(MP4FindTrackId(movie.handle, 1, nullptr, 0), 0xFFFFFFFF);
    EXPECT_EQ(MP4FindTrackId(movie.handle, 2, nullptr, 0), 3u);
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle, "soun"), 2u);
    EXPECT_EQ(MP4FindTrackId(movie.handle, 1, "soun"), 3u);
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle, "soun", 0x40), 2u);
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle, nullptr, 0x69), 0u);
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle, "SOUN"), 0u);
}

TEST(Mp4TrackTest, TheHandlerIsGivenAsItStands) {
    const std::vector<std::string> handlers = {"soun", "vide", "text", "tmcd", "SOUN", "\251\1xy"};
    std::string tracks;
    for (const std::string &handler : handlers) {
        TrackParts parts;
        parts.id = static_cast<uint32_t>(&handler - handlers.data() + 1);
        parts.handler = handler;
        tracks += Track(parts);
    }
    const OpenMovie movie(MovieFile(tracks));
    for (size_t i = 0; i < handlers.size(); ++i)
        EXPECT_STREQ(MP4GetTrackType(movie.handle, static_cast<MP4TrackId>(i + 1)), handlers[i].c_str());
}

TEST(Mp4TrackTest, AHandlerNeedsNoName) {
    const std::string handler = FullBox("hdlr", Zeros(4) + "vide");
    const std::string track = Track({.leave_out = "hdlr"});
    const size_t media = track.find("mdia") - 4;
    // Behind it the data handler that QuickTime puts into `minf` does not count.
    std::string changed = track.substr(0, media);
    changed += BoxBytes("mdia", track.substr(media + 8) + handler);
    const OpenMovie movie(MovieFile(BoxBytes("trak", changed.substr(8))));
    EXPECT_STREQ(MP4GetTrackType(movie.handle, 1), "vide");
}

TEST(Mp4TrackTest, ATrackWithoutOneOfItsPartsIsLeftOut) {
    for (const char *part : {"tkhd", "mdia", "mdhd", "hdlr", "minf", "stts", "stsc", "stsz", "stco"}) {
        TrackParts parts;
        parts.leave_out = part;
        const OpenMovie movie(MovieFile(Track(parts) + Track({.id = 2})));
        EXPECT_EQ(MP4GetNumberOfTracks(movie.handle), 1u) << part;
        EXPECT_EQ(MP4FindTrackId(movie.handle, 0), 2u) << part;
    }
    const OpenMovie movie(MovieFile(Track({.leave_out = "stsd"})));
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle), 1u);
    EXPECT_EQ(MP4GetTrackAudioChannels(movie.handle, 1), -1);
}

TEST(Mp4TrackTest, OfTwoTracksWithOneIdTheFirstAnswers) {
    const OpenMovie movie(MovieFile(Track({.time_scale = 8000}) + Track({.time_scale = 48000})));
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle), 2u);
    EXPECT_EQ(MP4GetTrackTimeScale(movie.handle, MP4FindTrackId(movie.handle, 1)), 8000u);
}

TEST(Mp4TrackTest, IdZeroIsCountedButCannotBeAskedAbout) {
    const OpenMovie movie(MovieFile(Track({.id = 0})));
    EXPECT_EQ(MP4GetNumberOfTracks(movie.handle), 1u);
    EXPECT_EQ(MP4FindTrackId(movie.handle, 0), 0u);
    EXPECT_EQ(MP4GetTrackDuration(movie.handle, 0), MP4_INVALID_DURATION);
}

TEST(Mp4TrackTest, TimesStandInTheMediaHeaderOfEitherVersion) {
    const auto duration = [](const TrackParts &parts) {
        const OpenMovie movie(MovieFile(Track(parts)));
        return MP4GetTrackDuration(movie.handle, parts.id);
    };
    EXPECT_EQ(duration({.duration = 123456}), 123456u);
    EXPECT_EQ(duration({.duration = 0xFFFFFFFF}), 0xFFFFFFFFu);
    EXPECT_EQ(duration({.duration = uint64_t{1} << 40, .media_header_version = 1}), uint64_t{1} << 40);
    EXPECT_EQ(duration({.duration = UINT64_MAX, .media_header_version = 1}), MP4_INVALID_DURATION);
    EXPECT_EQ(duration({.duration = 77, .media_header_version = 2}), 77u);
    EXPECT_EQ(duration({.id = 5, .duration = 77, .track_header_version = 1}), 77u);
    const OpenMovie movie(MovieFile(Track({.time_scale = 600, .media_header_version = 1})));
    EXPECT_EQ(MP4GetTrackTimeScale(movie.handle, 1), 600u);
}

TEST(Mp4TrackTest, DurationsAreConvertedRoundedDown) {
    EXPECT_EQ(Seconds(0, 1000), 0u);
    EXPECT_EQ(Seconds(2999, 1000), 2u);
    EXPECT_EQ(Seconds(3000, 1000), 3u);
    EXPECT_EQ(Seconds(UINT64_MAX, 1), UINT64_MAX);
    EXPECT_EQ(Seconds(5000, 0), UINT64_MAX);
    const OpenMovie movie(MovieFile(Track({.time_scale = 1'000'000})));
    EXPECT_EQ(MP4ConvertFromTrackDuration(movie.handle, 1, 2'000'999, 1000), 2000u);
    EXPECT_EQ(MP4ConvertFromTrackDuration(movie.handle, 1, 2'000'999, 1'000'000), 2'000'999u);
    // What needs more than 64 bits on the way is exact all the same; what does not fit at the end is not given.
    EXPECT_EQ(MP4ConvertFromTrackDuration(movie.handle, 1, uint64_t{1} << 62, 1'000'000), uint64_t{1} << 62);
    EXPECT_EQ(MP4ConvertFromTrackDuration(movie.handle, 1, UINT64_MAX, 0xFFFFFFFF), UINT64_MAX);
    EXPECT_EQ(MP4ConvertFromTrackDuration(movie.handle, 1, 5, 0), 0u);
}

TEST(Mp4TrackTest, ChannelsStandInEverySoundEntry) {
    for (const char *type :
         {"mp4a", "alac", "ac-3", "ec-3", "samr", "enca", "fLaC", "Opus", ".mp3", "in24", "raw "})
        EXPECT_EQ(ChannelsOfEntry(SoundEntry(type, 6)), 6) << type;
    EXPECT_EQ(ChannelsOfEntry(SoundEntry("mp4a", 1) + SoundEntry("mp4a", 2)), 1);
    EXPECT_EQ(ChannelsOfEntry(SoundEntry("mp4a", 0xFFFF)), 0xFFFF);
    EXPECT_EQ(ChannelsOfEntry(SoundEntry("sowt", 4, "", 16, 1)), 4);
    EXPECT_EQ(ChannelsOfEntry(SoundEntry2("lpcm", 8)), 8);
    EXPECT_EQ(ChannelsOfEntry(SoundEntry2("lpcm", 0x10000)), -1);
    EXPECT_EQ(ChannelsOfEntry(""), -1);
    EXPECT_EQ(ChannelsOfEntry(BoxBytes("mp4a", Zeros(19))), -1);
    EXPECT_EQ(ChannelsOf(VideoTrack()), -1);
    EXPECT_EQ(ChannelsOf({.handler = "text"}), -1);
}

TEST(Mp4TrackTest, PixelsStandInEveryVideoEntry) {
    for (const char *type :
         {"avc1", "mp4v", "hvc1", "hev1", "av01", "vp09", "png ", "apch", "encv", "????"}) {
        TrackParts parts = VideoTrack();
        parts.entries = VideoEntry(type, 1920, 1088);
        EXPECT_EQ(SizeOf(parts), "1920x1088") << type;
    }
    EXPECT_EQ(SizeOf({.shown_width = 300, .shown_height = 200}), "0x0") << "a sound track has no size";
}

TEST(Mp4TrackTest, TheShownSizeStandsInForAMissingCodedOne) {
    TrackParts parts = VideoTrack(2, 0, 0);
    parts.shown_width = 320;
    parts.shown_height = 240;
    EXPECT_EQ(SizeOf(parts), "320x240");
    parts.track_header_version = 1;
    parts.entries = "";
    EXPECT_EQ(SizeOf(parts), "320x240");
    parts.entries = VideoEntry("avc1", 640, 480);
    EXPECT_EQ(SizeOf(parts), "640x480");
}

TEST(Mp4TrackTest, TheBitRateIsTheDescriptorsAverage) {
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(96000)), 96000u);
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(900000)), 900000u) << "above the maximum is not checked";
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(96000, 0x40, 4)), 96000u);
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(96000, 0x40, 1, 0x80, "ab")), 96000u);
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(96000, 0x40, 1, 0x20, "ab")), 96000u);
    const std::string url = U8(200) + std::string(200, 'u');
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(96000, 0x40, 4, 0xE0, "ab" + url + "cd")), 96000u);
    EXPECT_EQ(BitRateOfDescriptor(BoxBytes("chan", "layout") + StreamDescriptor(96000)), 96000u);
    EXPECT_EQ(BitRateOf({.entries = SoundEntry("mp4a", 2, StreamDescriptor(96000), 16, 1)}), 96000u);
    // Only QuickTime's sample descriptions have a version 1 entry with more fields.
    EXPECT_EQ(BitRateOf({.entries = SoundEntry2("mp4a", 2, StreamDescriptor(96000))}), 96000u);
    TrackParts video = VideoTrack();
    video.entries = VideoEntry("mp4v", 640, 480, StreamDescriptor(700000, 0x20));
    EXPECT_EQ(BitRateOf(video), 700000u);
}

// All that may stand before the bit rate, at its longest, and behind it more than is read of any descriptor.
TEST(Mp4TrackTest, TheLongestDescriptorIsWithinWhatIsRead) {
    const std::string url = U8(255) + std::string(255, 'u');
    const std::string longest = StreamDescriptor(96000, 0x40, 4, 0xE0, "ab" + url + "cd");
    ASSERT_LT(longest.size(), kMp4DescriptorPrefix);
    for (const size_t payload : {kMp4DescriptorPrefix, kMp4DescriptorPrefix + 1}) {
        const std::string padded = longest.substr(8) + std::string(payload + 8 - longest.size(), 'x');
        EXPECT_EQ(BitRateOfDescriptor(BoxBytes("esds", padded)), 96000u) << payload;
    }
}

TEST(Mp4TrackTest, AVersion1EntryOfANewDescriptionHasNoMoreFields) {
    // Built as a version 0 entry whose version field says 1.
    std::string entry = SoundEntry("mp4a", 2, StreamDescriptor(96000));
    entry[8 + 9] = 1;
    EXPECT_EQ(BitRateOf({.entries = entry, .description_version = 1}), 96000u);
}

TEST(Mp4TrackTest, WithoutADescriptorTheSamplesTellTheBitRate) {
    EXPECT_EQ(BitRateOfDescriptor(StreamDescriptor(0)), kRateOfSamples);
    EXPECT_EQ(BitRateOfDescriptor(""), kRateOfSamples);
    EXPECT_EQ(BitRateOfDescriptor(BoxBytes("wave", StreamDescriptor(96000))), kRateOfSamples);
    EXPECT_EQ(BitRateOfDescriptor(BoxBytes("btrt", Zeros(4) + U32(5) + U32(6))), kRateOfSamples);
}

TEST(Mp4TrackTest, ADamagedDescriptorCostsOnlyItself) {
    const std::string whole = StreamDescriptor(96000);
    for (size_t length = 12; length < 12 + 2 + 3 + 2 + 13; ++length) {
        const std::string cut = BoxBytes("esds", std::string_view(whole).substr(8, length - 8));
        EXPECT_EQ(BitRateOfDescriptor(cut), kRateOfSamples) << length;
    }
    EXPECT_EQ(BitRateOfDescriptor(FullBox("esds", "\x03\xFF\xFF\xFF\xFF\xFF")), kRateOfSamples);
    EXPECT_EQ(BitRateOfDescriptor(FullBox("esds", Descriptor(4, Zeros(20)))), kRateOfSamples);
    EXPECT_EQ(BitRateOfDescriptor(FullBox("esds", "\x03\x19\x00\x01\x40\xFF" + Zeros(20))), kRateOfSamples);
}

TEST(Mp4TrackTest, AllKindsOfSizeTablesAreAddedUp) {
    EXPECT_EQ(BitRateOfSizes(SizeTable({1, 2, 0x10000})), (3 + 0x10000) * 8u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(100, 50)), 5000 * 8u);
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(4, 4, "\x12\xF3")), (1 + 2 + 15 + 3) * 8u);
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(4, 3, "\x12\xF3")), (1 + 2 + 15) * 8u);
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(8, 2, "\xFF\x01")), 256 * 8u);
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(16, 2, "\x01\x02\x03\x04")), (0x102 + 0x304) * 8u);
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(12, 2, "\x01\x02\x03\x04")), 0u);
    EXPECT_EQ(BitRateOfSizes(SizeTable({})), 0u);
}

TEST(Mp4TrackTest, ASizeTableLongerThanAWindowIsAddedUp) {
    for (const size_t count : {kMp4Window / 4, kMp4Window / 4 + 1, size_t{5000}, size_t{300'000}})
        EXPECT_EQ(BitRateOfSizes(SizeTable(std::vector<uint32_t>(count, 3))), count * 3 * 8) << count;
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(4, 20001, std::string(10001, '\x11'))), 20001 * 8u);
}

TEST(Mp4TrackTest, ATableWithFewerEntriesThanItSaysGivesNoRate) {
    EXPECT_EQ(BitRateOfSizes(FullBox("stsz", U32(0) + U32(3) + U32(10) + U32(10))), 0u);
    EXPECT_EQ(BitRateOfSizes(FullBox("stsz", U32(0) + U32(0xFFFFFFFF) + U32(10))), 0u);
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(4, 3, "\x12")), 0u);
    EXPECT_EQ(BitRateOfSizes(FullBox("stsz", U32(0))), 0u);
}

TEST(Mp4TrackTest, TableEntriesAreBounded) {
    EXPECT_EQ(BitRateOfSizes(CompactSizeTable(4, kMp4SamplesMax, std::string(kMp4SamplesMax / 2, '\x10'))),
              kMp4SamplesMax / 2 * 8u);
    EXPECT_EQ(
        BitRateOfSizes(CompactSizeTable(4, kMp4SamplesMax + 1, std::string(kMp4SamplesMax / 2 + 1, '\x10'))),
        0u);
}

TEST(Mp4TrackTest, ARateWithoutADurationOrBeyond32BitsIsNone) {
    EXPECT_EQ(BitRateOf({.duration = 0, .entries = SoundEntry("mp4a", 2)}), 0u);
    EXPECT_EQ(BitRateOf({.time_scale = 44100, .duration = 44, .entries = SoundEntry("mp4a", 2)}), 0u);
    EXPECT_EQ(BitRateOf({.time_scale = 0, .entries = SoundEntry("mp4a", 2)}), 0u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(0xFFFFFFFF, 0xFFFFFFFF)), 0u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(0x10000000, 2)), 0u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(0x0FFFFFFF, 2)), 0x0FFFFFFFu * 16);
}

TEST(Mp4TrackTest, PcmSamplesCountOnce) {
    // One second of 16-bit stereo, as ffmpeg writes it and as QuickTime does.
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(4, 44100), SoundEntry("sowt", 2)), 1'411'200u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(1, 44100), SoundEntry("sowt", 2)), 1'411'200u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(1, 44100), SoundEntry("twos", 2)), 1'411'200u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(1, 44100), SoundEntry("raw ", 1, "", 8)), 352'800u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(1, 44100), SoundEntry2("lpcm", 2)), 1'411'200u);
    EXPECT_EQ(BitRateOfSizes(ConstantSizeTable(1, 44100), SoundEntry("ulaw", 1)), 352'800u);
}
