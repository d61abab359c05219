// Stop signals noted for the job: see stop_signals.h.
#include "platform/stop_signals.h"

namespace kestrova::platform {

namespace {

constexpr int kStopSignals[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t caughtSignal = 0;

void NoteStopSignal(int signal) { caughtSignal = signal; }

}  // namespace

StopSignals::StopSignals() {
    caughtSignal = 0;
    struct sigaction action {};
    action.sa_handler = NoteStopSignal;
    sigemptyset(&action.sa_mask);
    // Interrupted reads and writes go on; the waits look at the note within
    // their pump interval.
    action.sa_flags = SA_RESTART;
    for (int i = 0; i < 3; ++i) sigaction(kStopSignals[i], &action, &previous_[i]);
}

StopSignals::~StopSignals() {
    for (int i = 0; i < 3; ++i) sigaction(kStopSignals[i], &previous_[i], nullptr);
}

int TakeStopSignal() {
    const int signal = caughtSignal;
    if (signal != 0) caughtSignal = 0;
    return signal;
}

std::string StopSignalName(int signal) {
    switch (signal) {
        case SIGINT: return "SIGINT";
        case SIGTERM: return "SIGTERM";
        case SIGHUP: return "SIGHUP";
        default: return "signal " + std::to_string(signal);
    }
}

}  // namespace kestrova::platform
