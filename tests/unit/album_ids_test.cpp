// SPDX-License-Identifier: GPL-2.0-or-later
//
// Ids of albums that several programs make at once.
#include "catalogue_fixture.h"

#include "photo/photo_share.h"
#include "tests/unit/child_process.h"

#if VELU_POSTGRESQL

namespace {

class AlbumIds : public ServerStore {
protected:
    void SetUp() override {
        ServerStore::SetUp();
        if (IsSkipped())
            return;
        std::ofstream(kConfig, std::ios::app) << "albumdefpublic=\"no\"\n";
        ASSERT_EQ(PhotoShareUpdate("/volume1/photo/Top", kAlbumCreate), 0);
        ASSERT_EQ(PhotoDBExec("insert into photo_access_right values (7, 1, 'x')"), 1);
    }
};

// Makes a sub-album of Top, with its right.
int AlbumMake(const std::string &name) {
    return PhotoShareUpdate(("/volume1/photo/Top/" + name).c_str(), kAlbumCreate);
}

TEST_F(AlbumIds, AlbumsThatAreMadeAtOnceAllArriveWithTheirRights) {
    constexpr int kPrograms = 4;
    constexpr int kAlbums = 15;
    LogCatcher log;
    std::vector<pid_t> children;
    for (int i = 0; i < kPrograms; ++i) {
        children.push_back(ChildStart([i] {
            VELUIndexRunBegin();
            int failed = 0;
            for (int album = 0; album < kAlbums; ++album)
                failed += AlbumMake(std::to_string(i) + "-" + std::to_string(album)) != 0 ? 1 : 0;
            return VELUIndexRunEnd() == 0 ? failed : -1;
        }));
    }
    for (const pid_t child : children)
        EXPECT_EQ(ChildStatus(child), 0);
    Peer peer(photo_uri);
    EXPECT_EQ(peer.Query("select count(*) || ' ' || max(shareid) as x from photo_share"), "61 61");
    EXPECT_EQ(peer.Query("select count(distinct shareid) as x from photo_access_right where userid = 7"),
              "61");
    EXPECT_EQ(log.Lines().size(), 0u);
}

// Another program has given the id away and not said so yet.
TEST_F(AlbumIds, AnIdThatIsTakenMeanwhileIsTakenAnew) {
    Peer other(photo_uri);
    ASSERT_EQ(VELUDBBegin(other.db), 0);
    ASSERT_EQ(other.Exec("insert into photo_share (shareid, sharename) values (2, 'other'), (3, 'more')"), 2);
    const pid_t child = ChildStart([] { return AlbumMake("ours"); });
    while (Peer(photo_uri).Query("select count(*) as x from pg_locks where not granted") != "1")
        usleep(1000);
    ASSERT_EQ(VELUDBCommit(other.db), 0);
    EXPECT_EQ(ChildStatus(child), 0);
    EXPECT_EQ(other.Query("select shareid || sharename as x from photo_share order by shareid"),
              "1Top|2other|3more|4Top/ours");
}

// One program has an id for an album that turns out to be there, while another waits for that id.
TEST_F(AlbumIds, AnIdThatIsGivenBackTakesNoAlbumAway) {
    ASSERT_EQ(AlbumMake("ours"), 0);
    Peer other(photo_uri);
    const auto wait_for_waiting = [](const char *count) {
        while (Peer(photo_uri).Query("select count(*) as x from pg_locks where not granted") != count)
            usleep(1000);
    };
    ASSERT_EQ(VELUDBBegin(other.db), 0);
    ASSERT_EQ(other.Exec("delete from photo_share where sharename = 'Top/ours'"), 1);
    const pid_t again = ChildStart([] { return AlbumMake("ours") == -1 ? 0 : 1; });
    wait_for_waiting("1");
    const pid_t anew = ChildStart([] { return AlbumMake("new"); });
    wait_for_waiting("2");
    VELUDBRollback(other.db);
    EXPECT_EQ(ChildStatus(again), 0);
    EXPECT_EQ(ChildStatus(anew), 0);
    EXPECT_EQ(other.Query("select shareid || sharename as x from photo_share order by shareid"),
              "1Top|2Top/ours|3Top/new");
}

TEST_F(AlbumIds, AnAlbumThatIsThereIsToldAsEver) {
    ASSERT_EQ(AlbumMake("ours"), 0);
    LogCatcher log;
    EXPECT_EQ(AlbumMake("ours"), -1);
    EXPECT_EQ(log.Lines("photo_share.c").size(), 1u);
    EXPECT_EQ(
        log.Lines("Failed to exec [Insert into photo_share values(3, 'Top/ours', '', '', 'false', 0, '', "
                  "'true', 'true', '1');]")
            .size(),
        1u);
    EXPECT_EQ(Peer(photo_uri).Query("select shareid as x from photo_share order by shareid"), "1|2");
}

} // namespace

#endif
