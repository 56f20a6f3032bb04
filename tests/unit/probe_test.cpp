// SPDX-License-Identifier: GPL-2.0-or-later
//
// The probe's module on files that ffmpeg makes.
#include "container/metamedia.h"

#include "platform/media_record.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/probe_files.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <string.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <memory>
#include <string>
#include <vector>

namespace {

TEST_F(ProbeTest, SixteenBitPcmHasTheBitRateOfItsSamples) {
    EXPECT_EQ(0, Get(Make("a.wav", std::string(kTone) + " -ac 2 -c:a pcm_s16le")));
    EXPECT_EQ(1411200U, record->audio_bitrate);
    EXPECT_EQ(44100U, record->sample_rate);
    EXPECT_EQ(2U, record->channels);
    EXPECT_EQ(1.0F, record->duration);
    EXPECT_EQ(0U, record->width);
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

TEST_F(ProbeTest, OtherPcmSamples) {
    const std::string mono = std::string(kTone) + " -ac 1 -ar 8000 -c:a ";
    for (const char *codec : {"pcm_u8", "pcm_mulaw", "pcm_alaw"}) {
        EXPECT_EQ(0, Get(Make("a.wav", mono + codec)));
        EXPECT_EQ(64000U, record->audio_bitrate) << codec;
    }
    EXPECT_EQ(0, Get(Make("a.aiff", mono + "pcm_s16be")));
    EXPECT_EQ(128000U, record->audio_bitrate);
    EXPECT_EQ(0, Get(Make("b.aiff", mono + "pcm_s8")));
    EXPECT_EQ(64000U, record->audio_bitrate);
    EXPECT_EQ(0, Get(Make("b.wav", mono + "pcm_s24le"))); // by the codec's own word
    EXPECT_EQ(192000U, record->audio_bitrate);
}

TEST_F(ProbeTest, TheDurationIsCutToWholeSeconds) {
    EXPECT_EQ(0, Get(Make("a.wav", "-f lavfi -i sine=r=8000:d=59.9 -c:a pcm_u8")));
    EXPECT_EQ(59.0F, record->duration);
}

TEST_F(ProbeTest, TagsOfTheContainer) {
    EXPECT_EQ(0, Get(Make("a.mka", kTone + std::string(kTags) + "-c:a flac")));
    EXPECT_STREQ("Title", record->title);
    EXPECT_STREQ("Artist", record->artist);
    EXPECT_STREQ("Album", record->album);
    EXPECT_STREQ("Genre", record->genre);
    EXPECT_EQ(2004, record->year);
    EXPECT_EQ(7, record->track);
}

TEST_F(ProbeTest, TagsOfAnOggFileAreThoseOfItsAudioStream) {
    EXPECT_EQ(0, Get(Make("a.ogg", kTone + std::string(kTags) + "-c:a libvorbis")));
    EXPECT_STREQ("Title", record->title);
    EXPECT_STREQ("Artist", record->artist);
    EXPECT_STREQ("Album", record->album);
    EXPECT_STREQ("Genre", record->genre);
    EXPECT_EQ(2004, record->year);
    EXPECT_EQ(7, record->track);
    EXPECT_EQ(44100U, record->sample_rate);
}

TEST_F(ProbeTest, TagsOfAStreamInAFilmAreNotTheFilms) {
    EXPECT_EQ(0, Get(Make("a.mkv", kPicture + std::string(" ") + kTone +
                                       " -metadata:s:a:0 title=Surround -c:v mpeg4 -c:a ac3")));
    EXPECT_STREQ("default title", record->title);
}

TEST_F(ProbeTest, WithoutTagsTheRecordKeepsItsTexts) {
    EXPECT_EQ(0, Get(Make("a.ogg", kTone + std::string(" -c:a libvorbis"))));
    EXPECT_STREQ("default title", record->title);
    EXPECT_STREQ("default album", record->album);
    EXPECT_EQ(0, record->year);
    EXPECT_EQ(0, record->track); // always set
}

TEST_F(ProbeTest, TheAuthorAndTheYearStandInForArtistAndDate) {
    const std::string name = "a.mka";
    EXPECT_EQ(0,
              Get(Make(name, kTone + std::string(" -metadata author=Author -metadata year=1999 -c:a flac"))));
    EXPECT_STREQ("Author", record->artist);
    EXPECT_EQ(1999, record->year);
    EXPECT_EQ(0, Get(Make(name, kTone + std::string(" -metadata author=Author -metadata artist=Artist"
                                                    " -metadata year=1999 -metadata date=2001 -c:a flac"))));
    EXPECT_STREQ("Artist", record->artist);
    EXPECT_EQ(2001, record->year);
    EXPECT_EQ(0, Get(Make(name, kTone + std::string(" -metadata date=unknown -metadata year=1999"
                                                    " -metadata track=B2 -c:a flac"))));
    EXPECT_EQ(1999, record->year);
    EXPECT_EQ(0, record->track);
    EXPECT_EQ(
        0, Get(Make(name, kTone + std::string(" -metadata date=99999999999 -metadata track=-3 -c:a flac"))));
    EXPECT_EQ(0, record->year);
    EXPECT_EQ(0, record->track);
}

TEST_F(ProbeTest, LongTextsAreCut) {
    EXPECT_EQ(0, Get(Make("a.mka",
                          kTone + std::string(" -metadata title=") + std::string(300, 't') + " -c:a flac")));
    EXPECT_EQ(std::string(kMediaTextSize - 1, 't'), record->title);
}

TEST_F(ProbeTest, AVideoFileHasNoAlbum) {
    EXPECT_EQ(
        0, Get(Make("a.avi", kPicture + std::string(" ") + kTone + kTags + "-c:v mpeg4 -c:a mp2 -b:a 128k")));
    EXPECT_EQ(320U, record->width);
    EXPECT_EQ(240U, record->height);
    EXPECT_EQ(128000U, record->audio_bitrate);
    EXPECT_EQ(44100U, record->sample_rate);
    EXPECT_EQ(1U, record->channels);
    EXPECT_LT(0U, record->video_bitrate);
    EXPECT_STREQ("Title", record->title);
    EXPECT_STREQ("default album", record->album);
}

TEST_F(ProbeTest, TheLastStreamOfATypeCounts) {
    EXPECT_EQ(0, Get(Make("a.mkv", "-f lavfi -i testsrc=s=320x240:d=1 -f lavfi -i testsrc=s=160x120:d=1 "
                                   "-f lavfi -i sine=r=44100:d=1 -f lavfi -i sine=r=48000:d=1 "
                                   "-map 0 -map 1 -map 2 -map 3 -c:v mpeg4 -c:a pcm_s16le -ac:a:1 2")));
    EXPECT_EQ(160U, record->width);
    EXPECT_EQ(120U, record->height);
    EXPECT_EQ(48000U, record->sample_rate);
    EXPECT_EQ(2U, record->channels);
    EXPECT_EQ(1536000U, record->audio_bitrate);
}

TEST_F(ProbeTest, SubtitlesAloneAreNeitherAudioNorVideo) {
    Write("a.srt", "1\n00:00:00,000 --> 00:00:01,000\nHello\n\n");
    const std::string path = Make("a.mkv", "-i a.srt -c:s srt");
    EXPECT_EQ(1, Get(path));
    EXPECT_EQ(ProbeFailure("", path), LogTakeTexts());
}

TEST_F(ProbeTest, SubtitlesBesideAudioAreFine) {
    Write("a.srt", "1\n00:00:00,000 --> 00:00:01,000\nHello\n\n");
    EXPECT_EQ(0, Get(Make("a.mkv", std::string(kTone) + " -i a.srt -map 0 -map 1 -c:a ac3 -c:s srt")));
}

TEST_F(ProbeTest, AnAttachmentFailsTheProbeAfterWhatCameBefore) {
    Write("font.bin", "attached");
    const std::string path = Make("a.mka", kTone + std::string(kTags) +
                                               "-c:a pcm_s16le -attach font.bin "
                                               "-metadata:s:t mimetype=application/octet-stream");
    EXPECT_EQ(1, Get(path));
    EXPECT_EQ(ProbeFailure("Invalid stream type:4 from [" + path + "].", path), LogTakeTexts());
    EXPECT_EQ(44100U, record->sample_rate);
    EXPECT_EQ(705600U, record->audio_bitrate);
    EXPECT_STREQ("Title", record->title);
    EXPECT_STREQ("default album", record->album);
}

TEST_F(ProbeTest, ACoverIsNeitherVideoNorAnError) {
    Make("cover.jpg", "-f lavfi -i testsrc=s=64x64:d=1 -frames:v 1");
    EXPECT_EQ(0, Get(Make("a.mka", kTone + std::string(kTags) +
                                       "-c:a flac -attach cover.jpg -metadata:s:t mimetype=image/jpeg")));
    EXPECT_EQ(0U, record->width);
    EXPECT_STREQ("Album", record->album);
    EXPECT_EQ(0, Get(Make("a.mp3", std::string(kTone) +
                                       " -i cover.jpg -map 0 -map 1 -c:a libmp3lame -b:a 128k -c:v copy"
                                       " -disposition:v attached_pic" +
                                       kTags)));
    EXPECT_EQ(0U, record->width);
    EXPECT_STREQ("Album", record->album);
    EXPECT_EQ(128000U, record->audio_bitrate);
}

TEST_F(ProbeTest, TheContentCountsNotTheExtension) {
    EXPECT_EQ(0, Get(Make("a.rm", kTone + std::string(" -c:a flac -f flac"))));
    EXPECT_EQ(44100U, record->sample_rate);
}

// Formats of the index's extensions, with decoders of libavcodec and of other libraries behind them: none
// needs a system call that the filter forbids.
struct ProbeFormat : ProbeTest, testing::WithParamInterface<const char *> {};

TEST_P(ProbeFormat, IsRead) {
    const std::string all = GetParam();
    const size_t name = all.find(' ');
    const std::string inputs = std::string(kPicture) + " " + kTone;
    EXPECT_EQ(0, Get(Make(all.substr(0, name), inputs + all.substr(name))));
    EXPECT_EQ(Texts{}, LogTakeTexts());
    EXPECT_LT(0U, record->width + record->sample_rate);
    const bool length_is_stated = all.substr(0, name) != "a.swf";
    EXPECT_EQ(length_is_stated, record->duration >= 1.0F);
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ProbeFormat,
    testing::Values("a.mpg -c:v mpeg1video -r 25 -c:a mp2", "a.vob -c:v mpeg2video -r 25 -c:a ac3",
                    "a.ts -c:v mpeg2video -r 25 -c:a mp2", "a.m2ts -c:v libx264 -c:a aac",
                    "a.wmv -c:v wmv2 -c:a wmav2", "a.asf -c:v msmpeg4 -c:a wmav1",
                    "a.mov -c:v mjpeg -c:a pcm_s16le", "a.mp4 -c:v libx264 -c:a aac",
                    "a.mp4 -c:v libx265 -x265-params log-level=none -c:a aac",
                    "a.3gp -c:v h263 -s 176x144 -an", "a.flv -c:v flv -c:a libmp3lame",
                    "a.mkv -c:v libvpx-vp9 -c:a libopus", "a.mkv -c:v libaom-av1 -cpu-used 8 -c:a libvorbis",
                    "a.mkv -c:v ffv1 -c:a flac", "a.webm -c:v libvpx -c:a libvorbis",
                    "a.swf -c:v flv -c:a libmp3lame", "a.rm -c:v rv10 -c:a ac3", "a.wma -vn -c:a wmav2",
                    "a.ac3 -vn", "a.mp2 -vn", "a.opus -vn -c:a libopus", "a.spx -vn -c:a libspeex",
                    "a.wv -vn -c:a wavpack", "a.tta -vn -c:a tta", "a.aac -vn -c:a aac",
                    "a.dts -vn -c:a dca -strict -2"));

TEST_F(ProbeTest, WhatIsNoMediaFileCannotBeOpened) {
    for (const std::string &path :
         {Path("missing.avi"), Write("empty.avi", ""), Write("text.avi", "no media"),
          std::string("/dev/zero"), std::string(folder)}) {
        EXPECT_EQ(1, Get(path));
        EXPECT_EQ(ProbeFailure("Failed to av_open_input_file() file [" + path + "].", path), LogTakeTexts());
    }
    const std::string pipe = Path("pipe.avi");
    ASSERT_EQ(0, mkfifo(pipe.c_str(), 0600));
    EXPECT_EQ(1, Get(pipe));
}

TEST_F(ProbeTest, AFileThatNamesOthersOpensNone) {
    const std::string other = Make("other.wav", std::string(kTone) + " -c:a pcm_s16le");
    Make("other.ts", std::string(kTone) + " -c:a mp2");
    const int watch = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_LE(0, inotify_add_watch(watch, other.c_str(), IN_OPEN));
    ASSERT_LE(0, inotify_add_watch(watch, Path("other.ts").c_str(), IN_OPEN));
    const std::vector<std::string> contents = {
        "ffconcat version 1.0\nfile other.wav\n",
        "ffconcat version 1.0\nfile 'file:" + other + "'\n",
        "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\nother.ts\n#EXT-X-ENDLIST\n",
        "#EXTM3U\n#EXTINF:1,\n" + Path("other.ts") + "\n",
        "v=0\no=- 0 0 IN IP4 127.0.0.1\ns=-\nc=IN IP4 127.0.0.1\nt=0 0\nm=video 5004 RTP/AVP 33\n",
        "<?xml version=\"1.0\"?><MPD xmlns=\"urn:mpeg:dash:schema:mpd:2011\" type=\"static\" "
        "profiles=\"urn:mpeg:dash:profile:isoff-main:2011\"><Period><AdaptationSet mimeType=\"audio/wav\">"
        "<Representation "
        "id=\"1\"><BaseURL>other.wav</BaseURL></Representation></AdaptationSet></Period></MPD>",
        "# VobSub index file, v7 (do not modify this line!)\nid: en, index: 0\n"
        "timestamp: 00:00:00:000, filepos: 000000000\n",
        "<?xml version=\"1.0\"?><svg xmlns=\"http://www.w3.org/2000/svg\" "
        "xmlns:xlink=\"http://www.w3.org/1999/xlink\" width=\"64\" height=\"48\">"
        "<image xlink:href=\"other.wav\" width=\"9\" height=\"9\"/></svg>",
        "RTSPtext\nrtsp://127.0.0.1/x\n",
    };
    for (const char *extension : {"avi", "ram", "mkv"}) {
        for (const std::string &content : contents) {
            const std::string path = Write(std::string("list.") + extension, content);
            EXPECT_EQ(1, Get(path)) << content;
            EXPECT_EQ(ProbeFailure("Failed to av_open_input_file() file [" + path + "].", path),
                      LogTakeTexts());
        }
    }
    char event[sizeof(inotify_event) + NAME_MAX + 1];
    EXPECT_GT(0, read(watch, event, sizeof event)) << "a file that another one names was opened";
    close(open(other.c_str(), O_RDONLY | O_CLOEXEC)); // the watch does see it
    EXPECT_LT(0, read(watch, event, sizeof event));
    close(watch);
}

TEST_F(ProbeTest, SubtitlesAndMetadataAloneFailWithoutALineOfTheirOwn) {
    for (const char *content :
         {"1\n00:00:00,000 --> 00:00:01,000\nHello\n\n", "WEBVTT\n\n00:00.000 --> 00:01.000\nHello\n",
          "[Script Info]\nScriptType: v4.00+\n\n[Events]\n"
          "Format: Layer, Start, End, Style, Name, MarginL, MarginR, MarginV, Effect, Text\n"
          "Dialogue: 0,0:00:00.00,0:00:01.00,Default,,0,0,0,,Hello\n",
          "{0}{25}Hello\n{25}{50}World\n{50}{75}!\n", ";FFMETADATA1\ntitle=x\n"}) {
        for (const char *name : {"a.avi", "a.mkv", "a.wma"}) {
            const std::string path = Write(name, content);
            EXPECT_EQ(1, Get(path)) << content;
            EXPECT_EQ(ProbeFailure("", path), LogTakeTexts()) << content;
            EXPECT_STREQ("default album", record->album);
        }
    }
}

// A picture, whatever its name says, has its size.
struct ProbePicture : ProbeTest, testing::WithParamInterface<const char *> {};

TEST_P(ProbePicture, HasItsSize) {
    const std::string path =
        Make("a.avi", std::string("-f lavfi -i testsrc=s=64x48:d=1 -frames:v 1 ") + GetParam());
    EXPECT_EQ(0, Get(path));
    EXPECT_EQ(64U, record->width);
    EXPECT_EQ(48U, record->height);
    EXPECT_EQ(0U, record->channels);
    EXPECT_EQ(Texts{}, LogTakeTexts());
}

INSTANTIATE_TEST_SUITE_P(Pictures, ProbePicture,
                         testing::Values("-f gif", "-c:v png -f image2pipe", "-c:v mjpeg -f image2pipe",
                                         "-c:v bmp -f image2pipe", "-c:v tiff -f image2pipe",
                                         "-c:v libwebp -f image2pipe", "-c:v libopenjpeg -f image2pipe"));

TEST_F(ProbeTest, APathOfAnyBytes) {
    Make("a.wav", kTone);
    const std::string path = Path("%d http:\xff\xfe [x] \n.wav");
    ASSERT_EQ(0, rename(Path("a.wav").c_str(), path.c_str()));
    EXPECT_EQ(0, Get(path));
}

} // namespace
