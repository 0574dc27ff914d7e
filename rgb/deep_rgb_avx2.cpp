// AVX2 kernels of the 48- and 64-bit RGB converters: eight pixels per block,
// four in each 32-byte vector (pixels 0 and 1 in the low lane, 2 and 3 in the
// high lane).
#include "rgb/deep_rgb_kernels.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {

// Each block's code goes into the row loop: the block state stays in registers.
#define CCNVT_BLOCK_INLINE __attribute__((always_inline))

CCNVT_TARGET_AVX2
inline __m256i load_masks(const std::uint8_t* low_lane, const std::uint8_t* high_lane) {
    return _mm256_setr_m128i(_mm_load_si128(reinterpret_cast<const __m128i*>(low_lane)),
                             _mm_load_si128(reinterpret_cast<const __m128i*>(high_lane)));
}

CCNVT_TARGET_AVX2
inline __m256i swap_word_bytes(__m256i words) {
    const __m128i swap = _mm_setr_epi8(1, 0, 3, 2, 5, 4, 7, 6, 9, 8, 11, 10, 13, 12, 15, 14);
    return _mm256_shuffle_epi8(words, _mm256_broadcastsi128_si256(swap));
}

// The dwords of v in the order given.
CCNVT_TARGET_AVX2
inline __m256i dwords(__m256i v, int d0, int d1, int d2, int d3, int d4, int d5, int d6, int d7) {
    return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(d0, d1, d2, d3, d4, d5, d6, d7));
}

// 24 bytes held in dwords 0 1 2 4 5 6.
CCNVT_TARGET_AVX2
inline void store24(unsigned char* out, __m256i value) {
    const __m256i packed = _mm256_permutevar8x32_epi32(value, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    store(out, _mm256_castsi256_si128(packed));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(packed, 1));
}

template <DeepShape In, DeepShape Out>
class Avx2Block {
    static constexpr DeepOp kOp = op_of(In, Out);

public:
    CCNVT_TARGET_AVX2 CCNVT_BLOCK_INLINE
    Avx2Block(const DeepPattern& pattern, const DeepShuffles& shuffles) {
        if constexpr (kOp == DeepOp::reduce) {
            first_ = load_masks(shuffles.first_to_low, shuffles.second_to_low);
            second_ = load_masks(shuffles.first_to_high, shuffles.second_to_high);
        } else {
            first_ = second_ = load_masks(shuffles.gather_first, shuffles.gather_second);
        }
        shift_ = _mm_cvtsi32_si128(shuffles.shift);
        shifts_ = shuffles.shift != 0;
        const auto f = [&](int k) { return static_cast<short>(pattern.fill[k]); };
        fill_ = _mm256_setr_epi16(f(0), f(1), f(2), f(3), f(0), f(1), f(2), f(3), f(0), f(1), f(2), f(3),
                                  f(0), f(1), f(2), f(3));
        fills_ = pattern.fill[0] | pattern.fill[1] | pattern.fill[2] | pattern.fill[3];
        swaps_ = pattern.big_endian_source;
    }

    // Eight pixels: all loads before any store.
    CCNVT_TARGET_AVX2 CCNVT_BLOCK_INLINE
    void operator()(unsigned char* out, const unsigned char* in) const {
        __m256i low = four_pixels(in), high = four_pixels(in + 4 * bytes_of(In));
        if constexpr (kOp == DeepOp::reduce) {
            if (swaps_) {
                low = swap_word_bytes(low);
                high = swap_word_bytes(high);
            }
            if (shifts_) {
                low = _mm256_srl_epi16(low, shift_);
                high = _mm256_srl_epi16(high, shift_);
            }
            // Pixels 0 1 4 5 in the low lane, 2 3 6 7 in the high one, then in order.
            const __m256i mixed = _mm256_or_si256(_mm256_shuffle_epi8(low, first_), _mm256_shuffle_epi8(high, second_));
            const __m256i bytes = _mm256_permute4x64_epi64(mixed, 0xD8);
            if constexpr (Out == DeepShape::bytes4) {
                store256(out, bytes);
            } else {
                const __m128i keep_three = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
                store24(out, _mm256_shuffle_epi8(bytes, _mm256_broadcastsi128_si256(keep_three)));
            }
        } else {
            words(low, high);
            store_words(out, low, high);
        }
    }

