// The tool's PNG reader: a UserError is an answer, anything else a finding;
// a PNG it takes comes out as tight rows of its width and height.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include "errors.h"
#include "fuzz_support.h"
#include "png_io.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static cconvert::fuzz::InputFile file;
    const std::string& path = file.hold(data, size);
    try {
        const ccnvt::PngImage image = ccnvt::read_png(path);
        const std::size_t expected =
            ccnvt::png_bytes_per_pixel(image.layout) * std::size_t{image.width} * image.height;
        if (image.width == 0 || image.height == 0 || image.pixels.size() != expected) std::abort();
    } catch (const ccnvt::UserError&) {
    }
    return 0;
}
