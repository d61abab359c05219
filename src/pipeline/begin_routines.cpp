// Pre-flight checks, the end of a run, stopping and ending the program.
#include "pipeline/pipeline.h"

#include <cstdlib>

#include "job/folders.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/settings.h"
#include "job/tool_profile.h"

namespace kestrova {

using platform::MessageKind;
using platform::RegistryRoot;

namespace {

constexpr const char* kDecrypterKey = "Software\\DVD Decrypter";

// A refusal: the message, the bars back to 0, the run no longer running.
void Refuse(JobContext& job, const std::string& text, const std::string& title, MessageKind kind) {
    job.Questions.ShowMessage(text, title, kind);
    WLOG(job, text);
    ResetProgress(job);
    UpdateProgress(job, 0, 0, "", true, false);
    job.JobRunning = 0;
}

bool ProgramFileExists(JobContext& job, const std::string& name) {
    return ToolPresent(job, job.ProgramFolder + "\\" + name);
}

// The version text of DVD Decrypter must be 3.5 with a later part above 0.
bool DecrypterVersionUsable(const std::string& version) {
    if (version.empty() || version.compare(0, 3, "3.5") != 0) return false;
    const std::string rest = version.size() > 4 ? version.substr(4) : std::string();
    return std::strtod(rest.c_str(), nullptr) > 0;
}

}  // namespace

void SetDecrypterTray(JobContext& job, bool restore) {
    auto& state = job.State();
    if (restore) {
        if (state.ResetDVDDEC != 0) {
            job.Registry.SaveDword(RegistryRoot::CurrentUser, kDecrypterKey, "DEVICE_EjectTrayRead", 1);
            state.ResetDVDDEC = 0;
        }
        return;
    }
    if (job.Registry.getdword(RegistryRoot::CurrentUser, kDecrypterKey, "DEVICE_EjectTrayRead") == 1) {
        job.Registry.SaveDword(RegistryRoot::CurrentUser, kDecrypterKey, "DEVICE_EjectTrayRead", 0);
        state.ResetDVDDEC = -1;
    }
}

bool CheckEncoder(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Pipeline", "CheckEncoder");
    const auto& options = job.Options();
    bool result = false;
    if (options.No_ReEncode == 0) {
        struct Pair {
            std::int16_t Use;
            const std::string& Path;
        };
        const Pair pairs[] = {{options.UseCCE, options.CCEPath},
                              {options.UseProcoder, options.ProcoderPath},
                              {options.UseQuenc, options.QuencPath},
                              {options.UseRejig, options.RejigPath},
                              {options.UseHC, options.HCPath}};
        for (const auto& pair : pairs) {
            if (pair.Use == 1 && !pair.Path.empty()) {
                result = ToolPresent(job, pair.Path);
                break;
            }
        }
    } else {
        result = true;
        if (options.Conversion == 1) {
            job.Questions.ShowMessage("Use Original Assets cannot be used in a Format Conversion", "Kestrova",
                                      MessageKind::Critical);
            result = false;
        }
    }
    if (!ProgramFileExists(job, "revpulldown.exe")) {
        job.Questions.ShowMessage("REVPULLDOWN.EXE HAS BEEN REMOVED FROM DIR - PROGRAM STOPPED", "Kestrova",
                                  MessageKind::Critical);
        result = false;
    }
    if (options.UseRejig == 1 && options.Conversion == 1) {
        job.Questions.ShowMessage(
            "Rejig cannot be used in a Format Conversion, please select CCE, Procoder, Quenc or HC Encoder",
            "Kestrova", MessageKind::Critical);
        result = false;
    }
    return result;
}

void BeginRoutines(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Pipeline", "BeginRoutines");
    auto& options = job.Options();
    auto& state = job.State();
    job.JobRunning = -1;
    if (job.GoCaption == kBeginRecovery) {
        // The recovery window's choice stands in state.Recover and the
        // RecoveryVTS/RecoveryModule fields, set by LoadData.
    } else {
        state.Recover = 0;
    }

    if (job.ScenaristVersion.empty() && options.Muxman == 0 && state.NoAuthor == 0) {
        Refuse(job, "Scenarist is NOT installed and Muxman is not set for authoring - unable to process", "Kestrova",
               MessageKind::Critical);
        return;
    }

    const std::string decrypter = RegisteredToolFolder(job, "DVDDecrypter.exe") + "\\DVDDecrypter.exe";
    SetDecrypterTray(job, false);
    const std::string version = ToolVersion(job, decrypter);

    if (options.EnableReBuilder == 1 && options.Reverse == 0 && options.SourceCopy == 0) {
        const bool goOn = job.Questions.AskYesNo(
            "Incorrect File copying has been identified,\r\nthere will not be a full Working Directory for ReBuilder, "
            "Continue anyway?",
            "ReBuilder Error", true);
        if (!goOn) {
            // The question was the message.
            SetDecrypterTray(job, true);
            ResetProgress(job);
            job.JobRunning = 0;
            return;
        }
    }
    if (!DecrypterVersionUsable(version)) {
        SetDecrypterTray(job, true);
        Refuse(job, "Unable to locate DVD Decrypter or unsupported version (must be 3.5.1.0 +)", "Kestrova",
               MessageKind::Critical);
        return;
    }
    if (job.OutputFolder.empty()) {
        SetDecrypterTray(job, true);
        job.JobRunning = 0;
        return;
    }
    if (!CheckEncoder(job)) {
        SetDecrypterTray(job, true);
        Refuse(job, "No Encoder selected / Encoder Path not found or incompatable encoder", "Encoder Error",
               MessageKind::Critical);
        return;
    }

    SetSave(job.Registry, options);
    job.Runner.ResetStop();
    StartKestrova(job);
    SetDecrypterTray(job, true);
    ProgramUse(job, 0);

    if (job.StopRequested != 0) {
        job.DiscModel.Clear();
        job.TitleMap.Clear();
        job.PalettePool.Clear();
        job.TitleCommands.Clear();
        job.StopRequested = 0;
    } else if (job.CloseAfterJob != 0 || options.Default_Close_Kestrova == 1) {
        SetSave(job.Registry, options);
        TerminateProgram(job);
    }
    ResetProgress(job);
    UpdateProgress(job, 0, 0, "", true, false);
    job.JobRunning = 0;
}

void AbortJob(JobContext& job, bool ccePhrase) {
    const std::string text =
        ccePhrase ? "SOMETHING WENT WRONG WITH CCE ENCODING - ABORTING" : "SOMETHING WENT WRONG - ABORTING";
    job.Questions.ShowMessage(text, "Kestrova", MessageKind::Critical);
    WLOG(job, text);
    // The stage in hand is the one that went wrong.
    job.Stages.Fail(job.Stages.Current().value_or(RunStage::Authoring), text);
    ProgramUse(job, 0);
    job.DiscModel.Clear();
    job.CloseAfterJob = -1;
}

void ProgramUse(JobContext& job, std::int16_t running) {
    job.View.SetRunning(running != 0);
    if (running == 0) {
        job.JobRunning = 0;
        job.View.SetMinimized(false);
    }
}

void StopProcess(JobContext& job) {
    for (const char* title : {"DVD Decrypter", "VobSub Ripper Wizard", "DVD2AVI", "EclCCE"}) {
        if (job.Runner.WindowExists(title)) job.Runner.CloseWindow(title);
    }
}

bool RequestStop(JobContext& job) {
    if (job.JobRunning == 0) return false;
    if (!job.Questions.AskYesNo("Confirm Stop Processing - Are You Sure?", "Quit?", true)) return false;
    StopProcess(job);
    job.StopRequested = -1;
    WLOG(job, "Job Stopped");
    job.Text2.clear();
    job.OutputFolder.clear();
    job.JobRunning = 0;
    job.ClosingDown = -1;
    // The tool still running ends now, and nothing new starts.
    job.Runner.RequestStop();
    return true;
}

void TerminateProgram(JobContext& job) {
    if (job.Terminated) return;
    job.Terminated = true;
    SetSave(job.Registry, job.Options());
    job.ClosingDown = -1;
    job.DiscModel.Clear();
    job.TitleMap.Clear();
    job.PalettePool.Clear();
    job.TitleCommands.Clear();
}

void EnablePause(JobContext& job) {
    if (job.State().Pause == 0 && job.Options().Default_Pause != 1) return;
    const bool minimize = job.State().WindowState == 0;
    WLOG(job, "Kestrova is paused");
    if (minimize) job.View.SetMinimized(true);
    job.Questions.ShowMessage("Kestrova Paused for AVS script verification!\r\nPress OK to Resume when ready",
                              "Kestrova is Paused", MessageKind::Information);
    if (minimize) job.View.SetMinimized(false);
}

}  // namespace kestrova
