# SPDX-License-Identifier: GPL-2.0-or-later
"""Cover pictures in MP3 files: where they go, what they hold, whom they belong to, and when they go again."""
import hashlib
import os
import shutil

import pytest
from mutagen import id3 as mutagen

from harness import id3, media, music

COVERS = "/var/lib/velu/covers"
FRONT, OTHER, LAST = 3, 0, 20
TITLE = id3.text(3, "TIT2", "A Title")


@pytest.fixture(scope="session")
def pictures(tmp_path_factory):
    """Real pictures, each other than the others: {name: contents}."""
    folder = tmp_path_factory.mktemp("pictures")
    made = {}
    for index, name in enumerate(("a.jpg", "b.jpg", "c.jpg", "large.jpg", "a.png", "b.png")):
        size = 400 if name.startswith("large") else 40 + index
        media.picture(f"{folder}/{name}", size, size, "-quality", "100")
        made[name] = (folder / name).read_bytes()
    assert len(set(made.values())) == len(made) and len(made["large.jpg"]) > 100_000
    return made


def place(path, kind, extension, number=1):
    digest = hashlib.sha256(path.encode()).hexdigest()
    return f"{COVERS}/{digest[:2]}/{digest}/{kind}_{number}.{extension}"


def covers(daemon, folder=COVERS):
    """Every file below the folder of the covers: {path: contents}."""
    host = daemon.box.path(folder)
    found = [os.path.relpath(os.path.join(top, name), host) for top, _, names in os.walk(host) for name in names]
    return {f"{folder}/{path}": daemon.read(f"{folder}/{path}") for path in found}


def folders(daemon):
    """The folders of single media files."""
    host = daemon.box.path(COVERS)
    if not os.path.isdir(host):
        return []
    return [name for shelf in os.listdir(host) for name in os.listdir(os.path.join(host, shelf))]


def mutagen_file(path, source, version, *frames):
    shutil.copy(source, path)
    tag = mutagen.ID3()
    for frame in frames:
        tag.add(frame)
    tag.save(path, v2_version=version, v1=0)
    return str(path)


def apic(image, mime="image/jpeg", kind=FRONT, description="", encoding=0):
    return mutagen.APIC(encoding=encoding, mime=mime, type=kind, desc=description, data=image)


def check(daemon, cases):
    """`cases`: {name: (contents, (picture type, extension, picture) or None)}."""
    rows = music.catalogue(daemon, {name: content for name, (content, _) in cases.items()})
    kept = {name: cover for name, (_, cover) in cases.items() if cover}
    assert {name: row["has_cover"] for name, row in rows.items()} == {name: int(name in kept) for name in cases}
    expected = {place(f"{music.ALBUM}/{name}", kind, extension): image for name, (kind, extension, image) in kept.items()}
    assert covers(daemon) == expected
    return expected


def test_pictures_of_programs(daemon, tmp_path, samples, pictures):
    plain, wav = samples / "plain.mp3", str(samples / "tone.wav")
    jpeg, png, large = pictures["a.jpg"], pictures["a.png"], pictures["large.jpg"]
    cases = {}
    for version in (3, 4):
        for name, frame, kept in (("jpeg", apic(jpeg), (FRONT, "jpg", jpeg)),
                                  ("png", apic(png, "image/png"), (FRONT, "png", png)),
                                  ("jpg", apic(jpeg, "image/jpg", OTHER), (OTHER, "jpg", jpeg)),
                                  ("large", apic(large), (FRONT, "jpg", large)),
                                  ("upper", apic(png, "IMAGE/PNG", LAST), (LAST, "png", png)),
                                  ("described", apic(jpeg, description="the sleeve"), (FRONT, "jpg", jpeg)),
                                  ("gif", apic(jpeg, "image/gif"), None),
                                  ("link", apic(b"http://example.org/a.jpg", "-->"), None)):
            path = mutagen_file(tmp_path / f"{name} {version}.mp3", plain, version,
                                mutagen.TIT2(encoding=0, text=["A Title"]), frame)
            cases[f"{name} {version}.mp3"] = (path, kept)
    for name, kept in (("a.jpg", "jpg"), ("a.png", "png")):
        image = tmp_path / name
        image.write_bytes(pictures[name])
        path = music.lame(str(tmp_path / f"lame {kept}.mp3"), wav, "--ti", str(image))
        cases[f"lame {kept}.mp3"] = (path, (OTHER, kept, pictures[name]))
        path = str(tmp_path / f"ffmpeg {kept}.mp3")
        media.ffmpeg("-i", wav, "-i", str(image), "-map", "0", "-map", "1", "-c:v", "copy", "-id3v2_version", "3",
                     "-metadata:s:v", "comment=Cover (front)", path)
        cases[f"ffmpeg {kept}.mp3"] = (path, (FRONT, kept, pictures[name]))
    check(daemon, cases)
    assert daemon.logged("metaid3.c", f"Wrong MIME type: image/gif, file:{music.ALBUM}/gif 3.mp3") == 1


