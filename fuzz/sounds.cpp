// SPDX-License-Identifier: Zlib
#include "sounds.h"

#include "api/audio.h"

#include <malloc.h>

namespace fuzzing {
namespace {

enum : u8 {
    as_stream = 1,
    from_file = 2,
    twice = 4,
    with_sums = 8,
};

struct step {
    u8 kind;
    u16 amount;
};

constexpr size_t most_steps = 8;

struct plan {
    u8 flags;
    sample_format format;
    i64 lent;
    i64 start;
    std::vector<step> steps;
    bytes content;
};

plan plan_of(input from) {
    plan p = {};
    p.flags = from.byte();
    p.format = from.byte() % 9;
    p.lent = lent_size(p.flags >> 6, from.number<u16>(), 1 << 20);
    p.start = from.byte();
    const size_t steps = from.byte() % (most_steps + 1);
    for (size_t i = 0; i < most_steps; ++i) {
        const u8 kind = from.byte();
        p.steps.push_back({kind, from.number<u16>()});
    }
    p.steps.resize(steps);
    from.number<u16>();
    p.content = from.rest();
    return p;
}

guarded_memory lent(most_lent);
constexpr i64 most_read = 1 << 18;
guarded_memory destination(most_read);
output_lines output;

// All that a run comes to. Two runs of one plan must come to the same.
struct trace {
    bytes data;

