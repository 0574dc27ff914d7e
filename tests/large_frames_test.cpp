// Frames at the size limits: 8192 x 4320 through one converter of each
// family, and pitches whose products with the row number pass 2^31.
//
// Rows are checked against a one-row (or one-row-pair) conversion of the
// same source bytes: the row arithmetic is the thing under test, the pixel
// rules are tested elsewhere. Large pitches come from address space reserved
// without memory (MAP_NORESERVE): only the pages of the rows converted are
// ever touched, so 3000 rows a mebibyte apart cost a few megabytes.
#include <sys/mman.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <ostream>
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

// ---- 8192 x 4320 ----

constexpr long kW = 8192, kH = 4320;
constexpr long kSampledRows[] = {0, 1, 2, kH / 2 + 1, kH - 2, kH - 1};

// An uninitialised heap block (a vector would clear hundreds of megabytes).
struct Block {
    explicit Block(std::size_t size) : bytes(new unsigned char[size]), size(size) {}
    unsigned char* data() { return bytes.get(); }
    std::unique_ptr<unsigned char[]> bytes;
    std::size_t size;
};

// A frame of rows `pitch` bytes apart: a constant, with random sampled rows.
Block source_frame(std::size_t pitch, long rows, std::size_t slack = 64) {
    Block frame(pitch * rows + slack);
    std::memset(frame.data(), 0x6B, frame.size);
    for (long k : kSampledRows)
        if (k < rows) fill_random(frame.data() + k * pitch, pitch, static_cast<std::uint32_t>(k + 1));
    return frame;
}

// A conversion of `rows` rows (width kW), source and destination rows at the
// given pitches (0 where the converter takes the frame's own row size).
using Convert = std::function<void(unsigned char* destination, const unsigned char* source, long rows)>;

struct BigFrameCase {
    std::string name;
    std::size_t source_pitch, destination_pitch;
    std::size_t destination_row_bytes;  // compared on each sampled row
    Convert convert;
};

std::vector<BigFrameCase> big_frame_cases() {
    const std::size_t v210_pitch = 128 * ((kW + 47) / 48);
    return {
        {"Rgba32ToRgb24", 4 * kW, 3 * kW, 3 * kW,
         [](unsigned char* d, const unsigned char* s, long rows) { ccnvt_rgba32_rgb24_inplace(d, 3 * kW, s, 4 * kW, kW, rows); }},
        {"Rgba32ToRgb16", 4 * kW, 2 * kW, 2 * kW,
         [](unsigned char* d, const unsigned char* s, long rows) { ccnvt_rgba32_rgb16(d, 2 * kW, s, 4 * kW, kW, rows); }},
        {"Rgba64ToRgba32", 8 * kW, 4 * kW, 4 * kW,
         [](unsigned char* d, const unsigned char* s, long rows) { ccnvt_rgba64_rgba32(d, 4 * kW, s, 8 * kW, kW, rows, 12); }},
        {"2vuyToV210", 2 * kW, v210_pitch, v210_pitch,
         [v210_pitch](unsigned char* d, const unsigned char* s, long rows) {
             ccnvt_2vuy_v210(d, s, kW, static_cast<unsigned int>(rows), static_cast<unsigned int>(v210_pitch));
         }},
        {"V210To2vuy", v210_pitch, 2 * kW, 2 * kW,
         [v210_pitch](unsigned char* d, const unsigned char* s, long rows) {
             ccnvt_v210_2vuy(d, s, kW, static_cast<unsigned int>(rows), static_cast<unsigned int>(v210_pitch));
         }},
        {"2vuyToRgb32ThroughLibycbcr", 2 * kW, 4 * kW, 4 * kW,
         [](unsigned char* d, const unsigned char* s, long rows) { ccnvt_yuv422_8_rgb32(d, 0, s, 0, kW, rows, 1); }},
        {"V210ToPacked10", v210_pitch, 5 * kW / 2, 5 * kW / 2,
         [](unsigned char* d, const unsigned char* s, long rows) {
             ccnvt_ycbcr422_v210_to_packed10(const_cast<unsigned char*>(s), 0, kW, 0, static_cast<int>(rows),
                                             static_cast<int>(rows), d, 0, false);
         }},
        {"St2084ToRgb", 4 * kW, 4 * kW, 4 * kW,
         [](unsigned char* d, const unsigned char* s, long rows) {
             ccnvt_st2084_to_rgb(d, s, 4 * kW, 4 * kW, static_cast<unsigned int>(rows));
         }},
        {"HorizontalFlip", 4 * kW, 4 * kW, 4 * kW,
         [](unsigned char* d, const unsigned char* s, long rows) {
             ccnvt_flip_horz(reinterpret_cast<unsigned int*>(d), reinterpret_cast<unsigned int*>(const_cast<unsigned char*>(s)),
                             kW, static_cast<int>(rows), 4 * kW);
         }},
        {"RgbaToAlpha", 4 * kW, kW, kW,
         [](unsigned char* d, const unsigned char* s, long rows) { ccnvt_rgba_to_alpha(d, 0, s, 4 * kW, kW, rows); }},
    };
}

