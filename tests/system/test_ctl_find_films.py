# SPDX-License-Identifier: GPL-2.0-or-later
"""veluctl find: what people ask of films and photos: the size of the picture, the day, the language of subtitles."""
import pytest
from harness import film_sizes, id3, media

DONE, FOUND, USAGE = range(3)
FILMS_SPEED = 20  # a reader of films has 90 seconds of this clock


@pytest.fixture(params=["complete", "appliance"])
def films(request, make_daemon):
    box = make_daemon(speed=FILMS_SPEED)
    box.configure(rules=request.param)
    folder = film_sizes.library()
    for name in film_sizes.PICTURES:
        box.copy(folder / f"{name}.mkv", f"/volume1/video/{name}.mkv")
    box.copy(folder / "large.jpg", "/volume1/photo/large.jpg")
    box.start().index("A:/volume1/video", "A:/volume1/photo")
    return box


def named(box, *words):
    return {row["path"].rsplit("/", 1)[1].split(".")[0] for row in box.ctl_json("find", *words)}


def test_films_by_the_size_of_their_picture(films):
    assert named(films, "resolution=4k") == named(films, "resolution=2160P") == {"4k", "cropped", "upright"}
    assert named(films, "resolution=8K") == {"8k"} and named(films, "resolution=uhd") == {"8k", "4k", "cropped", "upright"}
    assert named(films, "resolution=1080p") == {"full", "tv"} and named(films, "resolution=1440p") == {"wqhd"}
    assert named(films, "resolution=720p") == {"hd"} and named(films, "resolution=hd") == {"hd", "full", "tv", "wqhd"}
    assert named(films, "resolution=sd") == {"dvd", "web", "small"} and named(films, "resolution=576p") == {"dvd"}
    assert named(films, "resolution<720p") == {"dvd", "web", "small"} and named(films, "resolution>=4k") == named(films, "resolution=uhd")
    assert named(films, "resolution=720p..1080p") == {"hd", "full", "tv"}
    assert named(films, "has:resolution") == set(film_sizes.PICTURES) and named(films, "missing:resolution") == set()
    assert named(films, "kind=film", "-resolution=sd", "-resolution=hd") == {"8k", "4k", "cropped", "upright"}
    assert named(films, "resolution=8k", "or", "kind=photo") == {"8k", "large"}, "a photo has none"
    assert [row["path"].rsplit("/", 1)[1] for row in films.ctl_json("find", "resolution>hd", "--sort", "-resolution,path")] == [
        "8k.mkv", "4k.mkv", "cropped.mkv", "upright.mkv"]
    groups = {row["resolution"]: row["files"] for row in films.ctl_json("find", "kind=film", "--group", "resolution")}
    assert groups == {4320: 1, 2160: 3, 1440: 1, 1080: 2, 720: 1, 576: 1, 360: 1, 240: 1}
    assert "2160p" in films.ctl("find", "kind=film", "--group", "resolution")["out"]


def test_a_resolution_that_is_none_is_marked(daemon):
    daemon.write("/volume1/video/empty.avi")
    daemon.index("A:/volume1/video")
    answer = daemon.ctl("find", "kind=film", "resolution=5k")
    assert answer["status"] == USAGE and "4k, " in answer["err"], answer
    *_, text, mark = answer["err"].splitlines()
    assert text[mark.index("^"):].startswith("5k") and mark.count("^") == 2
    assert "4k, " in daemon.ctl("find", "--help")["out"] and " resolution= " in daemon.ctl("--completion")["out"].replace("'", " ")


@pytest.fixture(params=["complete", "appliance"])
def dated(request, make_daemon):
    box = make_daemon()
    box.configure(rules=request.param)
    for name, taken in (("spring", "2024:05:04 10:11:12"), ("autumn", "2024:10:04 10:11:12")):
        media.picture(box.box.path(f"/volume1/photo/{name}.jpg"), 40, 30)
        media.exif(box.box.path(f"/volume1/photo/{name}.jpg"), DateTimeOriginal=taken)
    for name, date in (("may", "2024-05-20"), ("june", "2024-06-01")):
        box.write(f"/volume1/music/{name}.mp3", id3.tag(4, id3.text(4, "TIT2", name), id3.text(4, "TDRC", date)) + (b"\xff\xfb\x90\x64" + bytes(413)) * 3)
    box.start().index("R:photo", "A:/volume1/music")
    return box, request.param


