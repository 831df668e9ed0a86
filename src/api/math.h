/* SPDX-License-Identifier: Zlib */
#pragma once

/**
 * Scalar math in double precision: the functions of the platform's C library.
 *
 * Numbers travel as their bits, in both directions (see types.h): 2.0 is 0x4000000000000000. Only
 * the two pointers go to an ordinary double and `i32` in memory. Each result is the C library's to
 * the last bit, so that it differs from platform to platform where the C libraries do.
 *
 * There is no tangent, no logarithm or exponential of base 2, and no rounding to nearest.
 *
 * A NaN among the arguments comes back as a NaN; of two, the platform chooses. Works without
 * system_init.
 *
 * Calls, where nothing else is said:
 *
 * @thread   any
 * @memory   none
 * @failure  NaN or infinity: outside the function's domain, as the C library has it.
 * @heap     none
 * @waits    no
 */

#include "types.h"

/** The square root, rounded correctly. NaN below 0. */
HALVORIN_API f64_bits math_sqrt(f64_bits x);

/** The greatest whole number that is not above x. @failure none */
HALVORIN_API f64_bits math_floor(f64_bits x);

/** The least whole number that is not below x. Of -0.5 it is -0.0. @failure none */
HALVORIN_API f64_bits math_ceil(f64_bits x);

/** x with its sign bit cleared, also where x is a NaN. @failure none */
HALVORIN_API f64_bits math_abs(f64_bits x);

/** The remainder of x / y, exact, with the sign of x: of -7 and 3 it is -1. */
HALVORIN_API f64_bits math_mod(f64_bits x, f64_bits y);

/**
 * The fractional part, with the sign of x.
 *
 * @param whole  receives the whole part, an ordinary double. Not null.
 */
HALVORIN_API f64_bits math_fract(f64_bits x, double* whole);

/** x to the power of y. */
HALVORIN_API f64_bits math_pow(f64_bits x, f64_bits y);

/** The natural logarithm. */
HALVORIN_API f64_bits math_ln(f64_bits x);

/** The logarithm to base 10. */
HALVORIN_API f64_bits math_log(f64_bits x);

/** e to the power of x. */
HALVORIN_API f64_bits math_exp(f64_bits x);

/** Trigonometry. All angles are in radians. */
HALVORIN_API f64_bits math_cos(f64_bits x);
HALVORIN_API f64_bits math_sin(f64_bits x);
HALVORIN_API f64_bits math_acos(f64_bits x);
HALVORIN_API f64_bits math_asin(f64_bits x);
HALVORIN_API f64_bits math_atan(f64_bits x);

/** The angle of the point (x, y), -pi to pi. y comes first: of 1 and 0 it is pi / 2. */
HALVORIN_API f64_bits math_atan2(f64_bits y, f64_bits x);

/** Hyperbolic functions and their inverses. */
HALVORIN_API f64_bits math_cosh(f64_bits x);
HALVORIN_API f64_bits math_sinh(f64_bits x);
HALVORIN_API f64_bits math_tanh(f64_bits x);
HALVORIN_API f64_bits math_acosh(f64_bits x);
HALVORIN_API f64_bits math_asinh(f64_bits x);
HALVORIN_API f64_bits math_atanh(f64_bits x);

/** x times 2 to the power of the exponent. */
HALVORIN_API f64_bits math_ldexp(f64_bits x, i32 exponent);

/**
 * The fraction of x, 0.5 up to but not including 1 in magnitude, with x = fraction * 2^exponent.
 *
 * @param exponent  receives the exponent. Not null. Of no meaning for an infinity or a NaN.
 */
HALVORIN_API f64_bits math_frexp(f64_bits x, i32* exponent);
