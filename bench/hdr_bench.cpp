// HDR: YCbCr to half-float RGBA (portable and F16C row code, chosen by the
// feature word) and the six ST 2084 converters, each beside a memcpy that
// moves as many bytes, and libyuv's table and half-float routines where
// installed.
#include <cstdint>
#include <vector>

#include "bench_support.h"
#include "cconvert/hdr.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t v210_row_bytes(std::size_t width) { return (width + 47) / 48 * 128; }
std::size_t rgba_half_bytes(std::size_t width, std::size_t height) { return 8 * width * height; }

// A memcpy moving the same number of bytes (read plus written) as a
// conversion that reads `read` and writes `written`.
void copy_as_many(benchmark::State& state, std::size_t read, std::size_t written) {
    copy_bound(state, (read + written) / 2);
}

// ---- half-float ----

template <class Convert>
void half_float_frame(benchmark::State& state, std::size_t source_row_bytes, Convert convert) {
    const KernelSelection kernel(state);
    const long width = state.range(0), height = state.range(1);
    const auto source = random_frame(source_row_bytes * height);
    std::vector<unsigned char> rgba(rgba_half_bytes(width, height));
    for (auto _ : state) {
        convert(rgba.data(), 8 * width, source.data(), static_cast<long>(source_row_bytes), width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), rgba.size());
}

void BM_yCbCr10_to_halffloat(benchmark::State& state) {
    half_float_frame(state, v210_row_bytes(state.range(0)),
                     [](void* d, long dp, const void* s, long sp, long w, long h) {
                         yCbCr10_to_halffloat(d, dp, s, sp, w, h, 1, 0);
                     });
}
BENCHMARK(BM_yCbCr10_to_halffloat)->Apply(frame_sizes_and_kernels);

void BM_yCbCr8_to_halffloat(benchmark::State& state) {
    half_float_frame(state, 2 * state.range(0), [](void* d, long dp, const void* s, long sp, long w, long h) {
        yCbCr8_to_halffloat(d, dp, s, sp, w, h, 1, 0);
    });
}
BENCHMARK(BM_yCbCr8_to_halffloat)->Apply(frame_sizes_and_kernels);

void BM_yCbCr10_to_halffloat_sdr_to_hdr_pq(benchmark::State& state) {
    half_float_frame(state, v210_row_bytes(state.range(0)),
                     [](void* d, long dp, const void* s, long sp, long w, long h) {
                         yCbCr10_to_halffloat_sdr_to_hdr(d, dp, s, sp, w, h, 0);
                     });
}
BENCHMARK(BM_yCbCr10_to_halffloat_sdr_to_hdr_pq)->Apply(frame_sizes_and_kernels);

void BM_yCbCr10_to_halffloat_sdr_to_hdr_hlg(benchmark::State& state) {
    half_float_frame(state, v210_row_bytes(state.range(0)),
                     [](void* d, long dp, const void* s, long sp, long w, long h) {
                         yCbCr10_to_halffloat_sdr_to_hdr(d, dp, s, sp, w, h, 1);
                     });
}
BENCHMARK(BM_yCbCr10_to_halffloat_sdr_to_hdr_hlg)->Apply(frame_sizes_and_kernels);

void BM_memcpy_as_v210_to_halffloat(benchmark::State& state) {
    const std::size_t width = state.range(0), height = state.range(1);
    copy_as_many(state, v210_row_bytes(width) * height, rgba_half_bytes(width, height));
}
BENCHMARK(BM_memcpy_as_v210_to_halffloat)->Apply(frame_sizes);

void BM_memcpy_as_2vuy_to_halffloat(benchmark::State& state) {
    const std::size_t width = state.range(0), height = state.range(1);
    copy_as_many(state, 2 * width * height, rgba_half_bytes(width, height));
}
BENCHMARK(BM_memcpy_as_2vuy_to_halffloat)->Apply(frame_sizes);

