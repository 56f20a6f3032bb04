// SPDX-License-Identifier: GPL-2.0-or-later
//
// The photo library under the rules `complete`: it has of each picture what was read for the media catalogue.
#include <unistd.h>

#include <filesystem>
#include <map>
#include <string>

#include "catalogue/bounds.h"
#include "catalogue/file_stamp.h"
#include "daemon/index.h"
#include "daemon/path_rules.h"
#include "daemon/queue_commands.h"
#include "daemon/queue_line.h"
#include "daemon/queue_rename.h"
#include "photo/photo_queue.h"
#include "platform/limits.h"
#include "tests/unit/complete_fixture.h"
#include "tests/unit/photo_catalogue.h"

namespace fs = std::filesystem;

namespace {

const std::string kPhotos = "/volume1/photo";
const std::string kPicture = kPhotos + "/A/a.heic";
constexpr char kThumbQueue[] = "/var/spool/thumb_create.queue";
constexpr char kThumbPidFile[] = "/var/run/velumkthumbd.pid";

class CompletePhotos : public CompleteFixture {
protected:
    CompletePhotos() { supportphoto = 1; }
    ~CompletePhotos() override { supportphoto = 0; }

    // From here on the library tells which rows are written.
    static void WritesTell() {
        ASSERT_GE(PhotoDBExec("create table written (path text)"), 0);
        ASSERT_GE(PhotoDBExec("create trigger telling after update of model on photo_image begin insert into "
                              "written values "
                              "(new.path); end"),
                  0);
    }
};

// What both catalogues have of a picture, in the words of the photo library's columns.
using Columns = std::map<std::string, std::string>;

Columns LibraryColumns(const std::string &path) {
    Columns columns;
    for (const char *name :
         {"make", "model", "exposure", "fnumber", "date_taken", "width", "height", "iso", "file_size"})
        columns[name] =
            PhotoQuery("select " + std::string(name) + " as x from photo_image where path = '" + path + "'");
    return columns;
}

Columns MediaColumns(const std::string &path) {
    std::map<std::string, std::string> row = MediaRow("photo", path);
    return {
        {"make", row["camera_make"]}, {"model", row["camera_model"]},    {"exposure", row["exposure_time"]},
        {"fnumber", row["f_number"]}, {"date_taken", row["date_taken"]}, {"width", row["width"]},
        {"height", row["height"]},    {"iso", row["iso_speed"]},         {"file_size", row["file_size"]}};
}

std::string Model(const std::string &path) {
    return PhotoQuery("select model as x from photo_image where path = '" + path + "'");
}

void PhotosWalk(int mode = kIndexAdd, int mask = kWalkMedia | kWalkPhotoLibrary) {
    InRun([=] { IndexDirWalk(kPhotos.c_str(), mode, mask); });
}

// Saves a media row of a picture as if it had been read, long at rest, and were of another camera than it says.
void UnchangedSave(const std::string &path, const std::string &model) {
    MediaInfo record = {};
    snprintf(record.path, sizeof record.path, "%s", path.c_str());
    snprintf(record.camera_model, sizeof record.camera_model, "%s", model.c_str());
    snprintf(record.date_taken, sizeof record.date_taken, "2001-02-03 04:05:06");
    struct stat status;
    ASSERT_EQ(stat(path.c_str(), &status), 0);
    record.file_size = status.st_size;
    VELUIndexTimeText(status.st_ctim.tv_sec, record.create_time, sizeof record.create_time);
    const std::string stamp = FileStampOf(status);
    InRun([&] { EXPECT_EQ(MediaInfoDBSaveFile(kMediaPhoto, &record, {.stamp = stamp}), 0); });
}

void ShareDo(const char *line) {
    QueueRequest request;
    ASSERT_TRUE(QueueLineParse(line, request));
    InRun([&] { QueueRequestExecute(request); });
}

void RowChange(const std::string &sql) {
    ASSERT_GE(PhotoDBExec(sql.c_str()), 0);
}

} // namespace

