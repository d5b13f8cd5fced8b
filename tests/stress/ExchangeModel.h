// The reference model of an exchange: what the five functions return and what the tool prints. It
// shares no code or constant with the product.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "tests/stress/FileModel.h"
#include "tests/system/Documents.h"

class ExchangeModel {
public:
    // What a response says.
    struct Answer {
        int state = 2;
        int error = 0;
        int percent = 0;
        std::vector<RowTexts> rows = {};
    };

    explicit ExchangeModel(FileModel& below) : files(below) {}

    // All the documents that can be read, by their bytes.
    std::map<std::string, Answer> answers;
    // Whether another process has the lock.
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

    // One run of the tool, and what it prints.
    std::string RunTool(char const* url, char const* doc, unsigned int flags);
    // The same for InterfaceProgram.
    std::string RunInterface(char const* url, char const* doc, unsigned int flags);
    // More polls than any evaluation that ends makes. Then a run ends without its close.
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
