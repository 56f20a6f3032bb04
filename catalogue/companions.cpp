// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/companions.h"

#include <dirent.h>
#include <stddef.h>

#include <algorithm>
#include <span>
#include <string_view>
#include <tuple>

#include "catalogue/bounds.h"
#include "catalogue/companion_names.h"
#include "catalogue/sidecars.h"
#include "daemon/walk_rules.h"
#include "platform/file.h"
#include "platform/hash.h"
#include "platform/letters.h"
#include "platform/recent.h"

namespace {

using Directory = KnownCompanions::Directory;
using Place = KnownCompanions::Place;

// What no name has, in front of a series: one is no stem.
constexpr char kSeriesMark = '/';

uint32_t SharedHash(std::string_view text, uint64_t hash = kHashStart) {
    for (const char byte : text)
        hash = HashByte(hash, Lower(byte));
    return static_cast<uint32_t>(hash ^ hash >> 32);
}

uint32_t SeriesHash(std::string_view series) {
    return SharedHash(series, HashByte(kHashStart, kSeriesMark));
}

// The one that is shown comes first.
std::tuple<bool, std::string_view> RankOf(const CompanionName &name, std::string_view whole) {
    return {!name.leads, whole};
}

// Calls `take` for each entry that may be taken with others, with the name taken apart, as long as there is room for the names.
template <typename Take>
void EntriesTake(const DirHandle &open, Directory *of, Take take) {
    size_t bytes = 0;
    while (const dirent *entry = DirectoryNext(open, &of->unseen)) {
        const std::string_view name = entry->d_name;
        const bool may_be = CompanionKindOf(name) != CompanionKind::none;
        of->sidecars = of->sidecars || (!may_be && IsSidecar(name));
        if (!may_be || entry->d_type == DT_DIR || IsNameLeftOut(ActiveWalkRules().index, name) ||
            name.size() >= kCompanionBytesMax - bytes)
            continue;
        bytes += name.size() + 1;
        take(name, CompanionNameOf(name));
    }
}

// Returns what several names of a directory share, in order.
std::vector<uint32_t> SharedRead(const DirHandle &open, Directory *of) {
    std::vector<uint32_t> all;
    EntriesTake(open, of, [&](std::string_view, const CompanionName &name) {
        all.push_back(SharedHash(name.stem));
        if (!name.series.empty())
            all.push_back(SeriesHash(name.series));
    });
    std::ranges::sort(all);
    std::vector<uint32_t> shared;
    for (size_t i = 1; i < all.size(); ++i) {
        if (all[i] == all[i - 1] && (shared.empty() || shared.back() != all[i]))
            shared.push_back(all[i]);
    }
    return shared;
}

const char *NameAt(const Directory &of, const Place &place) {
    return of.names.data() + place.at;
}

// Keeps the names of entries that share one of these, or of all where there is no such list.
void NamesTake(const DirHandle &open, const std::vector<uint32_t> *shared, Directory *of) {
    const auto is_kept = [&](uint32_t hash) {
        return shared == nullptr || std::ranges::binary_search(*shared, hash);
    };
    EntriesTake(open, of, [&](std::string_view name, const CompanionName &parts) {
        const auto at = static_cast<uint32_t>(of->names.size());
        const size_t before = of->places.size();
        if (const uint32_t stem = SharedHash(parts.stem); is_kept(stem))
            of->places.push_back({stem, at});
        if (const uint32_t series = SeriesHash(parts.series); !parts.series.empty() && is_kept(series))
            of->places.push_back({series, at});
        if (of->places.size() > before)
            of->names.append(name).push_back('\0');
    });
    std::ranges::sort(of->places, [&](const Place &one, const Place &other) {
        if (one.shared != other.shared)
            return one.shared < other.shared;
        return RankOf(CompanionNameOf(NameAt(*of, one)), NameAt(*of, one)) <
               RankOf(CompanionNameOf(NameAt(*of, other)), NameAt(*of, other));
    });
}

void NamesRead(Directory *of, bool whole) {
    *of = {.path = of->path, .age = of->age, .whole = whole};
    const DirHandle open(opendir(of->path.empty() ? "/" : of->path.c_str()));
    if (whole) {
        NamesTake(open, nullptr, of);
        return;
    }
    const std::vector<uint32_t> shared = SharedRead(open, of);
    if (shared.empty()) // as in most directories
        return;
    rewinddir(open.get());
    NamesTake(open, &shared, of);
}

Directory &DirectoryOf(KnownCompanions *known, const std::string &path, bool ahead) {
    Directory &of = RecentOf(&known->directories, &Directory::path, path, kCompanionDirectories,
                             [](const std::string &asked) { return Directory{asked}; });
    if (!ahead || !of.walked) {
        const bool hold = NamesHold(path, &of.age);
        if (!hold || of.unseen || (!ahead && !of.whole))
            NamesRead(&of, !ahead);
    }
    of.walked = ahead;
    return of;
}

// Those that may share it with others, the one that is shown first.
std::span<const Place> PlacesOf(const Directory &of, uint32_t shared) {
    const auto begin = std::ranges::lower_bound(of.places, shared, {}, &Place::shared);
    const auto end = std::ranges::upper_bound(of.places, shared, {}, &Place::shared);
    return std::span(begin, end).first(std::min<size_t>(kCompanionsMax, static_cast<size_t>(end - begin)));
}

void StemFind(const Directory &of, const CompanionName &name, std::vector<std::string> *found) {
    for (const Place &place : PlacesOf(of, SharedHash(name.stem))) {
        const CompanionName other = CompanionNameOf(NameAt(of, place));
        if (other.kind != name.kind && IsSame(other.stem, name.stem))
            found->emplace_back(NameAt(of, place));
    }
}

void SeriesFind(const Directory &of, const CompanionName &name, std::string_view whole,
                std::vector<std::string> *found) {
    for (const Place &place : PlacesOf(of, SeriesHash(name.series))) {
        const std::string_view candidate = NameAt(of, place);
        const CompanionName other = CompanionNameOf(candidate);
        if (!IsSame(other.series, name.series) || candidate == whole)
            continue;
        found->emplace_back(candidate);
        if (RankOf(other, candidate) < RankOf(name, whole))
            return;
    }
}

} // namespace

std::vector<std::string> CompanionsOf(KnownCompanions *known, const std::string &path, bool ahead,
                                      bool *unseen) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return {};
    const std::string_view whole = std::string_view(path).substr(slash + 1);
    if (CompanionKindOf(whole) == CompanionKind::none)
        return {};
    const Directory &of = DirectoryOf(known, path.substr(0, slash), ahead);
    *unseen = *unseen || of.unseen;
    if (of.places.empty())
        return {};
    const CompanionName name = CompanionNameOf(whole);
    std::vector<std::string> found;
    StemFind(of, name, &found);
    if (!name.series.empty())
        SeriesFind(of, name, whole, &found);
    std::ranges::sort(found);
    found.erase(std::unique(found.begin(), found.end()), found.end());
    for (std::string &one : found)
        one.insert(0, of.path + '/');
    return found;
}

bool MayHaveSidecars(KnownCompanions *known, const std::string &path) {
    const Directory &of = DirectoryOf(known, path.substr(0, path.rfind('/')), true);
    return of.sidecars || of.unseen;
}
