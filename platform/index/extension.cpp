// SPDX-License-Identifier: GPL-2.0-or-later
//
// What a path's extension says about a file.
#include "platform/veluindex.h"

#include <string.h>

#include <algorithm>
#include <span>
#include <string_view>

#include "platform/letters.h"

namespace {

using Extensions = std::span<const std::string_view>;

constexpr std::string_view kJpeg[] = {"jpg", "jpeg", "jpe"};

constexpr std::string_view kPhotoOnWeb[] = {"jpg", "jpeg", "jpe", "bmp",  "gif", "ico",
                                            "png", "psd",  "tif", "tiff", "ufo"};

constexpr std::string_view kVideoOnWeb[] = {"avi", "mpg", "mpeg", "mp4", "m4v", "mov",  "qt",
                                            "wmv", "asf", "3gp",  "3g2", "flv", "divx", "xvid"};

// Everything that is indexed as a video: what can be probed, video CD data files, and the disc images and
// subtitles that are listed beside them without being read.
constexpr std::string_view kVideo[] = {"avi",  "mpg", "mpeg", "dat",  "asf", "wmv", "vob",    "mov",  "rm",
                                       "rmvb", "mp4", "divx", "xvid", "flv", "mkv", "ts",     "m2ts", "m2t",
                                       "mts",  "m4v", "3gp",  "3g2",  "qt",  "swf", "dvr-ms", "iso",  "ifo",
                                       "srt",  "ass", "ssa",  "idx",  "sub", "smi", "psb",    "trp",  "tp"};

// strcasecmp goes by the process's locale, extensions by ASCII alone.
bool SameExtension(std::string_view a, std::string_view b) {
    return std::ranges::equal(a, b, {}, Lower, Lower);
}

int IsOneOf(Extensions extensions, const char *extension) {
    if (extension == nullptr)
        return 0;
    const std::string_view wanted = extension;
    const auto same = [wanted](std::string_view known) { return SameExtension(known, wanted); };
    return std::ranges::any_of(extensions, same) ? 1 : 0;
}

} // namespace

const char *VELUIndexExtGet(const char *path) {
    const char *dot = path == nullptr ? nullptr : strrchr(path, '.');
    return dot == nullptr || dot[1] == '\0' ? nullptr : dot + 1;
}

int BlVELUIndexIsJpeg(const char *extension) {
    return IsOneOf(kJpeg, extension);
}

int BlVELUIndexIsPhotoOnWeb(const char *extension) {
    return IsOneOf(kPhotoOnWeb, extension);
}

int BlVELUIndexIsVideoOnWeb(const char *extension) {
    return IsOneOf(kVideoOnWeb, extension);
}

int BlVELUIndexIsVideo(const char *extension) {
    return IsOneOf(kVideo, extension);
}

int BlVELUIndexIsPhotoOnWebFile(const char *path) {
    return BlVELUIndexIsPhotoOnWeb(VELUIndexExtGet(path));
}

int BlVELUIndexIsVideoOnWebFile(const char *path) {
    return BlVELUIndexIsVideoOnWeb(VELUIndexExtGet(path));
}
