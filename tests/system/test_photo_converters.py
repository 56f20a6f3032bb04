# SPDX-License-Identifier: GPL-2.0-or-later
"""What the thumbnail and Flash video daemons are handed: lines of their queues, and a signal."""
import pytest

from harness import photo
from harness.daemon import FLV_DAEMON, FLV_QUEUE, THUMB_DAEMON, THUMB_QUEUE

PHOTO, VIDEO = "/volume1/photo", "/volume1/video"


@pytest.fixture
def box(box):
    """A daemon, not started yet, beside both converters."""
    for name in (THUMB_DAEMON, FLV_DAEMON):
        box.start_peer(name)
    return box


def queues(box):
    return box.lines(THUMB_QUEUE), box.lines(FLV_QUEUE)


def wakes(box):
    return box.wakes(THUMB_DAEMON), box.wakes(FLV_DAEMON)


def pictures(box, *names):
    return [box.write(f"{PHOTO}/{name}", photo.jpeg(3, 2)) for name in names]


def test_a_picture_queues_its_directory_once_and_wakes_the_thumbnail_daemon(box):
    first, second, third = pictures(box, "a/1.jpg", "a/2.jpg", "ab/1.jpg")
    box.start()
    box.index(f"a:{third}")
    assert (queues(box), wakes(box)) == (([f"{PHOTO}/ab"], []), (1, 0))
    box.index(f"a:{first}")
    assert (queues(box), wakes(box)) == (([f"{PHOTO}/ab", f"{PHOTO}/a"], []), (2, 0))
    # Another picture of the directory: nothing to write, but the daemon is told again.
    box.index(f"a:{second}")
    assert (queues(box), wakes(box)) == (([f"{PHOTO}/ab", f"{PHOTO}/a"], []), (3, 0))


def test_a_web_video_queues_itself_and_wakes_the_flash_daemon(box, samples):
    path = f"{PHOTO}/a/clip %s.avi"
    box.copy(samples / "clip.avi", path)
    box.start()
    box.index(f"a:{path}")
    assert (queues(box), wakes(box)) == (([], [path]), (0, 1))
    assert box.converter_calls() == []


def test_another_video_goes_to_the_converter_at_once_and_into_no_queue(box):
    path = box.write(f"{PHOTO}/disc.iso", "image")
    box.start()
    box.index(f"a:{path}")
    assert box.converter_calls() == [f"-f {path}"]
    box.remove(path)
    box.index(f"d:{path}")
    assert box.converter_calls() == [f"-f {path}"] * 2, "whatever has happened to it"
    assert (queues(box), wakes(box)) == (([], []), (0, 0))


def test_a_tree_queues_each_of_its_directories_once(box, samples):
    names = [f"{folder}/{number}.jpg" for folder in ("a", "a/b", "c d") for number in range(5)]
    pictures(box, *names)
    for name in ("a/1.avi", "2.avi"):
        box.copy(samples / "clip.avi", f"{PHOTO}/{name}")
    box.start()
    box.index(f"A:{PHOTO}")
    thumbs, flash = queues(box)
    assert sorted(thumbs) == [f"{PHOTO}/a", f"{PHOTO}/a/b", f"{PHOTO}/c d"]
    assert sorted(flash) == [f"{PHOTO}/2.avi", f"{PHOTO}/a/1.avi"]
    woken = wakes(box)
    assert 1 <= woken[0] <= len(names) and 1 <= woken[1] <= 2


def test_what_stands_in_a_queue_stays_and_is_not_repeated(box):
    left = [f"{PHOTO}/abc", f"{PHOTO}/a", "", "no newline"]
    box.write(THUMB_QUEUE, "\n".join(left))
    paths = pictures(box, "a/1.jpg", "ab/1.jpg")
    box.start()
    box.index(*[f"a:{path}" for path in paths])
    assert queues(box)[0] == left[:3] + [f"no newline{PHOTO}/ab"]


def test_names_of_any_bytes_stand_in_the_queue_as_they_are(box, samples):
    names = [b"it's", b'"', b"back\\slash", b"100%s%n", b"under_score", b"caf\xe9", b"\xff\xfe", b"`id`$(id)"]
    folders = [PHOTO.encode() + b"/" + name for name in names]
    clip = (samples / "clip.avi").read_bytes()
    for folder in folders:
        box.write(folder + b"/a.jpg", photo.jpeg(3, 2))
        box.write(folder + b"/a.avi", clip)
        box.write(folder + b"/a.iso", b"image")
    box.start()
    box.index(*[b"A:" + folder for folder in folders])
    texts = [folder.decode("latin-1") for folder in folders]
    assert queues(box) == (texts, [f"{text}/a.avi" for text in texts])
    assert box.converter_calls() == [f"-f {text}/a.iso" for text in texts]


def test_outside_the_photo_share_nothing_is_queued(box, samples):
    box.write(f"{VIDEO}/a.jpg", photo.jpeg(3, 2))
    box.copy(samples / "clip.avi", f"{VIDEO}/clip.avi")
    box.start()
    box.index(f"A:{VIDEO}")
    assert (queues(box), wakes(box)) == (([], []), (0, 0))


@pytest.mark.parametrize("photos, cinehall", [(True, False), (False, True), (False, False)])
def test_the_two_features_switch_the_queues(make_daemon, samples, photos, cinehall):
    daemon = make_daemon(photo=photos, cinehall=cinehall)
    for name in (THUMB_DAEMON, FLV_DAEMON):
        daemon.start_peer(name)
    pictures(daemon, "a.jpg")
    daemon.copy(samples / "clip.avi", f"{PHOTO}/clip.avi")
    daemon.start()
    daemon.index(f"A:{PHOTO}")
    assert queues(daemon) == ([PHOTO] if photos else [], [])
    assert wakes(daemon) == (1 if photos else 0, 0)


def test_a_converter_that_does_not_run_gets_nothing(box, samples):
    pictures(box, "a.jpg")
    box.copy(samples / "clip.avi", f"{PHOTO}/clip.avi")
    box.start()
    texts = ["", "0\n", "-1\n", "999999\n", "no number\n", None]
    for runs, text in enumerate(texts, 1):
        for name in (THUMB_DAEMON, FLV_DAEMON):
            if text is None:
                box.remove(f"/var/run/{name}.pid")
            else:
                box.write(f"/var/run/{name}.pid", text)
        box.index(f"A:{PHOTO}")
        assert (queues(box), wakes(box)) == (([], []), (0, 0))
        for name in ("Thumb", "FLV"):
            assert box.logged("photo_index.c", f"{name} daemon is not running .....\n") == runs, repr(text)
    assert len(box.paths("photo_image")) == 1, "the picture is in the library all the same"


def test_a_queue_that_cannot_be_opened_is_tried_once_and_the_import_goes_on(box):
    path, = pictures(box, "a.jpg")
    box.mkdir(THUMB_QUEUE)
    box.start()
    box.index(f"a:{path}")
    assert sum("failed, reason=" in text for text in box.log.texts()) == 1
    assert box.paths("photo_image") == [path] and wakes(box) == (0, 0)


def test_an_update_or_a_removal_queues_nothing(box, samples):
    path, = pictures(box, "a/1.jpg")
    box.copy(samples / "clip.avi", f"{PHOTO}/a/clip.avi")
    box.start()
    box.index("U:photo")
    box.remove(path)
    box.index(f"d:{path}")
    assert (queues(box), wakes(box)) == (([], []), (0, 0))
