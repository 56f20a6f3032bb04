// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/file_stamp.h"

#include <inttypes.h>
#include <stdio.h>
#include <stdlib.h>

#include <charconv>

#include "catalogue/bounds.h"
#include "platform/hash.h"
#include "reader/protocol/message.h"

namespace {

constexpr char kNoNumber[] = "-";
// No word behind has letters like these: the store finds stamps by them.
constexpr char kTitleFromName = 'T';
constexpr char kAlbumFromName = 'A';
constexpr char kCoverMark = 'c';
constexpr char kSubtitlesMark = 's';
constexpr char kCompanionsMark = 'm';

// Stamps of when subtitles gave no languages do not hold; the facts of their films then follow, which are not opened for that.
constexpr char kWithLanguages[] = "languages";

// A walk makes a stamp of each file that it meets.
template <typename Number>
void NumberPut(std::string *text, Number number) {
    char digits[24];
    const auto end = std::to_chars(digits, digits + sizeof digits, number);
    text->append(digits, end.ptr);
}

void TimePut(std::string *text, const timespec &time) {
    constexpr long kSecond = 1'000'000'000;
    NumberPut(text, static_cast<long long>(time.tv_sec));
    const size_t dot = text->size();
    NumberPut(text, kSecond + static_cast<long>(time.tv_nsec)); // with the zeros in front
    (*text)[dot] = '.';
}

// The part of a stamp that says how old the contents are.
void AgePut(std::string *text, const struct stat &status) {
    NumberPut(text, static_cast<long long>(status.st_size));
    text->push_back(' ');
    TimePut(text, status.st_mtim);
    text->push_back(' ');
}

// Of a clock that may be another one's, and a little ahead.
bool IsRecent(time_t changed, time_t looked) {
    return llabs(static_cast<long long>(looked) - changed) < kStampSeconds;
}

// A word for what lies beside a file, of that length with a blank in front; none for nothing.
constexpr size_t kBesideWord = 2 + 16;
std::string BesideOf(char mark, const std::string &all) {
    char text[32] = "";
    if (!all.empty())
        snprintf(text, sizeof text, " %c%016" PRIx64, mark, HashText(all));
    return text;
}

std::string NamesBeside(char mark, const std::vector<std::string> &paths) {
    std::string all;
    for (const std::string &path : paths)
        all.append(path.c_str(), path.size() + 1);
    return BesideOf(mark, all);
}

// The revision that a stamp says, or -1.
int64_t RevisionOf(const FileStampWords &words) {
    int64_t revision = -1;
    if (words.reading.starts_with('r'))
        std::from_chars(words.reading.data() + 1, words.reading.data() + words.reading.size(), revision);
    return revision;
}

// Takes the next word, and the blank behind it.
std::string_view WordTake(std::string_view *text) {
    const size_t end = std::min(text->find(' '), text->size());
    const std::string_view word = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    return word;
}

} // namespace

std::string FileStampOf(const struct stat &status) {
    std::string stamp;
    stamp.reserve(128);
    AgePut(&stamp, status);
    TimePut(&stamp, status.st_ctim);
    stamp.push_back(' ');
    NumberPut(&stamp, static_cast<uint64_t>(status.st_ino));
    stamp.append(" r");
    NumberPut(&stamp, kReaderRevision);
    return stamp;
}

std::string FileStampWithoutNumber(std::string_view stamp) {
    const FileStampWords words = FileStampWordsOf(stamp);
    std::string without(stamp);
    if (!words.number.empty())
        without.replace(static_cast<size_t>(words.number.data() - stamp.data()), words.number.size(),
                        kNoNumber);
    return without;
}

bool FileStampCountsNumber(std::string_view stamp) {
    return FileStampWordsOf(stamp).number != kNoNumber;
}

std::string FileStampNamed(const FromName &from_name) {
    std::string text;
    if (from_name.title)
        text += kTitleFromName;
    if (from_name.album)
        text += kAlbumFromName;
    return text;
}

FromName FromNameOf(std::string_view stamp) {
    const std::string_view reading = FileStampWordsOf(stamp).reading;
    return {reading.find(kTitleFromName) != std::string_view::npos,
            reading.find(kAlbumFromName) != std::string_view::npos};
}

std::string FileStampBeside(const FdHandle &file) {
    struct stat status;
    std::string text = " +";
    if (fstat(file.get(), &status) == 0)
        AgePut(&text, status);
    return text;
}

