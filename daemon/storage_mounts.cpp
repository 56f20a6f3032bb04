// SPDX-License-Identifier: GPL-2.0-or-later
#include "daemon/storage_mounts.h"

#include <fcntl.h>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <utility>

#include "platform/file.h"
#include "platform/limits.h"
#include "platform/path.h"

namespace {

constexpr mode_t kRememberedMode = 0644;

// One line of the remembered mounts.
struct Remembered {
    std::string mount;
    std::string tree;
    // In the tree, which led to the mount. None: the mount itself is in line with the tree.
    std::string link = {};
    auto operator<=>(const Remembered &) const = default;
};

std::string FileText(const char *path) {
    std::string text;
    const FdHandle file = OpenForReading(path);
    char bytes[4096];
    for (ssize_t got = 1; file && got > 0 && text.size() < kMountTableMax;) {
        got = FileReadSome(file, bytes, sizeof bytes);
        text.append(bytes, got > 0 ? static_cast<size_t>(got) : 0);
    }
    return text;
}

bool IsOctal(char digit) {
    return digit >= '0' && digit <= '7';
}

// Takes the text up to a separator off the front of `text`.
std::string_view TakeUntil(std::string_view *text, std::string_view separators) {
    const std::string_view part = text->substr(0, text->find_first_of(separators));
    text->remove_prefix(std::min(part.size() + 1, text->size()));
    return part;
}

// The next word of a line with its escapes (a backslash and three octal digits) undone; empty behind the last.
std::string TakeWord(std::string_view *line) {
    line->remove_prefix(std::min(line->find_first_not_of(" \t"), line->size()));
    const std::string_view word = TakeUntil(line, " \t");
    std::string text;
    for (size_t at = 0; at < word.size(); ++at) {
        const bool escape =
            word[at] == '\\' && word.size() - at > 3 && std::all_of(&word[at] + 1, &word[at] + 4, IsOctal);
        text += escape ? static_cast<char>((word[at + 1] - '0') * 64 + (word[at + 2] - '0') * 8 +
                                           (word[at + 3] - '0'))
                       : word[at];
        at += escape ? 3 : 0;
    }
    return text;
}

std::string Escaped(const std::string &text) {
    std::string escaped;
    for (const char byte : text) {
        char octal[5] = {byte, '\0'};
        if (std::string_view(" \t\n\\").find(byte) != std::string_view::npos)
            snprintf(octal, sizeof octal, "\\%03o", static_cast<unsigned>(static_cast<uint8_t>(byte)));
        escaped += octal;
    }
    return escaped;
}

// Calls `each` with the words of each line.
template <typename Each>
void LinesRead(const char *path, Each each) {
    const std::string text = FileText(path);
    std::string_view rest = text;
    while (!rest.empty()) {
        std::string_view line = TakeUntil(&rest, "\n");
        std::vector<std::string> words;
        for (std::string word = TakeWord(&line); !word.empty(); word = TakeWord(&line))
            words.push_back(word);
        if (!words.empty() && words[0][0] != '#')
            each(words);
    }
}

// Adds what is to be mounted, unless it is: a server that does not answer is better not looked at.
void WantedAdd(StorageMounts *mounts, const std::string &place) {
    const auto is_mounted = [&](const std::string &path) {
        return std::ranges::find(mounts->mounted, path) != mounts->mounted.end();
    };
    if (place[0] != '/' || is_mounted(place))
        return;
    if (const std::string path = StoragePathOf(place); path.size() > 1 && !is_mounted(path))
        mounts->wanted.push_back(path);
}

// Of fstab: device, mount point, type and options.
void TableRead(StorageMounts *mounts) {
    LinesRead(storage_files.table, [&](const std::vector<std::string> &words) {
        if (words.size() > 2 && words[2] != "swap")
            WantedAdd(mounts, words[1]);
    });
}

// Of mountinfo: five words of which the last is the mount point, more words, "-" and the type.
void NowRead(StorageMounts *mounts) {
    constexpr size_t kMountPoint = 4;
    LinesRead(storage_files.now, [&](const std::vector<std::string> &words) {
        const auto dash = std::find(words.begin(), words.end(), "-");
        if (words.size() <= kMountPoint || words.end() - dash < 2)
            return;
        std::vector<std::string> *found = dash[1] == "autofs" ? &mounts->wanted : &mounts->mounted;
        found->push_back(words[kMountPoint]);
    });
}

std::vector<Remembered> RememberedRead() {
    std::vector<Remembered> all;
    LinesRead(storage_files.remembered, [&](const std::vector<std::string> &words) {
        if (words.size() == 2 || words.size() == 3)
            all.push_back({words[0], words[1], words.size() == 3 ? words[2] : std::string()});
    });
    return all;
}

// Puts the lines in the place of the file, whole or not at all.
bool RememberedWrite(const std::vector<Remembered> &all) {
    const std::string path = storage_files.remembered;
    const std::string folder = path.substr(0, path.rfind('/'));
    const std::string made = path + ".new";
    std::string text;
    for (const Remembered &one : all)
        text += Escaped(one.mount) + ' ' + Escaped(one.tree) +
                (one.link.empty() ? "" : ' ' + Escaped(one.link)) + '\n';
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const FdHandle file(
        open(made.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NOFOLLOW, kRememberedMode));
    const FdHandle directory = OpenForReading(folder.c_str(), O_DIRECTORY);
    return file && directory && FileWriteAt(file, 0, text) && fsync(file.get()) == 0 &&
           rename(made.c_str(), path.c_str()) == 0 && fsync(directory.get()) == 0;
}

// Replaces the file when `all` is another than what it has.
bool RememberedChange(const std::vector<Remembered> &before, std::vector<Remembered> all) {
    std::sort(all.begin(), all.end());
    all.erase(std::unique(all.begin(), all.end()), all.end());
    return all == before || RememberedWrite(all);
}

bool AreInLine(const std::string &one, const std::string &other) {
    return PathIsAtOrUnder(one, other) || PathIsUnder(other, one);
}

// True when what is remembered is in line with a path.
bool IsAbout(const Remembered &one, const std::string &path) {
    return one.link.empty() ? AreInLine(one.mount, StoragePathOf(path)) : AreInLine(one.link, path);
}

// The innermost mount that a path lies in; empty for that of the root.
std::string MountOf(const StorageMounts &mounts, const std::string &path) {
    std::string found;
    for (const std::string &mounted : mounts.mounted) {
        if (mounted.size() > std::max<size_t>(found.size(), 1) && PathIsAtOrUnder(path, mounted))
            found = mounted;
    }
    return found;
}

} // namespace