void PrintTo(const BigFrameCase& c, std::ostream* out) { *out << c.name; }

class BigFrame : public testing::TestWithParam<BigFrameCase> {};

TEST_P(BigFrame, SampledRowsEqualOneRowConversions) {
    SKIP_UNDER_TSAN();
    const BigFrameCase& c = GetParam();
    Block source = source_frame(c.source_pitch, kH);
    Block destination(c.destination_pitch * kH + 64);
    c.convert(destination.data(), source.data(), kH);
    for (long k : kSampledRows) {
        // The row and the bytes after it that converters reading whole groups take.
        Bytes row(source.data() + k * c.source_pitch, source.data() + (k + 1) * c.source_pitch + 64);
        Bytes expected(c.destination_pitch + 64, 0);
        c.convert(expected.data(), row.data(), 1);
        ASSERT_EQ(0, std::memcmp(destination.data() + k * c.destination_pitch, expected.data(), c.destination_row_bytes))
            << "row " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(Families, BigFrame, testing::ValuesIn(big_frame_cases()),
                         [](const testing::TestParamInfo<BigFrameCase>& info) { return info.param.name; });

// Reduced-size decoding and field interleaving take more than one source
// row per output row; NV12 takes a luma row and a chroma row.
TEST(BigFrame, Nv12To2vuyTakesChromaRowHalfTheLine) {
    SKIP_UNDER_TSAN();
    Block source = source_frame(kW, kH * 3 / 2);
    Block destination(2 * kW * kH);
    cycbcr_NV12_to_uyvy(destination.data(), source.data(), kW, kH, 2 * kW);
    for (long k : kSampledRows) {
        // A two-line NV12 frame: luma rows k & ~1 and k | 1, chroma row k / 2.
        Bytes small(3 * kW);
        const long first = k & ~1L;
        std::memcpy(small.data(), source.data() + first * kW, 2 * kW);
        std::memcpy(small.data() + 2 * kW, source.data() + kW * kH + k / 2 * kW, kW);
        Bytes expected(4 * kW);
        cycbcr_NV12_to_uyvy(expected.data(), small.data(), kW, 2, 2 * kW);
        ASSERT_EQ(0, std::memcmp(destination.data() + k * 2 * kW, expected.data() + (k - first) * 2 * kW, 2 * kW))
            << "row " << k;
    }
}

TEST(BigFrame, ReducedDecoderStepsThreeSourceRowsPerOutputRow) {
    SKIP_UNDER_TSAN();
    Block source = source_frame(2 * kW, kH);
    const long rows = kH / 3;
    // Factor 3 keeps every column: rows of kW four-byte pixels.
    Block destination(4 * kW * rows);
    ccnvt_yuv422_rgb24(destination.data(), 4 * kW, source.data(), 2 * kW, kW, kH, 3);
    for (long r : {0L, 1L, rows / 2, rows - 1}) {
        Bytes expected(4 * kW);
        ccnvt_yuv422_rgb24(expected.data(), 4 * kW, source.data() + 3 * r * 2 * kW, 2 * kW, kW, 1, 1);
        ASSERT_EQ(0, std::memcmp(destination.data() + r * 4 * kW, expected.data(), 4 * kW)) << "row " << r;
    }
}

TEST(BigFrame, I420PlanesOfAFullFrame) {
    SKIP_UNDER_TSAN();
    Block source = source_frame(2 * kW, kH);
    Block planes(kW * kH * 3 / 2);
    ccnvt_2vuy_i420(planes.data(), source.data(), kW, kH, 0);
    const unsigned char* last_row = source.data() + (kH - 1) * 2 * kW;
    const unsigned char* cr_last = planes.data() + kW * kH + kW * kH / 4 + (kH / 2 - 1) * (kW / 2);
    const unsigned char* chroma_row = source.data() + (kH - 2) * 2 * kW;  // the last even row
    for (long x = 0; x < kW / 2; ++x) {
        ASSERT_EQ(planes.data()[kW * kH - kW + 2 * x], last_row[4 * x + 1]) << x;
        ASSERT_EQ(cr_last[x], chroma_row[4 * x + 2]) << x;
    }
}

// ---- pitches past 2^31 ----

constexpr std::size_t kPitch = std::size_t{1} << 20;
constexpr long kRows = 3000;  // rows 2048 and on start past 2^31
constexpr long kFarRows[] = {0, 1, 2047, 2048, 2049, kRows - 1};

// Address space for rows `pitch` apart, reserved without memory, zero until
// written.
class Reserved {
public:
    explicit Reserved(std::size_t size) : size_(size) {
        void* at = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
        bytes_ = at == MAP_FAILED ? nullptr : static_cast<unsigned char*>(at);
    }
    ~Reserved() {
        if (bytes_) munmap(bytes_, size_);
    }
    unsigned char* data() { return bytes_; }
    explicit operator bool() const { return bytes_ != nullptr; }

private:
    unsigned char* bytes_;
    std::size_t size_;
};

// Converters with a tiny width over kRows rows kPitch apart on both sides.
struct FarCase {
    std::string name;
    std::size_t source_row_bytes;       // filled per row (random)
    std::size_t destination_row_bytes;  // compared per row, with 64 bytes after
    std::function<void(unsigned char* destination, std::size_t destination_pitch, const unsigned char* source,
                       std::size_t source_pitch, long rows)>
        convert;
};

std::vector<FarCase> far_cases() {
    constexpr long w = 18;
    return {
        {"Rgba32ToBgra32", 4 * w, 4 * w,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             ccnvt_rgba32_bgra32_inplace(d, static_cast<long>(dp), s, static_cast<long>(sp), w, rows);
         }},
        {"Rgba64ToRgba32", 8 * w, 4 * w,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             ccnvt_rgba64_rgba32(d, static_cast<long>(dp), s, static_cast<long>(sp), w, rows, 16);
         }},
        {"2vuyToV210WithADestinationPitch", 2 * w, 64,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t, long rows) {
             // The 2vuy side is always tight: its rows follow one another.
             ccnvt_2vuy_v210(d, s, w, static_cast<unsigned int>(rows), static_cast<unsigned int>(dp));
         }},
        // libycbcr picks its matrix by frame size: at 1280 wide, BT.709 for one row too.
        {"2vuyToRgb32ThroughLibycbcr", 2 * 1280, 4 * 1280,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             ccnvt_yuv422_8_rgb32(d, static_cast<long>(dp), s, static_cast<long>(sp), 1280, rows, 1);
         }},
        {"2vuyToRgbOwnDecoder", 2 * w, 4 * w,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             ccnvt_yuv422_rgb24(d, static_cast<long>(dp), s, static_cast<long>(sp), w, rows, 1);
         }},
        {"V210ToPacked10", 64, 45,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             ccnvt_ycbcr422_v210_to_packed10(const_cast<unsigned char*>(s), static_cast<int>(sp), w, 0,
                                             static_cast<int>(rows), static_cast<int>(rows), d,
                                             static_cast<int>(dp), false);
         }},
        {"HalfFloatFrom2vuy", 2 * w, 8 * w,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             yCbCr8_to_halffloat(d, static_cast<long>(dp), s, static_cast<long>(sp), w, rows, 1, 0);
         }},
        {"HorizontalFlip", 4 * w, 4 * w,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t, long rows) {
             ccnvt_flip_horz(reinterpret_cast<unsigned int*>(d), reinterpret_cast<unsigned int*>(const_cast<unsigned char*>(s)),
                             w, static_cast<int>(rows), static_cast<int>(dp));
         }},
        {"SetAlphaOnACopy", 4 * w, 4 * w,
         [](unsigned char* d, std::size_t dp, const unsigned char* s, std::size_t sp, long rows) {
             for (long r = 0; r < rows; ++r) std::memcpy(d + r * dp, s + r * sp, 4 * w);
             ccnvt_rgba_setalpha(d, static_cast<long>(dp), 0x7F, w, rows);
         }},
    };
}

