// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/listed_file.h"

#include <algorithm>

namespace {

constexpr char kBetweenValues[] = ",";

// Texts that say something, with blanks between them.
std::string Joined(std::initializer_list<std::string> texts, const char *between = " ") {
    std::string joined;
    for (const std::string &text : texts)
        if (!text.empty())
            joined.append(joined.empty() ? "" : between).append(text);
    return joined;
}

std::string TextOf(const ListedFile &file, const char *column) {
    return file.Column(column).value_or("");
}

Value KindOfFile(const ListedFile &file) {
    return file.table->kind;
}

std::string Pixels(const ListedFile &file) {
    const std::string width = TextOf(file, "width");
    return width.empty() || width == "0" ? "" : width + "x" + TextOf(file, "height");
}

Value PixelsOf(const ListedFile &file) {
    return Pixels(file);
}

Value CodecOfFilm(const ListedFile &file) {
    return file.Facts("video_codec");
}

Value LanguagesOf(const ListedFile &file) {
    return file.Facts("audio_language");
}

Value AboutOf(const ListedFile &file) {
    const std::string_view kind = file.table->kind;
    if (kind == "music")
        return Joined({TextOf(file, "artist"), TextOf(file, "album")}, ": ");
    if (kind == "video")
        return Joined({Pixels(file), file.Facts("video_codec"), file.Facts("audio_language")});
    if (kind == "photo")
        return Joined({ValueShow(TextOf(file, "date_taken"), Type::moment), TextOf(file, "camera_model")});
    return {};
}

Value AddedOf(const ListedFile &file) {
    return file.details.added;
}

Value ChangedOf(const ListedFile &file) {
    return file.Column("create_time");
}

struct Made {
    std::string_view name;
    ListColumn column;
};

const std::vector<Made> &AllMade() {
    static const std::vector<Made> all = {
        {"kind", {{"kind", "KIND", Type::text}, {}, ListNeeds::nothing, false, KindOfFile}},
        {"pixels",
         {{"pixels", "PIXELS", Type::text}, {"width", "height"}, ListNeeds::nothing, false, PixelsOf}},
        {"codec", {{"codec", "CODEC", Type::text}, {}, ListNeeds::films, true, CodecOfFilm}},
        {"languages", {{"languages", "LANGUAGES", Type::text}, {}, ListNeeds::films, true, LanguagesOf}},
        {"about",
         {{"about", "ABOUT", Type::text},
          {"artist", "album", "width", "height", "date_taken", "camera_model"},
          ListNeeds::films,
          false,
          AboutOf}},
        {kAddedColumn, {{"added", "ADDED", Type::moment}, {}, ListNeeds::all, true, AddedOf}},
        {kChangedColumn,
         {{"added", "ADDED", Type::moment}, {"create_time"}, ListNeeds::nothing, false, ChangedOf}}};
    return all;
}

} // namespace

Value ListedFile::Column(std::string_view name) const {
    const auto found = std::ranges::find(names, name);
    return found != names.end() ? row[static_cast<size_t>(found - names.begin())] : Value();
}

std::string ListedFile::Facts(std::string_view name) const {
    std::vector<std::string> values;
    for (const auto &[fact, value] : details.facts)
        if (fact == name && std::ranges::find(values, value) == values.end())
            values.push_back(value);
    std::string joined;
    for (const std::string &value : values)
        joined.append(joined.empty() ? "" : kBetweenValues).append(value);
    return joined;
}

ListColumn ListColumnOf(const CatalogueTable &table, std::string_view name) {
    const auto made = std::ranges::find(AllMade(), name, &Made::name);
    if (made != AllMade().end())
        return made->column;
    const Column &own = ColumnOf(table, name);
    return {own, {own.name}};
}
