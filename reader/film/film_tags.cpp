// SPDX-License-Identifier: GPL-2.0-or-later
#include "reader/film/film_tags.h"

#include <string.h>

#include <iterator>
#include <string>
#include <string_view>

#include "reader/film/location.h"
#include "reader/sound/tag_items.h"

namespace {

// Where a fact has several rows, the first that gives something counts.
constexpr TagRow kFilmTags[] = {
    // what every container may have, as libavformat calls it
    {"title", FactName::title},
    {"album", FactName::album},
    {"artist", FactName::artist},
    {"album_artist", FactName::albumartist},
    {"genre", FactName::genre, ValueForm::genre},
    {"composer", FactName::composer},
    {"comment", FactName::comment},
    {"date", FactName::date, ValueForm::date},
    {"track", FactName::track, ValueForm::pair},
    {"disc", FactName::disc, ValueForm::pair},
    {"publisher", FactName::publisher},
    {"language", FactName::language},
    {"description", FactName::description},
    {"synopsis", FactName::description},
    {"lyrics", FactName::lyrics},
    {"lyrics-*", FactName::lyrics}, // of ID3, with its language
    {"compilation", FactName::compilation, ValueForm::flag},
    {"show", FactName::show},
    {"season_number", FactName::season, ValueForm::whole},
    {"episode_sort", FactName::episode, ValueForm::whole},
    {"sort_name", FactName::titlesort},
    {"sort_artist", FactName::artistsort},
    {"sort_album", FactName::albumsort},
    {"title-sort", FactName::titlesort},
    {"artist-sort", FactName::artistsort},
    {"album-sort", FactName::albumsort},
    {"make", FactName::camera_make},
    {"model", FactName::camera_model},
    // MP4: items that libavformat does not translate, free ones, and QuickTime's keys
    {"tmpo", FactName::bpm, ValueForm::number},
    {"conductor", FactName::conductor},
    {"lyricist", FactName::lyricist},
    {"label", FactName::publisher},
    {"isrc", FactName::isrc},
    {"originaldate", FactName::originaldate, ValueForm::date},
    {"com.apple.quicktime.title", FactName::title},
    {"com.apple.quicktime.album", FactName::album},
    {"com.apple.quicktime.artist", FactName::artist},
    {"com.apple.quicktime.author", FactName::artist},
    {"com.apple.quicktime.genre", FactName::genre},
    {"com.apple.quicktime.comment", FactName::comment},
    {"com.apple.quicktime.description", FactName::description},
    {"com.apple.quicktime.creationdate", FactName::date, ValueForm::date},
    {"com.apple.quicktime.year", FactName::date, ValueForm::date},
    {"com.apple.quicktime.make", FactName::camera_make},
    {"com.apple.quicktime.model", FactName::camera_model},
    {"com.android.manufacturer", FactName::camera_make},
    {"com.android.model", FactName::camera_model},
    // Matroska: names of its tag registry, of targets with a type as well
    {"MOVIE/TITLE", FactName::title},
    {"EPISODE/TITLE", FactName::title},
    {"TRACK/TITLE", FactName::title},
    {"SONG/TITLE", FactName::title},
    {"ALBUM/TITLE", FactName::album},
    {"COLLECTION/TITLE", FactName::show},
    {"TRACK/ARTIST", FactName::artist},
    {"SONG/ARTIST", FactName::artist},
    {"ALBUM/ARTIST", FactName::albumartist},
    {"MOVIE/GENRE", FactName::genre},
    {"ALBUM/GENRE", FactName::genre},
    {"TRACK/GENRE", FactName::genre},
    {"MOVIE/COMMENT", FactName::comment},
    {"MOVIE/DESCRIPTION", FactName::description},
    {"EPISODE/DESCRIPTION", FactName::description},
    {"SEASON/PART_NUMBER", FactName::season, ValueForm::whole},
    {"EPISODE/PART_NUMBER", FactName::episode, ValueForm::whole},
    {"TRACK/PART_NUMBER", FactName::track, ValueForm::pair},
    {"ALBUM/TOTAL_PARTS", FactName::tracktotal, ValueForm::whole},
    {"DATE_RECORDED", FactName::date, ValueForm::date},
    {"DATE_RELEASED", FactName::date, ValueForm::date},
    {"MOVIE/DATE_RELEASED", FactName::date, ValueForm::date},
    {"EPISODE/DATE_RELEASED", FactName::date, ValueForm::date},
    {"ALBUM/DATE_RELEASED", FactName::date, ValueForm::date},
    {"ALBUM/DATE_RECORDED", FactName::date, ValueForm::date},
    {"TRACK/DATE_RECORDED", FactName::date, ValueForm::date},
    {"TOTAL_PARTS", FactName::tracktotal, ValueForm::whole},
    {"SUMMARY", FactName::description},
    {"TVSHOW", FactName::show},
    {"SEASON", FactName::season, ValueForm::whole},
    {"EPISODE", FactName::episode, ValueForm::whole},
    {"SORT_WITH", FactName::titlesort},
    // ASF, WTV
    {"WM/Year", FactName::date, ValueForm::date},
    {"WM/OriginalReleaseYear", FactName::originaldate, ValueForm::date},
    {"WM/Conductor", FactName::conductor},
    {"WM/Writer", FactName::lyricist},
    {"WM/ISRC", FactName::isrc},
    {"WM/Lyrics", FactName::lyrics},
    {"WM/BeatsPerMinute", FactName::bpm, ValueForm::number},
    {"WM/IsCompilation", FactName::compilation, ValueForm::flag},
    {"WM/TitleSortOrder", FactName::titlesort},
    {"WM/ArtistSortOrder", FactName::artistsort},
    {"WM/AlbumSortOrder", FactName::albumsort},
    {"WM/SubTitleDescription", FactName::description},
    // ID3 and Vorbis comments
    {"TBPM", FactName::bpm, ValueForm::number},
    {"BPM", FactName::bpm, ValueForm::number},
    {"TSRC", FactName::isrc},
    {"TDOR", FactName::originaldate, ValueForm::date},
    {"TORY", FactName::originaldate, ValueForm::date},
    {"TEXT", FactName::lyricist},
    {"performer", FactName::conductor}, // libavformat's word for TPE3
    {"TRACKTOTAL", FactName::tracktotal, ValueForm::whole},
    {"TOTALTRACKS", FactName::tracktotal, ValueForm::whole},
    {"DISCTOTAL", FactName::disctotal, ValueForm::whole},
    {"TOTALDISCS", FactName::disctotal, ValueForm::whole},
    {"TITLESORT", FactName::titlesort},
    {"ARTISTSORT", FactName::artistsort},
    {"ALBUMSORT", FactName::albumsort},
    // FLV, RealMedia and whatever else has words of its own
    {"author", FactName::artist},
    {"year", FactName::date, ValueForm::date},
    {"keywords", FactName::keyword},
    // free names that taggers use everywhere
    {"replaygain_track_gain", FactName::replaygain_track_gain, ValueForm::gain},
    {"replaygain_album_gain", FactName::replaygain_album_gain, ValueForm::gain},
    {"MusicBrainz Track Id", FactName::musicbrainz_trackid},
    {"MusicBrainz Album Id", FactName::musicbrainz_albumid},
    {"MusicBrainz Artist Id", FactName::musicbrainz_artistid},
    {"MusicBrainz/Track Id", FactName::musicbrainz_trackid},
    {"MusicBrainz/Album Id", FactName::musicbrainz_albumid},
    {"MusicBrainz/Artist Id", FactName::musicbrainz_artistid},
    {"musicbrainz_trackid", FactName::musicbrainz_trackid},
    {"musicbrainz_albumid", FactName::musicbrainz_albumid},
    {"musicbrainz_artistid", FactName::musicbrainz_artistid},
};

// Cuts values apart that libavformat has joined, which it does without a blank; people write one.
void ItemsAddJoined(TagItems *items, const AVDictionaryEntry &entry) {
    std::string_view rest(entry.value);
    size_t from = 0;
    while (true) {
        const size_t cut = rest.find(';', from);
        if (cut != std::string_view::npos && cut + 1 < rest.size() && rest[cut + 1] == ' ') {
            from = cut + 1;
            continue;
        }
        items->push_back({entry.key, std::string(rest.substr(0, cut))});
        if (cut == std::string_view::npos)
            return;
        rest.remove_prefix(cut + 1);
        from = 0;
    }
}

void TagsAdd(const AVDictionary *tags, bool joined, FactList *facts) {
    TagItems items;
    const AVDictionaryEntry *entry = nullptr;
    while ((entry = av_dict_get(tags, "", entry, AV_DICT_IGNORE_SUFFIX)) != nullptr) {
        if (joined)
            ItemsAddJoined(&items, *entry);
        else
            items.push_back({entry->key, entry->value});
    }
    FactsFromItems(items, {kFilmTags, std::size(kFilmTags)}, FactSource::libavformat, facts);
}

} // namespace

void FilmTagsRead(const FilmView &view, FactList *facts) {
    // In an Ogg file the tags are the streams', those of the sound before those of the film; elsewhere they name the stream.
    const bool in_streams = strcmp(view.format->iformat->name, "ogg") == 0;
    TagsAdd(view.format->metadata, in_streams, facts);
    for (const AVStream *stream : {view.sound, view.film}) {
        if (in_streams && stream != nullptr)
            TagsAdd(stream->metadata, true, facts);
    }
    LocationRead(view.format->metadata, facts);
}
