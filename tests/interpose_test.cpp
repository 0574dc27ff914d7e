// The library against this executable's host functions (the dynamic linker routes them
// here): a copy that can throw, a recording error sink, a counting allocator, logging shims.
#include <algorithm>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <functional>
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
    std::string events;     // "arm 8,intel 8,copy 8,..."
    std::vector<std::size_t> allocations;
    std::vector<void*> live;
    int frees = 0;
    std::vector<std::string> error_lines;
    unsigned int error_category = 0;
    int arm_answer = 0, intel_answer = 0;
};
HostRecord host;

void event(const char* what, unsigned int bytes) {
    if (!host.events.empty()) host.events += ',';
    ((host.events += what) += ' ') += std::to_string(bytes);
}

}  // namespace

extern "C" {

void CopyMemoryFast(void* destination, const void* source, unsigned int bytes) {
    event("copy", bytes);
    if (++host.copies == host.throw_on_copy) throw std::runtime_error("copy refused");
    std::memmove(destination, source, bytes);
}

void ErrFmtOut(unsigned int category, unsigned int zero1, unsigned int zero2, const char* format, ...) {
    EXPECT_EQ(zero1 | zero2, 0u);
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
    host.live.push_back(std::malloc(size ? size : 1));
    return host.live.back();
}

void KVFree(void* pointer) {
    ++host.frees;
    std::erase(host.live, pointer);
    std::free(pointer);
}

}  // extern "C"

int cconvert_copy_bytes_arm(void*, const void*, unsigned int bytes) { return event("arm", bytes), host.arm_answer; }
int cconvert_copy_bytes_intel(void*, const void*, unsigned int bytes) { return event("intel", bytes), host.intel_answer; }

namespace {

using Bytes = std::vector<unsigned char>;

Bytes numbered_rows(int rows, std::size_t row_bytes) {
    Bytes frame(rows * row_bytes);
    for (int r = 0; r < rows; ++r) std::memset(frame.data() + r * row_bytes, 0x10 + r, row_bytes);
    return frame;
}

class Interposed : public ::testing::Test {
protected:
    void SetUp() override { host = HostRecord{}; }
    void TearDown() override { EXPECT_TRUE(host.live.empty()) << "scratch not released"; }
};

TEST_F(Interposed, CacheLineBlocksRequestRoundedSizePlus31) {
    void *raw = nullptr, *aligned = nullptr;
    malloc_own_cache_lines(100, &raw, &aligned);
    void* first = raw;
    malloc_own_cache_lines(0, &raw, &aligned);
    EXPECT_EQ(host.allocations, (std::vector<std::size_t>{159, 31}));
    free_own_cache_lines(&raw, &aligned);
    free_own_cache_lines(&raw, &aligned);  // an empty pair calls nothing
    EXPECT_EQ(host.frees, 1);
    KVFree(first);
}

TEST_F(Interposed, OneRowInPlaceFlipStillTakesAndReleasesItsScratch) {
    Bytes frame = numbered_rows(1, 40);
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 1, 40);
    EXPECT_EQ(host.allocations, std::vector<std::size_t>{41});
    EXPECT_EQ(host.frees, 1);
    EXPECT_EQ(host.events, "");
    EXPECT_EQ(frame, numbered_rows(1, 40));
}

