// Reading input files and writing outputs that appear only when complete.
#ifndef CCNVT_TOOL_FILES_H
#define CCNVT_TOOL_FILES_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

namespace ccnvt {

// The whole file; UserError when it cannot be read.
std::vector<unsigned char> read_file(const std::string& path);

// A file's bytes without copying them: a regular file is mapped, so the
// frames of a large file are read by the page faults of the conversions
// that use them, on whichever thread; anything else (a pipe, a device) is
// read into memory. UserError when it cannot be read. (As with any mapped
// file, one cut short by another program while it is converted ends the
// process with SIGBUS.)
class InputBytes {
public:
    explicit InputBytes(const std::string& path);
    ~InputBytes();
    InputBytes(InputBytes&& other) noexcept;
    InputBytes& operator=(InputBytes&& other) noexcept;
    InputBytes(const InputBytes&) = delete;
    InputBytes& operator=(const InputBytes&) = delete;

    const unsigned char* data() const { return map_ != nullptr ? map_ : read_.data(); }
    std::size_t size() const { return size_; }

private:
    void unmap();

    unsigned char* map_ = nullptr;
    std::size_t size_ = 0;
    std::vector<unsigned char> read_;
};

// How many frames of frame_bytes a file of file_bytes holds; UserError when
// it is shorter than one frame or ends in a partial frame.
std::size_t count_frames(const std::string& path, std::size_t file_bytes, std::size_t frame_bytes,
                         const std::string& what);

// An output written to a temporary file beside its path and renamed into
// place by commit(); destroyed uncommitted, it leaves nothing behind.
class OutputFile {
public:
    explicit OutputFile(const std::string& path);
    ~OutputFile();
    OutputFile(const OutputFile&) = delete;
    OutputFile& operator=(const OutputFile&) = delete;

    void write(const void* bytes, std::size_t count);
    // Writes at a byte offset of the file, not through the stream's buffer
    // (so not mixed with write()); several threads may write different
    // ranges at once.
    void write_at(const void* bytes, std::size_t count, std::uint64_t offset);
    std::FILE* stream() { return file_; }
    // Hands the stream to a writer that closes it itself (libpcap's dumper);
    // commit() then only renames.
    std::FILE* release_stream();
    void commit();

private:
    std::string path_, temporary_;
    std::FILE* file_ = nullptr;
    bool committed_ = false;
};

// True when the path ends in the extension, case-insensitive (".png").
bool has_extension(const std::string& path, const std::string& extension);

}  // namespace ccnvt

#endif
