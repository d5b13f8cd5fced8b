// The reference model of an exchange: the results of the C API and the output of the tool. Shares
// no code or constant with the product.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/stress/FileModel.h"
#include "tests/system/Documents.h"

class ExchangeModel {
public:
    // The content of a response.
    struct Answer {
        int state = 2;
        int error = 0;
        int percent = 0;
        std::vector<RowTexts> rows = {};
    };

    explicit ExchangeModel(FileModel& below) : files(below) {}

    // The contents of all readable documents, by their bytes.
    std::map<std::string, Answer> answers;
    // Whether another process holds the lock.
    bool isLockedElsewhere = false;
    // The agent's process as /proc names it, for a trace with injected errors.
    std::string agentProcess;

    int Open(char const* url, char const* doc, unsigned int flags);
    int Progress(int& percent, int& error);
    int ResultCount() const;
    int IndexedValue(unsigned int index, RowTexts& row) const;
    int Close();

    bool IsOpen() const { return isOpen; }
    bool HasWriteFailed() const { return hasWriteFailed; }

    // Runs the tool once. Returns its output.
    std::string RunTool(char const* url, char const* doc, unsigned int flags);
    // As RunTool, for CApiProgram.
    std::string RunCApi(char const* url, char const* doc, unsigned int flags);
    // More polls than any evaluation that terminates makes. Then a run ends without its Close
    // request.
    static constexpr int maxPolls = 20;

private:
    bool Lock();
    bool IsRunning() const;
    int OpenLocked(char const* url, char const* doc, unsigned int flags);
    int Exchange(std::string const& request, Answer& answer);
    bool ReadResponse(Answer& answer);

    FileModel& files;
    bool isOpen = false;
    bool isFinished = false;
    bool isRefusedForGood = false;
    bool hasWriteFailed = false;
    Answer held;
};
