// SPDX-License-Identifier: Zlib
// A host that runs for days: all but the window. Nothing that a round has taken may stay.

#include "api/system.h"
#include "support/common.h"
#include "support/endurance.h"
#include "support/sockets.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

using endurance::length;

namespace {

void expect_flat(const char* name, length length, void (*prepare)(), void (*round)(i64)) {
    const endurance::outcome o = endurance::outcome_of({prepare, round}, length.rounds());
    endurance::print(name, o.rounds, o.seconds, o.before, o.after);
    EXPECT_TRUE(endurance::is_flat(o.before, o.after, {}));
}

// Sample files of some kinds, by path and with their bytes.
struct sample {
    std::string path, bytes;
};
std::vector<sample> samples;

void read_samples(const char* folder, std::initializer_list<const char*> extensions) {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        for (const char* extension : extensions) {
            if (entry.path().extension() != extension) continue;
            std::ifstream file(entry.path(), std::ios::binary);
            samples.push_back({entry.path(), {std::istreambuf_iterator<char>(file), {}}});
        }
    }
    ASSERT_GE(samples.size(), extensions.size());
}

const sample& sample_of(i64 round) {
    return samples[static_cast<size_t>(round) % samples.size()];
}

// A folder that is gone with the test.
class Endurance : public testing::Test {
protected:
    Endurance() {
        std::string name = (std::filesystem::temp_directory_path() / "endurance-XXXXXX").native();
        if (mkdtemp(name.data()) != nullptr) folder = name;
    }
    ~Endurance() override {
        std::filesystem::remove_all(folder);
    }
    static std::string in_folder(const char* name) {
        return folder + "/" + name;
    }
    static std::string folder;
};
std::string Endurance::folder;

alignas(16) u8 lent[8 << 20];
i16 block[1 << 16];

} // namespace

TEST_F(Endurance, StreamsOfAllSoundFormats) {
    expect_flat(
        "stream opens, all sound formats", {100000, 3000},
        [] {
            read_samples(SOUND_SAMPLES, {".wav", ".flac", ".ogg"});
            audio_set_buffer(sizeof lent, lent);
        },
        [](i64 number) {
            const sample& s = sample_of(number / 2);
            const bool by_path = number % 2 == 0 || s.path.find("in-ogg") != std::string::npos;
            audio_set_buffer_position(0);
            const i32 stream = by_path ? audio_stream_open(SAMPLE_FORMAT_S16, slice(s.path), 0)
                                       : audio_stream_open_from_memory(
                                             SAMPLE_FORMAT_F32, static_cast<i64>(s.bytes.size()),
                                             const_cast<char*>(s.bytes.data()));
            AudioInfo info = {};
            audio_stream_read_info(&info, stream);
            ASSERT_EQ(stream, 0);
            ASSERT_GT(info.channels, 0) << s.path;
            audio_stream_read(stream, 500, block);
            audio_stream_seek(stream, 100);
            ASSERT_GT(audio_stream_read(stream, 500, block), 0) << s.path;
            audio_stream_close(stream);
        });
}

TEST_F(Endurance, StreamsThatAreWritten) {
    expect_flat(
        "streams written", {20000, 500}, [] {},
        [](i64 number) {
            static const std::string path = in_folder("written.wav");
            audio_set_buffer(sizeof lent, lent);
            const i32 stream = audio_stream_open(SAMPLE_FORMAT_S16, slice(path), 1);
            audio_stream_write_info(stream, {SAMPLE_FORMAT_S16, 2, 44100, number % 2 * 4000});
            ASSERT_EQ(audio_stream_write(stream, 1000, block), 1000u);
            audio_stream_close(stream);
        });
}

TEST_F(Endurance, WavesOfAllSoundFormats) {
    expect_flat(
        "wave loads and saves", {10000, 300},
        [] {
            read_samples(SOUND_SAMPLES, {".wav", ".flac", ".ogg"});
        },
        [](i64 number) {
            static const std::string path = in_folder("saved.wav");
            const sample& s = sample_of(number);
            audio_set_buffer(sizeof lent, lent);
            Wave wave = {};
            audio_wave_load(&wave, SAMPLE_FORMAT_S16, slice(s.path));
            ASSERT_NE(wave.data, nullptr) << s.path;
            audio_wave_load_from_memory(&wave, SAMPLE_FORMAT_S32, 60,
                                        const_cast<char*>(s.bytes.data())); // cut short
            audio_wave_load_from_memory(&wave, SAMPLE_FORMAT_F32, static_cast<i64>(s.bytes.size()),
                                        const_cast<char*>(s.bytes.data()));
            if (wave.data == nullptr) return; // only its path says what kind it is
            audio_wave_convert(&wave, SAMPLE_FORMAT_S16);
            ASSERT_EQ(audio_wave_save(wave, slice(path)), 1);
        });
}