void PrintTo(const FarCase& c, std::ostream* out) { *out << c.name; }

class FarRows : public testing::TestWithParam<FarCase> {};

TEST_P(FarRows, RowsPast2GiBAreConvertedInTheirPlace) {
    SKIP_UNDER_TSAN();
    const FarCase& c = GetParam();
    const bool tight_source = c.name.rfind("2vuyToV210", 0) == 0;
    const std::size_t source_pitch = tight_source ? c.source_row_bytes : kPitch;
    Reserved source(kPitch * kRows + kPitch), destination(kPitch * kRows + kPitch);
    ASSERT_TRUE(source && destination) << "no address space";
    for (long k : kFarRows) fill_random(source.data() + k * source_pitch, c.source_row_bytes, static_cast<std::uint32_t>(k + 7));
    c.convert(destination.data(), kPitch, source.data(), source_pitch, kRows);
    for (long k : kFarRows) {
        Bytes row(source.data() + k * source_pitch, source.data() + k * source_pitch + c.source_row_bytes + 64);
        Bytes expected(kPitch + 128, 0);
        c.convert(expected.data(), kPitch, row.data(), source_pitch, 1);
        ASSERT_EQ(0, std::memcmp(destination.data() + k * kPitch, expected.data(), c.destination_row_bytes + 64))
            << "row " << k;
    }
}

