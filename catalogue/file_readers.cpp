// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/file_readers.h"

#include <ctype.h>
#include <errno.h>
#include <string.h>
#include <syslog.h>
#include <time.h>

#include <algorithm>
#include <list>
#include <memory>
#include <new>
#include <span>
#include <utility>

#include "catalogue/companions.h"
#include "catalogue/file_counts.h"
#include "catalogue/file_stamp.h"
#include "catalogue/reader_settings.h"
#include "catalogue/sidecars.h"
#include "catalogue/subtitle_language.h"
#include "catalogue/subtitles.h"
#include "platform/file.h"
#include "platform/letters.h"
#include "platform/module.h"
#include "platform/rule_set.h"
#include "platform/veluindex.h"

namespace {

constexpr char kLogName[] = "file_readers.c";

struct KindWords {
    const char *program; // beside the modules
    const char *files;
    const char *package;
};

// In the order of ReaderKind.
constexpr KindWords kWords[kReaderKinds] = {{"velureader", "Sound and photos", "veluindexd"},
                                            {"velureader-films", "Films", "veluindexd-films"}};

struct HandedOver {
    ReadTicket ticket = 0;
    ReadTicket pool_ticket = 0; // 0: it could not be opened
    std::string path = {};
    int error = 0;
    struct stat status = {};
    time_t looked = 0;
    std::string beside = {};
    std::vector<std::string> companions = {};
    std::vector<std::string> subtitles = {};
    FolderCoverRef folder_cover = {};
    bool beside_unseen = false;
    KnownFile known = {};
};

struct FileReaders {
    ReaderPool pool;
    std::list<HandedOver> files;
    std::string charset; // of their text that does not say so itself
    ReadTicket last_ticket = 0;
    bool running = false; // with what was configured when the run began
    bool told[kReaderKinds] = {};
    KnownFiles known;
    KnownCompanions companions;
    KnownSubtitles subtitles;
    FolderCovers folder_covers;
};

// Made when it is used: not every program has readers, nor every rule set.
std::unique_ptr<FileReaders> readers;

FileTrust trusted = FileTrust::all;

FileReaders *ReadersGet() {
    if (!readers)
        readers = std::make_unique<FileReaders>();
    if (!readers->running) {
        readers->pool.readers_max = ReadersMax();
        readers->pool.bounds = reader_bounds;
        readers->charset = TagCharset();
        for (size_t kind = 0; kind < kReaderKinds; ++kind)
            readers->pool.kinds[kind].program =
                reader_programs[kind] != nullptr ? reader_programs[kind] : ModulePath(kWords[kind].program);
        readers->running = true;
    }
    return readers.get();
}

// Lower case, without the dot; empty: none, or one that no reader knows.
std::string ExtensionOf(const char *path) {
    const char *extension = VELUIndexExtGet(path);
    std::string lower(extension != nullptr ? extension : "");
    if (lower.size() >= kReaderExtensionSize)
        return {};
    std::ranges::transform(lower, lower.begin(), Lower);
    return lower;
}

// What does not begin with it is never opened.
int FileLook(const char *path, struct stat *status) {
    if (stat(path, status) != 0)
        return errno;
    return S_ISREG(status->st_mode) ? 0 : EINVAL;
}

// Opens a file without ever waiting for another program, and looks at what was opened.
FdHandle FileOpen(const char *path, struct stat *status, int *error) {
    FdHandle file = OpenForReading(path);
    if (!file || fstat(file.get(), status) != 0)
        *error = errno;
    else if (!S_ISREG(status->st_mode))
        *error = EINVAL;
    return *error == 0 ? std::move(file) : FdHandle();
}

// Looks at what lies beside a file and gives values to it: where that changes, the file counts as changed.
void BesideLook(FileReaders *of, const ReaderUse &use, bool ahead, HandedOver *entry, FileToRead *file) {
    if (use.companions && RuleSetActive() == RuleSet::complete) {
        entry->companions = CompanionsOf(&of->companions, entry->path, ahead, &entry->beside_unseen);
        entry->beside += FileStampCompanions(entry->companions);
    }
    if (use.sidecars && (!ahead || MayHaveSidecars(&of->companions, entry->path))) {
        file->companions = SidecarsOpen(entry->path, &entry->beside_unseen);
        for (const FdHandle &sidecar : file->companions)
            entry->beside += FileStampBeside(sidecar);
    }
    if (use.subtitles && RuleSetActive() == RuleSet::complete) {
        entry->subtitles = SubtitlesOf(entry->path, ahead ? &of->subtitles : nullptr, &entry->beside_unseen);
        entry->beside += FileStampBeside(entry->subtitles);
    }
    if (use.folder_cover && RuleSetActive() == RuleSet::complete)
        entry->folder_cover = FolderCoverOf(&of->folder_covers, entry->path, ahead);
    entry->beside_unseen =
        entry->beside_unseen || (entry->folder_cover != nullptr && entry->folder_cover->unseen);
}

bool IsToBeRead(const HandedOver &entry) {
    return entry.error == 0 && !entry.known.unchanged && !entry.known.neighbours &&
           entry.known.trouble.empty();
}

// What the catalogue knows of a file that has been looked at. A tool asks for what there is. The pictures of its directory count
// for a file that has none in itself, which its stamp says.
KnownFile KnownOf(FileReaders *of, const HandedOver &entry, const ReaderUse &use, bool ahead) {
    if (entry.error != 0 || RuleSetActive() != RuleSet::complete || trusted == FileTrust::nothing)
        return {};
    const std::string stamp = FileStampOf(entry.status) + entry.beside;
    const std::string cover = entry.folder_cover != nullptr ? entry.folder_cover->stamp : std::string();
    const std::string stamps[] = {stamp + kStampOwnCover, stamp + cover};
    const std::span<const std::string> likely = std::span(stamps).subspan(use.folder_cover ? 0 : 1);
    KnownFile known = FileKnown(&of->known, entry.path, likely, ahead);
    // Of other neighbours than names alone, covers are stored and sidecars read together with their file.
    const auto covers = [&](const std::string &now) {
        return FileStampCover(now) == FileStampCover(known.stamp);
    };
    known.neighbours = known.neighbours && !entry.beside_unseen && std::ranges::any_of(likely, covers);
    const bool doubted = trusted == FileTrust::all_but_covers && (known.unchanged || known.neighbours);
    return doubted && FileHasCover(entry.path.c_str()) != 0 ? KnownFile() : known;
}

void MissingTell(FileReaders *of, const ReadResult &read) {
    const auto kind = static_cast<size_t>(read.kind);
    if (read.end != ReadEnd::no_reader || of->told[kind])
        return;
    of->told[kind] = true;
    if (access(of->pool.kinds[kind].program.c_str(), F_OK) != 0)
        syslog(LOG_ERR, "%s (%d) %s cannot be read: %s. The package %s brings their reader.", kLogName,
               __LINE__, kWords[kind].files, read.reason.c_str(), kWords[kind].package);
    else // which another package would not change
        syslog(LOG_ERR, "%s (%d) %s cannot be read: %s.", kLogName, __LINE__, kWords[kind].files,
               read.reason.c_str());
}

// `ahead`: others of its directory will follow.
ReadTicket HandOver(FileReaders *of, const char *path, const ReaderUse &use, bool ahead) {
    std::list<HandedOver> handed;
    HandedOver &entry = handed.emplace_back();
    entry.ticket = ++of->last_ticket;
    entry.path = path;
    entry.looked = time(nullptr);
    entry.error = FileLook(path, &entry.status);
    FileToRead file;
    if (entry.error == 0)
        BesideLook(of, use, ahead, &entry, &file);
    entry.known = KnownOf(of, entry, use, ahead);
    if (ahead && entry.known.unchanged) {
        ++FilesCounted()->unchanged;
        return kUnchangedTicket;
    }
    if (IsToBeRead(entry))
        file.file = FileOpen(path, &entry.status, &entry.error);
    if (IsToBeRead(entry)) {
        file.size = entry.status.st_size;
        file.kind = use.first;
        file.extension = ExtensionOf(path);
        file.charset = of->charset;
        file.wants_picture = true;
        entry.pool_ticket = ReaderPoolHandOver(&of->pool, std::move(file));
    }
    of->files.splice(of->files.end(), handed);
    return of->last_ticket;
}

} // namespace

