// SPDX-License-Identifier: GPL-2.0-or-later
//
// The daemon's side of the wall: what comes of a share when files take their readers over, which lie, spin, sleep and end as they
// please (tests/hostile_reader).
#include <gtest/gtest.h>
#include <signal.h>

#include <filesystem>
#include <map>

#include "catalogue/bounds.h"
#include "catalogue/file_readers.h"
#include "daemon/walker.h"
#include "platform/configuration.h"
#include "platform/limits.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "tests/unit/log_capture.h"
#include "tests/unit/scripted_readers.h"
#include "tests/unit/started_reader.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

constexpr char kMusic[] = "/volume1/music";

class HostileWalkTest : public testing::Test {
protected:
    HostileWalkTest() : program(HostileReader()) {
        SandboxReset();
        FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\nreaders=\"2\"\n");
        RuleSetRead();
        reader_programs[0] = program.c_str();
        reader_programs[1] = "/tmp/readers/none";
        reader_bounds.look_milliseconds = 20;
        LogTake();
    }
    ~HostileWalkTest() override {
        FileReadersEnd();
        reader_programs[0] = reader_programs[1] = nullptr;
        reader_bounds = {};
        fs::remove("/etc/veluinfo.conf");
        RuleSetRead();
    }

    // A file with each word, behind an honest one each.
    void Write(const std::vector<std::string> &words) {
        for (size_t i = 0; i < words.size(); ++i) {
            FileWrite(Path("before-" + words[i]), "anything");
            FileWrite(Path("of " + words[i]), "hostile:" + words[i]);
        }
        FileWrite(Path("last"), "anything");
    }

    static std::string Path(const std::string &name) { return std::string(kMusic) + "/" + name + ".mp3"; }

    static std::string Title(const std::string &name) { return MediaRow("music", Path(name))["title"]; }

    static std::string Trouble(const std::string &name) {
        return MediaRow("file_state", Path(name))["trouble"];
    }

    // Of each file, why it could not be read; the log says nothing else.
    static std::map<std::string, std::string> Walk() {
        const size_t descriptors = OpenDescriptors();
        VELUIndexRunBegin();
        VELUIndexRunRules(RuleSet::complete);
        IndexDirWalk(kMusic, kIndexAdd, kWalkMedia);
        EXPECT_EQ(VELUIndexRunEnd(), 0);
        FileReadersEnd();
        EXPECT_TRUE(HasNoChild());
        EXPECT_EQ(OpenDescriptors(), descriptors);
        std::map<std::string, std::string> told;
        for (const LogLine &line : LogTake()) {
            constexpr std::string_view kSaid = ".mp3 cannot be read: ";
            const size_t begin = line.text.find(kMusic);
            const size_t said = line.text.find(kSaid);
            if (begin == std::string::npos || said == std::string::npos) {
                ADD_FAILURE() << line.text;
                continue;
            }
            const size_t name = begin + sizeof kMusic;
            EXPECT_TRUE(
                told.emplace(line.text.substr(name, said - name), line.text.substr(said + kSaid.size()))
                    .second)
                << "told twice: " << line.text;
        }
        return told;
    }

    static void ExpectHonestRows(const std::vector<std::string> &words) {
        for (const std::string &word : words)
            EXPECT_EQ(Title("before-" + word), "honest") << word;
        EXPECT_EQ(Title("last"), "honest");
        EXPECT_EQ(MediaPaths("music").size(), 2 * words.size() + 1);
        for (const char *other : {"video", "photo", "playlist"})
            EXPECT_EQ(MediaPaths(other).size(), 0u) << other;
    }

    // Each of them gets a row by its name, one line, and no other try.
    void ExpectEachCostsItself(const std::vector<std::string> &words, const std::string &reason) {
        Write(words);
        const auto told = Walk();
        ExpectHonestRows(words);
        for (const std::string &word : words) {
            const std::string name = "of " + word;
            EXPECT_EQ(Title(name), name);
            ASSERT_TRUE(told.contains(name)) << word;
            EXPECT_TRUE(told.at(name).starts_with(reason)) << word << ": " << told.at(name);
            EXPECT_EQ(Trouble(name) + ".", told.at(name));
        }
        EXPECT_EQ(told.size(), words.size());
        EXPECT_TRUE(Walk().empty()) << "they have not changed";
        ExpectHonestRows(words);
    }

    std::string program;
};

