// SPDX-License-Identifier: GPL-2.0-or-later
//
// A reader for tests of the daemon's side: the first line of a file says what it does with it. It reads nothing else, and has
// no wall around it.
//
//   title TEXT       answers with that title; the file is sound
//   tagged TEXT      likewise, with that artist too, which is a fact beside the row, and a cover
//   film TEXT        likewise a film; the reader of sound and photos sends it on
//   song TEXT        likewise sound; the reader of films sends it on
//   photo TEXT       likewise a picture; so is what begins as a JPEG does
//   camera TEXT      a picture of that camera, with a date and a size
//   picture N TEXT   sound with a cover of N bytes
//   altered N TEXT   likewise, whose last byte is another one
//   png, webp, gif N TEXT   likewise, in that format
//   charset          sound with the character set of the request as its title
//   failed TEXT      could not read it, for that reason
//   unreadable       the storage does not give it
//   crash, exit N, abort      it ends
//   spin, stop, silent, hang  it uses up time, is stopped, says nothing, closes the connection
//   memory N         takes N MiB and says nothing
//   number, twice, garbage, empty, format, slot, kind   what it says is none of what was agreed
#include <fcntl.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "platform/limits.h"
#include "reader/protocol/message.h"

namespace {

constexpr size_t kScriptMax = 512;

// Bytes of the cover of a tagged file, to which come as many as its text has.
constexpr size_t kTaggedPicture = 200;

ReaderKind own_kind = ReaderKind::sound_and_photos;

[[noreturn]] void SilentForEver() {
    for (;;)
        pause();
}

void Send(const Answer &answer) {
    std::vector<std::byte> packet;
    AnswerEncode(answer, &packet);
    if (PacketSend(kReaderSocket, packet, {}, 0) < 0)
        _exit(0);
}

void Answered(Answer *answer, ContentClass content, const std::string &title) {
    answer->status = AnswerStatus::read;
    answer->content = content;
    FactAddText(&answer->facts, FactName::title, FactSource::own, title);
}

struct PictureWord {
    std::string_view word;
    PictureFormat format;
    std::string_view head;
    bool altered = false;
};

constexpr PictureWord kPictures[] = {
    {"picture", PictureFormat::jpeg, "\xFF\xD8\xFF\xE0"},
    {"altered", PictureFormat::jpeg, "\xFF\xD8\xFF\xE0", true},
    {"png", PictureFormat::png, "\x89PNG\r\n\x1A\n"},
    {"webp", PictureFormat::webp, std::string_view("RIFF\0\0\0\0WEBP", 12)},
    {"gif", PictureFormat::gif, "GIF89a"},
};

const PictureWord *PictureFind(const std::string &what) {
    const auto *found = std::ranges::find(kPictures, what, &PictureWord::word);
    return found != std::end(kPictures) ? found : nullptr;
}

// A picture whose bytes follow from its size, so that a test knows them.
void PicturePut(const Request &request, Answer *answer, const PictureWord &word, size_t size) {
    std::vector<std::byte> picture(size);
    for (size_t i = 0; i < size; ++i)
        picture[i] = static_cast<std::byte>(i * 7 + size);
    memcpy(picture.data(), word.head.data(), std::min(size, word.head.size()));
    if (word.altered)
        picture.back() ^= std::byte{1};
    if (IsSmallPicture(word.format, size))
        answer->small_picture.assign(reinterpret_cast<const char *>(picture.data()), size);
    else if (pwrite(kReaderFirstSlot + static_cast<int>(request.slot), picture.data(), size, 0) !=
             static_cast<ssize_t>(size))
        _exit(9);
    answer->picture = word.format;
    answer->picture_bytes = static_cast<uint32_t>(size);
}

void Lie(const std::string &what, Answer answer) {
    Answered(&answer, ContentClass::sound, "a lie");
    const std::byte garbage[100] = {};
    if (what == "number") {
        ++answer.number;
        Send(answer);
    } else if (what == "twice") {
        Send(answer);
        Send(answer);
    } else if (what == "garbage") {
        PacketSend(kReaderSocket, garbage, {}, 0);
    } else if (what == "empty") {
        PacketSend(kReaderSocket, std::span(garbage).first(0), {}, 0);
    } else if (what == "format") {
        answer.picture = PictureFormat::png;
        answer.picture_bytes = 100;
        answer.small_picture.assign(100, '\0');
        Send(answer);
    } else if (what == "slot") {
        answer.picture = PictureFormat::png;
        answer.picture_bytes = kReaderSmallPictureMax + 1;
        Send(answer);
    } else {
        answer.content = ContentClass::unknown;
        answer.facts = {};
        answer.status = own_kind == ReaderKind::films ? AnswerStatus::films : AnswerStatus::sound;
        Send(answer);
    }
}

// A sanitizer's handler would make an exit of it.
void CrashPlainly(int number) {
    signal(number, SIG_DFL);
    raise(number);
}

void End(const std::string &what, int number) {
    if (what == "crash")
        CrashPlainly(SIGSEGV);
    if (what == "abort")
        CrashPlainly(SIGABRT);
    if (what == "exit")
        _exit(number);
    if (what == "stop")
        raise(SIGSTOP);
    if (what == "hang")
        close(kReaderSocket);
    if (what == "memory") {
        const size_t size = static_cast<size_t>(number) << 20;
        auto *bytes = static_cast<volatile char *>(malloc(size));
        for (size_t i = 0; bytes != nullptr && i < size; i += 4096)
            bytes[i] = 1;
    }
    for (volatile int spins = 1; what == "spin" && spins == 1;) {
    }
    SilentForEver();
}

void SentOnOr(Answer answer, ReaderKind kind, ContentClass content, const std::string &title) {
    if (kind != own_kind)
        answer.status = kind == ReaderKind::films ? AnswerStatus::films : AnswerStatus::sound;
    else
        Answered(&answer, content, title);
    Send(answer);
}

void Do(const Request &request, const std::string &line) {
    const size_t blank = line.find(' ');
    const std::string what = line.substr(0, blank);
    const std::string rest = blank != std::string::npos ? line.substr(blank + 1) : std::string();
    Answer answer;
    answer.number = request.number;
    if (what == "title") {
        Answered(&answer, ContentClass::sound, rest);
        Send(answer);
    } else if (what == "tagged") {
        Answered(&answer, ContentClass::sound, rest);
        FactAddText(&answer.facts, FactName::artist, FactSource::own, rest);
        PicturePut(request, &answer, kPictures[0], kTaggedPicture + rest.size());
        Send(answer);
    } else if (what == "film") {
        SentOnOr(answer, ReaderKind::films, ContentClass::film, rest);
    } else if (what == "song") {
        SentOnOr(answer, ReaderKind::sound_and_photos, ContentClass::sound, rest);
    } else if (what == "photo" || what.starts_with("\xFF\xD8")) {
        SentOnOr(answer, ReaderKind::sound_and_photos, ContentClass::picture, rest);
    } else if (what == "camera") {
        Answered(&answer, ContentClass::picture, rest);
        FactAddText(&answer.facts, FactName::camera_model, FactSource::own, rest);
        FactAddText(&answer.facts, FactName::date_taken, FactSource::own, "2001-02-03 04:05:06");
        FactAddNumber(&answer.facts, FactName::width, FactSource::own, 12000);
        FactAddNumber(&answer.facts, FactName::height, FactSource::own, 9000);
        FactAddNumber(&answer.facts, FactName::iso_speed, FactSource::own, 400);
        Send(answer);
    } else if (const PictureWord *word = PictureFind(what); word != nullptr) {
        Answered(&answer, ContentClass::sound, rest.substr(std::min(rest.find(' '), rest.size() - 1) + 1));
        PicturePut(request, &answer, *word, strtoul(rest.c_str(), nullptr, 10));
        Send(answer);
    } else if (what == "unreadable") {
        answer.status = AnswerStatus::unreadable;
        answer.reason = "its bytes cannot be read";
        Send(answer);
    } else if (what == "charset") {
        Answered(&answer, ContentClass::sound, *request.charset != '\0' ? request.charset : "none");
        Send(answer);
    } else if (what == "failed") {
        answer.reason = rest;
        Send(answer);
    } else if (what == "number" || what == "twice" || what == "garbage" || what == "empty" ||
               what == "format" || what == "slot" || what == "kind") {
        Lie(what, answer);
    } else {
        End(what, atoi(rest.c_str()));
    }
}

std::string FirstLine(int file) {
    char script[kScriptMax];
    const ssize_t size = pread(file, script, sizeof script, 0);
    const std::string text(script, size > 0 ? static_cast<size_t>(size) : 0);
    return text.substr(0, text.find('\n'));
}

} // namespace

int main(int, char **argv) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    const rlimit no_core = {0, 0};
    setrlimit(RLIMIT_CORE, &no_core);
    if (std::string_view(argv[0]).ends_with("-films"))
        own_kind = ReaderKind::films;
    Hello hello;
    hello.kind = own_kind;
    PacketSend(kReaderSocket, std::as_bytes(std::span(&hello, 1)), {}, 0);
    std::vector<std::byte> packet(sizeof(Request) + 1);
    for (;;) {
        std::vector<int> descriptors;
        const ssize_t size = PacketReceive(kReaderSocket, packet, &descriptors, kReaderDescriptorsMax, 0);
        Request request;
        if (size <= 0 || descriptors.empty() ||
            !RequestDecode(std::span(packet).first(static_cast<size_t>(size)), &request))
            return size == 0 ? 0 : 1;
        const std::string line = FirstLine(descriptors[0]);
        for (const int descriptor : descriptors)
            close(descriptor);
        Do(request, line);
    }
}
