// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_input.h"

#include "platform/limits.h"
#include "tests/unit/scratch_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/handle.h"

#include <string>
#include <vector>

namespace {

struct Opened {
    explicit Opened(int64_t size) : fd(open(file.c_str(), O_RDWR | O_CLOEXEC)) {
        EXPECT_EQ(ftruncate(fd.get(), size), 0);
        input.fd = fd.get();
        input.size = size;
        source.file = &input;
        avio = FilmInputOpen(&source);
    }
    ScratchFile file{""};
    FdHandle fd;
    ReaderInput input;
    FilmInput source;
    AvioHandle avio;
};

int64_t ReadAll(AVIOContext *avio) {
    std::vector<unsigned char> part(1 << 20);
    int64_t all = 0;
    for (int got = 0; (got = avio_read(avio, part.data(), static_cast<int>(part.size()))) > 0;)
        all += got;
    return all;
}

TEST(FilmInput, EndsWithTheFile) {
    Opened opened(100'000);
    EXPECT_EQ(avio_size(opened.avio.get()), 100'000);
    EXPECT_EQ(ReadAll(opened.avio.get()), 100'000);
    EXPECT_EQ(avio_seek(opened.avio.get(), 99'000, SEEK_SET), 99'000);
    EXPECT_EQ(ReadAll(opened.avio.get()), 1000);
}

TEST(FilmInput, ReadsSoManyBytesAndNoMore) {
    Opened most(kFilmReadMax);
    EXPECT_EQ(ReadAll(most.avio.get()), kFilmReadMax);
    Opened more(kFilmReadMax + 1);
    EXPECT_EQ(ReadAll(more.avio.get()), kFilmReadMax);
    EXPECT_FALSE(more.input.failed);
}

TEST(FilmInput, GoesToNoPlaceThatIsNone) {
    Opened opened(1000);
    EXPECT_LT(opened.avio->seek(opened.avio->opaque, -1, SEEK_SET), 0);
    EXPECT_LT(opened.avio->seek(opened.avio->opaque, -1001, SEEK_END), 0);
    EXPECT_LT(opened.avio->seek(opened.avio->opaque, INT64_MIN, SEEK_CUR), 0);
    EXPECT_LT(opened.avio->seek(opened.avio->opaque, INT64_MAX, SEEK_END), 0);
    EXPECT_EQ(opened.avio->seek(opened.avio->opaque, -1, SEEK_END), 999);
}

TEST(FilmInput, ReachesBehindWhatThirtyTwoBitsCount) {
    Opened opened((int64_t{5} << 30) + 7);
    EXPECT_EQ(pwrite(opened.fd.get(), "the end", 7, off_t{5} << 30), 7);
    EXPECT_EQ(avio_seek(opened.avio.get(), int64_t{5} << 30, SEEK_SET), int64_t{5} << 30);
    char text[8] = {};
    EXPECT_EQ(avio_read(opened.avio.get(), reinterpret_cast<unsigned char *>(text), 8), 7);
    EXPECT_STREQ(text, "the end");
}

} // namespace
