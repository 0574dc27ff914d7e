// Row kernels of the 2vuy <-> v210 repackers. Each converts a number of whole
// groups (six pixels: twelve 2vuy bytes, sixteen v210 bytes). The vector
// kernels do as many groups as their loads and stores allow within the
// group's own bytes and hand the rest to the portable kernel.
#ifndef CCONVERT_YCBCR422_V210_2VUY_KERNELS_H
#define CCONVERT_YCBCR422_V210_2VUY_KERNELS_H

#include <cstdint>

namespace cconvert::detail {

using RepackGroups = void (*)(unsigned char* destination, const unsigned char* source,
                              std::uint32_t groups);

// 2vuy to v210: each sample shifted left by 2.
void pack_2vuy_to_v210_portable(unsigned char* v210, const unsigned char* uyvy, std::uint32_t groups);
void pack_2vuy_to_v210_sse(unsigned char* v210, const unsigned char* uyvy, std::uint32_t groups);
void pack_2vuy_to_v210_avx2(unsigned char* v210, const unsigned char* uyvy, std::uint32_t groups);

// v210 to 2vuy: each sample shifted right by 2. The portable kernel reads a
// whole group before writing it, so it works in place.
void unpack_v210_to_2vuy_portable(unsigned char* uyvy, const unsigned char* v210, std::uint32_t groups);
void unpack_v210_to_2vuy_sse(unsigned char* uyvy, const unsigned char* v210, std::uint32_t groups);
void unpack_v210_to_2vuy_avx2(unsigned char* uyvy, const unsigned char* v210, std::uint32_t groups);

}  // namespace cconvert::detail

#endif
