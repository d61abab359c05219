// Starting children and the pumping wait: see process.h.
#include "platform/process.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/error.h"

extern char** environ;

namespace kestrova::platform {

namespace {

// Without a pidfd the wait looks at the child this often.
constexpr std::uint32_t kPollWithoutPidfdMs = 10;
// After a stopped child has ended, the rest of its group gets this long to
// act on the SIGTERM before it is killed.
constexpr int kGroupSettleMs = 20;

std::string NameOf(const std::string& entry) { return entry.substr(0, entry.find('=')); }

// The parent's environment with the plan's entries set over it.
std::vector<std::string> ChildEnvironment(const std::vector<std::string>& additions) {
    std::vector<std::string> entries;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string text = *entry;
        bool replaced = false;
        for (const auto& addition : additions) replaced = replaced || NameOf(addition) == NameOf(text);
        if (!replaced) entries.push_back(text);
    }
    entries.insert(entries.end(), additions.begin(), additions.end());
    return entries;
}

std::vector<char*> PointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (auto& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
}

// Closes a descriptor it owns on every path out of Spawn.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : fd_(fd) {}
    ~FileDescriptor() { Reset(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int Get() const { return fd_; }
    int Release() { return std::exchange(fd_, -1); }
    void Reset(int fd = -1) {
        if (fd_ >= 0) ::close(fd_);
        fd_ = fd;
    }

private:
    int fd_ = -1;
};

bool GroupIsGone(int pgid) { return ::kill(-pgid, 0) == -1 && errno == ESRCH; }

// Whether this process was started by a runner as a tool (or by such a tool).
bool InsideToolGroup() {
    const char* marker = std::getenv(kToolGroupVariable);
    return marker != nullptr && *marker != '\0';
}

std::string DescribeStartFailure(const LaunchPlan& plan, int error) {
    std::string text = "Cannot start \"" + plan.Program + "\"";
    if (!plan.Argv.empty() && plan.Argv.front() != plan.Program) text += " (host command " + plan.Argv.front() + ")";
    return text + ": " + std::strerror(error);
}

}  // namespace

// ---------------------------------------------------------------- ChildProcess

std::unique_ptr<ChildProcess> ChildProcess::Spawn(const LaunchPlan& plan, bool captureOutput) {
    if (plan.Argv.empty()) throw Error("Cannot start \"" + plan.Program + "\": there is no host command to run");

    FileDescriptor readEnd;
    FileDescriptor writeEnd;
    if (captureOutput) {
        int fds[2];
        if (::pipe2(fds, O_CLOEXEC) != 0) throw Error(DescribeStartFailure(plan, errno));
        readEnd.Reset(fds[0]);
        writeEnd.Reset(fds[1]);
        ::fcntl(readEnd.Get(), F_SETFL, ::fcntl(readEnd.Get(), F_GETFL) | O_NONBLOCK);
    }

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    if (captureOutput) {
        posix_spawn_file_actions_adddup2(&actions, writeEnd.Get(), 1);
        posix_spawn_file_actions_adddup2(&actions, writeEnd.Get(), 2);
    } else {
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_adddup2(&actions, 1, 2);
    }

    // A process group of its own, so that a stop reaches what it starts
    // too, unless this process is a tool: then its children stay in the
    // group that the job's stop ends. The signals a stop sends are not
    // inherited as ignored or blocked.
    const bool ownGroup = !InsideToolGroup();
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    short flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    if (ownGroup) flags |= POSIX_SPAWN_SETPGROUP;
    posix_spawnattr_setflags(&attributes, flags);
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);
    sigset_t defaults;
    sigemptyset(&defaults);
    for (int signal : {SIGTERM, SIGINT, SIGHUP, SIGQUIT, SIGPIPE}) sigaddset(&defaults, signal);
    posix_spawnattr_setsigdefault(&attributes, &defaults);

    std::vector<std::string> arguments = plan.Argv;
    std::vector<std::string> additions = plan.Environment;
    additions.push_back(std::string(kToolGroupVariable) + "=1");
    std::vector<std::string> environment = ChildEnvironment(additions);
    std::vector<char*> argv = PointersTo(arguments);
    std::vector<char*> envp = PointersTo(environment);

    pid_t pid = -1;
    const int result = ::posix_spawnp(&pid, argv[0], &actions, &attributes, argv.data(), envp.data());
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (result != 0) throw Error(DescribeStartFailure(plan, result));

