// Row arithmetic at the size limits: 8192 x 4320 frames and rows a mebibyte
// apart past 2^31, sampled rows against one-row conversions of the same bytes.
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/cconvert.h"
#include "support/test_support.h"

namespace {

using Bytes = std::vector<unsigned char>;
using cconvert::test::fill_random;

#if defined(__SANITIZE_THREAD__)
// Single-threaded and slow under ThreadSanitizer; the other builds run them.
#define SKIP_UNDER_TSAN() GTEST_SKIP() << "single-threaded, left to the other builds"
#else
#define SKIP_UNDER_TSAN() (void)0
#endif

// Address space without memory behind it (zero until written): only touched rows cost.
struct Reserved {
    std::size_t size;
    unsigned char* bytes;
    explicit Reserved(std::size_t n) : size(n) {
        void* at = mmap(nullptr, n, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        bytes = at == MAP_FAILED ? nullptr : static_cast<unsigned char*>(at);
    }
    ~Reserved() {
        if (bytes) munmap(bytes, size);
    }
    unsigned char* data() { return bytes; }
    explicit operator bool() const { return bytes != nullptr; }
};

constexpr long kW = 8192, kH = 4320;
constexpr std::size_t kPitch = std::size_t{1} << 20;
constexpr long kRows = 3000;  // rows 2048 and on start past 2^31 at kPitch

std::size_t v210_row(long w) { return 128 * static_cast<std::size_t>((w + 47) / 48); }

// A converter of `rows` rows of width w, rows dp and sp bytes apart.
using Convert = void (*)(unsigned char* d, long dp, unsigned char* s, long sp, long w, long rows);
#define CONVERT(call)                                                                                 \
    [](unsigned char* d, [[maybe_unused]] long dp, unsigned char* s, [[maybe_unused]] long sp,        \
       [[maybe_unused]] long w, long rows) { call; }

struct Case {
    std::string name;
    std::size_t (*in_row)(long w), (*out_row)(long w);  // bytes of a row
    bool big;         // run at 8192 x 4320 with tight rows
    long far_width;   // run over kRows rows kPitch apart at this width (0: not)
    Convert convert;
};

void PrintTo(const Case& c, std::ostream* out) { *out << c.name; }

template <int N> std::size_t bytes(long w) { return N * w; }
std::size_t packed10_row(long w) { return 5 * w / 2; }

const Case kCases[] = {
    {"Rgba32ToRgb24", bytes<4>, bytes<3>, true, 0, CONVERT(ccnvt_rgba32_rgb24_inplace(d, dp, s, sp, w, rows))},
    {"Rgba32ToBgra32", bytes<4>, bytes<4>, false, 18, CONVERT(ccnvt_rgba32_bgra32_inplace(d, dp, s, sp, w, rows))},
    {"Rgba32ToRgb16", bytes<4>, bytes<2>, true, 18, CONVERT(ccnvt_rgba32_rgb16(d, dp, s, sp, w, rows))},
    {"Rgb24ToRgba32", bytes<3>, bytes<4>, false, 18, CONVERT(ccnvt_rgb24_rgba32_inplace(d, dp, s, sp, w, rows))},
    {"Rgba64ToRgba32", bytes<8>, bytes<4>, true, 18, CONVERT(ccnvt_rgba64_rgba32(d, dp, s, sp, w, rows, 12))},
    // The 2vuy side is always tight.
    {"2vuyToV210", bytes<2>, v210_row, true, 0, CONVERT(ccnvt_2vuy_v210(d, s, unsigned(w), unsigned(rows), unsigned(dp)))},
    {"V210To2vuy", v210_row, bytes<2>, true, 0, CONVERT(ccnvt_v210_2vuy(d, s, unsigned(w), unsigned(rows), unsigned(sp)))},
    // libycbcr picks its matrix by frame size: at 1280 wide, BT.709 for one row too.
    {"2vuyToRgb32ThroughLibycbcr", bytes<2>, bytes<4>, true, 1280, CONVERT(ccnvt_yuv422_8_rgb32(d, dp, s, sp, w, rows, 1))},
    {"2vuyToRgbOwnDecoder", bytes<2>, bytes<4>, false, 18, CONVERT(ccnvt_yuv422_rgb24(d, dp, s, sp, w, rows, 1))},
    {"V210ToPacked10", v210_row, packed10_row, true, 18,
     CONVERT(ccnvt_ycbcr422_v210_to_packed10(s, int(sp), int(w), 0, int(rows), int(rows), d, int(dp), false))},
    {"HalfFloatFrom2vuy", bytes<2>, bytes<8>, false, 18, CONVERT(yCbCr8_to_halffloat(d, dp, s, sp, w, rows, 1, 0))},
    {"St2084ToRgb", bytes<4>, bytes<4>, true, 0, CONVERT(ccnvt_st2084_to_rgb(d, s, unsigned(dp), unsigned(sp), unsigned(rows)))},
    {"HorizontalFlip", bytes<4>, bytes<4>, true, 18,
     CONVERT(ccnvt_flip_horz(reinterpret_cast<unsigned int*>(d), reinterpret_cast<unsigned int*>(s), unsigned(w),
                             int(rows), int(dp)))},
    {"RgbaToAlpha", bytes<4>, bytes<1>, true, 0, CONVERT(ccnvt_rgba_to_alpha(d, 0, s, sp, w, rows))},
    {"SetAlphaOnACopy", bytes<4>, bytes<4>, false, 18, CONVERT({
         for (long r = 0; r < rows; ++r) std::memcpy(d + r * dp, s + r * sp, 4 * w);
         ccnvt_rgba_setalpha(d, dp, 0x7F, w, rows);
     })},
};

// One call over rows rows (random at the sampled ones, zero elsewhere); `compared`
// bytes of each sampled row against a conversion of that row alone.
void check_sampled_rows(const Case& c, long w, long rows, std::size_t sp, std::size_t dp,
                        const std::vector<long>& sampled, std::size_t compared) {
    Reserved source(sp * rows + kPitch), destination(dp * rows + kPitch);
    ASSERT_TRUE(source && destination) << "no address space";
    for (long k : sampled) fill_random(source.data() + k * sp, c.in_row(w), static_cast<std::uint32_t>(k + 7));
    c.convert(destination.data(), static_cast<long>(dp), source.data(), static_cast<long>(sp), w, rows);
    for (long k : sampled) {
        // The row and the bytes after it that converters reading whole groups take.
        Bytes row(source.data() + k * sp, source.data() + k * sp + c.in_row(w) + 64), expected(dp + 128, 0);
        c.convert(expected.data(), static_cast<long>(dp), row.data(), static_cast<long>(sp), w, 1);
        ASSERT_EQ(Bytes(destination.data() + k * dp, destination.data() + k * dp + compared),
                  Bytes(expected.begin(), expected.begin() + static_cast<long>(compared)))
            << "row " << k;
    }
}

class Families : public testing::TestWithParam<Case> {};

}  // namespace

TEST_P(Families, BigFramesAndRowsPast2GiBEqualOneRowConversions) {
    SKIP_UNDER_TSAN();
    const Case& c = GetParam();
    if (c.big)
        check_sampled_rows(c, kW, kH, c.in_row(kW), c.out_row(kW), {0, 1, 2, kH / 2 + 1, kH - 2, kH - 1}, c.out_row(kW));
    if (c.far_width)  // and 64 bytes past each row: nothing more written than for the row alone
        check_sampled_rows(c, c.far_width, kRows, kPitch, kPitch, {0, 1, 2047, 2048, 2049, kRows - 1},
                           c.out_row(c.far_width) + 64);
}

INSTANTIATE_TEST_SUITE_P(SizeLimits, Families, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<Case>& info) { return info.param.name; });

