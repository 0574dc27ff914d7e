#!/usr/bin/env python3
"""Writes the hand-made seeds of the fuzz targets into corpus/<target>/.

usage: tests/fuzz/make_seeds.py CCNVT_TOOL   (the pcap seeds come from `ccnvt rtp pack`)
"""
import os
import struct
import subprocess
import sys
import tempfile
import zlib

HERE = os.path.dirname(os.path.abspath(__file__))


def write(target, name, data):
    folder = os.path.join(HERE, "corpus", target)
    os.makedirs(folder, exist_ok=True)
    with open(os.path.join(folder, name), "wb") as f:
        f.write(data)


# ---- RLE: decoder, width (32-bit), height, row padding, stream ----

def rle(decoder, width, height, padding, stream):
    return bytes([decoder]) + struct.pack("<I", width - 1) + bytes([height, padding]) + bytes(stream)


def rle_seeds():
    # Runs, an absolute run and its pad, end of line and of bitmap; a run past the
    # row and a delta; a stream ending inside a literal.
    rle8 = [3, 7, 0, 3, 1, 2, 3, 0, 0, 0, 2, 9, 0, 0, 200, 4, 0, 1]
    rle4 = [5, 0x1F, 0, 5, 0x12, 0x34, 0x50, 0, 0, 0, 3, 0xAB, 0, 1]
    for name, seed in [("rle8_rgb24", rle(0, 8, 3, 0, rle8)), ("rle4_rgb24", rle(1, 7, 2, 3, rle4)),
                       ("rle4_rgba32_bottom_up", rle(2, 9, 0x82, 1, rle4)),
                       ("rle8_rgba32_overrun", rle(3, 4, 3, 0, [20, 5, 0, 0, 4, 6, 0, 2])),
                       ("rle8_rgba32_truncated_literal", rle(3, 6, 1, 2, [0, 9, 1, 2, 3]))]:
        write("rle", name, seed)


# ---- ST 2110 segments: features, phase, pairs, length, seed, payload ----

def segment(features, phase_choice, pairs, length, payload):
    return bytes([features, phase_choice]) + struct.pack("<hH", pairs, length) + bytes([0x5A]) + bytes(payload)


def segment_seeds():
    for name, *values in [("phase0", 3, 0, 12, 0xFFFF), ("phase2_short_payload", 0, 1, 7, 23),
                          ("phase4_no_pairs", 1, 2, 0, 10), ("odd_phase_negative_count", 2, 3, -5, 40)]:
        write("st2110_segment", name, segment(*values, bytes(range(0, 250, 3)) * 2))


# ---- packed10 streams: entry and features, bit offset, count, stream ----

def stream_seeds():
    data = bytes((i * 29 + 7) & 0xFF for i in range(64))
    for name, entry, offset, count in [("low8_offset3", 1, 3, 40), ("low8_negative_offset", 7, -17, 25),
                                       ("y10_two_steps", 0, 0, 30), ("y10_partial_step", 6, 0, 47)]:
        write("packed10_stream", name, bytes([entry]) + struct.pack("<iH", offset, count) + data)


# ---- PNG ----

def chunk(kind, body):
    return struct.pack(">I", len(body)) + kind + body + struct.pack(">I", zlib.crc32(kind + body) & 0xFFFFFFFF)


def png(width, height, depth, colour, rows, interlace=0, extra=b"", raw=None):
    header = struct.pack(">IIBBBBB", width, height, depth, colour, 0, 0, interlace)
    raw = b"".join(b"\0" + row for row in rows) if raw is None else raw
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + extra +
            chunk(b"IDAT", zlib.compress(raw)) + chunk(b"IEND", b""))


