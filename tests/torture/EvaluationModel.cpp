#include "tests/torture/EvaluationModel.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>

namespace {

// Many more than any evaluation here that ends.
constexpr std::size_t maxPolls = 20;

char const* NameOf(std::optional<std::string> EvaluationModel::*file) {
    if (file == &EvaluationModel::temporary)
        return "requestTemp.xml";
    return file == &EvaluationModel::request ? "request.xml" : "response.xml";
}

} // namespace

EvaluationModel::EvaluationModel(Surroundings const& surroundings, std::vector<Fault> const& all)
    : world(surroundings), faults(all) {}

// The number that the call fails with, or 0.
int EvaluationModel::Call(std::string const& name, std::string const& text) {
    calls.push_back(text.empty() ? name : name + ' ' + text);
    std::size_t const number = ++counts[name];
    for (Fault const& fault : faults)
        if (fault.call == name &&
            (number == fault.number || (fault.lasting && number > fault.number)))
            return fault.error;
    return 0;
}

void EvaluationModel::Must(std::string const& name, std::string const& text) {
    if (Call(name, text) != 0)
        throw Failure();
}

void EvaluationModel::Run() {
    codes.open = Open();
    if (codes.open != 0)
        return;
    for (bool goOn = true; goOn;) {
        Answer answer;
        Codes::Progress progress{Exchange(world.progress, answer)};
        if (progress.state == 0)
            progress.state = answer.state >= 1 && answer.state <= 3 ? answer.state : -7;
        if (progress.state == 3)
            progress.percent = answer.percent;
        if (progress.state == 2)
            progress.error = answer.error;
        codes.progress.push_back(progress);
        isEndless = codes.progress.size() > maxPolls;
        goOn = progress.state == 3 && !isEndless;
        if (goOn && world.pausesBetweenPolls)
            Seconds(1);
    }
    Answer ignored;
    codes.close = Exchange(world.close, ignored);
    Unlock();
}

int EvaluationModel::Open() {
    if (int const refused = Lock())
        return refused;
    int code = 0;
    Answer ignored;
    if (Call("stat", "VeskaClient") != 0)
        code = -1;
    else if (!IsRunning())
        code = -2;
    else if (Exists(&EvaluationModel::request))
        code = -5;
    else
        code = Exchange(world.open, ignored);
    if (code != 0)
        Unlock();
    return code;
}

int EvaluationModel::Lock() {
    if (Call("open", "lockfile") != 0)
        return -6;
    Call("setfd", "lockfile");
    if (Call("setlk", "lockfile") == 0)
        return 0;
    Call("close", "lockfile");
    return -6;
}

void EvaluationModel::Unlock() {
    Call("setlk", "lockfile");
    Call("close", "lockfile");
}

bool EvaluationModel::IsRunning() {
    if (Call("opendir", "proc") != 0)
        return false;
    bool found = false;
    auto process = world.processes.begin();
    while (!found && Call("readdir", "") == 0 && process != world.processes.end()) {
        std::string const& name = *process++;
        bool const isNumber = name == Surroundings::own || std::atol(name.c_str()) != 0;
        if (!isNumber || Call("stat", name) != 0)
            continue;
        // A name that can't be had by the link is that of the command.
        bool named = true;
        if (Call("readlink", "exe") != 0) {
            named = Call("open", "stat") == 0;
            if (named) {
                named = Call("read", "stat") == 0;
                Call("close", "stat");
            }
        }
        ReadHead("status");
        found = named && name == world.agent;
    }
    Call("closedir", "");
    return found;
}

void EvaluationModel::ReadHead(std::string const& name) {
    if (Call("open", name) != 0)
        return;
    Call("read", name);
    Call("close", name);
}

int EvaluationModel::Exchange(Surroundings::Request const& document, Answer& answer) {
    if (!Publish(document)) {
        writeFailed = true;
        return -17;
    }
    bool readFailed = false;
    for (unsigned int const pause : {1000U, 2000U, 4000U, 3000U}) {
        Sleep(pause);
        if (Exists(&EvaluationModel::request))
            continue;
        try {
            answer = ReadResponse();
            return 0;
        } catch (Failure) {
            readFailed = true;
        }
    }
    return readFailed ? -7 : -3;
}

bool EvaluationModel::Publish(Surroundings::Request const& document) {
    try {
        Write(document);
        Retry([this] { ForceMove(); });
        return true;
    } catch (Failure) {
    }
    // What is there is published all the same; and if it can't be, it goes.
    try {
        Retry([this] { ForceMove(); });
    } catch (Failure) {
        try {
            Retry([this] { ForceNonexistence(&EvaluationModel::temporary); });
        } catch (Failure) {
        }
    }
    return false;
}

void EvaluationModel::Write(Surroundings::Request const& document) {
    Must("open", "requestTemp.xml");
    temporary = "";
    Call("setfd", "requestTemp.xml");
    try {
        WritePieces(document);
        Must("fsync", "requestTemp.xml");
    } catch (Failure) {
        Call("close", "requestTemp.xml");
        throw;
    }
    Must("close", "requestTemp.xml");
}

void EvaluationModel::WritePieces(Surroundings::Request const& document) {
    std::size_t from = 0;
    for (std::size_t const size : document.writes) {
        WritePiece("requestTemp.xml", &EvaluationModel::temporary,
                   document.bytes.substr(from, size));
        from += size;
    }
}

void EvaluationModel::WritePiece(std::string const& name, File file, std::string const& bytes) {
    Must("seek", name);
    Must("write", name + ' ' + std::to_string(bytes.size()));
    *(this->*file) += bytes;
}

