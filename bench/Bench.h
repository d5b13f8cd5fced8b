// One operation, done by ours and by its peers on the same input, timed by Google Benchmark.
//
// A subject is a program of its own: Main.cpp and `bench/<Subject>Bench.cpp`, which defines
// RegisterOperations. A timed run is called "<subject>/<operation>/<who>"; `who` is "ours" or the
// name of the peer. scripts/bench runs the operations one after the other and compares.
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

// Defined once a subject: makes its operations. It is called once, before anything is timed.
void RegisterOperations();

// Ends the program with a message: a comparison of different results is worth nothing.
[[noreturn]] void RefuseDifferentAnswers(std::string const& operation, std::string const& who,
                                         std::string const& expected, std::string const& found);

// An operation and those who can do it. `Input` is made at first use, so an operation that is not
// run costs nothing.
//
// Each contender is added as `work`, which takes the input and is timed, and `answer`, which takes
// the input and gives the result as a text; where `work` itself yields a text or a number it can do
// for both. Before the first timing all answers are made once and must be equal.
template <class Input>
class Operation {
public:
    using MakeInput = std::function<Input const&()>;

    // `byteCount` tells how many bytes one run handles; without it the figures are plain times.
    Operation(std::string name, MakeInput input,
              std::function<std::size_t(Input const&)> byteCount = {})
        : shared(std::make_shared<Shared>()) {
        shared->name = std::move(name);
        shared->input = std::move(input);
        shared->byteCount = std::move(byteCount);
    }

    // A figure of its own beside the time, such as the memory that a result takes; goals.json names
    // it by `counter`.
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

    template <class Work>
    void Add(std::string const& who, Work work) {
        Add(who, work, work);
    }

    // A contender that keeps its own time, where setting up and clearing away is not to count, or
    // where another process does the work: `work` yields the seconds.
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

// The size of a text as the bytes of an operation on it.
inline std::size_t SizeOf(std::string const& text) { return text.size(); }
