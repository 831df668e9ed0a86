// SPDX-License-Identifier: Zlib
#include "api/math.h"
#include "frame/boundary.h"

#include <cmath>

using namespace halvorin;

namespace {

f64_bits bits_of(double number) {
    return std::bit_cast<f64_bits>(number);
}

// Directions of roundsd, each without a report that the number wasn't whole.
constexpr int down = 9;
constexpr int up = 10;

template <int direction> double rounded(double number) {
    asm("roundsd %1, %0, %0" : "+x"(number) : "i"(direction));
    return number;
}

// What the C library does for these two as well, after a call.
bool has_rounding() {
    return __builtin_cpu_supports("sse4.1") != 0;
}

} // namespace

// The processor has it as well, rounded correctly, so the bits are the same.
f64_bits math_sqrt(f64_bits x) {
    return bits_of(__builtin_sqrt(value_of(x)));
}

f64_bits math_floor(f64_bits x) {
    const double number = value_of(x);
    return bits_of(has_rounding() ? rounded<down>(number) : std::floor(number));
}

f64_bits math_ceil(f64_bits x) {
    const double number = value_of(x);
    return bits_of(has_rounding() ? rounded<up>(number) : std::ceil(number));
}

// By mask: a floating-point instruction could make a signalling NaN a quiet one.
f64_bits math_abs(f64_bits x) {
    return x & 0x7FFFFFFFFFFFFFFF;
}

f64_bits math_mod(f64_bits x, f64_bits y) {
    return bits_of(std::fmod(value_of(x), value_of(y)));
}

f64_bits math_fract(f64_bits x, double* whole) {
    return bits_of(std::modf(value_of(x), whole));
}

f64_bits math_pow(f64_bits x, f64_bits y) {
    return bits_of(std::pow(value_of(x), value_of(y)));
}

f64_bits math_ln(f64_bits x) {
    return bits_of(std::log(value_of(x)));
}

f64_bits math_log(f64_bits x) {
    return bits_of(std::log10(value_of(x)));
}

f64_bits math_exp(f64_bits x) {
    return bits_of(std::exp(value_of(x)));
}

f64_bits math_cos(f64_bits x) {
    return bits_of(std::cos(value_of(x)));
}

f64_bits math_sin(f64_bits x) {
    return bits_of(std::sin(value_of(x)));
}

f64_bits math_acos(f64_bits x) {
    return bits_of(std::acos(value_of(x)));
}

f64_bits math_asin(f64_bits x) {
    return bits_of(std::asin(value_of(x)));
}

f64_bits math_atan(f64_bits x) {
    return bits_of(std::atan(value_of(x)));
}

f64_bits math_atan2(f64_bits y, f64_bits x) {
    return bits_of(std::atan2(value_of(y), value_of(x)));
}

f64_bits math_cosh(f64_bits x) {
    return bits_of(std::cosh(value_of(x)));
}

f64_bits math_sinh(f64_bits x) {
    return bits_of(std::sinh(value_of(x)));
}

f64_bits math_tanh(f64_bits x) {
    return bits_of(std::tanh(value_of(x)));
}

f64_bits math_acosh(f64_bits x) {
    return bits_of(std::acosh(value_of(x)));
}

f64_bits math_asinh(f64_bits x) {
    return bits_of(std::asinh(value_of(x)));
}

f64_bits math_atanh(f64_bits x) {
    return bits_of(std::atanh(value_of(x)));
}

f64_bits math_ldexp(f64_bits x, i32 exponent) {
    return bits_of(std::ldexp(value_of(x), exponent));
}

f64_bits math_frexp(f64_bits x, i32* exponent) {
    return bits_of(std::frexp(value_of(x), exponent));
}
