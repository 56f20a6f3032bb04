# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl report: a page whose figures are the catalogue's, that no name can break, and that a browser shows well."""
import base64
import collections
import json
import os
import re
import sqlite3
import subprocess

import pytest

from harness import media
from harness.browser import browser
from harness.page import NARROW_SPACE, Page

DONE, UNREACHABLE, FAILED = 0, 6, 8
PAGE = "/tmp/page.html"
MARKUP = '"><img src=x onerror=alert(1)><script>alert(2)</script>'
HOSTILE_NAMES = ("\xff\x1b[31m<b>.mp3", "\xe2\x80\xaegpj.<i onclick='x'>.mp3", "&lt;&#60;.mp3")


@pytest.fixture
def library(daemon, samples):
    """A running daemon that has catalogued a few files of each kind, some of them hostile."""
    for source, place in (("tagged.mp3", "music/Early"), ("tagged.flac", "music/Early"), ("plain.mp3", "music"),
                          ("clip.mp4", "video"), ("exif.jpg", "photo/Trip"), ("list.m3u", "music")):
        daemon.copy(samples / source, f"/volume1/{place}/{source}")
    media.mp3(daemon.box.path("/volume1/music/hostile.mp3"), samples / "tone.wav", title=MARKUP, artist=MARKUP,
              album=MARKUP, genre="<style>*{display:none}</style>")
    for name in HOSTILE_NAMES:
        with open(daemon.box.path(f"/volume1/music/{name.replace('/', '')}".encode("latin-1")), "wb"):
            pass
    daemon.index("R:all", "R:photo")
    return daemon


def page_of(box, *options):
    """The page as it comes out of the program."""
    answer = box.ctl("report", PAGE, *options)
    assert answer["status"] == DONE and answer["out"] == "", answer
    return Page(box.read(PAGE).decode("utf-8"))


def size_text(number):
    """A size as the page has it."""
    for unit in ("B", "kB", "MB", "GB"):
        if round(number) < 1000:
            return f"{number:.0f}{NARROW_SPACE}{unit}" if unit == "B" or round(number, 1) >= 100 else f"{number:.1f}{NARROW_SPACE}{unit}"
        number /= 1000
    raise AssertionError("samples are not that large")


def counts(rows, key):
    """How many rows there are of each value, as a table of the page has them."""
    found = collections.Counter(key(row) for row in rows)
    return sorted(((name, count) for name, count in found.items() if name), key=lambda pair: (-pair[1], pair[0]))


def shown(page, heading):
    """Names and numbers of a card."""
    return [(row[0], row[2]) for row in page.table(heading) or []]


def extension(row):
    return row["path"].rsplit(".", 1)[1].lower()


def test_every_figure_is_that_of_the_catalogue(library):
    page = page_of(library)
    music, films, pictures, playlists = (library.rows(table) for table in ("music", "video", "photo", "playlist"))
    every = music + films + pictures + playlists

    def line(name, rows):
        return [name, len(rows), size_text(sum(row["file_size"] for row in rows))]
    assert [row[:3] for row in page.table("By kind")] == [
        line("Music", music), line("Films", films), line("Pictures", pictures), line("Playlists", playlists)]
    foot = page.card("By kind").all("tfoot")[0]
    assert [cell.text for cell in foot.all("td")][:2] == [str(len(every)), size_text(sum(row["file_size"] for row in every))]
    assert f"In {library.catalogue.count('directory')} folders." in page.card("By kind").text
    # Formats of music, films and pictures are three cards of one name.
    formats = [[(row.all("bdi")[0].text, int(row.all("td")[1].text)) for row in card.all("tbody")[0].all("tr")]
               for card in page.root.all("article") if card.all("h3")[0].text == "Formats"]
    assert formats == [counts(rows, extension) for rows in (music, films, pictures)]
    # What is shown is what is written: the names of these rows are markup.
    for heading, key in (("Artists", "artist"), ("Genres", "genre")):
        assert shown(page, heading) == counts(music, lambda row, key=key: row[key]), heading
    assert shown(page, "Cameras") == [("Maker Model 1", 1)]
    assert sum(count for _, count in shown(page, "Bit rates")) >= sum(row["audio_bitrate"] > 0 for row in music)
    assert shown(page, "What the tags tell") == [
        (name, sum(bool(row[key]) for row in music)) for name, key in (
            ("Artist", "artist"), ("Genre", "genre"), ("Year", "year"), ("Track number", "track"), ("Cover", "has_cover"))]
    taken = library.row("photo", "/volume1/photo/Trip/exif.jpg")["date_taken"].split("-")
    year, = page.table("By month taken")
    assert year[0] == int(taken[0]) and year[int(taken[1])] == 1 and year[13] == 1
    assert "All files are of " in page.root.text, "one month is no growth"


