// SPDX-License-Identifier: GPL-2.0-or-later
//
// sound_dump FORMAT FILE...: what the reader of sound finds in each file, a line of JSON each. FORMAT is the word of a
// ContentFormat. VELU_CHARSET names the code page of tags in single bytes, VELU_PICTURE a file that the cover of the last one goes to.
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/file.h"
#include "reader/readers.h"
#include "tests/dump/facts_json.h"

namespace {

struct FormatWord {
    const char *word;
    ContentFormat format;
};

constexpr FormatWord kFormats[] = {
    {"mpeg_audio", ContentFormat::mpeg_audio},
    {"aac", ContentFormat::aac},
    {"flac", ContentFormat::flac},
    {"ogg_vorbis", ContentFormat::ogg_vorbis},
    {"ogg_opus", ContentFormat::ogg_opus},
    {"ogg_speex", ContentFormat::ogg_speex},
    {"ogg_flac", ContentFormat::ogg_flac},
    {"mp4_sound", ContentFormat::mp4_sound},
    {"asf_sound", ContentFormat::asf_sound},
    {"aiff", ContentFormat::aiff},
    {"wav", ContentFormat::wav},
    {"ape", ContentFormat::ape},
    {"wavpack", ContentFormat::wavpack},
    {"musepack", ContentFormat::musepack},
    {"trueaudio", ContentFormat::trueaudio},
    {"dsf", ContentFormat::dsf},
    {"dsdiff", ContentFormat::dsdiff},
};

void FilePrint(const char *path, ContentFormat format) {
    ReaderInput input;
    input.fd = open(path, O_RDONLY | O_CLOEXEC);
    const off_t size = lseek(input.fd, 0, SEEK_END);
    if (input.fd < 0 || size < 0) {
        perror(path);
        exit(1);
    }
    input.size = size;
    if (const char *charset = getenv("VELU_CHARSET"))
        input.charset = charset;
    PictureSink picture;
    const char *picture_path = getenv("VELU_PICTURE");
    picture.fd = picture_path != nullptr ? open(picture_path, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644)
                                         : memfd_create("picture", MFD_CLOEXEC);
    picture.wanted = true;
    FactList facts;
    const ReadOutcome outcome = SoundFactsRead(&input, format, &facts, &picture);
    printf("{\"status\": \"%s\", \"picture\": %u",
           outcome.status == AnswerStatus::read ? "read" : outcome.reason.c_str(), picture.bytes);
    FactsPrint(facts);
    printf("}\n");
    close(picture.fd);
    close(input.fd);
}

} // namespace

int main(int argc, char **argv) {
    if (argc < 3)
        return 2;
    for (const FormatWord &known : kFormats) {
        if (strcmp(known.word, argv[1]) != 0)
            continue;
        SoundReaderWarm();
        for (int i = 2; i < argc; ++i)
            FilePrint(argv[i], known.format);
        return 0;
    }
    fprintf(stderr, "sound_dump: no format %s\n", argv[1]);
    return 2;
}
