// SPDX-License-Identifier: GPL-2.0-or-later
//
// Playlists as players write them.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include "platform/handle.h"
#include "platform/playlist_bounds.h"
#include "reader/readers.h"

namespace {

using namespace std::string_literals;

using Texts = std::vector<std::string>;

struct Playlist {
    ReadOutcome outcome;
    FactList facts;
    EntryList entries;
};

Playlist Read(const std::string &bytes, const std::string &extension, const std::string &charset = {}) {
    PlaylistReaderWarm();
    const FdHandle file(memfd_create("playlist", MFD_CLOEXEC));
    EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(file.get(), bytes.data(), bytes.size()));
    ReaderInput input;
    input.fd = file.get();
    input.size = static_cast<int64_t>(bytes.size());
    input.extension = extension;
    input.charset = charset;
    EXPECT_EQ(ContentFormat::playlist, ContentLook(&input)) << bytes.substr(0, 100);
    Playlist list;
    list.outcome = PlaylistEntriesRead(&input, &list.facts, &list.entries);
    EXPECT_EQ(list.outcome.status, AnswerStatus::read);
    EXPECT_EQ(list.outcome.content, ContentClass::playlist);
    return list;
}

Texts EntriesOf(const Playlist &list) {
    Texts texts;
    ListEntry entry;
    for (size_t at = 0; EntryNext(list.entries, &at, &entry);)
        texts.emplace_back(entry.text);
    EXPECT_EQ(texts.size(), list.entries.count);
    return texts;
}

Texts Entries(const std::string &bytes, const std::string &extension, const std::string &charset = {}) {
    return EntriesOf(Read(bytes, extension, charset));
}

std::string Said(const Playlist &list, FactName name) {
    const Fact *fact = FactFind(list.facts, name);
    return fact != nullptr ? fact->text : "";
}

// Text of characters below 256 in UTF-16.
std::string Wide(const std::string &text, bool big) {
    std::string wide = big ? "\xFE\xFF" : "\xFF\xFE";
    for (const char byte : text)
        wide += big ? "\0"s + byte : byte + "\0"s;
    return wide;
}

std::string AfterMark(const std::string &text) {
    return "\xEF\xBB\xBF" + text;
}

} // namespace

TEST(PlaylistReader, M3uOfPlayers) {
    const Playlist list = Read("#EXTM3U\r\n#PLAYLIST:Road songs\r\n#EXTINF:123,Artist - Title\r\n"
                               "Artist\\Album\\01 Title.mp3\r\n#EXTVLCOPT:start-time=10\r\n#EXTINF:-1,\r\n"
                               "http://radio.example/stream\r\n\r\n  \r\n../b #1.mp3\r\n/volume1/music/c.mp3",
                               "m3u");
    EXPECT_EQ(EntriesOf(list), (Texts{"Artist\\Album\\01 Title.mp3", "http://radio.example/stream",
                                      "../b #1.mp3", "/volume1/music/c.mp3"}));
    EXPECT_EQ(Said(list, FactName::title), "Road songs");
    const Playlist renamed = Read("#EXTM3U\n#PLAYLIST:Old\n#PLAYLIST:New\na.mp3\n", "m3u");
    ASSERT_EQ(renamed.facts.facts.size(), 1U);
    EXPECT_EQ(Said(renamed, FactName::title), "Old");
    EXPECT_EQ(Entries("a.mp3\nb.mp3\n", "m3u"), (Texts{"a.mp3", "b.mp3"}));
    EXPECT_EQ(Entries("a.mp3\rb.mp3\r", "m3u"), (Texts{"a.mp3", "b.mp3"})) << "of an old Mac";
    EXPECT_EQ(Entries("", "m3u"), Texts());
    EXPECT_EQ(Entries("#EXTM3U\n", "m3u8"), Texts());
    EXPECT_EQ(Entries("#EXTM3U\na.mp3", "pls"), Texts{"a.mp3"}) << "what it is counts, not its name";
    EXPECT_EQ(Entries(" blank in front.mp3\n", "m3u"), Texts{" blank in front.mp3"});
}

