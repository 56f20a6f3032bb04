// SPDX-License-Identifier: GPL-2.0-or-later
//
// A pool of readers that do what the first line of a file says.
#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

#include "reader/pool/reader_pool.h"
#include "tests/unit/scripted_readers.h"
#include "tests/unit/test_files.h"

inline constexpr ReaderKind kSound = ReaderKind::sound_and_photos;
inline constexpr ReaderKind kFilms = ReaderKind::films;

class ReaderPoolTest : public testing::Test {
protected:
    ReaderPoolTest() {
        ScriptedReadersUse(&pool);
        pool.readers_max = 2;
    }

    FileToRead File(const std::string &script, ReaderKind kind = kSound) {
        const std::string path = "/tmp/scripts/" + std::to_string(++files);
        FileWrite(path, script);
        FileToRead file;
        file.file = FdHandle(open(path.c_str(), O_RDONLY | O_CLOEXEC));
        file.size = static_cast<int64_t>(script.size());
        file.kind = kind;
        file.wants_picture = true;
        return file;
    }

    ReadTicket HandOver(const std::string &script, ReaderKind kind = kSound) {
        return ReaderPoolHandOver(&pool, File(script, kind));
    }

    ReadResult Take(ReadTicket ticket) {
        while (!ReaderPoolIsRead(pool, ticket))
            ReaderPoolServe(&pool, true);
        return ReaderPoolTake(&pool, ticket);
    }

    ReadResult Read(const std::string &script, ReaderKind kind = kSound) {
        return Take(HandOver(script, kind));
    }

    ReaderPool pool;
    int files = 0;
};

inline std::string TitleOf(const ReadResult &read) {
    const Fact *title = FactFind(read.answer.facts, FactName::title);
    return read.end == ReadEnd::answered && title != nullptr ? title->text : "(" + read.reason + ")";
}
