#include "companions/StopSignals.h"

#include <csignal>
#include <signal.h>

namespace {

volatile std::sig_atomic_t firstSignal = 0;

// A signal raised in its own handler comes when the handler is done, and then finds the default.
void NoteSignal(int signal) {
    if (firstSignal == 0) {
        firstSignal = signal;
        return;
    }
    static_cast<void>(std::signal(signal, SIG_DFL));
    static_cast<void>(raise(signal));
}

void Catch(int signal) {
    struct sigaction before {};
    sigaction(signal, nullptr, &before);
    if (before.sa_handler == SIG_IGN)
        return;
    struct sigaction action {};
    action.sa_handler = NoteSignal;
    sigaction(signal, &action, nullptr);
}

} // namespace

void CatchStopSignals() {
    Catch(SIGINT);
    Catch(SIGTERM);
    static_cast<void>(std::signal(SIGPIPE, SIG_IGN));
}

int StopSignal() { return firstSignal; }

char const* NameOfStopSignal(int signal) { return signal == SIGINT ? "SIGINT" : "SIGTERM"; }
