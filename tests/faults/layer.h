/* SPDX-License-Identifier: Zlib */
#ifndef HALVORIN_FAULTS_LAYER_H
#define HALVORIN_FAULTS_LAYER_H

#ifdef __cplusplus
extern "C" {
#endif

/* What a host that knows of the layer can do with it. */

/* Calls count and fail only while it is off. */
void faults_pause(int on);

/* The name of the function whose call has failed, or null while none has. */
const char* faults_struck(void);

/* From now on each call of the function fails that way, uncounted, whatever else does. */
void faults_always(const char* function, int error);

#ifdef __cplusplus
}
#endif

#endif
