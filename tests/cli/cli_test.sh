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

# packed10 through the band drivers: threads split frames into bands.
expect_ok "v210 to packed10, 3 threads" "$tool" convert frames.v210 frames.p10 --from v210 --to packed10 --size 1920x1080 --threads 3
expect_ok "v210 to packed10, 1 thread" "$tool" convert frames.v210 frames1.p10 --from v210 --to packed10 --size 1920x1080
cmp -s frames.p10 frames1.p10 || fail "bands on three threads changed the packed10 bytes"
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
"$tool" bench --filter 'BM_v210_to_2vuy' --seconds 0.01 > bench.txt 2> stderr.txt || fail "bench: $(cat stderr.txt)"
grep -q '^v210_to_2vuy ' bench.txt || fail "bench printed no v210_to_2vuy row: $(cat bench.txt)"
expect_error "bench that matches nothing" "no benchmark matches" "$tool" bench --filter nothing-like-this --seconds 0.01

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