TEST_F(Endurance, ImagesOfAllFormats) {
    expect_flat(
        "image loads and saves", {10000, 300},
        [] {
            read_samples(IMAGE_SAMPLES, {".bmp", ".gif", ".jpg", ".png", ".psd", ".tga"});
        },
        [](i64 number) {
            const sample& s = sample_of(number);
            image_set_buffer(sizeof lent, lent);
            Image image = {};
            image_load_from_memory(&image, static_cast<i32>(s.bytes.size() / 2),
                                   const_cast<char*>(s.bytes.data()), 4);
            image_load(&image, slice(s.path), 4);
            ASSERT_NE(image.data, nullptr) << s.path;
            if (i64{image.width} * image.height > 10000) return;
            const char* const names[] = {"a.png", "a.jpg", "a.bmp", "a.tga"};
            ASSERT_EQ(image_save(image, slice(in_folder(names[number % 4])), 4), 1);
        });
}

TEST_F(Endurance, FilesAndFolders) {
    expect_flat(
        "files and folders", {20000, 500}, [] {},
        [](i64 number) {
            static const std::string first = in_folder("first"), second = in_folder("second"),
                                     inside = in_folder("inside"), whole = in_folder(""),
                                     too_long(20000, 'x');
            file_stream* const file = file_open(slice(first), FILE_MODE_WRITE);
            ASSERT_EQ(file_write(file, 5000, lent), 5000u);
            file_close(file);
            file_stream* const again = file_open(slice(first), FILE_MODE_READ);
            file_seek(again, number % 5000);
            file_read_byte(again);
            ASSERT_EQ(file_size(again), 5000);
            file_close(again);
            ASSERT_EQ(file_copy(slice(first), slice(second)), 1);
            ASSERT_EQ(file_rename(slice(first), slice(second)), 0);
            ASSERT_EQ(file_open(slice(whole), FILE_MODE_READ), nullptr);
            ASSERT_EQ(file_open(slice(too_long), FILE_MODE_READ), nullptr);
            ASSERT_EQ(file_copy(slice(whole), slice(second)), 0);
            ASSERT_EQ(file_copy(slice(first), slice(whole)), 0);
            ASSERT_EQ(directory_create(slice(inside)), 1);
            DirectoryContent content = {};
            directory_get_content(&content, slice(whole));
            ASSERT_EQ(content.directories.count, 3);
            ASSERT_EQ(content.files.count, 2);
            directory_get_content(&content, slice(first));
            ASSERT_EQ(directory_delete(slice(inside)), 1);
            ASSERT_EQ(file_delete(slice(first)) + file_delete(slice(second)), 2);
        });
}

TEST_F(Endurance, LibrariesClocksAndTexts) {
    expect_flat(
        "libraries loaded and unloaded", {10000, 300},
        [] { system_init(SYSTEM_INIT_TIMER | SYSTEM_INIT_EVENTS); },
        [](i64) {
            static const std::string path = "libz.so.1", name = "zlibVersion", none = "no such";
            void* const library = system_load_library(slice(path));
            ASSERT_NE(library, nullptr);
            ASSERT_NE(system_load_function(library, slice(name)), nullptr);
            ASSERT_EQ(system_load_function(library, slice(none)), nullptr);
            ASSERT_EQ(system_load_library(slice(none)), nullptr);
            to_wide_cstr(slice(name));
            system_unload_library(library);
        });
}

