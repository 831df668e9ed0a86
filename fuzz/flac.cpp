// SPDX-License-Identifier: Zlib
#include "ogg_pages.h"
#include "sounds.h"

using namespace fuzzing;

namespace {

// With the polynomial's bits from the left.
template <class Sum> Sum sum_of(const u8* from, size_t size, Sum polynomial) {
    constexpr int top = 8 * sizeof(Sum) - 1;
    u32 sum = 0;
    for (size_t i = 0; i < size; ++i) {
        sum ^= u32{from[i]} << (top - 7);
        for (int bit = 0; bit < 8; ++bit) {
            sum = sum << 1 ^ ((sum >> top & 1) != 0 ? polynomial : 0);
        }
    }
    return static_cast<Sum>(sum);
}

// Length of the header of the frame that starts here, its check sum left out; 0 where none does.
size_t header_length(const u8* from, size_t left) {
    if (left < 16 || from[0] != 0xFF || (from[1] & 0xFE) != 0xF8) return 0;
    const int block_size = from[2] >> 4;
    const int rate = from[2] & 15;
    if (block_size == 0 || rate == 15 || from[3] >= 0xB0 || (from[3] & 1) != 0) return 0;
    size_t length = 5;
    for (u8 bit = 0x40; from[4] >= 0xC0 && (from[4] & bit) != 0; bit >>= 1) {
        ++length;
    }
    length += block_size == 6 ? 1 : block_size == 7 ? 2 : 0;
    length += rate == 12 ? 1 : rate == 13 || rate == 14 ? 2 : 0;
    return length;
}

void mend_frame(u8* from, size_t size) {
    const size_t header = header_length(from, size);
    from[header] = sum_of<u8>(from, header, 0x07);
    const u16 sum = sum_of<u16>(from, size - 2, 0x8005);
    from[size - 2] = static_cast<u8>(sum >> 8);
    from[size - 1] = static_cast<u8>(sum);
}

// A frame ends where the next one seems to start.
void mend_flac_sums(bytes& file) {
    size_t start = file.size();
    for (size_t at = 4; at < file.size(); ++at) {
        if (header_length(&file[at], file.size() - at) == 0) continue;
        if (start < at && at - start >= 20) mend_frame(&file[start], at - start);
        if (start == file.size() || at - start >= 20) start = at;
    }
    if (file.size() - start >= 20) mend_frame(&file[start], file.size() - start);
}

void mend_sums(bytes& file) {
    mend_flac_sums(file);
    mend_ogg_sums(file);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    run_sound({data, size}, "flac", mend_sums);
    return 0;
}
