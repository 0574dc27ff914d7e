// Lookup tables of the table-driven 4:2:2-to-RGB decoders.
//
// Each sample indexes a table of pre-scaled BT.601 studio-range contributions
// (coefficients times 256: luma 298.082 = 256 * 255 / 219, Cr to red 408.583,
// Cr to green -208.12, Cb to green -100.291, Cb to blue 516.411); a decoder
// adds the contributions of a pixel's Y, Cb and Cr, shifts the sum down and
// clamps it through a clip table. No multiplications per pixel.
//
// 8-bit set: contributions in 1/16 of an output step (sum >> 4).
// 10-bit set: the same constants times 4, contributions in 1/64 of an 8-bit
// output step (sum >> 6, arithmetic).
//
// The tables are filled on first use. Every filler writes identical values;
// the fill runs once (a thread-safe guard) and the ready flag is set after the
// last entry, so decoders on several threads may start together.
#ifndef CCONVERT_YCBCR422_YUV_TABLES_H
#define CCONVERT_YCBCR422_YUV_TABLES_H

#include <atomic>
#include <cstdint>

namespace cconvert::detail {

// Pair elements of BEtab / DCtab (and their 10-bit twins).
constexpr int kCbGreen = 0, kCbBlue = 1;  // BEtab[Cb]: green from Cb, blue from Cb
constexpr int kCrRed = 0, kCrGreen = 1;   // DCtab[Cr]: red from Cr, green from Cr

// ---- 8-bit set ----
extern std::int16_t Atab[256];       // trunc((Y - 16) * 298.082 * 0.0625)
extern std::int16_t BEtab[256][2];   // Cb: green, blue
extern std::int16_t DCtab[256][2];   // Cr: red, green
extern std::uint8_t clip10to8[1024]; // min(k, 255)
extern std::atomic<unsigned char> fTablesSet;
void _ccnvt_makeyuvtables();

// ---- 10-bit set ----
extern std::int16_t v210_Atab[1024];      // trunc((Y - 64) * 1192.328 * 0.015625)
extern std::int16_t v210_BEtab[1024][2];  // Cb: green, blue
extern std::int16_t v210_DCtab[1024][2];  // Cr: red, green
extern std::uint8_t v210_clip10to8[2048]; // k = -1024..1023 at k + 1024, clamped to 0..255
extern std::atomic<int> _v210_to_rgb_initted;
void init_v210_to_rgb();

// Decoders call these at the start of every call: they fill the set when its
// ready flag is still 0.
void ensure_8bit_tables();
void ensure_10bit_tables();

// How many times each set has been filled in this process (0 or 1).
unsigned int table_fills_8bit();
unsigned int table_fills_10bit();

// One decoded channel from its summed contributions.
inline std::uint8_t clip_8bit_sum(int sum) { return clip10to8[sum < 0 ? 0 : sum >> 4]; }
inline std::uint8_t clip_10bit_sum(int sum) { return v210_clip10to8[(sum >> 6) + 1024]; }

}  // namespace cconvert::detail

#endif
