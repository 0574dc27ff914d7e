// Our host libraries: feature word and override, bit writer, error sink, allocator, matrix choice.
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "kvutil.h"
#include "support/test_support.h"
#include "ycbcr.h"

using cconvert::test::probed_feature_word;
using Bytes = std::vector<unsigned char>;

TEST(CpuFeatureFlags, ProbedWordMatchesTheProcessor) {
    const unsigned int word = probed_feature_word();
    __builtin_cpu_init();
    EXPECT_EQ((word & KV_CPU_MMX) != 0, __builtin_cpu_supports("mmx") != 0);
    EXPECT_EQ((word & KV_CPU_SSE) != 0, __builtin_cpu_supports("sse4.1") && __builtin_cpu_supports("ssse3"));
    EXPECT_EQ((word & KV_CPU_AVX2) != 0, __builtin_cpu_supports("avx2") != 0);
    EXPECT_EQ(word & ~(KV_CPU_MMX | KV_CPU_SSE | KV_CPU_AVX2), 0u);
}

TEST(CpuFeatureFlags, OverrideIsDecimalOrHexAndReadOnEveryCall) {
    const unsigned int probed = probed_feature_word();
    const struct { const char* text; unsigned int word; } cases[] = {
        {"0x808000", 0x808000}, {"0X20", 0x20}, {"32768", 0x8000}, {"0", 0}, {"0xFFFFFFFF", 0xFFFFFFFF},
        // Not a number of 32 bits: the probed word.
        {"", probed}, {"0x", probed}, {"avx2", probed}, {"12abc", probed}, {"-1", probed}, {"0x1FFFFFFFF", probed}};
    for (const auto& c : cases) {
        setenv("CCNVT_CPU_FEATURES", c.text, 1);
        EXPECT_EQ(CPUFeatureFlags(), c.word) << '"' << c.text << '"';
    }
    unsetenv("CCNVT_CPU_FEATURES");
    EXPECT_EQ(CPUFeatureFlags(), probed);
}

TEST(BitWriter, WritesMostSignificantBitFirstAndSkips) {
    Bytes buffer(8, 0xFF);
    KVBitWriter writer{buffer.data(), buffer.size(), 8 * buffer.size(), 0};
    // Cb 0x200, Y 0x040, Cr 0x200, Y 0x3AC: the packed 10-bit pair 80 04 08 03 AC.
    for (unsigned int sample : {0x200u, 0x040u, 0x200u, 0x3ACu}) WriteBits(&writer, 10, sample);
    SkipBits(&writer, 4);
    WriteBits(&writer, 4, 0x0);
    WriteBits(&writer, 0, 0xFFFF);
    EXPECT_EQ(writer.position, 48u);
    EXPECT_EQ(buffer, (Bytes{0x80, 0x04, 0x08, 0x03, 0xAC, 0xF0, 0xFF, 0xFF}));
    // Bits beyond the buffer's limit are dropped but counted.
    Bytes bytes = {0, 0, 0x55};
    KVBitWriter short_writer{bytes.data(), 2, 12, 0};
    WriteBits(&short_writer, 16, 0xFFFF);
    WriteBits(&short_writer, 32, 0xFFFFFFFF);
    EXPECT_EQ(short_writer.position, 48u);
    EXPECT_EQ(bytes, (Bytes{0xFF, 0xF0, 0x55}));
}

TEST(ErrFmtOut, WritesTheFormattedLineToStderr) {
    testing::internal::CaptureStderr();
    ErrFmtOut(0xC0000000u, 0, 0, "ERROR(CConvert): %s\n\r", "exception-ccnvt_flip_vert() ");
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "ERROR(CConvert): exception-ccnvt_flip_vert() \n\r");
}

TEST(KVAlloc, ZeroBytesGiveAUsablePointer) {
    void* block = KVAlloc(0);
    EXPECT_NE(block, nullptr);
    KVFree(block);
    KVFree(nullptr);
}

TEST(GetMatrixBySize, Bt709AboveStandardDefinition) {
    const struct { int width, height; const char* name; } cases[] = {
        {720, 576, "BT.601"}, {720, 486, "BT.601"}, {1279, 576, "BT.601"}, {1280, 720, "BT.709"}, {720, 577, "BT.709"}};
    for (const auto& c : cases) EXPECT_STREQ(GetMatrixBySize(c.width, c.height, 0)->name, c.name) << c.width;
    EXPECT_DOUBLE_EQ(GetMatrixBySize(1920, 1080, 0)->kr, 0.2126);
    EXPECT_DOUBLE_EQ(GetMatrixBySize(640, 480, 0)->kb, 0.114);
}
