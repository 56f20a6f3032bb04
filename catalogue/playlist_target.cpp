// SPDX-License-Identifier: GPL-2.0-or-later
#include "catalogue/playlist_target.h"

#include <algorithm>
#include <iterator>

#include "catalogue/bounds.h"
#include "platform/index/file_state.h"
#include "platform/letters.h"
#include "platform/media_record.h"
#include "platform/path.h"
#include "platform/percent.h"

namespace {

// What an entry says, with the words of URLs and of Windows taken out.
struct Target {
    bool local = true;    // it may be a file of this machine
    bool foreign = false; // it names a drive or another host: its path is not from our root
    std::string path = {};
};

constexpr bool IsLetter(char byte) {
    return (byte >= 'A' && byte <= 'Z') || (byte >= 'a' && byte <= 'z');
}

// "C:" and "c|", as old URLs have it.
bool HasDrive(std::string_view path) {
    return path.size() >= 2 && IsLetter(path[0]) && (path[1] == ':' || path[1] == '|');
}

constexpr std::string_view kBehindScheme = "://";

// The scheme of a URL, empty for a path. A single letter is a drive.
std::string_view SchemeOf(std::string_view text) {
    const size_t end = text.find(':');
    const std::string_view scheme = text.substr(0, end);
    const bool fits = end != std::string_view::npos && scheme.size() > 1 && IsLetter(scheme[0]) &&
                      std::ranges::all_of(scheme, [](char byte) {
                          return IsLetter(byte) || (byte >= '0' && byte <= '9') || byte == '+' ||
                                 byte == '-' || byte == '.';
                      });
    const bool url = fits && (text.substr(end).starts_with(kBehindScheme) || IsSame(scheme, "file"));
    return url ? scheme : std::string_view();
}

constexpr bool IsHexDigit(char byte) {
    return (byte >= '0' && byte <= '9') || (byte >= 'A' && byte <= 'F') || (byte >= 'a' && byte <= 'f');
}

// True when a text may have been percent-coded: it has whole codes alone, and nothing in it is plain that had to be coded.
bool IsPercentCoded(std::string_view text) {
    const auto is_plain = [](char byte) { return byte > ' ' && byte < '\x7F'; };
    bool coded = false;
    for (size_t at = text.find('%'); at != std::string_view::npos; at = text.find('%', at + 1)) {
        if (at + 2 >= text.size() || !IsHexDigit(text[at + 1]) || !IsHexDigit(text[at + 2]))
            return false;
        coded = true;
    }
    return coded && std::ranges::all_of(text, is_plain);
}

// Takes a host, or a drive, off a path whose slashes are plain.
void PlaceTake(Target *target) {
    std::string &path = target->path;
    const size_t drive = path.starts_with('/') ? 1 : 0;
    if (HasDrive(std::string_view(path).substr(drive))) {
        path.erase(0, drive + 2);
        if (!path.starts_with('/'))
            path = '/' + path;
        target->foreign = true;
    } else if (path.starts_with("//")) {
        path.erase(0, std::min(path.find('/', path.find_first_not_of('/')), path.size()));
        target->foreign = true;
    }
}

// A URL with one of these leads to files; hosts are those of other machines, as a rule.
Target UrlRead(std::string_view scheme, std::string_view rest) {
    constexpr std::string_view kSchemes[] = {"file", "smb", "cifs", "afp", "nfs"};
    const auto is_scheme = [&](std::string_view word) { return IsSame(word, scheme); };
    if (std::ranges::none_of(kSchemes, is_scheme))
        return {.local = false};
    constexpr std::string_view kHere = "//localhost/";
    if (IsSame(rest.substr(0, kHere.size()), kHere))
        rest.remove_prefix(kHere.size() - 1);
    else if (rest.starts_with("///"))
        rest.remove_prefix(2);
    return {.path = PercentDecoded(rest)};
}

Target TargetRead(std::string_view text) {
    const std::string_view scheme = SchemeOf(text);
    Target target = !scheme.empty()        ? UrlRead(scheme, text.substr(scheme.size() + 1))
                    : IsPercentCoded(text) ? Target{.path = PercentDecoded(text)}
                                           : Target{.path = std::string(text)};
    std::ranges::replace(target.path, '\\', '/');
    PlaceTake(&target);
    return target;
}

// Adds the components of a path, less those that lead nowhere.
void ComponentsAdd(std::string_view path, std::vector<std::string_view> *components) {
    while (!path.empty()) {
        const std::string_view component = path.substr(0, path.find('/'));
        path.remove_prefix(std::min(component.size() + 1, path.size()));
        if (component == ".." && !components->empty())
            components->pop_back();
        else if (!component.empty() && component != "." && component != "..")
            components->push_back(component);
    }
}

// Longer ones than a row can have are none.
std::string Joined(std::span<const std::string_view> components, std::string_view directory = {}) {
    std::string path(directory);
    for (const std::string_view component : components)
        path.append("/").append(component);
    return path.size() < kMediaPathSize ? path : std::string();
}

std::string_view DirectoryOf(std::string_view path) {
    return path.substr(0, std::min(path.rfind('/'), path.size()));
}

std::string PathFrom(std::string_view list, std::string_view path) {
    std::vector<std::string_view> components;
    if (!path.starts_with('/'))
        ComponentsAdd(DirectoryOf(list), &components);
    ComponentsAdd(path, &components);
    return Joined(components);
}

// The directories that paths of other machines may go on from: those that the list is in up to its share, then the shares.
std::vector<std::string_view> Bases(std::string_view list, std::span<const std::string> shares) {
    const auto is_in = [&](const std::string &share) { return PathIsUnder(list, share); };
    const auto own = std::ranges::find_if(shares, is_in);
    std::vector<std::string_view> bases;
    if (own != shares.end()) {
        for (std::string_view base = DirectoryOf(list);
             base.size() > own->size() && bases.size() < kPlaylistLevelsMax; base = DirectoryOf(base))
            bases.push_back(base);
        bases.push_back(*own);
    }
    for (auto share = shares.begin(); share != shares.end(); ++share) {
        if (share != own)
            bases.push_back(*share);
    }
    return bases;
}

// What is left of a path of another machine when `left_out` directories in front are.
bool MayGoOnFrom(std::string_view base, std::span<const std::string_view> components, size_t left_out) {
    return components.size() - left_out > 1 || left_out == 0 ||
           IsSame(components[left_out - 1], base.substr(base.rfind('/') + 1));
}

void ElsewhereAdd(std::string_view path, std::string_view list, std::span<const std::string> shares,
                  std::vector<std::string> *paths) {
    std::vector<std::string_view> components;
    ComponentsAdd(path, &components);
    const std::vector<std::string_view> bases = Bases(list, shares);
    const size_t first = components.size() - std::min(components.size(), kPlaylistLevelsMax);
    for (size_t left_out = first; left_out < components.size(); ++left_out) {
        for (const std::string_view base : bases) {
            if (MayGoOnFrom(base, components, left_out))
                paths->push_back(Joined(std::span(components).subspan(left_out), base));
        }
    }
}

} // namespace