TEST_F(CompletePhotos, AreOfEveryFormatAndOfAnySize) {
    for (const char *name : {"a.jpg", "b.HEIC", "c.avif", "d.webp", "e.cr2", "f.dng", "g.svg"}) {
        const std::string path = kPhotos + "/" + name;
        FileWrite(path, "camera " + std::string(name));
        PhotosWalk();
        EXPECT_EQ(LibraryColumns(path), MediaColumns(path)) << name;
        EXPECT_EQ(Model(path), name);
        EXPECT_EQ(LibraryColumns(path)["date_taken"], "2001-02-03 04:05:06");
        EXPECT_EQ(LibraryColumns(path)["width"], "12000");
    }
    for (const IndexHandler *row = CompleteHandlerTable; row->extension != nullptr; ++row)
        EXPECT_EQ(IsPictureExtension(row->extension), IndexRecipeOf(row->indexer).kind == kMediaPhoto)
            << row->extension;
    EXPECT_FALSE(IsPictureExtension(nullptr));
    EXPECT_TRUE(IsLibrarySize(kPhotoSizeEnd));
    EXPECT_TRUE(IsLibrarySize(kReadPictureSizeEnd - 1));
    EXPECT_FALSE(IsLibrarySize(kReadPictureSizeEnd));
    RulesSet("appliance");
    EXPECT_FALSE(IsPictureExtension("heic"));
    EXPECT_TRUE(IsPictureExtension("JPG"));
    EXPECT_FALSE(IsLibrarySize(kPhotoSizeEnd));
}

TEST_F(CompletePhotos, AreReadOnceForBothCatalogues) {
    FileWrite(kPicture, "camera One");
    InRun([] {
        EXPECT_EQ(IndexFileAdd(kPicture.c_str(), kIndexAdd), 0);
        FileReadersEnd();
        reader_programs[0] = "/nonexistent"; // whoever asks it costs a line
        EXPECT_EQ(PhotoLibraryFileUpdate(kPicture.c_str(), kIndexUpdate), 0);
    });
    EXPECT_EQ(Model(kPicture), "One");
    EXPECT_EQ(LogTakeTexts(), Texts{});
}

TEST_F(CompletePhotos, AreNotReadAgainWhileTheyHaveNotChanged) {
    FileWrite(kPicture, "camera One");
    UnchangedSave(kPicture, "known");
    PhotosWalk(kIndexUpdate, kWalkPhotoLibrary);
    EXPECT_EQ(Model(kPicture), "known");
    UnchangedSave(kPicture, "known by then");
    PhotosWalk();
    EXPECT_EQ(Model(kPicture), "known by then");
}

TEST_F(CompletePhotos, ThatHaveChangedAreReadForBothCatalogues) {
    FileWrite(kPicture, "camera One");
    UnchangedSave(kPicture, "known");
    FileWrite(kPicture, "camera Second");
    PhotosWalk(kIndexUpdate, kWalkPhotoLibrary);
    EXPECT_EQ(Model(kPicture), "Second");
    EXPECT_EQ(LibraryColumns(kPicture), MediaColumns(kPicture));
}

TEST_F(CompletePhotos, ThatCannotBeReadHaveRowsAllTheSame) {
    const std::string path = kPhotos + "/IMG_20190504_101112.jpg";
    FileWrite(path, "failed on purpose");
    PhotosWalk();
    EXPECT_EQ(LibraryColumns(path)["date_taken"], "2019-05-04 10:11:12");
    EXPECT_EQ(LibraryColumns(path), MediaColumns(path));
}

// One whose name is a picture's is of the photo library, and has nothing of a picture.
TEST_F(CompletePhotos, ThatAreNoneHaveTheFilesTime) {
    const std::string path = kPhotos + "/film.jpg";
    FileWrite(path, "camera One");
    PhotosWalk();
    FileWrite(path, "film F");
    PhotosWalk();
    EXPECT_EQ(MediaPaths("video"), Texts{path});
    EXPECT_EQ(Model(path), "");
    EXPECT_EQ(LibraryColumns(path)["date_taken"].size(), std::string("2001-02-03 04:05:06").size());
}

