// The reference model of an exchange: the results of the C API and the output of the tool. Shares
// no code or constant with the product.
#pragma once

#include "tests/stress/FileModel.h"
#include "tests/support/Sandbox.h"
#include "tests/system/Documents.h"

class ExchangeModel {
public:
    // The content of a response.
    struct Content {
        int state = 2;
        int error = 0;
        int percent = 0;
        std::vector<RowTexts> rows = {};
    };

    explicit ExchangeModel(FileModel& below) : files(below) {}

    // The contents of all readable documents, by their bytes.
    std::map<std::string, Content> contents;
    // Whether another process holds the lock.
    bool isLockedElsewhere = false;
    // The agent's process as /proc names it, for a trace with injected errors.
    std::string agentProcess;

    int Open(char const* url, char const* doc, unsigned int flags) {
        if (isOpen)
            return -15;
        if (!Lock())
            return -6;
        int const code = OpenLocked(url, doc, flags);
        isOpen = code == 0;
        return code;
    }

    int Progress(int& percent, int& error) {
        if (!isOpen)
            return -6;
        if (isFinished)
            return 1;
        if (int const code = Exchange(progressRequest, held); code != 0)
            return code;
        if (held.state == 2)
            error = held.error;
        else if (held.state == 3)
            percent = held.percent;
        isFinished = held.state == 1;
        return held.state >= 1 && held.state <= 3 ? held.state : -7;
    }

    int ResultCount() const { return isFinished ? static_cast<int>(held.rows.size()) : -8; }

    int IndexedValue(unsigned int index, RowTexts& row) const {
        if (!isFinished)
            return -8;
        if (index >= held.rows.size())
            return -20;
        row = held.rows[index];
        return 0;
    }

    int Close() {
        if (!isOpen)
            return -6;
        Content notLookedAt;
        int const code = Exchange(closeRequest, notLookedAt);
        isOpen = isFinished = false;
        return code;
    }

    bool IsOpen() const { return isOpen; }
    bool HasWriteFailed() const { return hasWriteFailed; }

    // Runs the tool once. Returns its output.
    std::string RunTool(char const* url, char const* doc, unsigned int flags) {
        if (int const code = Open(url, doc, flags); code != 0)
            return "COMPLIANCE_Open returned error: " + std::to_string(code) + ".\n";
        std::string output;
        int percent = 0;
        int error = 0;
        int state = 3;
        for (int polls = 0; polls < maxPolls && (state = Progress(percent, error)) == 3; ++polls) {
            output += PrintedPercent(std::to_string(percent));
            files.Pass("sleep 1", 1'000'000);
        }
        if (state == 3)
            return output;
        if (state == 1) {
            output += PrintedCount(held.rows.size());
            for (RowTexts const& row : held.rows)
                output += PrintedRow(row);
        } else if (state == 2) {
            output += error == -22 ? "Client reports not available right now.\n"
                                   : PrintedError(std::to_string(error));
        }
        Close();
        return output;
    }

    // As RunTool, for CApiProgram.
    std::string RunCApi(char const* url, char const* doc, unsigned int flags) {
        int const opened = Open(url, doc, flags);
        std::string output = "open " + std::to_string(opened) + '\n';
        int state = opened == 0 ? 3 : 0;
        for (int polls = 0; polls < maxPolls && state == 3; ++polls) {
            int percent = -1;
            int error = -1;
            state = Progress(percent, error);
            output += "progress " + std::to_string(state) + " percent " + std::to_string(percent) +
                      " error " + std::to_string(error) + '\n';
        }
        if (state == 3)
            return output;
        if (opened == 0) {
            output += "count " + std::to_string(ResultCount()) + '\n';
            output += "close " + std::to_string(Close()) + '\n';
        }
        return output + "descriptors +0\n";
    }

    // More polls than any evaluation that terminates makes. Then a run ends without its Close
    // request.
    static constexpr int maxPolls = 20;

private:
    // A process that was refused the lock once is always refused. A lock file that cannot be opened
    // is opened again.
    bool Lock() {
        if (isRefusedForGood || !files.OpenLockFile())
            return false;
        isRefusedForGood = isLockedElsewhere;
        return !isLockedElsewhere && !files.IsHit("setlk", "lockfile");
    }

    // The agent's process is found unless the list of processes ends early or its entry is skipped.
    bool IsRunning() const {
        return files.entries.contains(agentLink) && !files.IsHit("opendir", "proc") &&
               !files.IsHit("readdir", "") && !files.IsHit("stat", agentProcess);
    }

    int OpenLocked(char const* url, char const* doc, unsigned int flags) {
        if (!files.entries.contains(Sandbox::agentProgram) || files.IsHit("stat", "VeskaClient"))
            return -1;
        if (!IsRunning())
            return -2;
        if (files.LookOrMiss(ScriptedAgent::request) != FileModel::Seen::nothing)
            return -5;
        Content notLookedAt;
        return Exchange(
            OpenRequest(Escaped(url ? url : ""), Escaped(doc ? doc : ""), std::to_string(flags)),
            notLookedAt);
    }

    int Exchange(std::string const& request, Content& content) {
        content = Content();
        if (!files.Publish(request)) {
            hasWriteFailed = true;
            return -17;
        }
        bool readFailed = false;
        for (unsigned int waited = 0, step = 1000, limit = 10000;; step *= 2) {
            unsigned int const pause = step + waited > limit ? limit - waited : step;
            files.Sleep(pause);
            waited += pause;
            if (files.LookOrMiss(ScriptedAgent::request) == FileModel::Seen::nothing) {
                if (ReadResponse(content))
                    return 0;
                readFailed = true;
            }
            if (waited >= limit)
                return readFailed ? -7 : -3;
        }
    }

    bool ReadResponse(Content& content) {
        auto const bytes = files.Read(ScriptedAgent::response);
        auto const known = bytes ? contents.find(*bytes) : contents.end();
        if (known == contents.end())
            return false;
        content = known->second;
        return true;
    }

    FileModel& files;
    bool isOpen = false;
    bool isFinished = false;
    bool isRefusedForGood = false;
    bool hasWriteFailed = false;
    Content held;
};
