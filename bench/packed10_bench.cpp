// packed10 peer: FFmpeg's bitpacked decoder (packed10 to planar 10-bit),
// beside our packed10 drivers, wrappers and ST 2110-20 converters (registered
// in the kernel registry).
#include <cstdint>
#include <vector>

#include "bench_support.h"

#ifdef CCNVT_BENCH_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}
#endif

namespace {

using namespace cconvert::bench;

std::size_t packed10_bytes(std::size_t width, std::size_t height) { return width * 5 / 2 * height; }
int arg(const benchmark::State& state, int index) { return static_cast<int>(state.range(index)); }

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
