/* Our build of the four interleaved-to-planar copies of the Intel IPP image
 * library (ippi) that libcconvert calls, with that library's signatures and
 * status values. It is linked into libcconvert with hidden visibility: these
 * names are not part of the library's interface.
 *
 * Each copies a region of roiSize.width x roiSize.height pixels of C
 * interleaved channels (8-bit or 16-bit samples) into C planes: channel i of
 * every pixel goes to pDst[i]. Row y of the source starts at
 * pSrc + y * srcStep bytes and row y of plane i at pDst[i] + y * dstStep
 * bytes; steps are byte distances used as given, of either sign. Planes that
 * overlap the source give the bytes of a walk that reads each pixel whole
 * and then writes its samples to planes 0, 1, ... in turn.
 *
 * Status: ippStsNullPtrErr when the source, the plane array or a plane
 * pointer is null; ippStsSizeErr when the width or the height is below 1;
 * otherwise ippStsNoErr after the copy. Nothing is written on an error. */
#ifndef CCONVERT_PLATFORM_IPPI_COPY_H
#define CCONVERT_PLATFORM_IPPI_COPY_H

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char Ipp8u;
typedef unsigned short Ipp16u;

typedef struct {
    int width;
    int height;
} IppiSize;

typedef enum {
    ippStsNullPtrErr = -8,
    ippStsSizeErr = -6,
    ippStsNoErr = 0
} IppStatus;

IppStatus ippiCopy_8u_C4P4R(const Ipp8u* pSrc, int srcStep, Ipp8u* const pDst[4], int dstStep, IppiSize roiSize);
IppStatus ippiCopy_8u_C3P3R(const Ipp8u* pSrc, int srcStep, Ipp8u* const pDst[3], int dstStep, IppiSize roiSize);
IppStatus ippiCopy_16u_C4P4R(const Ipp16u* pSrc, int srcStep, Ipp16u* const pDst[4], int dstStep, IppiSize roiSize);
IppStatus ippiCopy_16u_C3P3R(const Ipp16u* pSrc, int srcStep, Ipp16u* const pDst[3], int dstStep, IppiSize roiSize);

#ifdef __cplusplus
}
#endif

#endif
