// SPDX-License-Identifier: GPL-2.0-or-later
//
// Of each song a few bytes and its path are kept, so that one pass over the rows does.
#include "tools/veluctl/duplicates/recordings.h"

#include <stdlib.h>
#include <string.h>

#include <algorithm>
#include <optional>
#include <set>
#include <span>

#include "platform/folding/folding.h"
#include "platform/hash.h"
#include "platform/letters.h"
#include "tools/veluctl/file_facts.h"
#include "tools/veluctl/overview/missing_tags.h"
#include "tools/veluctl/overview/query_rows.h"

namespace {

// Rows that are read at a time.
constexpr int kPortion = 20'000;

// Of a folded text; what is behind it tells nobody's songs apart.
constexpr size_t kFoldedMax = 1024;

struct Song {
    uint64_t key; // of artist and title
    float seconds;
    uint32_t path; // where the paths have its own
};

struct Songs {
    std::vector<Song> all;
    std::vector<std::string> paths;
    std::set<std::string> named =
        {}; // those whose title is the name of their file: "Track 01" is many a recording
};

constexpr char kTold[] = "m.artist <> '' and m.title <> '' and m.duration > 0";

// What was made from a name is known where files have states.
bool NamedRead(const CopySearch &search, Songs *songs) {
    constexpr Column kPath[] = {{"path", "", Type::text}};
    const int states = FileTablesLook(search.reader);
    if (states <= 0)
        return states == 0;
    SqlText query;
    // Beginning with the states, few of which say so.
    query.Add("select m.path as path from file_state s cross join music m where ");
    query.Add(TagLackOf("title").of_state).Add(" and m.path = s.path and ").Add(kTold);
    if (!search.directory.empty())
        BelowPut(&query.Add(" and "), "m.path", search.directory);
    return QueryRowsTake(search.reader, query, kPath,
                         [&](Row &row) { songs->named.insert(row.front().value_or("")); });
}

// Songs of one artist mostly follow each other.
class KeyMaker {
public:
    uint64_t Make(std::string_view artist, std::string_view title) {
        // A folded text has no zero bytes.
        constexpr std::string_view kBetween("\0", 1);
        if (artist != artist_) {
            artist_ = artist;
            begin_ = HashText(kBetween, HashText(TextFolded(artist, kFoldedMax)));
        }
        return HashText(TextFolded(title, kFoldedMax), begin_);
    }

private:
    std::optional<std::string> artist_;
    uint64_t begin_ = 0; // of a key of this artist's
};

// Reads the songs behind a path. Their number; -1 when they cannot be read.
int PortionRead(const CopySearch &search, Songs *songs) {
    SqlText query;
    query.Add("select m.path as path, m.artist as artist, m.title as title, m.duration as duration from "
              "music m where ");
    query.Add(kTold).Add(" and m.path > ").Put(songs->paths.empty() ? "" : songs->paths.back());
    if (!search.directory.empty())
        BelowPut(&query.Add(" and "), "m.path", search.directory);
    query.Add(" order by m.path");
    LimitPut(&query, kPortion);
    const ResultHandle rows = CatalogueQuery(search.reader, Catalogue::media, query.sql, query.values);
    if (rows == nullptr)
        return -1;
    KeyMaker keys;
    for (int at = -1; VELUDBFetchRow(rows.get(), &at) == 0;) {
        std::string path = VELUDBFetchText(rows.get(), at, "path");
        if (!songs->named.contains(path))
            songs->all.push_back({keys.Make(VELUDBFetchText(rows.get(), at, "artist"),
                                            VELUDBFetchText(rows.get(), at, "title")),
                                  strtof(VELUDBFetchText(rows.get(), at, "duration"), nullptr),
                                  static_cast<uint32_t>(songs->paths.size())});
        songs->paths.push_back(std::move(path));
    }
    return VELUDBRowCount(rows.get());
}

using Cluster = std::vector<Song>;

// The songs of one key that follow each other closely.
std::vector<Cluster> ClustersMake(std::vector<Song> *songs, double tolerance) {
    std::ranges::sort(*songs, {}, [](const Song &song) { return std::pair(song.key, song.seconds); });
    std::vector<Cluster> clusters;
    for (size_t begin = 0, end = 0; begin < songs->size(); begin = end) {
        const auto belongs = [&](size_t at) {
            const Song &last = (*songs)[at - 1];
            return (*songs)[at].key == last.key && (*songs)[at].seconds - last.seconds <= tolerance;
        };
        for (end = begin + 1; end < songs->size() && belongs(end);)
            ++end;
        if (end - begin > 1)
            clusters.emplace_back(songs->begin() + static_cast<ptrdiff_t>(begin),
                                  songs->begin() + static_cast<ptrdiff_t>(end));
    }
    for (Cluster &cluster : clusters)
        std::ranges::sort(cluster, {}, &Song::path);
    std::ranges::sort(clusters, {}, [](const Cluster &cluster) { return cluster.front().path; });
    return clusters;
}

// What leaves nothing of a recording out. A file of the others may be larger, and still hold less.
constexpr std::string_view kLossless[] = {"flac", "wav", "w64", "aif", "aiff", "ape",
                                          "wv",   "tta", "tak", "dsf", "dff",  "pcm"};

bool IsLossless(std::string_view path) {
    const std::string_view extension = path.substr(path.rfind('.') + 1);
    return std::ranges::any_of(kLossless, [&](std::string_view one) { return IsSame(extension, one); });
}

// False when no more are wanted.
bool ClusterTake(const Cluster &cluster, const std::vector<std::string> &paths, CopySearch *search) {
    CopyGroup group;
    for (const Song &song : cluster) {
        CopyName name = {.path = paths[song.path], .seconds = song.seconds};
        if (const std::string problem = CopyLook(&name); problem.empty())
            group.push_back(std::move(name));
        else
            search->left_out(name.path, problem);
    }
    std::ranges::stable_sort(group, std::ranges::greater(), [](const CopyName &name) {
        return std::pair(IsLossless(name.path), name.size);
    });
    return CopiesNumber(&group) < 2 || search->take(group);
}

} // namespace

bool RecordingsFind(CopySearch *search, uint32_t tolerance) {
    Songs songs;
    if (!NamedRead(*search, &songs))
        return false;
    search->named = songs.named.size();
    int count = kPortion;
    while (count == kPortion)
        count = PortionRead(*search, &songs);
    if (count < 0)
        return false;
    for (const Cluster &cluster : ClustersMake(&songs.all, tolerance))
        if (!ClusterTake(cluster, songs.paths, search))
            break;
    return true;
}
