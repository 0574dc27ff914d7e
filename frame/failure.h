// Scratch rows from the host allocator, and the one failure the library
// reports: an exception from the host's copy routine.
#ifndef CCONVERT_FRAME_FAILURE_H
#define CCONVERT_FRAME_FAILURE_H

#include <cstddef>

#include "kvutil.h"

namespace cconvert::detail {

// A scratch row of row_bytes + 1 bytes from KVAlloc, given back to KVFree on
// every path out of the scope that holds it. A null result is not checked.
class ScratchRow {
public:
    explicit ScratchRow(std::size_t row_bytes)
        : bytes_(static_cast<unsigned char*>(KVAlloc(row_bytes + 1))) {}
    ~ScratchRow() { KVFree(bytes_); }
    ScratchRow(const ScratchRow&) = delete;
    ScratchRow& operator=(const ScratchRow&) = delete;

    unsigned char* data() const { return bytes_; }

private:
    unsigned char* bytes_;
};

// Writes the error line "ERROR(CConvert): <text>\n\r" through ErrFmtOut with
// the category word 0xC0000000.
void report_failure(const char* text);

// Runs work; an exception of any type ends it where it was thrown and is
// reported once with text. Nothing propagates to the caller.
template <class Work>
void run_reporting_failure(const char* text, Work&& work) {
    try {
        work();
    } catch (...) {
        report_failure(text);
    }
}

}  // namespace cconvert::detail

#endif
