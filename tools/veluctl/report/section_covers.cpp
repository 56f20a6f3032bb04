// SPDX-License-Identifier: GPL-2.0-or-later
//
// The cover wall: a picture for each of the newest albums.
#include "tools/veluctl/report/cover_choice.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/report.h"

namespace {

constexpr size_t kCoversMax = 48;
constexpr size_t kAlbumsLookedAt = 300; // some have no cover that is fit

struct Album {
    std::string name;
    std::string artist;
    std::string path; // of a track with a cover
};

struct Albums {
    std::vector<Album> newest;
    int64_t in_all = 0;
};

Albums AlbumsTake(Report *report) {
    Albums albums;
    if (report->tallies.failed)
        return albums;
    const ResultHandle rows = CatalogueQuery(
        report->tallies.reader, Catalogue::media,
        "select album, min(artist) as first_artist, max(artist) as last_artist, min(path) as path, "
        "max(create_time) as newest, count(*) over () as in_all from music where has_cover <> 0 and album <> "
        "'' "
        "group by album order by 5 desc, 1 limit " +
            std::to_string(kAlbumsLookedAt),
        {});
    report->tallies.failed = rows == nullptr;
    const auto field = [&](int at, const char *column) {
        return std::string(VELUDBFetchText(rows.get(), at, column));
    };
    for (int at = -1; rows != nullptr && VELUDBFetchRow(rows.get(), &at) == 0;) {
        const std::string artist = field(at, "first_artist");
        albums.newest.push_back({field(at, "album"),
                                 artist == field(at, "last_artist") ? artist : "Various artists",
                                 field(at, "path")});
        albums.in_all = strtoll(field(at, "in_all").c_str(), nullptr, 10);
    }
    return albums;
}

void CoverWrite(HtmlWriter *html, const Album &album, const ChosenCover &cover) {
    html->Put("<li><img alt=\"\" width=\"160\" height=\"160\" decoding=\"async\" src=\"data:image/");
    html->Put(cover.kind == PictureKind::png ? Literal("png") : Literal("jpeg"))
        .Put(";base64,")
        .Base64(cover.bytes);
    html->Put("\"><p><bdi title=\"").Text(album.name).Put("\">").Text(album.name).Put("</bdi>");
    if (!album.artist.empty())
        html->Put("<bdi class=\"artist\" title=\"")
            .Text(album.artist)
            .Put("\">")
            .Text(album.artist)
            .Put("</bdi>");
    html->Put("</p></li>\n");
}

} // namespace

void CoversWrite(Report *report) {
    const Albums albums = AlbumsTake(report);
    if (albums.in_all == 0)
        return;
    HtmlWriter *html = &report->html;
    html->Put("<section id=\"covers\" class=\"music\"><h2>Covers</h2>\n<ul class=\"covers\">\n");
    int64_t shown = 0;
    int64_t unfit = 0;
    size_t bytes = 0;
    for (const Album &album : albums.newest) {
        if (static_cast<size_t>(shown) == kCoversMax || bytes > kCoverWallBytesMax - kCoverBytesMax)
            break;
        const ChosenCover cover = CoverChoose(album.path);
        if (cover.kind == PictureKind::none) {
            ++unfit;
            continue;
        }
        bytes += cover.bytes.size();
        ++shown;
        CoverWrite(html, album, cover);
    }
    html->Put("</ul>\n<p class=\"note\">").Text(CountText(shown)).Put(" of ");
    html->Text(CountedText(albums.in_all, "album", "albums")).Put(" with a cover, the newest first.");
    if (unfit > 0)
        html->Put(" Left out between them: ")
            .Text(CountText(unfit))
            .Put(" whose pictures are gone, damaged, larger than 160\u202FkB or more than 1600 pixels wide "
                 "or high.");
    html->Put("</p></section>\n");
}
