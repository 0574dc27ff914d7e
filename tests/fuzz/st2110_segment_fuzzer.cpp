// ccnvt_4175_to_v210 against a model. Input: feature word, phase (1 each), pairs,
// length (2 each, length -8 .. given; bytes past it read as 0), a fill seed (1),
// the payload. The destination ends with a guard group.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cconvert/packed10.h"
#include "fuzz_support.h"

namespace {

// Pair k: Cb Y0 Cr Y1 of ten bits, MSB first, zero past the length.
void model_pair(const std::uint8_t* payload, long length, long k, std::uint32_t s[4]) {
    std::uint64_t bits = 0;
    for (long i = 0; i < 5; ++i) {
        const long at = 5 * k + i;
        bits = bits << 8 | (at < length ? payload[at] : 0u);
    }
    for (int i = 0; i < 4; ++i) s[i] = static_cast<std::uint32_t>(bits >> (30 - 10 * i)) & 0x3FF;
}

std::uint32_t get(const std::uint8_t* group, int word) {
    std::uint32_t value;
    std::memcpy(&value, group + 4 * word, 4);
    return value;
}
void set(std::uint8_t* group, int word, std::uint32_t value) { std::memcpy(group + 4 * word, &value, 4); }

// Pair at group position 0, 2 or 4: only its fields change (bits 30-31 cleared).
void model_merge(std::uint8_t* group, int position, const std::uint32_t s[4]) {
    if (position == 0) {
        set(group, 0, s[0] | s[1] << 10 | s[2] << 20);
        set(group, 1, (get(group, 1) & ~0x3FFu) | s[3]);
    } else if (position == 2) {
        set(group, 1, (get(group, 1) & 0x3FFu) | s[0] << 10 | s[1] << 20);
        set(group, 2, (get(group, 2) & (0x3FFu << 20)) | s[2] | s[3] << 10);
    } else {
        set(group, 2, (get(group, 2) & 0xFFFFFu) | s[0] << 20);
        set(group, 3, s[1] | s[2] << 10 | s[3] << 20);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    cconvert::fuzz::FuzzInput in(data, size);
    cconvert::fuzz::use_feature_word(in.byte());
    const std::uint8_t phase_choice = in.byte();
    // Phases 0, 2, 4; anything else counts as 0.
    std::uint64_t phase = phase_choice % 4 < 3 ? 2u * (phase_choice % 4) : phase_choice * 0x0101010101010101ull;
    const auto pair_count = static_cast<std::int64_t>(in.integer<std::int16_t>()) % 1200;
    const std::uint16_t length_choice = in.integer<std::uint16_t>();
    const std::uint8_t seed = in.byte();
    const auto available = static_cast<std::int64_t>(in.rest_size());
    const std::int64_t length = length_choice % (available + 9) - 8;  // -8 .. available
    std::vector<std::uint8_t> payload(in.rest(), in.rest() + (length > 0 ? length : 0));

    const bool lead_in = phase == 2 || phase == 4;
    const long pairs = pair_count > 0 ? static_cast<long>(pair_count) : 0;
    const std::size_t groups = (lead_in ? 1 : 0) + static_cast<std::size_t>((pairs + 2) / 3);
    std::vector<std::uint8_t> expected(16 * groups + 16);
    for (std::size_t i = 0; i < expected.size(); ++i) expected[i] = static_cast<std::uint8_t>(seed + 13 * i);
    auto* destination = static_cast<std::uint8_t*>(std::malloc(16 * groups + 16));
    std::memcpy(destination, expected.data(), expected.size());

    long k = 0;
    std::uint8_t* group = expected.data();
    std::uint32_t s[4];
    if (lead_in) {
        for (int position = static_cast<int>(phase); position < 6; position += 2) {
            model_pair(payload.data(), length, k++, s);
            model_merge(group, position, s);
        }
        group += 16;
    }
    for (long p = 0; p < pairs; ++p) {
        model_pair(payload.data(), length, k++, s);
        model_merge(group, static_cast<int>(2 * (p % 3)), s);
        if (p % 3 == 2) group += 16;
    }

    // The last 16 bytes are a guard: nothing may reach them.
    ccnvt_4175_to_v210(reinterpret_cast<unsigned int*>(destination), payload.data(), length, pair_count,
                       phase);
    if (std::memcmp(destination, expected.data(), expected.size()) != 0) std::abort();
    std::free(destination);
    return 0;
}
