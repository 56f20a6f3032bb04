// SPDX-License-Identifier: GPL-2.0-or-later
//
// What the readers' libraries say of files, as lines of JSON, without the wall between: for tests and for trying.
//
//   reader_dump [--sidecar FILE] [--charset NAME] [--repeat N] FILE...
//
// --repeat reads each file so many times, and prints the last answer.
#include <fcntl.h>
#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <string_view>

#include "platform/handle.h"
#include "reader/readers.h"

namespace {

struct Options {
    const char *sidecar = nullptr;
    const char *charset = "";
    int repeat = 1;
};

std::string ExtensionOf(std::string_view path) {
    const size_t dot = path.rfind('.');
    std::string extension(dot == std::string_view::npos ? "" : path.substr(dot + 1));
    for (char &character : extension) {
        if (character >= 'A' && character <= 'Z')
            character = static_cast<char>(character - 'A' + 'a');
    }
    return extension;
}

void QuotedPrint(std::string_view text) {
    putchar('"');
    for (const char character : text) {
        if (character == '"' || character == '\\')
            printf("\\%c", character);
        else if (static_cast<unsigned char>(character) < ' ')
            printf("\\u%04x", static_cast<unsigned>(character));
        else
            putchar(character);
    }
    putchar('"');
}

void AnswerPrint(const char *path, const ReadOutcome &outcome, const FactList &facts) {
    constexpr const char *kStatus[] = {"read", "failed", "films", "sound"};
    constexpr const char *kContent[] = {"unknown", "sound", "film", "picture", "playlist"};
    printf("{\"path\": ");
    QuotedPrint(path);
    printf(", \"status\": \"%s\", \"content\": \"%s\", \"reason\": ",
           kStatus[static_cast<size_t>(outcome.status)], kContent[static_cast<size_t>(outcome.content)]);
    QuotedPrint(outcome.reason);
    printf(", \"facts\": [");
    const char *separator = "";
    for (const Fact &fact : facts.facts) {
        const FactKind &kind = FactKindOf(fact.name);
        printf("%s{\"name\": \"%s\", \"position\": %d, \"source\": \"%s\", \"value\": ", separator, kind.word,
               fact.position, FactSourceWord(fact.source));
        if (kind.type == FactType::text)
            QuotedPrint(fact.text);
        else
            printf("%.17g", fact.number);
        putchar('}');
        separator = ", ";
    }
    printf("]}\n");
}

ReadOutcome FactsRead(ReaderInput *input, FactList *facts) {
    const ContentFormat format = ContentLook(input);
    const ContentClass content = ContentClassOf(format);
    if (content == ContentClass::picture)
        return PhotoFactsRead(input, format, facts);
    PictureSink no_picture;
    if (content == ContentClass::sound && ContentReader(format) == ReaderKind::sound_and_photos)
        return SoundFactsRead(input, format, facts, &no_picture);
    return {AnswerStatus::failed, content, "no reader is linked for it"};
}

bool Dump(const char *path, const Options &options) {
    const FdHandle file(open(path, O_RDONLY | O_CLOEXEC));
    const FdHandle sidecar(options.sidecar != nullptr ? open(options.sidecar, O_RDONLY | O_CLOEXEC) : -1);
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0) {
        perror(path);
        return false;
    }
    ReadOutcome outcome;
    FactList facts;
    for (int i = 0; i < options.repeat; ++i) {
        ReaderInput input;
        input.fd = file.get();
        input.size = status.st_size;
        input.extension = ExtensionOf(path);
        input.charset = options.charset;
        if (sidecar)
            input.companions.push_back(sidecar.get());
        facts = {};
        outcome = FactsRead(&input, &facts);
    }
    AnswerPrint(path, outcome, facts);
    return true;
}

} // namespace

int main(int argc, char **argv) {
    Options options;
    bool well = true;
    PhotoReaderWarm();
    SoundReaderWarm();
    for (int i = 1; i < argc; ++i) {
        const bool has_next = i + 1 < argc;
        if (has_next && strcmp(argv[i], "--sidecar") == 0)
            options.sidecar = argv[++i];
        else if (has_next && strcmp(argv[i], "--charset") == 0)
            options.charset = argv[++i];
        else if (has_next && strcmp(argv[i], "--repeat") == 0)
            options.repeat = atoi(argv[++i]);
        else
            well = Dump(argv[i], options) && well;
    }
    return well ? 0 : 1;
}