def test_no_name_becomes_markup(library):
    page = page_of(library)
    elements = list(page.root.walk())
    assert not {element.tag for element in elements} & {"script", "iframe", "object", "embed", "b", "i", "base", "form"}
    for element in elements:
        for name, value in element.attributes.items():
            assert not name.startswith("on") and name != "style"
            assert name not in ("src", "href") or value.startswith(("data:image/", "data:,", "#"))
    assert len(page.root.all("style")) == 1
    policy = next(meta for meta in page.root.all("meta") if "http-equiv" in meta.attributes)
    assert policy.attributes["content"].startswith("default-src 'none'; img-src data:; style-src 'unsafe-inline';")
    assert MARKUP in [name for name, _ in shown(page, "Artists")]
    # They are empty files, and so stand among the problems.
    paths = {item.text for item in page.root.all("li")}
    assert paths > {"/volume1/music/\\xFF\\x1B[31m<b>.mp3", "/volume1/music/\\u{202E}gpj.<i onclick='x'>.mp3",
                    "/volume1/music/&lt;&#60;.mp3"}


def covers_of(box, path):
    return [part["path"] for part in box.ctl_json("show", path) if part["part"] == "cover"]


def test_covers_are_the_pictures_of_albums_unless_they_are_something_else(library):
    cover, = covers_of(library, "/volume1/music/Early/tagged.mp3")
    kept = library.read(cover)
    image, = page_of(library).root.all("img")
    kind, _, data = image.attributes["src"].partition(";base64,")
    assert kind == "data:image/jpeg" and base64.b64decode(data) == kept
    library.write(cover, kept + bytes(160 * 1024 + 1 - len(kept)))
    page = page_of(library)
    assert page.root.all("img") == [] and "0 of 1 album with a cover" in page.root.text
    library.write(cover, kept + bytes(160 * 1024 - len(kept)))
    assert len(page_of(library).root.all("img")) == 1
    for impostor in (b"<svg onload='alert(1)'/>", b"", b"GIF89a" + bytes(20)):
        library.write(cover, impostor)
        assert page_of(library).root.all("img") == [], impostor
    library.remove(cover)
    os.symlink("/etc/passwd", library.box.path(cover))
    assert page_of(library).root.all("img") == []


def test_problems_are_those_of_check(library, samples):
    assert "nothing wrong was found" not in page_of(library).root.text, "empty files have no metadata"
    library.remove("/volume1/music/plain.mp3")
    for number in range(25):
        library.copy(samples / "tone.pcm", f"/volume1/music/new {number:02}.pcm")
    found = collections.Counter(row["problem"].lower() for row in
                                json.loads(library.ctl("check", "--json")["out"].encode("latin-1")))
    page = page_of(library)
    problems = {card.all("summary")[0].children[0].strip().lower(): card for card in page.root.all("details")
                if "problem" in card.attributes["class"]}
    assert {name: int(card.all("span")[0].text) for name, card in problems.items()} == found
    new = problems["file without row"]
    assert len(new.all("li")) == 20 and "and 5 more" in new.text and "check --fix" in new.text
    assert "was not compared" in page_of(library, "--no-check").root.text


def test_an_empty_catalogue_has_a_friendly_page(daemon):
    daemon.index("R:all")
    page = page_of(daemon)
    assert "Nothing is catalogued yet" in page.root.text and "veluctl reindex all" in page.root.text
    assert page.root.all("svg") == [] and page.root.all("table") == []


