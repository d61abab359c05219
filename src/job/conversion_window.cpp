// The Conversion window's model: see conversion_window.h.
#include "job/conversion_window.h"

#include "job/context.h"
#include "job/version.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// The steps a stretched conversion leaves out: the bob, and the fields
// that make an interlaced frame of two frames. The words are matched
// wherever they stand, in a user's own lines and inside longer names too.
constexpr const char* kFieldWords[] = {"Separate", "SelectEvery", "Weave", "Kernelbob"};

// A "#" before each `word` that has none in front of it already, so that a
// step put out of use by hand, or by an earlier choice, keeps one "#" and
// switching the time option there and back gives the same text.
void PutHashBefore(std::string& text, const std::string& word) {
    for (auto at = text.find(word); at != std::string::npos; at = text.find(word, at + word.size())) {
        if (at > 0 && text[at - 1] == '#') continue;
        text.insert(at, 1, '#');
        ++at;
    }
}

// Box 1 to 4 of the scripts; throws for any other number.
template <typename Scripts>
auto& Box(Scripts& scripts, int box) {
    switch (box) {
        case 1: return scripts.Conversion1;
        case 2: return scripts.Conversion2;
        case 3: return scripts.Conversion3;
        case 4: return scripts.Conversion4;
        default: throw Error("The Conversion window has no script box " + std::to_string(box));
    }
}

constexpr const char* kLeaveQuestion = "Options have been altered. Do you wish to save these settings?";
constexpr const char* kResetQuestion = "This will reset scripts and delete any registry scripts";

}  // namespace

ConversionWindow::ConversionWindow(JobContext& job) : job_(job), boxes_(job.ConversionTemplates) {
    boxes_.ConvertAudio = job.State().ConvertAudio != 0 ? -1 : 0;
}

const std::string& ConversionWindow::Script(int box) const { return Box(boxes_, box); }

void ConversionWindow::EditScript(int box, const std::string& text) {
    Box(boxes_, box) = text;
    changed_ = true;
}

template <typename Change>
void ConversionWindow::ChangeScripts(Change change) {
    for (int box = 1; box <= 4; ++box) change(Box(boxes_, box));
    StoreScripts();
}

void ConversionWindow::ReplaceAVS(const std::string& NewText, const std::string& OldText) {
    ChangeScripts([&](std::string& script) { platform::ReplaceAll(script, OldText, NewText); });
}

void ConversionWindow::StretchAudio() {
    if (AudioStretched()) return;
    boxes_.ConvertAudio = -1;
    StoreOptions();
    ReplaceAVS("AssumeFPS", "ConvertFPS");
    ReplaceAVS("AssumeFPS", "ChangeFPS");
    for (const char* word : kFieldWords) ChangeScripts([word](std::string& script) { PutHashBefore(script, word); });
    ReplaceAVS("AssumeFPS(29.97)", "AssumeFPS(59.94)");
    ReplaceAVS("AssumeFPS(25)", "AssumeFPS(50)");
}

void ConversionWindow::KeepAudio() {
    if (!AudioStretched()) return;
    boxes_.ConvertAudio = 0;
    StoreOptions();
    const std::string rate = boxes_.ConvertFPS == 1 ? "ConvertFPS" : "ChangeFPS";
    ReplaceAVS(rate, "AssumeFPS");
    ReplaceAVS(rate + "(59.94)", rate + "(29.97)");
    ReplaceAVS(rate + "(50)", rate + "(25)");
    for (const char* word : kFieldWords) ReplaceAVS(word, std::string("#") + word);
}

bool ConversionWindow::ChooseRate(bool convertFps) {
    if (!RateOptionsEnabled()) return false;
    const std::int16_t chosen = convertFps ? 1 : 0;
    if (boxes_.ConvertFPS == chosen) return true;
    boxes_.ConvertFPS = chosen;
    StoreOptions();
    if (convertFps) {
        ReplaceAVS("ConvertFPS", "ChangeFPS");
    } else {
        ReplaceAVS("ChangeFPS", "ConvertFPS");
    }
    return true;
}

void ConversionWindow::StoreScripts() {
    auto& stored = job_.ConversionTemplates;
    stored.Conversion1 = boxes_.Conversion1;
    stored.Conversion2 = boxes_.Conversion2;
    stored.Conversion3 = boxes_.Conversion3;
    stored.Conversion4 = boxes_.Conversion4;
    changed_ = true;
}

void ConversionWindow::StoreOptions() {
    job_.ConversionTemplates.ConvertAudio = boxes_.ConvertAudio;
    job_.ConversionTemplates.ConvertFPS = boxes_.ConvertFPS;
    job_.State().ConvertAudio = boxes_.ConvertAudio;
    changed_ = true;
}

// Scripts and options shown and taken by the job as they are, with
// nothing left to save.
void ConversionWindow::Show(const ConversionScripts& scripts) {
    boxes_ = scripts;
    StoreScripts();
    StoreOptions();
    changed_ = false;
}

void ConversionWindow::Save() {
    boxes_.Version = kProgramVersion;
    job_.ConversionTemplates.Version = boxes_.Version;
    StoreScripts();
    StoreOptions();
    SaveConversionScripts(job_.Registry, boxes_);
    changed_ = false;
}

bool ConversionWindow::Reset() {
    if (!job_.Questions.AskYesNo(kResetQuestion, kProgramName, true)) return false;
    job_.Registry.DeleteKey(platform::RegistryRoot::CurrentUser, kConversionKey);
    Show(DefaultConversionScripts(job_.ProgramFolder, kProgramVersion));
    return true;
}

void ConversionWindow::Restore() {
    Show(LoadConversionScripts(job_.Registry, job_.ProgramFolder, kProgramVersion));
}

bool ConversionWindow::Leave() {
    if (!changed_ || !job_.Questions.AskYesNo(kLeaveQuestion, kProgramName, true)) return false;
    Save();
    return true;
}

}  // namespace kestrova
