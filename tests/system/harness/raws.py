# SPDX-License-Identifier: GPL-2.0-or-later
"""Raw photos of formats that no encoder writes: their containers as the makers' cameras lay them out, around pictures of one
colour. exiftool writes the metadata into those that it can write, the others have them from here."""
import struct

WIDTH, HEIGHT = 48, 36

BYTE, ASCII, SHORT, LONG, UNDEFINED = 1, 2, 3, 4, 7
SIZES = {BYTE: 1, ASCII: 1, SHORT: 2, LONG: 4, UNDEFINED: 1}


class Tiff:
    """A TIFF in the byte order of Intel that is put together from its front: bytes get places, directories know theirs."""

    def __init__(self, header):
        self.data = bytearray(header)

    def put(self, content):
        """Returns where the content stands, at an even place."""
        self.data += b"\0" * (len(self.data) % 2)
        place = len(self.data)
        self.data += content
        return place

    def directory(self, entries, previous=None):
        """Entries are (tag, type, values); `previous` is the directory that leads to this one. Returns its place."""
        places = []
        for tag, kind, values in sorted(entries):
            if kind in (BYTE, ASCII, UNDEFINED):
                content = values
            else:
                content = struct.pack(f"<{len(values)}{'H' if kind == SHORT else 'L'}", *values)
            count = len(content) // SIZES[kind]
            value = content.ljust(4, b"\0") if len(content) <= 4 else struct.pack("<L", self.put(content))
            places.append(struct.pack("<HHL", tag, kind, count) + value)
        place = self.put(struct.pack("<H", len(places)) + b"".join(places) + bytes(4))
        if previous is not None:
            count, = struct.unpack_from("<H", self.data, previous)
            struct.pack_into("<L", self.data, previous + 2 + 12 * count, place)
        return place

    def patch(self, directory, values):
        """Sets values of four bytes that were not known when a directory was put together."""
        count, = struct.unpack_from("<H", self.data, directory)
        for entry in range(directory + 2, directory + 2 + 12 * count, 12):
            tag, = struct.unpack_from("<H", self.data, entry)
            if tag in values:
                struct.pack_into("<L", self.data, entry + 8, values[tag])