// Each row offered to the arm shim, the intel shim, then CopyMemoryFast; or straight to the copy.
TEST_F(Interposed, RowCopiesGoThroughTheShimsOrStraightToTheCopy) {
    Bytes a = numbered_rows(4, 24), b(96, 0);
    void *x = a.data(), *y = b.data();
    const struct {
        const char* name;
        int arm, intel;
        std::function<void()> call;
        const char* events;
    } cases[] = {
        {"flip", 0, 0, [&] { ccnvt_flip_vert(y, x, 0, 2, 8); }, "arm 8,intel 8,copy 8,arm 8,intel 8,copy 8"},
        {"flip, intel takes it", 0, 1, [&] { ccnvt_flip_vert(y, x, 0, 2, 8); }, "arm 8,intel 8,arm 8,intel 8"},
        {"in-place flip, arm takes it", 1, 0, [&] { ccnvt_flip_vert(y, y, 0, 2, 8); }, "arm 8,arm 8,arm 8"},
        {"flags flip", 0, 0, [&] { ccnvt_flip_vert_flags(y, x, 0, 0, 2, 10, 7, 0x1000000, 0); }, "copy 7,copy 7"},
        {"fields", 0, 0, [&] {
             ccnvt_fld_sep_to_mix32(y, 16, x, a.data() + 32, 16, 2, 3);
             ccnvt_fld_mix_to_sep32(x, a.data() + 32, 16, y, 16, 2, 1);
         }, "arm 8,intel 8,copy 8,arm 8,intel 8,copy 8,arm 8,intel 8,copy 8,arm 8,intel 8,copy 8"},
        {"equal pitches", 0, 0, [&] { ccnvt_copy_interleaved(y, 16, x, 16, 0, 4); }, "copy 64"},
        {"unequal pitches", 0, 0, [&] { ccnvt_copy_interleaved(y, 16, x, 20, 0, 3); }, "copy 16,copy 16,copy 16"},
        // 0x1'0000'0010 * 1 keeps only its low 32 bits: 16 bytes.
        {"32-bit count", 0, 0, [&] { ccnvt_copy_interleaved(y, 0x100000010L, x, 0x100000010L, 0, 1); }, "copy 16"},
        {"rgba_full, 4 to 3 bytes", 0, 0, [&] { ccnvt_rgba_full(y, 24, x, 32, 8, 2); }, ""},
        {"rgba_full, same frame", 0, 0, [&] { ccnvt_rgba_full(y, 42, y, 42, 10, 2); }, ""},
        // Equal pitches: one copy of width x height x (pitch / width) bytes.
        {"rgba_full", 0, 0, [&] { ccnvt_rgba_full(y, 42, x, 42, 10, 2); }, "copy 80"},
    };
    for (const auto& c : cases) {
        host = HostRecord{};
        host.arm_answer = c.arm, host.intel_answer = c.intel;
        std::fill(b.begin(), b.end(), 0);
        c.call();
        EXPECT_EQ(host.events, c.events) << c.name;
        if (c.arm || c.intel) {
            EXPECT_EQ(b, Bytes(96, 0)) << c.name;  // the "shim" did nothing visible
        }
        if (!c.arm && !c.intel && *c.events) {  // a throwing copy goes through (the first copy: b stays)
            host = HostRecord{};
            host.throw_on_copy = 1;
            EXPECT_THROW(c.call(), std::runtime_error) << c.name;
            EXPECT_TRUE(host.error_lines.empty()) << c.name;
        }
    }
    // rgba_full's one copy leaves the last row's padding alone.
    EXPECT_EQ(b[79], 0x13);
    EXPECT_EQ(b[80], 0);
}

TEST_F(Interposed, AThrowingCopyInAnInPlaceFlipIsReportedOnceAndStopsTheLoop) {
    Bytes frame = numbered_rows(6, 16);
    host.throw_on_copy = 4;  // the first copy of the second row pair
    ccnvt_flip_vert(frame.data(), frame.data(), 0, 6, 16);
    EXPECT_EQ(host.error_lines, std::vector<std::string>{"ERROR(CConvert): exception-ccnvt_flip_vert() \n\r"});
    EXPECT_EQ(host.error_category, 0xC0000000u);
    EXPECT_EQ(host.copies, 4);
    EXPECT_EQ(host.allocations, std::vector<std::size_t>{17});
    EXPECT_EQ(host.frees, 1);
    // Rows 0 and 5 were exchanged before the failure; the others are as they were.
    Bytes expected = numbered_rows(6, 16);
    std::swap_ranges(expected.begin(), expected.begin() + 16, expected.begin() + 80);
    EXPECT_EQ(frame, expected);

    host = HostRecord{};
    host.throw_on_copy = 2;
    EXPECT_EQ(0, ccnvt_flip_vert_flags(frame.data(), frame.data(), 0, 0, 4, 10, 7, 0x2000000, 0));
    EXPECT_EQ(host.error_lines, std::vector<std::string>{"ERROR(CConvert): exception-ccnvt_flip_vert_flags() \n\r"});
    EXPECT_EQ(host.allocations, std::vector<std::size_t>{11});
    EXPECT_EQ(host.frees, 1);
}

}  // namespace
