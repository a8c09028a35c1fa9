#!/usr/bin/env python3
"""Writes the hand-made hostile files of regressions/: tiny files whose
headers claim huge images or huge chunks. Run from this folder; the output
is deterministic, so rerunning it changes nothing."""
import struct
import zlib
from pathlib import Path

OUT = Path(__file__).resolve().parent / "regressions"


def png_chunk(kind, data, length=None):
    length = len(data) if length is None else length
    crc = zlib.crc32(kind + data) & 0xFFFFFFFF
    return struct.pack(">I", length) + kind + data + struct.pack(">I", crc)


def png(width, height, bit_depth, color_type, body):
    ihdr = struct.pack(">IIBBBBB", width, height, bit_depth, color_type, 0, 0, 0)
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


def main():
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
