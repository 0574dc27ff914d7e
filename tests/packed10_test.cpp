// packed10 line kernels and frame drivers: hand-worked pairs and groups, an
// independent bit-stream model of the layout, every kernel variant against it
// for widths 0..200 and large ones with sources that end exactly where the
// kernel may stop reading (a protected page follows), bands that split a
// frame at every row, pitch defaults, negative pitches, field-separated
// frames and the kernel choice by feature word.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/packed10.h"
#include "kvutil.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using cconvert::test::ScopedCpuFeatures;

namespace {

using namespace cconvert::test::model;

std::size_t groups_of(int width) { return width > 0 ? (width + 5) / 6 : 0; }
std::size_t ceil_pairs(int width) { return width > 0 ? (width + 1) / 2 : 0; }
std::size_t floor_pairs(int width) { return width > 0 ? width / 2 : 0; }

// ---- a source buffer whose last byte is followed by a protected page ----

class PageEndBuffer {
public:
    explicit PageEndBuffer(std::size_t size) : size_(size) {
        const std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
        mapped_ = ((size + page - 1) / page + 1) * page;
        void* map = mmap(nullptr, mapped_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) throw std::runtime_error("mmap");
        base_ = static_cast<unsigned char*>(map);
        mprotect(base_ + mapped_ - page, page, PROT_NONE);
        data_ = base_ + mapped_ - page - size;
    }
    ~PageEndBuffer() { munmap(base_, mapped_); }
    PageEndBuffer(const PageEndBuffer&) = delete;
    PageEndBuffer& operator=(const PageEndBuffer&) = delete;

