/* SPDX-License-Identifier: Zlib */
/*   fault_host JOB IMAGE_SAMPLES SOUND_SAMPLES    in an empty folder
 * Ends with 0, with 1 where the library ends the process, with 2 when a check has failed. */
#define _GNU_SOURCE

#include "faults/host.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

char big[100000];
const char* image_samples;
const char* sound_samples;

static int bad;
static const char* known;

int check(int good, int can_fail, const char* file, int line, const char* condition) {
    if (good || (can_fail && news())) return good;
    fprintf(stderr, "%s:%d: %s\n", file, line, condition);
    bad = 1;
    return 0;
}

void step(void) {
    known = faults_struck();
}

const char* news(void) {
    return faults_struck() != known ? faults_struck() : NULL;
}

int news_is(const char* function) {
    return news() && strcmp(news(), function) == 0;
}

Slice text(const char* characters) {
    return (Slice){(void*)characters, (i64)strlen(characters)};
}

void put(const char* name, const void* bytes, size_t size) {
    FILE* const file = fopen(name, "wb");
    if (!file || fwrite(bytes, 1, size, file) != size || fclose(file) != 0) exit(3);
}

long get(const char* name, void* bytes, long room) {
    FILE* const file = fopen(name, "rb");
    const long size = file ? (long)fread(bytes, 1, (size_t)room, file) : -1;
    if (file) fclose(file);
    return size;
}

int holds(const char* name, const void* bytes, size_t size) {
    static char found[sizeof big + 100];
    return get(name, found, sizeof found) == (long)size && memcmp(found, bytes, size) == 0;
}

int is_there(const char* name) {
    struct stat status;
    return lstat(name, &status) == 0;
}

void make_link(const char* target, const char* name) {
    if (symlink(target, name) != 0) exit(3);
}

static int open_descriptors(void) {
    int count = 0;
    for (int i = 0; i < 1024; i++)
        count += fcntl(i, F_GETFD) >= 0;
    return count;
}

static const struct {
    const char* name;
    void (*run)(void);
    int keeps_descriptors; /* of the graphics driver's */
} jobs[] = {
    {"files", files_job, 0},
    {"copies", copies_job, 0},
    {"names", names_job, 0},
    {"names.links", names_with_links_job, 0},
    {"names.across", names_across_systems_job, 0},
    {"listing", listing_job, 0},
    {"services", services_job, 0},
    {"images", images_job, 0},
    {"pictures", pictures_job, 0},
    {"waves", waves_job, 0},
    {"sounds", sounds_job, 0},
    {"streams", streams_job, 0},
    {"sockets", sockets_job, 0},
    {"selectors", selectors_job, 0},
    {"threads", threads_job, 0},
    {"devices", devices_job, 0},
    {"hardware", hardware_job, 1},
    {"software", software_job, 1},
    {"desktop", desktop_job, 1},
};

int main(int count, char** arguments) {
    if (count != 4) return 3;
    image_samples = arguments[2];
    sound_samples = arguments[3];
    for (size_t i = 0; i < sizeof big; i++)
        big[i] = (char)(i * i / 7 + i % 251);
    for (size_t i = 0; i < sizeof jobs / sizeof *jobs; i++) {
        if (strcmp(jobs[i].name, arguments[1]) != 0) continue;
        const int before = open_descriptors();
        jobs[i].run();
        CHECK(jobs[i].keeps_descriptors || open_descriptors() == before);
        return bad ? 2 : 0;
    }
    return 3;
}