    // Sixteen pixels to 16-bit words, three a pixel: all loads before any
    // store, and three whole 32-byte stores instead of eight pieces.
    CCNVT_TARGET_AVX2 CCNVT_BLOCK_INLINE
    void sixteen_to_three_words(unsigned char* out, const unsigned char* in) const {
        static_assert(kOp != DeepOp::reduce && Out == DeepShape::words3);
        __m256i a = four_pixels(in), b = four_pixels(in + 4 * bytes_of(In));
        __m256i c = four_pixels(in + 8 * bytes_of(In)), d = four_pixels(in + 12 * bytes_of(In));
        words(a, b);
        words(c, d);
        // Each vector: four pixels, 24 bytes in dwords 0 1 2 (pixels 0, 1) and 4 5 6 (2, 3).
        const __m128i three = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
        const __m256i three_words = _mm256_broadcastsi128_si256(three);
        a = _mm256_shuffle_epi8(a, three_words);
        b = _mm256_shuffle_epi8(b, three_words);
        c = _mm256_shuffle_epi8(c, three_words);
        d = _mm256_shuffle_epi8(d, three_words);
        store256(out, _mm256_blend_epi32(dwords(a, 0, 1, 2, 4, 5, 6, 0, 0), dwords(b, 0, 0, 0, 0, 0, 0, 0, 1), 0xC0));
        store256(out + 32,
                 _mm256_blend_epi32(dwords(b, 2, 4, 5, 6, 0, 0, 0, 0), dwords(c, 0, 0, 0, 0, 0, 1, 2, 4), 0xF0));
        store256(out + 64,
                 _mm256_blend_epi32(dwords(c, 5, 6, 0, 0, 0, 0, 0, 0), dwords(d, 0, 0, 0, 1, 2, 4, 5, 6), 0xFC));
    }

private:
    // Pixels 0 and 1 in the low lane, 2 and 3 in the high lane, as loaded.
    CCNVT_TARGET_AVX2 CCNVT_BLOCK_INLINE
    static __m256i four_pixels(const unsigned char* in) {
        if constexpr (In == DeepShape::words4)
            return load256(in);
        else if constexpr (In == DeepShape::bytes4)
            return _mm256_broadcastsi128_si256(load(in));
        else
            return _mm256_setr_m128i(load(in), load(in + second_pair_load(In)));
    }

    // Gathers the words of eight pixels (widening or moving) and shifts or
    // fills them.
    CCNVT_TARGET_AVX2 CCNVT_BLOCK_INLINE
    void words(__m256i& low, __m256i& high) const {
        low = _mm256_shuffle_epi8(low, first_);
        high = _mm256_shuffle_epi8(high, second_);
        if (kOp == DeepOp::widen && shifts_) {
            low = _mm256_sll_epi16(low, shift_);
            high = _mm256_sll_epi16(high, shift_);
        } else if (kOp == DeepOp::move && fills_) {
            low = _mm256_or_si256(low, fill_);
            high = _mm256_or_si256(high, fill_);
        }
    }

    CCNVT_TARGET_AVX2 CCNVT_BLOCK_INLINE
    static void store_words(unsigned char* out, __m256i low, __m256i high) {
        if constexpr (Out == DeepShape::words4) {
            store256(out, low);
            store256(out + 32, high);
        } else {
            const __m128i three = _mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
            const __m256i three_words = _mm256_broadcastsi128_si256(three);
            store24(out, _mm256_shuffle_epi8(low, three_words));
            store24(out + 24, _mm256_shuffle_epi8(high, three_words));
        }
    }

    __m256i first_, second_, fill_;
    __m128i shift_;
    bool shifts_, fills_, swaps_;
};

}  // namespace

template <DeepShape In, DeepShape Out>
CCNVT_TARGET_AVX2 void deep_row_avx2(unsigned char* destination, const unsigned char* source,
                                     std::size_t pixels, const DeepPattern& pattern, const DeepShuffles& shuffles) {
    const Avx2Block<In, Out> block(pattern, shuffles);
    constexpr std::size_t in_bytes = bytes_of(In), out_bytes = bytes_of(Out);
    if constexpr (vector_walks_back_to_front<In, Out>()) {
        if (ranges_overlap(destination, out_bytes * pixels, source, in_bytes * pixels)) {
            std::size_t x = pixels;
            for (; x >= 8; x -= 8) block(destination + out_bytes * (x - 8), source + in_bytes * (x - 8));
            deep_pixels_back_to_front<In, Out>(destination, source, 0, x, pattern);
            return;
        }
    }
    std::size_t x = 0;
    for (; x + 16 <= pixels; x += 16) {
        if constexpr (op_of(In, Out) != DeepOp::reduce && Out == DeepShape::words3) {
            block.sixteen_to_three_words(destination + out_bytes * x, source + in_bytes * x);
        } else {
            block(destination + out_bytes * x, source + in_bytes * x);
            block(destination + out_bytes * (x + 8), source + in_bytes * (x + 8));
        }
    }
    for (; x + 8 <= pixels; x += 8) block(destination + out_bytes * x, source + in_bytes * x);
    deep_pixels_front_to_back<In, Out>(destination, source, x, pixels, pattern);
}

#undef CCNVT_BLOCK_INLINE

#define CCNVT_INSTANTIATE(in, out)                                                               \
    template void deep_row_avx2<DeepShape::in, DeepShape::out>(unsigned char*, const unsigned char*, \
                                                               std::size_t, const DeepPattern&, const DeepShuffles&);
CCNVT_DEEP_SHAPE_PAIRS(CCNVT_INSTANTIATE)
#undef CCNVT_INSTANTIATE

}  // namespace cconvert::detail
