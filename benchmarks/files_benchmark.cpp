// SPDX-License-Identifier: Zlib
// Text on its way to wide calls, file_copy and directory listings, against what else one could
// call. Every row gives the ratio of our median to the peer's (`of_`) beside its goal (`goal_`).
#include "in_turn.h"

#include <halvorin_system/files.h>
#include <halvorin_system/frame.h>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <dirent.h>
#include <iconv.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {

Slice slice(const std::string& text) {
    return {const_cast<char*>(text.data()), static_cast<i64>(text.size())};
}

std::string text_of(const std::vector<std::string>& parts, size_t size) {
    std::string text;
    for (size_t i = 0; text.size() < size; ++i) {
        text += parts[i % parts.size()];
    }
    return text;
}

const struct script {
    const char* name;
    std::vector<std::string> parts;
    double goal;
} scripts[] = {
    {"ascii", {"/", "h", "o", "m", "e", "_", "1"}, 0.12},
    {"latin", {"r", "\xC3\xA9", "s", "u", "m", "\xC3\xA9", "_", "a", "b"}, 0.35},
    {"cyrillic", {"\xD1\x84", "\xD0\xB0", "\xD0\xB9", "\xD0\xBB", "_"}, 0.45},
    {"chinese", {"\xE4\xB8\xAD", "\xE6\x96\x87", "\xE4\xBB\xB6"}, 0.45},
    {"emoji", {"\xF0\x9F\x98\x80", "\xF0\x9F\x8E\xB5"}, 0.45},
};

// What the conversion of ASCII comes to at least: a call of its own, as the library's is.
[[gnu::noinline]] void widen(const char* text, size_t count, char16_t* units) {
    for (size_t i = 0; i < count; ++i) {
        units[i] = static_cast<unsigned char>(text[i]);
    }
    units[count] = 0;
}

void to_wide(benchmark::State& state) {
    constexpr int repeats = 200;
    const script& kind = scripts[state.range(0)];
    const std::string text = text_of(kind.parts, static_cast<size_t>(state.range(1)));
    const iconv_t descriptor = iconv_open("UTF-16LE", "UTF-8");
    char16_t units[512];
    const auto ours = [&] {
        for (int i = 0; i < repeats; ++i) {
            benchmark::DoNotOptimize(to_wide_cstr(slice(text)));
        }
    };
    const auto by_iconv = [&] {
        for (int i = 0; i < repeats; ++i) {
            char* from = const_cast<char*>(text.data());
            char* to = reinterpret_cast<char*>(units);
            size_t from_left = text.size();
            size_t to_left = sizeof units - 2;
            iconv(descriptor, &from, &from_left, &to, &to_left);
            std::memset(to, 0, 2);
            benchmark::ClobberMemory();
        }
    };
    const auto bare = [&] {
        for (int i = 0; i < repeats; ++i) {
            widen(text.data(), text.size(), units);
            benchmark::DoNotOptimize(units);
            benchmark::ClobberMemory();
        }
    };
    const auto [our_time, iconv_time, bare_time] = medians_in_turn(state, ours, by_iconv, bare);
    iconv_close(descriptor);
    state.SetLabel(kind.name + (", " + std::to_string(state.range(1)) + " bytes"));
    state.counters["ns"] = our_time / repeats * 1e9;
    show(state, "iconv", our_time / iconv_time, kind.goal);
    if (state.range(0) == 0) show(state, "bare_copy", our_time / bare_time, 2.2);
}
BENCHMARK(to_wide)
    ->ArgsProduct({{0, 1, 2, 3, 4}, {20, 60, 200}})
    ->Iterations(501)
    ->UseManualTime()
    ->Unit(benchmark::kMicrosecond);

class scratch_directory {
public:
    explicit scratch_directory(const fs::path& parent) {
        std::string name = (parent / "files-benchmark-XXXXXX").native();
        if (mkdtemp(name.data()) != nullptr) path = name;
    }
    ~scratch_directory() {
        fs::remove_all(path);
    }
    fs::path path;
};

template <class Copy> auto through_streams(const fs::path& from, const fs::path& to, Copy copy) {
    return [&from, &to, copy] {
        FILE* const source = std::fopen(from.c_str(), "r");
        FILE* const target = std::fopen(to.c_str(), "w");
        copy(source, target);
        std::fclose(source);
        std::fclose(target);
    };
}

