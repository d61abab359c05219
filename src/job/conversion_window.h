// The Conversion window without its widgets: the four script boxes, the
// time options (audio stretched with the picture, or audio kept and frames
// converted), the rate options (ConvertFPS or ChangeFPS), and what each
// control does to the scripts. The window draws itself over this.
//
// The window works on the job's own copies. The boxes open with the
// scripts the job holds (`JobContext::ConversionTemplates`); every option
// change goes into those at once, and the time option also into
// `Temp_Settings.ConvertAudio`, so the next run of this process converts as
// the window shows, saved or not. Saving writes the conversion key, whose
// "ConvertAudio" the next start of the program copies into
// `Temp_Settings` (LoadSettingsAtStart).
#pragma once

#include <cstdint>
#include <string>

#include "job/script_templates.h"

namespace kestrova {

struct JobContext;

class ConversionWindow {
public:
    explicit ConversionWindow(JobContext& job);

    // Box 1 to 4: the script of `Conversion1` to `Conversion4`.
    const std::string& Script(int box) const;
    bool AudioStretched() const { return boxes_.ConvertAudio != 0; }
    std::int16_t ConvertFPS() const { return boxes_.ConvertFPS; }
    // The rate options are only offered while the audio is kept.
    bool RateOptionsEnabled() const { return !AudioStretched(); }
    bool Changed() const { return changed_; }

    // The user typed into a box; it is stored with the next option change
    // or the save.
    void EditScript(int box, const std::string& text);

    // The time options. Choosing the option already chosen does nothing.
    // Stretched: every rate step becomes "AssumeFPS" at the DVD rate and
    // the bob and field steps are put out of use with a "#". Kept: the rate
    // steps become the chosen rate option at the field rate and the "#"s
    // come off again.
    void StretchAudio();
    void KeepAudio();

    // The rate options: true for ConvertFPS (blending), false for ChangeFPS
    // (frames dropped or repeated). False, with nothing changed, while the
    // audio is stretched and the options are disabled.
    bool ChooseRate(bool convertFps);

    // `OldText` becomes `NewText` in all four boxes, which are then stored
    // in the job's scripts.
    void ReplaceAVS(const std::string& NewText, const std::string& OldText);

    // Writes "Version", the four scripts, "ConvertAudio" and "ConvertFPS"
    // under the conversion key.
    void Save();
    // Asks "This will reset scripts and delete any registry scripts"; on
    // yes deletes the key and shows the defaults. False when declined.
    bool Reset();
    // Shows what is saved (the defaults when no "Version" is saved).
    void Restore();
    // Leaving: with changes, asks whether to save them. True when saved.
    bool Leave();

private:
    void Show(const ConversionScripts& scripts);
    void StoreScripts();
    void StoreOptions();
    template <typename Change>
    void ChangeScripts(Change change);

    JobContext& job_;
    ConversionScripts boxes_;
    bool changed_ = false;
};

}  // namespace kestrova
