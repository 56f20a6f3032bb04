// SPDX-License-Identifier: GPL-2.0-or-later
//
// By size, then by both ends, then by all bytes: each step is for those alone that the one before it could not tell apart.
#include "tools/veluctl/duplicates/equal_bytes.h"

#include <stdlib.h>

#include <map>
#include <span>

#include "platform/media_record.h"
#include "tools/veluctl/duplicates/file_digest.h"
#include "tools/veluctl/overview/query_rows.h"

namespace {

constexpr Column kCandidateColumns[] = {
    {"path", "", Type::text}, {"file_size", "", Type::bytes}, {"duration", "", Type::seconds}};

struct Candidate {
    std::string path;
    uint64_t size;
    double seconds;
};

void FilesPut(const char *columns, const std::string &directory, SqlText *query) {
    for (const char *table : kMediaTables) {
        query->Add(table == kMediaTables[0] ? "(select " : " union all select ").Add(columns);
        query->Add(" from ").Add(table).Add(" where file_size > 0");
        if (!directory.empty())
            BelowPut(&query->Add(" and "), "path", directory);
    }
    query->Add(") as files");
}

bool CandidatesRead(const CopySearch &search, std::vector<Candidate> *candidates) {
    SqlText query;
    query.Add("select path, file_size, duration from ");
    FilesPut("path, file_size, duration", search.directory, &query);
    query.Add(" where file_size in (select file_size from ");
    FilesPut("file_size", search.directory, &query);
    query.Add(" group by file_size having count(*) > 1) order by file_size desc, path");
    return QueryRowsTake(search.reader, query, kCandidateColumns, [&](const Row &row) {
        candidates->push_back({row[0].value_or(""), strtoull(row[1].value_or("0").c_str(), nullptr, 10),
                               strtod(row[2].value_or("0").c_str(), nullptr)});
    });
}

// How far the reading has come; what need not be read counts as done.
struct Reading {
    CopySearch *search;
    uint64_t all = 0;
    uint64_t done = 0;
    size_t looked_at = 0; // files

    void Tell(const std::string &path) const { search->reading(done, all, path); }
};

// The files of one size that are still there as the catalogue has them.
CopyGroup FilesThere(std::span<const Candidate> candidates, CopySearch *search) {
    CopyGroup files;
    for (const Candidate &candidate : candidates) {
        if (!files.empty() && files.back().path == candidate.path) // it has rows of two kinds
            continue;
        CopyName name = {.path = candidate.path, .seconds = candidate.seconds};
        std::string problem = CopyLook(&name);
        if (problem.empty() && name.size != candidate.size)
            problem = "has another size than in the catalogue";
        if (problem.empty())
            files.push_back(std::move(name));
        else
            search->left_out(candidate.path, problem);
    }
    return files;
}

// Numbers the files of a group. Returns how many of the names are further ones of a file.
size_t LinksNumber(CopyGroup *group) {
    return group->size() - static_cast<size_t>(CopiesNumber(group));
}

// Splits a numbered group by a digest, which each file has once. What has no equal, or cannot be read, goes.
template <typename Digest>
std::vector<CopyGroup> Split(const CopyGroup &group, CopySearch *search, Digest digest_of) {
    std::map<int, FileDigest> digests;
    std::map<std::string, CopyGroup> parts;
    for (const CopyName &name : group) {
        const auto [digest, first] = digests.try_emplace(name.copy);
        if (first)
            digest->second = digest_of(name);
        if (digest->second.problem.empty())
            parts[digest->second.value].push_back(name);
        else
            search->left_out(name.path, digest->second.problem);
    }
    std::vector<CopyGroup> alike;
    for (auto &[value, part] : parts)
        if (CopiesNumber(&part) > 1)
            alike.push_back(std::move(part));
    return alike;
}

// False when no more are wanted.
bool SizeCompare(std::span<const Candidate> candidates, Reading *reading) {
    CopySearch *search = reading->search;
    if (search->glances && candidates.size() > *search->glances - reading->looked_at) {
        search->passed += candidates.size();
        return true;
    }
    reading->looked_at += candidates.size();
    reading->Tell(candidates.front().path);
    CopyGroup files = FilesThere(candidates, search);
    const size_t links = LinksNumber(&files);
    search->links += links;
    if (files.size() - links < 2)
        return true;
    const uint64_t before = reading->done;
    const auto ends = [&](const CopyName &name) {
        reading->Tell(name.path);
        return EndsDigest(name.path, name.size);
    };
    const auto whole = [&](const CopyName &name) {
        const auto read = [&](uint64_t bytes) {
            reading->done += bytes;
            reading->Tell(name.path);
        };
        return WholeDigest(name.path, name.size, read);
    };
    std::vector<CopyGroup> found = Split(files, search, ends);
    if (!search->glances) {
        std::vector<CopyGroup> equal;
        for (const CopyGroup &part : found)
            for (CopyGroup &same : Split(part, search, whole))
                equal.push_back(std::move(same));
        found = std::move(equal);
    }
    for (CopyGroup &group : found)
        search->links -= LinksNumber(&group);
    reading->done = before;
    std::ranges::sort(found, {}, [](const CopyGroup &group) { return group.front().path; });
    return std::ranges::all_of(found, search->take);
}

} // namespace

bool EqualBytesFind(CopySearch *search) {
    std::vector<Candidate> candidates;
    if (!CandidatesRead(*search, &candidates))
        return false;
    Reading reading = {search};
    for (const Candidate &candidate : candidates)
        reading.all += candidate.size;
    bool wanted = true;
    for (size_t begin = 0, end = 0; wanted && begin < candidates.size(); begin = end) {
        while (end < candidates.size() && candidates[end].size == candidates[begin].size)
            ++end;
        wanted = SizeCompare({candidates.data() + begin, end - begin}, &reading);
        reading.done += candidates[begin].size * (end - begin);
    }
    return true;
}
