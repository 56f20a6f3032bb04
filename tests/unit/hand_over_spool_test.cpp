// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/hand_over_spool.h"

#include <filesystem>

#include "photo/hand_over_file.h"
#include "photo/photo_ea.h"
#include "photo/photo_sync.h"
#include "photo_catalogue.h"
#include "platform/limits.h"

namespace fs = std::filesystem;

namespace {

constexpr char kTitle[] = "VELUPHOTO:TITLE";
constexpr char kDesc[] = "VELUPHOTO:DESC";

class HandOverSpool : public PhotoLibraryFixture {
protected:
    HandOverSpool() { HandOverSpoolSettle(nullptr); }
    ~HandOverSpool() override {
        HandOverSpoolAgain(false);
        fs::remove_all(kHandOverSpool);
        HandOverSpoolSettle(nullptr);
    }
};

std::string Found(const std::string &path, const char *attribute = kTitle) {
    HandOverSpoolAgain(true);
    const std::string *text = HandOverSpoolFind(path.c_str(), attribute);
    const std::string found = text != nullptr ? *text : "(none)";
    HandOverSpoolAgain(false);
    return found;
}

// As the next run finds it, or another daemon.
std::string FoundOnDisk(const std::string &path, const char *attribute = kTitle) {
    HandOverSpoolSettle([](const std::string &) { return true; });
    return Found(path, attribute);
}

void Keep(const std::string &kept) {
    HandOverSpoolSettle([&](const std::string &path) { return path == kept; });
}

bool Add(const std::string &path, const std::string &text, const char *attribute = kTitle) {
    return HandOverSpoolAdd(path.c_str(), attribute, text.c_str());
}

const std::string kPicture = "/volume1/photo/Trips/a.jpg";
const std::string kTitleFile = "/volume1/photo/Trips/@eaDir/a.jpg/VELUPHOTO:TITLE";
const std::string kDescFile = "/volume1/photo/Trips/@eaDir/a.jpg/VELUPHOTO:DESC";

std::string Typed() {
    return PhotoField("title || '/' || description");
}

} // namespace

TEST(HandOverLine, HasTextsOfAnyBytes) {
    std::string bytes;
    for (int byte = 1; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    for (const HandOverText &given :
         {HandOverText{"/p/a.jpg", kTitle, "Holiday\n"}, HandOverText{"/p/a.jpg", kTitle, ""},
          HandOverText{"/" + bytes, "A\tB\\", bytes}, HandOverText{std::string(4095, '\n'), "A", "\\n\\"}}) {
        const std::string line = HandOverLineOf(given);
        EXPECT_EQ(line.find('\n'), line.size() - 1);
        HandOverText read;
        ASSERT_TRUE(HandOverLineRead({line.data(), line.size() - 1}, &read));
        EXPECT_EQ(read.path, given.path);
        EXPECT_EQ(read.attribute, given.attribute);
        EXPECT_EQ(read.text, given.text);
    }
}

TEST(HandOverLine, IsNoneOnceAByteOfItHasChangedOrIsMissing) {
    std::string line = HandOverLineOf({"/p/a.jpg", kTitle, "Holiday\n"});
    line.pop_back();
    HandOverText read;
    for (size_t i = 1; i < line.size(); ++i) {
        std::string changed = line;
        changed[i] ^= 1;
        EXPECT_FALSE(HandOverLineRead(changed, &read)) << changed;
        EXPECT_FALSE(HandOverLineRead(std::string_view(line).substr(0, i), &read)) << i;
    }
    EXPECT_FALSE(HandOverLineRead("", &read));
}

TEST_F(HandOverSpool, ATextIsFoundWhenARequestIsCarriedOutAgainOnly) {
    EXPECT_EQ(Found(kPicture), "(none)");
    EXPECT_FALSE(fs::exists(kHandOverSpool)) << "nothing was handed over";
    ASSERT_TRUE(Add(kPicture, "Holiday\n"));
    EXPECT_EQ(fs::status(kHandOverSpool).permissions(), fs::perms::owner_read | fs::perms::owner_write);
    EXPECT_EQ(HandOverSpoolFind(kPicture.c_str(), kTitle), nullptr);
    EXPECT_EQ(Found(kPicture), "Holiday\n");
    EXPECT_EQ(Found(kPicture, kDesc), "(none)");
    EXPECT_EQ(Found(kPicture + "x"), "(none)");
    ASSERT_TRUE(Add(kPicture, "newer"));
    ASSERT_TRUE(Add(kPicture, "", kDesc));
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(FoundOnDisk(kPicture), "newer");
        EXPECT_EQ(FoundOnDisk(kPicture, kDesc), "");
    }
    EXPECT_TRUE(LogTakeTexts().empty());
}

