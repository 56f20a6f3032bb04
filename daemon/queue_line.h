// SPDX-License-Identifier: GPL-2.0-or-later
//
// The line grammar of the indexing queue: a command letter, a colon, an argument. kQueueCommands is the one list of
// the commands, for what carries them out (queue_commands.cpp) and for what writes them (tools/).
#pragma once

#include <span>
#include <string>
#include <string_view>

enum QueueCommand : char {
    kCommandTreeAdd = 'A',
    kCommandTreeRemove = 'D',
    kCommandFileAdd = 'a',
    kCommandFileRemove = 'd',
    kCommandRename = 'N',
    kCommandReindex = 'R',
    kCommandTruncate = 'T',
    kCommandUpdate = 'U'
};

// What stands behind the colon.
enum class QueueArgument {
    path,
    two_paths, // the new one, a colon, the old one
    share,     // a word of kShareWords; any other stands for "all"
    table,     // the name of one, of either catalogue
    library    // a word of kLibraryWords; any other asks for nothing
};

inline constexpr char kMusicWord[] = "music";
inline constexpr char kVideoWord[] = "video";
inline constexpr char kPhotoWord[] = "photo";
inline constexpr char kAllWord[] = "all";
inline constexpr const char *kShareWords[] = {kMusicWord, kVideoWord, kPhotoWord, kAllWord};
inline constexpr const char *kLibraryWords[] = {kPhotoWord};

struct QueueCommandRow {
    QueueCommand command;
    QueueArgument argument;
};

inline constexpr QueueCommandRow kQueueCommands[] = {
    {kCommandTreeAdd, QueueArgument::path},     {kCommandTreeRemove, QueueArgument::path},
    {kCommandFileAdd, QueueArgument::path},     {kCommandFileRemove, QueueArgument::path},
    {kCommandRename, QueueArgument::two_paths}, {kCommandReindex, QueueArgument::share},
    {kCommandTruncate, QueueArgument::table},   {kCommandUpdate, QueueArgument::library},
};

// The row of a letter, or null when it is none.
const QueueCommandRow *QueueCommandFind(char letter);

// One request. The argument is a path, a table or share word; of a rename it is the new path.
struct QueueRequest {
    QueueCommand command = {};
    std::string argument;
    std::string old_path; // of two paths
    // It may have been carried out before, wholly or in part, and the disk may have changed since.
    bool again = false;
};

// Reads a line without its newline. False when it is not well-formed: no colon in the second place, an
// unknown letter, a byte of value 0, a rename without two paths. Two paths are split at colons, empty
// pieces do not count and pieces behind the second are ignored.
[[nodiscard]] bool QueueLineParse(std::string_view line, QueueRequest &request);
