#!/bin/bash
# Runs the built ccnvt tool: round trips through files, and every mistake a
# person can make getting one clear line and a non-zero exit with no output
# file left behind.
# usage: cli_test.sh CCNVT WORK_DIR
set -u
tool=$(realpath "$1")
here=$(cd "$(dirname "$0")" && pwd)
work=$2
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
failures=0

fail() {
    echo "FAIL: $*" >&2
    failures=$((failures + 1))
}

# expect_ok DESCRIPTION COMMAND...
expect_ok() {
    local what=$1
    shift
    if ! "$@" > /dev/null 2> stderr.txt; then
        fail "$what: exit $? ($(cat stderr.txt))"
    fi
}

# expect_error DESCRIPTION "TEXT IN THE MESSAGE" COMMAND... (output file: out)
expect_error() {
    local what=$1 text=$2
    shift 2
    rm -f out out.png
    "$@" > /dev/null 2> stderr.txt
    local status=$?
    [ $status -ne 0 ] || fail "$what: exit 0"
    [ "$(wc -l < stderr.txt)" -eq 1 ] || fail "$what: not one line: $(cat stderr.txt)"
    grep -qF -- "$text" stderr.txt || fail "$what: message '$(cat stderr.txt)' lacks '$text'"
    [ ! -e out ] && [ ! -e out.png ] || fail "$what: left an output file"
    ls ./*.ccnvt-* > /dev/null 2>&1 && fail "$what: left a temporary file"
}

frame_2vuy=$((1920 * 1080 * 2))
head -c $((frame_2vuy * 3)) /dev/urandom > frames.2vuy

# ---- round trips ----
expect_ok "2vuy to v210" "$tool" convert frames.2vuy frames.v210 --from 2vuy --to v210 --size 1920x1080
expect_ok "v210 to 2vuy, two threads" "$tool" convert frames.v210 back.2vuy --from v210 --to 2vuy \
    --size 1920x1080 --threads 2
cmp -s frames.2vuy back.2vuy || fail "2vuy -> v210 -> 2vuy changed the frames"
[ "$(stat -c %s frames.v210)" -eq $((5120 * 1080 * 3)) ] || fail "v210 frames are not 5120-byte rows"

expect_ok "one frame of three" "$tool" convert frames.2vuy one.v210 --from uyvy --to v210 --size 1920x1080 --frames 1
[ "$(stat -c %s one.v210)" -eq $((5120 * 1080)) ] || fail "--frames 1 wrote $(stat -c %s one.v210) bytes"

# A padded input pitch: rows of 3848 bytes, 8 of them padding.
head -c $((3848 * 1080)) /dev/urandom > padded.2vuy
expect_ok "padded 2vuy" "$tool" convert padded.2vuy padded.v210 --from 2vuy --to v210 --size 1920x1080 --pitch 3848
expect_ok "back from padded" "$tool" convert padded.v210 unpadded.2vuy --from v210 --to 2vuy --size 1920x1080
cut_rows() { python3 -c "import sys; d=open(sys.argv[1],'rb').read(); sys.stdout.buffer.write(b''.join(d[i*3848:i*3848+3840] for i in range(1080)))" "$1"; }
cut_rows padded.2vuy > padded-tight.2vuy
cmp -s padded-tight.2vuy unpadded.2vuy || fail "a padded pitch lost or moved pixels"

# A chain: NV12 to 2vuy through the direct step, then on to planes.
head -c $((1920 * 1080 * 3 / 2)) /dev/urandom > frame.nv12
"$tool" convert frame.nv12 chain.i420 --from nv12 --to i420 --size 1920x1080 -v 2> chain.txt || fail "nv12 to i420"
grep -q "nv12 -> 2vuy (cycbcr_NV12_to_uyvy), 2vuy -> i420 (ccnvt_2vuy_i420)" chain.txt ||
    fail "-v did not say the chain: $(cat chain.txt)"

# packed10 through the band drivers: threads take frames side by side, or
# split a single frame into bands.
expect_ok "v210 to packed10, 3 threads" "$tool" convert frames.v210 frames.p10 --from v210 --to packed10 --size 1920x1080 --threads 3
expect_ok "v210 to packed10, 1 thread" "$tool" convert frames.v210 frames1.p10 --from v210 --to packed10 --size 1920x1080
cmp -s frames.p10 frames1.p10 || fail "three threads changed the packed10 bytes"
expect_ok "one frame in bands" "$tool" convert frames.v210 banded.p10 --from v210 --to packed10 --size 1920x1080 \
    --frames 1 --threads 3
head -c $((4800 * 1080)) frames1.p10 | cmp -s - banded.p10 || fail "bands on three threads changed the packed10 bytes"
[ "$(stat -c %s frames.p10)" -eq $((4800 * 1080 * 3)) ] || fail "packed10 rows are not 4800 bytes"
expect_ok "packed10 to 2vuy" "$tool" convert frames.p10 frames-p10.2vuy --from packed10 --to 2vuy --size 1920x1080 --threads 2
cmp -s frames.2vuy frames-p10.2vuy || fail "2vuy -> v210 -> packed10 -> 2vuy changed the frames"

expect_ok "formats" "$tool" formats
"$tool" formats | grep -q '^v210 ' || fail "formats does not list v210"

# ---- PNG ----
head -c $((64 * 48 * 4)) /dev/urandom > small.rgba32
expect_ok "rgba32 to PNG" "$tool" convert small.rgba32 small.png --from rgba32 --size 64x48
expect_ok "PNG to rgba32" "$tool" convert small.png back.rgba32 --to rgba32
cmp -s small.rgba32 back.rgba32 || fail "rgba32 -> PNG -> rgba32 changed the pixels"
head -c $((64 * 48 * 3)) /dev/urandom > small.rgb24
expect_ok "preview of rgb24" "$tool" preview small.rgb24 small24.png --from rgb24 --size 64x48
expect_ok "PNG to rgb24" "$tool" convert small24.png back.rgb24 --to rgb24
cmp -s small.rgb24 back.rgb24 || fail "rgb24 -> PNG -> rgb24 changed the pixels"
head -c $((64 * 48 * 6)) /dev/urandom > small.rgb48
expect_ok "rgb48 to a 16-bit PNG" "$tool" convert small.rgb48 small48.png --from rgb48 --size 64x48
expect_ok "16-bit PNG to rgb48" "$tool" convert small48.png back.rgb48 --to rgb48
cmp -s small.rgb48 back.rgb48 || fail "rgb48 -> 16-bit PNG -> rgb48 changed the pixels"
head -c $((64 * 48 * 8)) /dev/urandom > small.rgba64
expect_ok "rgba64 to a 16-bit PNG" "$tool" convert small.rgba64 small64.png --from rgba64 --size 64x48
expect_ok "16-bit PNG to rgba64" "$tool" convert small64.png back.rgba64 --to rgba64
cmp -s small.rgba64 back.rgba64 || fail "rgba64 -> 16-bit PNG -> rgba64 changed the pixels"
expect_error "PNG of the wrong size" "'small.png' is 64x48, not 32x32" "$tool" convert small.png out --to rgba32 --size 32x32
head -c 100 /dev/urandom > fake.png
expect_error "not a PNG" "'fake.png' is not a PNG file" "$tool" convert fake.png out --to rgba32
head -c 200 small.png > truncated.png
expect_error "truncated PNG" "cannot read the PNG 'truncated.png'" "$tool" convert truncated.png out --to rgba32
python3 "$here/../fuzz/make_seeds.py" --print-png-bomb > bomb.png
expect_error "PNG header larger than the file" "pixels cannot come out of" "$tool" convert bomb.png out --to rgba32
expect_error "pitch beyond the file" "shorter than one rgba32 frame of 48 rows 9223372036854775808 bytes apart" \
    "$tool" convert small.rgba32 out --from rgba32 --to rgb24 --size 64x48 --pitch 9223372036854775808
cat small.rgba32 small.rgba32 > two.rgba32
expect_error "several frames into one PNG" "a PNG holds one frame; 'two.rgba32' has 2" \
    "$tool" convert two.rgba32 out.png --from rgba32 --size 64x48
expect_error "preview not to PNG" "must end in .png" "$tool" preview small.rgb24 out --from rgb24 --size 64x48

# ---- bars ----
# Reads 10-bit (Y, Cb, Cr) of pixel x, row y of a v210 file with rows of `pitch` bytes.
v210_pixels() {
    python3 - "$@" <<'PY'
import struct, sys
path, pitch = sys.argv[1], int(sys.argv[2])
data = open(path, 'rb').read()
for pixel in sys.argv[3:]:
    x, y = map(int, pixel.split(","))
    words = struct.unpack('<4I', data[y * pitch + x // 6 * 16:][:16])
    f = [(w >> (10 * i)) & 0x3FF for w in words for i in range(3)]
    pair = (x % 6) // 2
    print(f[4 * pair + 1 + 2 * (x % 2)], f[4 * pair], f[4 * pair + 2])
PY
}
expect_ok "HD bars" "$tool" bars bars.v210 --format v210 --size 1920x1080 --frames 2
[ "$(stat -c %s bars.v210)" -eq $((5120 * 1080 * 2)) ] || fail "two frames of HD bars"
# RP 219, 10-bit: 40% grey, 75% white, yellow, cyan, green, magenta, red, blue;
# then 15% grey, black, 100% white and the PLUGE steps -2%, +2% below them.
expected_hd="414 512 512
721 512 512
674 176 543
581 589 176
534 253 207
251 771 817
204 435 848
111 848 481
195 512 512
64 512 512
940 512 512
46 512 512
82 512 512"
actual_hd=$(v210_pixels bars.v210 5120 100,300 340,300 546,300 752,300 960,300 1165,300 1370,300 1576,300 \
    100,1000 300,1000 600,1000 1100,1000 1160,1000)
[ "$actual_hd" = "$expected_hd" ] || fail "HD bars are not the RP 219 values: $actual_hd"
expect_ok "SD bars" "$tool" bars sd.v210 --format v210 --size 720x576
# EBU 75% bars in BT.601: white, yellow, cyan, green, magenta, red, blue, black.
expected_sd="721 512 512
646 176 567
525 625 176
450 289 231
335 735 793
260 399 848
139 848 457
64 512 512"
actual_sd=$(v210_pixels sd.v210 1920 40,300 130,300 220,300 310,300 400,300 490,300 580,300 670,300)
[ "$actual_sd" = "$expected_sd" ] || fail "SD bars are not the EBU values: $actual_sd"
expect_ok "bars as 2vuy" "$tool" bars bars.2vuy --format 2vuy --size 1280x720
[ "$(stat -c %s bars.2vuy)" -eq $((1280 * 720 * 2)) ] || fail "2vuy bars size"
expect_ok "bars preview" "$tool" preview bars.v210 bars.png --from v210 --size 1920x1080
expect_ok "bars PNG to rgb24" "$tool" convert bars.png bars.rgb24 --to rgb24
# Decoded at full size with BT.709: 75% white is 191 in each channel, 75% yellow
# B 0, G and R 191, each within one code value (the 10-bit bars are quantised).
python3 - <<'PY' || fail "decoded bars are not the expected RGB"
d = open('bars.rgb24', 'rb').read()
for x, bgr in ((340, (191, 191, 191)), (546, (0, 191, 191))):
    got = d[(300 * 1920 + x) * 3:][:3]
    assert all(abs(a - b) <= 1 for a, b in zip(got, bgr)), (x, list(got))
PY
expect_ok "bars as yuv444 and back" "$tool" convert bars.2vuy bars.yuv444 --from 2vuy --to yuv444 --size 1280x720
expect_ok "yuv444 to 2vuy" "$tool" convert bars.yuv444 bars-444.2vuy --from yuv444 --to 2vuy --size 1280x720
cmp -s bars.2vuy bars-444.2vuy || fail "2vuy -> 4:4:4 -> 2vuy changed the frame"
expect_error "bars in a format without a route" "cannot convert v210 to nv12" "$tool" bars out --format nv12 --size 1920x1080

# ---- RTP in pcap captures ----
expect_ok "RTP pack" "$tool" rtp pack bars.v210 bars.pcap --size 1920x1080
expect_ok "RTP unpack" "$tool" rtp unpack bars.pcap bars-back.v210 --size 1920x1080
cmp -s bars.v210 bars-back.v210 || fail "v210 -> RTP -> v210 changed the bars"
[ "$(python3 -c "import sys; d=open(sys.argv[1],'rb').read(); print(len(d))" bars.pcap)" -gt 0 ] || fail "empty capture"
# 1280 pixels: segments end inside v210 groups; compare the pictures as 2vuy.
head -c $((1280 * 720 * 2)) /dev/urandom > hd720.2vuy
expect_ok "720p to v210" "$tool" convert hd720.2vuy hd720.v210 --from 2vuy --to v210 --size 1280x720
expect_ok "720p strict pack" "$tool" rtp pack hd720.v210 hd720.pcap --size 1280x720 --strict --rate 50
expect_ok "720p unpack" "$tool" rtp unpack hd720.pcap hd720-back.v210 --size 1280x720
expect_ok "720p back to 2vuy" "$tool" convert hd720-back.v210 hd720-back.2vuy --from v210 --to 2vuy --size 1280x720
cmp -s hd720.2vuy hd720-back.2vuy || fail "720p through RTP changed the picture"
head -c 5000 bars.pcap > truncated.pcap
expect_error "truncated capture" "truncated" "$tool" rtp unpack truncated.pcap out --size 1920x1080
expect_error "not a capture" "cannot read the capture 'small.rgb24'" "$tool" rtp unpack small.rgb24 out --size 1920x1080
expect_error "segments outside the size" "lies outside a 1280x720 frame" "$tool" rtp unpack bars.pcap out --size 1280x720
expect_error "bad rate" "the rate '0/1'" "$tool" rtp pack bars.v210 out --size 1920x1080 --rate 0/1
expect_error "bad destination" "is not ADDRESS:PORT" "$tool" rtp pack bars.v210 out --size 1920x1080 --dest 1.2.3:4

# ---- demo ----
"$tool" demo --out demo-out > demo.txt 2> stderr.txt || fail "demo: $(cat stderr.txt) $(cat demo.txt)"
grep -q FAILED demo.txt && fail "a demo step failed: $(cat demo.txt)"
for file in bars.v210 bars.2vuy bars.pcap; do
    [ -s "demo-out/$file" ] || fail "the demo did not write $file"
done

# ---- bench ----
"$tool" bench --filter '^v210_to_2vuy$' --size 1920x1080 --seconds 0.01 > bench.txt 2> stderr.txt || fail "bench: $(cat stderr.txt)"
grep -q '^v210_to_2vuy  *1920x1080 ' bench.txt || fail "bench printed no v210_to_2vuy row: $(cat bench.txt)"
"$tool" bench --filter '^rgba32_bgra32$' --all-kernels --json --seconds 0.01 > bench.json 2> stderr.txt || fail "bench --json: $(cat stderr.txt)"
[ "$(grep -c '"operation": "rgba32_bgra32"' bench.json)" -ge 2 ] || fail "bench --json rows: $(cat bench.json)"
grep -q '"streaming_copy_gbps": [0-9]' bench.json || fail "bench --json has no streaming copy: $(cat bench.json)"
expect_error "bench that matches nothing" "no operation matches" "$tool" bench --filter nothing-like-this --seconds 0.01
expect_error "bench at an unmeasured size" "measure 1920x1080 and 3840x2160" "$tool" bench --size 640x480

# ---- BMP pictures with a palette ----
# bmps.py writes each picture with the pixels it should decode to (rgb24,
# top row first), worked out by hand, and a set of broken files.
cat > bmps.py <<'PY'
import struct

PALETTE = [(10, 20, 30), (40, 50, 60), (70, 80, 90), (100, 110, 120), (130, 140, 150), (160, 170, 180),
           (190, 200, 210)]  # B, G, R
INFO = 40
OFFSET = 14 + INFO + 4 * len(PALETTE)  # where the pixel data of most files start: byte 82

def bmp(width, height, bits, compression, data, palette=PALETTE, size_image=None, colours=None, info=INFO,
        planes=1, offset=None, magic=b'BM'):
    header = struct.pack('<IiiHHIIiiII', info, width, height, planes, bits, compression,
                         len(data) if size_image is None else size_image, 2835, 2835,
                         len(palette) if colours is None else colours, 0) + bytes(max(0, info - 40))
    quads = b''.join(bytes((b, g, r, 0)) for b, g, r in palette)
    start = 14 + len(header) + len(quads) if offset is None else offset
    return magic + struct.pack('<IHHI', 14 + len(header) + len(quads) + len(data), 0, 0, start) + header + quads + data

def packed_row(row, bits):
    out = bytearray((len(row) * bits + 31) // 32 * 4)
    for x, index in enumerate(row):
        out[x * bits // 8] |= index << (8 - bits - x * bits % 8)
    return bytes(out)

def stored(rows, bits, top_down=False):  # rows listed top first, stored bottom first
    return b''.join(packed_row(row, bits) for row in (rows if top_down else rows[::-1]))

def pixels(rows, palette=PALETTE):
    return b''.join(bytes(palette[index]) for row in rows for index in row)

def write(name, content, rows=None, palette=PALETTE):
    open(name + '.bmp', 'wb').write(content)
    if rows is not None:
        open(name + '.expected', 'wb').write(pixels(rows, palette))

rows8 = [[0, 1, 2, 3, 4], [4, 3, 2, 1, 0], [6, 5, 5, 6, 0]]  # 5 pixels: rows padded to 8 bytes
write('pal8', bmp(5, 3, 8, 0, stored(rows8, 8)), rows8)
write('pal8-topdown', bmp(5, -3, 8, 0, stored(rows8, 8, top_down=True)), rows8)
write('pal8-v5', bmp(5, 3, 8, 0, stored(rows8, 8), info=124), rows8)
rows4 = [[1, 2, 3, 4, 5], [6, 0, 6, 0, 1]]
write('pal4', bmp(5, 2, 4, 0, stored(rows4, 4)), rows4)
mono = [(0, 0, 0), (255, 255, 255)]
rows1 = [[1, 0, 1, 1, 0, 0, 1, 0, 1, 1], [0, 1, 0, 0, 1, 1, 0, 1, 0, 0]]
write('pal1', bmp(10, 2, 1, 0, stored(rows1, 1), palette=mono), rows1, mono)

# RLE8, 7x4, every code: encoded runs, absolute runs of 3 (padded) and 4,
# ends of line (one early), deltas within a row and up a row, end of bitmap.
# Pixels the stream skips take palette entry 0.
rle8 = bytes([3, 1,  0, 3, 2, 3, 4, 0,  1, 5,  0, 0,         # row 0 (bottom): 1 1 1 2 3 4 5
              0, 4, 5, 4, 3, 2,  0, 0,                       # row 1: 5 4 3 2, then an early end of line
              0, 2, 2, 0,  2, 3,  0, 2, 1, 1,  2, 1,  0, 1])  # row 2: pixels 2, 3; row 3: pixels 5, 6
rle8_rows = [[0, 0, 0, 0, 0, 1, 1],
             [0, 0, 3, 3, 0, 0, 0],
             [5, 4, 3, 2, 0, 0, 0],
             [1, 1, 1, 2, 3, 4, 5]]
write('rle8', bmp(7, 4, 8, 1, rle8), rle8_rows)
write('rle8-no-size', bmp(7, 4, 8, 1, rle8, size_image=0), rle8_rows)  # the stream runs to the end of the file
# Ends at the last row's end of line, without an end of bitmap.
write('rle8-lines', bmp(2, 2, 8, 1, bytes([2, 1, 0, 0, 1, 2, 1, 3, 0, 0])), [[2, 3], [1, 1]])

# RLE4, 7x3: encoded runs of alternating nibbles, absolute runs of 5 (3 bytes
# and a pad) and 4 nibbles, an early end of line, a delta, end of bitmap.
rle4 = bytes([5, 0x12,  2, 0x34,  0, 0,                          # row 0: 1 2 1 2 1 3 4
              0, 5, 0x56, 0x01, 0x20, 0,  1, 0x60,  0, 0,        # row 1: 5 6 0 1 2 6, pixel 6 skipped
              0, 4, 0x65, 0x43,  0, 2, 1, 0,  2, 0x11,  0, 1])   # row 2: 6 5 4 3, skip 1, 1 1
rle4_rows = [[6, 5, 4, 3, 0, 1, 1],
             [5, 6, 0, 1, 2, 6, 0],
             [1, 2, 1, 2, 1, 3, 4]]
write('rle4', bmp(7, 3, 4, 2, rle4), rle4_rows)

# Broken files.
good8 = bmp(5, 3, 8, 0, stored(rows8, 8))
write('bad-magic', b'XY' + good8[2:])
write('bad-short', good8[:30])
write('bad-os2', bmp(5, 3, 8, 0, stored(rows8, 8), info=12))
write('bad-info-size', bmp(5, 3, 8, 0, stored(rows8, 8), info=64))
write('bad-planes', bmp(5, 3, 8, 0, stored(rows8, 8), planes=2))
write('bad-depth', bmp(5, 3, 24, 0, bytes(16 * 3), palette=[]))
write('bad-bitfields', bmp(5, 3, 8, 3, stored(rows8, 8)))
write('bad-rle8-depth', bmp(7, 4, 4, 1, rle8))
write('bad-width', bmp(0, 3, 8, 0, stored(rows8, 8)))
write('bad-height', bmp(5, 0, 8, 0, stored(rows8, 8)))
write('bad-huge', bmp(20000, 1, 8, 0, bytes(20000)))
write('bad-rle-top-down', bmp(7, -4, 8, 1, rle8))
write('bad-palette-count', bmp(5, 3, 8, 0, stored(rows8, 8), colours=300))
write('bad-offset-past-end', bmp(5, 3, 8, 0, stored(rows8, 8), offset=100000))
write('bad-offset-in-palette', bmp(5, 3, 8, 0, stored(rows8, 8), offset=60))
write('bad-short-pixels', good8[:-5])
write('bad-stream-size', bmp(7, 4, 8, 1, rle8, size_image=10000))
write('bad-index', bmp(5, 3, 8, 0, stored([[0, 1, 2, 3, 4], [4, 3, 9, 1, 0], [6, 5, 5, 6, 0]], 8)))
write('bad-stream-cut', bmp(7, 4, 8, 1, rle8[:5]))
write('bad-run-past-row', bmp(4, 2, 8, 1, bytes([3, 1, 2, 1, 0, 1])))
write('bad-run-past-frame', bmp(4, 1, 8, 1, bytes([0, 3, 1, 1, 1, 0, 2, 2, 0, 1])))
write('bad-no-end', bmp(4, 2, 8, 1, bytes([2, 1, 0, 0])))
write('bad-delta-past-row', bmp(4, 2, 8, 1, bytes([0, 2, 5, 0, 0, 1])))
write('bad-delta-past-frame', bmp(4, 2, 8, 1, bytes([0, 0, 0, 2, 0, 2, 0, 1])))
write('bad-rle8-index', bmp(4, 2, 8, 1, bytes([2, 9, 0, 1])))
write('bad-rle4-index', bmp(4, 2, 4, 2, bytes([2, 0x18, 0, 1])))
write('bad-rle4-absolute-index', bmp(4, 2, 4, 2, bytes([0, 3, 0x16, 0x90, 0, 1])))
PY
python3 bmps.py || fail "could not write the BMP files"
for picture in pal8 pal8-topdown pal8-v5 pal4 pal1 rle8 rle8-no-size rle8-lines rle4; do
    expect_ok "$picture.bmp to rgb24" "$tool" convert $picture.bmp $picture.rgb24 --to rgb24
    cmp -s $picture.rgb24 $picture.expected || fail "$picture.bmp did not decode to the expected pixels"
done
expect_ok "RLE4 to PNG" "$tool" convert rle4.bmp rle4.png
expect_ok "RLE4 PNG back to rgb24" "$tool" convert rle4.png rle4-png.rgb24 --to rgb24
cmp -s rle4-png.rgb24 rle4.expected || fail "rle4.bmp -> PNG -> rgb24 changed the pixels"
expect_ok "preview of an 8-bit BMP" "$tool" preview pal8.bmp pal8.png
expect_ok "8-bit PNG back to rgb24" "$tool" convert pal8.png pal8-png.rgb24 --to rgb24
cmp -s pal8-png.rgb24 pal8.expected || fail "pal8.bmp -> PNG -> rgb24 changed the pixels"
expect_ok "BMP with --from bmp and its size" "$tool" convert rle8.bmp same.rgb24 --from bmp --to rgb24 --size 7x4
expect_ok "RLE8 to rgba32" "$tool" convert rle8.bmp rle8.rgba32 --to rgba32
expect_ok "8-bit to rgba32" "$tool" convert pal8.bmp pal8.rgba32 --to rgba32
python3 - <<'PY' || fail "BMP pixels to rgba32 are not the colours with alpha 255"
for name in ('rle8', 'pal8'):
    rgb, rgba = open(name + '.expected', 'rb').read(), open(name + '.rgba32', 'rb').read()
    assert rgba == b''.join(rgb[i:i + 3] + b'\xff' for i in range(0, len(rgb), 3)), name
PY
"$tool" convert rle4.bmp rle4.rgb24 --to rgb24 -v 2> chain.txt || fail "rle4 -v"
grep -q "bmp (RLE4) -> rgb24 (ccnvt_rle4_rgb24)" chain.txt || fail "-v did not say the RLE4 decoder: $(cat chain.txt)"
"$tool" convert pal4.bmp pal4.rgb24 --to rgb24 -v 2> chain.txt || fail "pal4 -v"
grep -q "bmp (4-bit) -> rgba32 (ccnvt_rgb8_rgba32), rgba32 -> rgb24" chain.txt ||
    fail "-v did not say the palette decoder: $(cat chain.txt)"
expect_ok "RLE8 to 2vuy" "$tool" convert rle8-lines.bmp lines.2vuy --to 2vuy
[ "$(stat -c %s lines.2vuy)" -eq 8 ] || fail "a 2x2 BMP did not give one 2x2 2vuy frame"
"$tool" formats | grep -q '\.bmp' || fail "formats does not mention BMP input"
"$tool" convert --help | grep -q 'bmp' || fail "convert --help does not mention BMP input"

expect_error "BMP of another size" "'rle8.bmp' is 7x4, not 8x4" "$tool" convert rle8.bmp out --to rgb24 --size 8x4
expect_error "BMP with a raw --from" "'rle8.bmp' is a BMP: leave out --from" "$tool" convert rle8.bmp out --from rgb24 --to rgb24
expect_error "BMP with --pitch" "--pitch does not apply to a BMP input" "$tool" convert rle8.bmp out --to rgb24 --pitch 32
expect_error "two frames of a BMP" "holds 1 frames, not 2" "$tool" convert rle8.bmp out --to rgb24 --frames 2
# Each broken file: "name|what the message says".
while IFS='|' read -r name message; do
    expect_error "$name.bmp" "cannot read the BMP '$name.bmp': $message" "$tool" convert $name.bmp out --to rgb24
done <<'CASES'
bad-magic|it does not start with 'BM' (not a BMP file)
bad-short|it is 30 bytes, shorter than the 54 bytes of its headers
bad-os2|OS/2 bitmaps (12-byte info header) are not read
bad-info-size|its info header size 64 is not one of the Windows sizes
bad-planes|it has 2 planes, not 1
bad-depth|it has 24 bits per pixel: only palette pictures of 1, 4 or 8 bits are read
bad-bitfields|its compression 3 (BI_BITFIELDS) is not read
bad-rle8-depth|it says RLE8 with 4 bits per pixel (RLE8 needs 8)
bad-width|its width 0 is not positive
bad-height|its height is 0
bad-huge|the frame size 20000x1 is too large
bad-rle-top-down|it is stored top-down (negative height), which an RLE picture cannot be
bad-palette-count|its palette of 300 colours is more than 8-bit indices reach (256)
bad-offset-past-end|its pixel data offset 100000 lies past the end of the file
bad-offset-in-palette|its pixel data offset 60 lies inside its headers or its 7-colour palette (which end at byte 82)
bad-short-pixels|it holds 19 bytes of pixel data after byte 82, not the 24 bytes of 3 rows of 8 bytes
bad-stream-size|its header gives 10000 bytes of RLE8 data, the file holds 34 bytes after byte 82
bad-index|pixel 2 of row 1 (from the top) has index 9, beyond the palette's 7 entries (byte 92)
bad-stream-cut|bad RLE8 stream at byte 84 of the file: an absolute run of 3 indices takes 4 bytes with its padding; the stream has 1 left
bad-run-past-row|bad RLE8 stream at byte 84 of the file: an encoded run of 2 pixels from pixel 3 goes past the end of row 0 from the bottom (4 pixels)
bad-run-past-frame|bad RLE8 stream at byte 88 of the file: an encoded run of 2 pixels from pixel 3 goes past the end of row 0 from the bottom (4 pixels)
bad-no-end|bad RLE8 stream at byte 86 of the file: the stream ends in row 1 from the bottom without an end of bitmap
bad-delta-past-row|bad RLE8 stream at byte 82 of the file: a delta of 5 right and 0 up from pixel 0 of row 0 from the bottom goes past the end of the row (4 pixels)
bad-delta-past-frame|bad RLE8 stream at byte 84 of the file: a delta of 0 right and 2 up from row 1 from the bottom goes above the top row (2 rows)
bad-rle8-index|bad RLE8 stream at byte 83 of the file: index 9 is beyond the palette's 7 entries
bad-rle4-index|bad RLE4 stream at byte 83 of the file: index 8 is beyond the palette's 7 entries
bad-rle4-absolute-index|bad RLE4 stream at byte 85 of the file: index 9 is beyond the palette's 7 entries
CASES
expect_error "preview of a broken BMP" "cannot read the BMP 'bad-no-end.bmp'" "$tool" preview bad-no-end.bmp out.png

# ---- half floats, ST 2084, keys, fields, alpha ----
# 2vuy 4x2: black and white, then a colour (Y 126, Cb 128, Cr 200) and Y 235 with the same chroma.
printf '\x80\x10\x80\xeb\x80\x7e\xc8\xeb\x80\x10\x80\xeb\x80\x7e\xc8\xeb' > tiny.2vuy
expect_ok "2vuy to half floats" "$tool" convert tiny.2vuy tiny.rgbaf16 --from 2vuy --to rgbaf16 --size 4x2
expect_ok "2vuy to v210" "$tool" convert tiny.2vuy tiny.v210 --from 2vuy --to v210 --size 4x2
expect_ok "v210 to half floats" "$tool" convert tiny.v210 tiny-10.rgbaf16 --from v210 --to rgbaf16 --size 4x2
cmp -s tiny.rgbaf16 tiny-10.rgbaf16 || fail "8- and 10-bit sources of the same samples gave different half floats"
python3 - <<'PY' || fail "half floats are not the BT.601 video-range values"
import struct
h = struct.unpack('<32e', open('tiny.rgbaf16', 'rb').read())
assert h[0:4] == (0.0, 0.0, 0.0, 1.0) and h[4:8] == (1.0, 1.0, 1.0, 1.0), h[:8]
y, cr = (126 - 16) / 219, (200 - 128) / 224  # BT.601 at this size: R = y + 1.402 cr, G = y - 0.7141363 cr
for got, want in zip(h[8:12], (y + 1.402 * cr, y - 0.7141363 * cr, y, 1.0)):
    assert abs(got - want) < 1e-3, (h[8:12], got, want)
assert open('tiny.rgbaf16', 'rb').read()[:32] == open('tiny.rgbaf16', 'rb').read()[32:]  # both rows alike
PY
expect_ok "SDR to HDR, PQ" "$tool" convert tiny.v210 tiny.rgbaf16pq --from v210 --to rgbaf16pq --size 4x2
expect_ok "SDR to HDR, HLG" "$tool" convert tiny.2vuy tiny.rgbaf16hlg --from 2vuy --to rgbaf16hlg --size 4x2
python3 - <<'PY' || fail "SDR white is not at the PQ / HLG reference white"
import struct
pq = struct.unpack('<32e', open('tiny.rgbaf16pq', 'rb').read())
hlg = struct.unpack('<32e', open('tiny.rgbaf16hlg', 'rb').read())
assert all(abs(v - 0.58) < 0.01 for v in pq[4:7]) and pq[7] == 1.0, pq[4:8]
assert all(abs(v - 0.75) < 0.01 for v in hlg[4:7]) and hlg[7] == 1.0, hlg[4:8]
PY
# ST 2084 through the 8-bit tables: every byte of rgb24, the luma of 2vuy.
printf '\x00\x01\x02\x03\x04\x05\x80\xff\xbf' > linear.rgb24
expect_ok "rgb24 to PQ" "$tool" convert linear.rgb24 linear.rgb24pq --from rgb24 --to rgb24pq --size 3x1
[ "$(xxd -p linear.rgb24pq)" = "006a7b868d93edfff8" ] || fail "rgb24 PQ bytes: $(xxd -p linear.rgb24pq)"
printf '\x00\x01\x10\x11\x14\x80\x81\xc8\xff' > coded.rgb24pq
expect_ok "PQ to rgb24" "$tool" convert coded.rgb24pq coded.rgb24 --from rgb24pq --to rgb24 --size 3x1
[ "$(xxd -p coded.rgb24)" = "0001101010e7ebebeb" ] ||
    fail "rgb24 from PQ bytes: $(xxd -p coded.rgb24)"
printf '\x80\x01\x40\x80' > luma.2vuy
expect_ok "2vuy to PQ" "$tool" convert luma.2vuy luma.2vuypq --from 2vuy --to 2vuypq --size 2x1
[ "$(xxd -p luma.2vuypq)" = "806a40ed" ] || fail "2vuy PQ bytes: $(xxd -p luma.2vuypq)"
printf '\x11\x80\x22\x14' > coded.2vuypq
expect_ok "PQ to 2vuy" "$tool" convert coded.2vuypq coded.2vuy --from 2vuypq --to 2vuy --size 2x1
[ "$(xxd -p coded.2vuy)" = "11e72210" ] || fail "2vuy from PQ bytes: $(xxd -p coded.2vuy)"
# v210: words taken one byte into each row, three 10-bit positions re-coded
# (indices above 255 read entry 255), by a model written from that rule.
head -c $((128 * 3)) /dev/urandom > random.v210
expect_ok "v210 to v210pq" "$tool" convert random.v210 random.v210pq --from v210 --to v210pq --size 48x3
expect_ok "v210pq to v210" "$tool" convert random.v210 random-back.v210 --from v210pq --to v210 --size 48x3
python3 - <<'PY' || fail "v210pq is not the table re-coding of each row"
import math, struct
m1, m2, c1, c2, c3 = 2610 / 16384, 2523 / 4096 * 128, 3424 / 4096, 2413 / 4096 * 32, 2392 / 4096 * 32
def pq(x):
    p = x ** m1
    return ((c1 + c2 * p) / (1 + c3 * p)) ** m2
to_pq = [math.floor(256 * pq(i / 256)) for i in range(256)]
assert to_pq[:6] == [0, 106, 123, 134, 141, 147] and to_pq[128] == 237 and to_pq[255] == 255
from_pq = [i for i in range(17)] + [int(16 + 219 * ((i - 16) / 113) ** 1.9 + 0.5) for i in range(17, 129)] + [235] * 127
assert from_pq[128] == 231 and from_pq[20] == 16
def recode(data, table):
    data = bytearray(data) + bytearray(1)  # the last group reaches one byte past the frame
    T = lambda i: table[min(i, 255)]
    for row in range(3):
        for group in range(128 // 16):
            for j in range(4):
                at = row * 128 + 16 * group + 1 + 4 * j
                w, = struct.unpack_from('<I', data, at)
                if j % 2 == 0:
                    w = (T((w >> 12) & 0x3FF) << 12) | (w & 0x3FF003FF)
                else:
                    w = (w & 0xFFC00) | (T(w >> 22) << 22) | (T((w >> 2) & 0x3FF) << 2)
                struct.pack_into('<I', data, at, w & 0xFFFFFFFF)
    return bytes(data[:-1])
source = open('random.v210', 'rb').read()
assert open('random.v210pq', 'rb').read() == recode(source, to_pq)
assert open('random-back.v210', 'rb').read() == recode(source, from_pq)
PY
# Keys: 2vuy luma, grey rgba32 pixels with the key as alpha, and back.
printf '\x80\x10\x80\x20\x33\x44\x55\x66' > key.2vuy
expect_ok "2vuy to key8" "$tool" convert key.2vuy key.key8 --from 2vuy --to key8 --size 4x1
[ "$(xxd -p key.key8)" = "10204466" ] || fail "key8 from 2vuy: $(xxd -p key.key8)"
expect_ok "key8 to 2vuy" "$tool" convert key.key8 key-back.2vuy --from key8 --to 2vuy --size 4x1
[ "$(xxd -p key-back.2vuy)" = "8010802080448066" ] || fail "2vuy from key8: $(xxd -p key-back.2vuy)"
expect_ok "key8 to rgba32" "$tool" convert key.key8 key.rgba32 --from key8 --to rgba32 --size 4x1
[ "$(xxd -p key.rgba32)" = "10101010202020204444444466666666" ] || fail "rgba32 from key8: $(xxd -p key.rgba32)"
head -c $((64 * 48)) /dev/urandom > random.key8
expect_ok "key8 to PNG" "$tool" convert random.key8 key.png --from key8 --size 64x48
expect_ok "PNG to key8" "$tool" convert key.png key-png.key8 --to key8
cmp -s random.key8 key-png.key8 || fail "key8 -> grey PNG -> key8 changed the key"
# Fields: rows 0, 2, 4 then 1, 3 of each frame; joined back to the frames.
head -c $((8 * 5 * 2 * 2)) /dev/urandom > five.2vuy
expect_ok "split fields" "$tool" convert five.2vuy five.fields --from 2vuy --to 2vuy --size 8x5 --fields split
python3 - <<'PY' || fail "split fields are not rows 0, 2, 4, 1, 3 of each frame"
frames, fields = open('five.2vuy', 'rb').read(), open('five.fields', 'rb').read()
row = lambda data, frame, k: data[frame * 80 + k * 16:][:16]
assert fields == b''.join(row(frames, f, k) for f in range(2) for k in (0, 2, 4, 1, 3))
PY
expect_ok "join fields" "$tool" convert five.fields five-back.2vuy --from 2vuy --to 2vuy --size 8x5 --fields join
cmp -s five.2vuy five-back.2vuy || fail "split then join changed the frames"
expect_ok "join fields then convert" "$tool" convert five.fields five.v210 --from 2vuy --to v210 --size 8x5 --fields join
expect_ok "v210 frames" "$tool" convert five.2vuy five-direct.v210 --from 2vuy --to v210 --size 8x5
cmp -s five.v210 five-direct.v210 || fail "joining before a conversion is not the conversion of the frames"
expect_error "fields of a planar format" "nv12 is planar" "$tool" convert frame.nv12 out --from nv12 --to 2vuy --size 1920x1080 --fields join
expect_error "fields of odd-sized rows" "rgb24 rows of 5 pixels are 15 bytes" \
    "$tool" convert pal8.rgb24 out --from rgb24 --to rgb24 --size 5x3 --fields split
expect_error "bad --fields" "--fields takes split or join, not 'both'" "$tool" convert five.2vuy out --from 2vuy --to 2vuy --size 8x5 --fields both
# A constant alpha on rgba32 output, also for a PNG.
expect_ok "set alpha" "$tool" convert pal8.expected pal8-alpha.rgba32 --from rgb24 --to rgba32 --size 5x3 --set-alpha 128
python3 - <<'PY' || fail "--set-alpha did not give alpha 128 with the colours kept"
rgb, rgba = open('pal8.expected', 'rb').read(), open('pal8-alpha.rgba32', 'rb').read()
assert rgba == b''.join(rgb[i:i + 3] + b'\x80' for i in range(0, len(rgb), 3))
PY
expect_ok "set alpha into a PNG" "$tool" convert rle4.bmp alpha.png --set-alpha 7
expect_ok "PNG with alpha to rgba32" "$tool" convert alpha.png alpha.rgba32 --to rgba32
python3 -c "d=open('alpha.rgba32','rb').read(); assert len(d) == 84 and all(a == 7 for a in d[3::4])" ||
    fail "--set-alpha into a PNG did not keep the alpha"
expect_error "alpha of a format without one" "--set-alpha applies to rgba32 and bgra32 output, not 2vuy" \
    "$tool" convert five.2vuy out --from 2vuy --to 2vuy --size 8x5 --set-alpha 1
expect_error "alpha out of range" "--set-alpha" "$tool" convert five.2vuy out --from 2vuy --to rgba32 --size 8x5 --set-alpha 256
"$tool" convert five.fields out.rgba32 --from 2vuy --to rgba32 --size 8x5 --fields join --set-alpha 9 -v 2> chain.txt ||
    fail "fields and alpha with -v"
grep -q "join fields (ccnvt_fld_sep_to_mix32), 2vuy -> rgba32 (ccnvt_yuv422_8_rgb32), alpha 9 (ccnvt_rgba_setalpha)" chain.txt ||
    fail "-v did not say the operations: $(cat chain.txt)"
for word in --fields --set-alpha rgbaf16 v210pq key8; do
    "$tool" convert --help | grep -q -- "$word" || fail "convert --help does not mention $word"
done

# ---- bad input ----
expect_error "unknown format" "unknown format 'v211'" "$tool" convert frames.2vuy out --from 2vuy --to v211 --size 1920x1080
expect_error "no route" "cannot convert v210 to nv12" "$tool" convert frames.v210 out --from v210 --to nv12 --size 1920x1080
expect_error "zero size" "must not be zero" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 0x1080
expect_error "huge size" "too large" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 100000x2
expect_error "bad size text" "is not WIDTHxHEIGHT" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 1920by1080
expect_error "odd width" "multiple of 2, not 1919" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 1919x1080
expect_error "odd height for 4:2:0" "multiple of 2, not 1081" "$tool" convert frame.nv12 out --from nv12 --to 2vuy --size 1920x1081
head -c 1000 frames.2vuy > short.2vuy
expect_error "short file" "shorter than one 2vuy frame of 4147200 bytes (4146200 missing)" \
    "$tool" convert short.2vuy out --from 2vuy --to v210 --size 1920x1080
head -c $((frame_2vuy + 10)) frames.2vuy > partial.2vuy
expect_error "trailing partial frame" "1 2vuy frames and a partial one ($((frame_2vuy - 10)) bytes missing)" \
    "$tool" convert partial.2vuy out --from 2vuy --to v210 --size 1920x1080
expect_error "missing input" "cannot read 'nothing-here'" "$tool" convert nothing-here out --from 2vuy --to v210 --size 1920x1080
expect_error "unwritable output" "cannot write 'no-such-dir/out'" \
    "$tool" convert frames.2vuy no-such-dir/out --from 2vuy --to v210 --size 1920x1080
expect_error "too many frames" "holds 3 frames, not 4" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 1920x1080 --frames 4
expect_error "short pitch" "--pitch 100 is shorter" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 1920x1080 --pitch 100
expect_error "pitch of a planar format" "nv12 is planar" "$tool" convert frame.nv12 out --from nv12 --to 2vuy --size 1920x1080 --pitch 4000
expect_error "missing option" "--to is required" "$tool" convert frames.2vuy out --from 2vuy --size 1920x1080
expect_error "missing input" "input is required" "$tool" convert
expect_error "no threads" "--threads must be at least 1" "$tool" convert frames.2vuy out --from 2vuy --to v210 --size 1920x1080 --threads 0

if [ $failures -ne 0 ]; then
    echo "$failures CLI checks failed" >&2
    exit 1
fi
echo "all CLI checks passed"