TEST(PlaylistReader, EncodingsOfM3u) {
    const Texts expected = {"Bj\u00F6rk\\J\u00F3ga.mp3"};
    EXPECT_EQ(Entries("Bj\u00F6rk\\J\u00F3ga.mp3\r\n", "m3u8"), expected);
    EXPECT_EQ(Entries(AfterMark("#EXTM3U\nBj\u00F6rk\\J\u00F3ga.mp3"), "m3u8"), expected);
    EXPECT_EQ(Entries("Bj\xF6rk\\J\xF3ga.mp3", "m3u"), expected) << "ISO-8859-1, when nothing is said";
    for (const bool big : {false, true})
        EXPECT_EQ(Entries(Wide("#EXTM3U\r\nBj\xF6rk\\J\xF3ga.mp3\r\n", big), "m3u"), expected);
    EXPECT_EQ(Entries("\xC1\xE5\xEB\xE0\xFF.mp3", "m3u", "CP1251"),
              Texts{"\u0411\u0435\u043B\u0430\u044F.mp3"});
    EXPECT_EQ(Entries("#EXTM3U\n#EXTENC: windows-1251\n\xC1\xE5\xEB\xE0\xFF.mp3", "m3u"),
              Texts{"\u0411\u0435\u043B\u0430\u044F.mp3"});
    EXPECT_EQ(Entries("#EXTENC:nonsense\na\xE9", "m3u", "CP1252"), Texts{"a\u00E9"});
    // Each line for itself: people put lists together.
    EXPECT_EQ(Entries("\u00E9.mp3\n\xE9.mp3\n", "m3u"), (Texts{"\u00E9.mp3", "\u00E9.mp3"}));
    const Playlist list = Read("a.mp3\ncaf\xE9.mp3\n", "m3u");
    ListEntry entry;
    size_t at = 0;
    ASSERT_TRUE(EntryNext(list.entries, &at, &entry));
    EXPECT_EQ(entry.bytes, "");
    ASSERT_TRUE(EntryNext(list.entries, &at, &entry));
    EXPECT_EQ(entry.bytes, "caf\xE9.mp3") << "as a file may be called";
}

TEST(PlaylistReader, Pls) {
    EXPECT_EQ(
        Entries("[playlist]\nFile1=C:\\Music\\a.mp3\nTitle1=A\nLength1=12\nFile2=http://radio.example/\n"
                "File10=j.mp3\nFile3 = c.mp3 \nNumberOfEntries=4\nVersion=2\n",
                "pls"),
        (Texts{"C:\\Music\\a.mp3", "http://radio.example/", "c.mp3", "j.mp3"}));
    EXPECT_EQ(Entries("[PLAYLIST]\r\nfile2=b=c.mp3\r\nFILE1=a.mp3\r\n", "pls"), (Texts{"a.mp3", "b=c.mp3"}));
    EXPECT_EQ(Entries("[Reference]\r\nRef1=http://a.example/?MSWMExt=.asf\r\nRef2=b.wma\r\n", "asx"),
              (Texts{"http://a.example/?MSWMExt=.asf", "b.wma"}));
    EXPECT_EQ(Entries("[playlist]\nFile=x\nFile1x=y\nFile99999999999=z\nFile-1=w\nFiles1=v\nFile1=\n", "pls"),
              Texts());
}

TEST(PlaylistReader, Xspf) {
    const Playlist list = Read(R"(<?xml version="1.0" encoding="UTF-8"?>
<playlist xmlns="http://xspf.org/ns/0/" xmlns:vlc="http://www.videolan.org/vlc/playlist/ns/0/" version="1">
	<title>Rock &amp; Roll</title>
	<creator>Somebody</creator>
	<location>http://example.org/list.xspf</location>
	<trackList>
		<track>
			<location>file:///volume1/music/Sigur%20R%C3%B3s/01%20%26%20more.mp3</location>
			<title>Not the list's</title>
			<duration>271066</duration>
			<location>http://example.org/other copy.mp3</location>
			<extension application="http://www.videolan.org/vlc/playlist/0"><vlc:id>0</vlc:id></extension>
		</track>
		<track><title>Without a place</title></track>
		<track><location>
			Album/02%2520.mp3
		</location></track>
		<x:track><x:location><![CDATA[c & d.mp3]]></x:location></x:track>
	</trackList>
</playlist>)",
                               "xspf");
    EXPECT_EQ(EntriesOf(list),
              (Texts{"file:///volume1/music/Sigur R\u00F3s/01 & more.mp3", "Album/02%20.mp3", "c & d.mp3"}));
    EXPECT_EQ(Said(list, FactName::title), "Rock & Roll");
    EXPECT_EQ(Said(list, FactName::artist), "Somebody");
    EXPECT_EQ(Entries("<?xml version='1.0' "
                      "encoding='ISO-8859-2'?><playlist><trackList><track><location>\xB1.mp3</location>"
                      "</track></trackList></playlist>",
                      "xspf"),
              Texts{"\u0105.mp3"});
    EXPECT_EQ(
        Entries(Wide("<?xml version=\"1.0\" "
                     "encoding=\"UTF-16\"?><playlist><track><location>\xE9</location></track></playlist>",
                     true),
                "xspf"),
        Texts{"\u00E9"});
}

