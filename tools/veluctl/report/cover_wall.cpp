// SPDX-License-Identifier: GPL-2.0-or-later
#include "tools/veluctl/report/cover_wall.h"

#include "tools/veluctl/report/cover_choice.h"
#include "tools/veluctl/report/number_text.h"
#include "tools/veluctl/report/open_list.h"

namespace {

constexpr size_t kCoversMax = 48;

struct FateText {
    CoverFate fate;
    const char *one; // "1 picture ..."
    const char *many;
    const char *command; // that mends it; none: nothing does
};
constexpr FateText kFates[] = {
    {CoverFate::large, "picture has no place here: it is larger than 160\u202FkB or 1600 pixels wide or high",
     "pictures have no place here: they are larger than 160\u202FkB or 1600 pixels wide or high", ""},
    {CoverFate::damaged, "picture is damaged", "pictures are damaged", "sudo veluctl add -f FILE"},
    {CoverFate::gone, "picture is gone", "pictures are gone", "sudo veluctl check --fix"},
    {CoverFate::unreadable, "picture cannot be read by whoever made this page",
     "pictures cannot be read by whoever made this page", "sudo veluctl report FILE.html"},
};

Literal MediaType(PictureFormat format) {
    switch (format) {
    case PictureFormat::png:
        return "png";
    case PictureFormat::webp:
        return "webp";
    case PictureFormat::gif:
        return "gif";
    case PictureFormat::jpeg:
    case PictureFormat::none:
        break;
    }
    return "jpeg";
}

// Ends the entry of a picture, or of what stands in its place.
void OwnerWrite(HtmlWriter *html, const CoverOwner &owner) {
    html->Put("<p><bdi title=\"").Text(owner.name).Put("\">").Text(owner.name).Put("</bdi>");
    if (!owner.more.empty())
        html->Put("<bdi class=\"artist\" title=\"")
            .Text(owner.more)
            .Put("\">")
            .Text(owner.more)
            .Put("</bdi>");
    html->Put("</p></li>\n");
}

void CoverWrite(HtmlWriter *html, const CoverOwner &owner, const ChosenCover &cover) {
    html->Put("<li><img alt=\"\" width=\"160\" height=\"160\" decoding=\"async\" src=\"data:image/")
        .Put(MediaType(cover.format))
        .Put(";base64,")
        .Base64(cover.bytes);
    html->Put("\">");
    OwnerWrite(html, owner);
}

// A picture that is too large to be shown as it is.
void PlaceholderWrite(HtmlWriter *html, const CoverOwner &owner) {
    html->Put("<li class=\"unshown\"><div aria-hidden=\"true\"><bdi>").Text(owner.name).Put("</bdi></div>");
    OwnerWrite(html, owner);
}

struct Unfit {
    CoverFate fate;
    const CoverOwner *owner;
};

void UnfitWrite(HtmlWriter *html, const std::vector<Unfit> &unfit) {
    for (const FateText &text : kFates) {
        OpenList list = {{}, 0, text.command};
        for (const Unfit &one : unfit)
            if (one.fate == text.fate)
                list.entries.push_back({one.owner->path, one.owner->name});
        list.in_all = static_cast<int64_t>(list.entries.size());
        list.summary = CountedText(list.in_all, text.one, text.many) + ".";
        if (list.in_all > 0)
            OpenListWrite(html, list);
    }
}

} // namespace

void CoverWallWrite(HtmlWriter *html, const CoverWall &wall) {
    if (wall.in_all == 0)
        return;
    html->Put("<section id=\"").Put(wall.anchor).Put("\" class=\"").Put(wall.style).Put("\"><h2>");
    html->Put(wall.heading).Put("</h2>\n<ul class=\"covers\">\n");
    std::vector<Unfit> unfit;
    int64_t shown = 0;
    int64_t named = 0;
    size_t bytes = 0;
    for (const CoverOwner &owner : wall.newest) {
        if (static_cast<size_t>(shown + named) >= kCoversMax || bytes > wall.bytes_max - kCoverBytesMax)
            break;
        const ChosenCover cover = CoverChoose(owner.path);
        if (cover.fate == CoverFate::large) {
            ++named;
            PlaceholderWrite(html, owner);
        }
        if (cover.fate != CoverFate::fit) {
            unfit.push_back({cover.fate, &owner});
            continue;
        }
        bytes += cover.bytes.size();
        ++shown;
        CoverWrite(html, owner, cover);
    }
    html->Put("</ul>\n<p class=\"note\">").Text(CountText(shown)).Put(" of ");
    html->Text(CountedText(wall.in_all, wall.one, wall.many)).Put(" with a cover, the newest first");
    if (named > 0)
        html->Text("; " + CountText(named) + " more by name alone");
    html->Put(".</p>\n");
    UnfitWrite(html, unfit);
    html->Put("</section>\n");
}