    unsigned char* data() { return data_; }
    std::size_t size() const { return size_; }
    void fill_random(std::uint32_t seed) { cconvert::test::fill_random(data_, size_, seed); }

private:
    std::size_t size_, mapped_;
    unsigned char* base_;
    unsigned char* data_;
};

std::vector<int> widths_to_test() {
    std::vector<int> widths;
    for (int w = 0; w <= 200; ++w) widths.push_back(w);
    for (int w : {479, 480, 719, 720, 1279, 1280, 1919, 1920, 1921, 3840, 3845, 4097}) widths.push_back(w);
    return widths;
}

using LineKernel = void (*)(const unsigned char*, unsigned char*, int);

struct Variant {
    const char* name;
    unsigned int needs;  // feature bits the kernel's instructions need
};
const Variant kPortable{"c", 0}, kSse{"sse", KV_CPU_SSE}, kAvx{"avx", KV_CPU_AVX2};

bool available(const Variant& variant) {
    return (cconvert::test::probed_feature_word() & variant.needs) == variant.needs;
}

struct KernelCase {
    std::string name;
    Variant variant;
    LineKernel kernel;
    // Bytes read and written for a width, and the expected output.
    std::function<std::size_t(int)> read_bytes, written_bytes;
    std::function<std::vector<unsigned char>(const unsigned char*, int)> expected;
};

void PrintTo(const KernelCase& c, std::ostream* os) { *os << c.name; }

std::vector<unsigned char> expected_packed10_to_uyvy(const unsigned char* source, std::size_t pairs) {
    const auto samples = unpack_stream(source, 4 * pairs);
    std::vector<unsigned char> out(samples.size());
    for (std::size_t i = 0; i < samples.size(); ++i) out[i] = static_cast<unsigned char>(samples[i] >> 2);
    return out;
}

std::vector<unsigned char> expected_uyvy_to_packed10(const unsigned char* source, std::size_t pairs) {
    std::vector<std::uint16_t> samples(4 * pairs);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = static_cast<std::uint16_t>(source[i] * 4);
    return pack_stream(samples);
}

std::vector<unsigned char> expected_packed10_to_v210(const unsigned char* source, int width) {
    return v210_from_samples(unpack_stream(source, 12 * groups_of(width)));
}

std::vector<unsigned char> expected_v210_to_packed10(const unsigned char* source, int width) {
    auto samples = samples_from_v210(source, groups_of(width));
    samples.resize(4 * ceil_pairs(width));
    return pack_stream(samples);
}

std::vector<KernelCase> kernel_cases() {
    std::vector<KernelCase> cases;
    // packed10 to 2vuy: the portable kernel converts ceil(width / 2) pairs,
    // the vector kernels width / 2.
    const std::pair<Variant, LineKernel> to_uyvy[] = {{kPortable, kv_ycbcr422_packed10_to_uyvy_line_c},
                                                      {kSse, kv_ycbcr422_packed10_to_uyvy_line_sse},
                                                      {kAvx, kv_ycbcr422_packed10_to_uyvy_line_avx}};
    for (const auto& [variant, kernel] : to_uyvy) {
        const bool portable = variant.needs == 0;
        auto pairs = [portable](int w) { return portable ? ceil_pairs(w) : floor_pairs(w); };
        cases.push_back({std::string("packed10_to_uyvy_") + variant.name, variant, kernel,
                         [pairs](int w) { return 5 * pairs(w); }, [pairs](int w) { return 4 * pairs(w); },
                         [pairs](const unsigned char* s, int w) { return expected_packed10_to_uyvy(s, pairs(w)); }});
    }
    const std::pair<Variant, LineKernel> to_packed10[] = {{kPortable, kv_ycbcr422_uyvy_to_packed10_line_c},
                                                          {kSse, kv_ycbcr422_uyvy_to_packed10_line_sse},
                                                          {kAvx, kv_ycbcr422_uyvy_to_packed10_line_avx}};
    for (const auto& [variant, kernel] : to_packed10)
        cases.push_back({std::string("uyvy_to_packed10_") + variant.name, variant, kernel,
                         [](int w) { return 4 * floor_pairs(w); }, [](int w) { return 5 * floor_pairs(w); },
                         [](const unsigned char* s, int w) { return expected_uyvy_to_packed10(s, floor_pairs(w)); }});
    const std::pair<Variant, LineKernel> to_v210[] = {{kPortable, kv_ycbcr422_packed10_to_v210_line_c},
                                                      {kSse, kv_ycbcr422_packed10_to_v210_line_sse},
                                                      {kAvx, kv_ycbcr422_packed10_to_v210_line_avx}};
    for (const auto& [variant, kernel] : to_v210)
        cases.push_back({std::string("packed10_to_v210_") + variant.name, variant, kernel,
                         [](int w) { return 15 * groups_of(w); }, [](int w) { return 16 * groups_of(w); },
                         expected_packed10_to_v210});
    const std::pair<Variant, LineKernel> from_v210[] = {{kPortable, kv_ycbcr422_v210_to_packed10_line_c},
                                                        {kSse, kv_ycbcr422_v210_to_packed10_line_sse},
                                                        {kAvx, kv_ycbcr422_v210_to_packed10_line_avx}};
    for (const auto& [variant, kernel] : from_v210)
        cases.push_back({std::string("v210_to_packed10_") + variant.name, variant, kernel,
                         [](int w) { return 16 * groups_of(w); }, [](int w) { return 5 * ceil_pairs(w); },
                         expected_v210_to_packed10});
    return cases;
}

}  // namespace

// ---- hand-worked bytes ----

TEST(Packed10Layout, StudioPairPacksAsWorkedByHand) {
    // 2vuy Cb 0x80, Y0 0x10, Cr 0x80, Y1 0xEB: samples 0x200 0x040 0x200 0x3AC.
    const unsigned char uyvy[4] = {0x80, 0x10, 0x80, 0xEB};
    const unsigned char packed[5] = {0x80, 0x04, 0x08, 0x03, 0xAC};
    GuardedBuffer out(5, 0x5A);
    kv_ycbcr422_uyvy_to_packed10_line_c(uyvy, out.data(), 2);
    EXPECT_EQ(out.contents(), std::vector<unsigned char>(packed, packed + 5));
    GuardedBuffer back(4, 0x5A);
    kv_ycbcr422_packed10_to_uyvy_line_c(packed, back.data(), 2);
    EXPECT_EQ(back.contents(), std::vector<unsigned char>(uyvy, uyvy + 4));
    EXPECT_TRUE(out.guards_intact() && back.guards_intact());
}

