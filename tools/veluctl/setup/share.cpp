// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl share: the links that say where the shares are.
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include "catalogue/shares.h"
#include "daemon/queue_line.h"
#include "daemon/storage_away.h"
#include "platform/configuration.h"
#include "platform/letters.h"
#include "platform/rule_set.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/request_line.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/requests.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/setup/setup_folder.h"
#include "tools/veluctl/setup/share_refusal.h"
#include "tools/veluctl/shell_word.h"

namespace {

constexpr Column kColumns[] = {
    {"share", "SHARE", Type::text},
    {"state", "STATE", Type::text},
    {"path", "PATH", Type::path},
};

ExitCode Refused(const std::string &what, const std::string &reason) {
    return Complain(kRefused, "refused: " + Quoted(what) + ": " + reason);
}

// How the link of a share is found.
enum class LinkState { missing, link, other };

LinkState LinkLook(const char *link, std::string *target) {
    struct stat status;
    if (lstat(link, &status) != 0)
        return LinkState::missing;
    char text[kSharePathSize];
    if (!S_ISLNK(status.st_mode) || !ShareTargetGet(link, text))
        return LinkState::other;
    *target = text;
    return LinkState::link;
}

ExitCode NotOurs(const char *link) {
    return Refused(link, "it is there and no link, and is left alone");
}

// False for one of the two arguments too few or too many.
bool HasArguments(const Options &options, bool name, bool path) {
    return options.name.empty() != name && options.path.empty() != path;
}

// The request by which the rows of a share come. The appliance's rules know the photo share, as such, for its library alone.
std::string RequestOf(const std::string &name, const std::string &path) {
    const bool whole = name != kPhotoWord || RuleSetActive() == RuleSet::complete;
    return whole ? RequestLineForm(kCommandReindex, name).line : RequestLineForm(kCommandTreeAdd, path).line;
}

std::string CommandOf(const std::string &name, const std::string &path) {
    return RequestOf(name, path)[0] == kCommandReindex ? "sudo veluctl reindex --wait " + name
                                                       : "sudo veluctl add --wait " + ShellWord(path);
}

void NextTell(const std::string &name, const std::string &path, bool indexed) {
    if (!indexed)
        printf("To index what is there: %s\n", CommandOf(name, path).c_str());
    if (name == kPhotoWord && !BlConfigurationIs(ConfigurationKeyOf("supportphoto"), "yes"))
        puts("To keep a photo library with albums, too: sudo veluctl feature on photo");
    if (WatcherFind() != 0)
        puts("veluwatchd runs, and sees within ten seconds that it is to watch this.");
    else
        printf("To have changes indexed by themselves: %s\n", kWatcherEnableCommand);
}

// What people call what the shares hold.
struct OtherName {
    const char *name;
    const char *share;
};
constexpr OtherName kOtherNames[] = {{"film", "video"},     {"films", "video"},  {"movie", "video"},
                                     {"movies", "video"},   {"videos", "video"}, {"photos", "photo"},
                                     {"pictures", "photo"}, {"songs", "music"}};

std::string MeantText(const std::string &name) {
    for (const OtherName &other : kOtherNames)
        if (IsSame(name, other.name))
            return std::string("did you mean ") + other.share + "? ";
    return {};
}

ExitCode ShareAdd(const Options &options) {
    if (!HasArguments(options, true, true))
        return Complain(kUsage, "share add takes the name of a share and its folder");
    const char *link = ShareLinkOf(options.name);
    if (link == nullptr)
        return Refused(options.name,
                       MeantText(options.name) +
                           "the shares are music, video and photo, and each takes files of every "
                           "kind; a folder that is none "
                           "of them is indexed all the same: sudo veluctl add --wait " +
                           ShellWord(options.path));
    if (const ExitCode rights = SetupFolder(ParentOf(link)); rights != kDone)
        return rights;
    const std::string path = RequestPathMake(options.path);
    if (path.empty())
        return Refused(options.path, strerror(errno));
    std::string target;
    const LinkState state = LinkLook(link, &target);
    if (state == LinkState::other)
        return NotOurs(link);
    if (state == LinkState::link && target != path)
        return Refused(options.name, "this share is " + Quoted(target) +
                                         "; to give it another folder: sudo veluctl share remove " +
                                         options.name);
    if (const std::optional<std::string> refusal = ShareRefusal(options.name, path))
        return Refused(path, *refusal);
    if (state == LinkState::missing && symlink(path.c_str(), link) != 0)
        return Complain(kFailed, std::string(link) + ": " + strerror(errno));
    printf("The share %s is %s%s.\n", options.name.c_str(), Quoted(path).c_str(),
           state == LinkState::link ? " already" : "");
    NextTell(options.name, path, options.index);
    fflush(stdout);
    return options.index ? RequestLinesSend({RequestOf(options.name, path)}, options) : kDone;
}

ExitCode ShareRemove(const Options &options) {
    if (!HasArguments(options, true, false))
        return Complain(kUsage, "share remove takes the name of a share");
    const char *link = ShareLinkOf(options.name);
    if (link == nullptr)
        return Refused(options.name, "the shares are music, video and photo");
    std::string target;
    const LinkState state = LinkLook(link, &target);
    if (state == LinkState::other)
        return NotOurs(link);
    if (state == LinkState::missing) {
        printf("There is no share %s.\n", options.name.c_str());
        return kDone;
    }
    if (const ExitCode rights = SetupFolder(ParentOf(link)); rights != kDone)
        return rights;
    if (unlink(link) != 0)
        return Complain(kFailed, std::string(link) + ": " + strerror(errno));
    printf("The share %s is no more. The files in %s and their rows stay as they are.\n",
           options.name.c_str(), Quoted(target).c_str());
    return kDone;
}

// Whether its storage is there, in a word.
const char *StateWord(const std::string &target) {
    const std::vector<std::string> away = ShareAwayIn(target, {});
    if (away.empty())
        return "there";
    return away.front() == target ? "away" : "partly away";
}

ExitCode ShareList(const Options &options) {
    if (!HasArguments(options, false, false))
        return Complain(kUsage, "share list takes no name");
    std::vector<Row> rows;
    for (const char *name : ShareNames()) {
        std::string target;
        switch (LinkLook(ShareLinkOf(name), &target)) {
        case LinkState::missing:
            break;
        case LinkState::other:
            rows.push_back({name, "no link", ShareLinkOf(name)});
            break;
        case LinkState::link:
            rows.push_back({name, StateWord(target), target});
            break;
        }
    }
    if (rows.empty() && options.form() == Form::table)
        return Complain(kFound, "there are no shares; to make one: sudo veluctl share add music /srv/music");
    RowWriter writer(options.form(), kColumns, stdout);
    for (const Row &row : rows)
        writer.Add(row);
    writer.End();
    return rows.empty() ? kFound : kDone;
}

} // namespace

ExitCode ShareCommand(const Options &options) {
    if (options.index && options.what != "add")
        return Complain(kUsage, "--index goes with share add");
    if (options.form() != Form::table && options.what != "list")
        return Complain(kUsage, "--json and --csv go with share list");
    if (options.what == "add")
        return ShareAdd(options);
    return options.what == "remove" ? ShareRemove(options) : ShareList(options);
}