def test_the_date_of_a_photo_is_when_it_was_taken(dated):
    box, rules = dated
    assert named(box, "kind=photo", "date=2024-05") == {"spring"} and named(box, "kind=photo", "date>2024-05") == {"autumn"}
    assert [row["path"] for row in box.ctl_json("find", "kind=photo", "--sort", "-date")] == [f"/volume1/photo/{name}.jpg" for name in ("autumn", "spring")]
    assert named(box, "kind=library", "date=2024-05..2024-06") == {"spring"}
    for kind in ("photo", "library"):
        assert named(box, f"kind={kind}", "year=2024") == named(box, f"kind={kind}", "year=2020s", "taken>2023") == {"spring", "autumn"}
        assert named(box, f"kind={kind}", "year<2024") == named(box, f"kind={kind}", "year>2024") == set()
    if rules == "complete":
        assert named(box, "date=2024-05") == {"spring", "may"} and named(box, "date=2024-06..2024-10") == {"june", "autumn"}
        order = [row["path"].rsplit("/", 1)[1] for row in box.ctl_json("find", "date=2024", "--sort", "date")]
        assert order == ["spring.jpg", "may.mp3", "june.mp3", "autumn.jpg"]
    else:
        answer = box.ctl("find", "date=2024-05")
        assert answer["status"] == USAGE and "has no column" in answer["err"]


def test_subtitles_by_their_language_in_the_film_or_beside_it(make_daemon):
    box = make_daemon(speed=FILMS_SPEED)
    box.configure(rules="complete")
    for name in ("beside", "other", "none"):
        media.clip(box.box.path(f"/volume1/video/{name}.mkv"), "-frames:v", "1", "-c:v", "mjpeg")
    track = box.write("/tmp/track.srt", b"1\n00:00:00,000 --> 00:00:01,000\nGuten Tag\n")
    media.remux(box.box.path("/volume1/video/inside.mkv"), "-i", box.box.path("/volume1/video/none.mkv"), "-i", box.box.path(track), "-map", "0",
                "-map", "1", "-c:v", "copy", "-c:a", "copy", "-c:s", "srt", "-metadata:s:s:0", "language=ger")
    for name in ("beside.de", "other.en.forced", "other.German.sdh", "none", "none.2019"):
        box.write(f"/volume1/video/{name}.srt", b"text")
    box.start().index("A:/volume1/video")
    for word in ("german", "de", "ger", "deu", "deutsch", "Deutsch"):
        assert named(box, f"subtitles={word}") == {"beside", "inside", "other"}, word
    assert named(box, "subtitles=english") == {"other"} and named(box, "subtitles=fr") == set()
    assert named(box, "kind=film", "missing:subtitles") == {"none"} and named(box, "has:subtitles") == {"beside", "inside", "other"}
    assert named(box, "subtitle_file_language=german") == {"beside", "other"}
    box.remove("/volume1/video/beside.de.srt")
    box.write("/volume1/video/none.fr.srt", b"text")
    box.index("A:/volume1/video")
    assert named(box, "subtitles=german") == {"inside", "other"} and named(box, "subtitles=french") == {"none"}


def test_languages_are_found_by_what_they_call_themselves(make_daemon):
    """As the translations of Debian's package iso-codes say it."""
    box = make_daemon(speed=FILMS_SPEED)
    box.configure(rules="complete")
    names = {"deu": "Deutsch", "fra": "français", "spa": "Español", "ita": "Italiano", "por": "Português", "nld": "Nederlands", "swe": "Svenska",
             "fin": "suomi", "rus": "русский", "ell": "Ελληνικά", "jpn": "日本語", "kor": "한국어", "ces": "čeština", "nor": "Norsk"}
    for code in names:
        media.clip(box.box.path(f"/volume1/video/{code}.mkv"), "-frames:v", "1", "-c:v", "mjpeg", "-metadata:s:a:0", f"language={code}")
    box.start().index("A:/volume1/video")
    for code, name in names.items():
        for typed in (name, name.upper()):
            assert named(box, f"audio_language={typed}".encode().decode("latin-1")) == {code}, (code, typed)


def test_a_sign_that_the_shell_has_taken_is_told(films):
    answer = films.box.ask("run", arguments=["/bin/sh", "-c", f"cd /tmp; {films.ctl_program} find size>100k"], environment={}, timeout=60)
    assert "size=100k.. says the same" in answer["err"] and "'100k'" in answer["err"], answer
    for line in ("find size > list.txt", "find 'size>100k' > 100k", "find path > 100k", "find nothing > 100k"):
        answer = films.box.ask("run", arguments=["/bin/sh", "-c", f"cd /tmp; {films.ctl_program} {line}"], environment={}, timeout=60)
        assert "shells take" not in answer["err"], (line, answer)
    assert films.ctl("find", "size")["err"].startswith("No rows.")