TEST_F(HandOverSpool, TextsGoWhenNoRequestWaitsForThem) {
    ASSERT_TRUE(Add("/p/a", "older"));
    ASSERT_TRUE(Add("/p/b", "b"));
    ASSERT_TRUE(Add("/p/a", "a"));
    const auto size = fs::file_size(kHandOverSpool);
    Keep("/p/b");
    EXPECT_EQ(FoundOnDisk("/p/a"), "(none)") << "nor does the older one come back";
    EXPECT_EQ(FoundOnDisk("/p/b"), "b");
    EXPECT_LT(fs::file_size(kHandOverSpool), size);
    ASSERT_TRUE(Add("/p/c", "c"));
    EXPECT_EQ(FoundOnDisk("/p/b") + FoundOnDisk("/p/c"), "bc");
    Keep("/p/none");
    EXPECT_FALSE(fs::exists(kHandOverSpool));
    EXPECT_EQ(Found("/p/b"), "(none)");
    ASSERT_TRUE(Add("/p/b", "b"));
    HandOverSpoolSettle(nullptr);
    EXPECT_FALSE(fs::exists(kHandOverSpool));
}

TEST_F(HandOverSpool, ALineThatWasNotWrittenToItsEndDoesNoHarm) {
    ASSERT_TRUE(Add("/p/a", "a"));
    const std::string first = FileRead(kHandOverSpool);
    const std::string second = HandOverLineOf({"/p/b", kTitle, "b"});
    for (size_t length = 1; length < second.size(); ++length) {
        FileWrite(kHandOverSpool, first + second.substr(0, length));
        EXPECT_EQ(FoundOnDisk("/p/a") + Found("/p/b"), "a(none)") << length;
        FileWrite(kHandOverSpool, first + second.substr(0, length));
        ASSERT_TRUE(Add("/p/c", "c"));
        EXPECT_EQ(FoundOnDisk("/p/a") + Found("/p/b") + Found("/p/c"), "a(none)c") << length;
    }
    EXPECT_TRUE(LogTakeTexts().empty());
}

TEST_F(HandOverSpool, ADamagedLineCostsItselfOnly) {
    for (const char *name : {"a", "b", "c"})
        ASSERT_TRUE(Add(std::string("/p/") + name, std::string("text of ") + name));
    std::string bytes = FileRead(kHandOverSpool);
    bytes[bytes.find("text of b")] = 'T';
    FileWrite(kHandOverSpool, bytes);
    EXPECT_EQ(Found("/p/a") + Found("/p/b") + Found("/p/c"), "text of a(none)text of c");
    EXPECT_EQ(LogTakeTexts(), Texts{"hand_over_spool.c# " + std::string(kHandOverSpool) +
                                    " is damaged: 1 of its lines are lost."});
    HandOverSpoolSettle([](const std::string &) { return true; });
    for (const std::string &garbage :
         {std::string(100000, '\xFF'), std::string("\n\n\n"), std::string(50, '\0')}) {
        FileWrite(kHandOverSpool, garbage);
        EXPECT_EQ(Found("/p/a"), "(none)");
        HandOverSpoolSettle([](const std::string &) { return true; });
        ASSERT_TRUE(Add("/p/a", "a"));
        EXPECT_EQ(FoundOnDisk("/p/a"), "a") << "behind " << garbage.size() << " bytes of " << garbage[0];
        HandOverSpoolSettle([](const std::string &) { return true; });
    }
}

