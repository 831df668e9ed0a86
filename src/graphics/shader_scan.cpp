// SPDX-License-Identifier: Zlib
#include "graphics/shader_scan.h"

#include <cstring>
#include <emmintrin.h>

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

// A bit for each of 16 bytes that is a # with the first letter of a stage behind it. Preprocessor
// lines are too many to look at each #. The mask makes v, f and g one letter; w comes along.
u32 candidates(const char* bytes) {
    const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes));
    const __m128i behind = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + 1));
    const __m128i letter = _mm_and_si128(behind, _mm_set1_epi8(static_cast<char>(0xEE)));
    const __m128i both = _mm_and_si128(_mm_cmpeq_epi8(here, _mm_set1_epi8('#')),
                                       _mm_cmpeq_epi8(letter, _mm_set1_epi8('f')));
    return static_cast<u32>(_mm_movemask_epi8(both));
}

} // namespace

shader_texts split_stages(const char* text, i32 count) {
    scan state = {text, count, {}, nullptr};
    i64 position = 0;
    // The letter behind the last byte of a block is read too, so a block needs one byte more.
    for (; count - position > 64; position += 64) {
        const char* block = text + position;
        u64 bits = static_cast<u64>(candidates(block)) |
                   static_cast<u64>(candidates(block + 16)) << 16 |
                   static_cast<u64>(candidates(block + 32)) << 32 |
                   static_cast<u64>(candidates(block + 48)) << 48;
        for (; bits != 0; bits &= bits - 1) {
            look_at(state, position + __builtin_ctzll(bits));
        }
    }
    for (; position < count; ++position) {
        if (text[position] == '#') look_at(state, position);
    }
    if (count > 0) close_stage(state, count);
    return state.found;
}

} // namespace halvorin
