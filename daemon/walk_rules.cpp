// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_rules.h"

#include <algorithm>

#include "platform/limits.h"

namespace {

// Thumbnails and attributes of the files beside it.
constexpr std::string_view kAttributeDirectory[] = {"@eaDir"};

constexpr std::string_view kRecycleBin[] = {"#recycle"};
constexpr std::string_view kHidden[] = {"."};
constexpr std::string_view kResourceFork[] = {"._"};

// The appliance's: its other programs count on them.
constexpr WalkRules kApplianceRules = {
    .index = {.names = kAttributeDirectory},
    .library = {.prefixes = kHidden, .directory_parts = kAttributeDirectory},
    .albums = {.prefixes = kHidden, .directory_names = kRecycleBin, .directory_parts = kAttributeDirectory},
    .share_directories = kRecycleBin,
    .file_prefixes = kResourceFork,
    .picture_size_min = 1,
    .picture_size_end = kPhotoSizeEnd,
    .volume_length = std::string_view("/volume1").size(),
    .photo_share = "photo",
};

bool BeginsWithOneOf(NameList prefixes, std::string_view name) {
    return std::ranges::any_of(prefixes,
                               [name](std::string_view prefix) { return name.starts_with(prefix); });
}

} // namespace

const WalkRules &ActiveWalkRules() {
    return kApplianceRules;
}

bool IsListed(NameList names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

bool HasPartLeftOut(const NameRules &rules, std::string_view text) {
    return std::ranges::any_of(rules.directory_parts, [text](std::string_view part) {
        return text.find(part) != std::string_view::npos;
    });
}

bool IsNameLeftOut(const NameRules &rules, std::string_view name) {
    return IsListed(rules.names, name) || BeginsWithOneOf(rules.prefixes, name);
}

bool IsDirectoryNameLeftOut(const NameRules &rules, std::string_view name) {
    return IsNameLeftOut(rules, name) || IsListed(rules.directory_names, name) || HasPartLeftOut(rules, name);
}

bool IsIndexedName(std::string_view name) {
    return !BeginsWithOneOf(ActiveWalkRules().file_prefixes, name);
}