def test_which_picture_of_a_tag_is_kept(daemon, stream, pictures):
    first, second, png = pictures["a.jpg"], pictures["b.jpg"], pictures["a.png"]
    picture = id3.picture
    front, back = (FRONT, "jpg", first), (4, "jpg", first)
    cases = {
        "first.mp3": ((picture(3, first), picture(3, second)), front),
        "front not preferred.mp3": ((picture(3, first, kind=4), picture(3, second, kind=FRONT)), back),
        "second after a gif.mp3": ((picture(3, second, mime="image/gif"), picture(3, first)), front),
        "second after a wrong type.mp3": ((picture(3, second, kind=21), picture(3, first)), front),
        "second after a stub.mp3": ((picture(3, second[:9]), picture(3, first)), front),
        "stub of ten.mp3": ((picture(3, first[:10]),), (FRONT, "jpg", first[:10])),
        "stub of png.mp3": ((picture(3, png[:7], mime="image/png"),), None),
        "png of eight.mp3": ((picture(3, png[:8], mime="image/png"),), (FRONT, "png", png[:8])),
        "lower case id.mp3": ((id3.frame(3, "apic", picture(3, first)[10:]),), None),
        "mixed case id.mp3": ((id3.frame(3, "Apic", picture(3, first)[10:]),), front),
    }
    made = {name: (id3.tag(3, TITLE, *frames) + stream, kept) for name, (frames, kept) in cases.items()}
    for name, mime, extension, image in (("jpg", "JPG", "jpg", first), ("small", "jpg", "jpg", first),
                                         ("png", "PNG", "png", png)):
        made[f"2 {name}.mp3"] = (id3.tag(2, id3.text(2, "TT2", "x"), picture(2, image, mime=mime)) + stream,
                                 (FRONT, extension, image))
    check(daemon, made)
    assert daemon.logged("metaid3.c", "Wrong cover type: 21") == 1
    assert sorted(folders(daemon)) == sorted(hashlib.sha256(f"{music.ALBUM}/{name}".encode()).hexdigest()
                                             for name, (_, kept) in made.items() if kept)


def test_a_cover_may_be_read_by_all_and_belongs_to_the_owner_of_the_file(daemon, stream, pictures):
    path = daemon.box.path(daemon.write(f"{music.ALBUM}/x.mp3"))
    if os.geteuid() == 0:
        # Others can have no files of somebody else, in the sandbox either.
        os.chown(path, 1234, 2345)
    expected = check(daemon, {"x.mp3": (id3.tag(3, id3.picture(3, pictures["a.jpg"])) + stream,
                                        (FRONT, "jpg", pictures["a.jpg"]))})
    cover, song = os.stat(daemon.box.path(*expected)), os.stat(path)
    assert cover.st_mode & 0o7777 == 0o777
    assert (cover.st_uid, cover.st_gid) == (song.st_uid, song.st_gid)


def test_a_new_picture_takes_the_place_of_the_old_one(daemon, stream, pictures):
    turns = [("a.jpg", FRONT), ("b.jpg", FRONT), ("a.png", OTHER), (None, 0), ("c.jpg", LAST), ("b.png", FRONT)]
    for name, kind in turns:
        if name is None:
            check(daemon, {"x.mp3": (id3.tag(3, TITLE) + stream, None)})
            assert folders(daemon) == []
            continue
        extension = name[-3:]
        frame = id3.picture(3, pictures[name], kind, "image/png" if extension == "png" else "image/jpeg")
        check(daemon, {"x.mp3": (id3.tag(3, TITLE, frame) + stream, (kind, extension, pictures[name]))})


