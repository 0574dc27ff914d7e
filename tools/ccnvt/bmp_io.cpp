#include "bmp_io.h"

#include <cstdint>
#include <cstring>
#include <vector>

#include <cconvert/cconvert.h>

#include "errors.h"
#include "files.h"
#include "rle_check.h"

namespace ccnvt {

namespace {

constexpr std::size_t kFileHeaderBytes = 14;
constexpr std::uint32_t kUncompressed = 0, kRle8 = 1, kRle4 = 2;

std::uint32_t u16(const unsigned char* p) { return p[0] | p[1] << 8; }
std::uint32_t u32(const unsigned char* p) {
    return std::uint32_t{p[0]} | std::uint32_t{p[1]} << 8 | std::uint32_t{p[2]} << 16 | std::uint32_t{p[3]} << 24;
}
std::int64_t s32(const unsigned char* p) { return static_cast<std::int32_t>(u32(p)); }

std::string bytes_text(std::size_t count) { return std::to_string(count) + (count == 1 ? " byte" : " bytes"); }

// What the headers say, checked against the file.
struct BmpHeader {
    std::uint32_t width = 0, height = 0;
    bool top_down = false;  // a negative height: rows stored from the top
    unsigned bits = 0;
    std::uint32_t compression = kUncompressed;
    std::size_t palette_offset = 0, palette_entries = 0;
    std::size_t data_offset = 0, data_bytes = 0;  // the pixel rows or the RLE stream

