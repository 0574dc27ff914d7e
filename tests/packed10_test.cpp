// packed10 line kernels (source ending at a protected page, destination
// guarded) and frame drivers (bands, fields, every kind of pitch).
#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/packed10.h"
#include "kvutil.h"
#include "support/test_support.h"
#include "tests/packed10_model.h"

using cconvert::test::GuardedBuffer;
using namespace cconvert::test::model;

namespace {

std::size_t ceil_pairs(int width) { return width > 0 ? (width + 1) / 2 : 0; }
std::size_t floor_pairs(int width) { return width > 0 ? width / 2 : 0; }

// A random source whose last byte is followed by a protected page.
struct PageEndBuffer {
    std::size_t page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE)), mapped;
    unsigned char *base, *data;
    explicit PageEndBuffer(std::size_t size) : mapped((size + 2 * page - 1) / page * page) {
        void* map = mmap(nullptr, mapped, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (map == MAP_FAILED) throw std::runtime_error("mmap");
        base = static_cast<unsigned char*>(map);
        mprotect(base + mapped - page, page, PROT_NONE);
        data = base + mapped - page - size;
        cconvert::test::fill_random(data, size, static_cast<std::uint32_t>(size));
    }
    ~PageEndBuffer() { munmap(base, mapped); }
};

enum Dir { PackedToUyvy, UyvyToPacked, PackedToV210, V210ToPacked };
const Dir kDirs[] = {PackedToUyvy, UyvyToPacked, PackedToV210, V210ToPacked};
const char* const kDirNames[] = {"packed10_to_uyvy", "uyvy_to_packed10", "packed10_to_v210", "v210_to_packed10"};

// Bytes a row reads (or writes). packed10 to 2vuy converts ceil(width / 2)
// pairs in the portable kernel and width / 2 in the vector ones (floor_uyvy).
std::size_t row_bytes(Dir d, int width, bool written, bool floor_uyvy = false) {
    const std::size_t pairs = floor_uyvy ? floor_pairs(width) : ceil_pairs(width), groups = groups_of(width);
    switch (d) {
    case PackedToUyvy: return (written ? 4 : 5) * pairs;
    case UyvyToPacked: return (written ? 5 : 4) * floor_pairs(width);
    case PackedToV210: return (written ? 16 : 15) * groups;
    case V210ToPacked: return written ? 5 * ceil_pairs(width) : 16 * groups;
    }
    return 0;
}

Bytes expected_row(Dir d, const unsigned char* source, int width, bool floor_uyvy = false) {
    switch (d) {
    case PackedToUyvy: return narrow(unpack_stream(source, row_bytes(d, width, false, floor_uyvy) * 4 / 5));
    case UyvyToPacked: return pack_stream(widen(source, 4 * floor_pairs(width)));
    case PackedToV210: return v210_from_samples(unpack_stream(source, 12 * groups_of(width)));
    case V210ToPacked: {
        Samples samples = samples_from_v210(source, groups_of(width));
        samples.resize(4 * ceil_pairs(width));
        return pack_stream(samples);
    }
    }
    return {};
}

using LineKernel = void (*)(const unsigned char*, unsigned char*, int);

// Each direction's portable, SSE-class and AVX2-class kernels.
const LineKernel kLines[4][3] = {
    {kv_ycbcr422_packed10_to_uyvy_line_c, kv_ycbcr422_packed10_to_uyvy_line_sse, kv_ycbcr422_packed10_to_uyvy_line_avx},
    {kv_ycbcr422_uyvy_to_packed10_line_c, kv_ycbcr422_uyvy_to_packed10_line_sse, kv_ycbcr422_uyvy_to_packed10_line_avx},
    {kv_ycbcr422_packed10_to_v210_line_c, kv_ycbcr422_packed10_to_v210_line_sse, kv_ycbcr422_packed10_to_v210_line_avx},
    {kv_ycbcr422_v210_to_packed10_line_c, kv_ycbcr422_v210_to_packed10_line_sse, kv_ycbcr422_v210_to_packed10_line_avx}};
const char* const kVariants[] = {"c", "sse", "avx"};
const unsigned int kNeeds[] = {0, KV_CPU_SSE, KV_CPU_AVX2};  // the feature bits their instructions need

// A negative width, up to three AVX2 steps, both sides of a few more, long lines.
std::vector<int> kernel_widths() {
    std::vector<int> widths = {-7, 95, 96, 97, 143, 144, 145, 1919, 1920, 4097};
    for (int w = 0; w <= 72; ++w) widths.push_back(w);
    return widths;
}

}  // namespace

