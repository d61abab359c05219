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

}  // namespace kestrova::platform