def png_seeds():
    write("ccnvt_png", "rgb8", png(3, 2, 8, 2, [bytes(range(9)), bytes(range(9, 18))]))
    write("ccnvt_png", "rgba16", png(2, 2, 16, 6, [bytes(range(16)), bytes(range(16, 32))]))
    write("ccnvt_png", "grey1", png(9, 2, 1, 0, [b"\xA5\x80", b"\x5A\x00"]))
    write("ccnvt_png", "palette_trns",
          png(4, 1, 2, 3, [b"\x1B"], extra=chunk(b"PLTE", bytes(range(12))) + chunk(b"tRNS", b"\x00\x80")))
    # Found: a 30000x30000 RGBA64 header in 100 bytes made the reader set aside 7.2 GB.
    write("ccnvt_png", "header_larger_than_file", png_bomb())
    # Found: an sPLT chunk declaring 1.6 GB in a 48-byte file made libpng set it aside.
    header = struct.pack(">IIBBBBB", 2, 2, 16, 6, 0, 0, 0)
    write("ccnvt_png", "chunk_longer_than_file", b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) +
          struct.pack(">I", 0x62666165) + b"sPLT" + b"palette\0\x10")
    passes = [(0, 0, 8, 8), (4, 0, 8, 8), (0, 4, 4, 8), (2, 0, 4, 4), (0, 2, 2, 4), (1, 0, 2, 2), (0, 1, 1, 2)]
    raw = b"".join(b"\0" + bytes((x * 16 + y) & 0xFF for x in range(2 * len(range(x0, 8, dx))))
                   for x0, y0, dx, dy in passes for y in range(y0, 8, dy))
    write("ccnvt_png", "interlaced_grey_alpha", png(8, 8, 8, 4, [], interlace=1, raw=raw))  # Adam7


# ---- pcap: width choice, width scale, height, capture ----

def pcap_seeds(tool):
    with tempfile.TemporaryDirectory() as work:
        for name, width, height, strict in [("96x2", 96, 2, False), ("1200x1_strict", 1200, 1, True)]:
            v210 = os.path.join(work, "in.v210")
            frame_bytes = 128 * ((width + 47) // 48) * height
            with open(v210, "wb") as f:
                f.write(bytes((i * 7) & 0xFF for i in range(frame_bytes)))
            capture = os.path.join(work, "out.pcap")
            subprocess.run([tool, "rtp", "pack", v210, capture, "--size", f"{width}x{height}"] +
                           (["--strict"] if strict else []), check=True)
            with open(capture, "rb") as f:
                data = f.read()
            # width = 2 * (1 + choice % 96) * (1 or 10 by the second byte)
            head = bytes([width // 2 - 1, 0] if width <= 192 else [width // 20 - 1, 1]) + bytes([height - 1])
            write("ccnvt_pcap", name, head + data)


# ---- raw frames: from, to, width, height, pitch choice, pitch, frames, file ----

def raw(source, target, width, height, pitch_choice, pitch, frames, size):
    return (bytes([source, target]) + struct.pack("<HHBQB", width, height, pitch_choice, pitch, frames) +
            bytes((i * 13) & 0xFF for i in range(size)))


def raw_seeds():
    # Format table indices: 0 2vuy, 1 v210, 3 i420, 15 packed10, 16 rgba32, 18 rgb24.
    for name, *values in [("2vuy_to_v210", 0, 1, 12, 2, 0, 0, 0, 48),
                          ("rgb24_pitched_to_rgba32", 18, 16, 5, 3, 1, 3, 2, 2 * 3 * 18),
                          ("packed10_to_v210", 15, 1, 8, 2, 0, 0, 0, 40),
                          ("i420_pitch_refused", 3, 0, 4, 2, 2, 6, 0, 12),
                          # Found: a pitch of 2^63 over two rows wrapped the frame size to 0.
                          ("pitch_times_height_wraps", 16, 18, 2, 2, 3, 1 << 63, 0, 32)]:
        write("ccnvt_raw_frames", name, raw(*values))


def png_bomb():
    return png(30000, 30000, 16, 6, [b""])


def main():
    if sys.argv[1:] == ["--print-png-bomb"]:  # for the command-line test
        sys.stdout.buffer.write(png_bomb())
        return
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    rle_seeds()
    segment_seeds()
    stream_seeds()
    png_seeds()
    pcap_seeds(sys.argv[1])
    raw_seeds()


if __name__ == "__main__":
    main()