# Column, then what stands in the card of a heading for each value: the values are the last of a class and the first of the next.
CLASSES = {
    ("music", "Bit rates", "audio_bitrate"): {1: "below 64", 63999: "below 64", 64000: "64\u201395", 127999: "96\u2013127",
                                              128000: "128\u2013159", 319999: "256\u2013319", 320000: "320\u2013499",
                                              1999999: "1000\u20131999", 2000000: "2000 and more", 2 ** 40: "2000 and more"},
    ("music", "Sample rates", "sample_rate"): {8000: "up to 8", 22050: "up to 22.05", 44100: "up to 44.1", 44101: "up to 48",
                                               96000: "up to 96", 192000: "above 96"},
    ("music", "Decades", "year"): {1979: "1970s", 1980: "1980s", 1989: "1980s", 1990: "1990s"},
    ("video", "Resolution", "height"): {1: "below DVD", 480: "like DVD", 720: "HD (720)", 1080: "Full HD (1080)",
                                        2160: "4K and more"},
    ("video", "Bit rates", "video_bitrate"): {1: "below 1", 999999: "below 1", 1000000: "1\u20132", 1999999: "1\u20132",
                                              2000000: "2\u20134", 31999999: "16\u201332", 32000000: "32 and more",
                                              2 ** 40: "32 and more"},
    ("photo", "Sensitivity", "iso_speed"): {100: "up to 100", 125: "up to 200", 6400: "up to 6400", 12800: "above 6400"},
    ("photo", "Aperture", "f_number"): {"f/1.4": "f/1.4 and wider", "f/1.8": "to f/2", "5.6": "to f/5.6", "f/22.0": "narrower"},
}


@pytest.mark.sqlite
def test_each_value_falls_into_its_class(daemon):
    daemon.index("R:all")
    connection = sqlite3.connect(daemon.box.path("/var/lib/velu/mediaserver.db"))
    for (table, heading, column), values in CLASSES.items():
        connection.executemany(f"insert into {table} (path, width, {column}) values (?, 1, ?)",
                               [(f"/volume1/{table}/{heading} {value}".replace("f/", ""), value) for value in values])
    connection.commit()
    connection.close()
    page = page_of(daemon, "--no-check")
    for (table, heading, _), values in CLASSES.items():
        section, = (section for section in page.root.all("section")
                    if section.attributes["id"] == {"music": "music", "video": "films", "photo": "pictures"}[table])
        card, = (card for card in section.all("article") if card.all("h3")[0].text == heading)
        found = {row.all("bdi")[0].text: int(row.all("td")[1].text) for row in card.all("tbody")[0].all("tr")}
        assert {name: count for name, count in found.items() if count} == collections.Counter(values.values()), (table, heading)


@pytest.mark.sqlite
def test_absurd_values_stay_on_the_page(library):
    connection = sqlite3.connect(library.box.path("/var/lib/velu/mediaserver.db"))
    connection.executemany(
        "insert into music (path, album, artist, genre, year, duration, audio_bitrate, sample_rate, file_size, create_time,"
        " has_cover) values (?,?,?,?,?,?,?,?,?,?,?)",
        [("/volume1/music/a", "A" * 5000, "\u05e2\u05d5\u05e4\u05e8\u05d4", "G" * 200, 99999, 1e9, 2 ** 62, -5, 2 ** 62,
          "99999-01-01", 1),
         ("/volume1/music/b..", None, None, None, -7, -1e300, -(2 ** 62), 2 ** 62, 2 ** 62, "2031-77-01", 7),
         ("/volume1/music/.mp3", None, "x", None, 1984, float("inf"), 1, 1, -5, "1066-10-14 09:00:00", None)])
    connection.commit()
    connection.close()
    text = page_of(library).root.text
    assert "2 files claim to play for more than 30 days" in text
    assert "3 files have no time between 1990 and now" in text
    assert not re.search(r"\b(nan|inf)\b", text, re.IGNORECASE)


