// SPDX-License-Identifier: Zlib
#include "api/system.h"

#include <dlfcn.h>
#include <gtest/gtest.h>

#include <bit>
#include <cfenv>
#include <climits>
#include <cmath>
#include <iterator>
#include <limits>
#include <random>
#include <vector>

// Every result against the C library's own function, found by name so that no compiler gets at it:
// the same bits, over arguments of every kind.

extern "C" f64_bits wide_ldexp(u64 x, u64 exponent) __asm__("math_ldexp");

namespace {

template <class Function> Function* c_function(const char* name) {
    static void* const library = dlopen("libm.so.6", RTLD_NOW);
    void* const function = dlsym(library, name);
    EXPECT_NE(function, nullptr) << name;
    return reinterpret_cast<Function*>(function);
}

double number(f64_bits bits) {
    return std::bit_cast<double>(bits);
}

f64_bits bits(double number) {
    return std::bit_cast<f64_bits>(number);
}

// Where functions change their ways: zeros, ends of ranges and domains, NaNs of both kinds with
// something in them, halves, whole numbers, multiples of pi, both sides of overflow.
std::vector<f64_bits> special_arguments() {
    using limits = std::numeric_limits<double>;
    std::vector<f64_bits> result = {0x7FF8000000000000, 0x7FF8000000001234, 0x7FF0000000000001,
                                    0x7FF4000000005678, 0x7FFFFFFFFFFFFFFF, 0x000FFFFFFFFFFFFF};
    for (const double x : {0.0,
                           1.0,
                           0.5,
                           1.5,
                           2.0,
                           2.5,
                           3.0,
                           7.0,
                           8.0,
                           10.0,
                           100.0,
                           1000.0,
                           1e22,
                           0.1,
                           1e-8,
                           std::nextafter(1.0, 0.0),
                           std::nextafter(1.0, 2.0),
                           3.141592653589793,
                           1.5707963267948966,
                           0.7853981633974483,
                           22.0,
                           709.7,
                           709.8,
                           710.5,
                           745.2,
                           1023.0,
                           1024.0,
                           1074.0,
                           4503599627370495.5,
                           4503599627370496.0,
                           9007199254740993.0,
                           2147483647.0,
                           2147483648.0,
                           9.3e18,
                           limits::max(),
                           limits::min(),
                           limits::denorm_min(),
                           limits::infinity()}) {
        result.push_back(bits(x));
    }
    for (std::size_t i = 0, count = result.size(); i < count; i++) {
        result.push_back(result[i] | 0x8000000000000000);
    }
    return result;
}

// Any pattern at all, and numbers of the sizes that programs have.
class random_arguments {
public:
    f64_bits operator()() {
        switch (source_() % 4) {
        case 0: return source_();
        case 1: return bits(std::uniform_real_distribution(-1.0, 1.0)(source_));
        case 2: return bits(std::uniform_real_distribution(-20.0, 20.0)(source_));
        default: return bits(std::uniform_real_distribution(-800.0, 800.0)(source_));
        }
    }

private:
    std::mt19937_64 source_{12345};
};

constexpr int random_count = 100000;

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
        for (const f64_bits x : special_arguments()) {
            ASSERT_EQ(f.ours(x), bits(theirs(number(x)))) << std::hex << x;
        }
        random_arguments next;
        for (int i = 0; i < random_count; i++) {
            const f64_bits x = next();
            ASSERT_EQ(f.ours(x), bits(theirs(number(x)))) << std::hex << x;
        }
    }
}

TEST(MathTest, FunctionsOfTwoNumbersTakeThemInTheCLibrarysOrder) {
    const struct {
        f64_bits (*ours)(f64_bits, f64_bits);
        const char* name;
    } functions[] = {{math_mod, "fmod"}, {math_pow, "pow"}, {math_atan2, "atan2"}};
    const auto specials = special_arguments();
    for (const auto& f : functions) {
        SCOPED_TRACE(f.name);
        auto* const theirs = c_function<double(double, double)>(f.name);
        const auto compare = [&](f64_bits x, f64_bits y) {
            ASSERT_EQ(f.ours(x, y), bits(theirs(number(x), number(y))))
                << std::hex << x << ", " << y;
        };
        for (const f64_bits x : specials) {
            for (const f64_bits y : specials) {
                compare(x, y);
            }
        }
        random_arguments next;
        for (int i = 0; i < random_count; i++) {
            const f64_bits x = next();
            compare(x, next());
        }
    }
}

