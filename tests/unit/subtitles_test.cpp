// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/subtitles.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "catalogue/bounds.h"
#include "platform/rule_set.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

constexpr char kFolder[] = "/volume1/video/F";

class Subtitles : public testing::Test {
protected:
    Subtitles() {
        SandboxReset();
        FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\n");
        RuleSetFollow();
        fs::create_directories(kFolder);
    }
    ~Subtitles() override {
        fs::remove("/etc/veluinfo.conf");
        RuleSetFollow();
    }

    static inline bool unseen = false;

    static void Write(const Names &names) {
        for (const std::string &name : names)
            FileWrite(std::string(kFolder) + '/' + name, "");
    }
    static Names Of(const std::string &film, KnownSubtitles *known = nullptr) {
        Names names;
        unseen = false;
        for (const std::string &path : SubtitlesOf(std::string(kFolder) + '/' + film, known, &unseen)) {
            EXPECT_TRUE(path.starts_with(std::string(kFolder) + '/')) << path;
            names.push_back(path.substr(sizeof kFolder));
        }
        EXPECT_FALSE(unseen);
        return names;
    }
};

} // namespace

TEST_F(Subtitles, BelongToTheFilmWhoseNameTheyBeginWith) {
    Write({"film.mkv", "film.srt", "film.en.srt", "film-de.SUB", "film (director).idx", "film2.srt",
           "filmed.srt", "other.srt", "film.txt", "film", "Film.srt"});
    EXPECT_EQ(Of("film.mkv"), (Names{"film (director).idx", "film-de.SUB", "film.en.srt", "film.srt"}));
    EXPECT_EQ(Of("nothing.mkv"), Names());
    EXPECT_EQ(SubtitlesOf("no path", nullptr, &unseen), Names());
    EXPECT_FALSE(unseen);
    EXPECT_EQ(SubtitlesOf("/not/there.mkv", nullptr, &unseen), Names());
    EXPECT_TRUE(unseen) << "the film is there";
}

TEST_F(Subtitles, BelongToTheLongestName) {
    Write({"film.mkv", "film.part 2.mkv", "film.part 3.webm", "film.srt", "film.part 2.srt",
           "film.part 2.en.srt", "film.part 3.srt", "film.part 4.jpg", "film.part 4.srt", "film.fin.avi",
           "film.fin.srt"});
    EXPECT_EQ(Of("film.mkv"), (Names{"film.part 3.srt", "film.part 4.srt", "film.srt"}))
        << "part 3 is no film that this one's extension tells of";
    EXPECT_EQ(Of("film.part 2.mkv"), (Names{"film.part 2.en.srt", "film.part 2.srt"}));
    EXPECT_EQ(Of("film.fin.avi"), Names{"film.fin.srt"});
}

TEST_F(Subtitles, AreAskedForOnceInAWalk) {
    Write({"film.mkv", "film.srt"});
    KnownSubtitles known;
    EXPECT_EQ(Of("film.mkv", &known), Names{"film.srt"});
    Write({"film.en.srt"});
    EXPECT_EQ(Of("film.mkv", &known), Names{"film.srt"});
    EXPECT_EQ(Of("film.mkv"), (Names{"film.en.srt", "film.srt"}));
    for (size_t i = 0; i <= kSubtitleDirectories; ++i)
        SubtitlesOf("/volume1/video/" + std::to_string(i) + "/film.mkv", &known, &unseen);
    EXPECT_EQ(known.directories.size(), kSubtitleDirectories);
    EXPECT_EQ(Of("film.mkv", &known).size(), 2u) << "asked again";
}

TEST_F(Subtitles, KnowTheirFilms) {
    Write({"film.mkv", "film.srt", "film.en.srt", "film2.mkv"});
    const std::string folder = std::string(kFolder) + '/';
    EXPECT_EQ(FilmsOf(folder + "film.en.srt"), Names{folder + "film.mkv"});
    EXPECT_EQ(FilmsOf(folder + "other.srt"), Names());
}

TEST_F(Subtitles, HaveABound) {
    for (size_t i = 0; i <= kSubtitleNamesMax; ++i)
        Write({"film." + std::to_string(10000 + i) + ".srt"});
    Write({"film.mkv"});
    EXPECT_EQ(Of("film.mkv").size(), kSubtitleNamesMax);
    fs::remove(std::string(kFolder) + "/film.10000.srt");
    EXPECT_EQ(Of("film.mkv").size(), kSubtitleNamesMax);
}
