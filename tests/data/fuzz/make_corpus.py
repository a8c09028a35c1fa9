#!/usr/bin/env python3
"""Writes the PNG seeds of png/ (every colour type and bit depth, interlaced
or not, with transparency, text and an unknown chunk) and the hand-made
hostile files of regressions/ (tiny files whose headers claim huge images or
huge chunks). The OpenEXR seeds come from fuzz/make_exr_seeds.cpp, and the
files of regressions/ that fuzzing found are kept as found. The output is
deterministic, so rerunning this changes nothing."""
import struct
import zlib
from pathlib import Path

HERE = Path(__file__).resolve().parent
OUT = HERE / "regressions"


def png_chunk(kind, data, length=None):
    length = len(data) if length is None else length
    crc = zlib.crc32(kind + data) & 0xFFFFFFFF
    return struct.pack(">I", length) + kind + data + struct.pack(">I", crc)


def png(width, height, bit_depth, color_type, body, interlace=0):
    ihdr = struct.pack(">IIBBBBB", width, height, bit_depth, color_type, 0, 0, interlace)
    return b"\x89PNG\r\n\x1a\n" + png_chunk(b"IHDR", ihdr) + body + png_chunk(b"IEND", b"")


def claims_30000(bit_depth):
    # 69 bytes: a few kilobytes of zero rows behind a header claiming 30000 x 30000 RGBA.
    return png(30000, 30000, bit_depth, 6, png_chunk(b"IDAT", zlib.compress(bytes(1000), 9)))


def text_length_2g():
    # A small valid image whose first ancillary chunk says it is 2 GiB long.
    width = height = 16
    rows = b"".join(b"\0" + bytes((x * 37 + y * 11 + c * 5) & 255 for x in range(width) for c in range(4))
                    for y in range(height))
    idat = png_chunk(b"IDAT", zlib.compress(rows, 0))
    text = struct.pack(">I", 0x7FFFFFFF) + b"tEXt" + b"Comment\0" + b"x" * 200
    return png(width, height, 8, 6, text + idat)


def exr_attribute(name, kind, value):
    return name.encode() + b"\0" + kind.encode() + b"\0" + struct.pack("<i", len(value)) + value


def exr_claims_30000():
    # ZIP compression, 16 rows a chunk: a full offset table and four real chunks of zero rows.
    width = height = 30000
    channels = b"".join(c.encode() + b"\0" + struct.pack("<iB3xii", 1, 0, 1, 1) for c in "ABGR") + b"\0"
    box = struct.pack("<iiii", 0, 0, width - 1, height - 1)
    header = (b"\x76\x2f\x31\x01" + struct.pack("<i", 2) +
              exr_attribute("channels", "chlist", channels) +
              exr_attribute("compression", "compression", b"\x03") +
              exr_attribute("dataWindow", "box2i", box) +
              exr_attribute("displayWindow", "box2i", box) +
              exr_attribute("lineOrder", "lineOrder", b"\x00") +
              exr_attribute("pixelAspectRatio", "float", struct.pack("<f", 1.0)) +
              exr_attribute("screenWindowCenter", "v2f", struct.pack("<ff", 0, 0)) +
              exr_attribute("screenWindowWidth", "float", struct.pack("<f", 1.0)) + b"\0")
    chunks = (height + 15) // 16
    rows = 16 * width * 8
    packed = zlib.compress(b"\0" + b"\x80" * (rows - 1), 9)  # zero halves after the byte predictor
    data = b""
    offsets = []
    start = len(header) + 8 * chunks
    for i in range(4):
        offsets.append(start + len(data))
        data += struct.pack("<ii", 16 * i, len(packed)) + packed
    offsets += [0] * (chunks - len(offsets))
    return header + b"".join(struct.pack("<Q", o) for o in offsets) + data


CHANNELS = {0: 1, 2: 3, 3: 1, 4: 2, 6: 4}
ADAM7 = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]


def sample(x, y, c, bits):
    return (x * 7 + y * 13 + c * 29 + x * y) % (1 << bits)


