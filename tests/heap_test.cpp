// SPDX-License-Identifier: Zlib
// Every function of the library, and on whose account it calls the heap. What a host does in each
// frame takes nothing, a load takes nothing beyond the lent buffer, and the rest says what it
// takes.
//
// With HEAP_LIST in the environment the calls of each function are printed.

#include "api/system.h"
#include "support/common.h"
#include "support/declarations.h"
#include "support/graphics_cases.h"
#include "support/heap_owners.h"
#include "support/sockets.h"

#include <SDL.h>
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>

using heap_calls::account;

namespace {

// The most that a function may take.
enum class taking {
    nothing, // neither the library nor what it calls
    by_sdl,  // SDL2 or the graphics driver, for itself; the library nothing
    by_libc, // the C library, for what it is asked to open or find; the library's own code nothing
    own      // the library's own code, which says what for
};

struct record {
    account calls;
    std::string what_for;
};
std::map<std::string, record> seen;

void check(taking most, const char* what_for, const std::string& call, const account& a) {
    const size_t end = call.find('(');
    const size_t begin = call.find_last_of(" =!", end) + 1;
    record& r = seen[call.substr(begin, end - begin)];
    for (int who = 0; who < 4; ++who) {
        r.calls.calls[who] += a.calls[who];
    }
    if (*what_for != 0) r.what_for = what_for;
    SCOPED_TRACE(call);
    if (most != taking::own) {
        EXPECT_EQ(a[heap_calls::library], 0);
    }
    if (most == taking::nothing || most == taking::by_sdl) {
        EXPECT_EQ(a[heap_calls::system], 0);
    }
    if (most == taking::nothing) {
        EXPECT_EQ(a[heap_calls::sdl] + a[heap_calls::others], 0);
    }
    // A function that may take something, and doesn't, stands in the wrong class.
    if (most == taking::own || most == taking::by_libc) {
        EXPECT_GT(a[most == taking::own ? heap_calls::library : heap_calls::system], 0);
    }
}

#define CALL(most, what_for, ...)                                                                  \
    check(taking::most, what_for, #__VA_ARGS__,                                                    \
          heap_calls::account_of([&] { static_cast<void>(__VA_ARGS__); }))
#define NOTHING(...)           CALL(nothing, "", __VA_ARGS__)
#define BY_SDL(...)            CALL(by_sdl, "", __VA_ARGS__)
#define BY_LIBC(what_for, ...) CALL(by_libc, what_for, __VA_ARGS__)
#define OWN(what_for, ...)     CALL(own, what_for, __VA_ARGS__)

std::string bytes_of(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

const std::string folder = [] {
    std::string name = (std::filesystem::temp_directory_path() / "heap-XXXXXX").native();
    return std::string(mkdtemp(name.data()));
}();

alignas(16) u8 memory[4 << 20];
constexpr u64 one = 0x3FF0000000000000;

void services() {
    void* library = nullptr;
    NOTHING(to_wide_cstr(slice("any text")));
    NOTHING(system_time());
    NOTHING(system_performance_counter());
    NOTHING(system_performance_frequency());
    NOTHING(system_sleep(1));
    NOTHING(system_ticks());
    NOTHING(system_execute(slice("true")));
    BY_SDL(library = system_load_library(slice("libz.so.1")));
    BY_SDL(system_load_function(library, slice("zlibVersion")));
    BY_LIBC("the loader's own", system_unload_library(library));
}

void files() {
    const std::string path = folder + "/file", other = folder + "/other", inside = folder + "/new";
    u8 bytes[8] = {};
    file_stream* file = nullptr;
    DirectoryContent content = {};
    BY_LIBC("a stream", file_create(slice(path)));
    BY_LIBC("a stream", file = file_open(slice(path), FILE_MODE_WRITE));
    NOTHING(file_failed(file));
    BY_LIBC("the stream's buffer, with the first byte", file_write(file, 8, bytes));
    NOTHING(file_write(file, 8, bytes));
    NOTHING(file_write_byte(file, 1));
    BY_LIBC("the stream", file_close(file));
    file = file_open(slice(path), FILE_MODE_READ);
    BY_LIBC("the stream's buffer, with the first byte", file_read(file, 8, bytes));
    NOTHING(file_read(file, 8, bytes));
    NOTHING(file_read_byte(file));
    NOTHING(file_end(file));
    NOTHING(file_size(file));
    NOTHING(file_seek(file, 3));
    file_close(file);
    NOTHING(file_exists(slice(path)));
    NOTHING(file_copy(slice(path), slice(other)));
    NOTHING(file_delete(slice(other)));
    NOTHING(file_rename(slice(path), slice(other)));
    NOTHING(directory_create(slice(inside)));
    NOTHING(directory_rename(slice(inside), slice(path)));
    NOTHING(directory_exists(slice(path)));
    BY_LIBC("the system's list", directory_get_content(&content, slice(folder)));
    NOTHING(directory_delete(slice(path)));
}

void questions_of_a_frame() {
    i32 x = 0;
    i32 y = 0;
    Slice bytes = {};
    DisplayInfo info = {};
    BY_SDL(input_poll());
    NOTHING(input_last_pressed_key());
    NOTHING(input_last_released_key());
    NOTHING(input_key_is_pressed(KEY_A));
    NOTHING(input_key_is_released(KEY_A));
    NOTHING(input_key_is_held(KEY_ANY));
    NOTHING(input_key_held_state(&bytes));
    NOTHING(input_key_pressed_state(&bytes));
    NOTHING(input_key_released_state(&bytes));
    NOTHING(input_key_modifiers());
    NOTHING(input_last_pressed_mouse_button());
    NOTHING(input_last_released_mouse_button());
    NOTHING(input_mouse_is_pressed(MOUSE_LEFT));
    NOTHING(input_mouse_is_released(MOUSE_LEFT));
    NOTHING(input_mouse_is_held(MOUSE_ANY));
    NOTHING(input_mouse_held_state(&bytes));
    NOTHING(input_mouse_pressed_state(&bytes));
    NOTHING(input_mouse_released_state(&bytes));
    NOTHING(input_mouse_wheel());
    NOTHING(input_mouse_moved(&x, &y));
    NOTHING(input_mouse_position(&x, &y));
    NOTHING(input_mouse_global_position(&x, &y));
    NOTHING(display_is_minimized());
    NOTHING(display_is_maximized());
    NOTHING(display_is_restored());
    NOTHING(display_is_entered());
    NOTHING(display_is_left());
    NOTHING(display_is_focus_gained());
    NOTHING(display_is_focus_lost());
    NOTHING(display_is_closed());
    NOTHING(display_is_resized(&x, &y));
    NOTHING(display_file_dropped(&bytes));
    NOTHING(display_get_info(&info));
}

void display_and_desktop() {
    static u32 image[32 * 32];
    Slice text = {};
    BY_SDL(display_open(32, 32, slice("heap"), DISPLAY_SOFTWARE, 0));
    BY_SDL(display_set_content(32, 32, image));
    questions_of_a_frame();
    BY_SDL(display_set_vsync(0));
    BY_SDL(display_set_software_graphics(1));
    BY_SDL(display_set_size(40, 40));
    BY_SDL(display_set_title(slice("another title")));
    BY_SDL(display_set_icon(32, 32, image));
    BY_SDL(display_set_visible(1));
    BY_SDL(display_set_border(1));
    BY_SDL(display_set_fullscreen(1));
    BY_SDL(display_set_fullscreen(0));
    BY_SDL(display_set_grab(0));
    BY_SDL(display_maximize());
    BY_SDL(display_minimize());
    BY_SDL(display_restore());
    BY_SDL(input_mouse_set_visible(1));
    BY_SDL(input_mouse_set_relative(0));
    BY_SDL(input_mouse_set_position(1, 1));
    BY_SDL(input_mouse_set_global_position(1, 1));
    BY_SDL(input_mouse_set_cursor(CURSOR_TEXT));
    BY_SDL(input_mouse_is_haptic());
    NOTHING(clipboard_set_buffer(0, nullptr));
    NOTHING(clipboard_set_buffer_position(0));
    NOTHING(clipboard_get_buffer_position());
    BY_SDL(clipboard_set(slice("a text")));
    BY_SDL(clipboard_get(&text));
    BY_SDL(show_simple_message_box(MESSAGE_BOX_ERROR, slice("no screen"), slice("no box")));
    BY_SDL(screensaver_enable(1));
    BY_SDL(display_close());
}

void controllers() {
    const int device = SDL_JoystickAttachVirtual(SDL_JOYSTICK_TYPE_GAMECONTROLLER, 2, 4, 1);
    input_poll();
    i32 index = -1;
    i32 dx = 0;
    i32 dy = 0;
    Slice name = {};
    void* gone = nullptr;
    NOTHING(controller_is_added(&index));
    NOTHING(controller_num());
    NOTHING(controller_name_for_index(&name, device));
    void* controller = nullptr;
    BY_SDL(controller = controller_open(device));
    NOTHING(controller_name(&name, controller));
    NOTHING(controller_num_buttons(controller));
    NOTHING(controller_num_axes(controller));
    NOTHING(controller_num_balls(controller));
    NOTHING(controller_num_hats(controller));
    NOTHING(controller_is_connected(controller));
    NOTHING(controller_power(controller));
    NOTHING(controller_button(controller, 1));
    NOTHING(controller_axis(controller, 1));
    NOTHING(controller_ball(controller, 1, &dx, &dy));
    NOTHING(controller_hat(controller, 0));
    BY_SDL(controller_is_haptic(controller));
    void* haptic = nullptr;
    BY_SDL(haptic = haptic_open_controller(controller));
    BY_SDL(haptic = haptic_open_mouse());
    BY_SDL(haptic_has_rumble(haptic));
    BY_SDL(haptic_init_rumble(haptic));
    BY_SDL(haptic_play_rumble(haptic, 0, 1));
    BY_SDL(haptic_stop_rumble(haptic));
    BY_SDL(haptic_close(haptic));
    SDL_JoystickDetachVirtual(device);
    input_poll();
    NOTHING(controller_is_removed(&gone));
    BY_SDL(controller_close(controller));
}

void images() {
    const std::string saved = folder + "/saved.png";
    Image image = {};
    NOTHING(image_set_buffer(sizeof memory, memory));
    NOTHING(image_set_buffer_position(8));
    NOTHING(image_get_buffer_position());
    NOTHING(image_set_flip(0));
    for (const char* name : {"rgb8.png", "444.jpg", "24.bmp", "plain.gif", "raw.psd", "8.ppm",
                             "rgb.tga", "16.ppm", "alpha.psd", "progressive.jpg"}) {
        SCOPED_TRACE(name);
        const std::string path = std::string(IMAGE_SAMPLES "/") + name;
        std::string bytes = bytes_of(path);
        image_set_buffer_position(0);
        BY_LIBC("a stream", image_load(&image, slice(path), 4));
        EXPECT_NE(image.data, nullptr);
        NOTHING(image_load_from_memory(&image, static_cast<i32>(bytes.size()), bytes.data(), 4));
        EXPECT_NE(image.data, nullptr);
    }
    OWN("the encoder", image_save(image, slice(saved), 4));
}

void streams_of(const std::string& path) {
    SCOPED_TRACE(path);
    const bool is_ogg = path.find(".ogg") != std::string::npos;
    std::string bytes = bytes_of(path);
    static i16 block[4096];
    AudioInfo info = {};
    i32 stream = -1;
    audio_set_buffer_position(0);
    NOTHING(stream = audio_stream_open(SAMPLE_FORMAT_S16, slice(path), 0));
    if (is_ogg) {
        OWN("the decoder's state, a stream", audio_stream_read_info(&info, stream));
    } else {
        BY_LIBC("a stream", audio_stream_read_info(&info, stream));
    }
    EXPECT_GT(info.channels, 0);
    NOTHING(audio_stream_read(stream, 300, block));
    NOTHING(audio_stream_seek(stream, 100));
    NOTHING(audio_stream_read(stream, 300, block));
    if (is_ogg) {
        OWN("the decoder's state, the stream", audio_stream_close(stream));
    } else {
        BY_LIBC("the stream", audio_stream_close(stream));
    }
    if (path.find("in-ogg.flac") != std::string::npos) return; // by path alone
    NOTHING(stream = audio_stream_open_from_memory(SAMPLE_FORMAT_S16,
                                                   static_cast<i64>(bytes.size()), bytes.data()));
    if (is_ogg) {
        OWN("the decoder's state", audio_stream_read_info(&info, stream));
    } else {
        NOTHING(audio_stream_read_info(&info, stream));
    }
    EXPECT_GT(info.channels, 0);
    NOTHING(audio_stream_read(stream, 300, block));
    audio_stream_close(stream);
}

void sounds() {
    const std::string saved = folder + "/saved.wav";
    Wave wave = {};
    NOTHING(audio_set_buffer(sizeof memory, memory));
    NOTHING(audio_set_buffer_position(8));
    NOTHING(audio_get_buffer_position());
    for (const char* name : {"s16.wav", "s24.wav", "f32.wav", "a-law.wav", "ima.wav", "ms.wav",
                             "w64.wav", "aiff.wav", "s16.flac", "in-ogg.flac", "no-length.flac"}) {
        SCOPED_TRACE(name);
        const std::string path = std::string(SOUND_SAMPLES "/") + name;
        std::string bytes = bytes_of(path);
        audio_set_buffer_position(0);
        BY_LIBC("a stream", audio_wave_load(&wave, SAMPLE_FORMAT_S16, slice(path)));
        EXPECT_NE(wave.data, nullptr);
        NOTHING(audio_wave_load_from_memory(&wave, SAMPLE_FORMAT_F32,
                                            static_cast<i64>(bytes.size()), bytes.data()));
        streams_of(path);
    }
    for (const char* name : {"stereo.ogg", "long.ogg", "six.ogg"}) {
        const std::string path = std::string(SOUND_SAMPLES "/") + name;
        audio_set_buffer_position(0);
        OWN("the decoder's state", audio_wave_load(&wave, SAMPLE_FORMAT_S16, slice(path)));
        streams_of(path);
    }
    NOTHING(audio_wave_convert(&wave, SAMPLE_FORMAT_F32));
    BY_LIBC("a stream", audio_wave_save(wave, slice(saved)));

    i32 stream = -1;
    NOTHING(stream = audio_stream_open(SAMPLE_FORMAT_S16, slice(saved), 1));
    BY_LIBC("a stream", audio_stream_write_info(stream, {SAMPLE_FORMAT_S16, 1, 8000, 0}));
    NOTHING(audio_stream_write(stream, 100, memory));
    audio_stream_close(stream);

    const audio_callback silence = [](void*, u8*, i32) {};
    BY_SDL(audio_open(SAMPLE_FORMAT_S16, 1, 8000, 64, silence, nullptr));
    NOTHING(audio_play());
    NOTHING(audio_pause());
    NOTHING(audio_lock());
    NOTHING(audio_unlock());
    BY_SDL(audio_close());
    BY_SDL(audio_recorder_open(SAMPLE_FORMAT_S16, 1, 8000, 64, silence, nullptr));
    NOTHING(audio_recorder_record());
    NOTHING(audio_recorder_pause());
    NOTHING(audio_recorder_lock());
    NOTHING(audio_recorder_unlock());
    BY_SDL(audio_recorder_close());
}

void concurrency() {
    thread_handle* thread = nullptr;
    mutex_handle* mutex = nullptr;
    cond_handle* cond = nullptr;
    semaphore_handle* semaphore = nullptr;
    const thread_function nothing = [](void*) { return 0; };
    i32 number = 0;
    i32 lock = 0;
    void* pointer = nullptr;
    BY_SDL(thread = thread_create(nothing, nullptr));
    NOTHING(thread_id(thread));
    NOTHING(thread_current_id());
    BY_SDL(thread_wait(thread, &number));
    thread = thread_create(nothing, nullptr);
    BY_SDL(thread_detach(thread));
    BY_SDL(thread_set_priority(THREAD_PRIORITY_NORMAL));
    BY_SDL(cond = cond_create());
    BY_SDL(mutex = mutex_create());
    BY_SDL(semaphore = semaphore_create(2));
    NOTHING(mutex_lock(mutex));
    NOTHING(mutex_trylock(mutex));
    NOTHING(cond_signal(cond));
    NOTHING(cond_broadcast(cond));
    NOTHING(cond_wait_timeout(cond, mutex, 0));
    NOTHING(mutex_unlock(mutex));
    NOTHING(semaphore_wait(semaphore));
    NOTHING(semaphore_trywait(semaphore));
    NOTHING(semaphore_wait_timeout(semaphore, 0));
    NOTHING(semaphore_value(semaphore));
    NOTHING(semaphore_post(semaphore));
    struct pair {
        mutex_handle* mutex;
        cond_handle* cond;
    } both = {mutex_create(), cond};
    mutex_lock(both.mutex);
    thread = thread_create(
        [](void* data) {
            auto* const p = static_cast<pair*>(data);
            mutex_lock(p->mutex); // until the other waits
            cond_signal(p->cond);
            return mutex_unlock(p->mutex);
        },
        &both);
    NOTHING(cond_wait(cond, both.mutex));
    thread_wait(thread, nullptr);
    BY_SDL(cond_destroy(cond));
    BY_SDL(mutex_destroy(mutex));
    BY_SDL(semaphore_destroy(semaphore));
    NOTHING(atomic_set(&number, 1));
    NOTHING(atomic_set_ptr(&pointer, nullptr));
    NOTHING(atomic_get(&number));
    NOTHING(atomic_get_ptr(&pointer));
    NOTHING(atomic_add(&number, 1));
    NOTHING(atomic_inc_ref(&number));
    NOTHING(atomic_dec_ref(&number));
    NOTHING(atomic_cas(&number, 1, 2));
    NOTHING(atomic_cas_ptr(&pointer, nullptr, nullptr));
    NOTHING(atomic_lock(&lock));
    NOTHING(atomic_trylock(&lock));
    NOTHING(atomic_unlock(&lock));
    NOTHING(atomic_compiler_barrier());
}

void network() {
    constexpr network_flags udp = NETWORK_IPV4 | NETWORK_UDP, tcp = NETWORK_IPV4 | NETWORK_TCP;
    NetworkAddress address = {};
    NetworkAddress peer = {};
    Slice text = {};
    network_socket a = 0;
    network_socket server = 0;
    char bytes[8] = {};
    BY_LIBC("the resolver's list", network_address_find(&address, slice("127.0.0.1"), 0, udp));
    NOTHING(network_address_get_ip(&text, address));
    NOTHING(network_address_get_port(address));
    NOTHING(a = network_socket_create(udp));
    NOTHING(network_socket_failed(a));
    NOTHING(network_socket_bind(a, address));
    NOTHING(network_socket_set_blocking(a, 0));
    NOTHING(network_udp_send(a, 8, bytes, address));
    NOTHING(network_udp_receive(a, 8, bytes, &peer));

    const network_socket listener = network_socket_create(tcp);
    network_socket_bind(listener, address);
    NOTHING(network_tcp_listen(listener));
    address = sockets::loopback(NETWORK_IPV4, sockets::port_of(listener));
    const network_socket client = network_socket_create(tcp);
    NOTHING(network_tcp_connect(client, address));
    NOTHING(server = network_tcp_accept(listener, &peer));
    NOTHING(network_tcp_send(client, 8, bytes));
    NOTHING(network_tcp_receive(server, 8, bytes));

    i32 selector = -1;
    network_socket ready[2];
    NOTHING(selector = network_selector_create());
    NOTHING(network_selector_failed(selector));
    OWN("the selector's list", network_selector_add(selector, a));
    NOTHING(network_selector_wait(selector, 0, {ready, 2}));
    NOTHING(network_selector_remove(selector, a));
    NOTHING(network_selector_destroy(selector));
    NOTHING(network_tcp_disconnect(client));
    for (const network_socket socket : {a, listener, client, server}) {
        NOTHING(network_socket_destroy(socket));
    }
}

void math() {
    double whole = 0;
    i32 exponent = 0;
    using function = f64_bits (*)(f64_bits);
    const struct {
        const char* name;
        function call;
    } functions[] = {
#define MATH(name) {"math_" #name "(x)", math_##name}
        MATH(sqrt), MATH(floor), MATH(ceil), MATH(abs),   MATH(ln),    MATH(log),
        MATH(exp),  MATH(cos),   MATH(sin),  MATH(acos),  MATH(asin),  MATH(atan),
        MATH(cosh), MATH(sinh),  MATH(tanh), MATH(acosh), MATH(asinh), MATH(atanh),
    };
    for (const auto& f : functions) {
        check(taking::nothing, "", f.name, heap_calls::account_of([&] { f.call(one); }));
    }
    NOTHING(math_mod(one, one));
    NOTHING(math_fract(one, &whole));
    NOTHING(math_pow(one, one));
    NOTHING(math_atan2(one, one));
    NOTHING(math_ldexp(one, 1));
    NOTHING(math_frexp(one, &exponent));
}

// An OpenGL that does nothing, and takes nothing.
u64 no_operation() {
    return 0;
}

const u8* get_version(u32) {
    return reinterpret_cast<const u8*>("3.3.0 nothing");
}

void get_number(GLenum name, GLint* value) {
    *value = name == GL_MAJOR_VERSION || name == GL_MINOR_VERSION ? 3 : 0;
}

GLADapiproc find_nothing(const char* name) {
    if (std::strcmp(name, "glGetString") == 0) return reinterpret_cast<GLADapiproc>(get_version);
    if (std::strcmp(name, "glGetIntegerv") == 0) return reinterpret_cast<GLADapiproc>(get_number);
    return reinterpret_cast<GLADapiproc>(no_operation);
}

void graphics() {
    gladLoadGL(find_nothing);
    const auto check_all = [](const auto& cases) {
        for (const auto& c : cases) {
            check(taking::nothing, "", std::string(c.function) + "()",
                  heap_calls::account_of(c.call));
        }
    };
    using namespace graphics_cases;
    check_all(shader_cases);
    check_all(texture_cases);
    check_all(frame_buffer_cases);
    check_all(geometry_cases);
    check_all(pipeline_cases);
    for (const auto& c : truth_cases) {
        check(taking::nothing, "", std::string(c.function) + "()",
              heap_calls::account_of([&] { c.call(1); }));
    }
}

// What the headers tell the host in their line on the heap.
std::string stated_of(const std::string& name) {
    static const std::string all = bytes_of(SOURCE_DIR "/bindings/halvorin_system.json");
    const size_t function = all.find("{\"name\": \"" + name + "\"");
    const char before[] = "\"heap\": \"";
    const size_t begin = all.find(before, function) + sizeof before - 1;
    return all.substr(begin, all.find('"', begin) - begin);
}

void expect_no_more_than_stated(const std::string& name, const account& a) {
    const std::string stated = stated_of(name);
    SCOPED_TRACE(name + " states: " + stated);
    const auto states = [&](const char* who) { return stated.find(who) != std::string::npos; };
    const bool by_libc = states("C library");
    if (!states("encoder") && !states("decoder") && !states("list")) {
        EXPECT_EQ(a[heap_calls::library], 0);
    }
    if (!by_libc) {
        EXPECT_EQ(a[heap_calls::system], 0);
    }
    if (!by_libc && !states("SDL2") && !states("OpenGL")) {
        EXPECT_EQ(a[heap_calls::sdl] + a[heap_calls::others], 0);
    }
}

} // namespace

TEST(HeapTest, EveryFunctionTakesNoMoreThanItSays) {
    account first = heap_calls::account_of([] { system_init(~0u); });
    check(taking::by_sdl, "", "system_init()", first);
    SDL_SetError("takes its room once, and keeps it");
    services();
    files();
    display_and_desktop();
    controllers();
    images();
    sounds();
    concurrency();
    network();
    math();
    graphics();
    BY_SDL(system_release());
    std::filesystem::remove_all(folder);

    const bool is_listed = std::getenv("HEAP_LIST") != nullptr;
    std::set<std::string> called;
    for (const auto& [name, r] : seen) {
        called.insert(name);
        expect_no_more_than_stated(name, r.calls);
        const account& a = r.calls;
        if (!is_listed || a[0] + a[1] + a[2] + a[3] == 0) continue;
        std::printf("%-32s library %5d, C library %3d, SDL2 %5d, others %5d  %s\n", name.c_str(),
                    a[0], a[1], a[2], a[3], r.what_for.c_str());
    }
    EXPECT_EQ(called, declared_functions()) << "a function that stands in no class";
}
