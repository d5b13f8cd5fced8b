// What the five functions promise, in few lines: shares no code or constant with the product.
#pragma once

#include <array>
#include <map>
#include <string>
#include <vector>

#include "tests/torture/FileModel.h"

class ExchangeModel {
public:
    using Row = std::array<std::string, 6>;

    // What a response says.
    struct Answer {
        int state = 2;
        int error = 0;
        int percent = 0;
        std::vector<Row> rows = {};
    };

    explicit ExchangeModel(FileModel& below) : files(below) {}

    // All the documents that can be read, by their bytes.
    std::map<std::string, Answer> answers;
    // Whether another process has the lock.
    bool isLockedElsewhere = false;

    int Open(char const* url, char const* doc, unsigned int flags);
    int Progress(int& percent, int& error);
    int ResultCount() const;
    int IndexedValue(unsigned int index, Row& row) const;
    int Close();

    bool IsOpen() const { return isOpen; }

private:
    bool Lock();
    int OpenLocked(char const* url, char const* doc, unsigned int flags);
    int Exchange(std::string const& request, Answer& answer);
    bool ReadResponse(Answer& answer);

    FileModel& files;
    bool isOpen = false;
    bool isFinished = false;
    bool isRefusedForGood = false;
    Answer held;
};