TEST(FarRows, RleDecoderFindsItsBottomRowPast2GiB) {
    SKIP_UNDER_TSAN();
    Reserved frame(kPitch * kRows);
    ASSERT_TRUE(frame) << "no address space";
    unsigned char palette[256 * 3];
    for (int i = 0; i < 256 * 3; ++i) palette[i] = static_cast<unsigned char>(i);
    // Two pixels of colour 5 on the bottom row ((height - 1) pitches up), three of 9 on the next.
    const unsigned char stream[] = {2, 5, 0, 0, 3, 9, 0, 1};
    ccnvt_rle8_rgb24(frame.data(), static_cast<long>(kPitch), stream, 0, 4, kRows, palette);
    const unsigned char* bottom = frame.data() + (kRows - 1) * kPitch;
    EXPECT_EQ(Bytes(bottom, bottom + 7), Bytes({15, 16, 17, 15, 16, 17, 0}));
    EXPECT_EQ(Bytes(bottom - kPitch, bottom - kPitch + 10), Bytes({27, 28, 29, 27, 28, 29, 27, 28, 29, 0}));
}

// A field-separated band whose v210 rows (2r + 1 at (2r + 1) x pitch) lie past 2^31.
TEST(FarRows, FieldSeparatedBandReachesItsInterleavedRows) {
    SKIP_UNDER_TSAN();
    constexpr int width = 12, height = 3000, first = 1100, end = 1600;  // across the field cut at 1500
    const int packed10_pitch = 5 * width / 2;
    Reserved v210(kPitch * height + kPitch);
    ASSERT_TRUE(v210) << "no address space";
    Bytes packed10 = cconvert::test::random_bytes(static_cast<std::size_t>(packed10_pitch) * height, 3);
    ccnvt_ycbcr422_packed10_to_v210(packed10.data(), packed10_pitch, width, first, end, height, v210.data(),
                                    static_cast<int>(kPitch), true);
    for (int r : {first, 1300, 1499, 1500, end - 1}) {
        const long v210_row = r < height / 2 ? 2L * r + 1 : 2L * (r - height / 2);
        Bytes expected(64, 0);
        kv_ycbcr422_packed10_to_v210_line_c(packed10.data() + static_cast<std::size_t>(r) * packed10_pitch,
                                            expected.data(), width);
        ASSERT_EQ(Bytes(v210.data() + v210_row * kPitch, v210.data() + v210_row * kPitch + 64), expected)
            << "packed10 row " << r;
    }
}