std::string TargetNameFolded(std::string_view target) {
    const Target read = TargetRead(target);
    return read.local ? FileNameFolded(read.path) : std::string();
}

std::vector<std::string> TargetPaths(std::string_view target, std::string_view list,
                                     std::span<const std::string> shares) {
    const Target read = TargetRead(target);
    std::vector<std::string> paths;
    if (!read.local)
        return paths;
    if (!read.foreign)
        paths.push_back(PathFrom(list, read.path));
    const bool ours = !read.foreign && std::ranges::any_of(shares, [&](const std::string &share) {
        return PathIsUnder(paths.front(), share);
    });
    if (read.path.starts_with('/') && !ours)
        ElsewhereAdd(read.path, list, shares, &paths);
    std::erase(paths, std::string());
    return paths;
}

std::vector<std::string> TargetSpellings(std::string_view target, std::string_view written,
                                         std::string_view list) {
    std::vector<std::string> paths;
    if (!written.empty())
        paths.push_back(PathFrom(list, TargetRead(written).path));
    if (target.find_first_of("%\\") == std::string_view::npos)
        return paths;
    const std::string_view scheme = SchemeOf(target);
    const size_t root = target.find('/', scheme.size() + kBehindScheme.size());
    if (scheme.empty())
        paths.push_back(PathFrom(list, target));
    else if (IsSame(scheme, "file") && root != std::string_view::npos)
        paths.push_back(PathFrom(list, target.substr(root)));
    return paths;
}