TEST_F(HandOverSpool, AFileThatCannotBeReadAtOneTimeIsThereTheNext) {
    ASSERT_TRUE(Add("/p/a", "a"));
    const std::string aside = std::string(kHandOverSpool) + ".aside";
    fs::rename(kHandOverSpool, aside);
    fs::create_directory(kHandOverSpool);
    Keep("/p/none");
    EXPECT_EQ(LogTakeTexts(), Texts{"hand_over_spool.c# Failed to read " + std::string(kHandOverSpool) +
                                    ". (Is a directory)"});
    fs::remove(kHandOverSpool);
    fs::rename(aside, kHandOverSpool);
    EXPECT_EQ(FoundOnDisk("/p/a"), "a");
}

TEST_F(HandOverSpool, AFileThatSomebodyHasTakenAwayHasNoTexts) {
    ASSERT_TRUE(Add("/p/a", "a"));
    fs::remove(kHandOverSpool);
    EXPECT_EQ(Found("/p/a"), "(none)");
    Keep("/p/a");
    ASSERT_TRUE(Add("/p/a", "newer"));
    EXPECT_EQ(FoundOnDisk("/p/a"), "newer");
    EXPECT_TRUE(LogTakeTexts().empty());
}

TEST_F(HandOverSpool, TextsFollowRenames) {
    for (const char *path : {"/p/a", "/p/a/1", "/p/a/b/2", "/p/a-c", "/p/ab", "/p/n/1"})
        ASSERT_TRUE(Add(path, path));
    ASSERT_TRUE(Add("/p/n/1", "displaced", kDesc));
    HandOverSpoolRename("/p/n", "/p/a");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(FoundOnDisk("/p/n") + Found("/p/n/1") + Found("/p/n/b/2"), "/p/a/p/a/1/p/a/b/2");
        EXPECT_EQ(Found("/p/a-c") + Found("/p/ab"), "/p/a-c/p/ab");
        EXPECT_EQ(Found("/p/a") + Found("/p/a/1") + Found("/p/n/1", kDesc), "(none)(none)(none)");
    }
    HandOverSpoolAgain(true);
    EXPECT_EQ(HandOverSpoolPaths("/p/n"), (Texts{"/p/n", "/p/n/1", "/p/n/b/2"}));
    HandOverSpoolAgain(false);
    EXPECT_TRUE(HandOverSpoolPaths("/p/n").empty());
}

TEST_F(HandOverSpool, ARenameThatIsFollowedAgainLeavesWhatIsStillThere) {
    FileWrite("/volume1/photo/old/there.jpg", "x");
    ASSERT_TRUE(Add("/volume1/photo/old/there.jpg", "there"));
    ASSERT_TRUE(Add("/volume1/photo/old/gone.jpg", "gone"));
    HandOverSpoolAgain(true);
    HandOverSpoolRename("/volume1/photo/new", "/volume1/photo/old");
    EXPECT_EQ(FoundOnDisk("/volume1/photo/old/there.jpg"), "there");
    EXPECT_EQ(Found("/volume1/photo/new/gone.jpg"), "gone");
    EXPECT_EQ(Found("/volume1/photo/new/there.jpg") + Found("/volume1/photo/old/gone.jpg"), "(none)(none)");
}

TEST_F(HandOverSpool, WhatDoesNotFitIsNotTaken) {
    ASSERT_TRUE(Add("/p/a", "a"));
    const std::string first = FileRead(kHandOverSpool);
    FileWrite(kHandOverSpool,
              first + std::string(static_cast<size_t>(kHandOverSpoolMax) - first.size() - 1, '-') + "\n");
    errno = 0;
    EXPECT_FALSE(Add("/p/b", "b"));
    EXPECT_EQ(errno, EFBIG);
    EXPECT_EQ(static_cast<int64_t>(fs::file_size(kHandOverSpool)), kHandOverSpoolMax);
    EXPECT_EQ(FoundOnDisk("/p/a") + Found("/p/b"), "a(none)");
}

TEST_F(HandOverSpool, AFileWhoseTextCannotBeSpooledStays) {
    FileWrite(kPicture, "x");
    FileWrite(kTitleFile, "Holiday\n");
    fs::create_directory(kHandOverSpool);
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(Typed(), "Holiday/") << "it is known all the same";
    EXPECT_TRUE(fs::exists(kTitleFile));
    EXPECT_EQ(LogTakeTexts(), Texts{"photo_index.c# failed to write " + std::string(kHandOverSpool) +
                                    ". (Is a directory) " + kTitleFile + " is left for the next time."});
    fs::remove(kHandOverSpool);
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_FALSE(fs::exists(kTitleFile));
}

