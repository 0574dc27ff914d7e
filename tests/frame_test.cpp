// Start-up, shims, kernel choice and the cache-line allocator.
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
        // Without the feature it asks again on every call.
        ScopedCpuFeatures mmx(0x20);
        EXPECT_EQ(0, ccvnt_open(1, 2, 3, 0xFFFFFFFFu));
        EXPECT_EQ(use_MMX, 1);
    }
    // Once found, it never asks again.
    ScopedCpuFeatures none(0);
    EXPECT_EQ(0, ccvnt_open(7, 7, 7, 7));
    EXPECT_EQ(use_MMX, 1);
}

TEST(Shims, EveryShimDeclinesAndTouchesNothing) {
    std::vector<unsigned char> a(64, 0x11), b(64, 0x22);
    unsigned int* words_a = reinterpret_cast<unsigned int*>(a.data());
    unsigned int* words_b = reinterpret_cast<unsigned int*>(b.data());
    EXPECT_EQ(0, cconvert_copy_bytes_arm(a.data(), b.data(), 64));
    EXPECT_EQ(0, cconvert_copy_bytes_intel(a.data(), b.data(), 64));
    EXPECT_EQ(0, cconvert_fill_dword_arm(a.data(), 0xFFFFFFFF, 16));
    EXPECT_EQ(0, cconvert_fill_dword_intel(a.data(), 0xFFFFFFFF, 16));
    for (int op = 0; op <= 9; ++op) {
        EXPECT_EQ(0, cconvert_rgb2rgb_shuffle_arm(words_a, words_b, 16,
                                                  static_cast<cconvert_rgb2rgb_shuffle_op>(op)));
        EXPECT_EQ(0, cconvert_rgb2rgb_shuffle_intel(words_a, words_b, 16,
                                                    static_cast<cconvert_rgb2rgb_shuffle_op>(op)));
    }
    EXPECT_EQ(0, cconvert_rgb24_to_rgba32_arm(a.data(), b.data(), 16, 0));
    EXPECT_EQ(0, cconvert_rgb24_to_rgba32_intel(a.data(), b.data(), 16, 1));
    EXPECT_EQ(0, cconvert_rgba32_to_bgr24_arm(a.data(), b.data(), 16));
    EXPECT_EQ(0, cconvert_rgba32_to_bgr24_intel(a.data(), b.data(), 16));
    EXPECT_EQ(0, cconvert_argb64_reorder_arm(a.data(), b.data(), 8, 1, 2, 3, 4));
    EXPECT_EQ(0, cconvert_argb64_reorder_intel(a.data(), b.data(), 8, 1, 2, 3, 4));
    EXPECT_EQ(0, cconvert_2vuy_planar_arm(b.data(), a.data(), a.data() + 16, a.data() + 32, 8));
    EXPECT_EQ(0, cconvert_2vuy_planar_intel(b.data(), a.data(), a.data() + 16, a.data() + 32, 8));
    EXPECT_EQ(a, std::vector<unsigned char>(64, 0x11));
    EXPECT_EQ(b, std::vector<unsigned char>(64, 0x22));
    EXPECT_EQ(0, yCbCr_halffloat_avx2_available());
    EXPECT_EQ(0, yCbCr_halffloat_neon_available());
}

TEST(Shims, ShuffleOperationValuesAreZeroToNine) {
    EXPECT_EQ(CCONVERT_SHUFFLE_RGBA2ARGB, 0);
    EXPECT_EQ(CCONVERT_SHUFFLE_ABGR2BGRA, 8);
    EXPECT_EQ(CCONVERT_SHUFFLE_ARGB32_RGBA32, 9);
}

// ---- the shim protocol helper ----

namespace {
std::string shim_log;
int arm_answer = 0, intel_answer = 0;
int fake_arm(int unit) { shim_log += "arm" + std::to_string(unit) + " "; return arm_answer; }
int fake_intel(int unit) { shim_log += "intel" + std::to_string(unit) + " "; return intel_answer; }
}  // namespace

TEST(ShimProtocol, ArmThenIntelThenTheCaller) {
    using cconvert::detail::offered_to_shims;
    shim_log.clear(), arm_answer = 0, intel_answer = 0;
    EXPECT_FALSE(offered_to_shims(fake_arm, fake_intel, 1));
    EXPECT_EQ(shim_log, "arm1 intel1 ");

    shim_log.clear(), intel_answer = 5;
    EXPECT_TRUE(offered_to_shims(fake_arm, fake_intel, 2));
    EXPECT_EQ(shim_log, "arm2 intel2 ");

    shim_log.clear(), arm_answer = -1;
    EXPECT_TRUE(offered_to_shims(fake_arm, fake_intel, 3));
    EXPECT_EQ(shim_log, "arm3 ");
}

// ---- kernel choice ----

TEST(KernelChoice, Bit23ThenBit15ThenPortable) {
    using cconvert::detail::choose_kernel;
    const char *portable = "portable", *sse = "sse", *avx2 = "avx2";
    const struct {
        unsigned int word;
        const char* with_all;
        const char* without_sse;
        const char* without_avx2;
    } cases[] = {
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
    using cconvert::detail::ranges_overlap;
    unsigned char bytes[64];
    EXPECT_TRUE(ranges_overlap(bytes, 16, bytes, 16));
    EXPECT_TRUE(ranges_overlap(bytes, 16, bytes + 15, 16));
    EXPECT_TRUE(ranges_overlap(bytes + 15, 16, bytes, 16));
    EXPECT_FALSE(ranges_overlap(bytes, 16, bytes + 16, 16));
    EXPECT_FALSE(ranges_overlap(bytes + 16, 16, bytes, 16));
    EXPECT_FALSE(ranges_overlap(bytes, 0, bytes, 16));
}

// ---- cache-line blocks ----

TEST(CacheLines, AlignedPointerLiesInsideTheBlock) {
    for (int size : {0, 1, 31, 32, 33, 100, 4096, 100000}) {
        void* raw = nullptr;
        void* aligned = nullptr;
        void* returned = malloc_own_cache_lines(size, &raw, &aligned);
        ASSERT_NE(raw, nullptr);
        EXPECT_EQ(returned, raw);
        const auto r = reinterpret_cast<std::uintptr_t>(raw);
        const auto a = reinterpret_cast<std::uintptr_t>(aligned);
        EXPECT_EQ(a % 32, 0u) << size;
        EXPECT_GE(a, r);
        EXPECT_LE(a - r, 31u);
        // size bytes from the aligned pointer stay inside the block (ASan checks).
        for (int i = 0; i < size; ++i) static_cast<unsigned char*>(aligned)[i] = 0xAB;
        free_own_cache_lines(&raw, &aligned);
        EXPECT_EQ(raw, nullptr);
        EXPECT_EQ(aligned, nullptr);
    }
}

TEST(CacheLines, FreeingAnEmptyPairLeavesItEmpty) {
    void* raw = nullptr;
    int dummy;
    void* aligned = &dummy;
    free_own_cache_lines(&raw, &aligned);
    EXPECT_EQ(raw, nullptr);
    EXPECT_EQ(aligned, nullptr);
}