INSTANTIATE_TEST_SUITE_P(Families, FarRows, testing::ValuesIn(far_cases()),
                         [](const testing::TestParamInfo<FarCase>& info) { return info.param.name; });

// The RLE decoders start at the bottom row, (height - 1) pitches up.
TEST(FarRows, RleDecoderFindsItsBottomRowPast2GiB) {
    SKIP_UNDER_TSAN();
    Reserved frame(kPitch * kRows);
    ASSERT_TRUE(frame) << "no address space";
    unsigned char palette[256 * 3];
    for (int i = 0; i < 256 * 3; ++i) palette[i] = static_cast<unsigned char>(i);
    // Two pixels of colour 5 on the bottom row, end of line, three of colour 9 on the next.
    const unsigned char stream[] = {2, 5, 0, 0, 3, 9, 0, 1};
    ccnvt_rle8_rgb24(frame.data(), static_cast<long>(kPitch), stream, 0, 4, kRows, palette);
    const unsigned char* bottom = frame.data() + (kRows - 1) * kPitch;
    const unsigned char* above = bottom - kPitch;
    EXPECT_EQ(Bytes(bottom, bottom + 7), Bytes({15, 16, 17, 15, 16, 17, 0}));
    EXPECT_EQ(Bytes(above, above + 10), Bytes({27, 28, 29, 27, 28, 29, 27, 28, 29, 0}));
}

// A field-separated band whose v210 rows lie past 2^31: row 2r + 1 at
// (2r + 1) x pitch in 64 bits.
TEST(FarRows, FieldSeparatedBandReachesItsInterleavedRows) {
    SKIP_UNDER_TSAN();
    constexpr int width = 12, height = 3000, first = 1100, end = 1600;  // across the field cut at 1500
    const int packed10_pitch = 5 * width / 2;
    Reserved v210(kPitch * height + kPitch);
    ASSERT_TRUE(v210) << "no address space";
    Bytes packed10(static_cast<std::size_t>(packed10_pitch) * height);
    fill_random(packed10.data(), packed10.size(), 3);
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

// The progressive drivers place a band's first row at first_row x pitch
// taken as a 32-bit product and sign-extended, as hosts have always got:
// past 2^31 that wraps below the frame. Kept exactly.
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

}  // namespace
