// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/queue_touch.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "catalogue/features.h"
#include "catalogue/shares.h"
#include "daemon/path_rules.h"
#include "daemon/walk_rules.h"
#include "platform/hash.h"
#include "platform/path.h"

namespace {

// Values of a path's entry.
constexpr uint64_t kAsked = 1; // a request is about this path
constexpr uint64_t kAbove = 2; // a request is about a path below this one

// Calls `visit(hash, whole)` for each directory above a path, from the root on, and for the path itself with `whole`
// true, until one call returns true. Returns whether one did.
template <typename Visit>
bool PathVisit(std::string_view given, Visit visit) {
    const std::string_view path = PathWithoutEndSlashes(given);
    uint64_t hash = kHashStart;
    for (size_t i = 0; i < path.size(); ++i) {
        const bool slash = path[i] == '/';
        if (slash && i > 0 && path[i - 1] == '/')
            continue;
        if (slash && visit(hash, false))
            return true;
        hash = HashByte(hash, path[i]);
    }
    return visit(hash, true);
}

void PathAdd(QueueHashTable *paths, std::string_view path) {
    PathVisit(path, [&](uint64_t hash, bool whole) {
        QueueHashSet(paths, hash, QueueHashGet(*paths, hash) | (whole ? kAsked : kAbove));
        return false;
    });
}

template <size_t N>
bool IsOneOf(const std::string &name, const char *const (&names)[N]) {
    return std::find(std::begin(names), std::end(names), name) != std::end(names);
}

bool IsMediaTable(const std::string &name) {
    return IsOneOf(name, kMediaTables) || name == kDirectoryTable || name == kFileStateTable;
}

bool IsAboutPhotoLibrary(const QueueRequest &request) {
    return request.argument == kPhotoWord &&
           (request.command == kCommandReindex || request.command == kCommandUpdate);
}

// True for the word of a request that is about all shares.
bool IsEvery(const std::string &word) {
    return word != kMusicWord && word != kVideoWord && word != kPhotoWord;
}

std::vector<std::string> ShareTargets(const std::string &word) {
    std::vector<std::string> targets;
    const auto add = [&](const char *link) {
        char target[kSharePathSize];
        if (ShareTargetGet(link, target))
            targets.emplace_back(target);
    };
    const bool every = IsEvery(word);
    if (every || word == kMusicWord)
        add(kMusicShareLink);
    if (every || word == kVideoWord)
        add(kVideoShareLink);
    if (every || word == kPhotoWord)
        add(kPhotoShareLink);
    return targets;
}

// The trees that a request is about. An empty path asks for nothing, while "/" asks for everything.
std::vector<std::string> PathsOf(const QueueRequest &request) {
    std::vector<std::string> paths;
    switch (request.command) {
    case kCommandTruncate:
        break;
    case kCommandReindex:
        return ShareTargets(request.argument);
    case kCommandUpdate:
        if (request.argument == kPhotoWord)
            return ShareTargets(request.argument);
        break;
    case kCommandRename:
        paths.push_back(request.old_path);
        [[fallthrough]];
    default:
        if (!request.argument.empty())
            paths.push_back(request.argument);
        break;
    }
    return paths;
}

// The catalogue that a request takes as a whole; false when it is about single paths or about nothing.
bool WholeCatalogueOf(const QueueRequest &request, Catalogue *catalogue) {
    *catalogue = Catalogue::media;
    if (IsAboutPhotoLibrary(request) ||
        (request.command == kCommandTruncate && IsOneOf(request.argument, kPhotoTables))) {
        *catalogue = Catalogue::photo;
        return true;
    }
    return request.command == kCommandReindex ||
           (request.command == kCommandTruncate && IsMediaTable(request.argument));
}

} // namespace

QueueCatalogues QueueCataloguesOf(const QueueRequest &request) {
    bool media = true;
    bool photo = false;
    switch (request.command) {
    case kCommandTruncate:
        media = IsMediaTable(request.argument);
        photo = IsOneOf(request.argument, kPhotoTables);
        break;
    case kCommandReindex:
        // The photo library adds the files that are new to it to both.
        photo = IsAboutPhotoLibrary(request) ||
                (ActiveWalkRules().library_follows && supportphoto && IsEvery(request.argument));
        break;
    case kCommandUpdate:
        media = false;
        photo = IsAboutPhotoLibrary(request);
        break;
    default:
        photo = supportphoto && (MayHoldPhotoPaths(request.argument) ||
                                 (request.command == kCommandRename && MayHoldPhotoPaths(request.old_path)));
        break;
    }
    return {{media, photo}};
}

void QueueTouchAdd(QueueTouched *touched, const QueueRequest &request) {
    Catalogue catalogue = Catalogue::media;
    if (WholeCatalogueOf(request, &catalogue))
        touched->whole.of[static_cast<size_t>(catalogue)] = true;
    const QueueCatalogues written = QueueCataloguesOf(request);
    for (size_t i = 0; i < kCatalogues; ++i)
        touched->any.of[i] = touched->any.of[i] || written.of[i];
    for (const std::string &path : PathsOf(request))
        PathAdd(&touched->paths, path);
}

bool QueueTouches(const QueueTouched &touched, const QueueRequest &request) {
    if (!touched.any.of[0] && !touched.any.of[1])
        return false; // as on every good day
    const QueueCatalogues written = QueueCataloguesOf(request);
    const QueueCatalogues &waits_for = request.command == kCommandTruncate ? touched.any : touched.whole;
    for (size_t i = 0; i < kCatalogues; ++i)
        if (waits_for.of[i] && written.of[i])
            return true;
    for (const std::string &path : PathsOf(request))
        if (QueueTouchesPath(touched, path))
            return true;
    return false;
}

bool QueueTouchesPath(const QueueTouched &touched, std::string_view path) {
    return PathVisit(path, [&](uint64_t hash, bool whole) {
        return (QueueHashGet(touched.paths, hash) & (whole ? kAsked | kAbove : kAsked)) != 0;
    });
}