TEST(Packed10Layout, TwoLowBitsAreDroppedTowards2vuy) {
    // Cb 0x3FF, Y0 0x003, Cr 0x3FF, Y1 0x003: FF | 11 000000 | 0011 1111 | 111111 00 | 00000011
    const unsigned char packed[5] = {0xFF, 0xC0, 0x3F, 0xFC, 0x03};
    EXPECT_EQ(unpack_stream(packed, 4), (std::vector<std::uint16_t>{0x3FF, 0x003, 0x3FF, 0x003}));
    unsigned char uyvy[4] = {};
    kv_ycbcr422_packed10_to_uyvy_line_c(packed, uyvy, 2);
    EXPECT_EQ(std::vector<unsigned char>(uyvy, uyvy + 4), (std::vector<unsigned char>{0xFF, 0x00, 0xFF, 0x00}));
}

TEST(Packed10Layout, OneGroupToV210WordByWord) {
    // Samples 1..12 in stream order: word w holds samples 3w+1, 3w+2, 3w+3.
    std::vector<std::uint16_t> samples;
    for (std::uint16_t s = 1; s <= 12; ++s) samples.push_back(static_cast<std::uint16_t>(s * 80));
    const auto packed = pack_stream(samples);
    ASSERT_EQ(packed.size(), 15u);
    GuardedBuffer v210(16, 0x5A);
    kv_ycbcr422_packed10_to_v210_line_c(packed.data(), v210.data(), 6);
    EXPECT_EQ(word_at(v210.data(), 0), 80u | 160u << 10 | 240u << 20);
    EXPECT_EQ(word_at(v210.data(), 1), 320u | 400u << 10 | 480u << 20);
    EXPECT_EQ(word_at(v210.data(), 2), 560u | 640u << 10 | 720u << 20);
    EXPECT_EQ(word_at(v210.data(), 3), 800u | 880u << 10 | 960u << 20);
    GuardedBuffer back(15, 0x5A);
    kv_ycbcr422_v210_to_packed10_line_c(v210.data(), back.data(), 6);
    EXPECT_EQ(back.contents(), packed);
    EXPECT_TRUE(v210.guards_intact() && back.guards_intact());
}

TEST(Packed10Layout, Width7WritesTwoGroupsOneWayAndFourPairsTheOther) {
    GuardedBuffer packed(30), v210(32, 0x5A);
    packed.fill_random(7);
    kv_ycbcr422_packed10_to_v210_line_c(packed.data(), v210.data(), 7);
    EXPECT_EQ(v210.contents(), expected_packed10_to_v210(packed.data(), 7));
    GuardedBuffer out(25, 0x5A);
    kv_ycbcr422_v210_to_packed10_line_c(v210.data(), out.data(), 7);
    for (std::size_t i = 20; i < 25; ++i) EXPECT_EQ(out[i], 0x5A) << "byte " << i;
    EXPECT_EQ(0, std::memcmp(out.data(), packed.data(), 20));
    EXPECT_TRUE(v210.guards_intact() && out.guards_intact());
}

TEST(Packed10Layout, WidthOneConvertsAPairOneWayAndNothingTheOther) {
    const unsigned char packed[5] = {0x80, 0x04, 0x08, 0x03, 0xAC};
    GuardedBuffer uyvy(4, 0x5A);
    kv_ycbcr422_packed10_to_uyvy_line_c(packed, uyvy.data(), 1);
    EXPECT_EQ(uyvy.contents(), (std::vector<unsigned char>{0x80, 0x10, 0x80, 0xEB}));
    GuardedBuffer out(5, 0x5A);
    kv_ycbcr422_uyvy_to_packed10_line_c(uyvy.data(), out.data(), 1);
    EXPECT_EQ(out.contents(), std::vector<unsigned char>(5, 0x5A));
    EXPECT_TRUE(uyvy.guards_intact() && out.guards_intact());
}

TEST(Packed10Layout, VariableShiftRightShiftsTheTwoLowLanes) {
    const __m128i a = _mm_setr_epi32(static_cast<int>(0x80000000u), static_cast<int>(0xF0F0F0F0u), 7, 9);
    const __m128i b = _mm_setr_epi32(31, 36, 1, 1);  // 36 is 4 modulo 32
    alignas(16) std::uint32_t lanes[4];
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes), sse_variable_shift_right(a, b));
    EXPECT_EQ(lanes[0], 1u);
    EXPECT_EQ(lanes[1], 0x0F0F0F0Fu);
    EXPECT_EQ(lanes[2], 0u);
    EXPECT_EQ(lanes[3], 0u);
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes),
                    sse_variable_shift_right(a, _mm_setr_epi32(0, 32, 0, 0)));
    EXPECT_EQ(lanes[0], 0x80000000u);
    EXPECT_EQ(lanes[1], 0xF0F0F0F0u);
}

