// YCbCr 4:2:2 core: RGB encoders, the table decoders at reduction factors 1,
// 2 and 4, the yuv2 repacker, and libycbcr's full-size converters per kernel
// class, beside libyuv's nearest equivalents and a memcpy of the same bytes.
#include <cstddef>
#include <vector>

#include "bench_support.h"
#include "cconvert/ycbcr422.h"
#include "ycbcr.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv/convert_argb.h>
#include <libyuv/convert_from_argb.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t pixels_of(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0)) * static_cast<std::size_t>(state.range(1));
}
int width_of(const benchmark::State& state) { return static_cast<int>(state.range(0)); }
int height_of(const benchmark::State& state) { return static_cast<int>(state.range(1)); }
long v210_pitch(long width) { return 128 * ((width + 47) / 48); }

// ---- RGB to 4:2:2 ----

void BM_rgb32_to_2vuy(benchmark::State& state) {
    auto bgra = random_frame(4 * pixels_of(state) + 8);
    std::vector<unsigned char> uyvy(2 * pixels_of(state) + 4);
    for (auto _ : state) {
        ccnvt_rgb32_2vuy(uyvy.data(), 0, bgra.data(), 0, width_of(state), height_of(state));
        benchmark::ClobberMemory();
    }
    count_bytes(state, 4 * pixels_of(state), 2 * pixels_of(state));
}
BENCHMARK(BM_rgb32_to_2vuy)->Apply(frame_sizes);

void BM_hd_rgb_to_2vuy(benchmark::State& state) {
    auto argb = random_frame(4 * pixels_of(state) + 8);
    std::vector<unsigned char> uyvy(2 * pixels_of(state) + 4);
    for (auto _ : state) {
        hd_rgb_to_2vuy(argb.data(), uyvy.data(), static_cast<int>(pixels_of(state)), 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 4 * pixels_of(state), 2 * pixels_of(state));
}
BENCHMARK(BM_hd_rgb_to_2vuy)->Apply(frame_sizes);

void BM_rgb32_to_v210(benchmark::State& state) {
    const long width = width_of(state), height = height_of(state);
    auto bgra = random_frame(4 * pixels_of(state) + 24);
    std::vector<unsigned char> v210(v210_pitch(width) * height);
    for (auto _ : state) {
        ccnvt_rgb32_v210(v210.data(), 0, bgra.data(), 0, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 4 * pixels_of(state), v210.size());
}
BENCHMARK(BM_rgb32_to_v210)->Apply(frame_sizes);

void BM_argb_to_v210(benchmark::State& state) {
    const int pixels = static_cast<int>(pixels_of(state));
    auto argb = random_frame(4 * pixels_of(state) + 24);
    std::vector<unsigned int> v210(4 * ((pixels + 5) / 6));
    for (auto _ : state) {
        argb_to_v210(argb.data(), v210.data(), pixels, 1);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 4 * pixels_of(state), 4 * v210.size());
}
BENCHMARK(BM_argb_to_v210)->Apply(frame_sizes);

// ---- 8-bit 4:2:2 variants ----

void BM_yuv2_to_2vuy(benchmark::State& state) {
    const KernelSelection kernel(state);
    auto yuv2 = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> uyvy(2 * pixels_of(state));
    for (auto _ : state) {
        ccnvt_yuv2_2vuy(uyvy.data(), yuv2.data(), width_of(state), height_of(state));
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state), 2 * pixels_of(state));
}
BENCHMARK(BM_yuv2_to_2vuy)->Apply(frame_sizes_and_kernels);

// ---- the table decoders: {width, height, factor} ----

void frame_sizes_and_factors(benchmark::internal::Benchmark* benchmark) {
    benchmark->ArgNames({"width", "height", "factor"});
    for (const auto& size : kFrameSizes)
        for (int factor : {1, 2, 4}) benchmark->Args({size[0], size[1], factor});
}

std::size_t reduced_bytes(const benchmark::State& state, int pixel_bytes) {
    const long factor = state.range(2);
    const long columns = factor == 1 ? state.range(0) : factor == 2 ? state.range(0) / 2 : state.range(0) / 4;
    return static_cast<std::size_t>(pixel_bytes * columns * (state.range(1) / factor));
}

void BM_table_2vuy_to_rgb32(benchmark::State& state) {
    const long width = width_of(state), height = height_of(state);
    const int factor = static_cast<int>(state.range(2));
    auto uyvy = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> bgra(4 * pixels_of(state));
    for (auto _ : state) {
        ccnvt_yuv422_rgb24(bgra.data(), 4 * width / factor, uyvy.data(), 2 * width, width, height, factor);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state) / factor, reduced_bytes(state, 4));
}
BENCHMARK(BM_table_2vuy_to_rgb32)->Apply(frame_sizes_and_factors);

void BM_table_v210_to_rgb32(benchmark::State& state) {
    const long width = width_of(state), height = height_of(state);
    const int factor = static_cast<int>(state.range(2));
    auto v210 = random_frame(v210_pitch(width) * height);
    std::vector<unsigned char> bgra(4 * pixels_of(state));
    for (auto _ : state) {
        ccnvt_v210_rgb24(bgra.data(), 4 * width / factor, v210.data(), v210_pitch(width), width, height, factor);
        benchmark::ClobberMemory();
    }
    count_bytes(state, v210.size() / factor, reduced_bytes(state, 4));
}
BENCHMARK(BM_table_v210_to_rgb32)->Apply(frame_sizes_and_factors);

// ---- libycbcr, full size, per kernel class ----

