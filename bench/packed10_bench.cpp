// packed10: the four frame drivers per kernel class, the whole-frame
// wrappers, the ST 2110-20 packetiser and segment decoder, beside a memcpy of
// each side's frame and FFmpeg's bitpacked decoder (packed10 to planar 10-bit).
#include <cstdint>
#include <cstring>
#include <vector>

#include "bench_support.h"
#include "cconvert/packed10.h"

#ifdef CCNVT_BENCH_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}
#endif

namespace {

using namespace cconvert::bench;

std::size_t packed10_bytes(std::size_t width, std::size_t height) { return width * 5 / 2 * height; }
std::size_t uyvy_bytes(std::size_t width, std::size_t height) { return 2 * width * height; }
std::size_t v210_pitch(std::size_t width) { return 128 * ((width + 47) / 48); }
std::size_t v210_bytes(std::size_t width, std::size_t height) { return v210_pitch(width) * height; }

int arg(const benchmark::State& state, int index) { return static_cast<int>(state.range(index)); }

// ---- the four drivers, one call per frame ----

void BM_packed10_to_uyvy(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto packed10 = random_frame(packed10_bytes(width, height));
    std::vector<unsigned char> uyvy(uyvy_bytes(width, height));
    for (auto _ : state) {
        kv_ycbcr422_packed10_to_uyvy(packed10.data(), 0, width, 0, height, uyvy.data(), 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, packed10.size(), uyvy.size());
}
BENCHMARK(BM_packed10_to_uyvy)->Apply(frame_sizes_and_kernels);

void BM_uyvy_to_packed10(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto uyvy = random_frame(uyvy_bytes(width, height));
    std::vector<unsigned char> packed10(packed10_bytes(width, height));
    for (auto _ : state) {
        kv_ycbcr422_uyvy_to_packed10(uyvy.data(), 0, width, 0, height, packed10.data(), 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, uyvy.size(), packed10.size());
}
BENCHMARK(BM_uyvy_to_packed10)->Apply(frame_sizes_and_kernels);

void BM_packed10_to_v210(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto packed10 = random_frame(packed10_bytes(width, height));
    std::vector<unsigned char> v210(v210_bytes(width, height));
    for (auto _ : state) {
        ccnvt_ycbcr422_packed10_to_v210(packed10.data(), 0, width, 0, height, height, v210.data(), 0, false);
        benchmark::ClobberMemory();
    }
    count_bytes(state, packed10.size(), v210.size());
}
BENCHMARK(BM_packed10_to_v210)->Apply(frame_sizes_and_kernels);

void BM_v210_to_packed10(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = arg(state, 0), height = arg(state, 1);
    auto v210 = random_frame(v210_bytes(width, height));
    std::vector<unsigned char> packed10(packed10_bytes(width, height));
    for (auto _ : state) {
        ccnvt_ycbcr422_v210_to_packed10(v210.data(), 0, width, 0, height, height, packed10.data(), 0, false);
        benchmark::ClobberMemory();
    }
    count_bytes(state, v210.size(), packed10.size());
}
BENCHMARK(BM_v210_to_packed10)->Apply(frame_sizes_and_kernels);

// ---- the bounds: a memcpy of each side's frame ----

void BM_memcpy_packed10_frame(benchmark::State& state) {
    copy_bound(state, packed10_bytes(state.range(0), state.range(1)));
}
BENCHMARK(BM_memcpy_packed10_frame)->Apply(frame_sizes);

void BM_memcpy_v210_frame_for_packed10(benchmark::State& state) {
    copy_bound(state, v210_bytes(state.range(0), state.range(1)));
}
BENCHMARK(BM_memcpy_v210_frame_for_packed10)->Apply(frame_sizes);

// ---- the whole-frame wrappers ----

void BM_YCbCr10Packed_to_v210(benchmark::State& state) {
    const KernelSelection kernel(state);
    const unsigned width = static_cast<unsigned>(state.range(0)), height = static_cast<unsigned>(state.range(1));
    auto packed10 = random_frame(packed10_bytes(width, height));
    std::vector<unsigned char> v210(v210_bytes(width, height));
    for (auto _ : state) {
        ccnvt_YCbCr10Packed_to_v210(v210.data(), packed10.data(), width, height, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, packed10.size(), v210.size());
}
BENCHMARK(BM_YCbCr10Packed_to_v210)->Apply(frame_sizes_and_kernels);

void BM_v210_to_YCbCr10Packed(benchmark::State& state) {
    const KernelSelection kernel(state);
    const unsigned width = static_cast<unsigned>(state.range(0)), height = static_cast<unsigned>(state.range(1));
    auto v210 = random_frame(v210_bytes(width, height));
    std::vector<unsigned char> packed10(packed10_bytes(width, height));
    for (auto _ : state) {
        ccnvt_v210_to_YCbCr10Packed(packed10.data(), v210.data(), width, height, 0, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, v210.size(), packed10.size());
}
BENCHMARK(BM_v210_to_YCbCr10Packed)->Apply(frame_sizes_and_kernels);

// ---- ST 2110-20 packets ----

constexpr std::size_t kRtpSlot = 1395;

std::size_t rtp_bytes(std::size_t width, std::size_t height) { return kRtpSlot * ((width + 549) / 550) * height; }

void BM_v210_frame_to_rtp_4175(benchmark::State& state) {
    const KernelSelection kernel(state);
    const unsigned width = static_cast<unsigned>(state.range(0)), height = static_cast<unsigned>(state.range(1));
    auto v210 = random_frame(v210_bytes(width, height));
    std::vector<unsigned char> packets(rtp_bytes(width, height));
    unsigned short sequence = 0;
    for (auto _ : state) {
        ccnvt_v210_frame_to_rtp_4175(packets.data(), static_cast<std::int64_t>(packets.size()), &sequence, 0, 0, 0,
                                     v210.data(), width, height, nullptr, nullptr);
        benchmark::ClobberMemory();
    }
    count_bytes(state, v210.size(), packets.size());
}
BENCHMARK(BM_v210_frame_to_rtp_4175)->Apply(frame_sizes_and_kernels);

// Every packet of a frame through the segment decoder, placed by its SRD as a
// receiver places it.
void BM_4175_to_v210_frame(benchmark::State& state) {
    const KernelSelection kernel(state);
    const unsigned width = static_cast<unsigned>(state.range(0)), height = static_cast<unsigned>(state.range(1));
    auto source = random_frame(v210_bytes(width, height));
    std::vector<unsigned char> packets(rtp_bytes(width, height));
    unsigned short sequence = 0;
    unsigned int count = 0;
    ccnvt_v210_frame_to_rtp_4175(packets.data(), static_cast<std::int64_t>(packets.size()), &sequence, 0, 0, 0,
                                 source.data(), width, height, nullptr, &count);
    std::vector<unsigned char> v210(v210_bytes(width, height));
    const std::size_t pitch = v210_pitch(width);
    for (auto _ : state) {
        for (unsigned k = 0; k < count; ++k) {
            const unsigned char* packet = packets.data() + kRtpSlot * k;
            const unsigned length = packet[14] << 8 | packet[15];
            const unsigned row = (packet[16] << 8 | packet[17]) & 0x7FFF;
            const unsigned offset = (packet[18] << 8 | packet[19]) & 0x7FFF;
            const unsigned phase = offset % 6;
            const long lead_in = phase == 2 ? 2 : phase == 4 ? 1 : 0;
            auto* group = reinterpret_cast<unsigned int*>(v210.data() + (row - 1) * pitch + 16 * (offset / 6));
            ccnvt_4175_to_v210(group, packet + 20, length, (length + 4) / 5 - lead_in, phase);
        }
        benchmark::ClobberMemory();
    }
    count_bytes(state, packets.size(), v210.size());
}
BENCHMARK(BM_4175_to_v210_frame)->Apply(frame_sizes_and_kernels);

#ifdef CCNVT_BENCH_FFMPEG
// FFmpeg's bitpacked decoder: packed10 (4:2:2 10-bit, "UYVY" tag, 20 bits per
// pixel) to planar 10-bit 4:2:2 in 16-bit words.
void BM_ffmpeg_bitpacked_decode(benchmark::State& state) {
    const int width = arg(state, 0), height = arg(state, 1);
    const AVCodec* codec = avcodec_find_decoder(AV_CODEC_ID_BITPACKED);
    AVCodecContext* context = avcodec_alloc_context3(codec);
    context->width = width;
    context->height = height;
    context->pix_fmt = AV_PIX_FMT_YUV422P10;
    context->codec_tag = MKTAG('U', 'Y', 'V', 'Y');
    context->bits_per_coded_sample = 20;
    context->thread_count = 1;
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();
    auto packed10 = random_frame(packed10_bytes(width, height) + AV_INPUT_BUFFER_PADDING_SIZE);
    if (avcodec_open2(context, codec, nullptr) < 0) state.SkipWithError("bitpacked decoder did not open");
    for (auto _ : state) {
        packet->data = packed10.data();
        packet->size = static_cast<int>(packed10_bytes(width, height));
        if (avcodec_send_packet(context, packet) < 0 || avcodec_receive_frame(context, frame) < 0) {
            state.SkipWithError("bitpacked decoder failed");
            break;
        }
        av_frame_unref(frame);
    }
    // 4:2:2 planar 10-bit: two bytes per sample, two samples per pixel.
    count_bytes(state, packed10_bytes(width, height), 4 * static_cast<std::size_t>(width) * height);
    av_packet_free(&packet);
    av_frame_free(&frame);
    avcodec_free_context(&context);
}
BENCHMARK(BM_ffmpeg_bitpacked_decode)->Apply(frame_sizes);
#endif

}  // namespace