// ---- every kernel against the model ----

class Packed10Kernels : public ::testing::TestWithParam<KernelCase> {};

TEST_P(Packed10Kernels, MatchesTheModelReadingAndWritingOnlyItsOwnBytes) {
    const KernelCase& c = GetParam();
    if (!available(c.variant)) GTEST_SKIP() << "processor lacks " << c.variant.name;
    for (int width : widths_to_test()) {
        // The source ends where the kernel may stop reading: a protected page follows.
        PageEndBuffer source(c.read_bytes(width));
        source.fill_random(static_cast<std::uint32_t>(width) * 31 + 5);
        const std::size_t written = c.written_bytes(width);
        GuardedBuffer destination(written, 0x5A);
        c.kernel(source.data(), destination.data(), width);
        ASSERT_EQ(destination.contents(), c.expected(source.data(), width)) << "width " << width;
        ASSERT_TRUE(destination.guards_intact()) << "width " << width;
    }
}

TEST_P(Packed10Kernels, NegativeWidthConvertsNothing) {
    const KernelCase& c = GetParam();
    if (!available(c.variant)) GTEST_SKIP();
    GuardedBuffer source(64), destination(64, 0x5A);
    c.kernel(source.data(), destination.data(), -7);
    EXPECT_EQ(destination.contents(), std::vector<unsigned char>(64, 0x5A));
}

INSTANTIATE_TEST_SUITE_P(AllVariants, Packed10Kernels, ::testing::ValuesIn(kernel_cases()),
                         [](const auto& info) { return info.param.name; });

TEST(Packed10Kernels, EveryVariantAgreesWithThePortableKernelOnTheSamePairs) {
    // Round trips through each variant: 2vuy -> packed10 -> 2vuy and
    // v210 -> packed10 -> v210 give the starting bytes.
    const struct {
        LineKernel to_uyvy, to_packed10, to_v210, from_v210;
        Variant variant;
    } sets[] = {{kv_ycbcr422_packed10_to_uyvy_line_c, kv_ycbcr422_uyvy_to_packed10_line_c,
                 kv_ycbcr422_packed10_to_v210_line_c, kv_ycbcr422_v210_to_packed10_line_c, kPortable},
                {kv_ycbcr422_packed10_to_uyvy_line_sse, kv_ycbcr422_uyvy_to_packed10_line_sse,
                 kv_ycbcr422_packed10_to_v210_line_sse, kv_ycbcr422_v210_to_packed10_line_sse, kSse},
                {kv_ycbcr422_packed10_to_uyvy_line_avx, kv_ycbcr422_uyvy_to_packed10_line_avx,
                 kv_ycbcr422_packed10_to_v210_line_avx, kv_ycbcr422_v210_to_packed10_line_avx, kAvx}};
    for (const auto& set : sets) {
        if (!available(set.variant)) continue;
        for (int width : {2, 6, 10, 12, 20, 96, 100, 1920, 3840}) {
            const auto uyvy = cconvert::test::random_bytes(2 * width, width);
            std::vector<unsigned char> packed(5 * width / 2), back(2 * width);
            set.to_packed10(uyvy.data(), packed.data(), width);
            set.to_uyvy(packed.data(), back.data(), width);
            ASSERT_EQ(back, uyvy) << set.variant.name << " width " << width;

            // v210 with bits 30-31 clear comes back unchanged.
            auto v210 = cconvert::test::random_bytes(16 * groups_of(width), width + 1);
            for (std::size_t i = 3; i < v210.size(); i += 4) v210[i] &= 0x3F;
            std::vector<unsigned char> packed_v210(15 * groups_of(width)), v210_back(v210.size());
            set.from_v210(v210.data(), packed_v210.data(), 6 * static_cast<int>(groups_of(width)));
            set.to_v210(packed_v210.data(), v210_back.data(), width);
            ASSERT_EQ(v210_back, v210) << set.variant.name << " width " << width;
        }
    }
}

