// SPDX-License-Identifier: Zlib
// Decodes the images of a folder (its one argument) on four threads and prints the Adler-32 sum of
// each one's pixels. The window shows the latest; without a display it ends after all. There are no
// locks in the library: ours is around calls that use its scratch memory or the image buffer.
#include <halvorin_system/system.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// Held by the worker that sums it and by the window: the last one to let go deletes it.
struct Picture {
    i32 references, width, height;
    std::vector<u8> pixels; // red, green, blue, alpha
};

static mutex_handle* const library = mutex_create(); // image calls, and all that take a text
static mutex_handle* const queues = mutex_create();  // the next two lines
static std::vector<std::string> paths;               // to decode
static Picture* shown = new Picture{1, 1, 1, {0, 0, 0, 255}};
static cond_handle* const shown_changed = cond_create();
static semaphore_handle* const to_do = semaphore_create(0); // one for each path, one for the end
static i32 left = 0;                                        // images that aren't done

static Slice text(const std::string& string) {
    return {const_cast<char*>(string.data()), static_cast<i64>(string.size())};
}

static void let_go(Picture* picture) {
    if (atomic_dec_ref(&picture->references)) delete picture;
}

// The pixels leave the image buffer before another thread may load.
static Picture* decode(const std::string& path) {
    Image image;
    mutex_lock(library);
    image_load(&image, text(path), 4);
    Picture* picture = nullptr;
    if (const u8* const pixels = static_cast<u8*>(image.data)) {
        const i64 size = i64{4} * image.width * image.height;
        picture = new Picture{1, image.width, image.height, {pixels, pixels + size}};
    }
    image_set_buffer_position(0);
    mutex_unlock(library);
    return picture;
}

static u32 adler32(const std::vector<u8>& bytes) {
    u32 low = 1, high = 0;
    for (const u8 byte : bytes)
        high = (high + (low = (low + byte) % 65521)) % 65521;
    return high << 16 | low;
}

static i32 work(void*) {
    for (;; atomic_add(&left, -1)) {
        semaphore_wait(to_do);
        mutex_lock(queues);
        const std::string path = paths.empty() ? "" : paths.back();
        if (!paths.empty()) paths.pop_back();
        mutex_unlock(queues);
        if (path.empty()) return semaphore_post(to_do); // for the next worker's end
        if (Picture* const picture = decode(path)) {
            atomic_inc_ref(&picture->references);
            mutex_lock(queues);
            let_go(shown);
            shown = picture;
            mutex_unlock(queues);
            cond_signal(shown_changed);
            const u32 sum = adler32(picture->pixels);
            std::printf("%s: %dx%d, %08x\n", path.c_str(), picture->width, picture->height, sum);
            let_go(picture);
        } else {
            std::printf("%s: can't be decoded\n", path.c_str());
        }
    }
}

int main(int count, char** words) {
    const bool shows = std::getenv("DISPLAY") || std::getenv("WAYLAND_DISPLAY");
    if (!shows) setenv("SDL_VIDEODRIVER", "offscreen", 0);
    if (!library || !queues || !shown_changed || !to_do) return 1;
    system_init(SYSTEM_INIT_VIDEO | SYSTEM_INIT_EVENTS);
    if (count != 2 || !display_open(640, 480, {nullptr, 0}, DISPLAY_SOFTWARE, 0)) return 1;
    static u64 image_memory[8 << 20];
    image_set_buffer(sizeof(image_memory), image_memory);
    DirectoryContent content = {};
    directory_get_content(&content, text(words[1])); // no worker runs yet: no lock
    const auto* const names = static_cast<Slice*>(content.files.data);
    for (; left < content.files.count; left++) {
        paths.push_back(std::string(words[1]) + "/" + static_cast<char*>(names[left].data));
        semaphore_post(to_do);
    }
    std::vector<thread_handle*> workers(4);
    for (auto& worker : workers)
        worker = thread_create(work, nullptr);
    do {
        input_poll();
        mutex_lock(queues);
        cond_wait_timeout(shown_changed, queues, 15); // a frame's time at most
        Picture* const picture = shown;
        atomic_inc_ref(&picture->references);
        mutex_unlock(queues);
        display_set_content(picture->width, picture->height, picture->pixels.data());
        let_go(picture);
        // The title goes through scratch memory. If a decoder is at it, a later frame will do.
        if (!mutex_trylock(library)) continue;
        display_set_title(text(std::to_string(atomic_get(&left)) + " images left"));
        mutex_unlock(library);
    } while (!display_is_closed() && (shows || atomic_get(&left) > 0));
    mutex_lock(queues);
    paths.clear();
    mutex_unlock(queues);
    semaphore_post(to_do);
    for (auto* worker : workers)
        thread_wait(worker, nullptr);
    system_release();
}
