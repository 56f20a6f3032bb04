# SPDX-License-Identifier: GPL-2.0-or-later
"""Pictures of every format with metadata of every kind, made by encoders and exiftool, and what exiftool says of them."""
import functools
import json
import pathlib
import shutil
import subprocess

from . import camera_exif, media, photo, raws

EXIF = {"IFD0:Make": "Maker & Sons", "IFD0:Model": "Modèl 7", "ExifIFD:ExposureTime": "1/125", "ExifIFD:FNumber": "2.8",
        "ExifIFD:ISO": "400", "ExifIFD:DateTimeOriginal": "2019:05:04 10:11:12", "ExifIFD:OffsetTimeOriginal": "+02:00",
        "IFD0:Orientation#": "6", "ExifIFD:FocalLength": "35.5", "ExifIFD:LensModel": "EF 35mm f/2",
        "GPS:GPSLatitude": "48.137222", "GPS:GPSLatitudeRef": "N", "GPS:GPSLongitude": "11.575556",
        "GPS:GPSLongitudeRef": "W", "GPS:GPSAltitude": "519.5", "GPS:GPSAltitudeRef#": "1"}
XMP = {"XMP-dc:Title": "Ein Titel €", "XMP-dc:Description": "Über alles", "XMP-dc:Subject": ["sea", "山", "sun; moon"],
       "XMP-dc:Creator": ["One", "Two"], "XMP-xmp:Rating": "4"}
XMP_CAMERA = {"XMP-tiff:Make": "X Maker", "XMP-tiff:Model": "X Model", "XMP-exif:ExposureTime": "1/60",
              "XMP-exif:FNumber": "5.6", "XMP-exif:ISO": "200", "XMP-exif:DateTimeOriginal": "2001:02:03 04:05:06+09:00",
              "XMP-tiff:Orientation#": "3", "XMP-exif:FocalLength": "50", "XMP-aux:Lens": "X Lens",
              "XMP-exif:GPSLatitude": "-33.8575", "XMP-exif:GPSLongitude": "151.215"}
IPTC = {"IPTC:Keywords": ["sea", "ship"], "IPTC:ObjectName": "Object", "IPTC:Caption-Abstract": "Caption",
        "IPTC:By-line": ["Ann", "Bob"], "IPTC:DateCreated": "1999:12:31", "IPTC:TimeCreated": "23:59:58+01:00"}
WINDOWS = {"IFD0:XPTitle": "Fenster €", "IFD0:XPComment": "Bemerkung", "IFD0:XPAuthor": "Ann;Bob",
           "IFD0:XPKeywords": "one;zwei;三", "IFD0:Rating": "2"}


class Shape:
    """A picture: an encoder's file, and what exiftool writes into it."""

    def __init__(self, name, tags=None, *options, source="jpg"):
        self.name, self.tags, self.options, self.source = name, tags or {}, options, source


def _shapes():
    yield Shape("plain.jpg")
    for order in ("II", "MM"):
        yield Shape(f"exif-{order}.jpg", EXIF | {"ExifByteOrder": order})
        yield Shape(f"exif-{order}.tif", EXIF | {"ExifByteOrder": order}, source="tif")
        yield Shape(f"exif-{order}.png", EXIF | {"ExifByteOrder": order}, source="png")
    for kind in ("webp", "jp2", "heic", "avif", "jxl", "psd", "gif"):
        yield Shape(f"all.{kind}", XMP | XMP_CAMERA if kind == "gif" else EXIF | XMP, source=kind)
        yield Shape(f"plain.{kind}", source=kind)
    for kind in ("jpg", "png", "tif", "webp", "jp2", "heic", "avif", "psd", "jxl"):
        yield Shape(f"xmp.{kind}", XMP | XMP_CAMERA, source=kind)
    for kind in ("jpg", "tif", "psd"):
        yield Shape(f"iptc.{kind}", IPTC, source=kind)
    for kind in ("bmp", "ico", "tga", "j2k"):
        yield Shape(f"plain.{kind}", source=kind)
    yield Shape("windows.jpg", WINDOWS)
    yield Shape("everything.jpg", EXIF | XMP | WINDOWS | IPTC)
    for name, comment in {"ascii": "plain words", "unicode": "Grüße 世界 😀"}.items():
        for order in ("II", "MM"):
            yield Shape(f"comment-{name}-{order}.jpg", {"ExifIFD:UserComment": comment, "ExifByteOrder": order})
    yield Shape("comment-jpeg.jpg", {"File:Comment": "in a segment"})
    yield Shape("latin1.jpg", {"IFD0:Artist": "René", "IFD0:ImageDescription": "Straße"}, "-charset", "exif=latin1")
    yield Shape("latin1-iptc.jpg", {"IPTC:Keywords": ["Größe"], "IPTC:By-line": "René"}, "-charset", "iptc=latin1")
    yield Shape("utf8-iptc.jpg", {"IPTC:CodedCharacterSet": "UTF8", "IPTC:Keywords": ["Größe", "海"]})
    for name, seconds in {"long": "30", "second": "1", "short": "1/8000", "odd": "0.3", "third": "0.4", "zero": "0"}.items():
        yield Shape(f"exposure-{name}.jpg", {"ExifIFD:ExposureTime": seconds})
    for name, tags in {"date-digitized": {"ExifIFD:CreateDate": "2011:01:02 03:04:05"},
                       "date-changed": {"IFD0:ModifyDate": "2012:01:02 03:04:05"},
                       "date-unset": {"ExifIFD:DateTimeOriginal#": "0000:00:00 00:00:00"},
                       "date-blank": {"ExifIFD:DateTimeOriginal#": "    :  :     :  :  "},
                       "date-xmp-day": {"XMP-photoshop:DateCreated": "2003:04:05"},
                       "date-xmp-fraction": {"XMP-xmp:CreateDate": "2003:04:05 06:07:08.25Z"}}.items():
        yield Shape(f"{name}.jpg", tags)
    yield Shape("iso-wide.jpg", {"ExifIFD:ISO": "65535", "ExifIFD:RecommendedExposureIndex": "102400"})
    yield Shape("south-east.jpg", {"GPS:GPSLatitude": "33.5", "GPS:GPSLatitudeRef": "S", "GPS:GPSLongitude": "151.25",
                                   "GPS:GPSLongitudeRef": "E"})
    yield Shape("rational-zero.jpg", {"ExifIFD:FNumber": "undef", "ExifIFD:FocalLength": "inf", "ExifIFD:ISO": "100"})
    for kind in ("dng", "nef", "nrw", "arw", "sr2", "pef", "srw", "erf", "mef", "mos", "iiq", "rwl"):
        yield Shape(f"raw.{kind}", EXIF, source="tif")
    for kind in raws.WRITABLE:
        yield Shape(f"raw.{kind}", EXIF, source=kind)
    yield Shape("big-tags.jpg", {"IFD0:ImageDescription": "x" * 3000, "IFD0:Artist": "A; B ;C"})


