/* SPDX-License-Identifier: Zlib */
#define _GNU_SOURCE

#include "faults/host.h"

#include <errno.h>
#include <stdlib.h>
#include <sys/stat.h>

static void write_a_file(void) {
    step();
    file_stream* const file = file_open(text("out"), FILE_MODE_WRITE);
    if (!WENT(!file_failed(file))) {
        CHECK(!is_there("out"));
        return;
    }
    const u64 count = file_write(file, 50000, big);
    CHECK(count == 50000 || (count < 50000 && news_is("fwrite")));
    file_write_byte(file, (u8)big[50000]);
    const i64 size = file_size(file);
    WENT(size == 50001);
    CHECK(size == 50001 || size == -1 || news_is("fwrite") || news_is("fputc"));
    file_close(file);
    WENT(holds("out", big, 50001));
}

static void read_a_file(void) {
    char bytes[30] = "";
    step();
    file_stream* const file = file_open(text("a"), FILE_MODE_READ);
    if (!WENT(!file_failed(file))) return;
    if (WENT(file_seek(file, 99990))) {
        const u64 count = file_read(file, 20, bytes);
        CHECK(count == 10 || (count < 10 && news_is("fread")));
        CHECK(memcmp(bytes, big + 99990, count) == 0);
        WENT(file_end(file));
    }
    if (WENT(file_seek(file, 5))) {
        const u8 byte = file_read_byte(file);
        CHECK(byte == (u8)big[5] || (byte == 255 && news_is("fgetc")));
    }
    const i64 size = file_size(file);
    CHECK(WENT(size == 100000) || size == -1);
    file_close(file);
}

void files_job(void) {
    put("a", big, sizeof big);
    step();
    CHECK(WENT(file_create(text("made"))) ? holds("made", "", 0) : !is_there("made"));
    write_a_file();
    read_a_file();
    step();
    WENT(file_exists(text("a")));
    CHECK(!file_exists(text("none")) && !file_exists(text(".")));
    put("made", "x", 1);
    step();
    CHECK(WENT(file_delete(text("made"))) ? !is_there("made") : holds("made", "x", 1));
    CHECK(holds("a", big, sizeof big));
}

/* A copy is done when both files could be opened; what came over isn't told. */
void copies_job(void) {
    put("a", big, sizeof big);
    put("old", "old", 3);
    make_link("a", "link");
    step();
    if (WENT(file_copy(text("a"), text("old")))) {
        WENT(holds("old", big, sizeof big));
        CHECK(!news_is("open") && !news_is("stat") && !news_is("fstat"));
    } else {
        CHECK(holds("old", "old", 3));
    }
    step();
    WENT(file_copy(text("a"), text("a")));
    WENT(file_copy(text("link"), text("a")));
    WENT(file_copy(text("a"), text("link")));
    CHECK(!file_copy(text("none"), text("old")) && !file_copy(text("."), text("old")));
    CHECK(holds("a", big, sizeof big));
    step();
    CHECK(WENT(file_copy(text("a"), text("new"))) || !is_there("new"));
}

static void make_folder(const char* name) {
    if (mkdir(name, 0700) != 0) exit(3);
}

/* An entry is in one place, under the one name or the other. */
static int moves(b8 (*rename)(Slice, Slice), const char* from, const char* to) {
    step();
    const int moved = rename(text(from), text(to));
    CHECK(is_there(moved ? to : from) && !is_there(moved ? from : to));
    return moved;
}

static void change_names(int rename_error) {
    put("a", big, sizeof big);
    put("b", "b", 1);
    make_link("b", "link");
    make_folder("folder");
    faults_always(rename_error ? "renameat2" : NULL, rename_error);
    CHECK(!file_rename(text("a"), text("b")));
    CHECK(holds("a", big, sizeof big) && holds("b", "b", 1));
    CHECK(holds(WENT(moves(file_rename, "a", "new")) ? "new" : "a", big, sizeof big));
    WENT(moves(file_rename, "link", "new_link"));
    if (moves(file_rename, "folder", "other")) {
        CHECK(news_is("stat"));
        return;
    }
    WENT(moves(directory_rename, "folder", "other") == (rename_error != EXDEV));
    step();
    CHECK(!directory_rename(text("b"), text("c")) && holds("b", "b", 1));
    CHECK(WENT(directory_create(text("made"))) == is_there("made"));
    CHECK(is_there("made") == directory_exists(text("made")) || news_is("stat"));
    if (is_there("made")) CHECK(WENT(directory_delete(text("made"))) != is_there("made"));
}

void names_job(void) {
    change_names(0);
}

void names_with_links_job(void) {
    change_names(EINVAL);
}

void names_across_systems_job(void) {
    change_names(EXDEV);
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
        WENT(content.files.count == files && content.directories.count == 3);
        CHECK(is_good_listing(&content, files));
        const int is_empty = content.directories.count == 0 && content.files.count == 0;
        CHECK(!is_empty || (!content.directories.data && !content.files.data));
    }
}

void services_job(void) {
    system_execute(text("exit 3"));
    CHECK(system_time() > 1000000000);
    step();
    void* const sdl = system_load_library(text("libSDL2-2.0.so.0"));
    WENT(sdl != NULL);
    WENT(system_load_function(sdl, text("SDL_GetTicks")) != NULL);
    CHECK(!system_load_function(sdl, text("no_such_function")));
    if (sdl) system_unload_library(sdl);
    CHECK(!system_load_library(text("no_such_library.so")));
}
