// SPDX-License-Identifier: GPL-2.0-or-later
//
// Playlists of elements.
#include "platform/percent.h"
#include "reader/playlist/elements.h"
#include "reader/playlist/formats.h"
#include "reader/playlist/lines.h"

void XspfRead(std::string_view text, PlaylistOut *out) {
    Element element;
    bool in_track = false;
    bool located = false; // further locations of a track are other copies of it
    while (ElementTake(&text, &element)) {
        if (IsSame(element.name, "track")) {
            in_track = !element.ends;
            located = false;
        } else if (element.ends) {
            continue;
        } else if (in_track && !located && IsSame(element.name, "location")) {
            located = true;
            PlaylistEntryAdd(out, PercentDecoded(element.text));
        } else if (!in_track && IsSame(element.name, "title")) {
            PlaylistFactAdd(out, FactName::title, element.text);
        } else if (!in_track && IsSame(element.name, "creator")) {
            PlaylistFactAdd(out, FactName::artist, element.text);
        }
    }
}

void WplRead(std::string_view text, PlaylistOut *out) {
    Element element;
    while (ElementTake(&text, &element)) {
        if (!element.ends && IsSame(element.name, "media"))
            PlaylistEntryAdd(out, AttributeOf(element, "src"));
        else if (!element.ends && IsSame(element.name, "title"))
            PlaylistFactAdd(out, FactName::title, element.text);
    }
}

void AsxRead(std::string_view text, PlaylistOut *out) {
    Element element;
    bool in_entry = false;
    bool located = false; // further references of an entry are for when the first does not answer
    while (ElementTake(&text, &element)) {
        if (IsSame(element.name, "entry")) {
            in_entry = !element.ends;
            located = false;
        } else if (element.ends) {
            continue;
        } else if ((IsSame(element.name, "ref") && !located) || IsSame(element.name, "entryref")) {
            located = in_entry;
            PlaylistEntryAdd(out, AttributeOf(element, "href"));
        } else if (!in_entry && IsSame(element.name, "title")) {
            PlaylistFactAdd(out, FactName::title, element.text);
        }
    }
}