void copy_bytes(FILE* source, FILE* target) {
    for (int c = std::fgetc(source); c != EOF; c = std::fgetc(source)) {
        std::fputc(c, target);
    }
}

void copy_bytes_unlocked(FILE* source, FILE* target) {
    for (int c = getc_unlocked(source); c != EOF; c = getc_unlocked(source)) {
        putc_unlocked(c, target);
    }
}

void copy_blocks(FILE* source, FILE* target) {
    char block[4096];
    for (size_t count; (count = std::fread(block, 1, sizeof block, source)) > 0;) {
        std::fwrite(block, 1, count, target);
    }
}

// In memory where that can be had: a disk that writes out what was cut and written again is slower
// than all the ways together.
fs::path quick_place() {
    return access("/dev/shm", W_OK) == 0 ? "/dev/shm" : fs::temp_directory_path();
}

void copy(benchmark::State& state) {
    const scratch_directory directory(quick_place());
    const fs::path from = directory.path / "from";
    const fs::path to = directory.path / "to";
    const std::string content(static_cast<size_t>(state.range(0)), 'c');
    std::ofstream(from) << content;
    const std::string from_text = from.native();
    const std::string to_text = to.native();
    const auto ours = [&] { file_copy(slice(from_text), slice(to_text)); };
    const auto by_library = [&] { fs::copy_file(from, to, fs::copy_options::overwrite_existing); };
    const auto [our_time, bytes, unlocked, blocks, library] =
        medians_in_turn(state, ours, through_streams(from, to, copy_bytes),
                        through_streams(from, to, copy_bytes_unlocked),
                        through_streams(from, to, copy_blocks), by_library);
    file_copy(slice(from_text), slice(to_text));
    if (fs::file_size(to) != content.size()) state.SkipWithError("the copy is incomplete");
    if (content.size() <= 4096) {
        show(state, "std_filesystem", our_time / library, 0.9);
        return;
    }
    show(state, "fgetc_fputc", our_time / bytes, 0.15);
    show(state, "unlocked", our_time / unlocked, 0.40);
    show(state, "blocks_4k", our_time / blocks, 0.85);
    show(state, "std_filesystem", our_time / library, 1.3);
}
BENCHMARK(copy)->Arg(4096)->Iterations(1001)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(copy)->Arg(1 << 20)->Iterations(101)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(copy)->Arg(16 << 20)->Iterations(11)->UseManualTime()->Unit(benchmark::kMicrosecond);

void list(benchmark::State& state) {
    constexpr i64 entries = 5000;
    const scratch_directory directory(fs::temp_directory_path());
    for (i64 i = 0; i < entries; ++i) {
        char name[32];
        std::snprintf(name, sizeof name, "entry_of_20_bytes%03d%s", static_cast<int>(i % 1000),
                      std::string(1, static_cast<char>('a' + i / 1000)).c_str());
        i % 10 == 0 ? fs::create_directory(directory.path / name)
                    : static_cast<bool>(std::ofstream(directory.path / name));
    }
    const std::string path = directory.path.native();
    DirectoryContent content = {};
    const auto ours = [&] { directory_get_content(&content, slice(path)); };
    const auto bare = [&] {
        DIR* const opened = opendir(path.c_str());
        i64 directories = 0;
        while (const dirent* entry = readdir(opened)) {
            directories += entry->d_type == DT_DIR;
        }
        closedir(opened);
        benchmark::DoNotOptimize(directories);
    };
    const auto by_library = [&] {
        std::vector<std::string> directories, files;
        for (const auto& entry : fs::directory_iterator(path)) {
            (entry.is_directory() ? directories : files).push_back(entry.path().filename());
        }
        benchmark::DoNotOptimize(files.data());
    };
    const auto [our_time, bare_time, library] = medians_in_turn(state, ours, bare, by_library);
    if (content.directories.count + content.files.count != entries + 2) {
        state.SkipWithError("the listing is incomplete");
    }
    show(state, "readdir", our_time / bare_time, 1.15);
    show(state, "std_filesystem", our_time / library, 0.6);
}
BENCHMARK(list)->Iterations(201)->UseManualTime()->Unit(benchmark::kMicrosecond);

} // namespace
