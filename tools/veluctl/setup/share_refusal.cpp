// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/setup/share_refusal.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>

#include "catalogue/shares.h"
#include "daemon/queue_line.h"
#include "daemon/storage_mounts.h"
#include "platform/path.h"
#include "tools/queue/request_line.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/setup/daemon_view.h"

namespace {

// The last name of a link's path is that of its share.
const char *NameOfLink(const char *link) {
    return strrchr(link, '/') + 1;
}

std::string LinksFolder() {
    return ParentOf(kMusicShareLink);
}

// What is wrong with the folder itself.
std::string FolderRefusal(const std::string &path) {
    if (std::string refusal = RequestLineForm(kCommandTreeAdd, path).refusal; !refusal.empty())
        return refusal;
    struct stat status;
    if (stat(path.c_str(), &status) != 0)
        return errno == ENOENT || errno == ENOTDIR ? "there is no such directory" : strerror(errno);
    return S_ISDIR(status.st_mode) ? "" : "it is no directory";
}

// What is wrong with its place: a walk would go through it twice, or for ever.
std::string PlaceRefusal(const std::string &name, const std::string &path) {
    const std::string place = StoragePathOf(path);
    const std::string links = StoragePathOf(LinksFolder());
    if (PathIsAtOrUnder(place, links) || PathIsAtOrUnder(path, LinksFolder()))
        return "it is where the links to shares are; name the folder itself";
    if (PathIsUnder(links, PathWithoutEndSlashes(place)))
        return "it holds " + LinksFolder() + ", where the links to shares are, and so itself";
    for (const char *link : kShareLinks) {
        char target[kSharePathSize];
        if (name == NameOfLink(link) || !ShareTargetGet(link, target))
            continue;
        const std::string other = StoragePathOf(target);
        const std::string share = std::string("the share ") + NameOfLink(link) + " (" + Quoted(target) + ")";
        if (place == other)
            return "it is " + share + " already";
        if (PathIsUnder(place, other))
            return "it lies in " + share;
        if (PathIsUnder(other, place))
            return "it holds " + share;
    }
    return {};
}

// What the daemon cannot do with it.
std::string DaemonRefusal(const std::string &path) {
    if (IsHiddenFromDaemon(path))
        return "the daemon does not see it: its service has a directory of its own in this place "
               "(PrivateTmp= and the like)";
    const int error = DaemonDirectoryError(path);
    return error == 0 ? "" : "the user " + DaemonUserName() + " may not read it: " + strerror(error);
}

} // namespace

std::vector<const char *> ShareNames() {
    std::vector<const char *> names;
    for (const char *link : kShareLinks)
        names.push_back(NameOfLink(link));
    return names;
}

const char *ShareLinkOf(const std::string &name) {
    for (const char *link : kShareLinks) {
        if (name == NameOfLink(link))
            return link;
    }
    return nullptr;
}

std::optional<std::string> ShareRefusal(const std::string &name, const std::string &path) {
    std::string refusal = FolderRefusal(path);
    if (refusal.empty())
        refusal = PlaceRefusal(name, path);
    if (refusal.empty())
        refusal = DaemonRefusal(path);
    return refusal.empty() ? std::nullopt : std::optional(refusal);
}

std::optional<std::string> ReindexRefusal(const std::string &word) {
    const bool all = ShareLinkOf(word) == nullptr;
    for (const char *link : kShareLinks) {
        char target[kSharePathSize];
        if ((all || word == NameOfLink(link)) && ShareTargetGet(link, target))
            return std::nullopt;
    }
    const std::string name = all ? "music" : word;
    return (all ? "there are no shares" : "there is no such share") +
           std::string("; to make one: sudo veluctl share add ") + name + " /srv/" + name;
}
