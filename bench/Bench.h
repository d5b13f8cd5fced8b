// Benchmarks that compare this project with other libraries on the same input, by Google Benchmark.
//
// Each subject is a program, built from Main.cpp and `bench/<Subject>Bench.cpp`, which defines
// RegisterOperations. A benchmark is named "<subject>/<operation>/<who>"; `who` is "ours" or the
// name of a comparison library. scripts/bench runs the operations one by one and compares.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

#include "data/ConstData.h"

// Registers the operations of a subject, which defines this function. Called once, before any
// timing.
void RegisterOperations();

// Prints a message and exits with status 1. Called if contenders have different results, because
// their times are not comparable.
[[noreturn]] void RefuseDifferentAnswers(std::string const& operation, std::string const& who,
                                         std::string const& expected, std::string const& found);

// An operation and its contenders: implementations that are timed on the same input. The input is
// created on first use, so an operation that is not run takes no time.
//
// A contender has two functions of the input: `work`, which is timed, and `answer`, which returns
// the result as text. Before the first timing, all answers are computed and must be equal.
template <class Input>
class Operation {
public:
    using MakeInput = std::function<Input const&()>;

    // `byteCount` returns the number of bytes that one run processes. Without it, only times are
    // reported, not speeds.
    Operation(std::string name, MakeInput input,
              std::function<std::size_t(Input const&)> byteCount = {})
        : shared(std::make_shared<Shared>()) {
        shared->name = std::move(name);
        shared->input = std::move(input);
        shared->byteCount = std::move(byteCount);
    }

    // Adds a contender. `figure` returns an additional result beside the time, such as the memory
    // for each byte of input; `counter` is its name in goals.json.
    template <class Work, class Answer>
    void Add(std::string const& who, Work work, Answer answer, std::string const& counter = {},
             std::function<double(Input const&)> figure = {}) {
        shared->contenders.push_back({who, [answer](Input const& input) {
                                          return AsText(answer(input));
                                      }});
        auto const run = [work, counter, figure, group = shared](benchmark::State& state) {
            Input const& input = group->input();
            group->CheckOnce(input);
            if (figure)
                state.counters[counter] = figure(input);
            Work own = work;
            for (auto _ : state)
                Time(own, input);
            group->CountBytes(state, input);
        };
        benchmark::RegisterBenchmark((shared->name + "/" + who).c_str(), run);
    }

    // For a `work` that returns text or a number: it is also the answer.
    template <class Work>
    void Add(std::string const& who, Work work) {
        Add(who, work, work);
    }

    // Adds a contender that measures its own time: `work` returns seconds. For work with setup or
    // cleanup that must not be timed, and for work in another process.
    template <class Answer>
    void AddSelfTimed(std::string const& who, std::function<double(Input const&)> work,
                      Answer answer) {
        shared->contenders.push_back({who, [answer](Input const& input) {
                                          return AsText(answer(input));
                                      }});
        auto const run = [work, group = shared](benchmark::State& state) {
            Input const& input = group->input();
            group->CheckOnce(input);
            for (auto _ : state)
                state.SetIterationTime(work(input));
            group->CountBytes(state, input);
        };
        benchmark::RegisterBenchmark((shared->name + "/" + who).c_str(), run)->UseManualTime();
    }

private:
    struct Contender {
        std::string who;
        std::function<std::string(Input const&)> answer;
    };

    struct Shared {
        void CheckOnce(Input const& made) {
            if (checked)
                return;
            checked = true;
            std::string const expected = contenders.front().answer(made);
            for (Contender const& contender : contenders) {
                std::string const found = contender.answer(made);
                if (found != expected)
                    RefuseDifferentAnswers(name, contender.who, expected, found);
            }
        }

        void CountBytes(benchmark::State& state, Input const& made) const {
            if (byteCount)
                state.SetBytesProcessed(state.iterations() *
                                        static_cast<std::int64_t>(byteCount(made)));
        }

        std::string name;
        MakeInput input;
        std::function<std::size_t(Input const&)> byteCount;
        std::vector<Contender> contenders;
        bool checked = false;
    };

    template <class Result>
    static std::string AsText(Result const& result) {
        if constexpr (std::is_arithmetic_v<Result>)
            return std::to_string(result);
        else
            return std::string(result);
    }

    template <class Work>
    static void Time(Work& work, Input const& input) {
        if constexpr (std::is_void_v<decltype(work(input))>) {
            work(input);
            benchmark::ClobberMemory();
        } else {
            benchmark::DoNotOptimize(work(input));
        }
    }

    std::shared_ptr<Shared> shared;
};

// The `byteCount` of an operation whose input is text.
inline std::size_t SizeOf(std::string const& text) { return text.size(); }