#ifdef CCNVT_BENCH_LIBYUV
// libyuv's nearest equivalent: 16-bit samples scaled to half floats, as
// many output values as an RGBA half-float frame.
void BM_libyuv_HalfFloatPlane(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    std::vector<std::uint16_t> source(4 * width * height), halves(4 * width * height);
    for (std::size_t i = 0; i < source.size(); ++i) source[i] = static_cast<std::uint16_t>(i * 7 & 0x3FF);
    for (auto _ : state) {
        libyuv::HalfFloatPlane(source.data(), 8 * width, halves.data(), 8 * width, 1.0f / 1023, 4 * width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * source.size(), 2 * halves.size());
}
BENCHMARK(BM_libyuv_HalfFloatPlane)->Apply(frame_sizes);
#endif

// ---- ST 2084 ----

using St2084Converter = int (*)(unsigned char*, const unsigned char*, unsigned int, unsigned int, unsigned int);

void st2084_frame(benchmark::State& state, St2084Converter convert, std::size_t row_bytes) {
    const auto height = static_cast<unsigned int>(state.range(1));
    const auto source = random_frame(row_bytes * height + 32);
    std::vector<unsigned char> destination(source.size());
    for (auto _ : state) {
        convert(destination.data(), source.data(), static_cast<unsigned>(row_bytes),
                static_cast<unsigned>(row_bytes), height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, row_bytes * height, row_bytes * height);
}

// RGB frames as 32-bit pixels, 4:2:2 as 2vuy, v210 with 128 bytes per 48
// pixels.
std::size_t rgba_row(const benchmark::State& state) { return 4 * state.range(0); }
std::size_t uyvy_row(const benchmark::State& state) { return 2 * state.range(0); }
std::size_t v210_row(const benchmark::State& state) { return v210_row_bytes(state.range(0)); }

void BM_ccnvt_rgb_to_st2084(benchmark::State& s) { st2084_frame(s, ccnvt_rgb_to_st2084, rgba_row(s)); }
void BM_ccnvt_st2084_to_rgb(benchmark::State& s) { st2084_frame(s, ccnvt_st2084_to_rgb, rgba_row(s)); }
void BM_ccnvt_yuv2_to_st2084(benchmark::State& s) { st2084_frame(s, ccnvt_yuv2_to_st2084, uyvy_row(s)); }
void BM_ccnvt_st2084_to_yuv2(benchmark::State& s) { st2084_frame(s, ccnvt_st2084_to_yuv2, uyvy_row(s)); }
void BM_ccnvt_v210_to_st2084(benchmark::State& s) { st2084_frame(s, ccnvt_v210_to_st2084, v210_row(s)); }
void BM_ccnvt_st2084_to_v210(benchmark::State& s) { st2084_frame(s, ccnvt_st2084_to_v210, v210_row(s)); }
BENCHMARK(BM_ccnvt_rgb_to_st2084)->Apply(frame_sizes);
BENCHMARK(BM_ccnvt_st2084_to_rgb)->Apply(frame_sizes);
BENCHMARK(BM_ccnvt_yuv2_to_st2084)->Apply(frame_sizes);
BENCHMARK(BM_ccnvt_st2084_to_yuv2)->Apply(frame_sizes);
BENCHMARK(BM_ccnvt_v210_to_st2084)->Apply(frame_sizes);
BENCHMARK(BM_ccnvt_st2084_to_v210)->Apply(frame_sizes);

void BM_memcpy_rgba_frame(benchmark::State& s) { copy_bound(s, rgba_row(s) * s.range(1)); }
void BM_memcpy_2vuy_frame_st2084(benchmark::State& s) { copy_bound(s, uyvy_row(s) * s.range(1)); }
void BM_memcpy_v210_frame_st2084(benchmark::State& s) { copy_bound(s, v210_row(s) * s.range(1)); }
BENCHMARK(BM_memcpy_rgba_frame)->Apply(frame_sizes);
BENCHMARK(BM_memcpy_2vuy_frame_st2084)->Apply(frame_sizes);
BENCHMARK(BM_memcpy_v210_frame_st2084)->Apply(frame_sizes);

#ifdef CCNVT_BENCH_LIBYUV
// libyuv: a 256-entry table per channel over 32-bit pixels, in place.
void BM_libyuv_ARGBColorTable(benchmark::State& state) {
    const int width = static_cast<int>(state.range(0)), height = static_cast<int>(state.range(1));
    auto frame = random_frame(4 * std::size_t(width) * height);
    std::vector<std::uint8_t> table(1024);
    for (int i = 0; i < 1024; ++i) table[i] = static_cast<std::uint8_t>(ardwRGB_to_SMPTE2048_8Bit[i / 4]);
    for (auto _ : state) {
        libyuv::ARGBColorTable(frame.data(), 4 * width, table.data(), 0, 0, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, frame.size(), frame.size());
}
BENCHMARK(BM_libyuv_ARGBColorTable)->Apply(frame_sizes);
#endif

}  // namespace
