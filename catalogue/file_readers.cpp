// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/file_readers.h"

#include <ctype.h>
#include <errno.h>
#include <stdlib.h>
#include <string.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <list>
#include <memory>
#include <new>

#include "platform/configuration.h"
#include "platform/file.h"
#include "platform/module.h"
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
};

struct FileReaders {
    ReaderPool pool;
    std::list<HandedOver> files;
    ReadTicket last_ticket = 0;
    bool running = false; // with what was configured when the run began
    bool told[kReaderKinds] = {};
};

// Made when it is used: not every program has readers, nor every rule set.
std::unique_ptr<FileReaders> readers;

int ReadersMax() {
    const int processors =
        static_cast<int>(std::clamp(sysconf(_SC_NPROCESSORS_ONLN), 1L, static_cast<long>(kReadersMax)));
    char value[32];
    ConfigurationGet(ConfigurationKeyOf("readers"), value, sizeof value);
    if (strcmp(value, kCountAuto) == 0)
        return processors;
    char *end = nullptr;
    const long number = strtol(value, &end, 10);
    if (*end == '\0' && isdigit(static_cast<unsigned char>(*value)) && number >= 1)
        return static_cast<int>(std::min(number, static_cast<long>(kReadersMax)));
    syslog(LOG_ERR, "%s (%d) readers=\"%s\" is no number from 1 to %d: %s holds.", kLogName, __LINE__, value,
           kReadersMax, kCountAuto);
    return processors;
}

FileReaders *ReadersGet() {
    if (!readers)
        readers = std::make_unique<FileReaders>();
    if (!readers->running) {
        readers->pool.readers_max = ReadersMax();
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
    std::ranges::transform(lower, lower.begin(), [](char byte) {
        return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
    });
    return lower;
}

// Opens a file without ever waiting for another program, and looks at what was opened.
FdHandle FileOpen(const char *path, struct stat *status, int *error) {
    FdHandle file;
    if (stat(path, status) != 0) {
        *error = errno;
    } else if (!S_ISREG(status->st_mode)) {
        *error = EINVAL;
    } else if (file = OpenForReading(path); !file || fstat(file.get(), status) != 0) {
        *error = errno;
    } else if (!S_ISREG(status->st_mode)) {
        *error = EINVAL;
    }
    return *error == 0 ? std::move(file) : FdHandle();
}

void MissingTell(FileReaders *of, const ReadResult &read) {
    const auto kind = static_cast<size_t>(read.kind);
    if (read.end != ReadEnd::no_reader || of->told[kind])
        return;
    of->told[kind] = true;
    syslog(LOG_ERR, "%s (%d) %s cannot be read: %s. The package %s brings their reader.", kLogName, __LINE__,
           kWords[kind].files, read.reason.c_str(), kWords[kind].package);
}

} // namespace

const char *reader_programs[kReaderKinds] = {};

ReadTicket FileHandOver(const char *path, ReaderKind kind) {
    FileReaders *of = ReadersGet();
    std::list<HandedOver> handed;
    HandedOver &entry = handed.emplace_back();
    entry.ticket = ++of->last_ticket;
    entry.path = path;
    FileToRead file;
    file.file = FileOpen(path, &entry.status, &entry.error);
    file.size = entry.status.st_size;
    file.kind = kind;
    file.extension = ExtensionOf(path);
    file.wants_picture = true;
    if (entry.error == 0)
        entry.pool_ticket = ReaderPoolHandOver(&of->pool, std::move(file));
    of->files.splice(of->files.end(), handed);
    return of->last_ticket;
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

FileReport FileReadTake(const char *path, ReaderKind kind) {
    FileReaders *of = ReadersGet();
    if (std::ranges::find(of->files, path, &HandedOver::path) == of->files.end())
        FileHandOver(path, kind);
    const auto file = std::ranges::find(of->files, path, &HandedOver::path);
    while (!FileIsRead(file->ticket))
        FileReadersServe(true);
    FileReport report = {file->error, file->status, {}};
    if (file->pool_ticket != 0)
        report.read = ReaderPoolTake(&of->pool, file->pool_ticket);
    of->files.erase(file);
    MissingTell(of, report.read);
    return report;
}

void FileReadersEnd() {
    if (!readers)
        return;
    ReaderPoolEnd(&readers->pool);
    readers->files.clear();
    readers->running = false;
    std::ranges::fill(readers->told, false);
}