TEST(PlaylistReader, Wpl) {
    const Playlist list = Read(R"(<?wpl version="1.0"?>
<smil>
    <head>
        <meta name="Generator" content="Microsoft Windows Media Player -- 12.0.7601.17514"/>
        <meta name="ItemCount" content="3"/>
        <title>Sommer &quot;20&#x31;9&quot;</title>
    </head>
    <body>
        <seq>
            <media src="..\Artist\Album\01 Song &amp; Dance.wma" tid="{1A}"/>
            <!-- <media src="none.mp3"/> -->
            <media cid="x" src='\\NAS\music\b > c.mp3'/>
            <media src="M&#252;ller.mp3" albumTitle="x"></media>
        </seq>
    </body>
</smil>)",
                               "wpl");
    EXPECT_EQ(EntriesOf(list), (Texts{"..\\Artist\\Album\\01 Song & Dance.wma", "\\\\NAS\\music\\b > c.mp3",
                                      "M\u00FCller.mp3"}));
    EXPECT_EQ(Said(list, FactName::title), "Sommer \"2019\"");
    EXPECT_EQ(Entries(AfterMark("<smil><media src=\"\u00E9.mp3\"/></smil>"), "wpl"), Texts{"\u00E9.mp3"});
}

TEST(PlaylistReader, AsxIsNoXml) {
    const Playlist list = Read(R"(<ASX VERSION = "3.0">
<TITLE>Radio & more</Title>
<ENTRY>
  <TITLE>One</TITLE>
  <REF HREF = "http://a.example/x?a=1&b=2" />
  <Ref href="http://b.example/second choice"/>
</Entry>
<entry><ref href=C:\Music\c.wma></entry>
<ENTRYREF HREF="other.asx" />
<entry><title>Don't</title><REF HREF='d "1".wma'/></entry>
</ASX>)",
                               "asx");
    EXPECT_EQ(EntriesOf(list),
              (Texts{"http://a.example/x?a=1&b=2", "C:\\Music\\c.wma", "other.asx", "d \"1\".wma"}));
    EXPECT_EQ(Said(list, FactName::title), "Radio & more");
}

TEST(PlaylistReader, Cue) {
    const Playlist list =
        Read("REM GENRE \"Jazz\"\r\nREM DATE 1959\r\nPERFORMER \"Miles Davis\"\r\nTITLE \"Kind of Blue\"\r\n"
             "FILE \"Kind of Blue.flac\" WAVE\r\n  TRACK 01 AUDIO\r\n    TITLE \"So What\"\r\n"
             "    PERFORMER \"Another\"\r\n    INDEX 01 00:00:00\r\nFILE plain name.wav WAVE\r\n"
             "FILEX \"no.wav\" WAVE\r\n",
             "cue");
    EXPECT_EQ(EntriesOf(list), (Texts{"Kind of Blue.flac", "plain name.wav"}));
    EXPECT_EQ(Said(list, FactName::title), "Kind of Blue");
    EXPECT_EQ(Said(list, FactName::artist), "Miles Davis");
    EXPECT_EQ(Said(list, FactName::genre), "Jazz");
    EXPECT_EQ(Said(list, FactName::date), "1959");
}