StorageFiles storage_files;

std::string StoragePathOf(const std::string &path) {
    std::error_code error;
    std::string found = std::filesystem::weakly_canonical(path, error).native();
    if (error)
        found = path;
    return std::string(PathOfDirectory(found));
}

StorageMounts StorageMountsRead() {
    StorageMounts mounts;
    NowRead(&mounts);
    TableRead(&mounts);
    const std::vector<Remembered> remembered = RememberedRead();
    for (const Remembered &one : remembered)
        WantedAdd(&mounts, one.mount);
    std::erase_if(mounts.wanted, [&](const std::string &wanted) {
        return std::ranges::find(mounts.mounted, wanted) != mounts.mounted.end();
    });
    std::sort(mounts.wanted.begin(), mounts.wanted.end());
    mounts.wanted.erase(std::unique(mounts.wanted.begin(), mounts.wanted.end()), mounts.wanted.end());
    for (const Remembered &one : remembered) {
        if (!one.link.empty() && std::ranges::binary_search(mounts.wanted, one.mount))
            mounts.linked.push_back({one.mount, one.tree, one.link});
    }
    return mounts;
}

bool StorageIsMounted(const std::string &path) {
    StorageMounts mounts;
    NowRead(&mounts);
    return std::ranges::find(mounts.mounted, StoragePathOf(path)) != mounts.mounted.end();
}

std::vector<std::string> StorageAbove(const StorageMounts &mounts, const std::string &path) {
    const std::string place = StoragePathOf(path);
    std::vector<std::string> above;
    for (const std::string &wanted : mounts.wanted) {
        const bool between = std::ranges::any_of(mounts.mounted, [&](const std::string &mounted) {
            return PathIsAtOrUnder(place, mounted) && PathIsUnder(mounted, wanted);
        });
        if (PathIsAtOrUnder(place, wanted) && !between)
            above.push_back(wanted);
    }
    return above;
}

bool StorageRemember(const std::string &tree, const std::vector<std::string> &kept,
                     const std::vector<std::string> &links) {
    const std::vector<Remembered> before = RememberedRead();
    const std::string place = StoragePathOf(tree);
    std::vector<Remembered> all;
    for (const Remembered &one : before) {
        const bool stays = one.tree != tree || std::ranges::any_of(kept, [&](const std::string &path) {
                               return IsAbout(one, path);
                           });
        if (stays)
            all.push_back(one);
    }
    const StorageMounts now = StorageMountsRead();
    for (const std::string &mounted : now.mounted) {
        if (mounted.size() > 1 && AreInLine(mounted, place))
            all.push_back({mounted, tree});
    }
    for (const std::string &link : links) {
        if (const std::string mount = MountOf(now, StoragePathOf(link));
            !mount.empty() && !PathIsAtOrUnder(place, mount))
            all.push_back({mount, tree, link});
    }
    return RememberedChange(before, std::move(all));
}

bool StorageForget(const std::string &path) {
    const std::vector<Remembered> before = RememberedRead();
    std::vector<Remembered> all;
    for (const Remembered &one : before) {
        const bool at_mount = PathIsAtOrUnder(one.mount, StoragePathOf(path));
        if (!at_mount && (one.link.empty() || !PathIsAtOrUnder(one.link, path)))
            all.push_back(one);
    }
    return RememberedChange(before, std::move(all));
}
