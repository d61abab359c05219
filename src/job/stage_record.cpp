// The record of a run's stages: see stage_record.h.
#include "job/stage_record.h"

#include <algorithm>

namespace kestrova {

const char* StageName(RunStage stage) {
    switch (stage) {
    case RunStage::ReadingDisc: return "reading the disc";
    case RunStage::Demultiplexing: return "demultiplexing";
    case RunStage::VobTyping: return "VOB typing";
    case RunStage::Subpictures: return "subpictures and buttons";
    case RunStage::FrameServing: return "frame serving";
    case RunStage::Audio: return "audio";
    case RunStage::Encoding: return "encoding";
    case RunStage::Authoring: return "authoring";
    case RunStage::IfoCorrection: return "IFO correction";
    case RunStage::CopyingFiles: return "copying the remaining files";
    case RunStage::HandOver: return "hand-over";
    }
    return "?";
}

void StageRecord::Clear() { *this = StageRecord(); }

void StageRecord::Begin(RunStage stage) {
    entries_[Index(stage)].Begun = true;
    current_ = stage;
}

void StageRecord::PassOver(const std::string& step) {
    if (!current_) return;
    ++passOvers_;
    auto& steps = entries_[Index(*current_)].Steps;
    if (std::find(steps.begin(), steps.end(), step) == steps.end()) steps.push_back(step);
}

void StageRecord::FallShort(const std::string& what) {
    if (current_) entries_[Index(*current_)].Shortfalls.push_back(what);
}

void StageRecord::Fail(RunStage stage, const std::string& reason) {
    entries_[Index(stage)].Begun = true;
    if (failed_) return;
    failed_ = stage;
    failure_ = reason;
}

StageOutcome StageRecord::Outcome(RunStage stage) const {
    if (failed_ == stage) return StageOutcome::Failed;
    const Entry& entry = entries_[Index(stage)];
    if (!entry.Begun) return StageOutcome::NotRun;
    if (!entry.Shortfalls.empty()) return StageOutcome::FellShort;
    return entry.Steps.empty() ? StageOutcome::Done : StageOutcome::PassedOver;
}

const std::vector<std::string>& StageRecord::PassedOverSteps(RunStage stage) const {
    return entries_[Index(stage)].Steps;
}

const std::vector<std::string>& StageRecord::Shortfalls(RunStage stage) const {
    return entries_[Index(stage)].Shortfalls;
}

bool StageRecord::AnyShortfall() const {
    return std::any_of(entries_.begin(), entries_.end(), [](const Entry& entry) { return !entry.Shortfalls.empty(); });
}

}  // namespace kestrova
