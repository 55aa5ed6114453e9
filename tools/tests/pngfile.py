"""A small PNG writer and reader of its own (zlib only), so that the tool's
PNG handling is checked against code that does not share its library.

Samples of fewer significant bits than the depth are stored the PNG way:
scaled to the full depth by repeating their bits, with the count in sBIT."""
import struct
import zlib

import numpy as np


def _chunk(kind, data):
    body = kind + data
    return struct.pack(">I", len(data)) + body + struct.pack(">I", zlib.crc32(body) & 0xFFFFFFFF)


def widen(array, bits, depth):
    """Samples of `bits` significant bits scaled to `depth` bits by bit replication."""
    a = np.asarray(array).astype(np.uint32)
    out = np.zeros_like(a)
    shift = depth - bits
    while shift > -bits:
        out |= (a << shift) if shift >= 0 else (a >> -shift)
        shift -= bits
    return (out & ((1 << depth) - 1)).astype(np.uint16 if depth == 16 else np.uint8)


def write(path, array, significant_bits=None, filter_type=0, scale=True):
    """array: (h, w) or (h, w, 3) of uint8 or uint16, the original samples.
    filter_type 0..4 for every row. scale=False stores them as they are."""
    a = np.asarray(array)
    depth = 16 if a.dtype == np.uint16 else 8
    if significant_bits is not None and scale:
        a = widen(a, significant_bits, depth)
    colour = a.ndim == 3
    h, w = a.shape[:2]
    raw = a.astype(">u2" if depth == 16 else np.uint8).reshape(h, -1).view(np.uint8)
    bpp = (2 if depth == 16 else 1) * (3 if colour else 1)
    rows = []
    previous = np.zeros(raw.shape[1], np.int32)
    for y in range(h):
        line = raw[y].astype(np.int32)
        left = np.concatenate([np.zeros(bpp, np.int32), line[:-bpp]])
        up_left = np.concatenate([np.zeros(bpp, np.int32), previous[:-bpp]])
        if filter_type == 0:
            f = line
        elif filter_type == 1:
            f = line - left
        elif filter_type == 2:
            f = line - previous
        elif filter_type == 3:
            f = line - (left + previous) // 2
        else:
            f = line - _paeth(left, previous, up_left)
        rows.append(bytes([filter_type]) + (f & 0xFF).astype(np.uint8).tobytes())
        previous = line
    out = b"\x89PNG\r\n\x1a\n"
    out += _chunk(b"IHDR", struct.pack(">IIBBBBB", w, h, depth, 2 if colour else 0, 0, 0, 0))
    if significant_bits is not None:
        out += _chunk(b"sBIT", bytes([significant_bits] * (3 if colour else 1)))
    out += _chunk(b"IDAT", zlib.compress(b"".join(rows)))
    out += _chunk(b"IEND", b"")
    with open(path, "wb") as f:
        f.write(out)


def _paeth(a, b, c):
    p = a + b - c
    pa, pb, pc = np.abs(p - a), np.abs(p - b), np.abs(p - c)
    return np.where((pa <= pb) & (pa <= pc), a, np.where(pb <= pc, b, c))


def header(path):
    """(width, height, bit depth, colour type, significant bits or None) without decoding."""
    with open(path, "rb") as f:
        data = f.read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG file"
    pos, sbit = 8, None
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            w, h, depth, ctype = struct.unpack(">IIBB", body[:10])
        elif kind == b"sBIT":
            sbit = max(body)
        elif kind == b"IDAT":
            break
        pos += 12 + length
    return w, h, depth, ctype, sbit


def read(path):
    """(original samples, significant_bits or None) of a non-interlaced 8/16-bit
    grey or RGB PNG: stored samples shifted right by depth - sBIT."""
    stored, sbit = read_stored(path)
    if sbit is None:
        return stored, sbit
    depth = 16 if stored.dtype == np.uint16 else 8
    return (stored >> (depth - sbit)).astype(stored.dtype), sbit


def read_stored(path):
    """(array as stored, significant_bits or None) of a non-interlaced 8/16-bit grey or RGB PNG."""
    with open(path, "rb") as f:
        data = f.read()
    assert data[:8] == b"\x89PNG\r\n\x1a\n", "not a PNG file"
    pos, idat, sbit = 8, b"", None
    while pos < len(data):
        length, kind = struct.unpack(">I4s", data[pos:pos + 8])
        body = data[pos + 8:pos + 8 + length]
        if kind == b"IHDR":
            w, h, depth, ctype, _, _, interlace = struct.unpack(">IIBBBBB", body)
        elif kind == b"IDAT":
            idat += body
        elif kind == b"sBIT":
            sbit = max(body)
        pos += 12 + length
    assert ctype in (0, 2) and depth in (8, 16) and interlace == 0, (ctype, depth, interlace)
    channels = 3 if ctype == 2 else 1
    bpp = (depth // 8) * channels
    stride = w * bpp
    raw = zlib.decompress(idat)
    out = np.zeros((h, stride), np.int32)
    previous = np.zeros(stride, np.int32)
    for y in range(h):
        kind = raw[y * (stride + 1)]
        line = np.frombuffer(raw, np.uint8, stride, y * (stride + 1) + 1).astype(np.int32)
        if kind == 0:
            cur = line
        elif kind == 1:  # Sub: a running sum along each byte lane of the pixels
            cur = (np.cumsum(line.reshape(-1, bpp), axis=0).reshape(-1)) & 0xFF
        elif kind == 2:
            cur = (line + previous) & 0xFF
        else:  # Average and Paeth depend on the reconstructed left byte: walk the row
            cur = np.zeros(stride, np.int32)
            for x in range(stride):
                a = cur[x - bpp] if x >= bpp else 0
                b = previous[x]
                c = previous[x - bpp] if x >= bpp else 0
                if kind == 1:
                    pred = a
                elif kind == 3:
                    pred = (a + b) // 2
                else:
                    p = a + b - c
                    pa, pb, pc = abs(p - a), abs(p - b), abs(p - c)
                    pred = a if pa <= pb and pa <= pc else (b if pb <= pc else c)
                cur[x] = (line[x] + pred) & 0xFF
        out[y] = cur
        previous = cur
    flat = out.astype(np.uint8)
    if depth == 16:
        arr = flat.view(">u2").astype(np.uint16)
    else:
        arr = flat
    arr = arr.reshape(h, w, channels) if channels == 3 else arr.reshape(h, w)
    return arr, sbit
