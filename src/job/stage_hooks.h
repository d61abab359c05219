// Stages handed in by a caller. Where a stage calls one that lives in a
// library above its own, the caller passes that call in as a member of a
// small struct of callables; an empty member is a stage this version does
// not have yet, which is logged, never taken for a success.
#pragma once

#include <functional>
#include <string>
#include <type_traits>

#include "job/log_writers.h"

namespace kestrova {

// Runs the handed-in stage, or logs that `name` is not yet available and
// gives `passedOver`.
template <typename Result, typename... Args>
Result RunHandedStage(JobContext& job, const std::function<Result(JobContext&, Args...)>& stage,
                      const std::string& name, std::type_identity_t<Result> passedOver,
                      std::type_identity_t<Args>... args) {
    if (!stage) {
        NotYetAvailable(job, name);
        return passedOver;
    }
    return stage(job, args...);
}

template <typename... Args>
void RunHandedStage(JobContext& job, const std::function<void(JobContext&, Args...)>& stage, const std::string& name,
                    std::type_identity_t<Args>... args) {
    if (!stage) {
        NotYetAvailable(job, name);
        return;
    }
    stage(job, args...);
}

}  // namespace kestrova