// ---- frame drivers ----

namespace {

enum class Direction { PackedToUyvy, UyvyToPacked, PackedToV210, V210ToPacked };

// Bytes a row of the given width needs on the source and destination side,
// for the portable kernel (the most any variant reads or writes).
std::size_t source_row_bytes(Direction d, int width) {
    switch (d) {
    case Direction::PackedToUyvy: return 5 * ceil_pairs(width);
    case Direction::UyvyToPacked: return 4 * floor_pairs(width);
    case Direction::PackedToV210: return 15 * groups_of(width);
    case Direction::V210ToPacked: return 16 * groups_of(width);
    }
    return 0;
}

std::size_t destination_row_bytes(Direction d, int width) {
    switch (d) {
    case Direction::PackedToUyvy: return 4 * ceil_pairs(width);
    case Direction::UyvyToPacked: return 5 * floor_pairs(width);
    case Direction::PackedToV210: return 16 * groups_of(width);
    case Direction::V210ToPacked: return 5 * ceil_pairs(width);
    }
    return 0;
}

// The row the chosen kernel writes; packed10 to 2vuy converts width / 2
// pairs under the AVX2-class bit and ceil(width / 2) otherwise.
std::vector<unsigned char> expected_row(Direction d, const unsigned char* source, int width,
                                        unsigned int features) {
    switch (d) {
    case Direction::PackedToUyvy:
        return expected_packed10_to_uyvy(source, (features & KV_CPU_AVX2) ? floor_pairs(width) : ceil_pairs(width));
    case Direction::UyvyToPacked: return expected_uyvy_to_packed10(source, floor_pairs(width));
    case Direction::PackedToV210: return expected_packed10_to_v210(source, width);
    case Direction::V210ToPacked: return expected_v210_to_packed10(source, width);
    }
    return {};
}

void run_driver(Direction d, unsigned char* source, int source_pitch, int width, int first_row, int end_row,
                int height, unsigned char* destination, int destination_pitch, bool fields) {
    switch (d) {
    case Direction::PackedToUyvy:
        kv_ycbcr422_packed10_to_uyvy(source, source_pitch, width, first_row, end_row, destination,
                                     destination_pitch);
        break;
    case Direction::UyvyToPacked:
        kv_ycbcr422_uyvy_to_packed10(source, source_pitch, width, first_row, end_row, destination,
                                     destination_pitch);
        break;
    case Direction::PackedToV210:
        ccnvt_ycbcr422_packed10_to_v210(source, source_pitch, width, first_row, end_row, height, destination,
                                        destination_pitch, fields);
        break;
    case Direction::V210ToPacked:
        ccnvt_ycbcr422_v210_to_packed10(source, source_pitch, width, first_row, end_row, height, destination,
                                        destination_pitch, fields);
        break;
    }
}

const Direction kDirections[] = {Direction::PackedToUyvy, Direction::UyvyToPacked, Direction::PackedToV210,
                                 Direction::V210ToPacked};

const char* direction_name(Direction d) {
    switch (d) {
    case Direction::PackedToUyvy: return "packed10_to_uyvy";
    case Direction::UyvyToPacked: return "uyvy_to_packed10";
    case Direction::PackedToV210: return "packed10_to_v210";
    case Direction::V210ToPacked: return "v210_to_packed10";
    }
    return "";
}

// A frame of height rows at the given pitches, checked row by row. For a
// field-separated v210 frame, destination row of source row r is mapped.
struct FrameCase {
    Direction direction;
    int width, height, source_pitch, destination_pitch;
};

// The destination row that source row r lands on.
int destination_row_of(Direction d, int r, int height, bool fields) {
    if (!fields) return r;
    const int half = height / 2;
    const int v210_row = r < half ? 2 * r + 1 : 2 * (r - half);
    return d == Direction::PackedToV210 ? v210_row : r;
}

int source_row_of(Direction d, int r, int height, bool fields) {
    if (!fields || d != Direction::V210ToPacked) return r;
    const int half = height / 2;
    return r < half ? 2 * r + 1 : 2 * (r - half);
}

// Converts the frame in the given bands into a fresh destination and checks
// every row (and that bytes outside the rows' data stay untouched).
void check_bands(const FrameCase& f, const std::vector<std::pair<int, int>>& bands, bool fields,
                 unsigned int features, const std::string& what) {
    const std::size_t source_size = static_cast<std::size_t>(f.source_pitch) * f.height;
    const std::size_t destination_size = static_cast<std::size_t>(f.destination_pitch) * f.height;
    GuardedBuffer source(source_size);
    source.fill_random(static_cast<std::uint32_t>(f.width * 7 + f.height));
    GuardedBuffer destination(destination_size, 0x5A);
    for (auto [first, end] : bands)
        run_driver(f.direction, source.data(), f.source_pitch, f.width, first, end, f.height, destination.data(),
                   f.destination_pitch, fields);
    std::vector<bool> covered(f.height, false);
    for (auto [first, end] : bands)
        for (int r = first; r < end; ++r) covered[r] = true;
    std::vector<unsigned char> expected(destination_size, 0x5A);
    for (int r = 0; r < f.height; ++r) {
        if (!covered[r]) continue;
        const int from = source_row_of(f.direction, r, f.height, fields);
        const int to = destination_row_of(f.direction, r, f.height, fields);
        const auto row = expected_row(f.direction, source.data() + static_cast<std::size_t>(from) * f.source_pitch,
                                      f.width, features);
        std::copy(row.begin(), row.end(), expected.begin() + static_cast<std::ptrdiff_t>(to) * f.destination_pitch);
    }
    ASSERT_EQ(destination.contents(), expected) << what;
    ASSERT_TRUE(destination.guards_intact()) << what;
}

}  // namespace