template <class Operation>
void EvaluationModel::Retry(Operation const& operation) {
    for (unsigned int pause = 16;; pause *= 2) {
        try {
            return operation();
        } catch (Failure) {
            if (pause > 1024)
                throw;
        }
        Sleep(pause);
    }
}

bool EvaluationModel::Exists(File file) {
    return Call("lstat", NameOf(file)) == 0 && (this->*file).has_value();
}

void EvaluationModel::ForceMove() {
    if (!Exists(&EvaluationModel::temporary))
        throw Failure();
    if (Exists(&EvaluationModel::request)) {
        if (!Exists(&EvaluationModel::temporary) || !Exists(&EvaluationModel::request))
            throw Failure();
        ForceNonexistence(&EvaluationModel::request);
    }
    Move();
}

void EvaluationModel::Move() {
    if (!Exists(&EvaluationModel::temporary) || Exists(&EvaluationModel::request))
        throw Failure();
    int const error = Call("rename", "request.xml");
    if (error == 0) {
        // Also over what is there unseen.
        request = std::move(temporary);
        temporary.reset();
    }
    // Any other refusal counts as done.
    if (error == EXDEV)
        Copy();
}

void EvaluationModel::Copy() {
    if (!Exists(&EvaluationModel::temporary) || !Exists(&EvaluationModel::temporary) ||
        Exists(&EvaluationModel::request))
        throw Failure();
    // Exclusively, so what is there unseen is in the way.
    if (Call("open", "request.xml") != 0 || request.has_value())
        throw Failure();
    request = "";
    Call("setfd", "request.xml");
    CopyBytes();
    Exists(&EvaluationModel::temporary);
    Exists(&EvaluationModel::request);
    Must("unlink", "requestTemp.xml");
    temporary.reset();
}

// Both files are closed in any case; what a close says is heard only where nothing has failed yet.
void EvaluationModel::CopyBytes() {
    bool sourceIsOpen = false;
    bool targetIsOpen = true;
    try {
        Must("open", "requestTemp.xml");
        sourceIsOpen = true;
        Call("setfd", "requestTemp.xml");
        ReadWhole(&EvaluationModel::temporary, 65536, [this](std::string const& bytes) {
            WritePiece("request.xml", &EvaluationModel::request, bytes);
        });
        targetIsOpen = false;
        Must("close", "request.xml");
        sourceIsOpen = false;
        Must("close", "requestTemp.xml");
    } catch (Failure) {
        if (sourceIsOpen)
            Call("close", "requestTemp.xml");
        if (targetIsOpen)
            Call("close", "request.xml");
        throw;
    }
}

void EvaluationModel::ForceNonexistence(File file) {
    if (!Exists(file))
        return;
    Must("unlink", NameOf(file));
    (this->*file).reset();
}

Answer EvaluationModel::ReadResponse() {
    Must("open", "response.xml");
    if (!response)
        throw Failure();
    Call("setfd", "response.xml");
    std::string bytes;
    try {
        ReadWhole(&EvaluationModel::response, 65568,
                  [&bytes](std::string const& chunk) { bytes += chunk; });
    } catch (Failure) {
        Call("close", "response.xml");
        throw;
    }
    Must("close", "response.xml");
    for (Answer const& answer : world.answers)
        if (answer.bytes == bytes)
            return answer;
    throw Failure();
}

// A file whose end can't be found by a seek is of unknown length from then on: its end is found by
// reading a byte, and comes as a surprise.
struct EvaluationModel::ReadingPath {
    static constexpr std::size_t unknown = ~std::size_t{0};

    std::size_t Length() {
        if (isUnknown)
            return unknown;
        model.Must("seek", name);
        int const error = model.Call("seek", name);
        isUnknown = error == EINVAL;
        if (isUnknown)
            return unknown;
        if (error != 0)
            throw Failure();
        model.Must("seek", name);
        return size;
    }

    bool HasMore(std::size_t position) {
        std::size_t const length = Length();
        if (length != unknown)
            return position < length;
        return model.Call("seek", name) == 0 && model.Call("read", name) == 0 && position < size;
    }

    EvaluationModel& model;
    std::string const name;
    std::size_t const size;
    bool isUnknown = false;
};

// Asked for its length twice at the start, and before each chunk.
void EvaluationModel::ReadWhole(File file, std::size_t buffer,
                                std::function<void(std::string const&)> const& take) {
    ReadingPath path{*this, NameOf(file), (this->*file)->size()};
    std::size_t const stop = path.Length();
    path.Length();
    for (std::size_t position = 0; position < stop;) {
        if (!path.HasMore(position))
            throw Failure();
        Must("seek", path.name);
        Must("read", path.name);
        std::string const chunk =
            (this->*file)->substr(position, std::min(buffer, stop - position));
        position += chunk.size();
        take(chunk);
    }
}

void EvaluationModel::Sleep(unsigned int milliseconds) {
    if (milliseconds >= 1000)
        Seconds(milliseconds / 1000);
    Call("usleep", std::to_string(milliseconds % 1000 * 1000));
}

void EvaluationModel::Seconds(unsigned int seconds) {
    if (Call("sleep", std::to_string(seconds)) == 0)
        PlayAgent();
}

void EvaluationModel::PlayAgent() {
    if (!request)
        return;
    requestsTaken.push_back(*request);
    if (requestsTaken.size() > world.answers.size())
        return;
    response = world.answers[requestsTaken.size() - 1].bytes;
    request.reset();
}
