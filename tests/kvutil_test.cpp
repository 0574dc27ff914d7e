// Our builds of the host libraries: the feature word and its override, the
// bit writer, the error sink and the matrix choice.
#include <cpuid.h>

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kvutil.h"
#include "support/test_support.h"
#include "ycbcr.h"

using cconvert::test::probed_feature_word;

namespace {
class FeatureOverride {
public:
    explicit FeatureOverride(const char* text) { setenv("CCNVT_CPU_FEATURES", text, 1); }
    ~FeatureOverride() { unsetenv("CCNVT_CPU_FEATURES"); }
};
}  // namespace

TEST(CpuFeatureFlags, ProbedWordMatchesTheProcessor) {
    const unsigned int word = probed_feature_word();
    __builtin_cpu_init();
    EXPECT_EQ((word & KV_CPU_MMX) != 0, __builtin_cpu_supports("mmx") != 0);
    EXPECT_EQ((word & KV_CPU_SSE) != 0,
              __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("ssse3"));
    EXPECT_EQ((word & KV_CPU_AVX2) != 0, __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(word & ~(KV_CPU_MMX | KV_CPU_SSE | KV_CPU_AVX2), 0u);
}

TEST(CpuFeatureFlags, OverrideIsDecimalOrHexAndReadOnEveryCall) {
    const unsigned int probed = probed_feature_word();
    {
        FeatureOverride hex("0x808000");
        EXPECT_EQ(CPUFeatureFlags(), 0x808000u);
    }
    {
        FeatureOverride upper("0X20");
        EXPECT_EQ(CPUFeatureFlags(), 0x20u);
    }
    {
        FeatureOverride decimal("32768");
        EXPECT_EQ(CPUFeatureFlags(), 0x8000u);
    }
    {
        FeatureOverride zero("0");
        EXPECT_EQ(CPUFeatureFlags(), 0u);
    }
    for (const char* nonsense : {"", "0x", "avx2", "12abc", "-1", "0x1FFFFFFFF"}) {
        FeatureOverride bad(nonsense);
        EXPECT_EQ(CPUFeatureFlags(), probed) << '"' << nonsense << '"';
    }
    EXPECT_EQ(CPUFeatureFlags(), probed);
}

TEST(BitWriter, WritesMostSignificantBitFirstAndSkips) {
    std::vector<unsigned char> buffer(8, 0xFF);
    KVBitWriter writer{buffer.data(), buffer.size(), 8 * buffer.size(), 0};
    // Cb 0x200, Y 0x040, Cr 0x200, Y 0x3AC: the packed 10-bit pair 80 04 08 03 AC.
    for (unsigned int sample : {0x200u, 0x040u, 0x200u, 0x3ACu}) WriteBits(&writer, 10, sample);
    EXPECT_EQ(writer.position, 40u);
    SkipBits(&writer, 4);
    WriteBits(&writer, 4, 0x0);
    WriteBits(&writer, 0, 0xFFFF);
    EXPECT_EQ(writer.position, 48u);
    EXPECT_EQ(buffer, (std::vector<unsigned char>{0x80, 0x04, 0x08, 0x03, 0xAC, 0xF0, 0xFF, 0xFF}));
}

TEST(BitWriter, BitsBeyondTheBufferAreDropped) {
    unsigned char bytes[3] = {0, 0, 0x55};
    KVBitWriter writer{bytes, 2, 12, 0};
    WriteBits(&writer, 16, 0xFFFF);
    EXPECT_EQ(writer.position, 16u);
    EXPECT_EQ(bytes[0], 0xFF);
    EXPECT_EQ(bytes[1], 0xF0);
    EXPECT_EQ(bytes[2], 0x55);
    WriteBits(&writer, 32, 0xFFFFFFFF);
    EXPECT_EQ(writer.position, 48u);
    EXPECT_EQ(bytes[2], 0x55);
}

TEST(ErrFmtOut, WritesTheFormattedLineToStderr) {
    testing::internal::CaptureStderr();
    ErrFmtOut(0xC0000000u, 0, 0, "ERROR(CConvert): %s\n\r", "exception-ccnvt_flip_vert() ");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "ERROR(CConvert): exception-ccnvt_flip_vert() \n\r");
}

TEST(KVAlloc, ZeroBytesGiveAUsablePointer) {
    void* block = KVAlloc(0);
    EXPECT_NE(block, nullptr);
    KVFree(block);
    KVFree(nullptr);
}

TEST(GetMatrixBySize, Bt709AboveStandardDefinition) {
    EXPECT_STREQ(GetMatrixBySize(720, 576, 0)->name, "BT.601");
    EXPECT_STREQ(GetMatrixBySize(720, 486, 0)->name, "BT.601");
    EXPECT_STREQ(GetMatrixBySize(1279, 576, 0)->name, "BT.601");
    EXPECT_STREQ(GetMatrixBySize(1280, 720, 0)->name, "BT.709");
    EXPECT_STREQ(GetMatrixBySize(720, 577, 0)->name, "BT.709");
    EXPECT_DOUBLE_EQ(GetMatrixBySize(1920, 1080, 0)->kr, 0.2126);
    EXPECT_DOUBLE_EQ(GetMatrixBySize(640, 480, 0)->kb, 0.114);
}
