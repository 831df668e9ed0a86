// SPDX-License-Identifier: Zlib
#include "consumer.c"
