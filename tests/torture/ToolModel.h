// What the tool prints, call by call of the interface.
#pragma once

#include <string>

#include "tests/torture/ExchangeModel.h"

// One run of the tool: the calls and the pauses are those of the models.
inline std::string RunToolModel(ExchangeModel& interface, FileModel& files, char const* url,
                                char const* doc, unsigned int flags) {
    if (int const code = interface.Open(url, doc, flags); code != 0)
        return "COMPLIANCE_Open returned error: " + std::to_string(code) + ".\n";
    std::string output;
    int percent = 0;
    int error = 0;
    int state = 0;
    while ((state = interface.Progress(percent, error)) == 3) {
        output += "COMPLIANCE_Progress " + std::to_string(percent) + "% completed.\n";
        files.Pass("sleep 1", 1'000'000);
    }
    if (state == 1) {
        output += "COMPLIANCE_ResultCount is " + std::to_string(interface.ResultCount()) + ".\n";
        ExchangeModel::Row row;
        for (unsigned int i = 0; interface.IndexedValue(i, row) == 0; ++i)
            output += "    Designator: " + row[0] + "\n        Result: " + row[1] +
                      "\n   Result Type: " + row[2] + "\nEval Time (\xB5s): " + row[3] +
                      "\n          Desc: " + row[4] + "\n       Comment: " + row[5] + "\n\n";
    } else if (state == 2 && error == -22) {
        output += "Client reports not available right now.\n";
    } else if (state == 2) {
        output += "COMPLIANCE_Progress returned error " + std::to_string(error) + ".\n";
    }
    interface.Close();
    return output;
}
