#include "bars.h"

#include <cmath>
#include <cstring>
#include <vector>

namespace ccnvt {

YCbCr10 ycbcr_of(double r, double g, double b, bool bt709) {
    const double kr = bt709 ? 0.2126 : 0.299, kb = bt709 ? 0.0722 : 0.114;
    const double y = kr * r + (1 - kr - kb) * g + kb * b;
    const double cb = (b - y) / (2 * (1 - kb)), cr = (r - y) / (2 * (1 - kr));
    return {static_cast<int>(std::lround(64 + 876 * y)), static_cast<int>(std::lround(512 + 896 * cb)),
            static_cast<int>(std::lround(512 + 896 * cr))};
}

namespace {

constexpr YCbCr10 grey(double level) {
    return {static_cast<int>(64 + 876 * level + 0.5), 512, 512};
}

// The seven bars at 75%: white, yellow, cyan, green, magenta, red, blue.
YCbCr10 bar75(int index, bool bt709) {
    static constexpr double kRgb[8][3] = {{1, 1, 1}, {1, 1, 0}, {0, 1, 1}, {0, 1, 0},
                                          {1, 0, 1}, {1, 0, 0}, {0, 0, 1}, {0, 0, 0}};
    return ycbcr_of(0.75 * kRgb[index][0], 0.75 * kRgb[index][1], 0.75 * kRgb[index][2], bt709);
}

// One row of samples, a colour per pixel, packed as v210: six pixels in four
// little-endian words of three 10-bit fields, Cb Y Cr Y order, chroma taken
// from the left pixel of each pair.
void put_v210_row(const std::vector<YCbCr10>& pixels, unsigned char* row) {
    std::vector<int> stream;
    for (std::size_t x = 0; x < pixels.size(); x += 2) {
        const YCbCr10& left = pixels[x];
        const YCbCr10& right = x + 1 < pixels.size() ? pixels[x + 1] : left;
        stream.insert(stream.end(), {left.cb, left.y, left.cr, right.y});
    }
    while (stream.size() % 12 != 0) stream.push_back(0);
    for (std::size_t w = 0; w * 3 < stream.size(); ++w) {
        const std::uint32_t word = static_cast<std::uint32_t>(stream[3 * w]) |
                                   static_cast<std::uint32_t>(stream[3 * w + 1]) << 10 |
                                   static_cast<std::uint32_t>(stream[3 * w + 2]) << 20;
        std::memcpy(row + 4 * w, &word, 4);
    }
}

// RP 219 (16:9 HD): side panels of width / 8, seven bars across the rest;
// rows of 7/12, 1/12, 1/12 and 3/12 of the height.
std::vector<YCbCr10> rp219_row(std::uint32_t width, std::uint32_t y, std::uint32_t height) {
    const std::uint32_t side = width / 8, inner = width - 2 * side;
    auto bar_edge = [&](std::uint32_t k) { return side + k * inner / 7; };
    std::vector<YCbCr10> row(width);
    const std::uint32_t section = y * 12 / height;  // 0..6: bars, 7: second, 8: third, 9..11: bottom
    for (std::uint32_t x = 0; x < width; ++x) {
        const bool left = x < side, right = x >= width - side;
        std::uint32_t bar = 0;
        while (bar < 6 && x >= bar_edge(bar + 1)) ++bar;
        YCbCr10 colour;
        if (section < 7) {
            colour = left || right ? grey(0.40) : bar75(static_cast<int>(bar), true);
        } else if (section == 7) {
            colour = left ? ycbcr_of(0, 1, 1, true) : right ? ycbcr_of(0, 0, 1, true) : grey(0.75);
        } else if (section == 8) {
            if (left) {
                colour = ycbcr_of(1, 1, 0, true);
            } else if (right) {
                colour = ycbcr_of(1, 0, 0, true);
            } else {  // a luma ramp from black to white across the bars
                colour = grey(static_cast<double>(x - side) / (inner - 1));
            }
        } else {
            // 15% grey sides; black, 100% white over two bars, black, then
            // PLUGE: -2%, 0, +2%, 0, +4% across the fifth bar, black.
            if (left || right) {
                colour = grey(0.15);
            } else if (bar == 1 || bar == 2) {
                colour = grey(1.0);
            } else if (bar == 4) {
                const std::uint32_t step = (x - bar_edge(4)) * 5 / (bar_edge(5) - bar_edge(4));
                static constexpr double kPluge[5] = {-0.02, 0, 0.02, 0, 0.04};
                colour = grey(kPluge[step]);
            } else {
                colour = grey(0);
            }
        }
        row[x] = colour;
    }
    return row;
}

// EBU (SD): eight equal bars, white to black, at 75%, BT.601.
std::vector<YCbCr10> ebu_row(std::uint32_t width) {
    std::vector<YCbCr10> row(width);
    for (std::uint32_t x = 0; x < width; ++x) row[x] = bar75(static_cast<int>(x * 8 / width), false);
    return row;
}

}  // namespace

Frame make_bars(std::uint32_t width, std::uint32_t height) {
    Frame frame = make_frame(format_named("v210"), width, height);
    const std::size_t pitch = v210_row_bytes(width);
    const bool hd = is_hd(width, height);
    for (std::uint32_t y = 0; y < height; ++y)
        put_v210_row(hd ? rp219_row(width, y, height) : ebu_row(width), frame.data() + y * pitch);
    return frame;
}

}  // namespace ccnvt