def packed_rows(width, height, bits, channels, xs, filters):
    # With `filters`, the filter type cycles 0..4 over the rows: raw samples
    # under any filter decode to something, though no longer to sample().
    out = b""
    for row, y in enumerate(height):
        values = [sample(x, y, c, bits) for x in xs for c in range(channels)]
        if bits >= 8:
            data = b"".join(v.to_bytes(bits // 8, "big") for v in values)
        else:
            acc, n, data = 0, 0, bytearray()
            for v in values:
                acc, n = (acc << bits) | v, n + bits
                if n == 8:
                    data.append(acc)
                    acc, n = 0, 0
            if n:
                data.append(acc << (8 - n))
            data = bytes(data)
        out += bytes([row % 5 if filters else 0]) + data
    return out


def seed(width, height, bits, color_type, interlace=0, extra=b"", filters=False):
    channels = CHANNELS[color_type]
    if interlace:
        raw = b""
        for x0, y0, dx, dy in ADAM7:
            xs, ys = list(range(x0, width, dx)), list(range(y0, height, dy))
            if xs and ys:
                raw += packed_rows(width, ys, bits, channels, xs, filters)
    else:
        raw = packed_rows(width, list(range(height)), bits, channels, list(range(width)), filters)
    body = extra
    if color_type == 3:
        body = png_chunk(b"PLTE", bytes((i * 53 + c * 91) & 255 for i in range(1 << bits) for c in range(3))) + body
    return png(width, height, bits, color_type, body + png_chunk(b"IDAT", zlib.compress(raw, 9)), interlace)


def png_seeds():
    seeds = {}
    for color_type, depths in {0: (1, 2, 4, 8, 16), 2: (8, 16), 3: (1, 2, 4, 8), 4: (8, 16), 6: (8, 16)}.items():
        for bits in depths:
            seeds[f"type{color_type}-{bits}bit.png"] = seed(9, 7, bits, color_type)
            seeds[f"type{color_type}-{bits}bit-interlaced.png"] = seed(9, 7, bits, color_type, 1)
    for bits in (8, 16):
        seeds[f"filters-{bits}bit.png"] = seed(9, 7, bits, 6, 0, b"", True)
        seeds[f"filters-{bits}bit-interlaced.png"] = seed(9, 7, bits, 6, 1, b"", True)
    seeds["palette-trns.png"] = seed(5, 4, 8, 3, 0, png_chunk(b"tRNS", bytes(range(0, 256, 7))))
    seeds["gray-trns.png"] = seed(5, 4, 8, 0, 0, png_chunk(b"tRNS", b"\0\x20"))
    seeds["rgb16-trns.png"] = seed(5, 4, 16, 2, 0, png_chunk(b"tRNS", bytes(6)))
    seeds["text-unknown-chunks.png"] = seed(6, 3, 8, 6, 0, png_chunk(b"tEXt", b"Title\0a seed") +
                                           png_chunk(b"zTXt", b"Note\0\0" + zlib.compress(b"more text")) +
                                           png_chunk(b"prVt", bytes(40)) + png_chunk(b"gAMA", struct.pack(">I", 45455)))
    seeds["one-pixel.png"] = seed(1, 1, 8, 6)
    seeds["one-pixel-interlaced.png"] = seed(1, 1, 16, 2, 1)
    return seeds


def main():
    (HERE / "png").mkdir(exist_ok=True)
    for name, data in png_seeds().items():
        (HERE / "png" / name).write_bytes(data)
    OUT.mkdir(exist_ok=True)
    files = {
        "png-claims-30000-8bit.png": claims_30000(8),
        "png-claims-30000-16bit.png": claims_30000(16),
        "png-text-length-2g.png": text_length_2g(),
        "exr-claims-30000.exr": exr_claims_30000(),
    }
    for name, data in files.items():
        (OUT / name).write_bytes(data)
        print(f"{name}: {len(data)} bytes")


if __name__ == "__main__":
    main()
