#include "state_command/sha256.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

#include "platform/hexadecimal.h"

namespace {

constexpr std::size_t block_size = 64;
constexpr std::size_t rounds = 64;

using State = std::array<std::uint32_t, 8>;

// The first 32 bits of the fractional parts of the square roots of the first 8 primes, and of the cube roots of the
// first 64.
constexpr State initial_state = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                 0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
constexpr std::array<std::uint32_t, rounds> constants = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2};

using Schedule = std::array<std::uint32_t, rounds>;

Schedule schedule_of(std::string_view block) {
    Schedule w{};
    for (std::size_t i = 0; i != block_size; ++i) {
        w[i / 4] = w[i / 4] << 8U | static_cast<unsigned char>(block[i]);
    }
    for (std::size_t i = 16; i != rounds; ++i) {
        const std::uint32_t s0 = std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3U;
        const std::uint32_t s1 = std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10U;
        w[i] = w[i - 16] + s0 + w[i - 7] + s1;
    }
    return w;
}

void add_block(State& state, std::string_view block) {
    const Schedule w = schedule_of(block);
    auto [a, b, c, d, e, f, g, h] = state;
    for (std::size_t i = 0; i != rounds; ++i) {
        const std::uint32_t s1 = std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25);
        const std::uint32_t t1 = h + s1 + ((e & f) ^ (~e & g)) + constants[i] + w[i];
        const std::uint32_t s0 = std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22);
        const std::uint32_t t2 = s0 + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + t1;
        d = c;
        c = b;
        b = a;
        a = t1 + t2;
    }
    const State added = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i != state.size(); ++i) {
        state[i] += added[i];
    }
}

void append_big_endian(std::string& text, std::uint64_t number, std::size_t bytes) {
    for (std::size_t i = bytes; i-- != 0;) {
        text += static_cast<char>(number >> (8 * i) & 0xFFU);
    }
}

}  // namespace

std::string sha256(std::string_view bytes) {
    State state = initial_state;
    const std::uint64_t bits = std::uint64_t{bytes.size()} * 8;
    for (; bytes.size() >= block_size; bytes.remove_prefix(block_size)) {
        add_block(state, bytes);
    }
    // Padding: a one bit, zeros up to the last eight bytes of a block, and the length in those.
    std::string rest(bytes);
    rest += '\x80';
    while (rest.size() % block_size != block_size - sizeof bits) {
        rest += '\0';
    }
    append_big_endian(rest, bits, sizeof bits);
    for (std::size_t i = 0; i != rest.size(); i += block_size) {
        add_block(state, std::string_view(rest).substr(i, block_size));
    }
    std::string digest;
    for (const std::uint32_t word : state) {
        append_big_endian(digest, word, sizeof word);
    }
    return to_hexadecimal(digest);
}