class Packed10Drivers : public ::testing::TestWithParam<unsigned int> {};

TEST_P(Packed10Drivers, BandsSplittingTheFrameAtEveryRowGiveTheWholeFrame) {
    ScopedCpuFeatures features(GetParam());
    for (Direction d : kDirections)
        for (int width : {1, 7, 37, 48, 50, 97, 200}) {
            const int height = 7;
            FrameCase f{d, width, height, static_cast<int>(source_row_bytes(d, width)) + 3,
                        static_cast<int>(destination_row_bytes(d, width)) + 5};
            for (int split = 0; split <= height; ++split) {
                const std::string what = std::string(direction_name(d)) + " width " + std::to_string(width) +
                                         " split " + std::to_string(split);
                check_bands(f, {{0, split}, {split, height}}, false, GetParam(), what);
            }
        }
}

TEST_P(Packed10Drivers, ABandTouchesOnlyItsOwnRows) {
    ScopedCpuFeatures features(GetParam());
    for (Direction d : kDirections)
        for (auto [first, end] : std::vector<std::pair<int, int>>{{2, 5}, {3, 3}, {5, 2}, {0, 1}, {6, 7}}) {
            const int width = 61, height = 7;
            FrameCase f{d, width, height, static_cast<int>(source_row_bytes(d, width)),
                        static_cast<int>(destination_row_bytes(d, width)) + 16};
            check_bands(f, {{first, end}}, false, GetParam(),
                        std::string(direction_name(d)) + " band " + std::to_string(first) + ".." + std::to_string(end));
        }
}

TEST_P(Packed10Drivers, FieldSeparatedFramesPutTheFirstStoredFieldOnTheOddLines) {
    ScopedCpuFeatures features(GetParam());
    for (Direction d : {Direction::PackedToV210, Direction::V210ToPacked})
        for (int height : {1, 2, 4, 5, 7, 8})
            for (int width : {6, 50, 96}) {
                FrameCase f{d, width, height, static_cast<int>(source_row_bytes(d, width)) + 2,
                            static_cast<int>(destination_row_bytes(d, width)) + 4};
                for (int split = 0; split <= height; ++split)
                    check_bands(f, {{0, split}, {split, height}}, true, GetParam(),
                                std::string(direction_name(d)) + " fields, height " + std::to_string(height) +
                                    " width " + std::to_string(width) + " split " + std::to_string(split));
            }
}

