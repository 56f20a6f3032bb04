// SPDX-License-Identifier: GPL-2.0-or-later
//
// The libraries that the readers use, called in a plain loop by one process that opens each file of a tree by its path: TagLib for
// sound, Exiv2 for pictures, and libavformat, opening and no more, for films. There is no wall, no row and no cover.
//
//   peers_libraries TREE BEGIN     BEGIN: a file that is made when the loop begins, behind the loading of the libraries
#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <taglib/fileref.h>
#include <taglib/tag.h>

#include <algorithm>
#include <initializer_list>
#include <string>
#include <string_view>

#include "container/probe_module/handles.h"
#include "platform/handle.h"
#include "reader/photo/exiv2.h"

// Exiv2's own smart pointer.
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"

namespace {

bool SoundRead(const std::string &path) {
    const TagLib::FileRef file(path.c_str());
    return !file.isNull() && file.tag() != nullptr && file.audioProperties() != nullptr;
}

bool PictureRead(const std::string &path) {
    const Exiv2::Image::AutoPtr image = Exiv2::ImageFactory::open(path);
    image->readMetadata();
    return true;
}

bool FilmRead(const std::string &path) {
    AVFormatContext *format = nullptr;
    const bool opened = avformat_open_input(&format, path.c_str(), nullptr, nullptr) >= 0;
    const FormatHandle closed(format);
    return opened;
}

bool EndsWithOneOf(const std::string &path, std::initializer_list<std::string_view> extensions) {
    return std::ranges::any_of(extensions,
                               [&](std::string_view extension) { return path.ends_with(extension); });
}

bool FileRead(const std::string &path) {
    if (EndsWithOneOf(path, {".mp3", ".flac", ".m4a", ".ogg", ".opus"}))
        return SoundRead(path);
    if (EndsWithOneOf(path, {".jpg", ".heic", ".cr2"}))
        return PictureRead(path);
    return FilmRead(path);
}

long TreeRead(const std::string &folder) {
    const DirHandle directory(opendir(folder.c_str()));
    long files = 0;
    while (const dirent *entry = directory == nullptr ? nullptr : readdir(directory.get())) {
        if (entry->d_name[0] == '.')
            continue;
        const std::string path = folder + "/" + entry->d_name;
        if (entry->d_type == DT_DIR)
            files += TreeRead(path);
        else
            files += FileRead(path) ? 1 : 0;
    }
    return files;
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 3) {
        fprintf(stderr, "use: peers_libraries TREE BEGIN\n");
        return 2;
    }
    av_log_set_level(AV_LOG_QUIET);
    Exiv2::enableBMFF(true);
    const FdHandle begin(open(argv[2], O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    printf("%ld files\n", TreeRead(argv[1]));
}
