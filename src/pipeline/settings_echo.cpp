// The head of the run log: the options in force and the script fragments.
#include "pipeline/settings_echo.h"

#include "assets/frameserving.h"
#include "job/log_writers.h"
#include "pipeline/pipeline.h"

namespace kestrova {

void SettingsEcho(JobContext& job) {
    const auto& o = job.Options();
    const auto& s = job.State();
    const auto& avs = job.AvisynthScripts;
    WLF(job, "Preffered settings");
    if (o.Conversion == 1) WLOG(job, "Conversion Enabled");
    if (o.EnableReBuilder == 1) WLOG(job, "ReBuilder Enabled");
    if (o.Muxman == 0) WLOG(job, "Scenarist Compile Option = " + std::to_string(o.Sce_Compile_Option));
    if (o.PreviewVOBS == 1) WLOG(job, "Preview VOBs Enabled");
    if (o.Default_RewriteSST == 1) {
        WLOG(job, "Rewriting SSTs Enabled");
        WLOG(job, "Single SUB = " + std::to_string(o.Default_SSTSingle));
        WLOG(job, "Multiple SUBs = " + std::to_string(o.Default_SSTThreshold));
    }
    if (o.Muxman == 1) WLOG(job, "MUXMAN set for the authoring engine");
    if (o.EncodeStills == 1) WLOG(job, "Encoding of Stills Enabled");
    WLOG(job, "Encoding Threshold = " + std::to_string(o.Default_Encode) + " frames");
    if (avs.TelecineIVTC == 1) WLOG(job, "Perform IVTC on Telecine Sources");
    if (avs.HybridIVTC == 1) WLOG(job, "Perform IVTC on Hybrid Sources");
    if (o.Conversion == 1) WLOG(job, "Audio Bitrate for Conversions is : " + std::to_string(o.Audio_Bitrate));
    if (o.Audio_SoftEncode == 1) WLOG(job, "Audio Conversions with SoftEncode");
    if (o.Audio_Besweet == 1) WLOG(job, "Audio Conversions with BeSweet");
    // The registry keys removed are SoftEncode's, so the line applies with it.
    if (o.Audio_SoftEncode == 1) WLOG(job, "Remove Registry Keys = " + std::to_string(o.Audio_DeleteRegistryKey));

    CheckAVS(job);

    if (job.GoCaption == kBeginRecovery) WLOG(job, "Running from RECOVERY Console");
    if (o.UseCCE == 1) WLOG(job, "Encoder=CCE");
    if (o.UseProcoder == 1) WLOG(job, "Encoder=Procoder");
    if (o.UseQuenc == 1) WLOG(job, "Encoder=Quenc");
    if (o.UseRejig == 1) WLOG(job, "Encoder=Rejig");
    if (!s.DoitCommand.empty()) WLOG(job, "DIF4U CommandLine=" + s.DoitCommand);
    if (o.Avisynth_Version.empty()) WLOG(job, "AVISYNTH NOT INSTALLED");
}

}  // namespace kestrova
