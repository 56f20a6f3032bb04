// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/companions.h"

#include <errno.h>
#include <gtest/gtest.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <string>

#include "catalogue/bounds.h"
#include "platform/rule_set.h"
#include "tests/unit/failing_readdir.h"
#include "tests/unit/test_files.h"

namespace fs = std::filesystem;

namespace {

using Names = std::vector<std::string>;

const std::string kFolder = "/volume1/photo/F";

class Companions : public testing::Test {
protected:
    Companions() {
        SandboxReset();
        FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\n");
        RuleSetFollow();
        fs::create_directories(kFolder);
    }
    ~Companions() override {
        ReaddirFailAt("", 0);
        fs::remove("/etc/veluinfo.conf");
        RuleSetFollow();
    }

    static void Write(const Names &names) {
        for (const std::string &name : names)
            FileWrite(kFolder + '/' + name, "");
    }
    static Names Of(const std::string &file, KnownCompanions *known, bool ahead) {
        Names names;
        bool unseen = false;
        for (const std::string &path : CompanionsOf(known, kFolder + '/' + file, ahead, &unseen)) {
            EXPECT_TRUE(path.starts_with(kFolder + '/')) << path;
            names.push_back(path.substr(kFolder.size() + 1));
        }
        EXPECT_FALSE(unseen);
        return names;
    }
    static Names Of(const std::string &file) {
        KnownCompanions known;
        return Of(file, &known, true);
    }
};

std::string Burst(size_t number) {
    return "IMG_BURST" + std::to_string(10000 + number) + ".jpg";
}

} // namespace

TEST_F(Companions, AreOfOneStemAndOfAnotherKind) {
    Write({"IMG_1.CR2", "img_1.jpg", "IMG_2.HEIC", "IMG_2.JPG", "IMG_2.DNG", "IMG_2.MOV", "IMG_3.jpg",
           "IMG_3.png", "IMG_30.cr2", "._IMG_1.JPG", ".IMG_1.jpg", "IMG_4.HEIC", "IMG_4_HEVC.MOV"});
    fs::create_directories(kFolder + "/IMG_3.mov");
    EXPECT_EQ(Of("IMG_1.CR2"), Names{"img_1.jpg"});
    EXPECT_EQ(Of("img_1.jpg"), Names{"IMG_1.CR2"});
    EXPECT_EQ(Of("IMG_2.HEIC"), (Names{"IMG_2.DNG", "IMG_2.MOV"}));
    EXPECT_EQ(Of("IMG_2.JPG"), (Names{"IMG_2.DNG", "IMG_2.MOV"}));
    EXPECT_EQ(Of("IMG_2.MOV"), (Names{"IMG_2.DNG", "IMG_2.HEIC", "IMG_2.JPG"}));
    EXPECT_EQ(Of("IMG_3.jpg"), Names()) << "neither a directory nor what cameras do not write";
    EXPECT_EQ(Of("IMG_30.cr2"), Names());
    EXPECT_EQ(Of("IMG_4.HEIC"), Names{"IMG_4_HEVC.MOV"});
    EXPECT_EQ(Of("IMG_4_HEVC.MOV"), Names{"IMG_4.HEIC"});
    EXPECT_EQ(Of("IMG_1.nef"), Names{"img_1.jpg"}) << "of what is not there, too";
}

TEST_F(Companions, OfABurstLeadToTheOneThatIsShown) {
    Write({"X_BURST001.jpg", "X_BURST002_COVER.jpg", "X_BURST003.jpg", "x_burst003.dng", "Y_BURST002.jpg",
           "Y_BURST001.jpg", "Y_BURST003.jpg", "Z_BURST001.jpg"});
    EXPECT_EQ(Of("X_BURST002_COVER.jpg"), (Names{"X_BURST001.jpg", "X_BURST003.jpg", "x_burst003.dng"}));
    EXPECT_EQ(Of("X_BURST001.jpg"), Names{"X_BURST002_COVER.jpg"});
    EXPECT_EQ(Of("X_BURST003.jpg"), (Names{"X_BURST002_COVER.jpg", "x_burst003.dng"}));
    EXPECT_EQ(Of("Y_BURST001.jpg"), (Names{"Y_BURST002.jpg", "Y_BURST003.jpg"})) << "the first one leads";
    EXPECT_EQ(Of("Y_BURST003.jpg"), Names{"Y_BURST001.jpg"});
    EXPECT_EQ(Of("Y_BURST000.jpg"), (Names{"Y_BURST001.jpg", "Y_BURST002.jpg", "Y_BURST003.jpg"}))
        << "whom it concerns that it comes or goes";
    EXPECT_EQ(Of("Z_BURST001.jpg"), Names());
}

TEST_F(Companions, AreAskedForOnceInAWalk) {
    Write({"a.jpg"});
    KnownCompanions known;
    EXPECT_EQ(Of("a.jpg", &known, true), Names());
    Write({"a.cr2"});
    EXPECT_EQ(Of("a.jpg", &known, true), Names());
    EXPECT_EQ(Of("a.jpg", &known, false), Names{"a.cr2"});
    bool unseen = false;
    for (size_t i = 0; i < kCompanionDirectories; ++i)
        CompanionsOf(&known, "/volume1/photo/" + std::to_string(i) + "/a.jpg", true, &unseen);
    EXPECT_EQ(known.directories.size(), kCompanionDirectories);
    EXPECT_EQ(known.directories.back().path, "/volume1/photo/0") << "the oldest one has gone";
    const size_t before = known.directories.size();
    EXPECT_EQ(Of("a.png", &known, false), Names());
    EXPECT_EQ(Of("film.mkv", &known, false), Names());
    EXPECT_EQ(known.directories.size(), before) << "nothing is read for what belongs to nothing";
}

