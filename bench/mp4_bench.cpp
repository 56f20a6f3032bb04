// SPDX-License-Identifier: GPL-2.0-or-later
//
// What reading MP4 files costs, against opening them and reading their `moov` box at once: songs by ffmpeg
// with the movie at the end and at the front, and sample tables that grow. Needs ffmpeg; works in a folder of
// its own under /tmp.
#include "bench/cpu_time.h"
#include "compat/mp4v2/mp4.h"
#include "platform/handle.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace {

struct Song {
    std::string path;
    off_t moov_start;
    size_t moov_size;
};

std::string folder;

std::string Number(uint32_t value) {
    std::string out;
    for (int shift = 24; shift >= 0; shift -= 8)
        out += static_cast<char>(value >> shift & 0xFF);
    return out;
}

std::string Box(const std::string &type, const std::string &payload) {
    return Number(static_cast<uint32_t>(payload.size() + 8)) + type + payload;
}

// The size that stands before the four characters of a box.
uint32_t BoxSize(const std::string &bytes, size_t type_at) {
    uint32_t size = 0;
    for (size_t i = type_at - 4; i < type_at; ++i)
        size = size << 8 | static_cast<uint8_t>(bytes[i]);
    return size;
}

bool SongFind(const std::string &path, Song *song) {
    std::string bytes(static_cast<size_t>(std::filesystem::file_size(path)), '\0');
    std::ifstream(path, std::ios::binary).read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    const size_t type = bytes.find("moov");
    if (type == std::string::npos || type < 4)
        return false;
    *song = {path, static_cast<off_t>(type - 4), BoxSize(bytes, type)};
    return true;
}

void Baseline(const Song &song) {
    static std::vector<char> bytes;
    bytes.resize(song.moov_size);
    const FdHandle file(open(song.path.c_str(), O_RDONLY | O_CLOEXEC));
    if (pread(file.get(), bytes.data(), bytes.size(), song.moov_start) != static_cast<ssize_t>(bytes.size()))
        abort();
}

void TextAsk(MP4FileHandle file, bool (*call)(MP4FileHandle, char **)) {
    char *text = nullptr;
    call(file, &text);
    free(text);
}

// What the indexer asks of a song.
uint32_t Ask(const Song &song) {
    const MP4FileHandle file = MP4Read(song.path.c_str(), 0);
    const MP4TrackId track = MP4FindTrackId(file, 0, nullptr, 0);
    MP4ConvertFromTrackDuration(file, track, MP4GetTrackDuration(file, track), 1);
    MP4GetTrackAudioChannels(file, track);
    const uint32_t rate = MP4GetTrackBitRate(file, track);
    for (auto *call : {MP4GetMetadataName, MP4GetMetadataArtist, MP4GetMetadataAlbum, MP4GetMetadataComment,
                       MP4GetMetadataWriter, MP4GetMetadataYear, MP4GetMetadataGenre})
        TextAsk(file, call);
    uint16_t number = 0;
    uint16_t total = 0;
    MP4GetMetadataTrack(file, &number, &total);
    MP4GetMetadataDisk(file, &number, &total);
    MP4Close(file);
    return rate;
}

double Report(const std::string &what, const Song &song, int repeat) {
    if (Ask(song) == 0) {
        fprintf(stderr, "mp4_bench: %s has no bit rate\n", song.path.c_str());
        exit(1);
    }
    const double ask = CpuMicros(repeat, [&] { Ask(song); });
    const double baseline = CpuMicros(repeat, [&] { Baseline(song); });
    printf("%-34s moov %9zu bytes %10.1f us   %5.2f x reading moov\n", what.c_str(), song.moov_size, ask,
           ask / baseline);
    return ask;
}

bool Songs() {
    constexpr int kRepeat = 2000;
    for (const char *place : {"", "-movflags faststart"}) {
        const std::string path = folder + "/song.m4a";
        const std::string command = "ffmpeg -v error -nostdin -y -f lavfi -i "
                                    "anoisesrc=duration=240:sample_rate=44100 -c:a aac -b:a 64k "
                                    "-metadata title=Title -metadata artist=Artist -metadata album=Album " +
                                    std::string(place) + " " + path;
        Song song;
        if (system(command.c_str()) != 0 || !SongFind(path, &song)) {
            fprintf(stderr, "mp4_bench: ffmpeg failed: %s\n", command.c_str());
            return false;
        }
        Report(*place == '\0' ? "song of 4 minutes, movie at the end" : "the same, movie at the front", song,
               kRepeat);
    }
    return true;
}

// A song without a descriptor, so that its sample sizes are added up.
Song TableWrite(uint32_t samples) {
    std::string sizes;
    for (uint32_t i = 0; i < samples; ++i)
        sizes += Number(300 + i % 50);
    const std::string none = Number(0);
    const auto zeros = [](size_t count) { return std::string(count, '\0'); };
    const std::string tables =
        Box("stsd", none + Number(1) + Box("alac", zeros(16) + Number(2 << 16 | 16) + zeros(8))) +
        Box("stts", none + none) + Box("stsc", none + none) + Box("stco", none + none) +
        Box("stsz", none + none + Number(samples) + sizes);
    const std::string media = Box("mdhd", zeros(12) + Number(44100) + Number(samples * 1024) + none) +
                              Box("hdlr", zeros(8) + "soun" + zeros(13)) + Box("minf", Box("stbl", tables));
    const std::string track = Box("tkhd", zeros(12) + Number(1) + zeros(68)) + Box("mdia", media);
    const std::string bytes = Box("moov", Box("mvhd", zeros(100)) + Box("trak", track));
    const std::string path = folder + "/table.m4a";
    std::ofstream(path, std::ios::binary) << bytes;
    return {path, 0, bytes.size()};
}

long PeakKilobytes() {
    struct rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

void Tables() {
    double before = 0;
    for (const uint32_t samples : {500'000U, 1'000'000U, 2'000'000U, 4'000'000U}) {
        const Song song = TableWrite(samples);
        const double now = Report(std::to_string(samples) + " samples", song, 5);
        if (before > 0)
            printf("    twice the samples: %.2f x the time\n", now / before);
        before = now;
    }
}

// The reader alone in this process: no baseline, no table in the making.
bool Memory(const char *program) {
    TableWrite(4'000'000);
    const std::string command = std::string(program) + " --peak " + folder + "/table.m4a";
    return system(command.c_str()) == 0;
}

} // namespace

int main(int argc, char **argv) {
    if (argc == 3 && std::string(argv[1]) == "--peak") {
        const long before = PeakKilobytes();
        Ask({argv[2], 0, 0});
        printf("peak memory of reading 4000000 samples: %ld kB more than before\n", PeakKilobytes() - before);
        return 0;
    }
    char name[] = "/tmp/mp4_bench.XXXXXX";
    if (mkdtemp(name) == nullptr) {
        perror("mp4_bench");
        return 1;
    }
    folder = name;
    const bool done = Songs();
    Tables();
    const bool measured = Memory(argv[0]);
    std::filesystem::remove_all(folder);
    return done && measured ? 0 : 1;
}
