// SPDX-License-Identifier: GPL-2.0-or-later
//
// To add a fact, add its row to each format that has a key for it. Facts with one value stand before those with several, so
// that a file with hundreds of performers still has its title.
//
// What TagLib 1.13 misses, with the file shape that shows it, and what makes up for it:
//
//   what it misses                                                          made up for by
//   the whole tag behind an extended header of v2.3                         id3v2.cpp, which reads all ID3v2: TagLib is given
//   the last frame before the footer of a v2.4 tag                            files from behind their tags on
//   frames of v2.2 without a successor it knows (TXT, ...)
//   genres RX, CR and ((...; compressed frames without their length
//   sizes of v2.4 frames that are no syncsafe numbers, above 127 bytes
//   any tag of DSF, DSDIFF, AAC (ADTS)                                      dsd.cpp, adts.cpp
//   RIFF INFO beyond title, artist, album, comment, genre, year, track;     riff.cpp, aiff.cpp
//     RF64; ID3 chunks of AIFF behind a chunk of odd length
//   AIFC with frames of several samples (ima4): 1/64 of the duration        aiff.cpp
//   MP4: codecs but AAC and ALAC, channels beyond two, fragments,           mp4_file.cpp, mp4_track.cpp, mp4_items.cpp
//     text of 3GPP and QuickTime; it goes down as deep as the file says
//   MP3: frames of free format; durations of VBR without a Xing or VBRI     mpeg.cpp
//     header, and of files with such a header that were joined
//   property map: ReplayGain of MP4 and ASF, compilation, all artists       the tables below, on each format's own structures
//     of ASF but the first
//   Opus: the gain of its header and its R128_* comments                    kXiphTable
//   Ogg FLAC whose header does not tell the length                          library_files.cpp
//   codec names and containers                                              library_files.cpp
#include "reader/sound/tag_tables.h"

#include <iterator>

