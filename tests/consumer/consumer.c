/* SPDX-License-Identifier: Zlib */
/* A program of someone else, linked against an installed library: it calls, and it reads the
 * exported variables where the library writes them. */
#include <halvorin_system/system.h>

#include <stdio.h>

static int check(int holds, const char* what) {
    if (!holds) fprintf(stderr, "consumer: %s\n", what);
    return holds ? 0 : 1;
}

int main(void) {
    int failures = 0;
    i32 before = temporary_pos;
    Slice text = {(void*)"abc", 3};
    u16* wide = to_wide_cstr(text);
    failures += check(temporary_pos == before + 8, "temporary_pos doesn't follow");
    failures += check((u8*)wide == temporary_buffer + before, "temporary_buffer is another one");
    failures += check(to_key_code[4] == 0, "to_key_code isn't zero before the start");
    system_init(SYSTEM_INIT_EVENTS);
    failures += check(to_key_code[4] == KEY_A, "to_key_code isn't the library's");
    system_release();
    return failures;
}
