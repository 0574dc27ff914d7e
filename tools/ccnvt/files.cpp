#include "files.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "errors.h"

namespace ccnvt {

std::vector<unsigned char> read_file(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw UserError("cannot read '" + path + "': " + std::strerror(errno));
    std::vector<unsigned char> bytes;
    unsigned char chunk[1 << 16];
    std::size_t got;
    while ((got = std::fread(chunk, 1, sizeof chunk, file)) > 0) bytes.insert(bytes.end(), chunk, chunk + got);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) throw UserError("cannot read '" + path + "'");
    return bytes;
}

InputBytes::InputBytes(const std::string& path) {
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) throw UserError("cannot read '" + path + "': " + std::strerror(errno));
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        void* map = mmap(nullptr, static_cast<std::size_t>(status.st_size), PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (map != MAP_FAILED) {
            map_ = static_cast<unsigned char*>(map);
            size_ = static_cast<std::size_t>(status.st_size);
        }
    }
    ::close(descriptor);
    if (map_ == nullptr) {
        read_ = read_file(path);
        size_ = read_.size();
    }
}

InputBytes::~InputBytes() { unmap(); }

InputBytes::InputBytes(InputBytes&& other) noexcept { *this = std::move(other); }

InputBytes& InputBytes::operator=(InputBytes&& other) noexcept {
    if (this != &other) {
        unmap();
        map_ = std::exchange(other.map_, nullptr);
        size_ = std::exchange(other.size_, 0);
        read_ = std::move(other.read_);
    }
    return *this;
}

void InputBytes::unmap() {
    if (map_ != nullptr) munmap(map_, size_);
    map_ = nullptr;
}

std::size_t count_frames(const std::string& path, std::size_t file_bytes, std::size_t frame_bytes,
                         const std::string& what) {
    if (file_bytes < frame_bytes)
        throw UserError("'" + path + "' is " + std::to_string(file_bytes) + " bytes, shorter than one " + what +
                        " frame of " + std::to_string(frame_bytes) + " bytes (" +
                        std::to_string(frame_bytes - file_bytes) + " missing)");
    const std::size_t frames = file_bytes / frame_bytes, rest = file_bytes % frame_bytes;
    if (rest != 0)
        throw UserError("'" + path + "' holds " + std::to_string(frames) + " " + what +
                        " frames and a partial one (" + std::to_string(frame_bytes - rest) + " bytes missing)");
    return frames;
}

OutputFile::OutputFile(const std::string& path) : path_(path) {
    std::string pattern = path + ".ccnvt-XXXXXX";
    const int descriptor = mkstemp(pattern.data());
    if (descriptor < 0) throw UserError("cannot write '" + path + "': " + std::strerror(errno));
    temporary_ = pattern;
    file_ = fdopen(descriptor, "wb");
    if (file_ == nullptr) {
        ::close(descriptor);
        std::remove(temporary_.c_str());
        throw UserError("cannot write '" + path + "': " + std::strerror(errno));
    }
}

OutputFile::~OutputFile() {
    if (file_ != nullptr) std::fclose(file_);
    if (!committed_) std::remove(temporary_.c_str());
}

std::FILE* OutputFile::release_stream() {
    std::FILE* released = file_;
    file_ = nullptr;
    return released;
}

void OutputFile::write(const void* bytes, std::size_t count) {
    if (count != 0 && std::fwrite(bytes, 1, count, file_) != count)
        throw UserError("cannot write '" + path_ + "': " + std::strerror(errno));
}

void OutputFile::write_at(const void* bytes, std::size_t count, std::uint64_t offset) {
    const auto* next = static_cast<const unsigned char*>(bytes);
    while (count != 0) {
        const ssize_t written = ::pwrite(fileno(file_), next, count, static_cast<off_t>(offset));
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) throw UserError("cannot write '" + path_ + "': " + std::strerror(errno));
        next += written;
        offset += static_cast<std::uint64_t>(written);
        count -= static_cast<std::size_t>(written);
    }
}

void OutputFile::commit() {
    bool written = true;
    if (file_ != nullptr) {
        written = std::fflush(file_) == 0;
        written = std::fclose(file_) == 0 && written;
        file_ = nullptr;
    }
    if (!written || std::rename(temporary_.c_str(), path_.c_str()) != 0)
        throw UserError("cannot write '" + path_ + "': " + std::strerror(errno));
    committed_ = true;
    // mkstemp makes the file private; give it the usual permissions.
    const mode_t mask = umask(0);
    umask(mask);
    chmod(path_.c_str(), 0666 & ~mask);
}

bool has_extension(const std::string& path, const std::string& extension) {
    if (path.size() < extension.size()) return false;
    return std::equal(extension.rbegin(), extension.rend(), path.rbegin(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    });
}

}  // namespace ccnvt
