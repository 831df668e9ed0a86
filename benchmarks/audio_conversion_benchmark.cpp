// SPDX-License-Identifier: Zlib
// Sample conversion against a pass that only loads and stores the same bytes, the plain loop, SDL's
// converters and libswresample. The peers scale by powers of two and clamp: they are measures of
// speed alone. Every row gives the ratio of our median to the peer's (`of_`) beside its goal
// (`goal_`).
//
// Our block is aligned to 8 bytes and no more, as blocks out of the audio buffer are. The others
// get theirs aligned to 64: SDL's converters fall back to scalar code without 16.
//
// Without AVX2 the goals are 1.7 of these, against the same limit (`sse2_limit`), which moves 32
// bytes at a time. Moving 16 at a time takes 1.9 to 2.0 of it by itself, so that the goal of the
// flips, 1.95, is where a pass that does nothing stands.
#include "audio/conversion_kernels.h"
#include "in_turn.h"

#include <SDL.h>
#include <benchmark/benchmark.h>
#ifdef WITH_SWRESAMPLE
extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}
#endif

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <immintrin.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace {

using halvorin::conversion_passes;
using way = std::function<void(u8*)>; // all that is timed, from a block to the same block

template <class Stored> Stored loaded(const u8* from) {
    Stored value;
    std::memcpy(&value, from, sizeof value);
    return value;
}

// The plain loop: one sample after the other, in the order that conversion in place needs.
template <class From, class To, class Change>
void plain(u8* data, ptrdiff_t count, const Change& change) {
    const auto one = [&](ptrdiff_t i) {
        const To value = change(loaded<From>(data + i * ptrdiff_t{sizeof(From)}));
        std::memcpy(data + i * ptrdiff_t{sizeof(To)}, &value, sizeof value);
    };
    if constexpr (sizeof(To) > sizeof(From)) {
        for (ptrdiff_t i = count - 1; i >= 0; --i) {
            one(i);
        }
    } else {
        for (ptrdiff_t i = 0; i < count; ++i) {
            one(i);
        }
    }
}

template <class To> To cut(float sample, double scale) {
    return static_cast<To>(_mm_cvttsd_si32(_mm_set_sd(static_cast<double>(sample) * scale)));
}

template <class From> float quotient(From sample, double scale) {
    return static_cast<float>(static_cast<double>(sample) / scale);
}

template <int Loads, int Stores>
[[gnu::target("avx2")]] inline void move_vectors(const u8* source, u8* target) {
    __m256i value = {};
#pragma GCC unroll 4
    for (int at = 0; at < Loads; ++at) {
        value = _mm256_load_si256(reinterpret_cast<const __m256i*>(source) + at);
        asm volatile("" : "+x"(value)); // is loaded, even though the next one takes its place
    }
#pragma GCC unroll 4
    for (int at = Stores - 1; at >= 0; --at) {
        _mm256_store_si256(reinterpret_cast<__m256i*>(target) + at, value);
    }
}

// Nothing but loads and stores of as many bytes, in the same places and order. Four times in a
// turn: a loop as short as this would be slowed by the address that it stands at.
template <int From, int To> [[gnu::target("avx2")]] void only_move(u8* data, ptrdiff_t count) {
    constexpr int narrow = From < To ? From : To;
    constexpr ptrdiff_t samples = 32 / narrow;
    constexpr ptrdiff_t step = To > From ? -samples : samples;
    ptrdiff_t i = To > From ? count - samples : 0;
    for (ptrdiff_t turns = count / (samples * 4); turns > 0; --turns) {
#pragma GCC unroll 4
        for (int at = 0; at < 4; ++at, i += step) {
            move_vectors<From / narrow, To / narrow>(data + i * From, data + i * To);
        }
    }
}

struct pair_of_formats {
    const char* name;
    u8 from, to;
    void (*limit)(u8*, ptrdiff_t);
    void (*loop)(u8*, ptrdiff_t);
    SDL_AudioFormat sdl_from, sdl_to; // 0: SDL has no such format
    int swr_from, swr_to;             // -1: libswresample has no such format
    double limit_goal, memory_goal, plain_goal, sdl_goal, swr_goal;
};

// libswresample's numbers of its interleaved formats.
constexpr int u8_samples = 0, s16_samples = 1, s32_samples = 2, real_samples = 3, none = -1;

const pair_of_formats pairs[] = {
    {"F32>S16", SAMPLE_FORMAT_F32, SAMPLE_FORMAT_S16, only_move<4, 2>,
     [](u8* data, ptrdiff_t count) {
         plain<float, i16>(data, count, [](float f) { return cut<i16>(f, 32767.0); });
     },
     AUDIO_F32, AUDIO_S16, real_samples, s16_samples, 1.7, 1.5, 0.17, 0.75, 1.0},
    {"F32>S8", SAMPLE_FORMAT_F32, SAMPLE_FORMAT_S8, only_move<4, 1>,
     [](u8* data, ptrdiff_t count) {
         plain<float, i8>(data, count, [](float f) { return cut<i8>(f, 127.0); });
     },
     AUDIO_F32, AUDIO_S8, none, none, 2.1, 1.5, 0.18, 0.75, 0},
    {"F32>U8", SAMPLE_FORMAT_F32, SAMPLE_FORMAT_U8, only_move<4, 1>,
     [](u8* data, ptrdiff_t count) {
         plain<float, u8>(data, count,
                          [](float f) { return static_cast<u8>(cut<u8>(f, 127.0) + 128); });
     },
     AUDIO_F32, AUDIO_U8, real_samples, u8_samples, 2.1, 1.5, 0.18, 0.75, 0.17},
    {"F32>S32", SAMPLE_FORMAT_F32, SAMPLE_FORMAT_S32, only_move<4, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<float, i32>(data, count, [](float f) { return cut<i32>(f, 2147483647.0); });
     },
     AUDIO_F32, AUDIO_S32, real_samples, s32_samples, 2.5, 1.5, 0.31, 0.75, 1.1},
    {"S16>F32", SAMPLE_FORMAT_S16, SAMPLE_FORMAT_F32, only_move<2, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<i16, float>(data, count, [](i16 s) { return quotient(s, 32767.0); });
     },
     AUDIO_S16, AUDIO_F32, s16_samples, real_samples, 1.5, 1.3, 0.08, 0.75, 1.05},
    {"S8>F32", SAMPLE_FORMAT_S8, SAMPLE_FORMAT_F32, only_move<1, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<i8, float>(data, count, [](i8 s) { return quotient(s, 127.0); });
     },
     AUDIO_S8, AUDIO_F32, none, none, 2.0, 1.3, 0.09, 0.75, 0},
    {"U8>F32", SAMPLE_FORMAT_U8, SAMPLE_FORMAT_F32, only_move<1, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<u8, float>(data, count, [](u8 s) { return quotient(s - 128, 127.0); });
     },
     AUDIO_U8, AUDIO_F32, u8_samples, real_samples, 2.0, 1.3, 0.09, 0.75, 0.29},
    {"S32>F32", SAMPLE_FORMAT_S32, SAMPLE_FORMAT_F32, only_move<4, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<i32, float>(data, count, [](i32 s) { return quotient(s, 2147483647.0); });
     },
     AUDIO_S32, AUDIO_F32, s32_samples, real_samples, 2.7, 1.3, 0.11, 1.25, 1.25},
    {"S16>U8", SAMPLE_FORMAT_S16, SAMPLE_FORMAT_U8, only_move<2, 1>,
     [](u8* data, ptrdiff_t count) {
         plain<u16, u8>(data, count, [](u16 s) { return static_cast<u8>((s >> 8) + 128); });
     },
     AUDIO_S16, AUDIO_U8, s16_samples, u8_samples, 1.3, 1.3, 0.12, 0.12, 0.15},
    {"S32>S16", SAMPLE_FORMAT_S32, SAMPLE_FORMAT_S16, only_move<4, 2>,
     [](u8* data, ptrdiff_t count) {
         plain<u32, u16>(data, count, [](u32 s) { return static_cast<u16>(s >> 16); });
     },
     AUDIO_S32, AUDIO_S16, s32_samples, s16_samples, 1.25, 1.3, 0.25, 0.33, 1.0},
    {"U8>S16", SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S16, only_move<1, 2>,
     [](u8* data, ptrdiff_t count) {
         plain<u8, u16>(data, count, [](u8 s) { return static_cast<u16>((s ^ 128) << 8); });
     },
     AUDIO_U8, AUDIO_S16, u8_samples, s16_samples, 1.3, 1.3, 0.13, 0.14, 0.15},
    {"S16>S32", SAMPLE_FORMAT_S16, SAMPLE_FORMAT_S32, only_move<2, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<u16, u32>(data, count, [](u16 s) { return static_cast<u32>(s) << 16; });
     },
     AUDIO_S16, AUDIO_S32, s16_samples, s32_samples, 1.3, 1.3, 0.33, 0.33, 1.1},
    {"U8>S8", SAMPLE_FORMAT_U8, SAMPLE_FORMAT_S8, only_move<1, 1>,
     [](u8* data, ptrdiff_t count) {
         plain<u8, u8>(data, count, [](u8 s) { return static_cast<u8>(s + 128); });
     },
     AUDIO_U8, AUDIO_S8, none, none, 1.15, 1.3, 0.05, 0.07, 0},
    {"U16>S16", SAMPLE_FORMAT_U16, SAMPLE_FORMAT_S16, only_move<2, 2>,
     [](u8* data, ptrdiff_t count) {
         plain<u16, u16>(data, count, [](u16 s) { return static_cast<u16>(s + 0x8000); });
     },
     AUDIO_U16, AUDIO_S16, none, none, 1.15, 1.3, 0.09, 0.11, 0},
    {"U32>S32", SAMPLE_FORMAT_U32, SAMPLE_FORMAT_S32, only_move<4, 4>,
     [](u8* data, ptrdiff_t count) {
         plain<u32, u32>(data, count, [](u32 s) { return s + 0x80000000; });
     },
     0, AUDIO_S32, none, none, 1.15, 1.3, 0.17, 0, 0},
};

