// The trace facility: every procedure of the job reports its module and
// name on entry and exit, and an unexpected failure is reported with the
// error, the line, the module and the procedure before the job ends
// cleanly. The frames form a stack, so a report says where it happened.
#pragma once

#include <exception>
#include <functional>
#include <string>
#include <vector>

namespace kestrova::platform {

class Trace {
public:
    struct Frame {
        std::string Module;
        std::string Procedure;
    };

    // Where reports (and, when verbose, every enter and leave) go.
    void SetSink(std::function<void(const std::string&)> sink) { sink_ = std::move(sink); }
    void SetVerbose(bool verbose) { verbose_ = verbose; }

    void Enter(const std::string& module, const std::string& procedure);
    void Leave(const std::string& module, const std::string& procedure);
    // An unexpected failure: the error's text, the source line, where, and
    // the value the convention passes (1).
    void Report(const std::string& error, int line, const std::string& module, const std::string& procedure,
                int value = 1);
    // The report of a failure that was thrown through frames and caught
    // outside them: it names the innermost frame it left and the stack it
    // was thrown from. Without such a frame it names `module.procedure`.
    void ReportUnwound(const std::string& error, const std::string& module, const std::string& procedure);
    // A frame left by an exception; the first one after a report keeps the
    // stack as it was where the exception was thrown.
    void Unwound();

    const std::vector<Frame>& Stack() const { return stack_; }
    const std::vector<std::string>& Reports() const { return reports_; }

private:
    void Emit(const std::string& text);

    std::function<void(const std::string&)> sink_;
    bool verbose_ = false;
    std::vector<Frame> stack_;
    std::vector<Frame> thrownFrom_;
    std::vector<std::string> reports_;
};

// Enter on construction, Leave on destruction, also when an exception
// passes through, which is noted so the report can say where it came from.
class TraceFrame {
public:
    TraceFrame(Trace& trace, std::string module, std::string procedure)
        : trace_(trace), module_(std::move(module)), procedure_(std::move(procedure)),
          exceptions_(std::uncaught_exceptions()) {
        trace_.Enter(module_, procedure_);
    }
    ~TraceFrame() {
        if (std::uncaught_exceptions() > exceptions_) trace_.Unwound();
        trace_.Leave(module_, procedure_);
    }
    TraceFrame(const TraceFrame&) = delete;
    TraceFrame& operator=(const TraceFrame&) = delete;

private:
    Trace& trace_;
    std::string module_;
    std::string procedure_;
    int exceptions_;
};

}  // namespace kestrova::platform