TEST(Packed10Layout, PortableKernelsGiveTheBytesWorkedByHand) {
    // 2vuy Cb 0x80, Y0 0x10, Cr 0x80, Y1 0xEB is samples 0x200 0x040 0x200 0x3AC.
    const Bytes studio_uyvy = {0x80, 0x10, 0x80, 0xEB}, studio_packed = {0x80, 0x04, 0x08, 0x03, 0xAC};
    // Samples 80, 160, ..., 960: v210 word w holds samples 3w+1 .. 3w+3.
    Samples ramp;
    for (std::uint16_t s = 1; s <= 12; ++s) ramp.push_back(static_cast<std::uint16_t>(80 * s));
    const Bytes ramp_v210 = le_words({80u | 160u << 10 | 240u << 20, 320u | 400u << 10 | 480u << 20,
                                      560u | 640u << 10 | 720u << 20, 800u | 880u << 10 | 960u << 20});
    const struct {
        Dir dir;
        int width;
        Bytes in, out;  // 0x5A marks bytes left alone
    } cases[] = {
        {UyvyToPacked, 2, studio_uyvy, studio_packed},
        {PackedToUyvy, 1, studio_packed, studio_uyvy},             // the portable kernel rounds pairs up
        {UyvyToPacked, 1, studio_uyvy, Bytes(5, 0x5A)},           // and down the other way
        // Cb 0x3FF, Y0 0x003, Cr 0x3FF, Y1 0x003: the two low bits go.
        {PackedToUyvy, 2, {0xFF, 0xC0, 0x3F, 0xFC, 0x03}, {0xFF, 0x00, 0xFF, 0x00}},
        {PackedToV210, 6, pack_stream(ramp), ramp_v210},
        {V210ToPacked, 6, ramp_v210, pack_stream(ramp)},
    };
    for (const auto& c : cases) {
        GuardedBuffer out(c.out.size(), 0x5A);
        kLines[c.dir][0](c.in.data(), out.data(), c.width);
        EXPECT_EQ(out.contents(), c.out) << kDirNames[c.dir] << " width " << c.width;
        EXPECT_TRUE(out.guards_intact());
    }
}

TEST(Packed10Layout, VariableShiftRightShiftsTheTwoLowLanesModulo32) {
    alignas(16) std::uint32_t lanes[4];
    const __m128i a = _mm_setr_epi32(static_cast<int>(0x80000000u), static_cast<int>(0xF0F0F0F0u), 7, 9);
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes), sse_variable_shift_right(a, _mm_setr_epi32(31, 36, 1, 1)));
    EXPECT_EQ(std::vector<std::uint32_t>(lanes, lanes + 4), (std::vector<std::uint32_t>{1, 0x0F0F0F0F, 0, 0}));
    _mm_store_si128(reinterpret_cast<__m128i*>(lanes), sse_variable_shift_right(a, _mm_setr_epi32(0, 32, 0, 0)));
    EXPECT_EQ(std::vector<std::uint32_t>(lanes, lanes + 2), (std::vector<std::uint32_t>{0x80000000u, 0xF0F0F0F0u}));
}

class Packed10Kernels : public ::testing::TestWithParam<std::tuple<Dir, int>> {};  // direction, variant

TEST_P(Packed10Kernels, MatchTheModelReadingAndWritingOnlyTheirOwnBytes) {
    const auto [dir, variant] = GetParam();
    const unsigned int needs = kNeeds[variant];
    if ((cconvert::test::probed_feature_word() & needs) != needs) GTEST_SKIP() << "processor lacks " << kVariants[variant];
    for (int width : kernel_widths()) {
        PageEndBuffer source(row_bytes(dir, width, false, variant != 0));
        GuardedBuffer destination(row_bytes(dir, width, true, variant != 0), 0x5A);
        kLines[dir][variant](source.data, destination.data(), width);
        ASSERT_EQ(destination.contents(), expected_row(dir, source.data, width, variant != 0)) << "width " << width;
        ASSERT_TRUE(destination.guards_intact()) << "width " << width;
    }
}

INSTANTIATE_TEST_SUITE_P(AllVariants, Packed10Kernels, ::testing::Combine(::testing::ValuesIn(kDirs), ::testing::Range(0, 3)),
                         [](const auto& info) {
                             return std::string(kDirNames[std::get<0>(info.param)]) + "_" + kVariants[std::get<1>(info.param)];
                         });

