// SPDX-License-Identifier: Zlib
#include "graphics/shader_scan.h"

#include <cstring>
#include <immintrin.h>

namespace halvorin {
namespace {

// Positions are 64-bit, so that sums past the end of a text of 2^31 - 1 bytes don't overflow.
struct scan {
    const char* text;
    i64 count;
    shader_texts found;
    stage_text* open; // the stage whose text runs on, or null
};

struct directive {
    const char* word;
    i64 length;
};

constexpr directive directives[shader_stages] = {{"vertex", 6}, {"fragment", 8}, {"geometry", 8}};

bool is_white(char byte) {
    return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r';
}

void close_stage(scan& state, i64 end) {
    if (!state.open) return;
    state.open->length = static_cast<i32>(end - (state.open->data - state.text));
}

// True for the word of a directive, a white byte and at least one byte more behind a #.
bool is_directive(const scan& state, i64 position, const directive& kind) {
    const char* word = state.text + position + 1;
    return state.count - position > kind.length + 2 &&
           std::memcmp(word, kind.word, static_cast<size_t>(kind.length)) == 0 &&
           is_white(word[kind.length]);
}

// Takes a look at the # at `position`. A directive holds no second #, so that the search may go on
// at the next byte in either case. A stage that had a text already starts over.
void look_at(scan& state, i64 position) {
    for (u32 stage = 0; stage < shader_stages; ++stage) {
        if (!is_directive(state, position, directives[stage])) continue;
        close_stage(state, position);
        state.open = &state.found.of[stage];
        *state.open = {state.text + position + directives[stage].length + 2, 0};
        return;
    }
}

// A block of 64 bytes, and a bit for each byte that is a # with the first letter of a stage behind
// it. Preprocessor lines are too many to look at every #.
struct block {
    i64 position;
    u64 candidates;
};

// The letters v, f and g, and w with them, are f under this mask.
constexpr char letter_mask = static_cast<char>(0xEE);

__m128i candidates_of_16(const char* bytes) {
    const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i behind = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 1));
    const __m128i letter = _mm_and_si128(behind, _mm_set1_epi8(letter_mask));
    return _mm_and_si128(_mm_cmpeq_epi8(here, _mm_set1_epi8('#')),
                         _mm_cmpeq_epi8(letter, _mm_set1_epi8('f')));
}

u64 bits_of(__m128i bytes) {
    return static_cast<u32>(_mm_movemask_epi8(bytes));
}

// Whether there is a # among 64 bytes. Looking for the letters, too, takes twice as long.
bool has_hash(const char* bytes) {
    const auto hashes = [bytes](i64 at) {
        const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + at));
        return _mm_cmpeq_epi8(here, _mm_set1_epi8('#'));
    };
    return bits_of(_mm_or_si128(_mm_or_si128(hashes(0), hashes(16)),
                                _mm_or_si128(hashes(32), hashes(48)))) != 0;
}

// The next block with candidates, from `position` on; without candidates, where blocks end. The
// letter behind the last byte is read too, so a block needs one byte more.
block next_block(const char* text, i64 position, i64 count) {
    for (; count - position > 64; position += 64) {
        const char* const bytes = text + position;
        if (!has_hash(bytes)) continue;
        const u64 candidates = bits_of(candidates_of_16(bytes)) |
                               bits_of(candidates_of_16(bytes + 16)) << 16 |
                               bits_of(candidates_of_16(bytes + 32)) << 32 |
                               bits_of(candidates_of_16(bytes + 48)) << 48;
        if (candidates != 0) return {position, candidates};
    }
    return {position, 0};
}

[[gnu::target("avx2")]] __m256i candidates_of_32(const char* bytes) {
    const __m256i here = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
    const __m256i behind = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + 1));
    const __m256i letter = _mm256_and_si256(behind, _mm256_set1_epi8(letter_mask));
    return _mm256_and_si256(_mm256_cmpeq_epi8(here, _mm256_set1_epi8('#')),
                            _mm256_cmpeq_epi8(letter, _mm256_set1_epi8('f')));
}

[[gnu::target("avx2")]] u64 bits_of(__m256i bytes) {
    return static_cast<u32>(_mm256_movemask_epi8(bytes));
}

[[gnu::target("avx2")]] block next_block_avx2(const char* text, i64 position, i64 count) {
    for (; count - position > 64; position += 64) {
        const __m256i a = candidates_of_32(text + position);
        const __m256i b = candidates_of_32(text + position + 32);
        if (bits_of(_mm256_or_si256(a, b)) == 0) continue;
        return {position, bits_of(a) | bits_of(b) << 32};
    }
    return {position, 0};
}

} // namespace

shader_texts split_stages(const char* text, i32 count, bool wide) {
    const auto find_block = wide ? next_block_avx2 : next_block;
    scan state = {text, count, {}, nullptr};
    block found = find_block(text, 0, count);
    while (found.candidates != 0) {
        for (u64 bits = found.candidates; bits != 0; bits &= bits - 1) {
            look_at(state, found.position + __builtin_ctzll(bits));
        }
        found = find_block(text, found.position + 64, count);
    }
    for (i64 position = found.position; position < count; ++position) {
        if (text[position] == '#') look_at(state, position);
    }
    if (count > 0) close_stage(state, count);
    return state.found;
}

} // namespace halvorin
