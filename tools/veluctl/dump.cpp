// SPDX-License-Identifier: GPL-2.0-or-later
//
// veluctl dump: what the catalogue would hold of a file, and what each reader of the daemon sees in it.
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <filesystem>
#include <iterator>

#include "audio/cover_file.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"
#include "platform/velusdk.h"
#include "tools/queue/request_path.h"
#include "tools/veluctl/catalogue_parts.h"
#include "tools/veluctl/commands.h"
#include "tools/veluctl/covers.h"
#include "tools/veluctl/log_lines.h"
#include "tools/veluctl/message.h"
#include "tools/veluctl/reader_facts.h"
#include "tools/veluctl/readers.h"

namespace {

// Readers store the covers that they find. For this process that is a folder of its own, gone afterwards.
struct OwnCovers {
    OwnCovers() {
        if (mkdtemp(folder) == nullptr)
            *folder = '\0';
        VELUIndexCoverDirSet(folder);
    }
    OwnCovers(const OwnCovers &) = delete;
    OwnCovers &operator=(const OwnCovers &) = delete;
    ~OwnCovers() {
        std::error_code ignored;
        if (*folder != '\0')
            std::filesystem::remove_all(folder, ignored);
        VELUIndexCoverDirSet(nullptr);
    }

    char folder[32] = "/tmp/veluctl.XXXXXX";
};

void ReaderTry(const Reader &reader, const std::string &path, std::vector<RecordPart> *parts) {
    LogLinesTake();
    RecordPart part;
    const bool read = reader.read(reader.name, path.c_str(), &part);
    part.name = reader.name;
    if (!read)
        part.said.emplace_back("sees nothing that it could use");
    else if (part.columns.empty())
        part.said.emplace_back("reads the file, which has nothing to tell");
    for (std::string &line : LogLinesTake())
        part.said.push_back(std::move(line));
    parts->push_back(std::move(part));
    for (const KeptCover &cover : CoversOf(path)) {
        RecordPart picture = CoverPart(cover);
        picture.name = std::string("cover picture of the ") + reader.name;
        picture.columns.pop_back(); // its path in the folder that goes away
        picture.values.pop_back();
        parts->push_back(std::move(picture));
    }
    CoversClean(path.c_str());
}

} // namespace

ExitCode DumpCommand(const Options &options) {
    const std::string path = RequestPathMake(options.path);
    if (path.empty() || !IsFileExist(path.c_str(), nullptr))
        return Complain(kFound, Quoted(options.path) + " is no file");
    if (access(path.c_str(), R_OK) != 0)
        return Complain(kNoRights, Quoted(path) + ": " + strerror(errno));
    const OwnCovers covers;
    if (*covers.folder == '\0')
        return Complain(kFailed, std::string("no place for cover pictures in /tmp: ") + strerror(errno));
    const unsigned kinds = options.every_reader ? kAllFiles : ReaderKindsOf(VELUIndexExtGet(path.c_str()));
    const bool complete = RuleSetActive() == RuleSet::complete;
    const ReaderSaid said = complete ? ReaderAsk(path) : ReaderSaid();
    FileParts held = CatalogueParts(path, said.report);
    bool any = false;
    std::vector<RecordPart> parts = std::move(held.parts);
    if (complete) {
        std::vector<RecordPart> found = ReaderFactParts(said);
        any = found.size() > 1;
        parts.insert(parts.end(), std::make_move_iterator(found.begin()),
                     std::make_move_iterator(found.end()));
    }
    FileReadersEnd();
    for (const Reader &reader : Readers()) {
        if ((reader.kinds & kinds) == 0)
            continue;
        ReaderTry(reader, path, &parts);
        any = any || !parts.back().columns.empty();
    }
    RecordPrint(parts, options.json, stdout);
    return any ? kDone : kFound;
}
