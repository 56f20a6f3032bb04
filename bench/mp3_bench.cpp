// SPDX-License-Identifier: GPL-2.0-or-later
//
// What reading MP3 files costs, against reading their bytes once: whole files good and hostile, and a
// collection of small files by the encoder. Needs lame; works in a folder of its own under /tmp.
#include "audio/metaid3.h"
#include "audio/mp3_file.h"
#include "audio/mpeg_header.h"
#include "audio/vbr_header.h"
#include "bench/cpu_time.h"
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
#include <string>
#include <vector>

namespace {

constexpr size_t kMega = 1000 * 1000;

constexpr int kFrameSize = 417; // MPEG-1 layer 3, 128 kbit/s, 44100 Hz

std::string folder;

std::string Write(const std::string &name, const std::string &bytes) {
    std::string path = folder + "/" + name;
    std::ofstream(path, std::ios::binary) << bytes;
    return path;
}

std::string Frames(size_t size) {
    std::string bytes;
    for (unsigned i = 0; bytes.size() < size; ++i) {
        bytes += "\xFF\xFB\x90";
        bytes.push_back('\0');
        for (int k = 4; k < kFrameSize; ++k)
            bytes.push_back(static_cast<char>((i = i * 1664525 + 1013904223) >> 24));
    }
    return bytes;
}

// Headers of 1044 and 835 bytes a frame, all of which end in the zeros behind them.
std::string HeadersBeforeZeros(size_t size) {
    std::string bytes;
    for (int i = 0; i < 100; ++i)
        bytes += std::string("\xFF\xFB\xE0\x00\xFF\xFB\xC0\x00", 8);
    bytes.resize(size, '\0');
    return bytes;
}

void ReadOnce(const std::string &path) {
    static char block[kReaderWindow];
    const FdHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    while (read(file.get(), block, sizeof block) > 0) {
    }
}

void InfoGet(const std::string &path) {
    MediaInfo record = {};
    Mp3InfoGet(path.c_str(), &record);
}

Mp3FileCtx *Open(const std::string &path) {
    static Mp3FileCtx ctx;
    FdHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    const off_t size = lseek(file.get(), 0, SEEK_END);
    Mp3FileAttach(&ctx, std::move(file), size);
    return &ctx;
}

double Report(const char *what, const std::string &path, const std::function<void()> &work,
              double share = 1) {
    const double bytes = static_cast<double>(std::filesystem::file_size(path)) * share;
    const double seconds = CpuMicros(1, work) / 1e6;
    const double baseline = CpuMicros(1, [&] { ReadOnce(path); }) / 1e6;
    printf("%-44s %8.0f us %8.0f MB/s   %5.2f x reading it once\n", what, seconds * 1e6,
           bytes / seconds / kMega, seconds / baseline);
    return seconds;
}

void FrameSearch(const std::string &path, FrameGap gap) {
    const ByteSource source = Mp3Source(Open(path));
    int64_t pos = 0;
    MpegHeaderInfo info;
    MpegFrameSearch(&source, &pos, &info, gap);
}

void WholeFiles() {
    const std::string cbr = Write("cbr.mp3", Frames(5 * kMega));
    Report("CBR, 5 MB, no Xing", cbr, [&] { InfoGet(cbr); });

    std::string audio = Frames(5 * kMega);
    audio.replace(36, 16, std::string("Xing\0\0\0\1\0\0\x27\x10\0\0\0\0", 16));
    const std::string vbr = Write("vbr.mp3", audio);
    Report("VBR, 5 MB, Xing", vbr, [&] { InfoGet(vbr); });

    const std::string sync = Write("sync.mp3", std::string(64 * kMega, '\xFF'));
    Report("0xFF bytes, 64 MB", sync, [&] { InfoGet(sync); });

    std::string headers;
    while (headers.size() < 64 * kMega)
        headers += "\xFF\xFB\x90\x44";
    headers.resize(64 * kMega);
    const std::string good = Write("headers.mp3", headers);
    Report("headers that lead nowhere, 64 MB", good, [&] { InfoGet(good); });

    MpegHeaderInfo info;
    info.version = info.layer = info.bit_rate = info.sample_rate = 1;
    for (const char fill : {'a', 'X'}) {
        const std::string plain = Write("plain.mp3", std::string(64 * kMega, fill));
        Report(
            fill == 'X' ? "Xing search, X bytes" : "Xing search, other bytes", plain,
            [&] { XingHeaderRead(Open(plain), 0, &info); }, 0.25);
    }

    double times[2][2];
    for (size_t doubled = 0; doubled < 2; ++doubled) {
        const std::string zeros = Write("zeros.mp3", HeadersBeforeZeros(32 * kMega << doubled));
        times[0][doubled] = Report("headers before one run of zeros, gap none", zeros,
                                   [&] { FrameSearch(zeros, FrameGap::none); });
        times[1][doubled] = Report("headers before one run of zeros, gap zeros", zeros,
                                   [&] { FrameSearch(zeros, FrameGap::zeros); });
    }
    printf("twice the zeros: %.2f x the time without, %.2f x with gaps\n", times[0][1] / times[0][0],
           times[1][1] / times[1][0]);
}

void LittleEndian(std::string *out, uint32_t value, int bytes) {
    for (; bytes > 0; --bytes, value >>= 8)
        out->push_back(static_cast<char>(value & 0xFF));
}

// Stereo sound of some seconds: a tone and some noise.
std::string Wave(uint32_t seconds) {
    const uint32_t samples = 44100 * seconds;
    std::string wave = "RIFF";
    LittleEndian(&wave, 36 + samples * 4, 4);
    wave += "WAVEfmt ";
    LittleEndian(&wave, 16, 4);
    LittleEndian(&wave, 1, 2);
    LittleEndian(&wave, 2, 2);
    LittleEndian(&wave, 44100, 4);
    LittleEndian(&wave, 44100 * 4, 4);
    LittleEndian(&wave, 4, 2);
    LittleEndian(&wave, 16, 2);
    wave += "data";
    LittleEndian(&wave, samples * 4, 4);
    uint32_t noise = 1;
    for (uint32_t i = 0; i < samples * 2; ++i) {
        noise = noise * 1664525 + 1013904223;
        const double tone = 9000 * sin(i * 0.01);
        LittleEndian(&wave, static_cast<uint16_t>(static_cast<int>(tone) + static_cast<int>(noise >> 21)), 2);
    }
    return wave;
}

long ReadCalls() {
    std::ifstream io("/proc/self/io");
    std::string key;
    long value = 0;
    while (io >> key >> value) {
        if (key == "syscr:")
            return value;
    }
    return 0;
}

double CpuSeconds(const struct timeval &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

bool Collection() {
    constexpr int kFiles = 500;
    constexpr const char *kModes[] = {"-b 128", "-V 2", "-V 6 -m m", "-b 320 --id3v2-only",
                                      "-b 64 -t --id3v1-only"};
    constexpr int kEncoded = 20; // each is stored kFiles / kEncoded times
    std::vector<std::string> paths;
    for (int i = 0; i < kEncoded; ++i) {
        const std::string wave = Write("in.wav", Wave(2 + static_cast<uint32_t>(i) % 7));
        const std::string out = folder + "/encoded.mp3";
        const std::string command = "lame --quiet " + std::string(kModes[static_cast<size_t>(i) % 5]) +
                                    " --tt title --ta artist --tl album --ty 1999 --tn 3/12 --tg Rock " +
                                    wave + " " + out;
        if (system(command.c_str()) != 0) {
            fprintf(stderr, "mp3_bench: lame failed: %s\n", command.c_str());
            return false;
        }
        for (int k = 0; k < kFiles / kEncoded; ++k) {
            paths.push_back(folder + "/song" + std::to_string(i) + "_" + std::to_string(k) + ".mp3");
            std::filesystem::copy_file(out, paths.back());
        }
    }
    for (const std::string &path : paths) {
        MediaInfo record = {};
        if (Mp3InfoGet(path.c_str(), &record) != 0 || record.duration < 1) {
            fprintf(stderr, "mp3_bench: %s was not read\n", path.c_str());
            return false;
        }
    }
    constexpr int kRounds = 5;
    const long calls = ReadCalls();
    struct rusage before;
    struct rusage after;
    getrusage(RUSAGE_SELF, &before);
    for (int round = 0; round < kRounds; ++round) {
        for (const std::string &path : paths)
            InfoGet(path);
    }
    getrusage(RUSAGE_SELF, &after);
    const double files = kFiles * kRounds;
    const double user = CpuSeconds(after.ru_utime) - CpuSeconds(before.ru_utime);
    const double system_time = CpuSeconds(after.ru_stime) - CpuSeconds(before.ru_stime);
    printf("%d files by lame: %.1f us per file, %.0f %% of the CPU time in the kernel, %.1f reads per file\n",
           kFiles, (user + system_time) / files * 1e6, 100 * system_time / (user + system_time),
           static_cast<double>(ReadCalls() - calls) / files);
    return true;
}

} // namespace

int main() {
    char name[] = "/tmp/mp3_bench.XXXXXX";
    if (mkdtemp(name) == nullptr) {
        perror("mp3_bench");
        return 1;
    }
    folder = name;
    WholeFiles();
    const bool done = Collection();
    std::filesystem::remove_all(folder);
    return done ? 0 : 1;
}