def orf(tif):
    """Olympus's format: TIFF under another number."""
    return tif[:2] + b"RO" + tif[4:]


def with_film(jpg):
    """A photo with a film behind it, as phones write those that move."""
    return jpg + raws.box(b"ftyp", b"mp42\0\0\0\0isom") + raws.box(b"mdat", bytes(5000))


def padded(jpg):
    """Fill bytes in front of the first marker."""
    return jpg[:2] + b"\xff" * 9 + jpg[2:]


def with_second_picture(jpg):
    """A preview behind the picture, as in the files of cameras with two lenses."""
    return jpg + jpg


SHAPES = list(_shapes())
# What exiftool does not make: the name, the shape that it is made of, and how.
MADE_OF = {"raw.orf": ("exif-II.tif", orf), "raw.crw": ("plain.jpg", raws.crw), "raw.raf": ("exif-II.jpg", raws.raf),
           "raw.x3f": ("exif-II.jpg", raws.x3f),
           "raw.mrw": ("exif-MM.tif", raws.mrw), "film-behind.jpg": ("exif-II.jpg", with_film), "padded.jpg": ("exif-MM.jpg", padded),
           "second-picture.jpg": ("everything.jpg", with_second_picture),
           **{f"camera-{name}.jpg": ("plain.jpg", functools.partial(photo.with_exif, tiff=block))
              for name, block in camera_exif.shapes().items()}}
TOOLS = {"heic": lambda png, out: ("heif-enc", "-q", "50", png, "-o", out),
         "avif": lambda png, out: ("avifenc", "-s", "10", png, out),
         "jxl": lambda png, out: ("cjxl", "--container=1", "-e", "1", png, out)}

ASKED = "asked.json"


def make(folder):
    """Writes all shapes into a folder, and what exiftool reads in them."""
    sources = folder / "sources"
    sources.mkdir()
    kinds = sorted({shape.source for shape in SHAPES})
    png = sources / "a.png"
    media.call("convert", "-size", "48x36", "gradient:red-blue", str(png))
    plain = [kind for kind in kinds if kind not in TOOLS and kind not in raws.WRITABLE and kind != "png"]
    media.call("convert", str(png), *[part for kind in plain for part in ("-write", str(sources / f"a.{kind}"))], "null:")
    for kind, command in TOOLS.items():
        media.call(*command(str(png), str(sources / f"a.{kind}")))
    for kind, how in raws.WRITABLE.items():
        (sources / f"a.{kind}").write_bytes(how((sources / "a.jpg").read_bytes()))
    lines = []
    for shape in SHAPES:
        shutil.copy(sources / f"a.{shape.source}", folder / shape.name)
        if shape.tags:
            lines += ["-q", "-m", "-overwrite_original", *shape.options]
            for tag, value in shape.tags.items():
                lines += [f"-{tag}={one}" for one in (value if isinstance(value, list) else [value])]
            lines += [str(folder / shape.name), "-execute"]
    (folder / "arguments").write_text("\n".join(lines), encoding="utf-8")
    media.call("exiftool", "-@", str(folder / "arguments"))
    for name, (source, how) in MADE_OF.items():
        (folder / name).write_bytes(how((folder / source).read_bytes()))
    (folder / ASKED).write_text(json.dumps(_exiftool(every(folder))), encoding="utf-8")


def every(folder):
    """The paths of all shapes."""
    return [folder / name for name in (*(shape.name for shape in SHAPES), *MADE_OF)]


def exiftool(folder):
    """What exiftool reads: for each shape's name its tags by group and name, numbers as numbers."""
    return json.loads((folder / ASKED).read_text(encoding="utf-8"))


def _exiftool(paths):
    done = subprocess.run(["exiftool", "-j", "-n", "-G1", "-a", "-struct", "-charset", "iptc=latin1", "-charset", "exif=utf8",
                           *map(str, paths)], capture_output=True, check=False)
    return {pathlib.Path(entry["SourceFile"]).name: entry for entry in json.loads(done.stdout)}
