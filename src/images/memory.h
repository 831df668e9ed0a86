/* SPDX-License-Identifier: Zlib */
#pragma once

/* What the decoder takes its memory from. Read by its own unit too, which is C. */

#include "api/types.h"

HALVORIN_EXTERN void* image_memory_allocate(i64 size);
HALVORIN_EXTERN void* image_memory_reallocate(void* block, i64 old_size, i64 new_size);

#ifdef __cplusplus
#include <csetjmp>

namespace halvorin {

// Where a load of ours goes on when the buffer is exhausted. Null while none is running: a host
// that calls the decoder itself gets the null.
extern std::jmp_buf* load_exit;

} // namespace halvorin
#endif
