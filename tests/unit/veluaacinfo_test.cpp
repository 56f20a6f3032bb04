// SPDX-License-Identifier: GPL-2.0-or-later
//
// The program veluaacinfo as the daemon meets it: what it prints, and its exit status.
#include "container/faad_line.h"
#include "platform/media_record.h"
#include "tests/unit/aac_bytes.h"
#include "tests/unit/comma_locale.h"
#include "tests/unit/program_output.h"
#include "tests/unit/scratch_file.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>

namespace {

// The program of this build, which stands beside the tests'.
std::string Program() {
    char tests[PATH_MAX] = {};
    EXPECT_LT(0, readlink("/proc/self/exe", tests, sizeof tests - 1));
    const std::string path = tests;
    return path.substr(0, path.rfind('/')) + "/veluaacinfo";
}

ProgramOutput Info(const std::string &path) {
    return ProgramRun(Program() + " -i '" + path + "' 2> /dev/null");
}

ProgramOutput InfoOf(const std::string &bytes) {
    return Info(ScratchFile(bytes).path);
}

} // namespace

TEST(VeluAacInfo, AdtsGivesItsLine) {
    const ProgramOutput output = InfoOf(Repeated(AdtsFrame(), 10));
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.text, "AAC duration;0.232199;samplerate;44100;channel;2;bitrate;34453;\n");
    EXPECT_EQ(InfoOf(std::string("ID3\4\0\0\0\0\0\2tt", 12) + AdtsFrame(1, 11)).text,
              "AAC duration;0.128000;samplerate;8000;channel;1;bitrate;6250;\n");
}

TEST(VeluAacInfo, AdifGivesItsLine) {
    std::string bytes = AdifHeader(128000);
    bytes.resize(160000);
    const ProgramOutput output = InfoOf(bytes);
    EXPECT_EQ(output.status, 0);
    EXPECT_EQ(output.text, "AAC duration;10.000000;samplerate;44100;channel;2;bitrate;128000;\n");
    EXPECT_EQ(InfoOf(AdifHeader(0)).text, "AAC duration;0.000000;samplerate;44100;channel;2;bitrate;0;\n");
}

TEST(VeluAacInfo, TheDaemonReadsTheLine) {
    MediaInfo record = {};
    EXPECT_TRUE(FaadLineParse(InfoOf(Repeated(AdtsFrame(), 1000)).text.c_str(), &record));
    EXPECT_FLOAT_EQ(record.duration, 1024.0F * 1000 / 44100);
    EXPECT_EQ(record.sample_rate, 44100u);
    EXPECT_EQ(record.channels, 2u);
    EXPECT_EQ(record.audio_bitrate, 34453u);
}

TEST(VeluAacInfo, ForAnyOtherFileNothingIsPrinted) {
    const ScratchFile text("text that is no sound");
    const ScratchFile empty("");
    for (const std::string &path : {text.path, empty.path, std::string("/tmp"), std::string("/dev/zero"),
                                    std::string("/tmp/none.aac")}) {
        const ProgramOutput output = Info(path);
        EXPECT_EQ(output.status, 1) << path;
        EXPECT_EQ(output.text, "") << path;
    }
}

TEST(VeluAacInfo, AnyNameIsAFile) {
    const ScratchFile file(Repeated(AdtsFrame(), 2));
    const std::string path = "/tmp/-i 100%s \xff.aac";
    ASSERT_EQ(rename(file.c_str(), path.c_str()), 0);
    EXPECT_EQ(Info(path).status, 0);
    unlink(path.c_str());
}

TEST(VeluAacInfo, OtherArgumentsAreExplained) {
    for (const char *arguments : {"", " -i", " /tmp/a.aac", " -w /tmp/a.aac", " -i /tmp/a.aac more"}) {
        const ProgramOutput output = ProgramRun(Program() + arguments + " 2> /dev/null");
        EXPECT_EQ(output.status, 2) << arguments;
        EXPECT_EQ(output.text, "") << arguments;
        EXPECT_EQ(ProgramRun(Program() + arguments + " 2>&1").text, "usage: veluaacinfo -i FILE\n");
    }
}

TEST(VeluAacInfo, ALineThatCannotBeWrittenIsAFailure) {
    const ScratchFile file(Repeated(AdtsFrame(), 2));
    EXPECT_EQ(ProgramRun(Program() + " -i " + file.path + " > /dev/full").status, 1);
}

TEST(VeluAacInfo, ThePointIsOneInAnyLocale) {
    const CommaLocale comma;
    ASSERT_EQ(ProgramRun("/usr/bin/printf %.1f 0,5").text, "0,5") << "programs do not see the locale";
    EXPECT_EQ(InfoOf(Repeated(AdtsFrame(), 10)).text,
              "AAC duration;0.232199;samplerate;44100;channel;2;bitrate;34453;\n");
}