ptrdiff_t width_of(u8 format) {
    constexpr ptrdiff_t widths[] = {1, 2, 4, 1, 2, 4, 4};
    return widths[format];
}

// A block with room behind it, where SDL takes detours, and a pattern of samples to fill it with: a
// copy of the whole block would push it out of the cache that is measured.
class sound {
public:
    sound(u8 format, size_t bytes)
        : block(static_cast<u8*>(std::aligned_alloc(64, bytes * 4 + 64)), std::free), size(bytes) {
        for (size_t at = 0; at < pattern.size(); at += 4) {
            u32 bits = static_cast<u32>(at) * 2654435761U;
            const float sample = static_cast<float>(static_cast<i32>(bits)) * 0x1p-31F;
            if (format == SAMPLE_FORMAT_F32) std::memcpy(&bits, &sample, 4);
            std::memcpy(pattern.data() + at, &bits, 4);
        }
    }
    void refill(size_t offset) const {
        for (size_t at = 0; at < size; at += pattern.size()) {
            std::memcpy(block.get() + offset + at, pattern.data(), pattern.size());
        }
    }
    const std::unique_ptr<u8, void (*)(void*)> block;
    const size_t size;

private:
    std::array<u8, 1024> pattern;
};

u64 ticks() {
    _mm_lfence();
    const u64 now = __rdtsc();
    _mm_lfence();
    return now;
}

