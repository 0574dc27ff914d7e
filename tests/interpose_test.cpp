// Runs the library against host functions of this executable: a copy routine
// that can throw, an error sink that records, an allocator that counts, and
// copy shims that log. The dynamic linker routes the library's calls here.
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "cconvert/cconvert.h"
#include "kvutil.h"

namespace {

struct HostRecord {
    int copies = 0;
    int throw_on_copy = 0;  // 1-based copy number that throws; 0: never
    std::vector<std::string> events;
    std::vector<std::size_t> allocations;
    std::vector<void*> live;
    int frees = 0;
    std::vector<std::string> error_lines;
    unsigned int error_category = 0;
    int arm_answer = 0, intel_answer = 0;

    void reset() { *this = HostRecord{}; }
};

HostRecord host;

}  // namespace

extern "C" {

void CopyMemoryFast(void* destination, const void* source, unsigned int bytes) {
    ++host.copies;
    host.events.push_back("copy " + std::to_string(bytes));
    if (host.copies == host.throw_on_copy) throw std::runtime_error("copy refused");
    std::memmove(destination, source, bytes);
}

void ErrFmtOut(unsigned int category, unsigned int zero1, unsigned int zero2, const char* format, ...) {
    EXPECT_EQ(zero1, 0u);
    EXPECT_EQ(zero2, 0u);
    host.error_category = category;
    char line[256];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(line, sizeof line, format, arguments);
    va_end(arguments);
    host.error_lines.push_back(line);
}

void* KVAlloc(size_t size) {
    host.allocations.push_back(size);
    void* block = std::malloc(size ? size : 1);
    host.live.push_back(block);
    return block;
}

void KVFree(void* pointer) {
    ++host.frees;
    for (auto it = host.live.begin(); it != host.live.end(); ++it)
        if (*it == pointer) {
            host.live.erase(it);
            break;
        }
    std::free(pointer);
}

}  // extern "C"

int cconvert_copy_bytes_arm(void*, const void*, unsigned int bytes) {
    host.events.push_back("arm " + std::to_string(bytes));
    return host.arm_answer;
}

int cconvert_copy_bytes_intel(void*, const void*, unsigned int bytes) {
    host.events.push_back("intel " + std::to_string(bytes));
    return host.intel_answer;
}

class Interposed : public ::testing::Test {
protected:
    void SetUp() override { host.reset(); }
    void TearDown() override { EXPECT_TRUE(host.live.empty()) << "scratch not released"; }

    static std::vector<unsigned char> numbered_rows(int rows, std::size_t row_bytes) {
        std::vector<unsigned char> frame(rows * row_bytes);
        for (int r = 0; r < rows; ++r) std::memset(frame.data() + r * row_bytes, 0x10 + r, row_bytes);
        return frame;
    }
};

// ---- scratch and the cache-line allocator ----

TEST_F(Interposed, CacheLineBlocksRequestRoundedSizePlus31) {
    void *raw = nullptr, *aligned = nullptr;
    malloc_own_cache_lines(100, &raw, &aligned);
    malloc_own_cache_lines(0, &raw, &aligned);
    EXPECT_EQ(host.allocations, (std::vector<std::size_t>{159, 31}));
    free_own_cache_lines(&raw, &aligned);
    EXPECT_EQ(host.frees, 1);
    free_own_cache_lines(&raw, &aligned);  // an empty pair calls nothing
    EXPECT_EQ(host.frees, 1);
    std::free(host.live.front());  // the first block, left to us on purpose
    host.live.clear();
}

TEST_F(Interposed, OneRowInPlaceFlipTakesAndReleasesItsScratch) {
    auto frame = numbered_rows(1, 40);
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 1, 40);
    EXPECT_EQ(host.allocations, std::vector<std::size_t>{41});
    EXPECT_EQ(host.frees, 1);
    EXPECT_EQ(host.copies, 0);
    EXPECT_EQ(frame, numbered_rows(1, 40));
}

// ---- the shim protocol on row copies ----

TEST_F(Interposed, FlipVertOffersEveryRowToArmThenIntelThenCopies) {
    auto source = numbered_rows(2, 8);
    std::vector<unsigned char> destination(16);
    ccnvt_flip_vert(destination.data(), source.data(), 0, 2, 8);
    EXPECT_EQ(host.events, (std::vector<std::string>{"arm 8", "intel 8", "copy 8", "arm 8",
                                                     "intel 8", "copy 8"}));
}

TEST_F(Interposed, AShimThatAcceptsDoesTheUnit) {
    auto source = numbered_rows(2, 8);
    std::vector<unsigned char> destination(16, 0);
    host.intel_answer = 1;
    ccnvt_flip_vert(destination.data(), source.data(), 0, 2, 8);
    EXPECT_EQ(host.events, (std::vector<std::string>{"arm 8", "intel 8", "arm 8", "intel 8"}));
    EXPECT_EQ(destination, std::vector<unsigned char>(16, 0));  // the "kernel" did nothing visible

    host.reset();
    host.arm_answer = 1;
    ccnvt_flip_vert(destination.data(), destination.data(), 0, 2, 8);
    EXPECT_EQ(host.events, (std::vector<std::string>{"arm 8", "arm 8", "arm 8"}));
}

TEST_F(Interposed, FlipVertFlagsCopiesWithoutShims) {
    auto source = numbered_rows(2, 7);
    std::vector<unsigned char> destination(20);
    ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 2, 10, 7, 0x1000000, 0);
    EXPECT_EQ(host.events, (std::vector<std::string>{"copy 7", "copy 7"}));
}

// ---- failure reporting ----

