// SPDX-License-Identifier: GPL-2.0-or-later
#include "platform/db/sqlite_spill.h"

#include <sqlite3.h>

#include <algorithm>

namespace {

constexpr int kPiece = 64 << 10;

sqlite3_vfs *plain_files = nullptr;                // SQLite's own
const sqlite3_io_methods *plain_methods = nullptr; // of the files that are written in pieces
sqlite3_io_methods methods_in_pieces;

int WriteInPieces(sqlite3_file *file, const void *bytes, int size, sqlite3_int64 offset) {
    const char *from = static_cast<const char *>(bytes);
    for (int done = 0; done < size;) {
        const int piece = std::min(kPiece, size - done);
        if (const int result = plain_methods->xWrite(file, from + done, piece, offset + done);
            result != SQLITE_OK)
            return result;
        done += piece;
    }
    return SQLITE_OK;
}

int FileOpen(sqlite3_vfs *, const char *name, sqlite3_file *file, int flags, int *opened) {
    const int result = plain_files->xOpen(plain_files, name, file, flags, opened);
    if (result != SQLITE_OK || (flags & SQLITE_OPEN_SUBJOURNAL) == 0)
        return result;
    if (plain_methods == nullptr) {
        plain_methods = file->pMethods;
        methods_in_pieces = *plain_methods;
        methods_in_pieces.xWrite = WriteInPieces;
    }
    if (file->pMethods == plain_methods)
        file->pMethods = &methods_in_pieces;
    return result;
}

} // namespace

int SqliteSpillSetUp(int bytes) {
    static sqlite3_vfs files;
    if (plain_files != nullptr)
        return 0;
    if (sqlite3_config(SQLITE_CONFIG_STMTJRNL_SPILL, bytes) != SQLITE_OK)
        return -1;
    plain_files = sqlite3_vfs_find(nullptr);
    if (plain_files == nullptr)
        return -1;
    files = *plain_files;
    files.zName = "velu";
    files.xOpen = FileOpen;
    return sqlite3_vfs_register(&files, 1) == SQLITE_OK ? 0 : -1;
}
