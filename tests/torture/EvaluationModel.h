// What one evaluation does, call by call, and what comes of it when calls fail: a plain model of
// the exchange beside a played agent, sharing nothing with the product.
//
// The calls are those that FailingCallsShim sees, in its words. How a request is cut into writes is
// the program's own affair, so the model takes the sizes from a run without faults.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

struct Fault {
    std::string call;
    int error = 0;
    // From 1.
    std::size_t number = 1;
    bool lasting = false;
};

// What a caller of the interface sees.
struct Codes {
    int open = 0;
    struct Progress {
        int state = 0;
        int percent = -1;
        int error = -1;
    };
    std::vector<Progress> progress;
    int close = 0;
};

// An answer of the agent.
struct Answer {
    std::string bytes;
    int state = 2;
    int error = 0;
    int percent = 0;
};

struct Surroundings {
    // Stands for the process that makes the evaluation.
    static constexpr char const* own = "own";

    // The names in /proc in the order of the directory, and which of them is the agent's process.
    std::vector<std::string> processes;
    std::string agent;
    // The answers in order; behind the last one the agent is silent.
    std::vector<Answer> answers;
    // The documents of the three kinds, and the sizes of the writes of each.
    struct Request {
        std::string bytes;
        std::vector<std::size_t> writes;
    };
    Request open, progress, close;
    // A second of sleep between two polls, as the tool has it.
    bool pausesBetweenPolls = false;
};

class EvaluationModel {
public:
    EvaluationModel(Surroundings const& surroundings, std::vector<Fault> const& faults);

    void Run();

    Codes codes;
    std::vector<std::string> calls;
    std::optional<std::string> temporary, request, response;
    // Whether the writing of a request failed, so that a part of one may have been published.
    bool writeFailed = false;
    // The requests as the agent has taken them.
    std::vector<std::string> requestsTaken;
    // Deliberate: a refused rename counts as done, and the answer that stands there as the one to
    // it. Where that one says "in progress" the evaluation has no end; the model gives up.
    bool isEndless = false;

private:
    struct Failure {};
    struct ReadingPath;
    using File = std::optional<std::string> EvaluationModel::*;

    int Call(std::string const& name, std::string const& text);
    void Must(std::string const& name, std::string const& text);

    int Open();
    int Lock();
    void Unlock();
    bool IsRunning();
    void ReadHead(std::string const& name);

    int Exchange(Surroundings::Request const& document, Answer& answer);
    bool Publish(Surroundings::Request const& document);
    void Write(Surroundings::Request const& document);
    void WritePieces(Surroundings::Request const& document);
    void WritePiece(std::string const& name, File file, std::string const& bytes);
    template <class Operation>
    void Retry(Operation const& operation);
    bool Exists(File file);
    void ForceMove();
    void Move();
    void Copy();
    void CopyBytes();
    void ForceNonexistence(File file);
    Answer ReadResponse();
    void ReadWhole(File file, std::size_t buffer,
                   std::function<void(std::string const&)> const& take);
    void Sleep(unsigned int milliseconds);
    void Seconds(unsigned int seconds);
    void PlayAgent();

    Surroundings const& world;
    std::vector<Fault> const& faults;
    std::map<std::string, std::size_t> counts;
};