@pytest.mark.parametrize("content", [b"", b"no music at all" * 100, b"ID3"])
def test_a_file_that_is_music_no_more_leaves_no_cover(daemon, stream, pictures, content):
    check(daemon, {"x.mp3": (id3.tag(3, id3.picture(3, pictures["a.jpg"])) + stream, (FRONT, "jpg", pictures["a.jpg"]))})
    check(daemon, {"x.mp3": (content, None)})
    assert folders(daemon) == []


def test_covers_go_with_their_files_and_no_others_do(daemon, stream, pictures):
    song = id3.tag(3, id3.picture(3, pictures["a.jpg"])) + stream
    names = ("a/1.mp3", "a/2.mp3", "a/b/3.mp3", "a b/4.mp3", "c/5.mp3")
    paths = [daemon.write(f"/volume1/music/{name}", song) for name in names]
    daemon.index("A:/volume1/music")
    expected = {place(path, FRONT, "jpg"): pictures["a.jpg"] for path in paths}
    assert covers(daemon) == expected

    daemon.remove(paths[0])
    daemon.index(f"d:{paths[0]}")
    del expected[place(paths[0], FRONT, "jpg")]
    assert covers(daemon) == expected

    shutil.rmtree(daemon.box.path("/volume1/music/a"))
    daemon.index("D:/volume1/music/a")
    assert covers(daemon) == {place(path, FRONT, "jpg"): pictures["a.jpg"] for path in paths[3:]}
    assert daemon.paths("music") == sorted(paths[3:])

    renamed = "/volume1/music/c/6.mp3"
    os.rename(daemon.box.path(paths[4]), daemon.box.path(renamed))
    daemon.index(f"N:{renamed}:{paths[4]}")
    assert sorted(covers(daemon)) == sorted(place(path, FRONT, "jpg") for path in (paths[3], renamed))
    assert len(folders(daemon)) == 2


def test_another_folder_of_covers(box, stream, pictures):
    box.configure(coverdir="/volume1/covers")
    box.start()
    path = box.write("/volume1/music/x.mp3", id3.tag(3, id3.picture(3, pictures["a.png"], OTHER, "image/png")) + stream)
    box.index(f"a:{path}")
    expected = place(path, OTHER, "png").replace(COVERS, "/volume1/covers")
    assert covers(box, "/volume1/covers") == {expected: pictures["a.png"]}
    assert covers(box) == {}


def test_a_read_only_folder_of_covers(make_daemon, tmp_path, stream, pictures):
    (tmp_path / "covers").mkdir()
    daemon = make_daemon(binds=(str(tmp_path / "covers"), COVERS))
    daemon.mkdir(COVERS)
    daemon.start()
    rows = music.catalogue(daemon, {"x.mp3": id3.tag(3, TITLE, id3.picture(3, pictures["a.jpg"])) + stream})
    assert (rows["x.mp3"]["title"], rows["x.mp3"]["has_cover"], rows["x.mp3"]["channels"]) == ("A Title", 0, 2)
    assert list((tmp_path / "covers").iterdir()) == []
    assert daemon.logged("metaid3.c", f"FAILED to get CoverPath :{music.ALBUM}/x.mp3") == 1


def test_a_cover_that_cannot_be_written_whole_is_removed(box, stream, pictures):
    small, large = pictures["a.jpg"], bytes(pictures["large.jpg"]) * 30
    limit = 2 << 20
    assert len(large) > limit
    # As on a full volume, the beginning can be written and the rest cannot. The signal of this limit stays ignored.
    box.start(wrapper=("/bin/bash", "-c", f"trap '' XFSZ; ulimit -f {limit >> 10}; exec \"$0\" \"$@\""))
    frames = {"none.mp3": (id3.picture(3, large),), "next.mp3": (id3.picture(3, large), id3.picture(3, small)),
              "small.mp3": (id3.picture(3, small),)}
    kept = (FRONT, "jpg", small)
    check(box, {name: (id3.tag(3, TITLE, *frame) + stream, None if name == "none.mp3" else kept)
                for name, frame in frames.items()})
    assert box.logged("metaid3.c", "FAILED TO WRITE PIC FILE, reason=File too large") == 2
    assert len(folders(box)) == 2