TEST(MathTest, PartsOfANumberGoThroughTheHostsPointers) {
    auto* const modf = c_function<double(double, double*)>("modf");
    auto* const frexp = c_function<double(double, int*)>("frexp");
    const auto compare = [&](f64_bits x) {
        double whole = 77, expected_whole = 77;
        ASSERT_EQ(math_fract(x, &whole), bits(modf(number(x), &expected_whole))) << std::hex << x;
        ASSERT_EQ(bits(whole), bits(expected_whole)) << std::hex << x;
        i32 exponents[] = {77, 88};
        int expected = 77;
        ASSERT_EQ(math_frexp(x, exponents), bits(frexp(number(x), &expected))) << std::hex << x;
        ASSERT_EQ(exponents[0], expected) << std::hex << x;
        ASSERT_EQ(exponents[1], 88) << "more than 32 bits were written";
    };
    for (const f64_bits x : special_arguments()) {
        compare(x);
    }
    random_arguments next;
    for (int i = 0; i < random_count; i++) {
        compare(next());
    }
}

TEST(MathTest, LdexpTakesAnExponentOf32BitsWithASign) {
    auto* const ldexp = c_function<double(double, int)>("ldexp");
    for (const i32 exponent :
         {0, 1, -1, 4, 52, -52, 1023, 1024, -1022, -1074, 2200, -2200, INT_MAX, INT_MIN}) {
        for (const f64_bits x : special_arguments()) {
            const f64_bits expected = bits(ldexp(number(x), exponent));
            ASSERT_EQ(math_ldexp(x, exponent), expected) << std::hex << x << ", " << exponent;
            ASSERT_EQ(wide_ldexp(x, 0xA5A5A5A500000000 | static_cast<u32>(exponent)), expected);
        }
    }
}

TEST(MathTest, ValuesThatAreKnown) {
    EXPECT_EQ(math_sqrt(0x4010000000000000), 0x4000000000000000U);
    EXPECT_TRUE(std::isnan(number(math_sqrt(bits(-1)))));
    EXPECT_EQ(number(math_log(bits(100))), 2);
    EXPECT_NEAR(number(math_ln(bits(100))), 4.605170185988092, 1e-15);
    EXPECT_EQ(number(math_mod(bits(-7), bits(3))), -1);
    EXPECT_EQ(number(math_pow(bits(2), bits(10))), 1024);
    EXPECT_EQ(number(math_atan2(bits(1), bits(0))), 1.5707963267948966);
    EXPECT_EQ(number(math_floor(bits(-0.5))), -1);
    EXPECT_EQ(math_ceil(bits(-0.5)), 0x8000000000000000U);
    EXPECT_EQ(math_abs(0x8000000000000000), 0U);
    EXPECT_EQ(math_abs(0xFFF0000000000001), 0x7FF0000000000001U) << "still a signalling NaN";
    EXPECT_EQ(math_abs(0xFFFFFFFFFFFFFFFF), 0x7FFFFFFFFFFFFFFFU);
    double whole = 0;
    EXPECT_EQ(number(math_fract(bits(-1.5), &whole)), -0.5);
    EXPECT_EQ(whole, -1);
    i32 exponent = 0;
    EXPECT_EQ(number(math_frexp(bits(8), &exponent)), 0.5);
    EXPECT_EQ(exponent, 4);
    EXPECT_EQ(number(math_ldexp(bits(0.5), 4)), 8);
}

// A host that has changed how the processor rounds gets what the C library makes of it.
TEST(MathTest, TheHostsRoundingIsKept) {
    auto* const root = c_function<double(double)>("sqrt");
    for (const int rounding : {FE_UPWARD, FE_DOWNWARD, FE_TOWARDZERO, FE_TONEAREST}) {
        std::fesetround(rounding);
        const f64_bits ours = math_sqrt(bits(2)), theirs = bits(root(2));
        const f64_bits ceiling = math_ceil(bits(1.25)), floor = math_floor(bits(-1.25));
        std::fesetround(FE_TONEAREST);
        EXPECT_EQ(ours, theirs) << rounding;
        EXPECT_EQ(number(ceiling), 2);
        EXPECT_EQ(number(floor), -2);
    }
}
