// SPDX-License-Identifier: Zlib
#include "fuzzing.h"

#include "api/images.h"

// Loads of an image: from a file or from memory, with any number of channels, in any amount of
// memory. The same load in memory that held something else before gives the same pixels.

using namespace fuzzing;

namespace {

enum : u8 {
    flipped = 1,
    from_file = 2,
    twice = 4,
};

struct plan {
    u8 flags;
    i8 channels;
    i64 lent;
    i64 start;
    bytes content;
};

plan plan_of(input from) {
    plan p = {};
    p.flags = from.byte();
    p.channels = static_cast<i8>(from.byte());
    p.lent = lent_size(p.flags >> 6, from.number<u16>(), 1 << 20);
    p.start = from.byte();
    from.byte();
    p.content = from.rest();
    return p;
}

struct outcome {
    bytes pixels;
    i32 width;
    i32 height;
    i64 position;
    std::string printed;

    bool operator==(const outcome&) const = default;
};

i64 rounded(i64 position) {
    return (position + 7) / 8 * 8;
}

void check_failure(const plan& p, const outcome& o) {
    require(o.width == 0 && o.height == 0, "a failed image has no size");
    require(o.position >= p.start, "a failed load gives nothing back");
    if (o.printed == "image memory allocation failed\n") {
        require(o.position <= std::max(rounded(p.lent), rounded(p.start)),
                "a refused block takes nothing");
    } else if (o.printed == "image memory reallocation failed\n") {
        require(o.position >= p.lent, "nothing is given out after a refused growth");
    } else {
        require(o.printed.empty(), "there is one line, or none");
    }
}

void check_success(const plan& p, const Image& image, const u8* memory, const outcome& o) {
    require(o.printed.empty(), "a load that printed a line has failed");
    require(p.channels >= 0 && p.channels <= 4, "no other numbers of channels are taken");
    require(image.width > 0 && image.height > 0, "an image has pixels");
    require(o.position <= p.lent, "the blocks lie in the memory that was lent");
    const i64 size = i64{image.width} * image.height * std::max<i64>(p.channels, 1);
    const auto* const first = static_cast<const u8*>(image.data);
    require(first >= memory + rounded(p.start) && first + size <= memory + o.position,
            "the pixels lie in what the load took");
}

guarded_memory lent(most_lent);
output_lines output;
input_file file("image");

outcome load(plan& p, u8 dirt) {
    u8* const memory = lent.ending(p.lent);
    if ((p.flags & twice) != 0) std::memset(memory, dirt, static_cast<size_t>(p.lent));
    image_set_buffer(p.lent, memory);
    image_set_buffer_position(p.start);
    image_set_flip(p.flags & flipped);
    Image image = {memory, -1, -1};
    if ((p.flags & from_file) != 0) {
        file.hold(p.content);
        image_load(&image, file.path(), p.channels);
    } else {
        image_load_from_memory(&image, static_cast<i32>(p.content.size()), p.content.data(),
                               p.channels);
    }
    outcome o = {{}, image.width, image.height, image_get_buffer_position(), output.take()};
    if (image.data == nullptr) {
        check_failure(p, o);
        return o;
    }
    check_success(p, image, memory, o);
    const i64 size = i64{image.width} * image.height * std::max<i64>(p.channels, 1);
    const auto* const first = static_cast<const u8*>(image.data);
    if ((p.flags & twice) != 0) o.pixels.assign(first, first + size);
    return o;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const int descriptor = next_descriptor();
    plan p = plan_of({data, size});
    const outcome first = load(p, 0x00);
    if ((p.flags & twice) != 0) {
        require(load(p, 0xFF) == first, "a load doesn't depend on what the memory held");
    }
    require(next_descriptor() == descriptor, "no file stays open");
    return 0;
}
