// Runs an evaluation with the class of Evaluation.h. Prints progress to standard error and the rows
// to standard output.
//
//     c++ -std=c++17 -o evaluate evaluate.cpp $(pkg-config --cflags --libs clientcompliance)
//     ./evaluate URL DOC
//
// Exit status: 0 finished, 1 no results or lost output, 2 wrong arguments.
#include "Evaluation.h"

#include <chrono>
#include <iostream>
#include <thread>

namespace {

std::vector<EvaluationRow> Evaluate(char const* url, char const* doc) {
    Evaluation evaluation(url, doc, COMPLIANCE_FLAG_GATHER);
    while (std::optional<int> const percent = evaluation.Poll()) {
        std::cerr << *percent << "%\n";
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }
    return evaluation.Rows();
}

} // namespace

int main(int count, char** arguments) {
    if (count != 3) {
        std::cerr << "usage: evaluate URL DOC\n";
        return 2;
    }
    try {
        // Closes the evaluation before printing, so that a slow reader does not delay the release
        // of the lock.
        for (EvaluationRow const& row : Evaluate(arguments[1], arguments[2]))
            std::cout << row.designator << ": " << row.result << '\n';
        return std::cout.flush() ? 0 : 1;
    } catch (std::exception const& error) {
        std::cerr << "evaluate: " << error.what() << '\n';
        return 1;
    }
}