def test_the_page_comes_whole_or_not_at_all(library):
    # A large page: what the program writes beside it, a database's shared memory, is to fit where this does not.
    cover, = covers_of(library, "/volume1/music/Early/tagged.mp3")
    library.write(cover, library.read(cover) + bytes(150000))
    page_of(library)
    os.chmod(library.box.path(PAGE), 0o600)
    before = library.read(PAGE)
    answer = library.ctl("report", "-", "--no-check")
    assert answer["status"] == DONE and Page(answer["out"].encode("latin-1").decode("utf-8"))
    for path, reason in (("/none/page.html", "No such file"), ("/dev/full", "no ordinary file"), ("/tmp", "no ordinary file")):
        answer = library.ctl("report", path, "--no-check")
        assert answer["status"] == FAILED and reason in answer["err"], answer
    # No file may grow beyond 100 KiB, as on a disk that is full.
    full = ["/bin/sh", "-c", f"trap '' XFSZ; ulimit -f 200; exec {library.ctl_program} report --no-check {PAGE}"]
    answer = library.box.ask("run", arguments=full, environment={}, timeout=60)
    assert answer["status"] == FAILED and "too large" in answer["err"], answer
    assert library.read(PAGE) == before
    assert [name for name in os.listdir(library.box.path("/tmp")) if name.startswith("page")] == ["page.html"]
    assert library.ctl("report", "--no-check", "-")["err"] == ""
    page_of(library, "--no-check")
    assert os.stat(library.box.path(PAGE)).st_mode & 0o777 == 0o600, "who may read it is not for the program to change"
    full = ["/bin/sh", "-c", f"{library.ctl_program} report --no-check - >/dev/full"]
    assert library.box.ask("run", arguments=full, environment={}, timeout=60)["status"] == FAILED


def test_where_the_page_is_and_how_large_is_told_beside_it(library):
    script = ["/bin/sh", "-c", f"mkdir -p /tmp/a/b && cd /tmp/a/b && exec {library.ctl_program} report --no-check ../page.html"]
    answer = library.box.ask("run", arguments=script, environment={}, timeout=60)
    size = len(library.read("/tmp/a/page.html"))
    assert (answer["status"], answer["out"]) == (DONE, "")
    assert answer["err"] == f"veluctl: the page is in '/tmp/a/page.html', {size / 1000:.1f} kB\n"


def test_an_unreachable_catalogue_has_no_page(box):
    box.configure(mediadb="sqlite:/dev/null/media.db")
    answer = box.ctl("report", PAGE)
    assert answer["status"] == UNREACHABLE and "/dev/null/media.db" in answer["err"]
    assert not box.exists(PAGE)


def colours_of(picture):
    """How many pixels of each colour a PNG has."""
    raw = subprocess.run(["convert", "png:-", "-depth", "8", "rgb:-"], input=picture, capture_output=True, check=True).stdout
    return collections.Counter(zip(raw[::3], raw[1::3], raw[2::3]))


def stretch_over_years(box):
    """Rows of several years, so that there is a chart."""
    connection = sqlite3.connect(box.box.path("/var/lib/velu/mediaserver.db"))
    connection.execute("update music set create_time = '2019-03-07 08:09:10' where path like '%.flac'")
    connection.commit()
    connection.close()


@pytest.mark.sqlite
def test_a_browser_shows_it_on_a_phone_and_on_a_desk(library):
    stretch_over_years(library)
    page_of(library)
    url = f"file://{library.box.path(PAGE)}"
    with browser() as chromium:
        for width, height, scheme, paper in ((360, 800, "light", (0xF5, 0xF4, 0xF0)), (1280, 900, "dark", (0x12, 0x14, 0x17))):
            chromium.open(url, width, height, scheme)
            assert chromium.evaluate("document.documentElement.scrollWidth") == width, "nothing is wider than the screen"
            asked = [event["request"]["url"] for event in chromium.events_of("Network.requestWillBeSent")]
            assert [address for address in asked if not address.startswith("data:")] == [url]
            assert chromium.events_of("Log.entryAdded", "Runtime.exceptionThrown", "Runtime.consoleAPICalled") == []
            images = chromium.evaluate("[...document.images].every(image => image.complete && image.naturalWidth > 0)")
            assert images is True and chromium.evaluate("document.images.length") == 1
            colours = colours_of(chromium.screenshot())
            pixels = width * height
            assert colours[paper] > pixels / 20 and len(colours) > 30, colours.most_common(5)
            music = {"light": (0x2B, 0x6C, 0xB0), "dark": (0x6F, 0xA8, 0xE4)}[scheme]
            assert colours[music] > 100, "the colour of music"

