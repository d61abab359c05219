// Trace facility: see trace.h.
#include "platform/trace.h"

namespace kestrova::platform {

void Trace::Emit(const std::string& text) {
    if (sink_) sink_(text);
}

void Trace::Enter(const std::string& module, const std::string& procedure) {
    stack_.push_back({module, procedure});
    if (verbose_) Emit("enter " + module + "." + procedure);
}

void Trace::Leave(const std::string& module, const std::string& procedure) {
    // Leave the innermost matching frame; frames above it were left by an
    // exception and go with it.
    for (auto it = stack_.rbegin(); it != stack_.rend(); ++it) {
        if (it->Module == module && it->Procedure == procedure) {
            stack_.erase(std::next(it).base(), stack_.end());
            break;
        }
    }
    if (verbose_) Emit("leave " + module + "." + procedure);
}

void Trace::Report(const std::string& error, int line, const std::string& module, const std::string& procedure,
                   int value) {
    std::string text = "Error in " + module + "." + procedure + " at line " + std::to_string(line) + ": " + error +
                       " (" + std::to_string(value) + ")";
    if (!stack_.empty()) {
        text += "; call stack:";
        for (const auto& frame : stack_) text += " " + frame.Module + "." + frame.Procedure;
    }
    reports_.push_back(text);
    Emit(text);
}

void Trace::Unwound() {
    if (thrownFrom_.empty()) thrownFrom_ = stack_;
}

void Trace::ReportUnwound(const std::string& error, const std::string& module, const std::string& procedure) {
    if (thrownFrom_.empty()) {
        Report(error, 0, module, procedure);
        return;
    }
    const std::vector<Frame> caught = std::move(stack_);
    stack_ = std::move(thrownFrom_);
    thrownFrom_.clear();
    const Frame innermost = stack_.back();
    Report(error, 0, innermost.Module, innermost.Procedure);
    stack_ = caught;
}

}  // namespace kestrova::platform
