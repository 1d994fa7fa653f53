/// The one way in which all rows are measured.
#ifndef BENCHMARKS_MEASURE_H
#define BENCHMARKS_MEASURE_H

#include <benchmark/benchmark.h>

#include <string>

/// Registers a measurement as `name`, ROW/PEER. `operation` takes `input`, of which the compiler
/// knows nothing, and what it returns is made and destroyed each time. All that is the same in each
/// call belongs to the input.
template <class Input, class Operation>
void Measure(const std::string& name, const Input& input, Operation operation) {
    benchmark::RegisterBenchmark(name.c_str(), [input, operation](benchmark::State& state) {
        const Input* hidden = &input;
        for (auto _ : state) {
            benchmark::DoNotOptimize(hidden);
            auto result = operation(*hidden);
            benchmark::DoNotOptimize(result);
        }
    });
}

/// The same for an operation that replaces the content of `target`, a default-made `Target`.
template <class Target, class Input, class Operation>
void MeasureInto(const std::string& name, const Input& input, Operation operation) {
    benchmark::RegisterBenchmark(name.c_str(), [input, operation](benchmark::State& state) {
        const Input* hidden = &input;
        Target target{};
        for (auto _ : state) {
            benchmark::DoNotOptimize(hidden);
            operation(target, *hidden);
            benchmark::DoNotOptimize(target);
        }
    });
}

#endif
