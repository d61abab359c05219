// What became of each stage of a run: done, passed over (this version does
// not have its work yet), short of some of its work (a file a tool should
// have made is missing; the run went on) or failed, and why. The run marks where each stage
// begins; what is passed over or fails is set down against the stage in
// hand. The end of the run reads it for its summary and its exit status.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace kestrova {

// The stages of a run, in the order the summary lists them.
enum class RunStage {
    ReadingDisc,
    Demultiplexing,
    VobTyping,
    Subpictures,
    FrameServing,
    Audio,
    Encoding,
    Authoring,
    IfoCorrection,
    CopyingFiles,
    HandOver,
};
inline constexpr std::size_t kRunStageCount = 11;
static_assert(static_cast<std::size_t>(RunStage::HandOver) + 1 == kRunStageCount, "one entry per stage");

// The stage's name as a user reads it ("demultiplexing").
const char* StageName(RunStage stage);

enum class StageOutcome { NotRun, Done, PassedOver, FellShort, Failed };

class StageRecord {
public:
    // A new run: nothing begun.
    void Clear();
    // The run enters `stage`; it is done unless something is passed over or
    // fails while it is in hand. A stage may be entered again (once per menu).
    void Begin(RunStage stage);
    // A step of the stage in hand that this version does not have.
    // Outside any stage (a reader run on its own) nothing is set down.
    void PassOver(const std::string& step);
    // Part of the work of the stage in hand was not made, as `what` says;
    // the run goes on, but does not end as complete.
    void FallShort(const std::string& what);
    // `stage` failed; the first failure of the run is the one kept.
    void Fail(RunStage stage, const std::string& reason);
    // The run reached its end (not a stop and not a failure).
    void End() { ended_ = true; }

    StageOutcome Outcome(RunStage stage) const;
    // The steps passed over in `stage`, each once, in the order met.
    const std::vector<std::string>& PassedOverSteps(RunStage stage) const;
    const std::vector<std::string>& Shortfalls(RunStage stage) const;
    std::optional<RunStage> Current() const { return current_; }
    std::optional<RunStage> FailedStage() const { return failed_; }
    const std::string& FailureReason() const { return failure_; }
    bool AnyPassedOver() const { return passOvers_ > 0; }
    bool AnyShortfall() const;
    // Every step passed over so far, counted each time: a caller compares
    // it before and after its own calls to learn whether they did their work.
    std::size_t PassOverCount() const { return passOvers_; }
    bool Ended() const { return ended_; }

private:
    struct Entry {
        bool Begun = false;
        std::vector<std::string> Steps;
        std::vector<std::string> Shortfalls;
    };
    static std::size_t Index(RunStage stage) { return static_cast<std::size_t>(stage); }

    std::array<Entry, kRunStageCount> entries_{};
    std::optional<RunStage> current_;
    std::optional<RunStage> failed_;
    std::string failure_;
    std::size_t passOvers_ = 0;
    bool ended_ = false;
};

}  // namespace kestrova
