// Planar and semi-planar peers: libyuv's nearest equivalents of our packed
// 4:2:2 to 4:2:0 and semi-planar converters (registered in the kernel registry).
#include <cstdint>

#include "bench_support.h"

#ifdef CCNVT_BENCH_LIBYUV
#include <libyuv.h>
#endif

namespace {

using namespace cconvert::bench;

std::size_t packed422_bytes(std::size_t w, std::size_t h) { return 2 * w * h; }
std::size_t planar420_bytes(std::size_t w, std::size_t h) { return w * h * 3 / 2; }

#define FRAME_SIZE                                                                   \
    const auto width = static_cast<unsigned>(state.range(0)),                        \
               height = static_cast<unsigned>(state.range(1))

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
