// SPDX-License-Identifier: GPL-2.0-or-later
//
// film_dump [--search] FILE...: what the reader of films finds in each file, a line of JSON each. With --search the streams are
// searched for their parameters even where the headers suffice. VELU_PICTURE names a file that the cover of the last one goes to.
#include "reader/film/film.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include <filesystem>

#include "platform/handle.h"
#include "tests/dump/facts_json.h"

namespace {

constexpr const char *kClasses[] = {"unknown", "sound", "film", "picture", "playlist"};

// The name alone says that a file is of MIDI; what is none is opened as a film.
ContentFormat FormatOf(const std::string &extension) {
    return extension == "mid" || extension == "midi" ? ContentFormat::midi : ContentFormat::film;
}

void FilePrint(const char *path, FilmWay way) {
    const FdHandle file(open(path, O_RDONLY | O_CLOEXEC));
    const off_t size = lseek(file.get(), 0, SEEK_END);
    if (size < 0) {
        perror(path);
        exit(1);
    }
    ReaderInput input;
    input.fd = file.get();
    input.size = size;
    const std::string extension = std::filesystem::path(path).extension();
    input.extension = extension.empty() ? "" : extension.substr(1);
    const char *cover = getenv("VELU_PICTURE");
    const FdHandle slot(cover != nullptr ? open(cover, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)
                                         : memfd_create("picture", MFD_CLOEXEC));
    PictureSink picture;
    picture.fd = slot.get();
    picture.wanted = true;
    FactList facts;
    const char *searched = nullptr;
    const ReadOutcome outcome =
        FilmFactsReadBy(way, &input, FormatOf(input.extension), &facts, &picture, &searched);
    printf("{\"content\": \"%s\", \"reason\": ", kClasses[static_cast<size_t>(outcome.content)]);
    TextPrint(outcome.reason);
    printf(", \"searched\": \"%s\", \"picture\": %u", searched != nullptr ? searched : "", picture.bytes);
    FactsPrint(facts);
    printf("}\n");
}

} // namespace

int main(int argc, char **argv) {
    FilmReaderWarm();
    FilmWay way = FilmWay::as_needed;
    for (int i = 1; i < argc; ++i) {
        if (strcmp(argv[i], "--search") == 0)
            way = FilmWay::always_search;
        else
            FilePrint(argv[i], way);
    }
    return 0;
}
