// 2vuy <-> v210 peers: FFmpeg's v210 decoder and encoder (to and from planar
// 10-bit), beside our repackers (registered in the kernel registry).
#include <cstring>

#include "bench_support.h"

#ifdef CCNVT_BENCH_FFMPEG
extern "C" {
#include <libavcodec/avcodec.h>
#include <libavutil/frame.h>
}
#endif

namespace {

using namespace cconvert::bench;

std::size_t v210_bytes(std::size_t width, std::size_t height) { return (16 * width / 6 + 63) / 64 * 64 * height; }

#ifdef CCNVT_BENCH_FFMPEG
// FFmpeg: v210 packets decoded to, and encoded from, planar 4:2:2 10-bit.
struct Codec {
    AVCodecContext* context = nullptr;
    AVFrame* frame = av_frame_alloc();
    AVPacket* packet = av_packet_alloc();

    Codec(AVCodecID id, bool encoder, int width, int height) {
        const AVCodec* codec = encoder ? avcodec_find_encoder(id) : avcodec_find_decoder(id);
        context = avcodec_alloc_context3(codec);
        context->width = width;
        context->height = height;
        context->pix_fmt = AV_PIX_FMT_YUV422P10LE;
        context->time_base = {1, 25};
        context->thread_count = 1;
        avcodec_open2(context, codec, nullptr);
    }
    ~Codec() {
        av_packet_free(&packet);
        av_frame_free(&frame);
        avcodec_free_context(&context);
    }
};

std::size_t planar10_bytes(std::size_t width, std::size_t height) { return 4 * width * height; }

void BM_ffmpeg_v210_decode(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    Codec decoder(AV_CODEC_ID_V210, false, width, height);
    auto v210 = random_frame(v210_bytes(width, height) + AV_INPUT_BUFFER_PADDING_SIZE);
    for (auto _ : state) {
        decoder.packet->data = v210.data();
        decoder.packet->size = static_cast<int>(v210_bytes(width, height));
        avcodec_send_packet(decoder.context, decoder.packet);
        avcodec_receive_frame(decoder.context, decoder.frame);
        av_frame_unref(decoder.frame);
    }
    count_bytes(state, v210_bytes(width, height), planar10_bytes(width, height));
}
BENCHMARK(BM_ffmpeg_v210_decode)->Apply(frame_sizes);

void BM_ffmpeg_v210_encode(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    Codec encoder(AV_CODEC_ID_V210, true, width, height);
    encoder.frame->width = width;
    encoder.frame->height = height;
    encoder.frame->format = AV_PIX_FMT_YUV422P10LE;
    av_frame_get_buffer(encoder.frame, 64);
    for (int plane = 0; plane < 3; ++plane) {
        const int rows = height, bytes = encoder.frame->linesize[plane];
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < bytes / 2; ++x)
                reinterpret_cast<uint16_t*>(encoder.frame->data[plane] + y * bytes)[x] =
                    static_cast<uint16_t>((x * 7 + y) & 0x3FF);
    }
    for (auto _ : state) {
        avcodec_send_frame(encoder.context, encoder.frame);
        avcodec_receive_packet(encoder.context, encoder.packet);
        av_packet_unref(encoder.packet);
    }
    count_bytes(state, planar10_bytes(width, height), v210_bytes(width, height));
}
BENCHMARK(BM_ffmpeg_v210_encode)->Apply(frame_sizes);
#endif

}  // namespace
