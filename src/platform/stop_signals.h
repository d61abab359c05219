// A stop asked of the whole process from outside: Ctrl-C on the terminal
// (SIGINT), a closed terminal (SIGHUP), or kill's and timeout's SIGTERM.
// Left to their default these end the program at once, and the tool it is
// waiting for runs on in a process group of its own. While a StopSignals
// lives they are only noted; the job takes the note where it serves its
// input and stops as a confirmed stop does, which ends the running tool
// with everything that tool started.
#pragma once

#include <csignal>
#include <string>

namespace kestrova::platform {

class StopSignals {
public:
    // Catches the three signals, forgetting any caught before.
    StopSignals();
    // Puts the earlier handling of the three signals back.
    ~StopSignals();
    StopSignals(const StopSignals&) = delete;
    StopSignals& operator=(const StopSignals&) = delete;

private:
    struct sigaction previous_[3];
};

// The stop signal caught since the last call (0 when none), and forgets it.
int TakeStopSignal();

// "SIGINT", "SIGTERM", "SIGHUP"; others by number.
std::string StopSignalName(int signal);

}  // namespace kestrova::platform
