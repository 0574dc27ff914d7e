// Start-up, the library's own shims, kernel choice and the cache-line allocator.
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/frame.h"
#include "frame/dispatch.h"
#include "frame/shim_protocol.h"
#include "support/test_support.h"

using cconvert::test::ScopedCpuFeatures;

TEST(Open, ReturnsZeroAndFindsMmxOnceForGood) {
    {
        ScopedCpuFeatures none(0);
        EXPECT_EQ(0, ccvnt_open(0, 0, 0, 0));
        EXPECT_EQ(use_MMX, 0);
        ScopedCpuFeatures mmx(0x20);  // not found yet: it asks again
        EXPECT_EQ(0, ccvnt_open(1, 2, 3, 0xFFFFFFFFu));
        EXPECT_EQ(use_MMX, 1);
    }
    ScopedCpuFeatures none(0);  // once found, it never asks again
    EXPECT_EQ(0, ccvnt_open(7, 7, 7, 7));
    EXPECT_EQ(use_MMX, 1);
}

// The library's own shims (rgb_shims_test.cpp replaces the RGB ones in this executable).
TEST(Shims, TheLibrarysShimsDeclineAndTouchNothing) {
    std::vector<unsigned char> a(64, 0x11), b(64, 0x22);
    EXPECT_EQ(0, cconvert_copy_bytes_arm(a.data(), b.data(), 64));
    EXPECT_EQ(0, cconvert_copy_bytes_intel(a.data(), b.data(), 64));
    EXPECT_EQ(0, cconvert_2vuy_planar_arm(b.data(), a.data(), a.data() + 16, a.data() + 32, 8));
    EXPECT_EQ(0, cconvert_2vuy_planar_intel(b.data(), a.data(), a.data() + 16, a.data() + 32, 8));
    EXPECT_EQ(a, std::vector<unsigned char>(64, 0x11));
    EXPECT_EQ(b, std::vector<unsigned char>(64, 0x22));
    EXPECT_EQ(0, yCbCr_halffloat_avx2_available());
    EXPECT_EQ(0, yCbCr_halffloat_neon_available());
}

namespace {
std::string shim_log;
int arm_answer, intel_answer;
int fake_arm(int unit) { shim_log += "arm" + std::to_string(unit) + " "; return arm_answer; }
int fake_intel(int unit) { shim_log += "intel" + std::to_string(unit) + " "; return intel_answer; }
}  // namespace

TEST(ShimProtocol, ArmThenIntelThenTheCaller) {
    const struct { int arm, intel; bool taken; const char* log; } cases[] = {
        {0, 0, false, "arm1 intel1 "}, {0, 5, true, "arm1 intel1 "}, {-1, 0, true, "arm1 "}};
    for (const auto& c : cases) {
        shim_log.clear(), arm_answer = c.arm, intel_answer = c.intel;
        EXPECT_EQ(cconvert::detail::offered_to_shims(fake_arm, fake_intel, 1), c.taken);
        EXPECT_EQ(shim_log, c.log);
    }
}

TEST(KernelChoice, Bit23ThenBit15ThenPortable) {
    using cconvert::detail::choose_kernel;
    const char *portable = "portable", *sse = "sse", *avx2 = "avx2";
    const struct { unsigned int word; const char *with_all, *without_sse, *without_avx2; } cases[] = {
        {0x000000, portable, portable, portable},
        {0x008000, sse, portable, sse},
        {0x800000, avx2, avx2, portable},
        {0x808000, avx2, avx2, sse},
        {0xFF7F7FFF, portable, portable, portable},  // every other bit set
    };
    for (const auto& c : cases) {
        ScopedCpuFeatures features(c.word);
        EXPECT_EQ(choose_kernel(portable, sse, avx2), c.with_all) << std::hex << c.word;
        EXPECT_EQ(choose_kernel<const char*>(portable, nullptr, avx2), c.without_sse) << std::hex << c.word;
        EXPECT_EQ(choose_kernel<const char*>(portable, sse, nullptr), c.without_avx2) << std::hex << c.word;
    }
}

TEST(KernelChoice, OverlapTest) {
    unsigned char b[64];
    const struct { int a_at, a_bytes, b_at; bool overlap; } cases[] = {
        {0, 16, 0, true}, {0, 16, 15, true}, {15, 16, 0, true}, {0, 16, 16, false}, {16, 16, 0, false}, {0, 0, 0, false}};
    for (const auto& c : cases)
        EXPECT_EQ(cconvert::detail::ranges_overlap(b + c.a_at, c.a_bytes, b + c.b_at, 16), c.overlap) << c.a_at;
}

TEST(CacheLines, AlignedPointerLiesInsideTheBlock) {
    for (int size : {0, 1, 31, 32, 33, 100, 4096}) {
        void *raw = nullptr, *aligned = nullptr;
        EXPECT_EQ(malloc_own_cache_lines(size, &raw, &aligned), raw);
        const auto r = reinterpret_cast<std::uintptr_t>(raw), a = reinterpret_cast<std::uintptr_t>(aligned);
        EXPECT_EQ(a % 32, 0u) << size;
        EXPECT_LE(a - r, 31u);  // unsigned: also a >= r
        for (int i = 0; i < size; ++i) static_cast<unsigned char*>(aligned)[i] = 0xAB;  // ASan checks
        free_own_cache_lines(&raw, &aligned);
        EXPECT_EQ(raw, nullptr);
        EXPECT_EQ(aligned, nullptr);
        free_own_cache_lines(&raw, &aligned);  // an empty pair stays empty
    }
}