    std::unique_ptr<ChildProcess> child(new ChildProcess());
    child->pid_ = pid;
    child->ownsGroup_ = ownGroup;
    child->title_ = plan.WindowTitle;
    child->program_ = plan.Program;
    child->output_ = readEnd.Release();
    // A pidfd lets the wait wake at the child's end; without one it polls.
    child->pidfd_ = static_cast<int>(::syscall(SYS_pidfd_open, pid, 0));
    return child;
}

ChildProcess::~ChildProcess() {
    if (!Ended()) Terminate();
    if (pidfd_ >= 0) ::close(pidfd_);
    if (output_ >= 0) ::close(output_);
}

void ChildProcess::Reap(int status, const struct rusage& usage) {
    ended_ = true;
    // The child's own time and that of every descendant it waited for.
    const auto millis = [](const timeval& t) {
        return static_cast<std::uint64_t>(t.tv_sec) * 1000u + static_cast<std::uint64_t>(t.tv_usec) / 1000u;
    };
    cpuMs_ = millis(usage.ru_utime) + millis(usage.ru_stime);
    if (WIFEXITED(status)) {
        exitCode_ = WEXITSTATUS(status);
    } else if (WIFSIGNALED(status)) {
        exitCode_ = 128 + WTERMSIG(status);
    }
}

bool ChildProcess::Ended() {
    if (ended_) return true;
    int status = 0;
    struct rusage usage{};
    const pid_t result = ::wait4(pid_, &status, WNOHANG, &usage);
    if (result == pid_) {
        Reap(status, usage);
    } else if (result == -1 && errno == ECHILD) {
        ended_ = true;  // reaped elsewhere; its status is lost
    }
    return ended_;
}

void ChildProcess::Terminate(int graceMs) {
    terminated_ = true;
    // The group's number is the child's pid; a child in this process's own
    // group is signalled alone, since signalling the group would end this
    // process too.
    const int target = ownsGroup_ ? -pid_ : pid_;
    ::kill(target, SIGTERM);
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(graceMs);
    while (!Ended() && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    // Whatever is left of the group (a grandchild that outlived the child,
    // or all of it past the grace time) is killed. The group's number
    // cannot have been reused: ended members that nobody reaped yet still
    // hold it, and a group that is gone makes this a no-op.
    if (!Ended()) {
        ::kill(target, SIGKILL);
    } else if (ownsGroup_ && !GroupIsGone(pid_)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(kGroupSettleMs));
        ::kill(target, SIGKILL);
    }
    if (!ended_) {
        int status = 0;
        struct rusage usage{};
        if (::wait4(pid_, &status, 0, &usage) == pid_) {
            Reap(status, usage);
        } else {
            ended_ = true;
        }
    }
}

void ChildProcess::ReadOutput(const OutputSink& sink) {
    if (output_ < 0) return;
    char buffer[4096];
    for (;;) {
        const ssize_t count = ::read(output_, buffer, sizeof buffer);
        if (count > 0) {
            pending_.append(buffer, static_cast<std::size_t>(count));
            continue;
        }
        if (count == -1 && errno == EINTR) continue;
        if (count == 0 || (count == -1 && errno != EAGAIN && errno != EWOULDBLOCK)) {
            ::close(output_);
            output_ = -1;
        }
        break;
    }
    std::size_t start = 0;
    for (std::size_t end; (end = pending_.find('\n', start)) != std::string::npos; start = end + 1) {
        std::string line = pending_.substr(start, end - start);
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (sink) sink(line);
    }
    pending_.erase(0, start);
    if (output_ < 0 && !pending_.empty()) {
        if (sink) sink(pending_);
        pending_.clear();
    }
}

// --------------------------------------------------------------- ProcessRunner

namespace {

// Makes a pump the current one for the length of a wait.
class PumpScope {
public:
    PumpScope(const ProcessRunner::Pump*& current, const ProcessRunner::Pump& pump)
        : current_(current), saved_(current) {
        if (pump) current_ = &pump;
    }
    ~PumpScope() { current_ = saved_; }
    PumpScope(const PumpScope&) = delete;
    PumpScope& operator=(const PumpScope&) = delete;

private:
    const ProcessRunner::Pump*& current_;
    const ProcessRunner::Pump* saved_;
};

// Keeps a child in the list of running children while it is waited for.
class RunningEntry {
public:
    RunningEntry(std::vector<ChildProcess*>& running, ChildProcess* child) : running_(running), child_(child) {
        running_.push_back(child_);
    }
    ~RunningEntry() { std::erase(running_, child_); }
    RunningEntry(const RunningEntry&) = delete;
    RunningEntry& operator=(const RunningEntry&) = delete;

private:
    std::vector<ChildProcess*>& running_;
    ChildProcess* child_;
};

}  // namespace

