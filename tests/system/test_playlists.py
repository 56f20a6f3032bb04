# SPDX-License-Identifier: GPL-2.0-or-later
"""Playlists under the rules `complete`, on their way through the real readers and either engine."""
import pytest
from test_complete_facts import again, read

MUSIC = "/volume1/music"
LISTS = f"{MUSIC}/Lists"


@pytest.fixture
def box(make_daemon):
    daemon = make_daemon(speed=1)
    daemon.configure(rules="complete", tagcharset="CP1251")
    return daemon


def entries(box):
    """By list: the targets and what they have found, below the share."""
    lists = {}
    for row in sorted(read(box, "playlist_entry"), key=lambda row: (row["path"], row["position"])):
        of = lists.setdefault(row["path"].removeprefix(f"{LISTS}/"), [])
        assert row["position"] == len(of)
        of.append((row["target"], row["found"].removeprefix(f"{MUSIC}/")))
    return lists


def move(box, source, target):
    box.box.ask("run", arguments=["/bin/mv", source, target], environment={}, timeout=60)


@pytest.fixture
def song(sounds, tmp_path):
    return sounds.copy("mp3", tmp_path).read_bytes()


def test_lists_of_players_have_found_their_files(box, song):
    first, second, cyrillic = "Sigur Rós/( )/01 Vaka.mp3", "Sigur Rós/( )/02 Fyrsta.mp3", "Кино/Группа крови.mp3"
    for path in (first, second, cyrillic):
        box.write(f"{MUSIC}/{path}", song)
    windows = "Sigur Rós\\( )\\01 Vaka.mp3"
    lists = {
        "radio.m3u8": ("#EXTM3U\n#PLAYLIST:Weather\n#EXTINF:1,x\n../Sigur Rós/( )/01 Vaka.mp3\n#EXTINF:1,y\nhttp://radio.example/a\n",
                       [("../Sigur Rós/( )/01 Vaka.mp3", first), ("http://radio.example/a", "")]),
        "old.m3u": ("..\\Кино\\Группа крови.mp3\r\n".encode("cp1251"), [("..\\Кино\\Группа крови.mp3", cyrillic)]),
        "wide.m3u": (f"Z:\\{windows}\r\n".encode("utf-16"), [(f"Z:\\{windows}", first)]),
        "winamp.pls": (f"[playlist]\r\nFile1=\\\\NAS\\music\\{windows}\r\nFile2=../SIGUR RÓS/( )/02 fyrsta.MP3\r\nNumberOfEntries=2\r\n",
                       [(f"\\\\NAS\\music\\{windows}", first), ("../SIGUR RÓS/( )/02 fyrsta.MP3", second)]),
        "vlc.xspf": ('<?xml version="1.0" encoding="UTF-8"?>\n<playlist xmlns="http://xspf.org/ns/0/" version="1"><title>V &amp; L</title>'
                     "<trackList><track><location>file:///volume1/music/Sigur%20R%C3%B3s/(%20)/01%20Vaka.mp3</location></track>"
                     "</trackList></playlist>", [("file:///volume1/music/Sigur Rós/( )/01 Vaka.mp3", first)]),
        "player.wpl": (f'\ufeff<?wpl version="1.0"?><smil><head><title>W</title></head><body><seq><media src="..\\{windows}"/>'
                       '<media src="..\\none.mp3"/></seq></body></smil>', [(f"..\\{windows}", first), ("..\\none.mp3", "")]),
        "stream.asx": ('<ASX version="3.0"><Entry><Ref href="mms://x.example/y?a=1&b=2"/></ENTRY><entry><ref href="file://nas/music/'
                       'Sigur%20R%C3%B3s/(%20)/02%20Fyrsta.mp3"></entry></asx>',
                       [("mms://x.example/y?a=1&b=2", ""), ("file://nas/music/Sigur%20R%C3%B3s/(%20)/02%20Fyrsta.mp3", second)]),
        "album.cue": ('TITLE "( )"\nPERFORMER "Sigur Rós"\nFILE "../Sigur Rós/( )/01 Vaka.mp3" MP3\n  TRACK 01 AUDIO\n',
                      [("../Sigur Rós/( )/01 Vaka.mp3", first)]),
        "empty.m3u": ("", []),
    }
    for name, (text, _) in lists.items():
        box.write(f"{LISTS}/{name}", text if isinstance(text, bytes) else text.encode())
    again(box, f"A:{MUSIC}")
    assert entries(box) == {name: expected for name, (_, expected) in lists.items() if expected}
    titles = {row["path"].rsplit("/", 1)[1]: (row["title"], row["artist"]) for row in read(box, "playlist")}
    assert titles == {"radio.m3u8": ("Weather", ""), "old.m3u": ("old", ""), "wide.m3u": ("wide", ""), "winamp.pls": ("winamp", ""),
                      "vlc.xspf": ("V & L", ""), "player.wpl": ("W", ""), "stream.asx": ("stream", ""), "album.cue": ("( )", "Sigur Rós"),
                      "empty.m3u": ("empty", "")}
    assert not box.log.texts()


def test_entries_follow_files_that_come_go_and_move(box, song):
    box.write(f"{LISTS}/list.m3u8", "../A/one.mp3\n../B/one.mp3\n../A/two.mp3\n")
    again(box, f"A:{LISTS}")
    assert [found for _, found in entries(box)["list.m3u8"]] == ["", "", ""]
    box.write(f"{MUSIC}/A/ONE.mp3", song)
    box.write(f"{MUSIC}/A/two.mp3", song)
    again(box, f"A:{MUSIC}/A")
    assert [found for _, found in entries(box)["list.m3u8"]] == ["A/ONE.mp3", "", "A/two.mp3"]
    move(box, f"{MUSIC}/A", f"{MUSIC}/B")
    again(box, f"N:{MUSIC}/B:{MUSIC}/A")
    assert [found for _, found in entries(box)["list.m3u8"]] == ["", "B/ONE.mp3", ""]
    box.remove(f"{MUSIC}/B/ONE.mp3")
    again(box, f"d:{MUSIC}/B/ONE.mp3")
    assert [found for _, found in entries(box)["list.m3u8"]] == ["", "", ""]
    move(box, f"{LISTS}/list.m3u8", f"{MUSIC}/B/list.m3u8")
    box.write(f"{MUSIC}/B/list.m3u8", "two.mp3\n")
    again(box, f"N:{MUSIC}/B/list.m3u8:{LISTS}/list.m3u8")
    assert list(entries(box).values()) == [[("two.mp3", "B/two.mp3")]]
    again(box, "T:playlist")
    assert not box.rows("playlist_entry") and not box.rows("file_entry")


def test_a_list_without_end_costs_its_end(box, song):
    box.write(f"{MUSIC}/0.mp3", song)
    box.write(f"{LISTS}/long.m3u", "../0.mp3\n" + "".join(f"{number}.mp3\n" for number in range(1, 20000)))
    box.write(f"{LISTS}/bin.m3u", b"\0\1\2\3" * 1000)
    again(box, f"A:{MUSIC}")
    found = entries(box)
    assert list(found) == ["long.m3u"] and len(found["long.m3u"]) == 16384
    assert found["long.m3u"][0] == ("../0.mp3", "0.mp3") and found["long.m3u"][-1] == ("16383.mp3", "")
    assert box.paths("playlist") == [f"{LISTS}/bin.m3u", f"{LISTS}/long.m3u"]
    texts = box.log.texts()
    assert any("long.m3u has more entries than the 16384 that are kept." in text for text in texts)
