// RGB to 4:2:2 encoding, shared by the portable code and the AVX2 kernel of
// the 2vuy encoders.
//
// Every pixel is converted in double precision with one of four fixed
// coefficient sets: Y = ((wR * R + wG * G) + wB * B) * scale + offset (+ the
// routine's rounding), and Cb, Cr likewise with the chroma offset. The chroma
// of each pixel pair is filtered [1 2 1] / 4: ((previous pair's second pixel
// + 2 * first pixel) + second pixel) * 0.25, the previous values running on
// across pairs, groups and rows from a start value. Results are truncated
// toward zero. Every operation happens in this order, each rounding on its
// own (these files are built without contraction into fused multiply-adds):
// hosts depend on the exact bytes.
#ifndef CCONVERT_YCBCR422_RGB_TO_YUV422_KERNELS_H
#define CCONVERT_YCBCR422_RGB_TO_YUV422_KERNELS_H

#include <cstddef>

namespace cconvert::detail {

struct CoefficientSet {
    double luma[3];  // weights of R, G, B
    double luma_offset;
    double cb[3];
    double cr[3];
    double chroma_offset;
    double scale;  // applied to the weighted sum before the offset; a power of two
};

// Where R, G and B sit in a source pixel.
struct PixelLayout {
    std::size_t bytes, r, g, b;
};

// How pairs are encoded: the set; what is added to each pixel's Y, Cb and
// Cr before filtering (rounding); and, for the samples kernels, the factor
// applied to Y and the amount added to the filtered Cb and Cr before
// truncation.
struct PairEncoding {
    const PixelLayout* layout;
    const CoefficientSet* set;
    double rounding;
    double luma_gain;
    double chroma_rounding;
};

// The chroma filter's running values: the previous pair's second pixel.
struct ChromaHistory {
    double cb, cr;
};

// The running chroma after pixel: its own Cb and Cr (with the rounding).
ChromaHistory chroma_of(const unsigned char* pixel, const PairEncoding& encoding);

// Samples a pair encodes to in a v210 stream.
constexpr long kSamplesPerPair = 4;

// Encodes pairs pairs of 4-byte pixels to 2vuy words, carrying the history.
using EncodePairs = void (*)(const unsigned char* source, unsigned char* destination, long pairs,
                             const PairEncoding& encoding, ChromaHistory& history);

void encode_pairs_portable(const unsigned char* source, unsigned char* destination, long pairs,
                           const PairEncoding& encoding, ChromaHistory& history);
// Same bytes as the portable kernel, eight pairs a step. Pixels must be 4 bytes.
void encode_pairs_avx2(const unsigned char* source, unsigned char* destination, long pairs,
                       const PairEncoding& encoding, ChromaHistory& history);

// Encodes pairs pairs to four truncated samples each, in stream order
// Cb Y0 Cr Y1 (trunc(filtered Cb + chroma_rounding), trunc(Y0 * luma_gain),
// ...), for the v210 encoders to pack.
using EncodeSamples = void (*)(const unsigned char* source, int* samples, long pairs,
                               const PairEncoding& encoding, ChromaHistory& history);

void encode_samples_portable(const unsigned char* source, int* samples, long pairs,
                             const PairEncoding& encoding, ChromaHistory& history);
// Same bytes as the portable kernel, eight pairs a step. Pixels must be 4 bytes.
void encode_samples_avx2(const unsigned char* source, int* samples, long pairs,
                         const PairEncoding& encoding, ChromaHistory& history);

// Packs groups v210 groups from their samples in stream order, three to a
// word, each ORed in without a mask.
using PackV210 = void (*)(const int* samples, unsigned char* destination, long groups);

void pack_v210_portable(const int* samples, unsigned char* destination, long groups);
// Same bytes, two groups a step.
void pack_v210_avx2(const int* samples, unsigned char* destination, long groups);

}  // namespace cconvert::detail

#endif