const char *reader_programs[kReaderKinds] = {};
ReaderBounds reader_bounds;

ReadTicket FileHandOver(const char *path, const ReaderUse &use) {
    return HandOver(ReadersGet(), path, use, true);
}

void FileGiveUp(ReadTicket ticket) {
    if (!readers)
        return;
    const auto file = std::ranges::find(readers->files, ticket, &HandedOver::ticket);
    if (file == readers->files.end())
        return;
    ReaderPoolForget(&readers->pool, file->pool_ticket);
    readers->files.erase(file);
}

bool FileIsRead(ReadTicket ticket) {
    const auto file = std::ranges::find(readers->files, ticket, &HandedOver::ticket);
    return file == readers->files.end() || file->pool_ticket == 0 ||
           ReaderPoolIsRead(readers->pool, file->pool_ticket);
}

bool FilesAheadFull() {
    return readers->files.size() >= kReaderAheadFiles || ReaderPoolBytes(readers->pool) >= kReaderAheadBytes;
}

void FileReadersServe(bool wait) {
    try {
        ReaderPoolServe(&readers->pool, wait);
    } catch (const std::bad_alloc &) {
        readers->files.clear();
        throw;
    }
    if (wait)
        VELUIndexRunPause();
}

FileReport FileReadTake(const char *path, const ReaderUse &use) {
    FileReaders *of = ReadersGet();
    if (std::ranges::find(of->files, path, &HandedOver::path) == of->files.end())
        HandOver(of, path, use, false);
    const auto file = std::ranges::find(of->files, path, &HandedOver::path);
    while (!FileIsRead(file->ticket))
        FileReadersServe(true);
    FileReport report = {file->error,
                         file->status,
                         file->looked,
                         std::move(file->beside),
                         std::move(file->companions),
                         file->known.unchanged ? std::vector<std::string>()
                                               : SubtitleLanguages(path, file->subtitles),
                         std::move(file->subtitles),
                         std::move(file->folder_cover),
                         file->beside_unseen,
                         std::move(file->known),
                         {}};
    if (file->pool_ticket != 0)
        report.read = ReaderPoolTake(&of->pool, file->pool_ticket);
    of->files.erase(file);
    MissingTell(of, report.read);
    return report;
}

bool FileMayBeKnown(const char *path) {
    return FileMayHaveRow(&ReadersGet()->known, path);
}

std::vector<std::string> FileCompanions(const char *path) {
    bool unseen = false;
    return CompanionsOf(&ReadersGet()->companions, path, false, &unseen);
}

FileTrustScope::FileTrustScope(FileTrust trust) {
    trusted = trust;
}

FileTrustScope::~FileTrustScope() {
    trusted = FileTrust::all;
}

void FilesKnownForget() {
    if (!readers)
        return;
    readers->known = {};
    readers->companions = {};
    readers->subtitles = {};
    readers->folder_covers = {};
}

void FileReadersEnd() {
    if (!readers)
        return;
    ReaderPoolEnd(&readers->pool);
    readers->files.clear();
    readers->running = false;
    FilesKnownForget();
    std::ranges::fill(readers->told, false);
}

void FileReadersReap() {
    if (readers)
        ReaderPoolReap(&readers->pool);
}