    const char* kind() const { return compression == kRle8 ? "RLE8" : compression == kRle4 ? "RLE4" : "uncompressed"; }
    // Bytes of one stored row of an uncompressed picture: whole 32-bit words.
    std::size_t stride() const { return (std::size_t{width} * bits + 31) / 32 * 4; }
};

bool known_info_header_size(std::uint32_t size) {
    // BITMAPINFOHEADER and its longer versions (V2, V3, V4, V5).
    return size == 40 || size == 52 || size == 56 || size == 108 || size == 124;
}

std::string compression_name(std::uint32_t compression) {
    switch (compression) {
        case 3: return "BI_BITFIELDS";
        case 4: return "BI_JPEG";
        case 5: return "BI_PNG";
        case 6: return "BI_ALPHABITFIELDS";
        default: return "unknown";
    }
}

void check_depth(std::uint32_t compression, std::uint32_t bits) {
    if (compression == kRle8 && bits != 8)
        throw UserError("it says RLE8 with " + std::to_string(bits) + " bits per pixel (RLE8 needs 8)");
    if (compression == kRle4 && bits != 4)
        throw UserError("it says RLE4 with " + std::to_string(bits) + " bits per pixel (RLE4 needs 4)");
    if (compression > kRle4)
        throw UserError("its compression " + std::to_string(compression) + " (" + compression_name(compression) +
                        ") is not read: only uncompressed, RLE8 and RLE4 palette pictures are");
    if (bits != 1 && bits != 4 && bits != 8)
        throw UserError("it has " + std::to_string(bits) +
                        " bits per pixel: only palette pictures of 1, 4 or 8 bits are read");
}

// The picture's size from the signed header fields, within the tool's limits.
void take_size(std::int64_t width, std::int64_t height, BmpHeader& header) {
    if (width <= 0) throw UserError("its width " + std::to_string(width) + " is not positive");
    if (height == 0) throw UserError("its height is 0");
    header.top_down = height < 0;
    if (header.top_down && header.compression != kUncompressed)
        throw UserError("it is stored top-down (negative height), which an RLE picture cannot be");
    const std::int64_t rows = header.top_down ? -height : height;
    check_size(format_named("rgb24"), static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(rows));
    header.width = static_cast<std::uint32_t>(width);
    header.height = static_cast<std::uint32_t>(rows);
}

// The palette follows the info header; the pixel data start at the file
// header's offset, after the palette and inside the file.
void take_layout(const unsigned char* bytes, std::size_t size, std::uint32_t info_bytes, BmpHeader& header) {
    const std::size_t most = std::size_t{1} << header.bits;
    const std::uint32_t used = u32(bytes + kFileHeaderBytes + 32);
    if (used > most)
        throw UserError("its palette of " + std::to_string(used) + " colours is more than " +
                        std::to_string(header.bits) + "-bit indices reach (" + std::to_string(most) + ")");
    header.palette_entries = used != 0 ? used : most;
    header.palette_offset = kFileHeaderBytes + info_bytes;
    const std::size_t palette_end = header.palette_offset + 4 * header.palette_entries;
    const std::uint32_t data_offset = u32(bytes + 10);
    if (data_offset < palette_end)
        throw UserError("its pixel data offset " + std::to_string(data_offset) + " lies inside its headers or its " +
                        std::to_string(header.palette_entries) + "-colour palette (which end at byte " +
                        std::to_string(palette_end) + ")");
    if (data_offset >= size)
        throw UserError("its pixel data offset " + std::to_string(data_offset) + " lies past the end of the file (" +
                        bytes_text(size) + ")");
    header.data_offset = data_offset;
    const std::size_t available = size - data_offset;
    if (header.compression == kUncompressed) {
        header.data_bytes = header.stride() * header.height;
        if (header.data_bytes > available)
            throw UserError("it holds " + bytes_text(available) + " of pixel data after byte " +
                            std::to_string(data_offset) + ", not the " + bytes_text(header.data_bytes) + " of " +
                            std::to_string(header.height) + " rows of " + bytes_text(header.stride()));
    } else {
        // The image size gives the stream's length; writers may leave it 0.
        const std::uint32_t stream = u32(bytes + kFileHeaderBytes + 20);
        if (stream > available)
            throw UserError("its header gives " + bytes_text(stream) + " of " + header.kind() +
                            " data, the file holds " + bytes_text(available) + " after byte " +
                            std::to_string(data_offset));
        header.data_bytes = stream != 0 ? stream : available;
    }
}

BmpHeader parse_header(const unsigned char* bytes, std::size_t size) {
    if (size < 2 || bytes[0] != 'B' || bytes[1] != 'M') throw UserError("it does not start with 'BM' (not a BMP file)");
    if (size < kFileHeaderBytes + 40)
        throw UserError("it is " + bytes_text(size) + ", shorter than the 54 bytes of its headers");
    const std::uint32_t info_bytes = u32(bytes + kFileHeaderBytes);
    if (info_bytes == 12) throw UserError("OS/2 bitmaps (12-byte info header) are not read");
    if (!known_info_header_size(info_bytes))
        throw UserError("its info header size " + std::to_string(info_bytes) +
                        " is not one of the Windows sizes (40, 52, 56, 108, 124)");
    if (kFileHeaderBytes + info_bytes > size)
        throw UserError("its " + std::to_string(info_bytes) + "-byte info header runs past the end of the file (" +
                        bytes_text(size) + ")");
    const unsigned char* info = bytes + kFileHeaderBytes;
    if (u16(info + 12) != 1) throw UserError("it has " + std::to_string(u16(info + 12)) + " planes, not 1");
    BmpHeader header;
    header.compression = u32(info + 16);
    check_depth(header.compression, u16(info + 14));
    header.bits = u16(info + 14);
    take_size(s32(info + 4), s32(info + 8), header);
    take_layout(bytes, size, info_bytes, header);
    return header;
}

// The palette's B G R quads as the decoders take them: 3-byte entries for
// the rgb24 decoders, 4-byte ones with alpha 255 (opaque) for rgb8 to rgba32.
// Always 256 entries: checked indices never reach the zeros past the file's.
std::vector<unsigned char> decoder_palette(const unsigned char* bytes, const BmpHeader& header,
                                           std::size_t entry_bytes) {
    std::vector<unsigned char> palette(256 * entry_bytes, 0);
    for (std::size_t i = 0; i < header.palette_entries; ++i) {
        std::memcpy(&palette[i * entry_bytes], bytes + header.palette_offset + 4 * i, 3);
        if (entry_bytes == 4) palette[i * entry_bytes + 3] = 0xFF;
    }
    return palette;
}

// Index x of a stored row of 1-, 4- or 8-bit indices, leftmost in the high bits.
unsigned index_at(const unsigned char* row, std::uint32_t x, unsigned bits) {
    const std::size_t bit = std::size_t{x} * bits;
    return (row[bit / 8] >> (8 - bits - bit % 8)) & ((1u << bits) - 1);
}

// Uncompressed: the indices as 8-bit rows from the top, each checked
// against the palette, then the library's rgb8 decoder.
BmpPicture decode_uncompressed(const unsigned char* bytes, const BmpHeader& header) {
    const std::uint32_t width = header.width, height = header.height;
    std::vector<unsigned char> indices(std::size_t{width} * height);
    for (std::uint32_t stored = 0; stored < height; ++stored) {
        const unsigned char* row = bytes + header.data_offset + stored * header.stride();
        const std::uint32_t top_row = header.top_down ? stored : height - 1 - stored;
        for (std::uint32_t x = 0; x < width; ++x) {
            const unsigned index = index_at(row, x, header.bits);
            if (index >= header.palette_entries)
                throw UserError("pixel " + std::to_string(x) + " of row " + std::to_string(top_row) +
                                " (from the top) has index " + std::to_string(index) + ", beyond the palette's " +
                                std::to_string(header.palette_entries) + " entries (byte " +
                                std::to_string(row - bytes + std::size_t{x} * header.bits / 8) + ")");
            indices[std::size_t{top_row} * width + x] = static_cast<unsigned char>(index);
        }
    }
    BmpPicture picture;
    picture.frame = make_frame(format_named("rgba32"), width, height);
    const std::vector<unsigned char> palette = decoder_palette(bytes, header, 4);
    ccnvt_rgb8_rgba32(picture.frame.data(), 4 * long{width}, indices.data(), long{width}, long{width}, long{height},
                      palette.data());
    picture.decoding = "bmp (" + std::to_string(header.bits) + "-bit) -> rgba32 (ccnvt_rgb8_rgba32)";
    return picture;
}

struct RleDecoder {
    void (*decode)(void*, long, const void*, long, long, long, const void*);
    const char* name;
};

RleDecoder rgb24_decoder_for(const BmpHeader& header) {
    if (header.compression == kRle8) return {ccnvt_rle8_rgb24, "ccnvt_rle8_rgb24"};
    return {ccnvt_rle4_rgb24, "ccnvt_rle4_rgb24"};
}

// RLE: the stream checked, then decoded piece by piece into rgb24 rows
// prefilled with palette entry 0.
BmpPicture decode_rle(const unsigned char* bytes, const BmpHeader& header) {
    const std::uint32_t width = header.width, height = header.height;
    const unsigned char* stream = bytes + header.data_offset;
    const RleCheck check = check_rle_stream(stream, header.data_bytes, width, height, header.bits,
                                            header.palette_entries);
    if (!check.ok)
        throw UserError("bad " + std::string(header.kind()) + " stream at byte " +
                        std::to_string(header.data_offset + check.error_offset) + " of the file: " + check.error);
    const std::vector<unsigned char> palette = decoder_palette(bytes, header, 3);
    BmpPicture picture;
    picture.frame = make_frame(format_named("rgb24"), width, height);
    unsigned char* pixels = picture.frame.data();
    for (std::size_t i = 0; i < picture.frame.size(); ++i) pixels[i] = palette[i % 3];
    const long pitch = 3 * long{width};
    const RleDecoder decoder = rgb24_decoder_for(header);
    for (const RlePiece& piece : check.pieces) {
        // The decoder writes its first row at destination + (rows - 1) * pitch
        // and goes up from there.
        const std::uint32_t rows = piece.rows(height);
        unsigned char* destination = pixels + std::size_t{height - piece.row - rows} * pitch + 3 * piece.column;
        decoder.decode(destination, pitch, stream + piece.offset, 0, long{width - piece.column}, long{rows},
                       palette.data());
    }
    picture.decoding = std::string("bmp (") + header.kind() + ") -> rgb24 (" + decoder.name + ")";
    return picture;
}

}  // namespace

BmpPicture decode_bmp(const unsigned char* bytes, std::size_t size) {
    const BmpHeader header = parse_header(bytes, size);
    return header.compression == kUncompressed ? decode_uncompressed(bytes, header) : decode_rle(bytes, header);
}

BmpPicture read_bmp(const std::string& path) {
    const std::vector<unsigned char> bytes = read_file(path);
    try {
        return decode_bmp(bytes.data(), bytes.size());
    } catch (const UserError& error) {
        throw UserError("cannot read the BMP '" + path + "': " + error.what());
    }
}

}  // namespace ccnvt