void BM_libycbcr_uyvy_to_rgb32(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = width_of(state), height = height_of(state);
    auto uyvy = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> bgra(4 * pixels_of(state));
    const cycbcr_matrix* matrix = GetMatrixBySize(width, height, 0);
    for (auto _ : state) {
        cycbcr_uyvy_to_rgb32(bgra.data(), uyvy.data(), width, height, 0, 0, matrix, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state), 4 * pixels_of(state));
}
BENCHMARK(BM_libycbcr_uyvy_to_rgb32)->Apply(frame_sizes_and_kernels);

void BM_libycbcr_uyvy_to_rgb24(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = width_of(state), height = height_of(state);
    auto uyvy = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> bgr(3 * pixels_of(state));
    const cycbcr_matrix* matrix = GetMatrixBySize(width, height, 0);
    for (auto _ : state) {
        cycbcr_uyvy_to_rgb24(bgr.data(), uyvy.data(), width, height, 0, 0, matrix, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state), 3 * pixels_of(state));
}
BENCHMARK(BM_libycbcr_uyvy_to_rgb24)->Apply(frame_sizes_and_kernels);

void BM_libycbcr_v210_to_rgb32(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = width_of(state), height = height_of(state);
    auto v210 = random_frame(v210_pitch(width) * height);
    std::vector<unsigned char> bgra(4 * pixels_of(state));
    const cycbcr_matrix* matrix = GetMatrixBySize(width, height, 0);
    for (auto _ : state) {
        cycbcr_012v_to_rgb32(bgra.data(), v210.data(), width, height, 0, 0, matrix, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, v210.size(), 4 * pixels_of(state));
}
BENCHMARK(BM_libycbcr_v210_to_rgb32)->Apply(frame_sizes_and_kernels);

void BM_libycbcr_i420_to_rgb32(benchmark::State& state) {
    const KernelSelection kernel(state);
    const int width = width_of(state), height = height_of(state);
    auto i420 = random_frame(pixels_of(state) * 3 / 2);
    std::vector<unsigned char> bgra(4 * pixels_of(state));
    const cycbcr_matrix* matrix = GetMatrixBySize(width, height, 0);
    for (auto _ : state) {
        cycbcr_i420_to_rgb32(bgra.data(), i420.data(), width, height, 0, 0, matrix, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, i420.size(), 4 * pixels_of(state));
}
BENCHMARK(BM_libycbcr_i420_to_rgb32)->Apply(frame_sizes_and_kernels);

// The wrapper a host calls for a full-size preview.
void BM_yuv422_8_rgb32_full_size(benchmark::State& state) {
    const long width = width_of(state), height = height_of(state);
    auto uyvy = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> bgra(4 * pixels_of(state));
    for (auto _ : state) {
        ccnvt_yuv422_8_rgb32(bgra.data(), 0, uyvy.data(), 0, width, height, 1);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state), 4 * pixels_of(state));
}
BENCHMARK(BM_yuv422_8_rgb32_full_size)->Apply(frame_sizes);

// ---- the bounds: copies of what each converter reads and writes ----

void BM_memcpy_2vuy_to_rgb32_bytes(benchmark::State& state) {
    copy_bound(state, 3 * pixels_of(state));  // 2 read + 4 written per pixel
}
BENCHMARK(BM_memcpy_2vuy_to_rgb32_bytes)->Apply(frame_sizes);

void BM_memcpy_rgb32_to_2vuy_bytes(benchmark::State& state) {
    copy_bound(state, 3 * pixels_of(state));  // 4 read + 2 written per pixel
}
BENCHMARK(BM_memcpy_rgb32_to_2vuy_bytes)->Apply(frame_sizes);

#ifdef CCNVT_BENCH_LIBYUV
void BM_libyuv_UYVYToARGB(benchmark::State& state) {
    const int width = width_of(state), height = height_of(state);
    auto uyvy = random_frame(2 * pixels_of(state));
    std::vector<unsigned char> argb(4 * pixels_of(state));
    for (auto _ : state) {
        libyuv::UYVYToARGB(uyvy.data(), 2 * width, argb.data(), 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 2 * pixels_of(state), 4 * pixels_of(state));
}
BENCHMARK(BM_libyuv_UYVYToARGB)->Apply(frame_sizes);

void BM_libyuv_I420ToARGB(benchmark::State& state) {
    const int width = width_of(state), height = height_of(state);
    auto i420 = random_frame(pixels_of(state) * 3 / 2);
    std::vector<unsigned char> argb(4 * pixels_of(state));
    const unsigned char* u = i420.data() + pixels_of(state);
    const unsigned char* v = u + pixels_of(state) / 4;
    for (auto _ : state) {
        libyuv::I420ToARGB(i420.data(), width, u, width / 2, v, width / 2, argb.data(), 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, i420.size(), 4 * pixels_of(state));
}
BENCHMARK(BM_libyuv_I420ToARGB)->Apply(frame_sizes);

void BM_libyuv_ARGBToUYVY(benchmark::State& state) {
    const int width = width_of(state), height = height_of(state);
    auto argb = random_frame(4 * pixels_of(state));
    std::vector<unsigned char> uyvy(2 * pixels_of(state));
    for (auto _ : state) {
        libyuv::ARGBToUYVY(argb.data(), 4 * width, uyvy.data(), 2 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, 4 * pixels_of(state), 2 * pixels_of(state));
}
BENCHMARK(BM_libyuv_ARGBToUYVY)->Apply(frame_sizes);
#endif

}  // namespace
