// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/playlist_entries.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "catalogue/playlist_target.h"
#include "catalogue/shares.h"
#include "platform/folding/folding.h"
#include "platform/index/file_entries.h"
#include "platform/index/text.h"
#include "platform/veluindex.h"

namespace {

// A path as text, a component after the other, since each may be in an encoding of its own.
std::string PathText(std::string_view path) {
    std::string text;
    for (size_t at = 0; at < path.size();) {
        const size_t slash = std::min(path.find('/', at), path.size());
        text += CatalogueText(path.substr(at, slash - at));
        text += slash < path.size() ? "/" : "";
        at = slash + 1;
    }
    return text;
}

using PathsByText = std::unordered_map<std::string, std::string_view>;

// Files that entries may mean.
struct Candidates {
    std::vector<NamedFile> files;
    bool whole = true; // all that there are
    std::unordered_set<std::string_view> paths = {};
    PathsByText normal = {};
    PathsByText caseless = {};
};

// Of several with one text the smallest path counts.
void PathAdd(std::string text, std::string_view path, PathsByText *paths) {
    const auto [place, is_new] = paths->try_emplace(std::move(text), path);
    if (!is_new)
        place->second = std::min(place->second, path);
}

bool CandidatesRead(std::vector<std::string> names, Candidates *candidates) {
    std::ranges::sort(names);
    names.erase(std::unique(names.begin(), names.end()), names.end());
    if (FilesNamedRead(names, &candidates->files, &candidates->whole) != 0)
        return false;
    for (const NamedFile &file : candidates->files) {
        const std::string text = PathText(file.path);
        candidates->paths.insert(file.path);
        PathAdd(TextNormal(text), file.path, &candidates->normal);
        PathAdd(TextCaseless(text), file.path, &candidates->caseless);
    }
    return true;
}

bool IsThere(const std::string &path) {
    FileState state;
    return FileStateOf(path.c_str(), &state) == 1;
}

std::string_view Found(const PathsByText &paths, const std::string &text) {
    const auto found = paths.find(text);
    return found != paths.end() ? found->second : std::string_view();
}

// By its bytes, else by normal form, else without case.
std::string_view FoundAmong(const Candidates &candidates, const std::string &path) {
    if (const auto found = candidates.paths.find(path); found != candidates.paths.end())
        return *found;
    if (!candidates.whole && IsThere(path))
        return path;
    const std::string text = PathText(path);
    const std::string_view normal = Found(candidates.normal, TextNormal(text));
    return !normal.empty() ? normal : Found(candidates.caseless, TextCaseless(text));
}

std::string FileOf(const UnresolvedEntry &entry, const Candidates &candidates,
                   const std::vector<std::string> &shares) {
    for (const std::string &path : TargetSpellings(entry.target, entry.written, entry.list)) {
        if (IsThere(path))
            return path;
    }
    if (candidates.files.empty() && candidates.whole)
        return {};
    for (const std::string &path : TargetPaths(entry.target, entry.list, shares)) {
        if (const std::string_view found = FoundAmong(candidates, path); !found.empty())
            return std::string(found);
    }
    return {};
}

// Finds the files of the next entries. Returns whether there were any, -1 on failure.
int PortionResolve(EntryPlace *place, const std::vector<std::string> &shares) {
    VELUIndexTogether together(Catalogue::media);
    std::vector<UnresolvedEntry> entries;
    if (EntriesUnresolvedRead(place, &entries) != 0)
        return -1;
    std::vector<std::string> names;
    for (const UnresolvedEntry &entry : entries)
        names.push_back(TargetNameFolded(entry.target));
    Candidates candidates;
    if (!CandidatesRead(names, &candidates))
        return -1;
    std::vector<ResolvedEntry> resolved;
    for (size_t i = 0; i < entries.size(); ++i) {
        std::string found = FileOf(entries[i], candidates, shares);
        std::string name = found.empty() ? names[i] : FileNameFolded(found);
        resolved.push_back({entries[i].file, entries[i].position, std::move(found), std::move(name)});
    }
    return together.Finish(EntriesResolve(resolved)) == 0 ? static_cast<int>(!entries.empty()) : -1;
}

} // namespace

EntryRows EntryRowsOf(const EntryList &list) {
    EntryRows rows;
    rows.entries.reserve(list.count);
    ListEntry entry;
    for (size_t at = 0; EntryNext(list, &at, &entry);)
        rows.entries.push_back({.position = static_cast<int>(rows.entries.size()),
                                .target = entry.text,
                                .found = {},
                                .folded_name = rows.names.emplace_back(TargetNameFolded(entry.text)),
                                .written = entry.bytes});
    return rows;
}

int PlaylistsResolve() {
    if (!EntriesAreUnresolved())
        return 0;
    const std::vector<std::string> shares = ShareTargetsGet();
    EntryPlace place;
    int more = 1;
    while (more > 0)
        more = PortionResolve(&place, shares);
    return more;
}
