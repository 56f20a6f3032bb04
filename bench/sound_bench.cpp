// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the reader of sound takes for a file, beside TagLib's own FileRef on the same file: every format with tags and a cover
// of 100 KB, warm. Needs ffmpeg; works in a folder of its own under /tmp, or on the files that it is given.
#include "bench/cpu_time.h"
#include "reader/content/content.h"
#include "reader/readers.h"

#include "platform/handle.h"

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr int kCalls = 100;

struct Kind {
    const char *name;
    const char *options;
    bool cover; // ffmpeg can put it in
};

constexpr Kind kKinds[] = {
    {"a.mp3", "-c:a libmp3lame -id3v2_version 3", true},
    {"vbr.mp3", "-c:a libmp3lame -q:a 2 -id3v2_version 4", true},
    {"a.flac", "-c:a flac", true},
    {"a.ogg", "-c:a libvorbis", false},
    {"a.opus", "-c:a libopus", false},
    {"a.m4a", "-c:a aac", true},
    {"a.wma", "-c:a wmav2", false},
    {"a.wav", "-c:a pcm_s16le", false},
    {"a.aiff", "-c:a pcm_s16be -write_id3v2 1", true},
    {"a.wv", "-c:a wavpack", false},
    {"a.tta", "-c:a tta", false},
};

void Run(const std::string &command) {
    if (system(command.c_str()) != 0) {
        fprintf(stderr, "sound_bench: failed: %s\n", command.c_str());
        exit(1);
    }
}

std::vector<std::string> FilesMake(const std::string &folder) {
    const std::string ffmpeg = "ffmpeg -nostdin -loglevel error -y ";
    Run(ffmpeg + "-f lavfi -i anoisesrc=d=180:c=pink -ac 2 -ar 44100 " + folder + "/from.wav");
    Run(ffmpeg + "-f lavfi -i mandelbrot=s=500x500 -frames:v 1 -q:v 2 " + folder + "/cover.jpg");
    std::vector<std::string> files;
    for (const Kind &kind : kKinds) {
        files.push_back(folder + "/" + kind.name);
        Run(ffmpeg + "-i " + folder + "/from.wav " +
            (kind.cover ? "-i " + folder + "/cover.jpg -map 0 -map 1 -c:v copy -disposition:v attached_pic "
                        : "") +
            "-metadata title=Title -metadata artist=Artist -metadata album=Album -metadata genre=Rock "
            "-metadata date=2004 "
            "-metadata track=3/12 " +
            kind.options + " " + files.back());
    }
    return files;
}

void LibraryAlone(const std::string &path) {
    const TagLib::FileRef file(path.c_str());
    if (file.isNull() || file.tag() == nullptr || file.audioProperties() == nullptr)
        exit(1);
}

void Ours(const std::string &path, int slot) {
    const FdHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat status;
    if (fstat(file.get(), &status) != 0)
        exit(1);
    ReaderInput input;
    input.fd = file.get();
    input.size = status.st_size;
    PictureSink picture;
    picture.fd = slot;
    picture.wanted = true;
    FactList facts;
    const ContentFormat format = ContentLook(&input);
    const ReadOutcome outcome = SoundFactsRead(&input, format, &facts, &picture);
    if (outcome.status != AnswerStatus::read) {
        fprintf(stderr, "sound_bench: %s: %s\n", path.c_str(), outcome.reason.c_str());
        exit(1);
    }
}

} // namespace

int main(int argc, char **argv) {
    std::vector<std::string> files(argv + 1, argv + argc);
    std::string folder;
    if (files.empty()) {
        char made[] = "/tmp/sound_bench.XXXXXX";
        folder = mkdtemp(made);
        files = FilesMake(folder);
    }
    SoundReaderWarm();
    const int slot = memfd_create("picture", MFD_CLOEXEC);
    printf("%-12s %12s %12s %8s\n", "us a file", "FileRef", "ours", "ratio");
    for (const std::string &path : files) {
        const double library = CpuMicros(kCalls, [&] { LibraryAlone(path); });
        const double ours = CpuMicros(kCalls, [&] { Ours(path, slot); });
        printf("%-12s %12.1f %12.1f %8.2f\n", std::filesystem::path(path).filename().c_str(), library, ours,
               ours / library);
    }
    if (!folder.empty())
        std::filesystem::remove_all(folder);
    return 0;
}
