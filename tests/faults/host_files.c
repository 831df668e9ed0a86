/* SPDX-License-Identifier: Zlib */
#define _GNU_SOURCE

#include "faults/host.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

static void write_a_file(void) {
    step();
    file_stream* const file = file_open(text("out"), FILE_MODE_WRITE);
    if (!went(!file_failed(file))) {
        CHECK(!is_there("out"));
        return;
    }
    const u64 count = file_write(file, 50000, big);
    file_write_byte(file, (u8)big[50000]);
    const i64 size = file_size(file);
    CHECK(went(count == 50000) || news_is("fwrite"));
    CHECK(count <= 50000);
    CHECK(went(size == 50001) || size == -1 || news_is("fwrite") || news_is("fputc"));
    file_close(file);
    CHECK(news() || holds("out", big, 50001));
}

static void read_a_file(void) {
    char bytes[30] = "";
    step();
    file_stream* const file = file_open(text("a"), FILE_MODE_READ);
    if (!went(!file_failed(file))) return;
    if (went(file_seek(file, 99990))) {
        const u64 count = file_read(file, 20, bytes);
        CHECK(went(count == 10) || news_is("fread"));
        CHECK(count <= 10 && memcmp(bytes, big + 99990, count) == 0);
        CHECK(file_end(file) || news());
    }
    if (went(file_seek(file, 5))) {
        const u8 byte = file_read_byte(file);
        CHECK(went(byte == (u8)big[5]) || (byte == 255 && news_is("fgetc")));
    }
    const i64 size = file_size(file);
    CHECK(went(size == 100000) || size == -1);
    file_close(file);
}

void files_job(void) {
    put("a", big, sizeof big);
    step();
    CHECK(went(file_create(text("made"))) ? holds("made", "", 0) : !is_there("made"));
    write_a_file();
    read_a_file();
    step();
    CHECK(went(file_exists(text("a"))) || news());
    CHECK(!file_exists(text("none")) && !file_exists(text(".")));
    put("made", "x", 1);
    step();
    CHECK(went(file_delete(text("made"))) ? !is_there("made") : holds("made", "x", 1));
    CHECK(holds("a", big, sizeof big));
}

/* A copy is done when both files could be opened; what came over isn't told. */
void copies_job(void) {
    put("a", big, sizeof big);
    put("old", "old", 3);
    make_link("a", "link");
    step();
    if (went(file_copy(text("a"), text("old")))) {
        CHECK(news() || holds("old", big, sizeof big));
        CHECK(!news_is("fopen") && !news_is("stat") && !news_is("fstat"));
    } else {
        CHECK(holds("old", "old", 3));
    }
    step();
    CHECK(went(file_copy(text("a"), text("a"))) || news());
    CHECK(went(file_copy(text("link"), text("a"))) || news());
    CHECK(went(file_copy(text("a"), text("link"))) || news());
    CHECK(!file_copy(text("none"), text("old")) && !file_copy(text("."), text("old")));
    CHECK(holds("a", big, sizeof big));
    step();
    CHECK(went(file_copy(text("a"), text("new"))) || !is_there("new"));
}

static void make_folder(const char* name) {
    faults_pause(1);
    if (mkdir(name, 0700) != 0) exit(3);
    faults_pause(0);
}

void names_job(int rename_error) {
    put("a", big, sizeof big);
    put("b", "b", 1);
    make_link("b", "link");
    make_folder("folder");
    faults_always(rename_error ? "renameat2" : NULL, rename_error);

    /* A file is in one place, whole. */
    step();
    CHECK(!file_rename(text("a"), text("b")));
    CHECK(holds("a", big, sizeof big) && holds("b", "b", 1));
    step();
    const int moved = went(file_rename(text("a"), text("new")));
    CHECK(holds(moved ? "new" : "a", big, sizeof big) && !is_there(moved ? "a" : "new"));
    step();
    const int link_moved = went(file_rename(text("link"), text("new_link")));
    CHECK(is_there(link_moved ? "new_link" : "link"));
    CHECK(!is_there(link_moved ? "link" : "new_link"));
    CHECK(!file_rename(text("folder"), text("other")) || news_is("stat"));
    CHECK(is_there("folder") || is_there("other"));
    if (is_there("other")) return;

    step();
    const int folder_moved = directory_rename(text("folder"), text("other"));
    CHECK(folder_moved == (rename_error != EXDEV) || news());
    CHECK(is_there(folder_moved ? "other" : "folder"));
    CHECK(!is_there(folder_moved ? "folder" : "other"));
    step();
    CHECK(!directory_rename(text("b"), text("c")) && holds("b", "b", 1));
    CHECK(went(directory_create(text("made"))) == is_there("made"));
    CHECK(is_there("made") == directory_exists(text("made")) || news_is("stat"));
    if (is_there("made")) CHECK(went(directory_delete(text("made"))) != is_there("made"));
}

/* So many names that the listing takes its second, compact layout. */
enum {
    NAMES = 2300,
    LENGTH = 200
};

static void numbered(char* name, int number) {
    memset(name, 'n', LENGTH);
    snprintf(name + LENGTH - 4, 5, "%04d", number);
}

static int is_good_listing(const DirectoryContent* content, int files) {
    char seen[NAMES] = "";
    for (i64 i = 0; i < content->files.count; i++) {
        const Slice name = ((const Slice*)content->files.data)[i];
        const char* const characters = name.data;
        if (name.count != LENGTH || characters[LENGTH] != 0) return 0;
        const int number = atoi(characters + LENGTH - 4);
        if (number < 0 || number >= files || seen[number]++) return 0;
    }
    return 1;
}

void listing_job(void) {
    char path[LENGTH + 10] = "many/";
    make_folder("few");
    make_folder("many");
    make_link("../few", "few/folder");
    make_link("../few", "many/folder");
    for (int i = 0; i < NAMES; i++) {
        numbered(path + 5, i);
        put(path, "", 0);
    }
    memcpy(path, "few//", 5);
    for (int i = 0; i < 3; i++) {
        numbered(path + 5, i);
        put(path, "", 0);
    }
    /* The end of the entries is the end of the listing, for whatever reason. */
    for (int all = 0; all < 2; all++) {
        const int files = all ? NAMES : 3;
        DirectoryContent content = {0};
        step();
        directory_get_content(&content, text(all ? "many" : "few"));
        if (news_is("fstatat")) continue; /* the link counts as a file */
        if (content.directories.count == 0 && content.files.count == 0) {
            went(0);
            CHECK(news() && !content.directories.data && !content.files.data);
            continue;
        }
        CHECK(is_good_listing(&content, files));
        CHECK(went(content.files.count == files && content.directories.count == 3) ||
              news_is("readdir"));
    }
}

void services_job(void) {
    system_execute(text("exit 3"));
    CHECK(system_time() > 1000000000);
    step();
    void* const sdl = system_load_library(text("libSDL2-2.0.so.0"));
    CHECK(went(sdl != NULL) || news());
    CHECK(went(system_load_function(sdl, text("SDL_GetTicks")) != NULL) || news());
    CHECK(!system_load_function(sdl, text("no_such_function")));
    if (sdl) system_unload_library(sdl);
    CHECK(!system_load_library(text("no_such_library.so")));
}
