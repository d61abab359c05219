// Settings at program start: see settings_start.h.
#include "job/settings_start.h"

#include "job/folders.h"
#include "job/log_writers.h"
#include "job/option_lists.h"
#include "job/script_templates.h"
#include "job/version.h"
#include "platform/clock.h"

namespace kestrova {

using platform::RegistryRoot;

namespace {

bool Usable(JobContext& job, const std::string& path) { return !path.empty() && job.Files.FileExists(path); }

void ListLine(JobContext& job, const std::string& text) {
    job.View.AddListLine(platform::LocalTimeText() + text);
}

// Each encoder is offered only when its program is there; the one chosen
// and usable is named in the log list.
void CheckEncoders(JobContext& job) {
    auto& options = job.Options();
    struct Encoder {
        std::int16_t& Use;
        const std::string& Path;
        const char* Told;
    };
    const Encoder encoders[] = {
        {options.UseCCE, options.CCEPath, "Cinema Craft Encoder is the default encoder"},
        {options.UseProcoder, options.ProcoderPath, "Procoder is the default encoder"},
        {options.UseQuenc, options.QuencPath, "Quenc is the default encoder"},
        {options.UseRejig, options.RejigPath, "Rejig is the default encoder"},
        {options.UseHC, options.HCPath, "HC is the default encoder"},
    };
    for (const auto& encoder : encoders) {
        if (!Usable(job, encoder.Path)) {
            encoder.Use = 0;
        } else if (encoder.Use == 1) {
            LogWindow(job, encoder.Told);
        }
    }
}

}  // namespace

StartVerdict LoadSettingsAtStart(JobContext& job) {
    job.ScenaristVersion = job.Registry.getstring(RegistryRoot::LocalMachine, "Software\\Sonic\\Scenarist\\Automate",
                                                  "Active");
    auto& options = job.Options();
    // Without saved settings the option windows would choose their defaults
    // when first opened; a run without them uses those.
    if (LoadStoredSettings(job.Registry, options)) ApplyOptionDefaults(options);
    if (const std::string outside = WorkOutOptionValues(options); !outside.empty()) {
        LogWindow(job, "Stored option list entries out of range were set to their defaults: " + outside);
    }
    job.AvisynthScripts = LoadAvsScripts(job.Registry, job.ProgramFolder, kProgramVersion);
    job.ConversionTemplates = LoadConversionScripts(job.Registry, job.ProgramFolder, kProgramVersion);

    // A stored SoftEncode choice whose program vanished falls back to BeSweet.
    if (options.Audio_SoftEncode == 1 && !Usable(job, options.Audio_SoftEncode_Path)) {
        options.Audio_SoftEncode = 0;
        options.Audio_Besweet = 1;
    }
    if (!Usable(job, options.RebuilderPath)) options.EnableReBuilder = 0;
    CheckEncoders(job);

    LogWindow(job, options.Muxman == 1 ? "Muxman set for authoring" : "Scenarist set for authoring");
    // The native tools author with their own engine, which reads the scripts
    // written for Scenarist 3.0 when Scenarist itself is not installed.
    if (job.ScenaristVersion.empty() && job.Tools == ToolProfile::Native) {
        job.ScenaristVersion = kNativeScenaristVersion;
        LogWindow(job, "Scenarist is not installed - the native authoring engine takes its scripts");
    }

    const std::string avisynth = job.SystemFolder + "\\Avisynth.dll";
    if (job.Files.FileExists(avisynth)) {
        options.Avisynth_Version = VersionOfFile(job, avisynth);
        if (options.Avisynth_Version.rfind("2.0", 0) == 0) {
            job.Questions.ShowMessage("UNSUPPORTED VERSION OF AVISYNTH\r\nInstall Avisynth 2.5+ and restart", "Kestrova",
                                      platform::MessageKind::Critical);
            return StartVerdict::MustEnd;
        }
        ListLine(job, " Avisynth version " + options.Avisynth_Version + " detected");
    } else {
        ListLine(job, " WARNING!! Avisynth not detected - VIDEO ENCODING DISABLED - AUTHOR USING ORIGINAL ASSETS ENABLED");
        options.No_ReEncode = 1;
    }

    if (options.Audio_SoftEncode == 1) ListLine(job, " SoftEncode available");

    // The shell verbs that open a disc or a folder with this program.
    const std::string program = "\"" + job.Files.Paths().GetShortPath(job.ProgramFolder) + "\\Kestrova.exe\"";
    job.Registry.savestring(RegistryRoot::LocalMachine, "SOFTWARE\\Classes\\DVD\\shell\\Open with Kestrova\\Command", "",
                            program + " Load=\"%1\"");
    if (job.Files.FileExists(job.ProgramFolder + "\\PGCDemux.exe")) {
        job.Registry.savestring(RegistryRoot::ClassesRoot, "Directory\\shell\\Open with Kestrova\\Command", "",
                                program + " Folder=%1");
    }
    return StartVerdict::Ready;
}

}  // namespace kestrova
