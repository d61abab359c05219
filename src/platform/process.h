// The tool runner: starts a Windows command line through the launcher and
// waits for it while a pump callback keeps the job alive (progress bars,
// the stop button, closing a tool's window). Children are known by the
// window title of their tool, so "closing the window titled X" ends the
// child known as X.
//
// A stop ends the running child with everything it started: each child the
// job starts leads a process group of its own, and a tool that runs
// programs of its own (a stand-in running ffmpeg) keeps them in that group,
// because its runner finds kToolGroupVariable set and asks for no new group.
//
// One thread: the pump runs on the waiting stack, and may itself call
// Stop, RequestStop, CloseWindow or even a nested wait.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

struct rusage;

#include "platform/launcher.h"
#include "platform/ticks.h"

namespace kestrova::platform {

// Set in every child's environment: the child and whatever it starts belong
// to the process group that the job's stop ends.
inline constexpr const char* kToolGroupVariable = "KESTROVA_TOOL_GROUP";

// A started child. It is ended (with its process group) if it is still
// running when it is destroyed, so an exception out of a wait leaves no
// orphan behind.
class ChildProcess {
public:
    using OutputSink = std::function<void(const std::string&)>;

    // Starts the plan's host command, stdin from /dev/null, stdout and
    // stderr to a pipe (or /dev/null without a sink). The child leads a
    // process group of its own, unless this process is itself a tool (its
    // environment has kToolGroupVariable): then the child stays in this
    // process's group. Throws Error naming the program when it cannot be
    // started.
    static std::unique_ptr<ChildProcess> Spawn(const LaunchPlan& plan, bool captureOutput);

    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    int Pid() const { return pid_; }
    const std::string& Title() const { return title_; }
    const std::string& Program() const { return program_; }

    // True once the child has ended (reaps it without blocking).
    bool Ended();
    // The exit status, or 128 + the signal that ended it; -1 while running.
    int ExitCode() const { return exitCode_; }
    // Processor time (user and system) of the child and of the descendants
    // it waited for, in ms; 0 until it has been reaped.
    std::uint64_t CpuMs() const { return cpuMs_; }
    // True when Terminate ended it.
    bool Terminated() const { return terminated_; }

    // Whether the child leads a process group of its own.
    bool OwnsGroup() const { return ownsGroup_; }

    // Ends the child: SIGTERM, then SIGKILL to what is left after the grace
    // time, and reaps it. A child that leads its group is ended with the
    // whole group; one that shares this process's group is ended alone
    // (the group is ended from above, by whoever started this process).
    void Terminate(int graceMs = 500);

    // A descriptor that becomes readable when the child ends, or -1.
    int ExitDescriptor() const { return pidfd_; }
    // The output pipe, or -1 (none, or closed at its end).
    int OutputDescriptor() const { return output_; }
    // Reads what the pipe holds without blocking and hands out whole lines;
    // at the end of the child the rest is handed out too.
    void ReadOutput(const OutputSink& sink);

private:
    ChildProcess() = default;
    void Reap(int status, const struct rusage& usage);

    int pid_ = -1;
    int pidfd_ = -1;
    int output_ = -1;
    int exitCode_ = -1;
    std::uint64_t cpuMs_ = 0;
    bool ended_ = false;
    bool terminated_ = false;
    bool ownsGroup_ = true;
    std::string title_;
    std::string program_;
    std::string pending_;
};

class ProcessRunner {
public:
    using Pump = std::function<void()>;
    using LogSink = std::function<void(const std::string&)>;
    // Runs a batch file plan on this runner's behalf (see BatchInterpreter).
    using BatchRunner = std::function<void(const LaunchPlan& plan, int windowStyle)>;

    // What MsgWaitObj returns when the time-out passed.
    static constexpr int kWaitTimeout = 258;
    // How often the pump is served while waiting.
    static constexpr std::uint32_t kPumpIntervalMs = 100;

    // One line per start (and each note of the batch interpreter).
    struct LaunchRecord {
        std::string CommandLine;
        int WindowStyle = 1;
        LaunchKind Kind = LaunchKind::Host;
        int ExitCode = -1;       // for logs and tests only; no decision uses it
        bool Stopped = false;    // ended by Stop, RequestStop or CloseWindow
        // From the start to the reaped end, by the runner's clock; and the
        // child's processor time with its waited-for descendants. Both 0
        // for a batch file, whose own lines are recorded apart.
        std::uint32_t WallMs = 0;
        std::uint64_t CpuMs = 0;
        Ticks StartTick = 0;     // the runner's clock at the start
        std::string Program;     // the program token as written
    };

    explicit ProcessRunner(const Launcher& launcher) : launcher_(launcher) {}
    ProcessRunner(const ProcessRunner&) = delete;
    ProcessRunner& operator=(const ProcessRunner&) = delete;

    const Launcher& GetLauncher() const { return launcher_; }

    void SetLog(LogSink log) { log_ = std::move(log); }
    // Where the children's stdout and stderr lines go; without a sink they
    // go to /dev/null.
    void SetChildOutput(LogSink sink) { childOutput_ = std::move(sink); }
    // The pump served by waits that were given none.
    void SetPump(Pump pump) { defaultPump_ = std::move(pump); }
    void SetClock(TickClock clock) { clock_ = std::move(clock); }
    void SetBatchRunner(BatchRunner runner) { batchRunner_ = std::move(runner); }

    // Logs "ShellandWait commandline: " and the line, starts it with the
    // window style (0 hidden, 1 normal, 2 minimised, 6 minimised without
    // focus; recorded only) and waits for its end with the pump alive. A
    // batch file runs through the batch runner. Throws Error when the
    // program cannot be started. After RequestStop nothing is started.
    void ShellAndWait(const std::string& commandLine, int windowStyle, const Pump& pump = {});

    // Waits until one of the children ends (returns its index, 0 for the
    // first) or the time-out in ms passes (returns kWaitTimeout); -1 waits
    // without limit. The pump is served at the first pass and then every
    // kPumpIntervalMs. The deadline arithmetic survives the tick wrap.
    int MsgWaitObj(std::int32_t timeoutMs, std::span<ChildProcess* const> handles = {});

    // A wait of 250 ms with the pump alive.
    void pause250() { MsgWaitObj(250); }

    // Ends every running child, each with what it started (Terminate).
    void Stop();
    // Stop, and start nothing more (batches end at their next line) until
    // ResetStop.
    void RequestStop();
    void ResetStop() { stopRequested_ = false; }
    bool StopRequested() const { return stopRequested_; }

    // Whether a running child is known by that title (without regard to case).
    bool WindowExists(const std::string& title) const;
    // Ends the running children known by that title; true if there was one.
    bool CloseWindow(const std::string& title);

    // Serves the current pump once (the batch interpreter does so between
    // its lines).
    void ServePump();
    void Log(const std::string& text) const;

    const std::vector<LaunchRecord>& History() const { return history_; }

private:
    void WaitSlice(std::span<ChildProcess* const> handles, std::uint32_t sliceMs);
    void DrainOutput();

    const Launcher& launcher_;
    LogSink log_;
    LogSink childOutput_;
    Pump defaultPump_;
    const Pump* currentPump_ = nullptr;
    TickClock clock_ = SystemTickClock();
    BatchRunner batchRunner_;
    std::vector<ChildProcess*> running_;
    std::vector<LaunchRecord> history_;
    bool stopRequested_ = false;
};

}  // namespace kestrova::platform
