#!/bin/bash
# The ccnvt tool: round trips, known bytes, and every mistake a person can make
# answered by one line, a non-zero exit and no output. usage: cli_test.sh CCNVT WORK_DIR
set -u
tool=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$2
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
failures=0

fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }
# ok ARGS...: ccnvt ARGS succeeds.
ok() { "$tool" "$@" > /dev/null 2> stderr.txt || fail "ccnvt $*: exit $? ($(cat stderr.txt))"; }
same() { cmp -s "$1" "$2" || fail "$1 and $2 differ"; }
size_is() { [ "$(stat -c %s "$1")" -eq "$2" ] || fail "$1 is $(stat -c %s "$1") bytes, not $2"; }
hex_is() { [ "$(xxd -p "$1" | tr -d '\n')" = "$2" ] || fail "$1 is $(xxd -p "$1" | tr -d '\n'), not $2"; }
# says TEXT ARGS...: ccnvt ARGS -v succeeds and names its steps with TEXT.
says() {
    local text=$1
    shift
    "$tool" "$@" -v > /dev/null 2> chain.txt || fail "ccnvt $* -v: exit $?"
    grep -qF -- "$text" chain.txt || fail "ccnvt $* -v did not say '$text': $(cat chain.txt)"
}
# expect_error TEXT ARGS...: one line holding TEXT, non-zero exit, no out, out.png or temporary.
expect_error() {
    local text=$1
    shift
    rm -f out out.png
    "$tool" "$@" < /dev/null > /dev/null 2> stderr.txt
    local status=$?
    [ $status -ne 0 ] || fail "$*: exit 0"
    [ "$(wc -l < stderr.txt)" -eq 1 ] || fail "$*: not one line: $(cat stderr.txt)"
    grep -qF -- "$text" stderr.txt || fail "$*: message '$(cat stderr.txt)' lacks '$text'"
    [ ! -e out ] && [ ! -e out.png ] || fail "$*: left an output file"
    [ -z "$(find . -maxdepth 1 -name '*.ccnvt-*')" ] || fail "$*: left a temporary file"
}

hd="--size 1920x1080"
frame_2vuy=$((1920 * 1080 * 2))
head -c $((frame_2vuy * 3)) /dev/urandom > frames.2vuy

# ---- round trips ----
ok convert frames.2vuy frames.v210 --from 2vuy --to v210 $hd
ok convert frames.v210 back.2vuy --from v210 --to 2vuy $hd --threads 2
same frames.2vuy back.2vuy
size_is frames.v210 $((5120 * 1080 * 3))
ok convert frames.2vuy one.v210 --from uyvy --to v210 $hd --frames 1
head -c $((5120 * 1080)) frames.v210 | cmp -s - one.v210 || fail "--frames 1 is not the first frame"
cat frames.2vuy | ok convert /dev/stdin piped.v210 --from 2vuy --to v210 $hd
same frames.v210 piped.v210

head -c $((3848 * 1080)) /dev/urandom > padded.2vuy
ok convert padded.2vuy padded.v210 --from 2vuy --to v210 $hd --pitch 3848
ok convert padded.v210 unpadded.2vuy --from v210 --to 2vuy $hd
python3 -c "import sys; d=open('padded.2vuy','rb').read(); sys.stdout.buffer.write(b''.join(d[i*3848:i*3848+3840] for i in range(1080)))" |
    cmp -s - unpadded.2vuy || fail "a padded pitch lost or moved pixels"

head -c $((1920 * 1080 * 3 / 2)) /dev/urandom > frame.nv12
says "nv12 -> 2vuy (cycbcr_NV12_to_uyvy), 2vuy -> i420 (ccnvt_2vuy_i420)" \
    convert frame.nv12 chain.i420 --from nv12 --to i420 $hd

# packed10: threads on frames side by side, or on bands of one frame.
ok convert frames.v210 frames.p10 --from v210 --to packed10 $hd --threads 3
size_is frames.p10 $((4800 * 1080 * 3))
ok convert frames.p10 frames-p10.2vuy --from packed10 --to 2vuy $hd --threads 2
same frames.2vuy frames-p10.2vuy
ok convert frames.v210 banded.p10 --from v210 --to packed10 $hd --frames 1 --threads 3
head -c $((4800 * 1080)) frames.p10 | cmp -s - banded.p10 || fail "bands on three threads changed the packed10 bytes"