namespace {

void run_driver(Dir d, unsigned char* s, int sp, int width, int first, int end, int height, unsigned char* o, int op,
                bool fields) {
    switch (d) {
    case PackedToUyvy: return kv_ycbcr422_packed10_to_uyvy(s, sp, width, first, end, o, op);
    case UyvyToPacked: return kv_ycbcr422_uyvy_to_packed10(s, sp, width, first, end, o, op);
    case PackedToV210: return ccnvt_ycbcr422_packed10_to_v210(s, sp, width, first, end, height, o, op, fields);
    case V210ToPacked: return ccnvt_ycbcr422_v210_to_packed10(s, sp, width, first, end, height, o, op, fields);
    }
}

struct Frame {
    Dir dir;
    int width, height, source_pitch, destination_pitch;  // 0: the default; negative: stored bottom-up
    bool fields;
};

// The rows a pitch of 0 stands for.
int default_pitch(Dir d, bool source, int width) {
    const bool packed = source ? d == PackedToUyvy || d == PackedToV210 : d == UyvyToPacked || d == V210ToPacked;
    const bool v210 = source ? d == V210ToPacked : d == PackedToV210;
    return packed ? width * 5 / 2 : v210 ? static_cast<int>(v210_pitch(width)) : 2 * width;
}

// Where row r starts in a buffer of height rows |pitch| apart.
std::size_t row_start(int r, int pitch, int height) {
    return static_cast<std::size_t>(pitch >= 0 ? r : height - 1 - r) * static_cast<std::size_t>(std::abs(pitch));
}

// Converts the frame band by band into 0x5A and compares every byte with the model.
void check_bands(const Frame& f, const std::vector<std::pair<int, int>>& bands, unsigned int features) {
    const bool floor_uyvy = (features & KV_CPU_AVX2) != 0;
    const int sp = f.source_pitch ? f.source_pitch : default_pitch(f.dir, true, f.width);
    const int dp = f.destination_pitch ? f.destination_pitch : default_pitch(f.dir, false, f.width);
    GuardedBuffer source(static_cast<std::size_t>(std::abs(sp)) * f.height + 16);
    source.fill_random(static_cast<std::uint32_t>(f.width * 7 + f.height));
    GuardedBuffer destination(static_cast<std::size_t>(std::abs(dp)) * f.height + 16, 0x5A);
    for (auto [first, end] : bands)
        run_driver(f.dir, source.data() + row_start(0, sp, f.height), f.source_pitch, f.width, first, end, f.height,
                   destination.data() + row_start(0, dp, f.height), f.destination_pitch, f.fields);
    Bytes expected(destination.size(), 0x5A);
    for (auto [first, end] : bands)
        for (int r = first; r < end; ++r) {
            const int v210_row = static_cast<int>(row_of_line(r, f.height, f.fields));
            const int from = f.dir == V210ToPacked ? v210_row : r, to = f.dir == PackedToV210 ? v210_row : r;
            const Bytes row = expected_row(f.dir, source.data() + row_start(from, sp, f.height), f.width, floor_uyvy);
            std::copy(row.begin(), row.end(), expected.begin() + row_start(to, dp, f.height));
        }
    std::ostringstream what;
    what << kDirNames[f.dir] << " " << f.width << "x" << f.height << " pitches " << f.source_pitch << " "
         << f.destination_pitch << (f.fields ? " fields," : ",") << " bands";
    for (auto [first, end] : bands) what << " " << first << ".." << end;
    ASSERT_TRUE(destination.contents() == expected && destination.guards_intact()) << what.str();
}

// Splits at every row, and single bands (an empty and a reversed one too).
std::vector<std::vector<std::pair<int, int>>> band_sets(int height) {
    std::vector<std::vector<std::pair<int, int>>> sets = {{{height - 1, height}}};
    if (height >= 5) sets.insert(sets.end(), {{{2, 5}}, {{3, 3}}, {{5, 2}}});
    for (int split = 0; split <= height; ++split) sets.push_back({{0, split}, {split, height}});
    return sets;
}

class Packed10Drivers : public FeatureWordTest {};

}  // namespace

TEST_P(Packed10Drivers, BandsOfPaddedDefaultBottomUpAndFieldSeparatedFramesFollowTheModel) {
    for (Dir d : kDirs)
        for (int width : {1, 7, 48, 50, 97}) {
            const int in = static_cast<int>(row_bytes(d, width, false)), out = static_cast<int>(row_bytes(d, width, true));
            for (auto [source_pitch, destination_pitch] :
                 std::vector<std::pair<int, int>>{{in + 3, out + 5}, {-(in + 8), out}, {in, -out}, {0, 0}})
                for (const auto& bands : band_sets(7))
                    check_bands({d, width, 7, source_pitch, destination_pitch, false}, bands, GetParam());
            if (d == PackedToV210 || d == V210ToPacked)  // separate fields: the first half on the odd v210 rows
                for (int height : {1, 2, 5, 8})
                    for (const auto& bands : band_sets(height))
                        check_bands({d, width, height, in + 2, out + 4, true}, bands, GetParam());
        }
}

CCNVT_UNDER_EVERY_FEATURE_WORD(Packed10Drivers);
