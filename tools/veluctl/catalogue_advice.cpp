// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/catalogue_advice.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include "catalogue/shares.h"
#include "daemon/queue_line.h"
#include "platform/own_group.h"
#include "platform/veludb.h"
#include "tools/queue/daemon_process.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/setup/service_commands.h"
#include "tools/veluctl/shell_word.h"

namespace {

bool HasShares() {
    return !ShareTargetsGet().empty();
}

struct CataloguePlace {
    char uri[kCatalogueUriSize] = "";
    const char *file = nullptr; // null: on a server, or nowhere
};

void PlaceGet(Catalogue catalogue, CataloguePlace *place) {
    if (VELUIndexUriGet(catalogue, place->uri, sizeof place->uri) == 0)
        place->file = VELUDBFileGet(place->uri);
}

// What makes a catalogue that is not there yet.
std::string FirstHint(const char *file) {
    struct stat status;
    if (stat(file, &status) == 0 || errno != ENOENT)
        return {};
    return std::string("; the daemon makes it when it is first asked for something: ") +
           (DaemonFind() == 0 ? DaemonStartCommand() + std::string(", then ") : std::string()) +
           (HasShares() ? "sudo veluctl reindex --wait all" : "sudo veluctl add --wait FOLDER");
}

// What whoever may not read a catalogue's file can do about it.
std::string RightHint(const char *file) {
    if (access(file, R_OK) == 0 || errno != EACCES)
        return {};
    std::string hint = "; root may read it, and who is in the group ";
    hint.append(kOwnGroup).append(": \"sudo adduser NAME ").append(kOwnGroup);
    return hint.append("\" adds NAME, from the next login on");
}

// A folder beside the file that is not there yet, as far as this user can tell.
std::string AsideFor(const std::string &folder) {
    constexpr int kTried = 100;
    std::string name = "damaged";
    struct stat status;
    for (int number = 2; number < kTried && lstat((folder + '/' + name).c_str(), &status) == 0; ++number)
        name = "damaged" + std::to_string(number);
    return name;
}

} // namespace

std::string ModuleHint(const char *uri) {
    return VELUDBLacksModule(uri) ? "; the package veluindexd-postgresql brings what asks a server" : "";
}

std::string CatalogueHint(Catalogue catalogue, const std::string &reason) {
    CataloguePlace place;
    PlaceGet(catalogue, &place);
    if (place.file == nullptr)
        return ModuleHint(place.uri);
    if (VELUDBIsDamage(reason))
        return "; the file is damaged, and veluctl status has the commands that make a new one";
    const std::string hint = FirstHint(place.file);
    return hint.empty() ? RightHint(place.file) : hint;
}

std::vector<std::string> CatalogueCommands(Catalogue catalogue, const std::string &reason) {
    CataloguePlace place;
    PlaceGet(catalogue, &place);
    if (place.file == nullptr || !VELUDBIsDamage(reason))
        return {};
    const std::string path = place.file;
    const std::string folder = ParentOf(path);
    const std::string aside = AsideFor(folder);
    // With its journals: SQLite would take those for the new file's.
    const std::string name = ShellWord(path.substr(path.rfind('/') + 1));
    const std::string script = "cd " + ShellWord(folder) + "; mkdir " + aside + "; mv " + name + "* " + aside;
    const std::string start = "sudo systemctl start veluindexd && sudo veluctl ";
    return {"sudo systemctl stop veluindexd", "sudo sh -ec " + ShellWord(script),
            start + (!HasShares() ? "add --wait FOLDER"
                                  : std::string("reindex --wait ") +
                                        (catalogue == Catalogue::photo ? kPhotoWord : "all"))};
}
