// SPDX-License-Identifier: GPL-2.0-or-later
//
// film_bench FILE...: what the reader of films takes a file, beside libavformat opening it and no more: by its path, as any
// program does, and as the reader has it open the file, from the same descriptor.
#include <fcntl.h>
#include <stdio.h>
#include <string.h>

#include <filesystem>
#include <vector>

#include "bench/cpu_time.h"
#include "container/probe_module/open.h"
#include "platform/handle.h"
#include "reader/film/film.h"
#include "reader/film/film_input.h"

namespace {

struct Film {
    const char *path;
    FdHandle fd;
    ReaderInput input;
};

ReaderInput InputOf(const char *path, int fd) {
    ReaderInput input;
    input.fd = fd;
    input.size = lseek(fd, 0, SEEK_END);
    const std::string extension = std::filesystem::path(path).extension();
    input.extension = extension.empty() ? "" : extension.substr(1);
    return input;
}

bool OpenPlainly(const Film &film) {
    AVFormatContext *format = nullptr;
    const bool opened = avformat_open_input(&format, film.path, nullptr, nullptr) >= 0;
    const FormatHandle closed(format);
    return opened;
}

bool OpenAlone(const Film &film) {
    ReaderInput input = film.input;
    FilmInput source{.file = &input, .position = 0, .left = 0};
    const AvioHandle avio = FilmInputOpen(&source);
    return FormatOpen(("film." + input.extension).c_str(), avio.get()) != nullptr;
}

bool ReadAll(const Film &film) {
    ReaderInput input = film.input;
    FactList facts;
    PictureSink picture;
    return FilmFactsRead(&input, ContentFormat::film, &facts, &picture).status == AnswerStatus::read;
}

// Microseconds a film.
template <typename Work>
double Measure(const std::vector<Film> &films, Work work) {
    const double all = CpuMicros(1, [&] {
        for (const Film &film : films) {
            if (!work(film))
                fprintf(stderr, "film_bench: %s is not read\n", film.path);
        }
    });
    return all / static_cast<double>(films.size());
}

} // namespace

int main(int argc, char **argv) {
    FilmReaderWarm();
    std::vector<Film> films;
    for (int i = 1; i < argc; ++i) {
        FdHandle fd(open(argv[i], O_RDONLY | O_CLOEXEC));
        if (!fd) {
            perror(argv[i]);
            return 1;
        }
        ReaderInput input = InputOf(argv[i], fd.get());
        films.push_back({argv[i], std::move(fd), std::move(input)});
    }
    if (films.empty())
        return 2;
    const double plain = Measure(films, OpenPlainly);
    const double alone = Measure(films, OpenAlone);
    const double all = Measure(films, ReadAll);
    printf(
        "%zu films: opened plainly in %.0f us each, by the reader in %.0f us, read in %.0f us: %.2f times\n",
        films.size(), plain, alone, all, all / plain);
    return 0;
}
