// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/known_files.h"

#include <algorithm>
#include <functional>
#include <string_view>

#include "catalogue/bounds.h"
#include "catalogue/file_stamp.h"
#include "catalogue/file_trouble.h"
#include "platform/hash.h"
#include "platform/limits.h"
#include "platform/recent.h"

namespace {

// Two names with one hash cost a look at the tables.
uint32_t NameHash(std::string_view name) {
    return static_cast<uint32_t>(std::hash<std::string_view>()(name));
}

// Two files in a directory would have to have one hash, of name and look together, for a change to be overlooked.
uint64_t LookHash(std::string_view name, std::string_view look) {
    return HashText(look, HashByte(HashText(name), '/'));
}

// What a file without a stamp looks like, and one whose stamp says nothing to this program.
constexpr std::string_view kNoLook;

KnownFiles::Directory DirectoryRead(const std::string &path) {
    KnownFiles::Directory directory = {path};
    bool fits = true;
    const auto take = [&](std::string_view name, std::string_view stamp, std::string_view trouble) {
        fits = directory.names.size() < kFileStatesMax;
        if (!fits)
            return;
        directory.names.push_back(NameHash(name));
        if (trouble.empty())
            directory.stamps.push_back(LookHash(name, FileStampLook(stamp)));
    };
    directory.whole = FileStatesRead(path.c_str(), take) == 0 && fits;
    std::ranges::sort(directory.names);
    std::ranges::sort(directory.stamps);
    return directory;
}

const KnownFiles::Directory &DirectoryOf(KnownFiles *known, const std::string &path) {
    return RecentOf(&known->directories, &KnownFiles::Directory::path, path, kKnownDirectories,
                    DirectoryRead);
}

KnownFile KnownAlone(const std::string &path, std::span<const std::string> stamps) {
    FileState state;
    if (FileStateOf(path.c_str(), &state) != 1)
        return {};
    StampHolds holds = StampHolds::no;
    for (const std::string &stamp : stamps)
        holds = std::max(holds, FileStampHolds(state.stamp, stamp));
    KnownFile file = {.stamp = std::move(state.stamp)};
    if (state.trouble.empty()) {
        file.unchanged = holds == StampHolds::yes;
        file.neighbours = holds == StampHolds::own;
    } else if (holds == StampHolds::yes && TroubleHolds(state.trouble)) {
        file.trouble = std::move(state.trouble);
    }
    return file;
}

bool Has(const std::vector<uint64_t> &stamps, std::string_view name, std::string_view look) {
    return std::ranges::binary_search(stamps, LookHash(name, look));
}

} // namespace

KnownFile FileKnown(KnownFiles *known, const std::string &path, std::span<const std::string> stamps,
                    bool ahead) {
    const size_t slash = path.rfind('/');
    if (!ahead || slash == std::string::npos)
        return KnownAlone(path, stamps);
    const KnownFiles::Directory &of = DirectoryOf(known, path.substr(0, slash));
    const std::string_view name = std::string_view(path).substr(slash + 1);
    const auto has = [&](const std::string &stamp) { return Has(of.stamps, name, FileStampLook(stamp)); };
    if (std::ranges::any_of(stamps, has) || std::ranges::any_of(stamps, [&](const std::string &stamp) {
            return has(FileStampWithoutNumber(stamp));
        }))
        return {.unchanged = true};
    if (of.whole && !std::ranges::binary_search(of.names, NameHash(name)))
        return {.may_have_row = false};
    // Those that changed are few, unless all stamps were forgotten.
    return Has(of.stamps, name, kNoLook) ? KnownFile{} : KnownAlone(path, stamps);
}

bool FileMayHaveRow(KnownFiles *known, const std::string &path) {
    const size_t slash = path.rfind('/');
    if (slash == std::string::npos)
        return true;
    const KnownFiles::Directory &of = DirectoryOf(known, path.substr(0, slash));
    return !of.whole || std::ranges::binary_search(of.names, NameHash(path.substr(slash + 1)));
}