namespace {

constexpr TagRow kId3Rows[] = {
    {"TIT2", FactName::title},
    {"TALB", FactName::album},
    {"TRCK", FactName::track, ValueForm::pair},
    {"TPOS", FactName::disc, ValueForm::pair},
    {"TXXX:TRACKTOTAL", FactName::tracktotal, ValueForm::whole},
    {"TXXX:TOTALTRACKS", FactName::tracktotal, ValueForm::whole},
    {"TXXX:DISCTOTAL", FactName::disctotal, ValueForm::whole},
    {"TXXX:TOTALDISCS", FactName::disctotal, ValueForm::whole},
    {"TDRC", FactName::date, ValueForm::date},
    {"TDRL", FactName::date, ValueForm::date},
    {"TDOR", FactName::originaldate, ValueForm::date},
    {"TXXX:ORIGINALDATE", FactName::originaldate, ValueForm::date},
    {"TXXX:ORIGINALYEAR", FactName::originaldate, ValueForm::date},
    {"TCMP", FactName::compilation, ValueForm::flag},
    {"TXXX:COMPILATION", FactName::compilation, ValueForm::flag},
    {"TBPM", FactName::bpm, ValueForm::number},
    {"TXXX:REPLAYGAIN_TRACK_GAIN", FactName::replaygain_track_gain, ValueForm::gain},
    {"RVA2:track", FactName::replaygain_track_gain, ValueForm::gain},
    {"TXXX:REPLAYGAIN_ALBUM_GAIN", FactName::replaygain_album_gain, ValueForm::gain},
    {"RVA2:album", FactName::replaygain_album_gain, ValueForm::gain},
    {"TSOT", FactName::titlesort},
    {"XSOT", FactName::titlesort},
    {"TXXX:TITLESORT", FactName::titlesort},
    {"TSOA", FactName::albumsort},
    {"XSOA", FactName::albumsort},
    {"TXXX:ALBUMSORT", FactName::albumsort},
    {"TPE1", FactName::artist},
    {"TPE2", FactName::albumartist},
    {"TXXX:ALBUMARTIST", FactName::albumartist},
    {"TXXX:ALBUM ARTIST", FactName::albumartist},
    {"TCON", FactName::genre, ValueForm::genre_id3},
    {"TCOM", FactName::composer},
    {"TPE3", FactName::conductor},
    {"TEXT", FactName::lyricist},
    {"TPUB", FactName::publisher},
    {"TSRC", FactName::isrc},
    {"TLAN", FactName::language},
    {"TSOP", FactName::artistsort},
    {"XSOP", FactName::artistsort},
    {"TXXX:ARTISTSORT", FactName::artistsort},
    {"UFID:http://musicbrainz.org", FactName::musicbrainz_trackid},
    {"TXXX:MusicBrainz Track Id", FactName::musicbrainz_trackid},
    {"TXXX:MusicBrainz Album Id", FactName::musicbrainz_albumid},
    {"TXXX:MusicBrainz Artist Id", FactName::musicbrainz_artistid},
    {"COMM:", FactName::comment},
    {"COMM:*", FactName::comment},
    {"CHAP", FactName::chapter},
    {"USLT", FactName::lyrics},
    {"TXXX:LYRICS", FactName::lyrics},
};

constexpr TagRow kXiphRows[] = {
    {"TITLE", FactName::title},
    {"ALBUM", FactName::album},
    {"TRACKNUMBER", FactName::track, ValueForm::pair},
    {"TRACK", FactName::track, ValueForm::pair},
    {"TRACKTOTAL", FactName::tracktotal, ValueForm::whole},
    {"TOTALTRACKS", FactName::tracktotal, ValueForm::whole},
    {"DISCNUMBER", FactName::disc, ValueForm::pair},
    {"DISC", FactName::disc, ValueForm::pair},
    {"DISCTOTAL", FactName::disctotal, ValueForm::whole},
    {"TOTALDISCS", FactName::disctotal, ValueForm::whole},
    {"DATE", FactName::date, ValueForm::date},
    {"YEAR", FactName::date, ValueForm::date},
    {"ORIGINALDATE", FactName::originaldate, ValueForm::date},
    {"ORIGINALYEAR", FactName::originaldate, ValueForm::date},
    {"COMPILATION", FactName::compilation, ValueForm::flag},
    {"ITUNESCOMPILATION", FactName::compilation, ValueForm::flag},
    {"BPM", FactName::bpm, ValueForm::number},
    {"TEMPO", FactName::bpm, ValueForm::number},
    {"REPLAYGAIN_TRACK_GAIN", FactName::replaygain_track_gain, ValueForm::gain},
    {"R128_TRACK_GAIN", FactName::replaygain_track_gain, ValueForm::gain_r128},
    {"REPLAYGAIN_ALBUM_GAIN", FactName::replaygain_album_gain, ValueForm::gain},
    {"R128_ALBUM_GAIN", FactName::replaygain_album_gain, ValueForm::gain_r128},
    {"TITLESORT", FactName::titlesort},
    {"ALBUMSORT", FactName::albumsort},
    {"ARTIST", FactName::artist},
    {"ALBUMARTIST", FactName::albumartist},
    {"ALBUM ARTIST", FactName::albumartist},
    {"ALBUM_ARTIST", FactName::albumartist},
    {"GENRE", FactName::genre, ValueForm::genre},
    {"COMPOSER", FactName::composer},
    {"CONDUCTOR", FactName::conductor},
    {"LYRICIST", FactName::lyricist},
    {"ORGANIZATION", FactName::publisher},
    {"PUBLISHER", FactName::publisher},
    {"LABEL", FactName::publisher},
    {"ISRC", FactName::isrc},
    {"LANGUAGE", FactName::language},
    {"ARTISTSORT", FactName::artistsort},
    {"MUSICBRAINZ_TRACKID", FactName::musicbrainz_trackid},
    {"MUSICBRAINZ_ALBUMID", FactName::musicbrainz_albumid},
    {"MUSICBRAINZ_ARTISTID", FactName::musicbrainz_artistid},
    {"COMMENT", FactName::comment},
    {"DESCRIPTION", FactName::comment},
    {"CHAPTER NAME", FactName::chapter},
    {"LYRICS", FactName::lyrics},
    {"UNSYNCEDLYRICS", FactName::lyrics},
    {"UNSYNCED LYRICS", FactName::lyrics},
};

constexpr TagRow kMp4Rows[] = {
    {"©nam", FactName::title},
    {"titl", FactName::title},
    {"©alb", FactName::album},
    {"albm", FactName::album},
    {"trkn", FactName::track, ValueForm::pair},
    {"disk", FactName::disc, ValueForm::pair},
    {"©day", FactName::date, ValueForm::date},
    {"yrrc", FactName::date, ValueForm::date},
    {"----:ORIGINALDATE", FactName::originaldate, ValueForm::date},
    {"----:ORIGINALYEAR", FactName::originaldate, ValueForm::date},
    {"cpil", FactName::compilation, ValueForm::flag},
    {"tmpo", FactName::bpm, ValueForm::number},
    {"----:BPM", FactName::bpm, ValueForm::number},
    {"----:replaygain_track_gain", FactName::replaygain_track_gain, ValueForm::gain},
    {"----:replaygain_album_gain", FactName::replaygain_album_gain, ValueForm::gain},
    {"sonm", FactName::titlesort},
    {"soal", FactName::albumsort},
    {"©ART", FactName::artist},
    {"----:ARTISTS", FactName::artist},
    {"perf", FactName::artist},
    {"auth", FactName::artist},
    {"aART", FactName::albumartist},
    {"©gen", FactName::genre, ValueForm::genre},
    {"gnre", FactName::genre, ValueForm::genre},
    {"©wrt", FactName::composer},
    {"----:CONDUCTOR", FactName::conductor},
    {"©con", FactName::conductor},
    {"----:LYRICIST", FactName::lyricist},
    {"----:PUBLISHER", FactName::publisher},
    {"----:LABEL", FactName::publisher},
    {"----:ORGANIZATION", FactName::publisher},
    {"©pub", FactName::publisher},
    {"----:ISRC", FactName::isrc},
    {"----:LANGUAGE", FactName::language},
    {"soar", FactName::artistsort},
    {"----:MusicBrainz Track Id", FactName::musicbrainz_trackid},
    {"----:MusicBrainz Album Id", FactName::musicbrainz_albumid},
    {"----:MusicBrainz Artist Id", FactName::musicbrainz_artistid},
    {"©cmt", FactName::comment},
    {"dscp", FactName::comment},
    {"desc", FactName::description},
    {"ldes", FactName::description},
    {"tvsh", FactName::show},
    {"tvsn", FactName::season, ValueForm::whole},
    {"tves", FactName::episode, ValueForm::whole},
    {"chpl", FactName::chapter},
    {"©lyr", FactName::lyrics},
};

constexpr TagRow kApeRows[] = {
    {"Title", FactName::title},
    {"Album", FactName::album},
    {"Track", FactName::track, ValueForm::pair},
    {"Tracknumber", FactName::track, ValueForm::pair},
    {"Tracktotal", FactName::tracktotal, ValueForm::whole},
    {"Totaltracks", FactName::tracktotal, ValueForm::whole},
    {"Disc", FactName::disc, ValueForm::pair},
    {"Discnumber", FactName::disc, ValueForm::pair},
    {"Disctotal", FactName::disctotal, ValueForm::whole},
    {"Totaldiscs", FactName::disctotal, ValueForm::whole},
    {"Year", FactName::date, ValueForm::date},
    {"Date", FactName::date, ValueForm::date},
    {"Record Date", FactName::date, ValueForm::date},
    {"Originaldate", FactName::originaldate, ValueForm::date},
    {"Originalyear", FactName::originaldate, ValueForm::date},
    {"Compilation", FactName::compilation, ValueForm::flag},
    {"BPM", FactName::bpm, ValueForm::number},
    {"REPLAYGAIN_TRACK_GAIN", FactName::replaygain_track_gain, ValueForm::gain},
    {"REPLAYGAIN_ALBUM_GAIN", FactName::replaygain_album_gain, ValueForm::gain},
    {"Titlesort", FactName::titlesort},
    {"Albumsort", FactName::albumsort},
    {"Artist", FactName::artist},
    {"Album Artist", FactName::albumartist},
    {"Albumartist", FactName::albumartist},
    {"Genre", FactName::genre, ValueForm::genre},
    {"Composer", FactName::composer},
    {"Conductor", FactName::conductor},
    {"Lyricist", FactName::lyricist},
    {"Publisher", FactName::publisher},
    {"Label", FactName::publisher},
    {"ISRC", FactName::isrc},
    {"Language", FactName::language},
    {"Artistsort", FactName::artistsort},
    {"MUSICBRAINZ_TRACKID", FactName::musicbrainz_trackid},
    {"MUSICBRAINZ_ALBUMID", FactName::musicbrainz_albumid},
    {"MUSICBRAINZ_ARTISTID", FactName::musicbrainz_artistid},
    {"Comment", FactName::comment},
    {"Lyrics", FactName::lyrics},
    {"Unsynced lyrics", FactName::lyrics},
};

constexpr TagRow kAsfRows[] = {
    {"Title", FactName::title},
    {"WM/AlbumTitle", FactName::album},
    {"WM/TrackNumber", FactName::track, ValueForm::pair},
    {"TrackTotal", FactName::tracktotal, ValueForm::whole},
    {"TotalTracks", FactName::tracktotal, ValueForm::whole},
    {"WM/PartOfSet", FactName::disc, ValueForm::pair},
    {"DiscTotal", FactName::disctotal, ValueForm::whole},
    {"TotalDiscs", FactName::disctotal, ValueForm::whole},
    {"WM/Year", FactName::date, ValueForm::date},
    {"WM/OriginalReleaseTime", FactName::originaldate, ValueForm::date},
    {"WM/OriginalReleaseYear", FactName::originaldate, ValueForm::date},
    {"WM/IsCompilation", FactName::compilation, ValueForm::flag},
    {"WM/BeatsPerMinute", FactName::bpm, ValueForm::number},
    {"replaygain_track_gain", FactName::replaygain_track_gain, ValueForm::gain},
    {"replaygain_album_gain", FactName::replaygain_album_gain, ValueForm::gain},
    {"WM/TitleSortOrder", FactName::titlesort},
    {"WM/AlbumSortOrder", FactName::albumsort},
    {"Author", FactName::artist},
    {"WM/AlbumArtist", FactName::albumartist},
    {"WM/Genre", FactName::genre, ValueForm::genre},
    {"WM/Composer", FactName::composer},
    {"WM/Conductor", FactName::conductor},
    {"WM/Writer", FactName::lyricist},
    {"WM/Publisher", FactName::publisher},
    {"WM/ISRC", FactName::isrc},
    {"WM/Language", FactName::language},
    {"WM/ArtistSortOrder", FactName::artistsort},
    {"MusicBrainz/Track Id", FactName::musicbrainz_trackid},
    {"MusicBrainz/Album Id", FactName::musicbrainz_albumid},
    {"MusicBrainz/Artist Id", FactName::musicbrainz_artistid},
    {"Description", FactName::comment},
    {"WM/Lyrics", FactName::lyrics},
};

constexpr TagRow kChunkRows[] = {
    {"INAM", FactName::title},
    {"NAME", FactName::title},
    {"DITI", FactName::title},
    {"IPRD", FactName::album},
    {"IPRT", FactName::track, ValueForm::pair},
    {"ITRK", FactName::track, ValueForm::pair},
    {"ICRD", FactName::date, ValueForm::date},
    {"IBPM", FactName::bpm, ValueForm::number},
    {"IART", FactName::artist},
    {"AUTH", FactName::artist},
    {"DIAR", FactName::artist},
    {"IGNR", FactName::genre, ValueForm::genre},
    {"IMUS", FactName::composer},
    {"IWRI", FactName::lyricist},
    {"IPUB", FactName::publisher},
    {"ISRC", FactName::isrc},
    {"ILNG", FactName::language},
    {"ICMT", FactName::comment},
    {"ANNO", FactName::comment},
};

} // namespace

const TagTable kId3Table{kId3Rows, std::size(kId3Rows)};
const TagTable kXiphTable{kXiphRows, std::size(kXiphRows)};
const TagTable kMp4Table{kMp4Rows, std::size(kMp4Rows)};
const TagTable kApeTable{kApeRows, std::size(kApeRows)};
const TagTable kAsfTable{kAsfRows, std::size(kAsfRows)};
const TagTable kChunkTable{kChunkRows, std::size(kChunkRows)};