TEST_F(Companions, OfWhatIsNotThereAreAskedForAlone) {
    Write({"a.jpg"});
    KnownCompanions known;
    EXPECT_EQ(Of("a.jpg", &known, true), Names());
    EXPECT_EQ(known.directories.front().names, "") << "a walk keeps what was taken together";
    EXPECT_EQ(Of("a.cr2", &known, false), Names{"a.jpg"});
}

TEST_F(Companions, AreLookedForTogetherWithSidecars) {
    Write({"a.jpg", "b.png"});
    const auto may_have = [](KnownCompanions *known) { return MayHaveSidecars(known, kFolder + "/b.png"); };
    KnownCompanions known;
    EXPECT_FALSE(may_have(&known));
    Write({"x.Xmp"});
    EXPECT_FALSE(may_have(&known)) << "once in a walk";
    KnownCompanions next;
    EXPECT_EQ(Of("a.jpg", &next, true), Names());
    EXPECT_TRUE(may_have(&next));
    KnownCompanions failing;
    fs::remove(kFolder + "/x.Xmp");
    ReaddirFailAt("a.jpg", EIO);
    EXPECT_TRUE(may_have(&failing)) << "for all that can be told";
}

TEST_F(Companions, AreReadAnewWhenTheDirectoryHasChanged) {
    Write({"a.jpg", "a.cr2", "b.jpg"});
    KnownCompanions known;
    EXPECT_EQ(Of("a.jpg", &known, false), Names{"a.cr2"});
    // As if it had been at rest for long when it was read.
    known.directories.front().age.looked += 100;
    ReaddirFailAt("b.jpg", EIO);
    EXPECT_EQ(Of("a.jpg", &known, false), Names{"a.cr2"}) << "it is not read";
    ReaddirFailAt("", 0);
    Write({"b.cr2"});
    EXPECT_EQ(Of("b.jpg", &known, false), Names{"b.cr2"});
}

TEST_F(Companions, MayBeThereWhereNothingCanBeSeen) {
    Write({"a.jpg", "a.cr2"});
    KnownCompanions known;
    bool unseen = false;
    EXPECT_EQ(CompanionsOf(&known, "no path.jpg", false, &unseen), Names());
    EXPECT_FALSE(unseen);
    EXPECT_EQ(CompanionsOf(&known, "/not/there.jpg", false, &unseen), Names());
    EXPECT_TRUE(unseen);
    for (const char *name : {"a.jpg", "a.cr2"}) {
        unseen = false;
        ReaddirFailAt(name, EIO);
        CompanionsOf(&known, kFolder + "/a.jpg", false, &unseen);
        EXPECT_TRUE(unseen) << name;
    }
    ReaddirFailAt("", 0);
    unseen = false;
    known.directories.front().age.looked += 100;
    EXPECT_EQ(CompanionsOf(&known, kFolder + "/a.jpg", false, &unseen), Names{kFolder + "/a.cr2"})
        << "it is read again";
    EXPECT_FALSE(unseen);
}

TEST_F(Companions, OfOneFileHaveABound) {
    Names names;
    for (size_t i = 0; i <= kCompanionsMax; ++i)
        names.push_back(Burst(i));
    Write(names);
    EXPECT_EQ(Of(Burst(0)).size(), kCompanionsMax - 1) << "so many are compared, itself among them";
    EXPECT_EQ(Of(Burst(kCompanionsMax)), Names{Burst(0)});
    fs::remove(kFolder + '/' + names.back());
    EXPECT_EQ(Of(Burst(0)).size(), kCompanionsMax - 1);
    fs::remove(kFolder + '/' + names.front());
    EXPECT_EQ(Of(Burst(1)).size(), kCompanionsMax - 2);
}

TEST_F(Companions, CompareSoManyBytesOfNames) {
    constexpr size_t kBytes = 256; // of a name, with the zero behind it
    static_assert(kCompanionBytesMax % (2 * kBytes) == 0);
    FileWrite(kFolder + "/.target", "");
    const auto name = [](size_t number, const char *extension) {
        std::string all = std::to_string(number);
        return all + std::string(kBytes - 1 - all.size() - strlen(extension), 'x') + extension;
    };
    const auto pair_make = [&](size_t number) {
        for (const char *extension : {".cr2", ".jpg"})
            ASSERT_EQ(symlink(".target", (kFolder + '/' + name(number, extension)).c_str()), 0);
    };
    constexpr size_t kPairs = kCompanionBytesMax / (2 * kBytes);
    for (size_t i = 0; i < kPairs; ++i)
        pair_make(i);
    for (const bool ahead : {true, false}) {
        KnownCompanions known;
        EXPECT_EQ(Of(name(0, ".jpg"), &known, ahead), Names{name(0, ".cr2")});
        EXPECT_EQ(known.directories.front().places.size(), 2 * kPairs);
        EXPECT_EQ(known.directories.front().names.size(), kCompanionBytesMax);
    }
    pair_make(kPairs);
    KnownCompanions known;
    size_t found = 0;
    for (size_t i = 0; i <= kPairs; ++i)
        found += Of(name(i, ".jpg"), &known, true).size();
    EXPECT_LE(found, kPairs) << "two names are left out, of one pair or of two";
    EXPECT_GE(found, kPairs - 1);
    Of(name(0, ".jpg"), &known, false);
    EXPECT_EQ(known.directories.front().names.size(), kCompanionBytesMax);
}