double tick_in_seconds() {
    using clock = std::chrono::steady_clock;
    const auto start = clock::now();
    const u64 first = ticks();
    while (clock::now() - start < std::chrono::milliseconds(20)) {
    }
    const u64 passed = ticks() - first;
    return std::chrono::duration<double>(clock::now() - start).count() /
           static_cast<double>(passed);
}

u64 ticks_between(const way& timed, u8* data) {
    const u64 start = ticks();
    timed(data);
    return ticks() - start;
}

// A pass over the smallest block takes so little that reading the clock has to be taken off.
double seconds_of(const way& timed, u8* data) {
    static const double tick = tick_in_seconds();
    static const u64 overhead = [] {
        u64 least = UINT64_MAX;
        for (int i = 0; i < 1000; ++i) {
            least = std::min(least, ticks_between([](u8*) {}, nullptr));
        }
        return least;
    }();
    const double first = processor_time();
    const double passed = tick * static_cast<double>(ticks_between(timed, data) - overhead);
    return passed < long_enough ? passed : processor_time() - first;
}

way ours(const pair_of_formats& pair, size_t size, const conversion_passes* passes) {
    return [&pair, size, passes](u8* data) {
        Wave wave = {pair.from, 1, 44100, static_cast<i64>(size), data};
        passes == nullptr ? audio_wave_convert(&wave, pair.to)
                          : halvorin::convert_wave(wave, pair.to, *passes);
    };
}

way by_sdl(const pair_of_formats& pair, size_t size) {
    SDL_AudioCVT converter = {};
    if (pair.sdl_from == 0 ||
        SDL_BuildAudioCVT(&converter, pair.sdl_from, 1, 44100, pair.sdl_to, 1, 44100) != 1) {
        return nullptr;
    }
    converter.len = static_cast<int>(size);
    return [converter](u8* data) mutable {
        converter.buf = data;
        SDL_ConvertAudio(&converter);
    };
}