// v210 rows 2^31 + 64 bytes apart: the third starts past 4 GiB.
TEST(FarRows, V210RowsPast4GiB) {
    SKIP_UNDER_TSAN();
    const std::size_t pitch = (std::size_t{1} << 31) + 64;
    Reserved v210(2 * pitch + 4096);
    ASSERT_TRUE(v210) << "no address space";
    const Bytes uyvy = cconvert::test::random_bytes(2 * 48 * 3, 9);
    Bytes row(128), back(uyvy.size());
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), 48, 3, static_cast<unsigned>(pitch));
    ccnvt_2vuy_v210(row.data(), uyvy.data() + 4 * 48, 48, 1, 128);
    EXPECT_EQ(Bytes(v210.data() + 2 * pitch, v210.data() + 2 * pitch + 128), row);
    ccnvt_v210_2vuy(back.data(), v210.data(), 48, 3, static_cast<unsigned>(pitch));
    EXPECT_EQ(back, uyvy);
}

// The progressive drivers' band start first_row x pitch is a sign-extended 32-bit
// product, as hosts have always got: past 2^31 it wraps below the frame.
TEST(FarRows, ProgressiveBandStartKeepsItsThirtyTwoBitProduct) {
    SKIP_UNDER_TSAN();
    constexpr int width = 12, first = 2100;
    const std::int64_t wrapped = static_cast<std::int32_t>(static_cast<std::uint32_t>(first) * (1u << 20));
    ASSERT_LT(wrapped, 0);
    // Both frames' pointers in the middle of 6 GiB, so the wrapped row is mapped.
    constexpr std::size_t kSpan = std::size_t{6} << 30, kMiddle = std::size_t{3} << 30;
    Reserved source(kSpan), destination(kSpan);
    ASSERT_TRUE(source && destination) << "no address space";
    fill_random(source.data() + kMiddle + wrapped, 64, 5);
    ccnvt_ycbcr422_v210_to_packed10(source.data() + kMiddle, static_cast<int>(kPitch), width, first, first + 1,
                                    first + 1, destination.data() + kMiddle, static_cast<int>(kPitch), false);
    Bytes expected(30, 0);
    kv_ycbcr422_v210_to_packed10_line_c(source.data() + kMiddle + wrapped, expected.data(), width);
    const unsigned char* row = destination.data() + kMiddle + wrapped;
    EXPECT_EQ(Bytes(row, row + 30), expected);
}
