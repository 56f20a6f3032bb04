// SPDX-License-Identifier: GPL-2.0-or-later
#include "photo/hand_over_spool.h"

#include <errno.h>
#include <string.h>
#include <sys/stat.h>
#include <syslog.h>

#include <algorithm>
#include <map>
#include <utility>

#include "photo/hand_over_file.h"
#include "photo/hand_over_line.h"
#include "platform/path.h"

namespace {

constexpr char kLogName[] = "hand_over_spool.c";

using Key = std::pair<std::string, std::string>; // path and attribute

struct Entry {
    std::string text;
    off_t begin; // of its line
    off_t end;
};

struct Spool {
    enum class File { unknown, none, there } file = File::unknown;
    bool again = false;
    bool read = false;   // or tried to
    bool failed = false; // then; the rest is what the file has
    std::map<Key, Entry> entries;
    std::vector<off_t> done; // lines that are wanted by their sign only
};

Spool spool;

void Failed(const char *what, int line = __builtin_LINE()) {
    syslog(LOG_ERR, "%s (%d) Failed to %s %s. (%s)", kLogName, line, what, kHandOverSpool, strerror(errno));
}

bool IsThere() {
    if (spool.file == Spool::File::unknown)
        spool.file = HandOverFileThere() ? Spool::File::there : Spool::File::none;
    return spool.file == Spool::File::there;
}

void Forget() {
    spool.read = false;
    spool.entries.clear();
    spool.done.clear();
}

// The last text of an attribute is the one that counts.
void Put(Key key, Entry entry) {
    const auto [found, is_new] = spool.entries.try_emplace(std::move(key), entry);
    if (is_new)
        return;
    spool.done.push_back(found->second.begin);
    found->second = std::move(entry);
}

// Has the entries in memory, for the rest of the run.
void Read() {
    if (spool.read)
        return;
    std::vector<HandOverPlace> places;
    size_t damaged = 0;
    const bool is_read = HandOverFileRead(&places, &damaged);
    spool.failed = !is_read && errno != ENOENT;
    if (spool.failed)
        Failed("read");
    if (damaged > 0)
        syslog(LOG_ERR, "%s (%d) %s is damaged: %zu of its lines are lost.", kLogName, __LINE__,
               kHandOverSpool, damaged);
    for (HandOverPlace &place : places)
        Put({std::move(place.given.path), std::move(place.given.attribute)},
            {std::move(place.given.text), place.begin, place.end});
    spool.read = true;
}

// What is at a path or under it is the path itself and a range, with others between the two.
std::vector<Key> KeysAtOrUnder(const std::string &path) {
    std::vector<Key> keys;
    const std::string behind = RangeUnder(path).high;
    for (auto entry = spool.entries.lower_bound({path, {}});
         entry != spool.entries.end() && entry->first.first < behind; ++entry)
        if (PathIsAtOrUnder(entry->first.first, path))
            keys.push_back(entry->first);
    return keys;
}

bool IsStillThere(const std::string &path) {
    struct stat status;
    return lstat(path.c_str(), &status) == 0;
}

// What has a place of its own now takes nothing over from what was there.
void Displace(const std::string &path) {
    for (auto entry = spool.entries.lower_bound({path, {}});
         entry != spool.entries.end() && entry->first.first == path;) {
        spool.done.push_back(entry->second.begin);
        entry = spool.entries.erase(entry);
    }
}

// Gives entries their new keys. A file that cannot follow leaves them at their old paths for the next run only.
void Move(const std::vector<std::pair<Key, Key>> &moves) {
    std::string lines;
    std::vector<size_t> ends;
    for (const auto &[from, to] : moves) {
        lines += HandOverLineOf({to.first, to.second, spool.entries.at(from).text});
        ends.push_back(lines.size());
    }
    off_t begin = 0;
    const bool written = HandOverFileAppend(lines, &begin);
    if (!written)
        Failed("write");
    std::vector<std::pair<Key, Entry>> moved;
    for (size_t i = 0; i < moves.size(); ++i) {
        const auto found = spool.entries.find(moves[i].first);
        Entry entry = std::move(found->second);
        spool.entries.erase(found);
        if (written) {
            spool.done.push_back(entry.begin);
            entry.begin = begin + static_cast<off_t>(i > 0 ? ends[i - 1] : 0);
            entry.end = begin + static_cast<off_t>(ends[i]);
        }
        moved.emplace_back(moves[i].second, std::move(entry));
    }
    for (const auto &entry : moved)
        Displace(entry.first.first);
    for (auto &[key, entry] : moved)
        Put(std::move(key), std::move(entry));
}

void Remove() {
    if (HandOverFileRemove())
        spool.file = Spool::File::none;
    else
        Failed("remove");
}

} // namespace

bool HandOverSpoolAdd(const char *path, const char *attribute, const char *text) {
    const std::string line = HandOverLineOf({path, attribute, text});
    off_t begin = 0;
    if (!HandOverFileAppend(line, &begin)) {
        spool.file = Spool::File::unknown;
        return false;
    }
    spool.file = Spool::File::there;
    if (spool.read)
        Put({path, attribute}, {text, begin, begin + static_cast<off_t>(line.size())});
    return true;
}

void HandOverSpoolAgain(bool again) {
    spool.again = again;
}

const std::string *HandOverSpoolFind(const char *path, const char *attribute) {
    if (!spool.again || !IsThere())
        return nullptr;
    Read();
    const auto found = spool.entries.find({path, attribute});
    return found != spool.entries.end() ? &found->second.text : nullptr;
}

void HandOverSpoolRename(const char *new_path, const char *old_path) {
    if (!IsThere())
        return;
    Read();
    const std::string to = new_path;
    const size_t length = strlen(old_path);
    std::vector<std::pair<Key, Key>> moves;
    for (Key &key : KeysAtOrUnder(old_path)) {
        if (spool.again && IsStillThere(key.first))
            continue;
        Key moved(to + key.first.substr(length), key.second);
        moves.emplace_back(std::move(key), std::move(moved));
    }
    if (!moves.empty() && to != old_path)
        Move(moves);
}

std::vector<std::string> HandOverSpoolPaths(const char *path) {
    std::vector<std::string> paths;
    if (!spool.again || !IsThere())
        return paths;
    Read();
    for (Key &key : KeysAtOrUnder(path))
        if (paths.empty() || paths.back() != key.first)
            paths.push_back(std::move(key.first));
    return paths;
}

void HandOverSpoolSettle(const std::function<bool(const std::string &path)> &keep) {
    if (!IsThere())
        return;
    if (keep == nullptr) {
        Forget();
        Remove();
        return;
    }
    Read();
    if (spool.failed) {
        Forget();
        return;
    }
    off_t end = 0;
    bool one_goes = !spool.done.empty();
    for (const auto &[key, entry] : spool.entries) {
        if (keep(key.first)) {
            end = std::max(end, entry.end);
        } else {
            spool.done.push_back(entry.begin);
            one_goes = true;
        }
    }
    if (end == 0)
        Remove();
    else if (one_goes && !HandOverFileDone(spool.done, end))
        Failed("write");
    Forget();
}
