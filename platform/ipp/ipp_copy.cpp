// The four interleaved-to-planar copies: argument checks, rows, and the
// choice of row kernel.
#include "ippi_copy.h"

#include "frame/dispatch.h"
#include "platform/ipp/ipp_copy_kernels.h"

namespace cconvert::detail {

namespace {

template <int Channels, class Sample>
IppStatus split_region(const Sample* source, int source_step, Sample* const* planes, int plane_step, IppiSize roi) {
    constexpr int SampleBytes = sizeof(Sample);
    if (!source || !planes) return ippStsNullPtrErr;
    for (int c = 0; c < Channels; ++c)
        if (!planes[c]) return ippStsNullPtrErr;
    if (roi.width < 1 || roi.height < 1) return ippStsSizeErr;

    const SplitRow chosen = choose_kernel<SplitRow>(split_portable<Channels, SampleBytes>,
                                                    split_sse<Channels, SampleBytes>,
                                                    split_avx2<Channels, SampleBytes>);
    const auto pixels = static_cast<std::size_t>(roi.width);
    const std::size_t sample_bytes = SampleBytes * pixels, pixel_bytes = Channels * sample_bytes;
    for (long y = 0; y < roi.height; ++y) {
        const unsigned char* from = reinterpret_cast<const unsigned char*>(source) + y * source_step;
        unsigned char* to[Channels];
        bool overlaps = false;
        for (int c = 0; c < Channels; ++c) {
            to[c] = reinterpret_cast<unsigned char*>(planes[c]) + y * plane_step;
            overlaps = overlaps || ranges_overlap(to[c], sample_bytes, from, pixel_bytes);
        }
        (overlaps ? split_portable<Channels, SampleBytes> : chosen)(to, from, pixels);
    }
    return ippStsNoErr;
}

}  // namespace
}  // namespace cconvert::detail

using cconvert::detail::split_region;

IppStatus ippiCopy_8u_C4P4R(const Ipp8u* pSrc, int srcStep, Ipp8u* const pDst[4], int dstStep, IppiSize roiSize) {
    return split_region<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_8u_C3P3R(const Ipp8u* pSrc, int srcStep, Ipp8u* const pDst[3], int dstStep, IppiSize roiSize) {
    return split_region<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_16u_C4P4R(const Ipp16u* pSrc, int srcStep, Ipp16u* const pDst[4], int dstStep, IppiSize roiSize) {
    return split_region<4>(pSrc, srcStep, pDst, dstStep, roiSize);
}

IppStatus ippiCopy_16u_C3P3R(const Ipp16u* pSrc, int srcStep, Ipp16u* const pDst[3], int dstStep, IppiSize roiSize) {
    return split_region<3>(pSrc, srcStep, pDst, dstStep, roiSize);
}
