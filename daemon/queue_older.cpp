// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_older.h"

#include <string>
#include <vector>

#include "catalogue/bounds.h"
#include "catalogue/file_readers.h"
#include "catalogue/file_stamp.h"
#include "daemon/index.h"
#include "daemon/queue_pass.h"
#include "daemon/turns.h"
#include "platform/index/file_state.h"
#include "platform/index/run_state.h"
#include "platform/limits.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

// Where this program goes on, by the order of paths: no revision of its readers comes about while it runs.
struct OlderFiles {
    std::string behind = {};
    bool done = false;
    int64_t wait_until = 0; // after a failure of the catalogue
};
OlderFiles older;

struct Portion {
    std::vector<std::string> paths = {}; // those among its files
    std::string last;                    // of all its files; empty: there are none
};

bool PortionRead(Portion *portion) {
    return FileStatesNext("", older.behind,
                          [&](std::string_view path, std::string_view stamp, std::string_view) {
                              portion->last = path;
                              if (FileStampIsOlder(stamp))
                                  portion->paths.emplace_back(path);
                          }) == 0;
}

void FileRead(const std::string &path) {
    VELUIndexRunPause();
    if (!IsLeftOutPath(path.c_str()))
        IndexFileAdd(path.c_str(), kIndexAdd);
}

// False when the catalogue failed.
template <typename Stop>
bool PortionsRead(Stop stop, size_t *count) {
    const FileTrustScope anyway(FileTrust::nothing);
    Turns turns;
    while (!stop() && !older.done) {
        Portion portion;
        if (!PortionRead(&portion))
            return false;
        for (const std::string &path : portion.paths) {
            if (TurnsGivenUp(&turns))
                return false;
            if (stop())
                break;
            FileTurnTake(&turns, path, FileRead);
            older.behind = path;
            ++*count;
        }
        if (!stop())
            older.behind = portion.last;
        older.done = portion.last.empty();
    }
    TurnsFinish(&turns);
    return true;
}

} // namespace

size_t OlderFilesRead(bool (*stop)()) {
    const int64_t begin = run_clock();
    if (older.done || begin < older.wait_until || RuleSetActive() != RuleSet::complete)
        return 0;
    // It is made by whoever has something for it; one whose storage is away may come back.
    if (!FileTablesAreMade()) {
        older.wait_until = begin + kQueueRetryLast;
        return 0;
    }
    const std::string first = older.behind;
    size_t count = 0;
    VELUIndexRunBegin();
    VELUIndexRunRules(RuleSet::complete);
    const bool read =
        PortionsRead([&] { return stop() || run_clock() - begin > kOlderFilesMilliseconds; }, &count);
    FileReadersEnd();
    if (count > 0)
        CatalogueFollow();
    if (VELUIndexRunEnd() != 0 || !read)
        older = {.behind = first, .wait_until = run_clock() + kQueueRetryLast};
    return count;
}

void OlderFilesBegin() {
    older = {};
}