TEST(PlaylistReader, WhatIsBrokenEnds) {
    const std::string deep = [] {
        std::string text = "<playlist>";
        for (int i = 0; i < 200'000; ++i)
            text += "<track>";
        return text + "<location>a.mp3";
    }();
    EXPECT_EQ(Entries(deep, "xspf"), Texts{"a.mp3"});
    // Nothing that a document declares is looked up.
    EXPECT_EQ(
        Entries(
            "<!DOCTYPE playlist [<!ENTITY a \"aaaa\"><!ENTITY b \"&a;&a;\"><!ENTITY f SYSTEM "
            "\"file:///etc/passwd\">]>"
            "<playlist><track><location>&b;&f;&#0;&#xD800;&#99999999999;&amp</location></track></playlist>",
            "xspf"),
        Texts{"&b;&f;&#0;&#xD800;&#99999999999;&amp"});
    for (const char *text :
         {"<asx", "<asx ", "<asx><ref href=\"", "<asx><ref href=\"a>", "<asx><ref href", "<asx><ref =a>",
          "<asx><!--", "<asx><![CDATA[", "<asx><", "<asx></", "<asx><!", "<asx><?", "<asx>&", "<asx>&;"})
        EXPECT_EQ(Entries(text, "asx"), Texts()) << text;
    EXPECT_EQ(Entries("<asx><ref href=a", "asx"), Texts());
    EXPECT_EQ(Entries("FILE \"a.wav", "cue"), Texts{"a.wav"});
    EXPECT_EQ(Entries("FILE\nFILE \nFILE \"\" WAVE\n", "cue"), Texts());
    EXPECT_EQ(Entries(Wide("a.mp3", false) + "\x01", "m3u"), Texts{"a.mp3"}) << "half a unit";
    EXPECT_EQ(Entries("%\n%2\n%zz\n%00\n", "m3u"), (Texts{"%", "%2", "%zz", "%00"}));
    EXPECT_EQ(Entries("<playlist><track><location>a%00b%zz%2</location></track></playlist>", "xspf"),
              Texts{"a%00b%zz%2"});
}

TEST(PlaylistReader, SoManyEntriesAreKept) {
    std::string text;
    for (size_t i = 0; i < kPlaylistEntriesMax; ++i)
        text += std::to_string(i) + "\n";
    Playlist list = Read(text, "m3u");
    EXPECT_EQ(list.entries.count, kPlaylistEntriesMax);
    EXPECT_FALSE(list.entries.cut);
    list = Read(text + "one more\n", "m3u");
    EXPECT_EQ(list.entries.count, kPlaylistEntriesMax);
    EXPECT_TRUE(list.entries.cut);
    EXPECT_EQ(EntriesOf(list).back(), std::to_string(kPlaylistEntriesMax - 1));
}

TEST(PlaylistReader, SoMuchTextIsKept) {
    const std::string line(kPlaylistTargetMax, 'x');
    constexpr size_t kWithTerminators = kPlaylistTargetMax + 2;
    std::string text;
    for (size_t i = 0; i < kPlaylistTextMax / kWithTerminators; ++i)
        text += line + "\n";
    Playlist list = Read(text, "m3u");
    EXPECT_FALSE(list.entries.cut);
    EXPECT_EQ(list.entries.packed.size(), kPlaylistTextMax / kWithTerminators * kWithTerminators);
    EXPECT_TRUE(Read(text + line, "m3u").entries.cut);
    EXPECT_EQ(Entries(line + "y\n\u00E9" + line, "m3u"), (Texts{line, "\u00E9" + line.substr(2)}));
    EXPECT_EQ(Entries(line.substr(1) + "\u00E9", "m3u"), Texts{line.substr(1)}) << "cut at a character";
}

TEST(PlaylistReader, SoMuchOfAFileIsRead) {
    const std::string lines = "first.mp3\n" + std::string(kPlaylistFileMax - 20, '#') + "\nsecond.mp3";
    ASSERT_EQ(lines.size(), static_cast<size_t>(kPlaylistFileMax) + 1);
    Playlist list = Read(lines, "m3u");
    EXPECT_EQ(EntriesOf(list), Texts{"first.mp3"}) << "and no part of a line";
    EXPECT_TRUE(list.entries.cut);
    list = Read(lines.substr(1), "m3u");
    EXPECT_EQ(EntriesOf(list), (Texts{"irst.mp3", "second.mp3"}));
    EXPECT_FALSE(list.entries.cut);
}
