// SPDX-License-Identifier: Zlib
// Math against the C library's own functions, both through pointers, as a host that loads at run
// time calls them: a thousand numbers a round, each result going into memory. Every row gives the
// ratio of our median to the bare function's (`of_`) beside its goal (`goal_`), and what one call
// takes. `of_linked` is the same against a call that the compiler sees and may replace.
//
// An export moves bits between two kinds of registers, calls, and moves the result back: about one
// nanosecond. So the goal is out of reach for functions that take less than 20, which most do;
// math_abs, math_sqrt, math_floor and math_ceil have no call inside and meet it.
#include <halvorin_system/math.h>

#include "in_turn.h"

#include <bit>
#include <cmath>
#include <vector>

#include <dlfcn.h>

namespace {

constexpr int repeats = 20;

template <class Function> Function* loaded(Function* function) {
    Function* volatile found = function;
    return found;
}

template <class Function> Function* c_function(const char* name) {
    return reinterpret_cast<Function*>(dlsym(dlopen("libm.so.6", RTLD_NOW), name));
}

// Both read and write the same memory; only ours takes it as whole numbers.
template <class Number, class Function>
auto over(std::vector<Number>& results, const std::vector<Number>& arguments, Function function) {
    return [&results, &arguments, function] {
        for (int round = 0; round < repeats; ++round) {
            for (std::size_t i = 0; i < arguments.size(); ++i) {
                results[i] = function(arguments[i]);
            }
            benchmark::ClobberMemory();
        }
    };
}

struct Data {
    std::vector<double> arguments, results;
    std::vector<f64_bits> argument_bits, result_bits;

    explicit Data(double scale) : results(1000), result_bits(1000) {
        for (int i = 0; i < 1000; i++) {
            arguments.push_back(scale * (0.001 + (i * 619 % 1000) * 0.000998));
            argument_bits.push_back(std::bit_cast<f64_bits>(arguments.back()));
        }
    }
};

template <class Linked>
void one_argument(benchmark::State& state, f64_bits (*function)(f64_bits), const char* name,
                  double scale, Linked linked) {
    Data data(scale);
    const auto [ours, bare, seen] =
        medians_in_turn(state, over(data.result_bits, data.argument_bits, loaded(function)),
                        over(data.results, data.arguments, c_function<double(double)>(name)),
                        over(data.results, data.arguments, linked));
    state.counters["ns"] = ours / repeats / 1000 * 1e9;
    state.counters["bare_ns"] = bare / repeats / 1000 * 1e9;
    show(state, "bare", ours / bare, 1.05);
    state.counters["of_linked"] = ours / seen;
}

void two_arguments(benchmark::State& state, f64_bits (*function)(f64_bits, f64_bits),
                   const char* name) {
    Data data(10);
    auto* const ours_pointer = loaded(function);
    auto* const bare_pointer = c_function<double(double, double)>(name);
    const f64_bits seven = std::bit_cast<f64_bits>(0.7);
    const auto [ours, bare] = medians_in_turn(
        state,
        over(data.result_bits, data.argument_bits,
             [=](f64_bits x) { return ours_pointer(x, seven); }),
        over(data.results, data.arguments, [=](double x) { return bare_pointer(x, 0.7); }));
    state.counters["ns"] = ours / repeats / 1000 * 1e9;
    state.counters["bare_ns"] = bare / repeats / 1000 * 1e9;
    show(state, "bare", ours / bare, 1.05);
}

#define ONE(name, c_name, scale)                                                                   \
    BENCHMARK_CAPTURE(one_argument, c_name, math_##name, #c_name, scale,                           \
                      [](double x) { return std::c_name(x); })                                     \
        ->Iterations(301)                                                                          \
        ->UseManualTime()

ONE(abs, fabs, 10);
ONE(sqrt, sqrt, 10);
ONE(floor, floor, 1000);
ONE(ln, log, 10);
ONE(log, log10, 10);
ONE(exp, exp, 10);
ONE(sin, sin, 10);
ONE(cos, cos, 10);
ONE(atan, atan, 10);
ONE(asin, asin, 1);
ONE(tanh, tanh, 3);
ONE(acosh, acosh, 1000);
BENCHMARK_CAPTURE(two_arguments, fmod, math_mod, "fmod")->Iterations(301)->UseManualTime();
BENCHMARK_CAPTURE(two_arguments, pow, math_pow, "pow")->Iterations(301)->UseManualTime();
BENCHMARK_CAPTURE(two_arguments, atan2, math_atan2, "atan2")->Iterations(301)->UseManualTime();

} // namespace
