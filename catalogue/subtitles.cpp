// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/subtitles.h"

#include <dirent.h>

#include <algorithm>

#include "catalogue/bounds.h"
#include "daemon/walk_rules.h"
#include "platform/file.h"
#include "platform/path.h"
#include "platform/recent.h"
#include "platform/veluindex.h"

namespace {

bool IsLetterOrDigit(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           static_cast<unsigned char>(byte) >= 0x80;
}

// True when the subtitle's name goes on with something else behind the film's less its extension.
bool BeginsWith(std::string_view subtitle, std::string_view film) {
    const std::string_view stem = NameWithoutExtension(film);
    return !stem.empty() && subtitle.size() > stem.size() && subtitle.starts_with(stem) &&
           !IsLetterOrDigit(subtitle[stem.size()]);
}

std::string_view ExtensionOf(std::string_view name) {
    const size_t dot = name.rfind('.');
    return dot == std::string_view::npos ? std::string_view() : name.substr(dot + 1);
}

// What else the name may belong to: another film, by the extension.
bool MayBeFilm(const std::string &name, std::string_view film) {
    return ExtensionOf(name) == ExtensionOf(film) ||
           BlVELUIndexIsVideo(std::string(ExtensionOf(name)).c_str()) != 0;
}

KnownSubtitles::Directory DirectoryRead(const std::string &path) {
    KnownSubtitles::Directory directory = {path};
    const DirHandle open(opendir(path.c_str()));
    // Most directories have none, and their names are not worth keeping: two passes.
    const auto names_take = [&](bool subtitles, std::vector<std::string> *names) {
        while (const dirent *entry = DirectoryNext(open, &directory.unseen)) {
            const std::string_view name = entry->d_name;
            if (IsSubtitle(name) == subtitles && name.find('.', 1) != std::string_view::npos &&
                names->size() < kSubtitleNamesMax)
                names->emplace_back(name);
        }
        std::ranges::sort(*names);
    };
    names_take(true, &directory.subtitles);
    if (!directory.subtitles.empty()) {
        rewinddir(open.get());
        names_take(false, &directory.others);
    }
    return directory;
}

const KnownSubtitles::Directory &DirectoryOf(KnownSubtitles *known, const std::string &path) {
    return RecentOf(&known->directories, &KnownSubtitles::Directory::path, path, kSubtitleDirectories,
                    DirectoryRead);
}

} // namespace

bool IsSubtitle(std::string_view name) {
    return ExtensionLeftOut(ExtensionOf(name)) == LeftOut::subtitle;
}

std::vector<std::string> SubtitlesOf(const std::string &film, KnownSubtitles *known, bool *unseen) {
    const size_t slash = film.rfind('/');
    if (slash == std::string::npos)
        return {};
    KnownSubtitles alone;
    const KnownSubtitles::Directory &of =
        DirectoryOf(known != nullptr ? known : &alone, film.substr(0, slash));
    *unseen = *unseen || of.unseen;
    const std::string_view name = std::string_view(film).substr(slash + 1);
    const size_t length = NameWithoutExtension(name).size();
    std::vector<std::string> found;
    for (const std::string &subtitle : of.subtitles) {
        const auto is_nearer = [&](const std::string &other) {
            return NameWithoutExtension(other).size() > length && MayBeFilm(other, name) &&
                   BeginsWith(subtitle, other);
        };
        if (BeginsWith(subtitle, name) && std::ranges::none_of(of.others, is_nearer))
            found.push_back(of.path + '/' + subtitle);
    }
    return found;
}

std::vector<std::string> FilmsOf(const std::string &subtitle) {
    const size_t slash = subtitle.rfind('/');
    if (slash == std::string::npos)
        return {};
    const std::string path = subtitle.substr(0, slash);
    const std::string_view name = std::string_view(subtitle).substr(slash + 1);
    std::vector<std::string> films;
    const DirHandle open(opendir(path.c_str()));
    while (const dirent *entry = open != nullptr ? readdir(open.get()) : nullptr) {
        if (!IsSubtitle(entry->d_name) && BeginsWith(name, entry->d_name))
            films.push_back(path + '/' + entry->d_name);
    }
    std::ranges::sort(films);
    return films;
}
