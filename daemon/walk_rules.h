// SPDX-License-Identifier: GPL-2.0-or-later
//
// The rules of what is walked and indexed, as data. Every walk asks here, the daemon's and those of the tools, so that
// none of them knows a name by itself.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include <array>
#include <span>
#include <string_view>

// Why the rules `complete` leave an entry out.
enum class LeftOut : uint8_t {
    nothing,
    hidden,    // its name begins with "."
    system,    // so named by systems for what is theirs: attributes, recycle bins, ...
    marked,    // its directory, or one above, holds ".nomedia"
    ignored,   // a ".veluignore" names it
    subtitle,  // belongs to a film
    companion, // belongs to the files of a disc beside it
    unknown,   // no extension that is indexed
    special,   // no regular file, or a link to none
    unseen,    // it could not be looked at
};

// How many entries are left out, by the reason: of a directory itself, not of what lies in it.
using LeftOutCounts = std::array<uint64_t, static_cast<size_t>(LeftOut::unseen) + 1>;

inline void LeftOutCount(LeftOutCounts *counts, LeftOut why) {
    if (counts != nullptr)
        ++(*counts)[static_cast<size_t>(why)];
}

using NameList = std::span<const std::string_view>;

// Of files that say more about the photo beside them.
inline constexpr std::string_view kSidecarExtension = "xmp";

// What the walks of one kind leave out, with all below it. Names are compared byte by byte.
struct NameRules {
    NameList names = {};           // entries so named
    NameList prefixes = {};        // entries whose names begin so
    NameList directory_names = {}; // directories so named
    NameList directory_parts = {}; // directories whose names have this anywhere
    const char *marker = nullptr;  // directories that have an entry of this name, if there is such a rule
    const char *ignore = nullptr;  // the name of files that name entries (daemon/walk_ignore), likewise
    bool down_to =
        false; // they also hold for each directory on the way from a share down to what is asked for
};

struct WalkRules {
    NameRules index;   // walks for the media catalogue
    NameRules library; // walks for the photo library
    NameRules albums;  // directories of the photo share that are no albums

    NameList share_directories; // directories right below a share that no walk enters
    NameList file_prefixes;     // files whose names begin so are met by walks, and never indexed
    NameList subtitles = {};    // extensions of files that belong to a film
    NameList companions = {};   // and to the films of a disc
    NameList sidecars = {};     // and to a photo

    // Pictures that are the covers of what lies beside them: names without extension, and extensions, of either the one that
    // counts more first. In any case.
    NameList cover_names = {};
    NameList cover_extensions = {};

    NameList pictures = {}; // extensions of pictures of the photo library, beside those of web photos

    int64_t picture_size_min; // bytes of a picture of the photo library, at least
    int64_t picture_size_end; // and less than

    // Where the photo share lies: what this link leads to; without one "/", a volume's name, "/" and the share's name. The
    // volume with its slash has this length, whatever it is called: a fixed place, known to every program that writes the queue.
    const char *photo_link = nullptr;
    bool library_follows =
        false; // it is brought in step whenever the media rows of its share are, and the other way round
    size_t volume_length;
    std::string_view photo_share; // without regard to case
};

// Returns the rules that hold in this process: those of its rule set.
const WalkRules &ActiveWalkRules();

// True when the list has the name.
[[nodiscard]] bool IsListed(NameList names, std::string_view name);

// True when a name, or any of a path's, has a part that the rules leave out.
[[nodiscard]] bool HasPartLeftOut(const NameRules &rules, std::string_view text);

// Returns why the rules leave an entry of this name out, be it a directory or not.
LeftOut NameLeftOut(const NameRules &rules, std::string_view name);

// True when they do.
[[nodiscard]] bool IsNameLeftOut(const NameRules &rules, std::string_view name);

// True when the rules leave a directory of this name out: those for entries, and those for directories alone.
[[nodiscard]] bool IsDirectoryNameLeftOut(const NameRules &rules, std::string_view name);

// True when an extension is one of a list (compared without case).
[[nodiscard]] bool IsExtensionOf(NameList extensions, std::string_view extension);

// Returns why the rules leave out files of an extension (compared without case); nothing also for an unknown one.
LeftOut ExtensionLeftOut(std::string_view extension);

// True for the name of a file that may be indexed, if its extension is known: not for the companions that hold
// resource forks ("._").
[[nodiscard]] bool IsIndexedName(std::string_view name);