#ifdef WITH_SWRESAMPLE
// It doesn't convert in place: the result goes to a second block.
way by_swresample(const pair_of_formats& pair, size_t count, std::vector<u8>& result) {
    if (pair.swr_from == none) return nullptr;
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    SwrContext* context = nullptr;
    swr_alloc_set_opts2(&context, &mono, static_cast<AVSampleFormat>(pair.swr_to), 44100, &mono,
                        static_cast<AVSampleFormat>(pair.swr_from), 44100, 0, nullptr);
    if (swr_init(context) < 0) return nullptr;
    const std::shared_ptr<SwrContext> kept(context, [](SwrContext* used) { swr_free(&used); });
    result.resize(count * static_cast<size_t>(width_of(pair.to)) + 64);
    u8* const aligned = result.data() + (-reinterpret_cast<uintptr_t>(result.data()) & 63);
    return [kept, aligned, count](u8* data) {
        u8* target = aligned;
        const u8* source = data;
        swr_convert(kept.get(), &target, static_cast<int>(count), &source, static_cast<int>(count));
    };
}
#else
way by_swresample(const pair_of_formats&, size_t, std::vector<u8>&) {
    static const bool told = std::puts("libswresample isn't installed: its rows are left out") > 0;
    benchmark::DoNotOptimize(told);
    return nullptr;
}
#endif

struct contender {
    std::string name;
    way run;
    size_t offset;
    double goal;
    std::vector<double> times = {};
};

// Every round runs each way once, on fresh samples: what slows the machine slows all of them.
void measure(benchmark::State& state, std::vector<contender>& all, const sound& samples) {
    for (auto _ : state) {
        for (contender& one : all) {
            samples.refill(one.offset);
            one.times.push_back(seconds_of(one.run, samples.block.get() + one.offset));
        }
        state.SetIterationTime(all[0].times.back());
    }
}

void convert(benchmark::State& state) {
    if (!halvorin::has_avx2()) {
        state.SkipWithError("the limit is written for processors with AVX2");
        return;
    }
    const pair_of_formats& pair = pairs[state.range(0)];
    const auto size = static_cast<size_t>(state.range(1));
    const ptrdiff_t count =
        static_cast<ptrdiff_t>(size) / std::max(width_of(pair.from), width_of(pair.to));
    const size_t source_size = static_cast<size_t>(count * width_of(pair.from));
    const sound samples(pair.from, size);
    std::vector<u8> result;
    const bool in_memory = size > 1 << 20;
    const bool in_l2 = size > 1 << 15 && !in_memory;
    const double limit_goal = in_l2 ? pair.limit_goal : in_memory ? pair.memory_goal : 0;
    std::vector<contender> all = {
        {"", ours(pair, source_size, nullptr), 8, 0},
        {"limit", [&](u8* data) { pair.limit(data, count); }, 0, limit_goal},
        {"plain", [&](u8* data) { pair.loop(data, count); }, 0, in_memory ? 0 : pair.plain_goal},
        {"sdl", by_sdl(pair, source_size), 0, in_l2 ? pair.sdl_goal : 0},
        {"swr", by_swresample(pair, static_cast<size_t>(count), result), 0,
         in_l2 ? pair.swr_goal : 0},
        {"sse2_limit", ours(pair, source_size, &halvorin::sse2_passes), 8, limit_goal * 1.7},
    };
    std::erase_if(all, [](const contender& one) { return one.run == nullptr; });
    measure(state, all, samples);
    state.SetLabel(pair.name + (", " + std::to_string(size >> 10) + " KiB"));
    const double our_time = median_of(all[0].times);
    const double limit_time = median_of(all[1].times);
    state.counters["ns"] = our_time * 1e9;
    state.counters["GB/s"] =
        static_cast<double>(count * (width_of(pair.from) + width_of(pair.to))) / our_time * 1e-9;
    for (contender& one : all) {
        if (one.name.empty()) continue;
        const double time = median_of(one.times);
        const bool is_ours = one.name == "sse2_limit"; // the numerator, not the peer
        state.counters["of_" + one.name] = is_ours ? time / limit_time : our_time / time;
        if (is_ours) state.counters["ns_" + one.name] = time * 1e9;
        if (one.goal > 0) state.counters["goal_" + one.name] = one.goal;
    }
}

void every_pair(benchmark::internal::Benchmark* all, i64 size) {
    for (size_t i = 0; i < std::size(pairs); ++i) {
        all->Args({static_cast<i64>(i), size});
    }
}
BENCHMARK(convert)->Apply([](auto* all) { every_pair(all, 16 << 10); }) -> Iterations(2001)
    -> UseManualTime();
BENCHMARK(convert)->Apply([](auto* all) { every_pair(all, 256 << 10); }) -> Iterations(501)
    -> UseManualTime();
BENCHMARK(convert)->Apply([](auto* all) { every_pair(all, 64 << 20); }) -> Iterations(9)
    -> UseManualTime();

} // namespace
