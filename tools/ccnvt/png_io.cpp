#include "png_io.h"

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstdio>
#include <cstring>

#include "errors.h"
#include "files.h"

namespace ccnvt {

std::size_t png_bytes_per_pixel(PngLayout layout) {
    switch (layout) {
        case PngLayout::bgr8: return 3;
        case PngLayout::bgra8: return 4;
        case PngLayout::bgr16: return 6;
        case PngLayout::bgra16: return 8;
    }
    return 0;
}

namespace {

// libpng reports errors by longjmp: the functions below keep only plain data
// between setjmp and the calls that may jump, and turn a jump into a message.
struct PngMessage {
    char text[256] = "";
};

void on_png_error(png_structp png, png_const_charp message) {
    auto* out = static_cast<PngMessage*>(png_get_error_ptr(png));
    std::snprintf(out->text, sizeof out->text, "%s", message);
    png_longjmp(png, 1);
}

void on_png_warning(png_structp, png_const_charp) {}

// Deflate makes at most 1032 bytes of one: a header that promises more pixel
// data than that from the whole file belongs to a broken file, refused
// before memory is set aside for its pixels.
constexpr std::uint64_t kDeflateLargestExpansion = 1032;

// The ancillary chunks libpng knows, none of which the pixels need here:
// names of four letters and a NUL each.
constexpr png_byte kSkippedChunks[] =
    "bKGD\0cHRM\0eXIf\0gAMA\0hIST\0iCCP\0iTXt\0oFFs\0pCAL\0pHYs\0sBIT\0sCAL\0sPLT\0sRGB\0sTER\0tEXt\0tIME\0zTXt";
constexpr int kSkippedChunkCount = sizeof kSkippedChunks / 5;

bool pixels_fit_in_file(png_structp png, png_infop info, std::uint64_t file_bytes) {
    const std::uint64_t bits_per_pixel = std::uint64_t{png_get_channels(png, info)} * png_get_bit_depth(png, info);
    const std::uint64_t pixel_bytes =
        std::uint64_t{png_get_image_width(png, info)} * png_get_image_height(png, info) * bits_per_pixel / 8;
    return pixel_bytes <= kDeflateLargestExpansion * file_bytes;
}

// Reads into image; returns false with message->text set on a libpng error.
bool read_png_file(std::FILE* file, std::uint64_t file_bytes, PngImage* image, PngMessage* message) {
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, message, on_png_error, on_png_warning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_read_struct(&png, nullptr, nullptr);
        std::snprintf(message->text, sizeof message->text, "out of memory");
        return false;
    }
    // Assigned after setjmp and read after a jump: it must be volatile.
    png_bytep* volatile rows = nullptr;
    if (setjmp(png_jmpbuf(png))) {
        delete[] rows;
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    png_init_io(png, file);
    // Only the chunks that make the pixels are read. libpng sets aside the
    // length an ancillary chunk declares before reading it (a 48-byte file
    // asked for 1.6 GB through a suggested palette); skipped chunks are
    // passed over unread.
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, kSkippedChunks, kSkippedChunkCount);
    png_set_keep_unknown_chunks(png, PNG_HANDLE_CHUNK_NEVER, nullptr, 0);
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
    // Fuzzed files rarely carry right checksums: read on past wrong ones, so
    // that the fuzzer reaches the code behind the checks.
    png_set_crc_action(png, PNG_CRC_QUIET_USE, PNG_CRC_QUIET_USE);
    png_set_option(png, PNG_IGNORE_ADLER32, PNG_OPTION_ON);
#endif
    png_read_info(png, info);
    if (!pixels_fit_in_file(png, info, file_bytes)) {
        std::snprintf(message->text, sizeof message->text, "its %ux%u pixels cannot come out of %llu bytes",
                      png_get_image_width(png, info), png_get_image_height(png, info),
                      static_cast<unsigned long long>(file_bytes));
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    // Everything becomes RGB or RGBA, 8 or 16 bits, blue first, 16-bit words
    // little-endian as the library's 48/64-bit layouts.
    png_set_expand(png);
    png_set_gray_to_rgb(png);
    png_set_bgr(png);
    if (png_get_bit_depth(png, info) == 16) png_set_swap(png);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
    const int depth = png_get_bit_depth(png, info);
    const bool alpha = (png_get_color_type(png, info) & PNG_COLOR_MASK_ALPHA) != 0;
    image->width = png_get_image_width(png, info);
    image->height = png_get_image_height(png, info);
    image->layout = depth == 16 ? (alpha ? PngLayout::bgra16 : PngLayout::bgr16)
                                : (alpha ? PngLayout::bgra8 : PngLayout::bgr8);
    const std::size_t row_bytes = png_get_rowbytes(png, info);
    if (row_bytes != png_bytes_per_pixel(image->layout) * image->width) {
        std::snprintf(message->text, sizeof message->text, "unsupported pixel layout");
        png_destroy_read_struct(&png, &info, nullptr);
        return false;
    }
    image->pixels.resize(row_bytes * image->height);
    rows = new png_bytep[image->height];
    for (std::uint32_t y = 0; y < image->height; ++y) rows[y] = image->pixels.data() + y * row_bytes;
    png_read_image(png, rows);
    png_read_end(png, nullptr);
    delete[] rows;
    png_destroy_read_struct(&png, &info, nullptr);
    return true;
}

bool write_png_file(std::FILE* file, std::uint32_t width, std::uint32_t height, PngLayout layout,
                    const unsigned char* pixels, PngMessage* message) {
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, message, on_png_error, on_png_warning);
    png_infop info = png ? png_create_info_struct(png) : nullptr;
    if (info == nullptr) {
        png_destroy_write_struct(&png, nullptr);
        std::snprintf(message->text, sizeof message->text, "out of memory");
        return false;
    }
    if (setjmp(png_jmpbuf(png))) {
        png_destroy_write_struct(&png, &info);
        return false;
    }
    const bool alpha = layout == PngLayout::bgra8 || layout == PngLayout::bgra16;
    const bool deep = layout == PngLayout::bgr16 || layout == PngLayout::bgra16;
    png_init_io(png, file);
    png_set_IHDR(png, info, width, height, deep ? 16 : 8, alpha ? PNG_COLOR_TYPE_RGB_ALPHA : PNG_COLOR_TYPE_RGB,
                 PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    png_set_compression_level(png, 3);  // previews: quick rather than small
    png_write_info(png, info);
    png_set_bgr(png);
    if (deep) png_set_swap(png);
    const std::size_t row_bytes = png_bytes_per_pixel(layout) * width;
    for (std::uint32_t y = 0; y < height; ++y)
        png_write_row(png, const_cast<png_bytep>(pixels + y * row_bytes));
    png_write_end(png, nullptr);
    png_destroy_write_struct(&png, &info);
    return true;
}

}  // namespace

PngImage read_png(const std::string& path) {
    std::FILE* file = std::fopen(path.c_str(), "rb");
    if (file == nullptr) throw UserError("cannot read '" + path + "': " + std::strerror(errno));
    unsigned char signature[8] = {};
    const bool is_png = std::fread(signature, 1, 8, file) == 8 && png_sig_cmp(signature, 0, 8) == 0;
    if (!is_png) {
        std::fclose(file);
        throw UserError("'" + path + "' is not a PNG file");
    }
    std::fseek(file, 0, SEEK_END);
    const long file_bytes = std::ftell(file);
    std::rewind(file);
    PngImage image;
    PngMessage message;
    const bool read = read_png_file(file, file_bytes > 0 ? static_cast<std::uint64_t>(file_bytes) : 0, &image,
                                    &message);
    std::fclose(file);
    if (!read) throw UserError("cannot read the PNG '" + path + "': " + message.text);
    return image;
}

void write_png(const std::string& path, std::uint32_t width, std::uint32_t height, PngLayout layout,
               const unsigned char* pixels) {
    OutputFile output(path);
    PngMessage message;
    if (!write_png_file(output.stream(), width, height, layout, pixels, &message))
        throw UserError("cannot write the PNG '" + path + "': " + message.text);
    output.commit();
}

}  // namespace ccnvt