void ProcessRunner::Log(const std::string& text) const {
    if (log_) log_(text);
}

void ProcessRunner::ServePump() {
    const Pump* pump = currentPump_ != nullptr ? currentPump_ : &defaultPump_;
    if (*pump) (*pump)();
}

void ProcessRunner::ShellAndWait(const std::string& commandLine, int windowStyle, const Pump& pump) {
    if (stopRequested_) return;
    PumpScope scope(currentPump_, pump);
    Log("ShellandWait commandline: " + commandLine);
    const LaunchPlan plan = launcher_.Plan(commandLine);

    LaunchRecord record{commandLine, windowStyle, plan.Kind, -1, false};
    record.Program = plan.Program;
    record.StartTick = clock_();
    if (plan.Kind == LaunchKind::Batch) {
        if (!batchRunner_) {
            throw Error("Cannot run the batch file \"" + plan.Program + "\": no batch interpreter is set up");
        }
        history_.push_back(record);
        batchRunner_(plan, windowStyle);
        return;
    }

    const auto child = ChildProcess::Spawn(plan, static_cast<bool>(childOutput_));
    {
        RunningEntry entry(running_, child.get());
        ChildProcess* const handles[] = {child.get()};
        MsgWaitObj(-1, handles);
        child->ReadOutput(childOutput_);
    }
    record.ExitCode = child->ExitCode();
    record.Stopped = child->Terminated();
    record.WallMs = TicksElapsed(record.StartTick, clock_());
    record.CpuMs = child->CpuMs();
    history_.push_back(record);
}

int ProcessRunner::MsgWaitObj(std::int32_t timeoutMs, std::span<ChildProcess* const> handles) {
    if (timeoutMs < -1) throw Error("A wait was asked for a negative time-out of " + std::to_string(timeoutMs) + " ms");
    if (timeoutMs == -1 && handles.empty()) throw Error("A wait without a time-out was given nothing to wait for");
    const bool limited = timeoutMs != -1;
    const auto timeout = static_cast<std::uint32_t>(limited ? timeoutMs : 0);

    const Ticks start = clock_();
    Ticks lastPump = start;
    bool pumped = false;
    for (;;) {
        Ticks now = clock_();
        if (limited && TimeoutPassed(start, now, timeout)) return kWaitTimeout;
        if (!pumped || TicksElapsed(lastPump, now) >= kPumpIntervalMs) {
            ServePump();
            pumped = true;
            lastPump = now = clock_();
        }
        for (std::size_t i = 0; i < handles.size(); ++i) {
            if (handles[i]->Ended()) return static_cast<int>(i);
        }
        std::uint32_t slice = kPumpIntervalMs - std::min(TicksElapsed(lastPump, now), kPumpIntervalMs);
        if (limited) slice = std::min(slice, TimeLeft(start, now, timeout));
        WaitSlice(handles, slice);
    }
}

void ProcessRunner::WaitSlice(std::span<ChildProcess* const> handles, std::uint32_t sliceMs) {
    std::vector<pollfd> fds;
    bool everyExitSeen = true;
    for (ChildProcess* child : handles) {
        if (child->ExitDescriptor() >= 0) {
            fds.push_back({child->ExitDescriptor(), POLLIN, 0});
        } else {
            everyExitSeen = false;
        }
    }
    for (ChildProcess* child : running_) {
        if (child->OutputDescriptor() >= 0) fds.push_back({child->OutputDescriptor(), POLLIN, 0});
    }
    if (!everyExitSeen) sliceMs = std::min(sliceMs, kPollWithoutPidfdMs);
    ::poll(fds.data(), fds.size(), static_cast<int>(sliceMs));
    DrainOutput();
}

void ProcessRunner::DrainOutput() {
    for (ChildProcess* child : running_) child->ReadOutput(childOutput_);
}

void ProcessRunner::Stop() {
    for (ChildProcess* child : running_) {
        if (!child->Ended()) child->Terminate();
    }
}

void ProcessRunner::RequestStop() {
    stopRequested_ = true;
    Stop();
}

bool ProcessRunner::WindowExists(const std::string& title) const {
    for (ChildProcess* child : running_) {
        if (!child->Title().empty() && EqualsIgnoreCase(child->Title(), title) && !child->Ended()) return true;
    }
    return false;
}

bool ProcessRunner::CloseWindow(const std::string& title) {
    bool closed = false;
    for (ChildProcess* child : running_) {
        if (child->Title().empty() || !EqualsIgnoreCase(child->Title(), title) || child->Ended()) continue;
        child->Terminate();
        closed = true;
    }
    return closed;
}

}  // namespace kestrova::platform
