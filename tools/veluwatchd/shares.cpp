// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluwatchd/shares.h"

#include <sys/stat.h>
#include <syslog.h>

#include <utility>

#include "catalogue/shares.h"
#include "daemon/path_rules.h"
#include "daemon/queue_line.h"
#include "daemon/storage_away.h"
#include "daemon/storage_mounts.h"
#include "platform/path.h"
#include "tools/shared/safe_text.h"

namespace {

// Returns where the share is now; the empty text when that cannot be told.
std::string PathNow(const Share &share) {
    if (share.link.empty())
        return share.path;
    PhotoShareForget();
    char target[kSharePathSize];
    return ShareTargetGet(share.link.c_str(), target) && *target == '/' ? target : std::string();
}

bool IsWithinAnother(const std::vector<Share> &shares, const Share &share, const std::string &path) {
    for (const Share &other : shares) {
        if (&other != &share && other.node != kNoNode && PathIsAtOrUnder(path, other.path))
            return true;
    }
    return false;
}

void Away(Share *share, Watcher *watcher) {
    const bool told = watcher->unmounted.contains(share->node);
    if (share->node != kNoNode) {
        TreeForget(watcher, std::exchange(share->node, kNoNode));
        TreeAway(&watcher->changes, share->path, std::chrono::steady_clock::now());
    }
    if (!std::exchange(share->told_away, true) && !told)
        syslog(LOG_NOTICE, "the share %s is away: its rows are left alone",
               SafeText(share->link.empty() ? share->path : share->link).c_str());
}

bool IsWatched(const Share &share, const Watcher &watcher, const struct stat &status) {
    return share.node != kNoNode && share.device == status.st_dev && share.inode == status.st_ino &&
           (watcher.tree.Watch(share.node) != kNoWatch || watcher.unwatched.count(share.node) != 0);
}

void ShareCheck(const std::vector<Share> &shares, Share *share, Watcher *watcher, bool start) {
    const std::string path = PathNow(*share);
    struct stat status = {};
    if (path.empty() || stat(path.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        share->missed = share->missed || (start && !path.empty());
        Away(share, watcher);
        return;
    }
    if (path == share->path && IsWatched(*share, *watcher, status))
        return;
    // Another directory in the place of a share that was there, and empty, is what its volume was mounted on. So is an
    // empty one at the start where something is to be mounted. A volume may be empty itself.
    const bool other = share->device != status.st_dev || share->inode != status.st_ino;
    const bool was_there = share->seen && path == share->path && other;
    const std::vector<std::string> away = ShareAwayIn(path, nullptr);
    if (IsEmptyDirectory(path) && (was_there || !away.empty()) && !StorageIsMounted(path)) {
        share->missed = share->missed || start;
        Away(share, watcher);
        return;
    }
    if (share->node != kNoNode)
        TreeForget(watcher, std::exchange(share->node, kNoNode));
    if (IsWithinAnother(shares, *share, path))
        return;
    const bool elsewhere = share->seen && path != share->path;
    share->path = path;
    share->device = status.st_dev;
    share->inode = status.st_ino;
    share->node = watcher->tree.RootAdd(path);
    TreeWatch(watcher, share->node);
    for (const std::string &place : away)
        TreeUnmounted(watcher, share->node, place);
    if (share->told_away || elsewhere)
        syslog(LOG_NOTICE, "the share %s is watched", SafeText(path).c_str());
    share->told_away = false;
    const bool known = std::exchange(share->seen, true);
    if ((std::exchange(share->missed, false) || known) && !start)
        TreeMissed(&watcher->changes, path);
}

} // namespace

std::vector<Share> SharesMake(const std::vector<std::string> &paths) {
    std::vector<Share> shares;
    for (const std::string &path : paths) {
        Share share;
        share.path = path;
        shares.push_back(share);
    }
    if (!shares.empty())
        return shares;
    // "R:photo" stands for the photo library, not for the files of the share.
    for (const auto &[link, word] :
         {std::pair(kMusicShareLink, kMusicWord), std::pair(kVideoShareLink, kVideoWord),
          std::pair(kPhotoShareLink, "")}) {
        Share share;
        share.link = link;
        share.word = word;
        shares.push_back(share);
    }
    return shares;
}

void SharesCheck(std::vector<Share> *shares, Watcher *watcher, bool start) {
    for (Share &share : *shares)
        ShareCheck(*shares, &share, watcher, start);
}

void SharesReindex(const std::vector<Share> &shares, Watcher *watcher) {
    for (const Share &share : shares) {
        if (share.node != kNoNode)
            TreeMissed(&watcher->changes, share.path);
    }
}

std::optional<std::string> ShareWord(const std::vector<Share> &shares, const std::string &path) {
    for (const Share &share : shares) {
        if (share.node != kNoNode && share.path == path)
            return share.word;
    }
    return {};
}
