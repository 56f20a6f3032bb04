// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/container_name.h"

#include <array>
#include <string_view>

namespace {

struct BrandRow {
    std::string_view begin; // of the major brand
    const char *name;
};

constexpr BrandRow kBrands[] = {
    {"qt  ", "mov"}, {"M4A ", "m4a"}, {"M4B ", "m4a"}, {"3g2", "3g2"},
    {"3gp", "3gp"},  {"mjp2", "mj2"}, {"mj2s", "mj2"}, {"", "mp4"}, // all others
};

// QuickTime files of old have no brand.
const char *IsoMember(const AVFormatContext &format) {
    const AVDictionaryEntry *brand = av_dict_get(format.metadata, "major_brand", nullptr, 0);
    if (brand == nullptr)
        return "mov";
    for (const BrandRow &row : kBrands) {
        if (std::string_view(brand->value).starts_with(row.begin))
            return row.name;
    }
    return "mp4";
}

// The document type stands in the header of an EBML file, which is a few tens of bytes.
const char *MatroskaMember(ReaderInput *file) {
    std::array<std::byte, 64> header;
    const size_t got = InputRead(file, 0, header);
    const std::string_view text(reinterpret_cast<const char *>(header.data()), got);
    return text.find("\x42\x82\x84webm") != std::string_view::npos ? "webm" : "matroska";
}

} // namespace

std::string ContainerName(const FilmView &view, ReaderInput *file) {
    const std::string_view family(view.format->iformat->name);
    if (family.starts_with("mov,"))
        return IsoMember(*view.format);
    if (family.starts_with("matroska,"))
        return MatroskaMember(file);
    return std::string(family.substr(0, family.find(',')));
}