TEST_P(Packed10Drivers, FieldsOfFourRowsLandOnV210Rows1302) {
    ScopedCpuFeatures features(GetParam());
    const int width = 12, height = 4, packed_pitch = 30, v210_pitch = 32;
    GuardedBuffer packed(packed_pitch * height);
    // Each packed10 row holds one sample value everywhere: row r is r + 1.
    for (int r = 0; r < height; ++r) {
        const auto row = pack_stream(std::vector<std::uint16_t>(24, static_cast<std::uint16_t>(r + 1)));
        std::memcpy(packed.data() + r * packed_pitch, row.data(), row.size());
    }
    GuardedBuffer v210(v210_pitch * height, 0);
    ccnvt_ycbcr422_packed10_to_v210(packed.data(), packed_pitch, width, 0, height, height, v210.data(),
                                    v210_pitch, true);
    const int packed_row_on_v210_row[4] = {2, 0, 3, 1};
    for (int v = 0; v < height; ++v)
        EXPECT_EQ(word_at(v210.data() + v * v210_pitch, 0) & 0x3FF,
                  static_cast<std::uint32_t>(packed_row_on_v210_row[v] + 1))
            << "v210 row " << v;
    // Without fields the rows stay in order.
    ccnvt_ycbcr422_packed10_to_v210(packed.data(), packed_pitch, width, 0, height, 0, v210.data(), v210_pitch,
                                    false);
    for (int v = 0; v < height; ++v)
        EXPECT_EQ(word_at(v210.data() + v * v210_pitch, 0) & 0x3FF, static_cast<std::uint32_t>(v + 1));
}

TEST_P(Packed10Drivers, ZeroPitchesMeanTheDefaultRows) {
    ScopedCpuFeatures features(GetParam());
    // Default rows: packed10 (width * 5) / 2, 2vuy width * 2, v210 128 bytes per
    // 48 pixels or part of 48.
    for (int width : {48, 50, 96, 100}) {
        const int height = 3;
        const int packed_pitch = width * 5 / 2, uyvy_pitch = 2 * width;
        const int v210_pitch = width % 48 == 0 ? width * 8 / 3 : (width / 48 + 1) * 128;
        for (Direction d : kDirections) {
            int source_pitch = 0, destination_pitch = 0;
            switch (d) {
            case Direction::PackedToUyvy: source_pitch = packed_pitch, destination_pitch = uyvy_pitch; break;
            case Direction::UyvyToPacked: source_pitch = uyvy_pitch, destination_pitch = packed_pitch; break;
            case Direction::PackedToV210: source_pitch = packed_pitch, destination_pitch = v210_pitch; break;
            case Direction::V210ToPacked: source_pitch = v210_pitch, destination_pitch = packed_pitch; break;
            }
            GuardedBuffer source(static_cast<std::size_t>(source_pitch) * height);
            source.fill_random(static_cast<std::uint32_t>(width));
            GuardedBuffer by_default(static_cast<std::size_t>(destination_pitch) * height, 0x5A);
            GuardedBuffer explicitly(static_cast<std::size_t>(destination_pitch) * height, 0x5A);
            run_driver(d, source.data(), 0, width, 0, height, height, by_default.data(), 0, false);
            run_driver(d, source.data(), source_pitch, width, 0, height, height, explicitly.data(),
                       destination_pitch, false);
            EXPECT_EQ(by_default.contents(), explicitly.contents()) << direction_name(d) << " width " << width;
            EXPECT_TRUE(by_default.guards_intact());
        }
    }
}

TEST_P(Packed10Drivers, OddWidthDefaultPackedRowLeavesOutTheHalfPair) {
    ScopedCpuFeatures features(GetParam());
    // Width 51: (51 * 5) / 2 = 127 bytes per default packed10 row, while 26
    // whole pairs take 130: the rows read by the portable kernel overlap.
    const int width = 51, height = 2;
    GuardedBuffer packed(127 + 130);
    packed.fill_random(51);
    GuardedBuffer uyvy(2 * width * height + 2, 0x5A);
    kv_ycbcr422_packed10_to_uyvy(packed.data(), 0, width, 1, 2, uyvy.data(), 0);
    const std::size_t pairs = (GetParam() & KV_CPU_AVX2) ? 25 : 26;
    const auto row1 = expected_packed10_to_uyvy(packed.data() + 127, pairs);
    EXPECT_EQ(0, std::memcmp(uyvy.data() + 2 * width, row1.data(), row1.size()));
    EXPECT_TRUE(uyvy.guards_intact());

    // The other way each row is width / 2 = 25 pairs: bytes 125 and 126 stay.
    GuardedBuffer back(127 + 125, 0x5A);
    kv_ycbcr422_uyvy_to_packed10(uyvy.data(), 0, width, 0, height, back.data(), 0);
    EXPECT_EQ(back[125], 0x5A);
    EXPECT_EQ(back[126], 0x5A);
    EXPECT_EQ(0, std::memcmp(back.data() + 127, expected_uyvy_to_packed10(uyvy.data() + 2 * width, 25).data(), 125));
    EXPECT_TRUE(back.guards_intact());
}

