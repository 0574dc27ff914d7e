// A tiny host: converts a 2vuy frame to v210 and back with the installed
// library and checks that it came back unchanged.
#include <cconvert/cconvert.h>

#include <cstdio>
#include <cstring>
#include <vector>

int main() {
    const unsigned int width = 1920, height = 4;
    std::vector<unsigned char> uyvy(2 * width * height), back(uyvy.size());
    for (std::size_t i = 0; i < uyvy.size(); ++i) uyvy[i] = static_cast<unsigned char>(i * 7 + 3);
    std::vector<unsigned char> v210(5120 * height);
    ccvnt_open(0, 0, 0, 0);
    ccnvt_2vuy_v210(v210.data(), uyvy.data(), width, height, 0);
    ccnvt_v210_2vuy(back.data(), v210.data(), width, height, 0);
    if (std::memcmp(uyvy.data(), back.data(), uyvy.size()) != 0) {
        std::puts("round trip changed the frame");
        return 1;
    }
    std::puts("installed library: 2vuy -> v210 -> 2vuy round trip intact");
    return 0;
}
