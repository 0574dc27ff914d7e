// AVX2 row kernels of libycbcr (placeholders until the vector code lands:
// they run the portable kernels).
#include "ycbcr_kernels.h"

namespace ycbcr {

void uyvy_to_bgr_row_avx2(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c) {
    uyvy_to_bgr_row_portable(destination, source, width, c);
}
void uyvy_to_bgra_row_avx2(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c) {
    uyvy_to_bgra_row_portable(destination, source, width, c);
}
void v210_to_bgra_row_avx2(std::uint8_t* destination, const std::uint8_t* source, int width, const Coefficients& c) {
    v210_to_bgra_row_portable(destination, source, width, c);
}
void planar_to_bgra_row_avx2(std::uint8_t* destination, const std::uint8_t* y, const std::uint8_t* cb,
                             const std::uint8_t* cr, int width, const Coefficients& c) {
    planar_to_bgra_row_portable(destination, y, cb, cr, width, c);
}

}  // namespace ycbcr
