# SPDX-License-Identifier: GPL-2.0-or-later
"""Damages files. Everything follows from the random numbers that are handed in, so that a seed says it all."""

BLOCK_MAX = 4096
HEAD = 512  # where most formats keep what decides over the rest
GROWTH_MAX = 3  # a file may become so many times as large


def _place(rng, size):
    """A position: half of them in the head of the file."""
    return rng.randrange(min(size, HEAD) if rng.random() < 0.5 else size)


def _block(rng, data):
    begin = _place(rng, len(data))
    return begin, min(len(data), begin + rng.randint(1, BLOCK_MAX))


def flip_bits(rng, data, _):
    for _ in range(rng.choice((1, 1, 2, 4, 16))):
        data[_place(rng, len(data))] ^= 1 << rng.randrange(8)


def overwrite(rng, data, _):
    """Some bytes become others: noise, noughts or ones."""
    begin, end = _block(rng, data)
    end = min(end, begin + rng.choice((1, 2, 4, 8, 64, BLOCK_MAX)))
    data[begin:end] = rng.choice((rng.randbytes(end - begin), bytes(end - begin), b"\xff" * (end - begin)))


def cut(rng, data, _):
    del data[_place(rng, len(data)):]


def lie_about_size(rng, data, _):
    """A number that may be a size gets another value."""
    width = rng.choice((2, 4, 4, 4, 8))
    if len(data) < width:
        return
    order = rng.choice(("big", "little"))
    likely = [at for at in range(min(len(data) - width, BLOCK_MAX) + 1)
              if 0 < int.from_bytes(data[at:at + width], order) <= len(data)]
    at = rng.choice(likely) if likely else rng.randrange(len(data) - width + 1)
    top = 1 << 8 * width
    old = int.from_bytes(data[at:at + width], order)
    value = rng.choice((0, 1, top - 1, top // 2 - 1, top // 2, top - 8, old - 1, old + 1, old * 2, len(data),
                        len(data) - at, len(data) + 1, rng.randrange(top)))
    data[at:at + width] = (value % top).to_bytes(width, order)


def lie_about_tag(rng, data, _):
    """As before, in the seven bits to a byte of ID3v2 sizes."""
    found = data.find(b"ID3")
    if found < 0 or len(data) < found + 10:
        lie_about_size(rng, data, _)
        return
    at = found + 6 if rng.random() < 0.3 else found + 10 + rng.randrange(min(HEAD, len(data) - found - 9))
    data[at:at + 4] = rng.choice((bytes(4), b"\0\0\0\1", b"\x7f" * 4, b"\xff" * 4, rng.randbytes(4)))


def duplicate(rng, data, _):
    begin, end = _block(rng, data)
    block, at = data[begin:end], rng.choice((begin, _place(rng, len(data))))
    data[at:at] = block * rng.choice((1, 1, 2, 16))


def swap(rng, data, _):
    size = rng.randint(1, max(1, min(BLOCK_MAX, len(data) // 2)))
    first, second = _place(rng, len(data)), rng.randrange(len(data))
    one, other = bytes(data[first:first + size]), bytes(data[second:second + size])
    data[first:first + len(other)] = other
    data[second:second + len(one)] = one


def remove(rng, data, _):
    begin, end = _block(rng, data)
    del data[begin:end]


def splice(rng, data, other):
    """The rest becomes that of another file."""
    data[_place(rng, len(data)):] = other[_place(rng, len(other)):]


WAYS = (flip_bits, flip_bits, overwrite, cut, lie_about_size, lie_about_size, lie_about_size, lie_about_tag, duplicate, swap,
        remove, splice)


def mutate(rng, content, other):
    """A damaged copy of a file; `other` is one to take parts from."""
    data = bytearray(content)
    for _ in range(rng.choice((1, 1, 1, 2, 2, 3, 5))):
        if not data:
            break
        rng.choice(WAYS)(rng, data, other)
        del data[GROWTH_MAX * len(content) + BLOCK_MAX:]
    return bytes(data)
