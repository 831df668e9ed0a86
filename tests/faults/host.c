/* SPDX-License-Identifier: Zlib */
/*   fault_host JOB IMAGE_SAMPLES SOUND_SAMPLES    in an empty folder
 * Ends with 0, with 1 where the library ends the process, with 2 when a check has failed. */
#define _GNU_SOURCE

#include "faults/host.h"

#include <dirent.h>
#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

char big[100000];
const char* image_samples;
const char* sound_samples;

static int bad, refused;
static const char* known;

void complain(const char* file, int line, const char* condition) {
    faults_pause(1);
    fprintf(stderr, "%s:%d: %s\n", file, line, condition);
    faults_pause(0);
    bad = 1;
}

int went(int good) {
    refused += !good;
    return good;
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
    faults_pause(1);
    FILE* const file = fopen(name, "wb");
    if (!file || fwrite(bytes, 1, size, file) != size || fclose(file) != 0) exit(3);
    faults_pause(0);
}

long get(const char* name, void* bytes, long room) {
    faults_pause(1);
    FILE* const file = fopen(name, "rb");
    const long size = file ? (long)fread(bytes, 1, (size_t)room, file) : -1;
    if (file) fclose(file);
    faults_pause(0);
    return size;
}

int holds(const char* name, const void* bytes, size_t size) {
    static char found[sizeof big + 100];
    return get(name, found, sizeof found) == (long)size && memcmp(found, bytes, size) == 0;
}

int is_there(const char* name) {
    struct stat status;
    faults_pause(1);
    const int found = lstat(name, &status) == 0;
    faults_pause(0);
    return found;
}

void make_link(const char* target, const char* name) {
    faults_pause(1);
    if (symlink(target, name) != 0) exit(3);
    faults_pause(0);
}

static int open_descriptors(void) {
    int count = 0;
    for (int i = 0; i < 1024; i++)
        count += fcntl(i, F_GETFD) >= 0;
    return count;
}

static void names(void) {
    names_job(0);
}

static void names_with_links(void) {
    names_job(EINVAL);
}

static void names_across_systems(void) {
    names_job(EXDEV);
}

static const struct {
    const char* name;
    void (*run)(void);
    int keeps_descriptors; /* of the graphics driver's */
} jobs[] = {
    {"files", files_job, 0},
    {"copies", copies_job, 0},
    {"names", names, 0},
    {"names.links", names_with_links, 0},
    {"names.across", names_across_systems, 0},
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
        CHECK(refused == 0 || faults_struck());
        printf("%d calls failed\n", refused);
        return bad ? 2 : 0;
    }
    return 3;
}
