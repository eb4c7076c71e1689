"""A small PNG decoder (standard library only) for checking pixels in tests.

Handles non-interlaced images of bit depth 8 or 16 in every colour type.
Pixels come back as (r, g, b, a) with 8 bits per channel.
"""

import struct
import zlib

_SIGNATURE = b"\x89PNG\r\n\x1a\n"
_CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}


class PngError(ValueError):
    pass


class Image:
    def __init__(self, width, height, rgba_rows):
        self.width = width
        self.height = height
        self._rows = rgba_rows   # one bytes object of width*4 per row

    def pixel(self, x, y):
        if not (0 <= x < self.width and 0 <= y < self.height):
            raise IndexError("pixel (%d, %d) outside %dx%d" % (x, y, self.width, self.height))
        row = self._rows[y]
        return tuple(row[x * 4:x * 4 + 4])

    def rgb(self, x, y):
        return self.pixel(x, y)[:3]

    def count(self, predicate, box=None):
        """How many pixels inside box (x, y, w, h) satisfy predicate((r, g, b, a))."""
        x0, y0, w, h = box if box else (0, 0, self.width, self.height)
        hits = 0
        for y in range(max(0, y0), min(self.height, y0 + h)):
            row = self._rows[y]
            for x in range(max(0, x0), min(self.width, x0 + w)):
                if predicate(tuple(row[x * 4:x * 4 + 4])):
                    hits += 1
        return hits


def read_png_file(path):
    with open(path, "rb") as f:
        return read_png(f.read())


def read_png(data):
    if not data.startswith(_SIGNATURE):
        raise PngError("not a PNG file")
    pos = len(_SIGNATURE)
    header = None
    palette = b""
    transparency = b""
    compressed = []
    while pos + 8 <= len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if len(body) != length:
            raise PngError("truncated %r chunk" % kind)
        pos += 12 + length
        if kind == b"IHDR":
            header = struct.unpack(">IIBBBBB", body)
        elif kind == b"PLTE":
            palette = body
        elif kind == b"tRNS":
            transparency = body
        elif kind == b"IDAT":
            compressed.append(body)
        elif kind == b"IEND":
            break
    if header is None:
        raise PngError("no IHDR chunk")
    width, height, depth, colour, _, _, interlace = header
    if interlace or depth not in (8, 16) or colour not in _CHANNELS:
        raise PngError("unsupported PNG: depth %d, colour type %d, interlace %d"
                       % (depth, colour, interlace))
    raw = zlib.decompress(b"".join(compressed))
    bpp = _CHANNELS[colour] * depth // 8
    stride = width * bpp
    if len(raw) < height * (stride + 1):
        raise PngError("image data too short")
    rows = []
    previous = bytes(stride)
    for y in range(height):
        start = y * (stride + 1)
        current = _unfilter(raw[start], raw[start + 1:start + 1 + stride], previous, bpp)
        rows.append(_to_rgba(current, width, colour, depth, palette, transparency))
        previous = current
    return Image(width, height, rows)


def _add_bytes(a, b):
    """Bytewise (a + b) mod 256 in bulk: each byte gets a 16-bit lane so carries stay put."""
    lanes_a = bytearray(2 * len(a))
    lanes_b = bytearray(2 * len(b))
    lanes_a[1::2] = a
    lanes_b[1::2] = b
    total = int.from_bytes(lanes_a, "big") + int.from_bytes(lanes_b, "big")
    return total.to_bytes(len(lanes_a) + 1, "big")[2::2]


def _unfilter(kind, line, prev, bpp):
    if kind == 0:
        return bytes(line)
    if kind == 2:
        return _add_bytes(line, prev)
    out = bytearray(line)
    n = len(out)
    if kind == 1:
        for i in range(bpp, n):
            out[i] = (out[i] + out[i - bpp]) & 0xFF
    elif kind == 3:
        for i in range(n):
            left = out[i - bpp] if i >= bpp else 0
            out[i] = (out[i] + ((left + prev[i]) >> 1)) & 0xFF
    elif kind == 4:
        for i in range(n):
            if i >= bpp:
                a, c = out[i - bpp], prev[i - bpp]
            else:
                a = c = 0
            b = prev[i]
            p = a + b - c
            pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
            predictor = a if pa <= pb and pa <= pc else (b if pb <= pc else c)
            out[i] = (out[i] + predictor) & 0xFF
    else:
        raise PngError("unknown filter type %d" % kind)
    return bytes(out)


def _to_rgba(line, width, colour, depth, palette, transparency):
    if depth == 16:
        line = line[0::2]          # keep the high byte of each sample
    if colour == 6:
        return line
    out = bytearray(width * 4)
    if colour == 2:
        out[0::4], out[1::4], out[2::4] = line[0::3], line[1::3], line[2::3]
        out[3::4] = b"\xff" * width
    elif colour == 0:
        out[0::4] = out[1::4] = out[2::4] = line
        out[3::4] = b"\xff" * width
    elif colour == 4:
        out[0::4] = out[1::4] = out[2::4] = line[0::2]
        out[3::4] = line[1::2]
    else:  # palette
        for x, index in enumerate(line[:width]):
            out[x * 4:x * 4 + 3] = palette[index * 3:index * 3 + 3]
            out[x * 4 + 3] = transparency[index] if index < len(transparency) else 255
    return bytes(out)
