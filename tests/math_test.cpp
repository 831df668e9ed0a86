// SPDX-License-Identifier: Zlib
#include "support/common.h"

#include "api/system.h"

#include <gtest/gtest.h>

#include <bit>
#include <climits>
#include <random>
#include <vector>

// Every result against the C library's own function, found by name so that no compiler gets at it:
// the same bits, over arguments of every kind.

namespace {

template <class Function> Function* c_function(const char* name) {
    static void* const library = dlopen("libm.so.6", RTLD_NOW);
    return reinterpret_cast<Function*>(dlsym(library, name));
}

double number(f64_bits bits) {
    return std::bit_cast<double>(bits);
}

f64_bits bits(double number) {
    return std::bit_cast<f64_bits>(number);
}

// Where functions change their ways: the ends of all that exponents and mantissas can be, and with
// them infinities, NaNs of both kinds, subnormal numbers, the neighbours of 1, parts of pi, the
// ends of 32 bits and of halves; and both sides of overflow.
std::vector<f64_bits> special_arguments() {
    std::vector<f64_bits> result;
    for (const double x : {7.0, 10.0, 1e22, 0.1, 1e-8, 709.7, 709.8, 710.5, 1023.0, 1074.0}) {
        result.insert(result.end(), {bits(x), bits(-x)});
    }
    const u64 exponents[] = {0, 1, 1021, 1022, 1023, 1024, 1053, 1054, 1075, 2046, 2047};
    const u64 mantissas[] = {
        0, 1, 0x4000000000000, 0x8000000000000, 0x921FB54442D18, 0xFFFFFFFC00000, 0xFFFFFFFFFFFFF};
    for (const u64 exponent : exponents) {
        for (const u64 mantissa : mantissas) {
            result.push_back(exponent << 52 | mantissa);
            result.push_back(u64{1} << 63 | result.back());
        }
    }
    return result;
}

// And any pattern at all, and numbers of the sizes that programs have.
std::vector<f64_bits> arguments() {
    std::vector<f64_bits> result = special_arguments();
    std::mt19937_64 source{12345};
    for (int i = 0; i < 25000; i++) {
        result.push_back(source());
        for (const double end : {1.0, 20.0, 800.0}) {
            result.push_back(bits(std::uniform_real_distribution(-end, end)(source)));
        }
    }
    return result;
}

} // namespace

TEST(MathTest, FunctionsOfOneNumberAreTheCLibrarysToTheLastBit) {
    const struct {
        f64_bits (*ours)(f64_bits);
        const char* name;
    } functions[] = {
        {math_sqrt, "sqrt"},   {math_floor, "floor"}, {math_ceil, "ceil"}, {math_abs, "fabs"},
        {math_ln, "log"},      {math_log, "log10"},   {math_exp, "exp"},   {math_cos, "cos"},
        {math_sin, "sin"},     {math_acos, "acos"},   {math_asin, "asin"}, {math_atan, "atan"},
        {math_cosh, "cosh"},   {math_sinh, "sinh"},   {math_tanh, "tanh"}, {math_acosh, "acosh"},
        {math_asinh, "asinh"}, {math_atanh, "atanh"},
    };
    for (const auto& f : functions) {
        SCOPED_TRACE(f.name);
        auto* const theirs = c_function<double(double)>(f.name);
        for (const f64_bits x : arguments()) {
            ASSERT_EQ(f.ours(x), bits(theirs(number(x)))) << std::hex << x;
        }
    }
}

TEST(MathTest, FunctionsOfTwoNumbersTakeThemInTheCLibrarysOrder) {
    const struct {
        f64_bits (*ours)(f64_bits, f64_bits);
        const char* name;
    } functions[] = {{math_mod, "fmod"}, {math_pow, "pow"}, {math_atan2, "atan2"}};
    auto* const ldexp = c_function<double(double, int)>("ldexp");
    for (const f64_bits x : special_arguments()) {
        for (const f64_bits y : special_arguments()) {
            for (const auto& f : functions) {
                auto* const theirs = c_function<double(double, double)>(f.name);
                ASSERT_EQ(f.ours(x, y), bits(theirs(number(x), number(y))))
                    << f.name << std::hex << " " << x << ", " << y;
            }
        }
        for (const i32 exponent : {0, 1, -52, 1024, -1074, 2200, -2200, INT_MAX, INT_MIN}) {
            ASSERT_EQ(math_ldexp(x, exponent), bits(ldexp(number(x), exponent))) << std::hex << x;
        }
    }
}

TEST(MathTest, PartsOfANumberGoThroughTheHostsPointers) {
    auto* const modf = c_function<double(double, double*)>("modf");
    auto* const frexp = c_function<double(double, int*)>("frexp");
    for (const f64_bits x : arguments()) {
        SCOPED_TRACE(x);
        double whole = 77, expected_whole = 77;
        ASSERT_EQ(math_fract(x, &whole), bits(modf(number(x), &expected_whole)));
        ASSERT_EQ(bits(whole), bits(expected_whole));
        i32 exponents[] = {77, 88};
        int expected = 77;
        ASSERT_EQ(math_frexp(x, exponents), bits(frexp(number(x), &expected)));
        ASSERT_EQ(exponents[0], expected);
        ASSERT_EQ(exponents[1], 88) << "more than 32 bits were written";
    }
}