TEST_F(CompletePhotos, KeepTheirRowsWhileTheMediaCatalogueIsAway) {
    FileWrite(kPicture, "camera One");
    PhotosWalk();
    EXPECT_EQ(Model(kPicture), "One");
    FileWrite(kPicture, "camera Second");
    FileWrite("/etc/veluinfo.conf", "rules=\"complete\"\nmediadb=\"sqlite:/proc/none.db\"\n");
    VELUIndexRunBegin();
    VELUIndexRunRules(RuleSet::complete);
    bool missed = false;
    EXPECT_EQ(PhotoLibraryFileUpdate(kPicture.c_str(), kIndexUpdate, &missed), 0);
    EXPECT_TRUE(missed);
    VELUIndexRunEnd();
    EXPECT_EQ(Model(kPicture), "One");
}

TEST_F(CompletePhotos, OfAnyFormatHaveTheirDirectoriesAskedFor) {
    FileWrite(kThumbPidFile, std::to_string(getpid()) + "\n");
    unlink(kThumbQueue);
    signal(SIGUSR1, SIG_IGN);
    FileWrite(kPicture, "camera One");
    PhotosWalk();
    signal(SIGUSR1, SIG_DFL);
    EXPECT_EQ(FileRead(kThumbQueue), kPhotos + "/A\n");
    unlink(kThumbPidFile);
}

TEST_F(CompletePhotos, InStepAreMarkedAndNotWritten) {
    for (int i = 0; i < 450; ++i) // more than one statement marks
        FileWrite(kPhotos + "/A/" + std::to_string(i) + ".jpg", "camera One");
    ShareDo("R:photo");
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image where model = 'One'"), "450");
    WritesTell();
    ShareDo("R:photo");
    ShareDo("R:all");
    EXPECT_EQ(PhotoQuery("select count(*) as x from written"), "0");
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image where updated = '1'"), "450");
    FileWrite(kPhotos + "/A/7.jpg", "camera Second");
    fs::remove(kPhotos + "/A/8.jpg");
    RowChange("update photo_image set model = 'lost' where path = '" + kPhotos + "/A/9.jpg'");
    RowChange("delete from written");
    ShareDo("R:photo");
    EXPECT_EQ(PhotoQuery("select path as x from written order by path limit 3"),
              kPhotos + "/A/7.jpg|" + kPhotos + "/A/9.jpg");
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image"), "449");
    EXPECT_EQ(Model(kPhotos + "/A/7.jpg"), "Second");
    EXPECT_EQ(Model(kPhotos + "/A/9.jpg"), "One");
}

TEST_F(CompletePhotos, InStepAreNotWrittenByAnAddOfTheirTree) {
    std::string deep = kPhotos;
    for (size_t level = 0; level < kPictureDirectories + 2; ++level) { // more than are kept in mind
        for (const char *name : {"a.jpg", "z.jpg"})
            FileWrite(deep + "/" + name, "photo One");
        deep += "/m";
    }
    const std::string top = kPhotos + "/a.jpg", lost = kPhotos + "/m/z.jpg", texts = kPhotos + "/m/m/a.jpg";
    for (const fs::directory_entry &entry : fs::recursive_directory_iterator(kPhotos))
        if (entry.is_regular_file())
            UnchangedSave(entry.path(), "One");
    PhotosWalk();
    EXPECT_EQ(PhotoQuery("select count(*) as x from photo_image where model = 'One'"),
              std::to_string(2 * (kPictureDirectories + 2)));
    WritesTell();
    PhotosWalk();
    EXPECT_EQ(PhotoQuery("select path as x from written"), "");
    RowChange("update photo_image set model = 'lost' where path = '" + lost + "'");
    FileWrite(kPhotos + "/m/m/@eaDir/a.jpg/VELUPHOTO:TITLE", "Typed");
    UnchangedSave(top, "Second");
    RowChange("delete from written");
    PhotosWalk();
    EXPECT_EQ(PhotoQuery("select path as x from written order by path"), top + "|" + texts + "|" + lost);
    EXPECT_EQ(Model(top) + Model(lost), "SecondOne");
    EXPECT_EQ(PhotoQuery("select title as x from photo_image where path = '" + texts + "'"), "Typed");
}

