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

#define CHECK(condition)                                                                           \
    do {                                                                                           \
        if (!(condition)) complain(__FILE__, __LINE__, #condition);                                \
    } while (0)

void complain(const char* file, int line, const char* condition);

/* Counts a call that gave its failure value: there is none unless the layer makes a call fail. */
int went(int good);

/* A step of the job begins; the function that has failed since, or null. */
void step(void);
const char* news(void);
int news_is(const char* function);

Slice text(const char* characters);

/* The host's own look at files, in which nothing fails. */
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
void names_job(int rename_error);
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
