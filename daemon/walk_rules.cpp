// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/walk_rules.h"

#include <strings.h>

#include <algorithm>

#include "catalogue/shares.h"
#include "daemon/walk_rules_pictures.h"
#include "daemon/walk_rules_subtitles.h"
#include "platform/limits.h"
#include "platform/rule_set.h"

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

// Attributes, recycle bins and what file systems keep for themselves.
constexpr std::string_view kOfSystems[] = {"@eaDir", "#recycle", "$RECYCLE.BIN", "System Volume Information",
                                           "lost+found"};

constexpr char kNoMedia[] = ".nomedia";
constexpr char kIgnoreFile[] = ".veluignore";

constexpr std::string_view kDiscCompanions[] = {"ifo", "bup"};
constexpr std::string_view kSidecars[] = {kSidecarExtension};

constexpr std::string_view kCoverNames[] = {"cover", "folder", "front", "album", "albumart"};
constexpr std::string_view kCoverExtensions[] = {"jpg", "jpeg", "png", "webp"};

constexpr WalkRules kCompleteRules = {
    .index = {.names = kOfSystems,
              .prefixes = kHidden,
              .marker = kNoMedia,
              .ignore = kIgnoreFile,
              .down_to = true},
    .library = {.names = kOfSystems,
                .prefixes = kHidden,
                .directory_parts = kAttributeDirectory,
                .marker = kNoMedia,
                .ignore = kIgnoreFile,
                .down_to = true},
    .albums = {.names = kOfSystems,
               .prefixes = kHidden,
               .directory_parts = kAttributeDirectory,
               .marker = kNoMedia,
               .ignore = kIgnoreFile},
    .share_directories = kRecycleBin,
    .file_prefixes = kHidden,
    .subtitles = kSubtitleExtensions,
    .companions = kDiscCompanions,
    .sidecars = kSidecars,
    .cover_names = kCoverNames,
    .cover_extensions = kCoverExtensions,
    .pictures = kCompletePictures,
    .picture_size_min = 1,
    .picture_size_end = kReadPictureSizeEnd,
    .photo_link = kPhotoShareLink,
    .library_follows = true,
    .volume_length = std::string_view("/volume1").size(),
    .photo_share = "photo",
};

bool BeginsWithOneOf(NameList prefixes, std::string_view name) {
    return std::ranges::any_of(prefixes,
                               [name](std::string_view prefix) { return name.starts_with(prefix); });
}

bool IsListedInAnyCase(NameList names, std::string_view name) {
    return std::ranges::any_of(names, [name](std::string_view listed) {
        return listed.size() == name.size() && strncasecmp(listed.data(), name.data(), name.size()) == 0;
    });
}

} // namespace

const WalkRules &ActiveWalkRules() {
    return RuleSetActive() == RuleSet::complete ? kCompleteRules : kApplianceRules;
}

bool IsListed(NameList names, std::string_view name) {
    return std::ranges::find(names, name) != names.end();
}

bool HasPartLeftOut(const NameRules &rules, std::string_view text) {
    return std::ranges::any_of(rules.directory_parts, [text](std::string_view part) {
        return text.find(part) != std::string_view::npos;
    });
}

LeftOut NameLeftOut(const NameRules &rules, std::string_view name) {
    if (IsListed(rules.names, name))
        return LeftOut::system;
    return BeginsWithOneOf(rules.prefixes, name) ? LeftOut::hidden : LeftOut::nothing;
}

bool IsNameLeftOut(const NameRules &rules, std::string_view name) {
    return NameLeftOut(rules, name) != LeftOut::nothing;
}

bool IsDirectoryNameLeftOut(const NameRules &rules, std::string_view name) {
    return IsNameLeftOut(rules, name) || IsListed(rules.directory_names, name) || HasPartLeftOut(rules, name);
}

bool IsExtensionOf(NameList extensions, std::string_view extension) {
    return IsListedInAnyCase(extensions, extension);
}

LeftOut ExtensionLeftOut(std::string_view extension) {
    if (IsListedInAnyCase(ActiveWalkRules().subtitles, extension))
        return LeftOut::subtitle;
    return IsListedInAnyCase(ActiveWalkRules().companions, extension) ? LeftOut::companion : LeftOut::nothing;
}

bool IsIndexedName(std::string_view name) {
    return !BeginsWithOneOf(ActiveWalkRules().file_prefixes, name);
}