TEST_F(Interposed, ThrowingCopyInPlaceFlipIsReportedOnceAndReturns) {
    auto frame = numbered_rows(6, 16);
    host.throw_on_copy = 4;  // first copy of the second row pair
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 6, 16);
    ASSERT_EQ(host.error_lines, std::vector<std::string>{"ERROR(CConvert): exception-ccnvt_flip_vert() \n\r"});
    EXPECT_EQ(host.error_category, 0xC0000000u);
    EXPECT_EQ(host.copies, 4);  // the loop stopped at once
    EXPECT_EQ(host.allocations, std::vector<std::size_t>{17});
    EXPECT_EQ(host.frees, 1);
    // Rows 0 and 5 were exchanged before the failure; the others are as they were.
    auto expected = numbered_rows(6, 16);
    std::memset(expected.data(), 0x15, 16);
    std::memset(expected.data() + 5 * 16, 0x10, 16);
    EXPECT_EQ(frame, expected);
}

TEST_F(Interposed, ThrowingCopyInPlaceFlagsFlipIsReportedWithItsOwnText) {
    auto frame = numbered_rows(4, 10);
    host.throw_on_copy = 2;
    EXPECT_EQ(0, ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 4, 10, 7, 0x2000000, 0));
    EXPECT_EQ(host.error_lines,
              std::vector<std::string>{"ERROR(CConvert): exception-ccnvt_flip_vert_flags() \n\r"});
    EXPECT_EQ(host.allocations, std::vector<std::size_t>{11});
    EXPECT_EQ(host.frees, 1);
}

TEST_F(Interposed, OutOfPlaceFlipsLetTheExceptionThrough) {
    auto source = numbered_rows(3, 8);
    std::vector<unsigned char> destination(30);
    host.throw_on_copy = 1;
    EXPECT_THROW(ccnvt_flip_vert(destination.data(), source.data(), 0, 3, 8), std::runtime_error);
    host.reset();
    host.throw_on_copy = 2;
    EXPECT_THROW(ccnvt_flip_vert_flags(destination.data(), source.data(), 0, 0, 3, 10, 8, 0, 0),
                 std::runtime_error);
    EXPECT_TRUE(host.error_lines.empty());
}

// ---- field routines and the pitch-changing copy ----

TEST_F(Interposed, FieldRoutinesCopyEveryRowByTheShimProtocol) {
    std::vector<unsigned char> frame(3 * 16), field0(2 * 16), field1(16);
    ccnvt_fld_sep_to_mix32(frame.data(), 16, field0.data(), field1.data(), 16, 2, 3);
    ccnvt_fld_mix_to_sep32(field0.data(), field1.data(), 16, frame.data(), 16, 2, 1);
    EXPECT_EQ(host.events, (std::vector<std::string>{"arm 8", "intel 8", "copy 8", "arm 8", "intel 8",
                                                     "copy 8", "arm 8", "intel 8", "copy 8",
                                                     "arm 8", "intel 8", "copy 8"}));
}

TEST_F(Interposed, CopyInterleavedUsesNoShimsAndOneCopyForEqualPitches) {
    std::vector<unsigned char> a(4 * 16), b(4 * 20);
    ccnvt_copy_interleaved(a.data(), 16, b.data(), 16, 0, 4);
    EXPECT_EQ(host.events, std::vector<std::string>{"copy 64"});
    host.reset();
    ccnvt_copy_interleaved(a.data(), 16, b.data(), 20, 0, 3);
    EXPECT_EQ(host.events, (std::vector<std::string>{"copy 16", "copy 16", "copy 16"}));
}

TEST_F(Interposed, EqualPitchCopyCountIsKeptTo32Bits) {
    // 0x1'0000'0010 * 1 keeps only its low 32 bits: 16 bytes.
    std::vector<unsigned char> a(64), b(64);
    ccnvt_copy_interleaved(a.data(), 0x100000010L, b.data(), 0x100000010L, 0, 1);
    EXPECT_EQ(host.events, std::vector<std::string>{"copy 16"});
}

TEST_F(Interposed, FieldAndCopyRoutinesLetExceptionsThrough) {
    std::vector<unsigned char> frame(2 * 16), field(16);
    host.throw_on_copy = 1;
    EXPECT_THROW(ccnvt_fld_sep_to_mix32(frame.data(), 16, field.data(), field.data(), 16, 4, 2),
                 std::runtime_error);
    host.reset();
    host.throw_on_copy = 1;
    EXPECT_THROW(ccnvt_copy_interleaved(frame.data(), 16, field.data(), 8, 0, 2), std::runtime_error);
    EXPECT_TRUE(host.error_lines.empty());
}

namespace {

// ccnvt_rgba_full copies frames of other pixel sizes with equal pitches in
// one call of width x height x (pitch / width) bytes, and lets its
// exception through.
TEST_F(Interposed, RgbaFullHandsEqualPitchFramesToOneCopy) {
    std::vector<unsigned char> source(2 * 42, 7), destination(2 * 42, 0);
    ccnvt_rgba_full(destination.data(), 42, source.data(), 42, 10, 2);
    EXPECT_EQ(host.events, std::vector<std::string>{"copy 80"});
    EXPECT_EQ(destination[79], 7);
    EXPECT_EQ(destination[80], 0);  // the padding of the rows is not counted
    host.reset();
    ccnvt_rgba_full(destination.data(), 24, source.data(), 32, 8, 2);  // 4 to 3 bytes: no copy call
    ccnvt_rgba_full(destination.data(), 42, destination.data(), 42, 10, 2);  // same frame
    EXPECT_TRUE(host.events.empty());
    host.throw_on_copy = 1;
    EXPECT_THROW(ccnvt_rgba_full(destination.data(), 16, source.data(), 16, 4, 2), std::runtime_error);
}

}  // namespace
