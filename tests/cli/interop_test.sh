#!/bin/bash
# Peers read our captures: GStreamer's rtpvrawdepay gives back our packed10 frames,
# tshark our packets in sequence. Skipped (77) without either. usage: interop_test.sh CCNVT WORK_DIR
set -u
tool=$(realpath "$1")
work=$2
rm -rf "$work" && mkdir -p "$work" && cd "$work" || exit 1
have_gst=0 have_tshark=0
command -v gst-launch-1.0 > /dev/null && gst-inspect-1.0 rtpvrawdepay > /dev/null 2>&1 &&
    gst-inspect-1.0 pcapparse > /dev/null 2>&1 && have_gst=1
command -v tshark > /dev/null && have_tshark=1
if [ $have_gst -eq 0 ] && [ $have_tshark -eq 0 ]; then
    echo "neither GStreamer (rtpvrawdepay, pcapparse) nor tshark is installed: skipped"
    exit 77
fi
failures=0
fail() { echo "FAIL: $*" >&2; failures=$((failures + 1)); }

frames=2
"$tool" bars bars.v210 --format v210 --size 1920x1080 --frames $frames || fail "bars"
"$tool" rtp pack bars.v210 bars.pcap --size 1920x1080 --strict || fail "rtp pack"
"$tool" convert bars.v210 bars.packed10 --from v210 --to packed10 --size 1920x1080 || fail "packed10"

if [ $have_gst -eq 1 ]; then
    caps="application/x-rtp,media=video,clock-rate=90000,encoding-name=RAW,sampling=YCbCr-4:2:2"
    caps="$caps,depth=(string)10,width=(string)1920,height=(string)1080,colorimetry=BT709-2,payload=96"
    timeout 120 gst-launch-1.0 -q filesrc location=bars.pcap ! pcapparse ! "$caps" ! rtpvrawdepay ! \
        filesink location=gstreamer.raw || fail "gst-launch-1.0 failed"
    cmp -s gstreamer.raw bars.packed10 || fail "GStreamer's frames differ from ours"
    echo "GStreamer: frames identical"
fi

if [ $have_tshark -eq 1 ]; then
    tshark -r bars.pcap -d udp.port==5004,rtp -T fields -e rtp.seq -e rtp.marker -e rtp.p_type \
        > tshark.txt 2> /dev/null || fail "tshark failed"
    packets=$((4320 * frames))
    [ "$(wc -l < tshark.txt)" -eq $packets ] || fail "tshark saw $(wc -l < tshark.txt) packets, not $packets"
    awk -v n=$packets 'NR - 1 != $1 { bad = 1 } $3 != 96 { bad = 1 } $2 == 1 || $2 == "True" { marks++ }
        END { exit bad || marks != 2 }' tshark.txt || fail "tshark: sequence numbers, payload types or markers wrong"
    echo "tshark: $packets packets in sequence"
fi

[ $failures -eq 0 ] || exit 1
