// AVX2 kernels of the 48- and 64-bit RGB converters: eight pixels per block,
// four in each vector of slots (two per 128-bit lane).
#include "rgb/deep_rgb_kernels.h"
#include "rgb/permute_simd.h"

namespace cconvert::detail {

using namespace simd;

namespace {

template <DeepShape In, DeepShape Out>
class Avx2Block {
public:
    CCNVT_TARGET_AVX2
    explicit Avx2Block(const DeepPattern& pattern) {
        const SlotGather<In> gather(pattern);
        gather_ = _mm256_setr_m128i(_mm_load_si128(reinterpret_cast<const __m128i*>(gather.first)),
                                    _mm_load_si128(reinterpret_cast<const __m128i*>(gather.second)));
        right_ = _mm_cvtsi32_si128(pattern.right);
        left_ = _mm_cvtsi32_si128(pattern.left);
        const auto f = [&](int k) { return static_cast<short>(pattern.fill[k]); };
        fill_ = _mm256_setr_epi16(f(0), f(1), f(2), f(3), f(0), f(1), f(2), f(3), f(0), f(1), f(2), f(3),
                                  f(0), f(1), f(2), f(3));
    }

    // Eight pixels: all loads before any store.
    CCNVT_TARGET_AVX2
    void operator()(unsigned char* out, const unsigned char* in) const {
        const __m256i low = slots(four_pixels(in));
        const __m256i high = slots(four_pixels(in + 4 * bytes_of(In)));
        store_pixels(out, low, high);
    }

private:
    // Pixels 0 and 1 in the low lane, 2 and 3 in the high lane, as loaded.
    CCNVT_TARGET_AVX2
    __m256i four_pixels(const unsigned char* in) const {
        __m256i loaded;
        if constexpr (In == DeepShape::words4)
            loaded = load256(in);
        else if constexpr (In == DeepShape::bytes4)
            loaded = _mm256_broadcastsi128_si256(load(in));
        else
            loaded = _mm256_setr_m128i(load(in), load(in + second_pair_load<In>()));
        return _mm256_shuffle_epi8(loaded, gather_);
    }

    CCNVT_TARGET_AVX2
    __m256i slots(__m256i gathered) const {
        return _mm256_or_si256(_mm256_sll_epi16(_mm256_srl_epi16(gathered, right_), left_), fill_);
    }

    // The low byte of every slot of both vectors, in pixel order.
    CCNVT_TARGET_AVX2
    static __m256i low_bytes(__m256i low, __m256i high) {
        const __m256i byte = _mm256_set1_epi16(0xFF);
        const __m256i packed = _mm256_packus_epi16(_mm256_and_si256(low, byte), _mm256_and_si256(high, byte));
        return _mm256_permute4x64_epi64(packed, 0xD8);
    }

    // 24 bytes held in dwords 0 1 2 4 5 6.
    CCNVT_TARGET_AVX2
    static void store24(unsigned char* out, __m256i value) {
        const __m256i packed = _mm256_permutevar8x32_epi32(value, _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
        store(out, _mm256_castsi256_si128(packed));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(packed, 1));
    }

    CCNVT_TARGET_AVX2
    static void store_pixels(unsigned char* out, __m256i low, __m256i high) {
        if constexpr (Out == DeepShape::words4) {
            store256(out, low);
            store256(out + 32, high);
        } else if constexpr (Out == DeepShape::words3) {
            const __m256i three_words = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1,  //
                                                         0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1);
            store24(out, _mm256_shuffle_epi8(low, three_words));
            store24(out + 24, _mm256_shuffle_epi8(high, three_words));
        } else if constexpr (Out == DeepShape::bytes4) {
            store256(out, low_bytes(low, high));
        } else {
            const __m256i keep_three = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1,  //
                                                        0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
            store24(out, _mm256_shuffle_epi8(low_bytes(low, high), keep_three));
        }
    }

    __m256i gather_, fill_;
    __m128i right_, left_;
};

}  // namespace

template <DeepShape In, DeepShape Out>
CCNVT_TARGET_AVX2 void deep_row_avx2(unsigned char* destination, const unsigned char* source,
                                     std::size_t pixels, const DeepPattern& pattern) {
    const Avx2Block<In, Out> block(pattern);
    constexpr std::size_t in_bytes = bytes_of(In), out_bytes = bytes_of(Out);
    if constexpr (vector_walks_back_to_front<In, Out>()) {
        std::size_t x = pixels;
        for (; x >= 8; x -= 8) block(destination + out_bytes * (x - 8), source + in_bytes * (x - 8));
        deep_pixels_back_to_front<In, Out>(destination, source, 0, x, pattern);
    } else {
        std::size_t x = 0;
        for (; x + 8 <= pixels; x += 8) block(destination + out_bytes * x, source + in_bytes * x);
        deep_pixels_front_to_back<In, Out>(destination, source, x, pixels, pattern);
    }
}

#define CCNVT_INSTANTIATE(in, out)                                                               \
    template void deep_row_avx2<DeepShape::in, DeepShape::out>(unsigned char*, const unsigned char*, \
                                                               std::size_t, const DeepPattern&);
CCNVT_DEEP_SHAPE_PAIRS(CCNVT_INSTANTIATE)
#undef CCNVT_INSTANTIATE

}  // namespace cconvert::detail
