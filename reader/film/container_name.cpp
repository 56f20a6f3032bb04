// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/container_name.h"

#include <array>
#include <string_view>

#include "reader/syntax/iso_container.h"

namespace {

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
    if (family.starts_with("mov,")) {
        const AVDictionaryEntry *brand = av_dict_get(view.format->metadata, "major_brand", nullptr, 0);
        return IsoContainerName(brand != nullptr ? brand->value : "");
    }
    if (family.starts_with("matroska,"))
        return MatroskaMember(file);
    return std::string(family.substr(0, family.find(',')));
}
