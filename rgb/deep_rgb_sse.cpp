// SSE-class kernels of the 48- and 64-bit RGB converters: four pixels per
// block, two in each vector of slots.
#include "rgb/deep_rgb_kernels.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {

template <DeepShape In, DeepShape Out>
class SseBlock {
public:
    CCNVT_TARGET_SSE
    explicit SseBlock(const DeepPattern& pattern) {
        const SlotGather<In> gather(pattern);
        first_ = _mm_load_si128(reinterpret_cast<const __m128i*>(gather.first));
        second_ = _mm_load_si128(reinterpret_cast<const __m128i*>(gather.second));
        right_ = _mm_cvtsi32_si128(pattern.right);
        left_ = _mm_cvtsi32_si128(pattern.left);
        const auto f = [&](int k) { return static_cast<short>(pattern.fill[k]); };
        fill_ = _mm_setr_epi16(f(0), f(1), f(2), f(3), f(0), f(1), f(2), f(3));
    }

    // Four pixels: all loads before any store.
    CCNVT_TARGET_SSE
    void operator()(unsigned char* out, const unsigned char* in) const {
        const __m128i low = slots(_mm_shuffle_epi8(load(in), first_));
        const __m128i high = slots(_mm_shuffle_epi8(load(in + second_pair_load<In>()), second_));
        store_pixels(out, low, high);
    }

private:
    CCNVT_TARGET_SSE
    __m128i slots(__m128i gathered) const {
        return _mm_or_si128(_mm_sll_epi16(_mm_srl_epi16(gathered, right_), left_), fill_);
    }

    CCNVT_TARGET_SSE
    static __m128i low_bytes(__m128i low, __m128i high) {
        const __m128i byte = _mm_set1_epi16(0xFF);
        return _mm_packus_epi16(_mm_and_si128(low, byte), _mm_and_si128(high, byte));
    }

    // The first three slots of each of the two pixels, in the low 12 bytes.
    CCNVT_TARGET_SSE
    static __m128i three_words(__m128i slots) {
        return _mm_shuffle_epi8(slots, _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
    }

    CCNVT_TARGET_SSE
    static void store_pixels(unsigned char* out, __m128i low, __m128i high) {
        if constexpr (Out == DeepShape::words4) {
            store(out, low);
            store(out + 16, high);
        } else if constexpr (Out == DeepShape::words3) {
            const __m128i a = three_words(low), b = three_words(high);
            store(out, _mm_or_si128(a, _mm_slli_si128(b, 12)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm_srli_si128(b, 4));
        } else if constexpr (Out == DeepShape::bytes4) {
            store(out, low_bytes(low, high));
        } else {
            const __m128i keep_three = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
            store12(out, _mm_shuffle_epi8(low_bytes(low, high), keep_three));
        }
    }

    __m128i first_, second_, right_, left_, fill_;
};

}  // namespace

template <DeepShape In, DeepShape Out>
CCNVT_TARGET_SSE void deep_row_sse(unsigned char* destination, const unsigned char* source,
                                   std::size_t pixels, const DeepPattern& pattern) {
    const SseBlock<In, Out> block(pattern);
    constexpr std::size_t in_bytes = bytes_of(In), out_bytes = bytes_of(Out);
    if constexpr (vector_walks_back_to_front<In, Out>()) {
        std::size_t x = pixels;
        for (; x >= 4; x -= 4) block(destination + out_bytes * (x - 4), source + in_bytes * (x - 4));
        deep_pixels_back_to_front<In, Out>(destination, source, 0, x, pattern);
    } else {
        std::size_t x = 0;
        for (; x + 4 <= pixels; x += 4) block(destination + out_bytes * x, source + in_bytes * x);
        deep_pixels_front_to_back<In, Out>(destination, source, x, pixels, pattern);
    }
}

#define CCNVT_INSTANTIATE(in, out)                                                              \
    template void deep_row_sse<DeepShape::in, DeepShape::out>(unsigned char*, const unsigned char*, \
                                                              std::size_t, const DeepPattern&);
CCNVT_DEEP_SHAPE_PAIRS(CCNVT_INSTANTIATE)
#undef CCNVT_INSTANTIATE

}  // namespace cconvert::detail