def lossless_jpeg(width, height, components=2, bits=14):
    """All samples alike: each differs from the one before it by nothing, which is the only code there is, one bit long."""
    def segment(mark, content):
        return struct.pack(">BBH", 0xFF, mark, len(content) + 2) + content
    parts = b"".join(bytes((number + 1, 0x11, 0)) for number in range(components))
    scan = bytes((components,)) + b"".join(bytes((number + 1, 0)) for number in range(components)) + b"\1\0\0"
    samples = bytes(-(-width * height // 8))
    return (b"\xff\xd8" + segment(0xC4, b"\0" + b"\1" + bytes(15) + b"\0")
            + segment(0xC3, struct.pack(">BHHB", bits, height, width // components, components) + parts)
            + segment(0xDA, scan) + samples + b"\xff\xd9")


def cr2(jpeg):
    """Canon's format of 2004: a preview, a thumbnail, a small picture, and the raw data in the fourth directory."""
    tiff = Tiff(struct.pack("<2sHL2sBBL", b"II", 42, 16, b"CR", 2, 0, 0))
    # The first directory comes first, what it leads to behind it.
    first = tiff.directory([(0x0100, SHORT, [WIDTH]), (0x0101, SHORT, [HEIGHT]), (0x0102, SHORT, [8]), (0x0103, SHORT, [6]),
                            (0x010F, ASCII, b"Canon\0"), (0x0110, ASCII, b"Canon EOS 350D DIGITAL\0"), (0x0111, LONG, [0]),
                            (0x0112, SHORT, [1]), (0x0117, LONG, [len(jpeg)]), (0x8769, LONG, [0])])
    tiff.patch(first, {0x0111: tiff.put(jpeg), 0x8769: tiff.directory(
        [(0x9000, UNDEFINED, b"0221"), (0xA002, SHORT, [WIDTH]), (0xA003, SHORT, [HEIGHT])])})
    second = tiff.directory([(0x0201, LONG, [tiff.put(jpeg)]), (0x0202, LONG, [len(jpeg)])], first)
    third = tiff.directory([(0x0100, SHORT, [2]), (0x0101, SHORT, [2]), (0x0102, SHORT, [8, 8, 8]), (0x0103, SHORT, [1]),
                            (0x0106, SHORT, [2]), (0x0111, LONG, [tiff.put(bytes(12))]), (0x0115, SHORT, [3]),
                            (0x0116, SHORT, [2]), (0x0117, LONG, [12]), (0x011C, SHORT, [1])], second)
    raw = lossless_jpeg(WIDTH + 8, HEIGHT + 4)
    fourth = tiff.directory([(0x0103, SHORT, [6]), (0x0111, LONG, [tiff.put(raw)]), (0x0117, LONG, [len(raw)]),
                             (0xC5D8, LONG, [1]), (0xC640, SHORT, [0, 0, WIDTH + 8])], third)
    struct.pack_into("<L", tiff.data, 4, first)
    struct.pack_into("<L", tiff.data, 12, fourth)
    return bytes(tiff.data)


def rw2(jpeg):
    """Panasonic's format: TIFF under another number, with tags of its own below 0x100 and a whole JPEG in one of them."""
    tiff = Tiff(struct.pack("<2sHL16s", b"II", 0x55, 0, b"\x88\xe7\x74\xd8\xf8\x25\x1d\x4d\x94\x7a\x6e\x77\x82\x2b\x5d\x6a"))
    raw = bytes((WIDTH + 8) * (HEIGHT + 4) * 2)
    # The picture is a part of what the sensor takes.
    first = tiff.directory([(0x0001, UNDEFINED, b"0300"), (0x0002, SHORT, [WIDTH + 8]), (0x0003, SHORT, [HEIGHT + 4]),
                            (0x0004, SHORT, [2]), (0x0005, SHORT, [4]), (0x0006, SHORT, [HEIGHT + 2]), (0x0007, SHORT, [WIDTH + 4]),
                            (0x0008, SHORT, [1]), (0x0009, SHORT, [3]), (0x000A, SHORT, [12]), (0x0017, SHORT, [400]),
                            (0x002E, UNDEFINED, jpeg), (0x010F, ASCII, b"Panasonic\0"), (0x0110, ASCII, b"DMC-GX1\0"),
                            (0x0111, LONG, [0]), (0x0112, SHORT, [1]), (0x0116, SHORT, [HEIGHT + 4]), (0x0117, LONG, [len(raw)]),
                            (0x0118, LONG, [0]), (0x8769, LONG, [0])])
    exif = tiff.directory([(0x9000, UNDEFINED, b"0230")])
    place = tiff.put(raw)
    tiff.patch(first, {0x0111: 0xFFFFFFFF, 0x0118: place, 0x8769: exif})
    struct.pack_into("<L", tiff.data, 4, first)
    return bytes(tiff.data)


def _without_jfif(jpeg):
    """Cameras write EXIF alone."""
    return jpeg[:2] + jpeg[4 + struct.unpack_from(">H", jpeg, 4)[0]:] if jpeg[2:4] == b"\xff\xe0" else jpeg


def raf(jpeg):
    """Fujifilm's format: a JPEG with the metadata, records about the sensor, the raw data."""
    jpeg = _without_jfif(jpeg)

    def record(tag, content):
        return struct.pack(">HH", tag, len(content)) + content
    sides = struct.pack(">HH", HEIGHT + 4, WIDTH + 8)
    records = [record(0x100, sides), record(0x110, struct.pack(">HH", 2, 4)), record(0x111, struct.pack(">HH", HEIGHT, WIDTH)),
               record(0x115, struct.pack(">HH", 3, 2)), record(0x121, sides)]
    about = struct.pack(">L", len(records)) + b"".join(records)
    raw = bytes((WIDTH + 8) * (HEIGHT + 4) * 2)
    begin = 0x94
    padded = jpeg + bytes(-len(jpeg) % 16)
    places = struct.pack(">6L", begin, len(jpeg), begin + len(padded), len(about), begin + len(padded) + len(about), len(raw))
    head = b"FUJIFILMCCD-RAW 0201FF129502" + b"FinePix S5600".ljust(32, b"\0") + b"0100" + bytes(20) + places
    return head.ljust(begin, b"\0") + padded + about + raw


def box(kind, content):
    return struct.pack(">L4s", len(content) + 8, kind) + content


def full_box(kind, content, version=0, flags=0):
    return box(kind, struct.pack(">L", version << 24 | flags) + content)


CANON_UUID = bytes.fromhex("85c0b687820f11e08111f4ce462b6a48")
PREVIEW_UUID = bytes.fromhex("eaf42b5e1c984b88b9fbb7dc406e4d16")
MATRIX = struct.pack(">9L", 0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000)


def cr3(jpeg):
    """Canon's format of 2018: boxes as in MP4, with four TIFF blocks in one of Canon's own."""
    def block(entries):
        tiff = Tiff(struct.pack("<2sHL", b"II", 42, 0))
        struct.pack_into("<L", tiff.data, 4, tiff.directory(entries))
        return bytes(tiff.data)

    def track(number, kind, entry, place, size):
        header = full_box(b"tkhd", struct.pack(">4L", 0, 0, number, 0) + struct.pack(">L", 1) + bytes(16) + MATRIX
                          + struct.pack(">2L", WIDTH << 16, HEIGHT << 16), flags=7)
        media = full_box(b"mdhd", struct.pack(">4LHH", 0, 0, 1, 1, 0x55C4, 0)) + full_box(
            b"hdlr", bytes(4) + kind + bytes(12) + b"\0")
        table = (full_box(b"stsd", struct.pack(">L", 1) + entry) + full_box(b"stts", struct.pack(">3L", 1, 1, 1))
                 + full_box(b"stsc", struct.pack(">4L", 1, 1, 1, 1)) + full_box(b"stsz", struct.pack(">3L", size, 1, size))
                 + full_box(b"co64", struct.pack(">LQ", 1, place)))
        information = full_box(b"vmhd", bytes(8), flags=1) + box(b"dinf", full_box(
            b"dref", struct.pack(">L", 1) + full_box(b"url ", b"", flags=1))) + box(b"stbl", table)
        return box(b"trak", header + box(b"mdia", media + box(b"minf", information)))

    def sample(more):
        return box(b"CRAW", bytes(6) + struct.pack(">H", 1) + bytes(16) + struct.pack(">HH", WIDTH, HEIGHT)
                   + struct.pack(">LLLH", 0x480000, 0x480000, 0, 1) + bytes(32) + struct.pack(">Hh", 24, -1) + more)

    raw = bytes((WIDTH + 8) * (HEIGHT + 4))
    blocks = [block([(0x0100, SHORT, [WIDTH]), (0x0101, SHORT, [HEIGHT]), (0x010F, ASCII, b"Canon\0"),
                     (0x0110, ASCII, b"Canon EOS M50\0"), (0x0112, SHORT, [1])]),
              block([(0x9000, UNDEFINED, b"0231"), (0xA002, SHORT, [WIDTH]), (0xA003, SHORT, [HEIGHT])]),
              block([(0x0006, ASCII, b"Canon EOS M50\0")]), block([(0x0000, BYTE, b"\2\3\0\0")])]
    canon = box(b"uuid", CANON_UUID + box(b"CNCV", b"CanonCR3_001/00.09.00/00.00.00")
                + b"".join(box(b"CMT%d" % (number + 1), content) for number, content in enumerate(blocks))
                + full_box(b"THMB", struct.pack(">HHLHH", WIDTH, HEIGHT, len(jpeg), 1, 0) + jpeg))
    preview = box(b"uuid", PREVIEW_UUID + struct.pack(">Q", 1) + full_box(
        b"PRVW", struct.pack(">HHHHL", 1, WIDTH, HEIGHT, 1, len(jpeg)) + jpeg))

    def movie(place):
        header = full_box(b"mvhd", struct.pack(">4L", 0, 0, 1, 1) + struct.pack(">LH", 0x10000, 0x100) + bytes(10) + MATRIX
                          + bytes(24) + struct.pack(">L", 3))
        return box(b"moov", canon + header + track(1, b"vide", sample(box(b"JPEG", bytes(4))), place, len(jpeg))
                   + track(2, b"vide", sample(full_box(b"CMP1", bytes(48))), place + len(jpeg), len(raw)))
    kind = box(b"ftyp", b"crx \0\0\0\1crx isom")
    place = len(kind) + len(movie(0)) + len(preview) + 16
    return kind + movie(place) + preview + struct.pack(">L4sQ", 1, b"mdat", 16 + len(jpeg) + len(raw)) + jpeg + raw


def crw(jpeg):
    """Canon's format before those: heaps with their directories behind them. exiftool writes no new values into it: it has a
    camera's own."""
    def heap(entries):
        data, directory = bytearray(), b""
        for tag, content in entries:
            directory += struct.pack("<HLL", tag, len(content), len(data))
            data += content + bytes(len(content) % 2)
        return bytes(data) + struct.pack("<H", len(entries)) + directory + struct.pack("<L", len(data))

    settings = [0] * 46
    settings[:1], settings[22:26] = [92], [0xFFFF, 105, 24, 1]  # length in bytes; lens: type, longest, shortest, units to a mm
    shot = [66, 0, 224, 95, 96, 224] + [0] * 15 + [95, 224] + [0] * 10
    spot = [(0x1029, struct.pack("<4H", 2, 35, 907, 605)), (0x102A, struct.pack("<33H", *shot)),
            (0x102D, struct.pack("<46H", *settings))]
    camera = [(0x080A, b"Canon\0Canon EOS D30\0"), (0x0810, b"Owner\0")]
    image = [(0x1810, struct.pack("<LLfLLLL", WIDTH, HEIGHT, 1, 0, 12, 36, 1)), (0x180E, struct.pack("<LlL", 1000000000, 0, 0)),
             (0x1818, struct.pack("<3f", 0, 7, 3)), (0x2807, heap(camera)), (0x300B, heap(spot)), (0x0816, b"CRW_0001.CRW\0"),
             (0x0817, b"CRW_0001.THM\0")]
    raw = lossless_jpeg(WIDTH + 8, HEIGHT + 4, bits=12)
    return struct.pack("<2sL8sL8s", b"II", 26, b"HEAPCCDR", 0x10002, b"") + heap(
        [(0x2005, raw), (0x2007, jpeg), (0x300A, heap(image))])


def x3f(jpeg):
    """Sigma's format: sections with a directory at the end; the metadata are in a JPEG."""
    def text(one):
        return one.encode("utf-16-le") + b"\0\0"

    jpeg = _without_jfif(jpeg)
    header = struct.pack("<4sL16sLLLL", b"FOVb", 0x20002, b"", 0, WIDTH, HEIGHT, 0) + b"Auto".ljust(32, b"\0") + bytes(32 + 128)
    properties = {"CAMMANUF": "SIGMA", "CAMMODEL": "SIGMA SD14", "ISO": "100"}
    names, data = b"", b""
    for name, value in properties.items():
        names += struct.pack("<LL", len(data) // 2, (len(data) + len(text(name))) // 2)
        data += text(name) + text(value)
    sections = [
        (b"PROP", struct.pack("<4sLLLLL", b"SECp", 0x20000, len(properties), 0, 0, len(data) // 2) + names + data),
        (b"IMA2", struct.pack("<4sLLLLLL", b"SECi", 0x20000, 2, 18, WIDTH, HEIGHT, 0) + jpeg),
        (b"IMA2", struct.pack("<4sLLLLLL", b"SECi", 0x20000, 3, 6, WIDTH, HEIGHT, 0) + bytes(WIDTH * HEIGHT))]
    file, directory = header, struct.pack("<4sLL", b"SECd", 0x20000, len(sections))
    for kind, content in sections:
        directory += struct.pack("<LL4s", len(file), len(content), kind)
        file += content + bytes(-len(content) % 4)
    return file + directory + struct.pack("<L", len(file))


def mrw(tiff):
    """Minolta's format: a TIFF of the metadata in a block between others."""
    def block(name, content):
        return struct.pack(">4sL", b"\0" + name, len(content)) + content
    sides = struct.pack(">HHHHBBBBHBB", HEIGHT + 4, WIDTH + 8, HEIGHT, WIDTH, 12, 12, 0x59, 0, 0, 0, 0)
    blocks = block(b"PRD", b"27820001" + sides.ljust(16, b"\0")) + block(b"TTW", tiff) + block(b"WBG", bytes(12)) + block(b"RIF", bytes(16))
    return block(b"MRM", blocks) + bytes((WIDTH + 8) * (HEIGHT + 4))


# By extension, what exiftool writes into; each is made around a JPEG.
WRITABLE = {"cr2": cr2, "cr3": cr3, "rw2": rw2}
