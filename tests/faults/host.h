/* SPDX-License-Identifier: Zlib */
#ifndef HALVORIN_FAULTS_HOST_H
#define HALVORIN_FAULTS_HOST_H

#include "faults/layer.h"
#include <halvorin_system/system.h>

#include <stddef.h>
#include <stdio.h>
#include <string.h>

/* A host that does one job of a family, and after each call asks: is what was promised there, or
 * the failure value, and is what was there before still whole? */

#define CHECK(condition) check((condition) != 0, 0, __FILE__, __LINE__, #condition)

/* The same, but for a call that may give its failure value when one has failed in this step. */
#define WENT(condition) check((condition) != 0, 1, __FILE__, __LINE__, #condition)

int check(int good, int can_fail, const char* file, int line, const char* condition);

/* A step of the job begins; the function that has failed since, or null. */
void step(void);
const char* news(void);
int news_is(const char* function);

Slice text(const char* characters);

/* The host's own look at files. */
void put(const char* name, const void* bytes, size_t size);
long get(const char* name, void* bytes, long room); /* -1 without such a file */
int holds(const char* name, const void* bytes, size_t size);
int is_there(const char* name);
void make_link(const char* target, const char* name);

extern char big[100000];
extern const char* image_samples;
extern const char* sound_samples;

void files_job(void);
void copies_job(void);
void names_job(void);
void names_with_links_job(void);
void names_across_systems_job(void);
void listing_job(void);
void services_job(void);
void images_job(void);
void pictures_job(void);
void waves_job(void);
void sounds_job(void);
void streams_job(void);
void sockets_job(void);
void selectors_job(void);
void threads_job(void);
void devices_job(void);
void hardware_job(void);
void software_job(void);
void desktop_job(void);

#endif
