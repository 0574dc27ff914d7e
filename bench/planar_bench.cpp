// Packed 4:2:2 to planar 4:2:0, semi-planar and 16-bit-container YCbCr,
// beside libyuv's nearest equivalents and a memcpy of the same bytes.
#include <cstdint>

#include "bench_support.h"
#include "cconvert/planar.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t packed422_bytes(std::size_t w, std::size_t h) { return 2 * w * h; }
std::size_t planar420_bytes(std::size_t w, std::size_t h) { return w * h * 3 / 2; }
std::size_t v210_bytes(std::size_t w, std::size_t h) { return (w + 47) / 48 * 128 * h; }

#define FRAME_SIZE                                                                   \
    const auto width = static_cast<unsigned>(state.range(0)),                        \
               height = static_cast<unsigned>(state.range(1))

void BM_2vuy_to_i420(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(packed422_bytes(width, height));
    std::vector<unsigned char> planes(planar420_bytes(width, height));
    for (auto _ : state) {
        ccnvt_2vuy_i420(planes.data(), source.data(), width, height, 0);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), planes.size());
}
BENCHMARK(BM_2vuy_to_i420)->Apply(frame_sizes_and_kernels);

void BM_YUY2toYV12(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(packed422_bytes(width, height));
    std::vector<unsigned char> y(width * height), u(width * height / 4), v(width * height / 4);
    for (auto _ : state) {
        YUY2toYV12(source.data(), y.data(), u.data(), v.data(), width, height, width, width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), planar420_bytes(width, height));
}
BENCHMARK(BM_YUY2toYV12)->Apply(frame_sizes_and_kernels);

void BM_NV12_to_uyvy(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(planar420_bytes(width, height));
    std::vector<unsigned char> uyvy(packed422_bytes(width, height));
    for (auto _ : state) {
        cycbcr_NV12_to_uyvy(uyvy.data(), source.data(), width, height, 2 * width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), uyvy.size());
}
BENCHMARK(BM_NV12_to_uyvy)->Apply(frame_sizes_and_kernels);

void BM_NV12_to_v210(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(planar420_bytes(width, height));
    std::vector<unsigned char> v210(v210_bytes(width, height));
    for (auto _ : state) {
        cycbcr_NV12_to_v210(v210.data(), source.data(), width, height, static_cast<unsigned>(v210.size() / height));
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), width / 6 * 16 * height);
}
BENCHMARK(BM_NV12_to_v210)->Apply(frame_sizes_and_kernels);

void BM_NV10_to_uyvy(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(2 * planar420_bytes(width, height));
    std::vector<unsigned char> uyvy(packed422_bytes(width, height));
    for (auto _ : state) {
        cycbcr_NV10_to_uyvy(uyvy.data(), reinterpret_cast<const unsigned short*>(source.data()), width,
                            height, 2 * width);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), uyvy.size());
}
BENCHMARK(BM_NV10_to_uyvy)->Apply(frame_sizes_and_kernels);

void BM_420p10_to_NV12p16(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(2 * planar420_bytes(width, height));
    std::vector<unsigned char> destination(source.size());
    for (auto _ : state) {
        cycbcr_420p10_to_NV12p16(reinterpret_cast<unsigned short*>(destination.data()),
                                 reinterpret_cast<const unsigned short*>(source.data()), width * height * 3);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), destination.size());
}
BENCHMARK(BM_420p10_to_NV12p16)->Apply(frame_sizes_and_kernels);

void BM_Y210_to_v210(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(4 * std::size_t{width} * height);
    std::vector<unsigned char> v210(v210_bytes(width, height));
    const unsigned pitch = static_cast<unsigned>(v210.size() / height);
    for (auto _ : state) {
        ccnvt_Y210_to_v210(v210.data(), source.data(), pitch, 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), width / 6 * 16 * height);
}
BENCHMARK(BM_Y210_to_v210)->Apply(frame_sizes_and_kernels);

void BM_Y210_to_uyvy(benchmark::State& state) {
    const KernelSelection kernel(state);
    FRAME_SIZE;
    auto source = random_frame(4 * std::size_t{width} * height);
    std::vector<unsigned char> out(packed422_bytes(width, height));
    for (auto _ : state) {
        ccnvt_Y210_to_uyvy(out.data(), source.data(), 2 * width, 4 * width, width, height);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), out.size());
}
BENCHMARK(BM_Y210_to_uyvy)->Apply(frame_sizes_and_kernels);

void BM_memcpy_2vuy_frame_planar(benchmark::State& state) {
    copy_bound(state, packed422_bytes(state.range(0), state.range(1)));
}
BENCHMARK(BM_memcpy_2vuy_frame_planar)->Apply(frame_sizes);

#ifdef CCNVT_BENCH_LIBYUV
void BM_libyuv_UYVYToI420(benchmark::State& state) {
    FRAME_SIZE;
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    auto source = random_frame(packed422_bytes(width, height));
    std::vector<unsigned char> y(width * height), u(width * height / 4), v(width * height / 4);
    for (auto _ : state) {
        libyuv::UYVYToI420(source.data(), 2 * w, y.data(), w, u.data(), w / 2, v.data(), w / 2, w, h);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), planar420_bytes(width, height));
}
BENCHMARK(BM_libyuv_UYVYToI420)->Apply(frame_sizes);

void BM_libyuv_YUY2ToI420(benchmark::State& state) {
    FRAME_SIZE;
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    auto source = random_frame(packed422_bytes(width, height));
    std::vector<unsigned char> y(width * height), u(width * height / 4), v(width * height / 4);
    for (auto _ : state) {
        libyuv::YUY2ToI420(source.data(), 2 * w, y.data(), w, u.data(), w / 2, v.data(), w / 2, w, h);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), planar420_bytes(width, height));
}
BENCHMARK(BM_libyuv_YUY2ToI420)->Apply(frame_sizes);

// libyuv has no NV12 to UYVY: its nearest path goes through I420.
void BM_libyuv_NV12ToI420_I420ToUYVY(benchmark::State& state) {
    FRAME_SIZE;
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    auto source = random_frame(planar420_bytes(width, height));
    std::vector<unsigned char> y(width * height), u(width * height / 4), v(width * height / 4);
    std::vector<unsigned char> uyvy(packed422_bytes(width, height));
    for (auto _ : state) {
        libyuv::NV12ToI420(source.data(), w, source.data() + width * height, w, y.data(), w, u.data(),
                           w / 2, v.data(), w / 2, w, h);
        libyuv::I420ToUYVY(y.data(), w, u.data(), w / 2, v.data(), w / 2, uyvy.data(), 2 * w, w, h);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), uyvy.size());
}
BENCHMARK(BM_libyuv_NV12ToI420_I420ToUYVY)->Apply(frame_sizes);

void BM_libyuv_I010ToP010(benchmark::State& state) {
    FRAME_SIZE;
    const int w = static_cast<int>(width), h = static_cast<int>(height);
    auto source = random_frame(2 * planar420_bytes(width, height));
    std::vector<unsigned char> destination(source.size());
    const auto* s = reinterpret_cast<const uint16_t*>(source.data());
    auto* d = reinterpret_cast<uint16_t*>(destination.data());
    const std::size_t luma = std::size_t{width} * height;
    for (auto _ : state) {
        libyuv::I010ToP010(s, w, s + luma, w / 2, s + luma + luma / 4, w / 2, d, w, d + luma, w, w, h);
        benchmark::ClobberMemory();
    }
    count_bytes(state, source.size(), destination.size());
}
BENCHMARK(BM_libyuv_I010ToP010)->Apply(frame_sizes);
#endif

}  // namespace
