// Settings at program start: see settings_start.h.
#include "job/settings_start.h"

#include "job/folders.h"
#include "job/log_writers.h"
#include "job/option_lists.h"
#include "job/script_templates.h"
#include "job/tool_profile.h"
#include "job/version.h"
#include "platform/clock.h"
#include "platform/error.h"

namespace kestrova {

using platform::RegistryRoot;

namespace {

bool Usable(JobContext& job, const std::string& path) { return !path.empty() && job.Files.FileExists(path); }

// An encoder is usable when its program is there or runs as an equivalent.
bool EncoderUsable(const JobContext& job, const std::string& path) { return !path.empty() && ToolPresent(job, path); }

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
        if (!EncoderUsable(job, encoder.Path)) {
            encoder.Use = 0;
        } else if (encoder.Use == 1) {
            LogWindow(job, encoder.Told);
        }
    }
}

}  // namespace

void CreateECLFile(JobContext& job, const std::string& CcePath) {
    job.Files.WriteText(job.ProgramFolder + "\\EclCCE.ini", "[EclCCE]\r\nCCE=" + CcePath + "\r\n");
}

namespace {

// The identity of the CCE at `state.CCEPath`: its version, product name and
// build, told in the log list. "" when the program is not there.
std::string ReadCceIdentity(JobContext& job) {
    auto& state = job.State();
    if (!ToolPresent(job, state.CCEPath)) return {};
    state.CCEVersion = ToolVersion(job, state.CCEPath);
    state.ProductName = ToolDescription(job, state.CCEPath);
    state.CCEBasic = platform::ToUpperAscii(state.ProductName).find("BASIC") != std::string::npos ? -1 : 0;
    ListLine(job, "CCE Product selected is : " + state.ProductName + " " + state.CCEVersion);
    return state.ProductName + " " + state.CCEVersion;
}

}  // namespace

std::string LoadCceFromIni(JobContext& job) {
    auto& options = job.Options();
    auto& state = job.State();
    const std::string ini = job.ProgramFolder + "\\EclCCE.ini";
    // A path stored without its EclCCE.ini (settings carried over from
    // another machine) gets one, as choosing the path would have written;
    // a program folder that cannot be written to keeps the stored path.
    if (!job.Files.FileExists(ini) && !options.CCEPath.empty()) {
        try {
            CreateECLFile(job, options.CCEPath);
        } catch (const Error& failure) {
            ListLine(job, std::string(" EclCCE.ini cannot be written: ") + failure.what());
        }
    }
    state.CCEPath = options.CCEPath;
    if (job.Files.FileExists(ini)) {
        for (const std::string& line : job.Files.ReadLines(ini)) {
            if (line.rfind("CCE", 0) == 0 && line.size() > 4) {
                options.CCEPath = state.CCEPath = line.substr(4);
                break;
            }
        }
    }
    if (state.CCEPath.empty()) return {};
    const std::string identity = ReadCceIdentity(job);
    if (identity.empty()) {
        job.Questions.ShowMessage("CCE specified in ECL does not exist - please re-specify location",
                                  "CCE Location Error", platform::MessageKind::Exclamation);
    }
    return identity;
}

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
    // Whether a conversion stretches the audio with the picture or keeps it
    // and converts the frames: the conversion window's choice.
    job.State().ConvertAudio = job.ConversionTemplates.ConvertAudio;

    // The MPEG and WAV audio of a menu becomes AC3 through SoftEncode: with
    // none set, the native tools take the program folder's equivalent.
    if (job.Tools == ToolProfile::Native && options.Audio_SoftEncode_Path.empty()) {
        options.Audio_SoftEncode_Path = job.ProgramFolder + "\\SoftEncode\\Sftencdd.exe";
    }
    // A stored SoftEncode choice whose program vanished falls back to BeSweet.
    if (options.Audio_SoftEncode == 1 && !EncoderUsable(job, options.Audio_SoftEncode_Path)) {
        options.Audio_SoftEncode = 0;
        options.Audio_Besweet = 1;
    }
    if (!Usable(job, options.RebuilderPath)) options.EnableReBuilder = 0;
    if (!options.CCEPath.empty()) LoadCceFromIni(job);
    CheckEncoders(job);

    LogWindow(job, options.Muxman == 1 ? "Muxman set for authoring" : "Scenarist set for authoring");
    // The native tools author with their own engine, which reads the scripts
    // written for Scenarist 3.0 when Scenarist itself is not installed.
    if (job.ScenaristVersion.empty() && job.Tools == ToolProfile::Native) {
        job.ScenaristVersion = kNativeScenaristVersion;
        LogWindow(job, "Scenarist is not installed - the native authoring engine takes its scripts");
    }

    const std::string avisynth = job.SystemFolder + "\\Avisynth.dll";
    if (job.Tools == ToolProfile::Native && !job.Files.FileExists(avisynth)) {
        // The native tools serve the scripts with the built-in frame server.
        options.Avisynth_Version = kNativeFrameServerVersion;
        ListLine(job, " Avisynth version " + options.Avisynth_Version + " detected (the built-in frame server)");
    } else if (job.Files.FileExists(avisynth)) {
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

    // With no encoder chosen, the native tools encode as CCE 2.70, whose
    // lists their encoder reads; nothing is written beside the program.
    const bool chosen = options.UseCCE == 1 || options.UseProcoder == 1 || options.UseQuenc == 1 ||
                        options.UseRejig == 1 || options.UseHC == 1;
    if (job.Tools == ToolProfile::Native && !chosen && options.No_ReEncode == 0) {
        options.UseCCE = 1;
        options.CCEPath = job.State().CCEPath = job.ProgramFolder + "\\CCE\\cctspt.exe";
        ReadCceIdentity(job);
        LogWindow(job, "No encoder is set - the native encoder takes the lists of CCE 2.70");
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