TEST_F(HandOverSpool, APictureReadAgainKeepsWhatUsersTyped) {
    FileWrite(kPicture, "x");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    PhotoDBExec("update photo_image set title = 'typed', description = 'more'");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 5), 0);
    EXPECT_EQ(Typed(), "typed/more");
    FileWrite(kTitleFile, "\n");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 5), 0);
    EXPECT_EQ(Typed(), "a/more");
    FileWrite(kDescFile, "");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 5), 0);
    EXPECT_EQ(Typed(), "a/");
}

TEST_F(HandOverSpool, ARequestCarriedOutAgainBringsItsTexts) {
    FileWrite(kPicture, "x");
    FileWrite(kTitleFile, "Holiday\n");
    FileWrite(kDescFile, "\n");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    PhotoDBExec("update photo_image set title = 'before', description = 'before'");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(Typed(), "before/before") << "no request is carried out again";
    HandOverSpoolAgain(true);
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(Typed(), "Holiday/");
    FileWrite(kTitleFile, "newer");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(Typed(), "newer/");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    EXPECT_EQ(Typed(), "newer/");
    char value[5] = "";
    EXPECT_EQ(PhotoEaRead(kPicture.c_str(), kTitle, value, sizeof value), 0);
    EXPECT_STREQ(value, "newe");
}

TEST_F(HandOverSpool, ARenameCarriedOutAgainBringsTheTextsToTheNewName) {
    const std::string renamed = "/volume1/photo/Trips/b.jpg";
    FileWrite(kPicture, "x");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    ASSERT_TRUE(Add(kPicture, "Holiday"));
    fs::rename(kPicture, renamed);
    HandOverSpoolAgain(true);
    EXPECT_EQ(PhotoPathRename(renamed.c_str(), kPicture.c_str(), 0), 0);
    EXPECT_EQ(PhotoField("path"), renamed);
    EXPECT_EQ(Typed(), "Holiday/");
    fs::rename(renamed, "/volume1/photo/Trips/b.txt");
    EXPECT_EQ(PhotoPathRename("/volume1/photo/Trips/b.txt", renamed.c_str(), 0), -1);
    EXPECT_EQ(PhotoField("path"), "") << "what is no picture any more has no row to bring a text to";
}

TEST_F(HandOverSpool, OfADirectoryThatIsThereAgainWhatIsGoneBringsItsTextsToItsNewName) {
    for (const char *name : {"Trips/a.jpg", "Trips/b.jpg"})
        FileWrite(std::string("/volume1/photo/") + name, "x");
    EXPECT_EQ(PhotoIndexAdd(kPicture.c_str(), 1), 0);
    ASSERT_TRUE(Add(kPicture, "Holiday"));
    fs::rename("/volume1/photo/Trips", "/volume1/photo/New");
    FileWrite("/volume1/photo/Trips/b.jpg", "x");
    ASSERT_TRUE(Add("/volume1/photo/Trips/b.jpg", "its own"));
    HandOverSpoolAgain(true);
    PhotoRenameAgain("/volume1/photo/New", "/volume1/photo/Trips");
    EXPECT_EQ(PhotoField("path || '=' || title"),
              "/volume1/photo/New/a.jpg=Holiday|/volume1/photo/New/b.jpg=b");
    EXPECT_EQ(Found("/volume1/photo/Trips/b.jpg"), "its own");
}

TEST_F(HandOverSpool, TheFlagOfAnAlbumIsSpooledToo) {
    fs::create_directories("/volume1/photo/Trips");
    FileWrite("/volume1/photo/@eaDir/Trips/VELUPHOTO:PUBLIC", "1\n");
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/Trips", 1), 0);
    EXPECT_FALSE(fs::exists("/volume1/photo/@eaDir/Trips/VELUPHOTO:PUBLIC"));
    PhotoDBExec("delete from photo_share");
    HandOverSpoolAgain(true);
    EXPECT_EQ(PhotoShareUpdate("/volume1/photo/Trips", 1), 0);
    EXPECT_EQ(Albums("public"), "t");
}
