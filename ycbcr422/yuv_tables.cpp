// The 8-bit and 10-bit decoder tables and their builders.
#include "ycbcr422/yuv_tables.h"

namespace cconvert::detail {

std::int16_t Atab[256];
std::int16_t BEtab[256][2];
std::int16_t DCtab[256][2];
std::uint8_t clip10to8[1024];
std::atomic<unsigned char> fTablesSet{0};

std::int16_t v210_Atab[1024];
std::int16_t v210_BEtab[1024][2];
std::int16_t v210_DCtab[1024][2];
std::uint8_t v210_clip10to8[2048];
std::atomic<int> _v210_to_rgb_initted{0};

namespace {

// BT.601 studio-range constants, times 256 for 8-bit input.
constexpr double kLuma8 = 298.082, kCrRed8 = 408.583, kCrGreen8 = -208.12,
                 kCbGreen8 = -100.291, kCbBlue8 = 516.411;
// The same times 4 for 10-bit input.
constexpr double kLuma10 = 1192.328, kCrRed10 = 1634.332, kCrGreen10 = -832.48,
                 kCbGreen10 = -401.164, kCbBlue10 = 2065.644;
constexpr double kScale8 = 0.0625;     // to 1/16 of an output step
constexpr double kScale10 = 0.015625;  // to 1/64 of an output step

// offset * coefficient, then * scale (two roundings, in that order),
// truncated toward zero and kept as 16 bits.
std::int16_t contribution(int offset, double coefficient, double scale) {
    const double product = static_cast<double>(offset) * coefficient;
    return static_cast<std::int16_t>(static_cast<int>(product * scale));
}

std::atomic<unsigned int> fills_8bit{0}, fills_10bit{0};

}  // namespace

void _ccnvt_makeyuvtables() {
    for (int i = 0; i < 256; ++i) {
        Atab[i] = contribution(i - 16, kLuma8, kScale8);
        BEtab[i][kCbGreen] = contribution(i - 128, kCbGreen8, kScale8);
        BEtab[i][kCbBlue] = contribution(i - 128, kCbBlue8, kScale8);
        DCtab[i][kCrRed] = contribution(i - 128, kCrRed8, kScale8);
        DCtab[i][kCrGreen] = contribution(i - 128, kCrGreen8, kScale8);
    }
    for (int k = 0; k < 1024; ++k) clip10to8[k] = static_cast<std::uint8_t>(k < 255 ? k : 255);
    fills_8bit.fetch_add(1, std::memory_order_relaxed);
    fTablesSet.store(1, std::memory_order_release);
}

void init_v210_to_rgb() {
    for (int i = 0; i < 1024; ++i) {
        v210_Atab[i] = contribution(i - 64, kLuma10, kScale10);
        v210_BEtab[i][kCbGreen] = contribution(i - 512, kCbGreen10, kScale10);
        v210_BEtab[i][kCbBlue] = contribution(i - 512, kCbBlue10, kScale10);
        v210_DCtab[i][kCrRed] = contribution(i - 512, kCrRed10, kScale10);
        v210_DCtab[i][kCrGreen] = contribution(i - 512, kCrGreen10, kScale10);
    }
    for (int k = -1024; k < 1024; ++k)
        v210_clip10to8[k + 1024] = static_cast<std::uint8_t>(k < 0 ? 0 : k > 255 ? 255 : k);
    fills_10bit.fetch_add(1, std::memory_order_relaxed);
    _v210_to_rgb_initted.store(1, std::memory_order_release);
}

// A function-local static is initialised exactly once, also when several
// threads arrive together; the others wait for it.
void ensure_8bit_tables() {
    if (fTablesSet.load(std::memory_order_acquire) == 0) {
        static const bool filled = (_ccnvt_makeyuvtables(), true);
        (void)filled;
    }
}

void ensure_10bit_tables() {
    if (_v210_to_rgb_initted.load(std::memory_order_acquire) == 0) {
        static const bool filled = (init_v210_to_rgb(), true);
        (void)filled;
    }
}

unsigned int table_fills_8bit() { return fills_8bit.load(std::memory_order_relaxed); }
unsigned int table_fills_10bit() { return fills_10bit.load(std::memory_order_relaxed); }

}  // namespace cconvert::detail