TEST_F(Endurance, ThreadsAndLocks) {
    expect_flat(
        "threads and locks", {100000, 1000}, [] { system_init(SYSTEM_INIT_TIMER); },
        [](i64 number) {
            mutex_handle* const mutex = mutex_create();
            cond_handle* const cond = cond_create();
            semaphore_handle* const semaphore = semaphore_create(0);
            thread_handle* const thread = thread_create(
                [](void* data) { return semaphore_post(static_cast<semaphore_handle*>(data)); },
                semaphore);
            ASSERT_EQ(semaphore_wait(semaphore), 0);
            mutex_lock(mutex);
            cond_signal(cond);
            ASSERT_EQ(cond_wait_timeout(cond, mutex, 0), 0);
            mutex_unlock(mutex);
            i32 status = -1;
            if (number % 2 == 0) {
                thread_wait(thread, &status);
            } else {
                thread_wait(thread, nullptr);
            }
            semaphore_destroy(semaphore);
            cond_destroy(cond);
            mutex_destroy(mutex);
        });
}

TEST_F(Endurance, ThreadsThatAreLeftToThemselves) {
    expect_flat(
        "threads detached", {20000, 500}, [] {},
        [](i64) {
            static semaphore_handle* const done = semaphore_create(0);
            thread_detach(thread_create([](void*) { return semaphore_post(done); }, nullptr));
            ASSERT_EQ(semaphore_wait(done), 0);
            while (endurance::entries_of("/proc/self/task") > 1) {
                usleep(100); // it has said that it is done, and ends
            }
        });
}

TEST_F(Endurance, PlayerAndRecorder) {
    expect_flat(
        "player and recorder", {2000, 50}, [] { system_init(SYSTEM_INIT_AUDIO); },
        [](i64 number) {
            static i32 calls;
            const audio_callback callback = [](void* data, u8* bytes, i32 size) {
                std::memset(bytes, 0, static_cast<size_t>(size));
                atomic_add(static_cast<i32*>(data), 1);
            };
            ASSERT_EQ(audio_open(SAMPLE_FORMAT_S16, 2, 44100, 64, callback, &calls), 1);
            audio_play();
            audio_lock();
            audio_unlock();
            audio_pause();
            if (number % 4 == 0)
                audio_recorder_open(SAMPLE_FORMAT_S16, 1, 8000, 64, callback, &calls);
            audio_recorder_close();
            audio_close();
        });
}

TEST_F(Endurance, Connections) {
    expect_flat(
        "connections", {20000, 500}, [] {},
        [](i64 number) {
            static const std::string nobody = "256.1.1.1";
            static char bytes[32];
            const sockets::connection pair(number % 2 == 0 ? NETWORK_IPV4 : NETWORK_IPV6);
            ASSERT_EQ(network_tcp_send(pair.client, 32, bytes), 32);
            ASSERT_EQ(network_tcp_receive(pair.server, 32, bytes), 32);
            ASSERT_EQ(network_tcp_disconnect(pair.client), 0);
            NetworkAddress address = sockets::loopback(NETWORK_IPV4);
            Slice text = {};
            network_address_get_ip(&text, address);
            network_address_find(&address, slice(nobody), 1, NETWORK_IPV4);
            const sockets::owned refused(network_socket_create(NETWORK_IPV4 | NETWORK_TCP));
            ASSERT_EQ(network_tcp_connect(refused, address), 0);
            const sockets::owned a = sockets::bound(NETWORK_IPV4 | NETWORK_UDP);
            ASSERT_TRUE(sockets::tell(a, a, "a message"));
            ASSERT_EQ(network_udp_receive(a, 32, bytes, &address), 9);
        });
}

TEST_F(Endurance, SelectorWaits) {
    expect_flat(
        "selector waits", {1000000, 30000}, [] {},
        [](i64 number) {
            static const sockets::owned silent = sockets::bound(NETWORK_IPV4 | NETWORK_UDP);
            static const sockets::owned spoken = [] {
                sockets::owned socket = sockets::bound(NETWORK_IPV4 | NETWORK_UDP);
                sockets::tell(socket, socket, "a message");
                return socket;
            }();
            static i32 selector = network_selector_create();
            if (number % 100 == 0) { // another one, of the same number
                network_selector_destroy(selector);
                selector = network_selector_create();
                for (int i = 0; i < 20; ++i) {
                    network_selector_add(selector, silent);
                }
                network_selector_add(selector, spoken);
            }
            if (number % 3 == 0) network_selector_remove(selector, silent);
            if (number % 3 == 1) network_selector_add(selector, silent);
            network_socket ready[4];
            ASSERT_EQ(network_selector_wait(selector, 0, {ready, 4}), 1);
            ASSERT_EQ(ready[0], spoken);
        });
}