TEST_P(Packed10Drivers, NegativePitchesWalkUpTheBuffer) {
    ScopedCpuFeatures features(GetParam());
    for (Direction d : kDirections) {
        const int width = 50, height = 5;
        const int source_pitch = static_cast<int>(source_row_bytes(d, width)) + 8;
        const int destination_pitch = static_cast<int>(destination_row_bytes(d, width));
        GuardedBuffer source(static_cast<std::size_t>(source_pitch) * height);
        source.fill_random(99);
        GuardedBuffer destination(static_cast<std::size_t>(destination_pitch) * height, 0x5A);
        // The source is given bottom-up: row r is stored at height - 1 - r.
        unsigned char* last_row = source.data() + static_cast<std::size_t>(source_pitch) * (height - 1);
        run_driver(d, last_row, -source_pitch, width, 0, height, height, destination.data(), destination_pitch,
                   false);
        for (int r = 0; r < height; ++r) {
            const auto row = expected_row(
                d, source.data() + static_cast<std::size_t>(source_pitch) * (height - 1 - r), width, GetParam());
            ASSERT_EQ(0, std::memcmp(destination.data() + static_cast<std::size_t>(destination_pitch) * r,
                                     row.data(), row.size()))
                << direction_name(d) << " row " << r;
        }
        // A band of a bottom-up destination.
        GuardedBuffer flipped(static_cast<std::size_t>(destination_pitch) * height, 0x5A);
        unsigned char* last_out = flipped.data() + static_cast<std::size_t>(destination_pitch) * (height - 1);
        run_driver(d, source.data(), source_pitch, width, 1, 3, height, last_out, -destination_pitch, false);
        for (int r = 1; r < 3; ++r) {
            const auto row = expected_row(d, source.data() + static_cast<std::size_t>(source_pitch) * r, width,
                                          GetParam());
            ASSERT_EQ(0, std::memcmp(flipped.data() + static_cast<std::size_t>(destination_pitch) * (height - 1 - r),
                                     row.data(), row.size()))
                << direction_name(d) << " flipped row " << r;
        }
        EXPECT_TRUE(destination.guards_intact() && flipped.guards_intact());
    }
}

INSTANTIATE_TEST_SUITE_P(FeatureWords, Packed10Drivers,
                         ::testing::ValuesIn(cconvert::test::feature_words_to_test()),
                         [](const auto& info) { return cconvert::test::feature_word_name(info.param); });

TEST(Packed10Dispatch, PackedToUyvyTakesTheVectorKernelOnlyWithTheAvx2Bit) {
    // Width 9: the portable kernel converts five pairs, the vector kernel four;
    // the last pair shows which one ran.
    const int width = 9;
    const auto packed = cconvert::test::random_bytes(25, 3);
    const auto five_pairs = expected_packed10_to_uyvy(packed.data(), 5);
    for (unsigned int word : cconvert::test::feature_words_to_test()) {
        ScopedCpuFeatures features(word);
        GuardedBuffer uyvy(20, 0x5A);
        kv_ycbcr422_packed10_to_uyvy(const_cast<unsigned char*>(packed.data()), 25, width, 0, 1, uyvy.data(), 20);
        std::vector<unsigned char> expected = five_pairs;
        if (word & KV_CPU_AVX2) std::fill(expected.begin() + 16, expected.end(), 0x5A);
        EXPECT_EQ(uyvy.contents(), expected) << cconvert::test::feature_word_name(word);
    }
}