TEST_F(CompletePhotos, OfARenamedTreeAreInStepWithWhatHasChangedMeanwhile) {
    const std::string before = kPhotos + "/Before", after = kPhotos + "/After";
    for (const char *name : {"kept", "changed", "gone"}) {
        const std::string path = before + "/Sub/" + name + ".jpg";
        FileWrite(path, "photo One");
        UnchangedSave(path, "known");
    }
    ShareDo(("A:" + before).c_str());
    RowChange("update photo_image set title = 'Typed'");
    fs::rename(before, after);
    FileWrite(after + "/Sub/changed.jpg", "camera Second");
    FileWrite(after + "/Sub/new.jpg", "camera New");
    fs::remove(after + "/Sub/gone.jpg");
    WritesTell();
    InRun([&] {
        QueueRequest request;
        ASSERT_TRUE(QueueLineParse("N:" + after + ":" + before, request));
        QueueRequestExecute(request);
        RenamesSettle();
    });
    EXPECT_EQ(PhotoQuery("select path || model || title as x from photo_image order by path"),
              after + "/Sub/changed.jpgSecondTyped|" + after + "/Sub/kept.jpgknownTyped|" + after +
                  "/Sub/new.jpgNewnew");
    EXPECT_EQ(PhotoQuery("select path as x from written"), after + "/Sub/changed.jpg");
    for (const char *name : {"kept", "changed", "new"})
        EXPECT_EQ(LibraryColumns(after + "/Sub/" + name + ".jpg"),
                  MediaColumns(after + "/Sub/" + name + ".jpg"))
            << name;
}

TEST_F(CompletePhotos, InStepTakeTextsThatAreHandedOver) {
    for (const char *name : {"a.jpg", "b.jpg", "c.jpg"})
        FileWrite(kPhotos + "/A/" + name, "camera One");
    ShareDo("R:photo");
    FileWrite(kPhotos + "/A/@eaDir/a.jpg/VELUPHOTO:TITLE", "Typed");
    FileWrite(kPhotos + "/A/@eaDir/b.jpg/VELUPHOTO:DESC", "Described");
    FileWrite(kPhotos + "/A/@eaDir/c.jpg/thumb.jpg", "x");
    ShareDo("R:photo");
    EXPECT_EQ(PhotoField("title || description"), "Typed|bDescribed|c");
}

TEST_F(CompletePhotos, TakeTheirDateFromTheNameThatTheyHave) {
    const std::string before = kPhotos + "/A/IMG_20190504_101112.jpg",
                      after = kPhotos + "/A/2020-01-02 03.04.05.jpg";
    FileWrite(before, "photo P");
    UnchangedSave(before, "known");
    PhotosWalk(kIndexUpdate, kWalkPhotoLibrary);
    RowChange("update photo_image set title = 'Typed'");
    fs::rename(before, after);
    ShareDo(("N:" + after + ":" + before).c_str());
    EXPECT_EQ(LibraryColumns(after), MediaColumns(after));
    EXPECT_EQ(LibraryColumns(after)["date_taken"], "2020-01-02 03:04:05");
    EXPECT_EQ(PhotoField("title"), "Typed");
    const std::string again = kPhotos + "/A/20200102_030405.jpg"; // the same moment: nothing is read
    UnchangedSave(after, "kept");
    fs::rename(after, again);
    ShareDo(("N:" + again + ":" + after).c_str());
    EXPECT_EQ(Model(again), "kept");
    EXPECT_EQ(PhotoField("name"), "20200102_030405.jpg");
}