    template <class Value> void add(const Value& value) {
        add(&value, sizeof value);
    }
    void add(const void* from, size_t size) {
        if (size == 0) return;
        data.resize(data.size() + size);
        std::memcpy(data.data() + data.size() - size, from, size);
    }
};

i64 width_of(sample_format format) {
    constexpr i64 widths[] = {1, 2, 4, 1, 2, 4, 4};
    return format < 7 ? widths[format] : 2;
}

bool is_failure_line(const std::string& line) {
    return line == "audio memory allocation failed\n" ||
           line == "audio memory reallocation failed\n";
}

void dirty(const plan& p, u8* memory, i64 size, u8 dirt) {
    if ((p.flags & twice) != 0 && size > 0) std::memset(memory, dirt, static_cast<size_t>(size));
}

void check_wave(const plan& p, const Wave& wave, const u8* memory, const std::string& printed) {
    require(printed.empty() || is_failure_line(printed), "there is one line, or none");
    if (wave.data == nullptr) {
        require(wave.channels == 0 && wave.sample_rate == 0 && wave.size == 0,
                "a failed wave is empty");
        require(wave.format == p.format || wave.format == 0,
                "a failed wave has a format asked for");
        return;
    }
    require(printed.empty(), "a load that printed a line has failed");
    require(wave.format == p.format && p.format <= SAMPLE_FORMAT_F32,
            "the format is that asked for");
    require(wave.channels > 0, "a wave has channels");
    require(wave.size >= 0 && wave.size % (wave.channels * width_of(wave.format)) == 0,
            "a wave is whole frames");
    const auto* const first = static_cast<const u8*>(wave.data);
    require(first >= memory + p.start &&
                first + wave.size <= memory + audio_get_buffer_position() &&
                audio_get_buffer_position() <= p.lent,
            "the samples lie in what the load took");
}

trace load(plan& p, Slice path, const u8* memory) {
    Wave wave = {9, -1, -1, -1, nullptr};
    if ((p.flags & from_file) != 0) {
        audio_wave_load(&wave, p.format, path);
    } else {
        audio_wave_load_from_memory(&wave, p.format, static_cast<i64>(p.content.size()),
                                    p.content.data());
    }
    const std::string printed = output.take();
    check_wave(p, wave, memory, printed);
    trace t;
    t.add(wave.channels);
    t.add(wave.sample_rate);
    t.add(wave.size);
    t.add(printed.data(), printed.size());
    t.add(wave.data, static_cast<size_t>(wave.size));
    return t;
}

struct open_stream {
    i32 number;
    AudioInfo info;
    i64 frame; // bytes
};

void read(const plan& p, const open_stream& s, u64 frames, u8 dirt, trace& t) {
    if (s.frame > 0) frames = std::min(frames, static_cast<u64>(most_read / s.frame));
    const i64 size = static_cast<i64>(frames) * s.frame;
    u8* const block = destination.ending(size);
    dirty(p, block, size, dirt);
    const i64 count = audio_stream_read(s.number, frames, block);
    require(count >= 0 && static_cast<u64>(count) <= frames, "no more is read than asked for");
    require(count == 0 || s.info.channels > 0, "nothing is read from a stream that failed");
    t.add(count);
    t.add(block, static_cast<size_t>(count * s.frame));
}

void seek(const open_stream& s, u64 frame, trace& t) {
    const i32 result = audio_stream_seek(s.number, frame);
    require(result == 0 || (result == 1 && s.info.channels > 0), "a seek is done or not");
    t.add(result);
}

void take_step(const plan& p, const open_stream& s, const step& next, u8 dirt, trace& t) {
    const u64 length = s.frame > 0 ? static_cast<u64>(s.info.size) / static_cast<u64>(s.frame) : 0;
    switch (next.kind & 7) {
    case 0:
    case 1:
    case 2: return read(p, s, next.amount, dirt, t);
    case 3: return read(p, s, next.amount & 0x1F, dirt, t);
    case 4: return seek(s, next.amount, t);
    case 5: return seek(s, length + next.amount - 0x8000, t);
    case 6: return seek(s, u64{next.amount} << (next.kind >> 3) << 16, t);
    default:
        require(audio_stream_read(s.number, ~u64{0}, nullptr) == 0, "no block has so much room");
    }
}

AudioInfo info_of(i32 stream) {
    AudioInfo info = {9, -1, -1, -1};
    audio_stream_read_info(&info, stream);
    return info;
}

trace stream(plan& p, Slice path, u8 dirt) {
    const i32 number = (p.flags & from_file) != 0
                           ? audio_stream_open(p.format, path, false)
                           : audio_stream_open_from_memory(
                                 p.format, static_cast<i64>(p.content.size()), p.content.data());
    trace t;
    if (number < 0) {
        require(p.format == SAMPLE_FORMAT_U8 || p.format == SAMPLE_FORMAT_S8, "there is a slot");
        return t;
    }
    const AudioInfo info = info_of(number);
    const std::string printed = output.take();
    require(printed.empty() || is_failure_line(printed), "there is one line, or none");
    require(printed.empty() || info.channels == 0, "an open that printed a line has failed");
    require(info.channels >= 0 && info.channels <= 0xFFFF, "channels have 16 bits");
    require(info.channels > 0 || (info.sample_rate == 0 && info.size == 0),
            "a stream that failed is empty");
    const open_stream s = {number, info, info.channels * width_of(p.format)};
    t.add(info.channels);
    t.add(info.sample_rate);
    t.add(info.size);
    const i64 position = audio_get_buffer_position();
    for (const step& next : p.steps) {
        take_step(p, s, next, dirt, t);
    }
    require(audio_get_buffer_position() == position, "reads and seeks take no memory");
    const AudioInfo again = info_of(number);
    require(std::memcmp(&again, &info, sizeof info) == 0, "the second answer is the first");
    audio_stream_close(number);
    const std::string later = output.take();
    require(later.empty() || p.format > SAMPLE_FORMAT_F32, "nothing more is printed");
    return t;
}

trace run(plan& p, Slice path, u8 dirt) {
    u8* const memory = lent.ending(p.lent);
    dirty(p, memory, p.lent, dirt);
    // The same for the heap, which one of the decoders uses. (The address sanitizer's has no
    // switch.)
    if ((p.flags & twice) != 0) mallopt(M_PERTURB, dirt == 0 ? 0xFF : 0x01);
    audio_set_buffer(p.lent, memory);
    audio_set_buffer_position(p.start);
    return (p.flags & as_stream) != 0 ? stream(p, path, dirt) : load(p, path, memory);
}

} // namespace

void run_sound(input from, const char* extension, void (*mend_sums)(bytes& file)) {
    static input_file file(extension);
    const int descriptor = next_descriptor();
    plan p = plan_of(from);
    if ((p.flags & with_sums) != 0) mend_sums(p.content);
    if ((p.flags & from_file) != 0) file.hold(p.content);
    const trace first = run(p, file.path(), 0x00);
    if ((p.flags & twice) != 0) {
        require(run(p, file.path(), 0xFF).data == first.data,
                "a sound doesn't depend on what the memory held");
    }
    require(next_descriptor() == descriptor, "no file stays open");
}

} // namespace fuzzing
