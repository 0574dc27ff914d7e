// SSE-class kernels of the 48- and 64-bit RGB converters: four pixels per
// block, two in each 16-byte load.
#include "rgb/deep_rgb_kernels.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {

// Each block's code goes into the row loop: the block state stays in registers.
#define CCNVT_BLOCK_INLINE __attribute__((always_inline))

CCNVT_TARGET_SSE
inline __m128i load_mask(const std::uint8_t* mask) { return _mm_load_si128(reinterpret_cast<const __m128i*>(mask)); }

// Exchanges the two bytes of every word.
CCNVT_TARGET_SSE
inline __m128i swap_word_bytes(__m128i words) {
    return _mm_shuffle_epi8(words, _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14));
}

// The first three slots of each of the two pixels, in the low 12 bytes.
CCNVT_TARGET_SSE
inline __m128i three_words(__m128i slots) {
    return _mm_shuffle_epi8(slots, _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
}

template <DeepShape In, DeepShape Out>
class SseBlock {
    static constexpr DeepOp kOp = op_of(In, Out);

public:
    CCNVT_TARGET_SSE CCNVT_BLOCK_INLINE
    SseBlock(const DeepPattern& pattern, const DeepShuffles& shuffles) {
        if constexpr (kOp == DeepOp::reduce) {
            first_ = load_mask(shuffles.first_to_low);
            second_ = load_mask(shuffles.second_to_high);
        } else {
            first_ = load_mask(shuffles.gather_first);
            second_ = load_mask(shuffles.gather_second);
        }
        shift_ = _mm_cvtsi32_si128(shuffles.shift);
        shifts_ = shuffles.shift != 0;
        const auto f = [&](int k) { return static_cast<short>(pattern.fill[k]); };
        fill_ = _mm_setr_epi16(f(0), f(1), f(2), f(3), f(0), f(1), f(2), f(3));
        fills_ = pattern.fill[0] | pattern.fill[1] | pattern.fill[2] | pattern.fill[3];
        swaps_ = pattern.big_endian_source;
    }

    // Four pixels: all loads before any store.
    CCNVT_TARGET_SSE CCNVT_BLOCK_INLINE
    void operator()(unsigned char* out, const unsigned char* in) const {
        __m128i low = load(in), high = load(in + second_pair_load(In));
        if constexpr (kOp == DeepOp::reduce) {
            if (swaps_) {
                low = swap_word_bytes(low);
                high = swap_word_bytes(high);
            }
            if (shifts_) {
                low = _mm_srl_epi16(low, shift_);
                high = _mm_srl_epi16(high, shift_);
            }
            const __m128i bytes = _mm_or_si128(_mm_shuffle_epi8(low, first_), _mm_shuffle_epi8(high, second_));
            if constexpr (Out == DeepShape::bytes4)
                store(out, bytes);
            else
                store12(out, _mm_shuffle_epi8(bytes, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1)));
        } else {
            low = _mm_shuffle_epi8(low, first_);
            high = _mm_shuffle_epi8(high, second_);
            if (kOp == DeepOp::widen && shifts_) {
                low = _mm_sll_epi16(low, shift_);
                high = _mm_sll_epi16(high, shift_);
            } else if (kOp == DeepOp::move && fills_) {
                low = _mm_or_si128(low, fill_);
                high = _mm_or_si128(high, fill_);
            }
            store_words(out, low, high);
        }
    }

private:
    CCNVT_TARGET_SSE CCNVT_BLOCK_INLINE
    static void store_words(unsigned char* out, __m128i low, __m128i high) {
        if constexpr (Out == DeepShape::words4) {
            store(out, low);
            store(out + 16, high);
        } else {
            const __m128i a = three_words(low), b = three_words(high);
            store(out, _mm_or_si128(a, _mm_slli_si128(b, 12)));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm_srli_si128(b, 4));
        }
    }

    __m128i first_, second_, shift_, fill_;
    bool shifts_, fills_, swaps_;
};

}  // namespace

template <DeepShape In, DeepShape Out>
CCNVT_TARGET_SSE void deep_row_sse(unsigned char* destination, const unsigned char* source,
                                   std::size_t pixels, const DeepPattern& pattern, const DeepShuffles& shuffles) {
    const SseBlock<In, Out> block(pattern, shuffles);
    constexpr std::size_t in_bytes = bytes_of(In), out_bytes = bytes_of(Out);
    if constexpr (vector_walks_back_to_front<In, Out>()) {
        if (ranges_overlap(destination, out_bytes * pixels, source, in_bytes * pixels)) {
            std::size_t x = pixels;
            for (; x >= 4; x -= 4) block(destination + out_bytes * (x - 4), source + in_bytes * (x - 4));
            deep_pixels_back_to_front<In, Out>(destination, source, 0, x, pattern);
            return;
        }
    }
    std::size_t x = 0;
    for (; x + 4 <= pixels; x += 4) block(destination + out_bytes * x, source + in_bytes * x);
    deep_pixels_front_to_back<In, Out>(destination, source, x, pixels, pattern);
}

#undef CCNVT_BLOCK_INLINE

#define CCNVT_INSTANTIATE(in, out)                                                              \
    template void deep_row_sse<DeepShape::in, DeepShape::out>(unsigned char*, const unsigned char*, \
                                                              std::size_t, const DeepPattern&, const DeepShuffles&);
CCNVT_DEEP_SHAPE_PAIRS(CCNVT_INSTANTIATE)
#undef CCNVT_INSTANTIATE

}  // namespace cconvert::detail
