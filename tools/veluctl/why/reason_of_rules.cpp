// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the disk and the rules say against a path, in the order in which the daemon would come upon it.
#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "catalogue/listed_name.h"
#include "catalogue/shares.h"
#include "daemon/storage_away.h"
#include "platform/file.h"
#include "platform/media_record.h"
#include "platform/path.h"
#include "tools/queue/request_line.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/setup/daemon_view.h"
#include "tools/veluctl/shell_word.h"
#include "tools/veluctl/why/left_out_word.h"
#include "tools/veluctl/why/why.h"

namespace {

// What is known of the place, as the daemon asks its store.
StorageKnows KnowsOf(CatalogueReader *reader) {
    return [reader](const std::string &path, bool itself) {
        const PathRange below = RangeUnder(path);
        for (const CatalogueTable &table : CatalogueTables()) {
            if (!table.keeps_paths)
                continue;
            const ResultHandle rows = CatalogueQuery(
                reader, table.catalogue,
                std::string("select 1 as n from ") + table.table + " where (path >= $1 and path < $2)" +
                    (itself ? " or path = $3" : " and path <> $3") + " limit 1",
                {below.low, below.high, path});
            if (rows != nullptr && VELUDBRowCount(rows.get()) > 0)
                return 1;
            if (rows == nullptr && table.catalogue == Catalogue::media)
                return -1;
        }
        return 0;
    };
}

Reason Away(const std::string &path) {
    return {"away", "its storage is away: nothing is mounted where it lies. Mount it, then add it",
            AddCommandLine(path)};
}

Reason Unseen(const std::string &path, int error) {
    const bool is_root = geteuid() == 0;
    return {"rights",
            std::string(is_root ? "it cannot be looked at: " : "this user may not look at it: ") +
                strerror(error),
            is_root ? std::string() : "sudo veluctl why " + ShellWord(path)};
}

// What an error of looking at a path means. `link`: there is a link.
Reason NotThere(CatalogueReader *reader, const std::string &path, int error, bool link) {
    if (error != ENOENT && error != ENOTDIR && error != ELOOP)
        return Unseen(path, error);
    if (link)
        return {kGoneWord, "it is a link that leads to nothing"};
    return StorageIsAway(path, ShareTargetsGet(), KnowsOf(reader))
               ? Away(path)
               : Reason{kGoneWord, "there is no such file"};
}

std::optional<Reason> Unusable(const std::string &path, bool is_directory) {
    if (path.size() >= kMediaPathSize)
        return Reason{"long", "its path has " + std::to_string(path.size()) +
                                  " bytes, and no row has more than " + std::to_string(kMediaPathSize - 1)};
    if (!IsListedName(path.c_str()))
        return Reason{"case", "its directory lists it under a name in another case"};
    if (IsHiddenFromDaemon(path))
        return Reason{"sandbox",
                      "the daemon does not see it: its service has a directory of its own in this place "
                      "(PrivateTmp= and the like)"};
    const FdHandle file = is_directory ? FdHandle() : OpenForReading(path.c_str());
    if (is_directory || file || (errno == EACCES && geteuid() != 0))
        return std::nullopt;
    return Reason{"rights", std::string("it cannot be read: ") + strerror(errno)};
}

} // namespace

std::string Named(std::string_view name) {
    return "'" + std::string(name) + "'";
}

std::string AddCommandLine(const std::string &path) {
    // What no line can carry is found by whoever walks through its directory.
    const bool carried = RequestLineForm(kCommandTreeAdd, path).refusal.empty();
    return "sudo veluctl add --wait " + ShellWord(carried || path.size() < 2 ? path : ParentOf(path));
}

std::optional<Reason> ReasonOfRules(CatalogueReader *reader, const std::string &path) {
    struct stat status;
    if (lstat(path.c_str(), &status) != 0)
        return NotThere(reader, path, errno, false);
    if (stat(path.c_str(), &status) != 0)
        return NotThere(reader, path, errno, true);
    const bool is_directory = S_ISDIR(status.st_mode);
    if (StorageIsBelowAway(path, ShareTargetsGet(), KnowsOf(reader)))
        return Away(path);
    if (std::optional<Reason> reason = ReasonOfWalk(path, is_directory))
        return reason;
    if (!is_directory && !S_ISREG(status.st_mode))
        return Reason{LeftOutWord(LeftOut::special), "it is neither a file nor a directory"};
    if (std::optional<Reason> reason = is_directory ? std::nullopt : ReasonOfName(path))
        return reason;
    return Unusable(path, is_directory);
}