std::string FileStampBeside(const std::vector<std::string> &paths) {
    std::vector<std::string> known = paths;
    if (!known.empty())
        known.emplace_back(kWithLanguages);
    return NamesBeside(kSubtitlesMark, known);
}

std::string FileStampCompanions(const std::vector<std::string> &paths) {
    return NamesBeside(kCompanionsMark, paths);
}

std::string FileStampBeside(const std::vector<PictureBeside> &pictures) {
    std::string all;
    for (const PictureBeside &picture : pictures) {
        all += picture.path.substr(picture.path.rfind('/') + 1) + '/';
        AgePut(&all, picture.status);
    }
    return BesideOf(kCoverMark, all);
}

bool FileIsRecent(const struct stat &status, time_t looked) {
    return IsRecent(status.st_mtim.tv_sec, looked) || IsRecent(status.st_ctim.tv_sec, looked);
}

std::string FileStampOfRead(const char *path, const struct stat &status, time_t looked, bool *changed) {
    struct stat now;
    const std::string stamp = FileStampOf(status);
    const bool there = stat(path, &now) == 0;
    const bool holds = there && FileStampWithoutNumber(FileStampOf(now)) == FileStampWithoutNumber(stamp);
    if (changed != nullptr)
        *changed = !holds;
    if (!holds || FileIsRecent(status, looked))
        return {};
    return now.st_ino == status.st_ino ? stamp : FileStampWithoutNumber(stamp);
}

FileStampWords FileStampWordsOf(std::string_view stamp) {
    FileStampWords words;
    std::string_view rest = stamp;
    WordTake(&rest);
    WordTake(&rest);
    words.age = stamp.substr(0, stamp.size() - rest.size());
    words.changed = WordTake(&rest);
    words.number = WordTake(&rest);
    const std::string_view behind = rest;
    words.reading = WordTake(&rest);
    words.beside = behind.substr(words.reading.size());
    return words;
}

bool FileStampHasCompanions(std::string_view stamp, const std::vector<std::string> &paths) {
    const std::string_view names = FileStampNames(stamp);
    const bool says = names.size() > 1 && names[1] == kCompanionsMark;
    return names.substr(0, says ? kBesideWord : 0) == FileStampCompanions(paths);
}

std::string_view FileStampNames(std::string_view stamp) {
    const std::string_view beside = FileStampWordsOf(stamp).beside;
    size_t end = 0;
    for (const char mark : {kCompanionsMark, kSubtitlesMark}) {
        if (beside.size() - end >= kBesideWord && beside[end + 1] == mark)
            end += kBesideWord;
    }
    return beside.substr(0, end);
}

std::string_view FileStampCover(std::string_view stamp) {
    return FileStampWordsOf(stamp).beside.substr(FileStampNames(stamp).size());
}

bool FileStampIsFolderCover(std::string_view cover) {
    return cover.size() > 1 && cover[1] == kCoverMark;
}

std::string FileStampLook(std::string_view stamp) {
    const FileStampWords words = FileStampWordsOf(stamp);
    const int64_t revision = RevisionOf(words);
    if (revision < 0 || revision > kReaderRevision)
        return {};
    std::string look(stamp.substr(0, static_cast<size_t>(words.reading.data() - stamp.data())));
    return look.append(words.beside);
}

bool FileStampIsOlder(std::string_view stamp) {
    const int64_t revision = RevisionOf(FileStampWordsOf(stamp));
    return revision >= 0 && revision < kReaderRevision;
}

StampHolds FileStampHolds(std::string_view stamp, std::string_view now) {
    const FileStampWords then = FileStampWordsOf(stamp);
    const FileStampWords words = FileStampWordsOf(now);
    const int64_t revision = RevisionOf(then);
    if (revision < 0 || revision > kReaderRevision || then.age != words.age || then.changed != words.changed)
        return StampHolds::no;
    if (then.number != words.number && then.number != kNoNumber)
        return StampHolds::numbers;
    return then.beside == words.beside ? StampHolds::yes : StampHolds::own;
}

bool FileStampHoldsMoved(std::string_view stamp, std::string_view now) {
    const FileStampWords then = FileStampWordsOf(stamp);
    const FileStampWords words = FileStampWordsOf(now);
    const int64_t revision = RevisionOf(then);
    return revision >= 0 && revision <= kReaderRevision && then.age == words.age &&
           (then.number == words.number || then.number == kNoNumber);
}

bool FileStampHasAge(std::string_view stamp, const struct stat &status) {
    std::string age;
    AgePut(&age, status);
    return stamp.starts_with(age);
}