"$tool" formats > formats.txt && grep -q '^v210 ' formats.txt && grep -q '\.bmp' formats.txt || fail "formats"
"$tool" convert --help > help.txt || fail "convert --help"
for word in --fields --set-alpha rgbaf16 v210pq key8 bmp; do grep -q -- "$word" help.txt || fail "no $word in --help"; done

# ---- PNG, 8 and 16 bits ----
for format_bytes in rgba32:4 rgb24:3 rgb48:6 rgba64:8 key8:1; do
    format=${format_bytes%:*}
    head -c $((64 * 48 * ${format_bytes#*:})) /dev/urandom > small.$format
    ok convert small.$format small-$format.png --from $format --size 64x48
    ok convert small-$format.png back.$format --to $format
    same small.$format back.$format
done

# ---- bars ----
# v210_check FILE PITCH X,Y:Y,CB,CR...: the 10-bit samples of pixel (x, y).
v210_check() {
    python3 - "$@" <<'PY' || fail "$1 does not hold the expected bars"
import struct, sys
data, pitch = open(sys.argv[1], 'rb').read(), int(sys.argv[2])
for item in sys.argv[3:]:
    (x, y), want = (map(int, part.split(',')) for part in item.split(':'))
    words = struct.unpack('<4I', data[y * pitch + x // 6 * 16:][:16])
    f = [(w >> (10 * i)) & 0x3FF for w in words for i in range(3)]
    pair = (x % 6) // 2
    got = (f[4 * pair + 1 + 2 * (x % 2)], f[4 * pair], f[4 * pair + 2])
    assert got == tuple(want), (item, got)
PY
}
ok bars bars.v210 --format v210 $hd --frames 2
size_is bars.v210 $((5120 * 1080 * 2))
# RP 219: 40% grey, 75% white, yellow ... blue; 15% grey, black, 100% white, PLUGE -2%, +2%.
v210_check bars.v210 5120 100,300:414,512,512 340,300:721,512,512 546,300:674,176,543 752,300:581,589,176 \
    960,300:534,253,207 1165,300:251,771,817 1370,300:204,435,848 1576,300:111,848,481 100,1000:195,512,512 \
    300,1000:64,512,512 600,1000:940,512,512 1100,1000:46,512,512 1160,1000:82,512,512
# EBU 75% bars in BT.601: white, yellow, cyan, green, magenta, red, blue, black.
ok bars sd.v210 --format v210 --size 720x576
v210_check sd.v210 1920 40,300:721,512,512 130,300:646,176,567 220,300:525,625,176 310,300:450,289,231 \
    400,300:335,735,793 490,300:260,399,848 580,300:139,848,457 670,300:64,512,512
ok bars bars.2vuy --format 2vuy --size 1280x720
size_is bars.2vuy $((1280 * 720 * 2))
ok preview bars.v210 bars.png --from v210 $hd
ok convert bars.png bars.rgb24 --to rgb24
# BT.709 decode: 75% white 191 191 191, yellow B 0 (within one code value).
python3 - <<'PY' || fail "decoded bars are not the expected RGB"
d = open('bars.rgb24', 'rb').read()
for x, bgr in ((340, (191, 191, 191)), (546, (0, 191, 191))):
    got = d[(300 * 1920 + x) * 3:][:3]
    assert all(abs(a - b) <= 1 for a, b in zip(got, bgr)), (x, list(got))
PY
ok convert bars.2vuy bars.yuv444 --from 2vuy --to yuv444 --size 1280x720
ok convert bars.yuv444 bars-444.2vuy --from yuv444 --to 2vuy --size 1280x720
same bars.2vuy bars-444.2vuy

# ---- RTP in pcap captures ----
ok rtp pack bars.v210 bars.pcap $hd
ok rtp unpack bars.pcap bars-back.v210 $hd
same bars.v210 bars-back.v210
# 1280 pixels: segments end inside v210 groups.
head -c $((1280 * 720 * 2)) /dev/urandom > hd720.2vuy
ok convert hd720.2vuy hd720.v210 --from 2vuy --to v210 --size 1280x720
ok rtp pack hd720.v210 hd720.pcap --size 1280x720 --strict --rate 50
ok rtp unpack hd720.pcap hd720-back.v210 --size 1280x720
ok convert hd720-back.v210 hd720-back.2vuy --from v210 --to 2vuy --size 1280x720
same hd720.2vuy hd720-back.2vuy

# ---- demo and bench ----
"$tool" demo --out demo-out > demo.txt 2> stderr.txt || fail "demo: $(cat stderr.txt) $(cat demo.txt)"
grep -q FAILED demo.txt && fail "a demo step failed: $(cat demo.txt)"
for file in bars.v210 bars.2vuy bars.pcap; do
    [ -s "demo-out/$file" ] || fail "the demo did not write $file"
done
if "$tool" bench --filter nothing-like-this --seconds 0.01 2>&1 | grep -q 'this build has no benchmarks'; then
    expect_error "this build has no benchmarks (configure with -DCCNVT_BENCH=ON)" bench --filter nothing-like-this
else
    "$tool" bench --filter '^v210_to_2vuy$' $hd --seconds 0.01 > bench.txt 2> stderr.txt || fail "bench: $(cat stderr.txt)"
    grep -q '^v210_to_2vuy  *1920x1080 ' bench.txt || fail "bench printed no v210_to_2vuy row: $(cat bench.txt)"
    "$tool" bench --filter '^rgba32_bgra32$' --all-kernels --json --seconds 0.01 > bench.json 2> stderr.txt ||
        fail "bench --json: $(cat stderr.txt)"
    [ "$(grep -c '"operation": "rgba32_bgra32"' bench.json)" -ge 2 ] || fail "bench --json rows: $(cat bench.json)"
    grep -q '"streaming_copy_gbps": [0-9]' bench.json || fail "bench --json has no streaming copy: $(cat bench.json)"
    expect_error "no operation matches" bench --filter nothing-like-this --seconds 0.01
    expect_error "measure 1920x1080 and 3840x2160" bench --size 640x480
fi

# ---- BMP pictures with a palette ----
# bmps.py: pictures with their hand-worked rgb24 pixels (top first); broken files and messages.
cat > bmps.py <<'PY'
import struct

PALETTE = [(10, 20, 30), (40, 50, 60), (70, 80, 90), (100, 110, 120), (130, 140, 150), (160, 170, 180),
           (190, 200, 210)]  # B, G, R
INFO = 40  # pixel data of most files start at byte 14 + 40 + 4 * 7 = 82

def bmp(width, height, bits, compression, data, palette=PALETTE, size_image=None, colours=None, info=INFO,
        planes=1, offset=None, magic=b'BM'):
    header = struct.pack('<IiiHHIIiiII', info, width, height, planes, bits, compression,
                         len(data) if size_image is None else size_image, 2835, 2835,
                         len(palette) if colours is None else colours, 0) + bytes(max(0, info - 40))
    quads = b''.join(bytes((b, g, r, 0)) for b, g, r in palette)
    start = 14 + len(header) + len(quads) if offset is None else offset
    return magic + struct.pack('<IHHI', 14 + len(header) + len(quads) + len(data), 0, 0, start) + header + quads + data

def stored(rows, bits, top_down=False):  # rows listed top first, stored bottom first, padded to 4 bytes
    def packed(row):
        out = bytearray((len(row) * bits + 31) // 32 * 4)
        for x, index in enumerate(row):
            out[x * bits // 8] |= index << (8 - bits - x * bits % 8)
        return bytes(out)
    return b''.join(packed(row) for row in (rows if top_down else rows[::-1]))

def write(name, content, rows, palette=PALETTE):
    open(name + '.bmp', 'wb').write(content)
    open(name + '.expected', 'wb').write(b''.join(bytes(palette[index]) for row in rows for index in row))

rows8 = [[0, 1, 2, 3, 4], [4, 3, 2, 1, 0], [6, 5, 5, 6, 0]]  # 5 pixels: rows padded to 8 bytes
good8 = bmp(5, 3, 8, 0, stored(rows8, 8))
write('pal8', good8, rows8)
write('pal8-topdown', bmp(5, -3, 8, 0, stored(rows8, 8, top_down=True)), rows8)
write('pal8-v5', bmp(5, 3, 8, 0, stored(rows8, 8), info=124), rows8)
rows4 = [[1, 2, 3, 4, 5], [6, 0, 6, 0, 1]]
write('pal4', bmp(5, 2, 4, 0, stored(rows4, 4)), rows4)
mono = [(0, 0, 0), (255, 255, 255)]
rows1 = [[1, 0, 1, 1, 0, 0, 1, 0, 1, 1], [0, 1, 0, 0, 1, 1, 0, 1, 0, 0]]
write('pal1', bmp(10, 2, 1, 0, stored(rows1, 1), palette=mono), rows1, mono)

# RLE8 7x4, every code (absolute runs of 3 padded and 4, an early end of line,
# deltas in and up a row); skipped pixels take entry 0.
rle8 = bytes([3, 1,  0, 3, 2, 3, 4, 0,  1, 5,  0, 0,         # row 0 (bottom): 1 1 1 2 3 4 5
              0, 4, 5, 4, 3, 2,  0, 0,                       # row 1: 5 4 3 2, then an early end of line
              0, 2, 2, 0,  2, 3,  0, 2, 1, 1,  2, 1,  0, 1])  # row 2: pixels 2, 3; row 3: pixels 5, 6
rle8_rows = [[0, 0, 0, 0, 0, 1, 1], [0, 0, 3, 3, 0, 0, 0], [5, 4, 3, 2, 0, 0, 0], [1, 1, 1, 2, 3, 4, 5]]
write('rle8', bmp(7, 4, 8, 1, rle8), rle8_rows)
write('rle8-no-size', bmp(7, 4, 8, 1, rle8, size_image=0), rle8_rows)  # the stream runs to the end of the file
# Ends at the last row's end of line, without an end of bitmap.
write('rle8-lines', bmp(2, 2, 8, 1, bytes([2, 1, 0, 0, 1, 2, 1, 3, 0, 0])), [[2, 3], [1, 1]])

# RLE4 7x3: alternating nibbles, absolute runs of 5 (padded) and 4, early end of line, delta.
rle4 = bytes([5, 0x12,  2, 0x34,  0, 0,                          # row 0: 1 2 1 2 1 3 4
              0, 5, 0x56, 0x01, 0x20, 0,  1, 0x60,  0, 0,        # row 1: 5 6 0 1 2 6, pixel 6 skipped
              0, 4, 0x65, 0x43,  0, 2, 1, 0,  2, 0x11,  0, 1])   # row 2: 6 5 4 3, skip 1, 1 1
write('rle4', bmp(7, 3, 4, 2, rle4), [[6, 5, 4, 3, 0, 1, 1], [5, 6, 0, 1, 2, 6, 0], [1, 2, 1, 2, 1, 3, 4]])

# Broken files: name|what the message says after "cannot read the BMP 'name.bmp': ".
with open('broken.txt', 'w') as cases:
    for name, content, message in [
        ('magic', b'XY' + good8[2:], "it does not start with 'BM' (not a BMP file)"),
        ('short', good8[:30], 'it is 30 bytes, shorter than the 54 bytes of its headers'),
        ('os2', bmp(5, 3, 8, 0, stored(rows8, 8), info=12), 'OS/2 bitmaps (12-byte info header) are not read'),
        ('info-size', bmp(5, 3, 8, 0, stored(rows8, 8), info=64), 'its info header size 64 is not one of the Windows sizes'),
        ('planes', bmp(5, 3, 8, 0, stored(rows8, 8), planes=2), 'it has 2 planes, not 1'),
        ('depth', bmp(5, 3, 24, 0, bytes(48), palette=[]),
         'it has 24 bits per pixel: only palette pictures of 1, 4 or 8 bits are read'),
        ('bitfields', bmp(5, 3, 8, 3, stored(rows8, 8)), 'its compression 3 (BI_BITFIELDS) is not read'),
        ('rle8-depth', bmp(7, 4, 4, 1, rle8), 'it says RLE8 with 4 bits per pixel (RLE8 needs 8)'),
        ('width', bmp(0, 3, 8, 0, stored(rows8, 8)), 'its width 0 is not positive'),
        ('height', bmp(5, 0, 8, 0, stored(rows8, 8)), 'its height is 0'),
        ('huge', bmp(20000, 1, 8, 0, bytes(20000)), 'the frame size 20000x1 is too large'),
        ('rle-top-down', bmp(7, -4, 8, 1, rle8),
         'it is stored top-down (negative height), which an RLE picture cannot be'),
        ('palette-count', bmp(5, 3, 8, 0, stored(rows8, 8), colours=300),
         "its palette of 300 colours is more than 8-bit indices reach (256)"),
        ('offset-past-end', bmp(5, 3, 8, 0, stored(rows8, 8), offset=100000),
         'its pixel data offset 100000 lies past the end of the file'),
        ('offset-in-palette', bmp(5, 3, 8, 0, stored(rows8, 8), offset=60),
         "its pixel data offset 60 lies inside its headers or its 7-colour palette (which end at byte 82)"),
        ('short-pixels', good8[:-5], 'it holds 19 bytes of pixel data after byte 82, not the 24 bytes of 3 rows of 8 bytes'),
        ('stream-size', bmp(7, 4, 8, 1, rle8, size_image=10000),
         'its header gives 10000 bytes of RLE8 data, the file holds 34 bytes after byte 82'),
        ('index', bmp(5, 3, 8, 0, stored([[0, 1, 2, 3, 4], [4, 3, 9, 1, 0], [6, 5, 5, 6, 0]], 8)),
         "pixel 2 of row 1 (from the top) has index 9, beyond the palette's 7 entries (byte 92)"),
        # The stream check's messages, with the stream's offsets made the file's.
        ('stream-cut', bmp(7, 4, 8, 1, rle8[:5]), 'bad RLE8 stream at byte 84 of the file: an absolute run of 3 '
         'indices takes 4 bytes with its padding; the stream has 1 left'),
        ('run-past-frame', bmp(4, 1, 8, 1, bytes([0, 3, 1, 1, 1, 0, 2, 2, 0, 1])), 'bad RLE8 stream at byte 88 of '
         'the file: an encoded run of 2 pixels from pixel 3 goes past the end of row 0 from the bottom (4 pixels)'),
        ('no-end', bmp(4, 2, 8, 1, bytes([2, 1, 0, 0])),
         'bad RLE8 stream at byte 86 of the file: the stream ends in row 1 from the bottom without an end of bitmap'),
        ('delta-past-row', bmp(4, 2, 8, 1, bytes([0, 2, 5, 0, 0, 1])), 'bad RLE8 stream at byte 82 of the file: a '
         'delta of 5 right and 0 up from pixel 0 of row 0 from the bottom goes past the end of the row (4 pixels)'),
        ('delta-past-frame', bmp(4, 2, 8, 1, bytes([0, 0, 0, 2, 0, 2, 0, 1])), 'bad RLE8 stream at byte 84 of the '
         'file: a delta of 0 right and 2 up from row 1 from the bottom goes above the top row (2 rows)'),
        ('rle8-index', bmp(4, 2, 8, 1, bytes([2, 9, 0, 1])),
         "bad RLE8 stream at byte 83 of the file: index 9 is beyond the palette's 7 entries"),
        ('rle4-absolute-index', bmp(4, 2, 4, 2, bytes([0, 3, 0x16, 0x90, 0, 1])),
         "bad RLE4 stream at byte 85 of the file: index 9 is beyond the palette's 7 entries"),
    ]:
        open('bad-' + name + '.bmp', 'wb').write(content)
        cases.write('bad-%s|%s\n' % (name, message))
PY
python3 bmps.py || fail "could not write the BMP files"
for picture in pal8 pal8-topdown pal8-v5 pal4 pal1 rle8 rle8-no-size rle8-lines rle4; do
    ok convert $picture.bmp $picture.rgb24 --to rgb24
    same $picture.rgb24 $picture.expected
done
ok preview pal8.bmp pal8.png
ok convert pal8.png pal8-png.rgb24 --to rgb24
same pal8-png.rgb24 pal8.expected
ok convert rle8.bmp same.rgb24 --from bmp --to rgb24 --size 7x4
ok convert rle8.bmp rle8.rgba32 --to rgba32
ok convert pal8.bmp pal8.rgba32 --to rgba32
ok convert pal8.expected pal8-alpha.rgba32 --from rgb24 --to rgba32 --size 5x3 --set-alpha 128
ok convert rle4.bmp alpha.png --set-alpha 7
ok convert alpha.png rle4-alpha.rgba32 --to rgba32
# rgba32_is NAME EXPECTED ALPHA: NAME.rgba32 holds the colours of EXPECTED.expected with that alpha.
rgba32_is() {
    python3 -c "import sys; rgb, rgba = open('$2.expected', 'rb').read(), open('$1.rgba32', 'rb').read()
sys.exit(rgba != b''.join(rgb[i:i + 3] + bytes([$3]) for i in range(0, len(rgb), 3)))" || fail "$1 is not $2 with alpha $3"
}
rgba32_is rle8 rle8 255
rgba32_is pal8 pal8 255
rgba32_is pal8-alpha pal8 128
rgba32_is rle4-alpha rle4 7
says "bmp (RLE4) -> rgb24 (ccnvt_rle4_rgb24)" convert rle4.bmp rle4.rgb24 --to rgb24
says "bmp (4-bit) -> rgba32 (ccnvt_rgb8_rgba32), rgba32 -> rgb24" convert pal4.bmp pal4.rgb24 --to rgb24
ok convert rle8-lines.bmp lines.2vuy --to 2vuy
size_is lines.2vuy 8
while IFS='|' read -r name message; do
    expect_error "cannot read the BMP '$name.bmp': $message" convert "$name.bmp" out --to rgb24
done < broken.txt

# ---- half floats, ST 2084, keys, fields, alpha ----
# 2vuy 4x2: black, white, (Y 126, Cb 128, Cr 200), Y 235 with that chroma.
echo 801080eb807ec8eb801080eb807ec8eb | xxd -r -p > tiny.2vuy
ok convert tiny.2vuy tiny.rgbaf16 --from 2vuy --to rgbaf16 --size 4x2
ok convert tiny.2vuy tiny.v210 --from 2vuy --to v210 --size 4x2
ok convert tiny.v210 tiny-10.rgbaf16 --from v210 --to rgbaf16 --size 4x2
same tiny.rgbaf16 tiny-10.rgbaf16
ok convert tiny.v210 tiny.rgbaf16pq --from v210 --to rgbaf16pq --size 4x2
ok convert tiny.2vuy tiny.rgbaf16hlg --from 2vuy --to rgbaf16hlg --size 4x2
python3 - <<'PY' || fail "half floats are not the BT.601 video-range values, or SDR white is not at the PQ / HLG white"
import struct
h, pq, hlg = (struct.unpack('<32e', open('tiny.' + f, 'rb').read()) for f in ('rgbaf16', 'rgbaf16pq', 'rgbaf16hlg'))
assert h[0:4] == (0.0, 0.0, 0.0, 1.0) and h[4:8] == (1.0, 1.0, 1.0, 1.0), h[:8]
y, cr = (126 - 16) / 219, (200 - 128) / 224  # BT.601 at this size: R = y + 1.402 cr, G = y - 0.7141363 cr
for got, want in zip(h[8:12], (y + 1.402 * cr, y - 0.7141363 * cr, y, 1.0)):
    assert abs(got - want) < 1e-3, (h[8:12], got, want)
assert h[:16] == h[16:]  # both rows alike
assert all(abs(v - 0.58) < 0.01 for v in pq[4:7]) and pq[7] == 1.0, pq[4:8]
assert all(abs(v - 0.75) < 0.01 for v in hlg[4:7]) and hlg[7] == 1.0, hlg[4:8]
PY
# Known bytes: ST 2084 8-bit tables (rgb24 bytes, 2vuy luma); keys (2vuy luma, grey rgba32 with alpha).
while read -r from to size input output; do
    echo "$input" | xxd -r -p > known.$from
    ok convert known.$from known.$to --from $from --to $to --size $size
    hex_is known.$to "$output"
done <<'CASES'
rgb24 rgb24pq 3x1 00010203040580ffbf 006a7b868d93edfff8
rgb24pq rgb24 3x1 00011011148081c8ff 0001101010e7ebebeb
2vuy 2vuypq 2x1 80014080 806a40ed
2vuypq 2vuy 2x1 11802214 11e72210
2vuy key8 4x1 8010802033445566 10204466
key8 2vuy 4x1 10204466 8010802080448066
key8 rgba32 4x1 10204466 10101010202020204444444466666666
CASES
# v210 48x2, words read one byte into each row: index 128 mid word 0 and at both
# ends of word 1, index 256 (read as 255, bit 20 kept) mid word 2.
rows() { for _ in 1 2; do echo "00$1" | xxd -r -p; head -c 115 /dev/zero; done; }
rows 000008000002002000001000 > pq.v210
ok convert pq.v210 pq.v210pq --from v210 --to v210pq --size 48x2
ok convert pq.v210 pq-back.v210 --from v210pq --to v210 --size 48x2
rows 00d00e00b403403b00f01f00 | cmp -s - pq.v210pq || fail "v210pq is not the PQ table on each row"
rows 00700e009c03c03900b01e00 | cmp -s - pq-back.v210 || fail "v210pq to v210 is not the inverse table on each row"
# Fields: rows 0, 2, 4 then 1, 3 of each frame, and back.
head -c $((8 * 5 * 2 * 2)) /dev/urandom > five.2vuy
ok convert five.2vuy five.fields --from 2vuy --to 2vuy --size 8x5 --fields split
python3 - <<'PY' || fail "split fields are not rows 0, 2, 4, 1, 3 of each frame"
frames, fields = open('five.2vuy', 'rb').read(), open('five.fields', 'rb').read()
assert fields == b''.join(frames[f * 80 + k * 16:][:16] for f in range(2) for k in (0, 2, 4, 1, 3))
PY
ok convert five.fields five-back.2vuy --from 2vuy --to 2vuy --size 8x5 --fields join
same five.2vuy five-back.2vuy
ok convert five.fields five.v210 --from 2vuy --to v210 --size 8x5 --fields join
ok convert five.2vuy five-direct.v210 --from 2vuy --to v210 --size 8x5
same five.v210 five-direct.v210
says "join fields (ccnvt_fld_sep_to_mix32), 2vuy -> rgba32 (ccnvt_yuv422_8_rgb32), alpha 9 (ccnvt_rgba_setalpha)" \
    convert five.fields five.rgba32 --from 2vuy --to rgba32 --size 8x5 --fields join --set-alpha 9

# ---- every other mistake: what the message says|the arguments ----
head -c 100 /dev/urandom > fake.png
head -c 200 small-rgba32.png > truncated.png
python3 "$here/../fuzz/make_seeds.py" --print-png-bomb > bomb.png
cat small.rgba32 small.rgba32 > two.rgba32
# Cut inside the second frame, after the first is written.
head -c $(($(stat -c %s bars.pcap) * 3 / 4)) bars.pcap > truncated.pcap
head -c 1000 frames.2vuy > short.2vuy
head -c $((frame_2vuy + 10)) frames.2vuy > partial.2vuy
while IFS='|' read -r text arguments; do
    # shellcheck disable=SC2086 # the arguments are words
    expect_error "$text" $arguments
done <<CASES
'small-rgba32.png' is 64x48, not 32x32|convert small-rgba32.png out --to rgba32 --size 32x32
'fake.png' is not a PNG file|convert fake.png out --to rgba32
cannot read the PNG 'truncated.png'|convert truncated.png out --to rgba32
pixels cannot come out of|convert bomb.png out --to rgba32
shorter than one rgba32 frame of 48 rows 9223372036854775808 bytes apart|convert small.rgba32 out --from rgba32 --to rgb24 --size 64x48 --pitch 9223372036854775808
a PNG holds one frame; 'two.rgba32' has 2|convert two.rgba32 out.png --from rgba32 --size 64x48
must end in .png|preview small.rgb24 out --from rgb24 --size 64x48
truncated dump file|rtp unpack truncated.pcap out $hd
cannot read the capture 'small.rgb24'|rtp unpack small.rgb24 out $hd
lies outside a 1280x720 frame|rtp unpack bars.pcap out --size 1280x720
the rate '0/1'|rtp pack bars.v210 out $hd --rate 0/1
is not ADDRESS:PORT|rtp pack bars.v210 out $hd --dest 1.2.3:4
'rle8.bmp' is 7x4, not 8x4|convert rle8.bmp out --to rgb24 --size 8x4
'rle8.bmp' is a BMP: leave out --from|convert rle8.bmp out --from rgb24 --to rgb24
--pitch does not apply to a BMP input|convert rle8.bmp out --to rgb24 --pitch 32
holds 1 frames, not 2|convert rle8.bmp out --to rgb24 --frames 2
cannot read the BMP 'bad-no-end.bmp'|preview bad-no-end.bmp out.png
nv12 is planar|convert frame.nv12 out --from nv12 --to 2vuy $hd --fields join
rgb24 rows of 5 pixels are 15 bytes|convert pal8.rgb24 out --from rgb24 --to rgb24 --size 5x3 --fields split
--fields takes split or join, not 'both'|convert five.2vuy out --from 2vuy --to 2vuy --size 8x5 --fields both
--set-alpha applies to rgba32 and bgra32 output, not 2vuy|convert five.2vuy out --from 2vuy --to 2vuy --size 8x5 --set-alpha 1
--set-alpha|convert five.2vuy out --from 2vuy --to rgba32 --size 8x5 --set-alpha 256
unknown format 'v211'|convert frames.2vuy out --from 2vuy --to v211 $hd
cannot convert v210 to nv12|convert frames.v210 out --from v210 --to nv12 $hd
must not be zero|convert frames.2vuy out --from 2vuy --to v210 --size 0x1080
too large|convert frames.2vuy out --from 2vuy --to v210 --size 100000x2
is not WIDTHxHEIGHT|convert frames.2vuy out --from 2vuy --to v210 --size 1920by1080
multiple of 2, not 1919|convert frames.2vuy out --from 2vuy --to v210 --size 1919x1080
multiple of 2, not 1081|convert frame.nv12 out --from nv12 --to 2vuy --size 1920x1081
shorter than one 2vuy frame of 4147200 bytes (4146200 missing)|convert short.2vuy out --from 2vuy --to v210 $hd
1 2vuy frames and a partial one ($((frame_2vuy - 10)) bytes missing)|convert partial.2vuy out --from 2vuy --to v210 $hd
cannot read 'nothing-here'|convert nothing-here out --from 2vuy --to v210 $hd
cannot write 'no-such-dir/out'|convert frames.2vuy no-such-dir/out --from 2vuy --to v210 $hd
holds 3 frames, not 4|convert frames.2vuy out --from 2vuy --to v210 $hd --frames 4
--pitch 100 is shorter|convert frames.2vuy out --from 2vuy --to v210 $hd --pitch 100
nv12 is planar|convert frame.nv12 out --from nv12 --to 2vuy $hd --pitch 4000
--to is required|convert frames.2vuy out --from 2vuy $hd
input is required|convert
--threads must be at least 1|convert frames.2vuy out --from 2vuy --to v210 $hd --threads 0
CASES

if [ $failures -ne 0 ]; then
    echo "$failures CLI checks failed" >&2
    exit 1
fi
echo "all CLI checks passed"