TEST_F(HostileWalkTest, LiesInEachFieldOfTheAnswer) {
    std::vector<std::string> words = kAnswersNobodyDecodes;
    words.insert(words.end(), {"lie-no-entries", "lie-no-picture", "lie-no-small-picture", "empty",
                               "of-the-next", "of-the-last", "of-nothing", "hang-up"});
    ExpectEachCostsItself(words, "its reader did not keep to what was agreed");
}

TEST_F(HostileWalkTest, WaysToEnd) {
    reader_bounds.look_milliseconds =
        60'000; // a busy machine takes its time from a reader's hanging up to its end
    ExpectEachCostsItself({"abort", "leave", "overflow", "open-write", "kill-parent", "signal-parent",
                           "trace", "read-parent", "socket"},
                          "its reader ended ");
}

// The first of two answers is the file's own; the second comes when another has its turn.
TEST_F(HostileWalkTest, TwoAnswersCostNoOtherFile) {
    std::vector<std::string> words;
    for (int i = 0; i < 12; ++i) {
        FileWrite(Path("before-" + std::to_string(i)), "anything");
        FileWrite(Path("of " + std::to_string(i)), "hostile:twice");
        words.push_back(std::to_string(i));
    }
    FileWrite(Path("last"), "anything");
    const auto told = Walk();
    ExpectHonestRows(words);
    for (const std::string &word : words)
        EXPECT_EQ(Title("of " + word), told.contains("of " + word) ? "of " + word : "twice");
    for (const auto &[name, reason] : told)
        EXPECT_TRUE(name.starts_with("of ")) << name << ": " << reason;
}

TEST_F(HostileWalkTest, SpinningCostsAtOnce) {
    reader_bounds.processor_milliseconds = 100;
    ExpectEachCostsItself({"spin"}, "it takes too much processor time.");
}

// What the machine may be at fault for is tried three times.
TEST_F(HostileWalkTest, SilenceIsTriedThreeTimes) {
    reader_bounds.milliseconds = 200;
    const std::vector<std::string> words = {"sleep", "stop"};
    Write(words);
    for (int run = 1; run <= kTroubleTimes; ++run) {
        const auto told = Walk();
        EXPECT_EQ(told, (std::map<std::string, std::string>{{"of sleep", "it takes too long."},
                                                            {"of stop", "it takes too long."}}));
        ExpectHonestRows(words);
    }
    EXPECT_TRUE(Walk().empty());
}

#if !VELU_SANITIZED // which has no bound on its address space
TEST_F(HostileWalkTest, OutOfMemoryIsTriedThreeTimes) {
    Write({"exhaust"});
    for (int run = 1; run <= kTroubleTimes; ++run) {
        EXPECT_EQ(Walk(), (std::map<std::string, std::string>{{"of exhaust", "it takes too much memory."}}));
        ExpectHonestRows({"exhaust"});
    }
    EXPECT_TRUE(Walk().empty());
}
#endif

TEST_F(HostileWalkTest, WhoHasItsReadersKilledIsGivenUp) {
    Write({"be-killed"});
    EXPECT_EQ(Walk(), (std::map<std::string, std::string>{
                          {"of be-killed", "its reader ended by signal 9 (SIGKILL)."}}));
    ExpectHonestRows({"be-killed"});
    EXPECT_EQ(Trouble("of be-killed"), "its reader ended by signal 9 (SIGKILL) (1 of 3 times)");
}

} // namespace
