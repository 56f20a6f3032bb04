// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl forget: what the daemon keeps because it cannot be looked at goes when somebody says so. The queue has no command
// for that, so that the rows are removed here, in one short transaction a catalogue.
#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <unistd.h>

#include <algorithm>

#include "catalogue/features.h"
#include "catalogue/shares.h"
#include "daemon/storage_away.h"
#include "daemon/storage_mounts.h"
#include "daemon/walk_presence.h"
#include "photo/photo_index.h"
#include "photo/photo_known.h"
#include "photo/photo_share.h"
#include "platform/veluindex.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/terminal.h"

namespace {

int CatalogueKnows(const std::string &path, bool itself) {
    return supportphoto ? PhotoKnows(path, itself) : VELUIndexKnows(Catalogue::media, path.c_str(), itself);
}

// True when the path is there and its rows are better left to the daemon.
bool IsThere(const std::string &path) {
    int error = 0;
    return MayBeThere(path.c_str(), &error) && error == 0 &&
           !StorageIsAway(path, ShareTargetsGet(), CatalogueKnows);
}

bool Agreed(const std::string &path) {
    printf("Forget all rows at and below %s, with covers, albums and what was typed? [y/N] ",
           Quoted(path).c_str());
    fflush(stdout);
    const int answer = getchar();
    return answer == 'y' || answer == 'Y';
}

bool RowsRemove(const char *path) {
    VELUIndexRunBegin();
    bool removed = MediaInfoDBDelete(kMediaTree, path) == 0;
    if (IsInPhotoLibrary(path)) {
        removed = PhotoInfoDBDirDelete(path) == 0 && removed;
        removed = PhotoShareUpdate(path, kAlbumDelete) == 0 && removed;
    }
    return VELUIndexRunEnd() == 0 && removed;
}

} // namespace

ExitCode ForgetCommand(const Options &options) {
    FeatureSwitchesRead();
    const std::string path = RequestPathMake(options.path);
    if (path.size() < 2)
        return Complain(kRefused,
                        "refused: " + Quoted(options.path) + ": it is no path of a file or directory");
    if (IsThere(path))
        return Complain(kRefused,
                        "refused: " + Quoted(path) + ": it is there, and a reindex would find it again");
    const int known = CatalogueKnows(path, true);
    if (known < 0)
        return Complain(kUnreachable, "the catalogue cannot be read");
    if (known == 0)
        return Complain(kFound, Quoted(path) + " has no rows");
    if (!options.yes && isatty(STDIN_FILENO) == 1 && !Agreed(path))
        return Complain(kRefused, "nothing was forgotten");
    if (!RowsRemove(path.c_str()))
        return Complain(kFailed, "not all rows could be removed; the system log says why");
    if (!StorageForget(path))
        return Complain(kFailed, std::string(storage_files.remembered) + ": " + strerror(errno));
    printf("Forgotten.\n");
    return kDone;
}
