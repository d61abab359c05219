// The flags of the encoded streams and the stripping of unwanted VOBs: see mpeg_patching.h.
#include "video/mpeg_patching.h"

#include <optional>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/m2v_header.h"
#include "frameserver/mpeg_header.h"
#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/trace.h"

namespace kestrova {

namespace {

constexpr std::uint8_t kFilmRateCode = 1;  // 23.976

// The output is NTSC: a PAL source converted, or an NTSC one kept.
bool ToNtsc(JobContext& job) {
    const int conversion = job.Options().Conversion;
    return (job.Timing.VideoStandard == "PAL" && conversion == 1) ||
           (job.Timing.VideoStandard == "NTSC" && conversion == 0);
}

std::string DropFrame(JobContext& job) { return ToNtsc(job) ? " -drop_frame true" : " -drop_frame false"; }
std::string FrameRate(JobContext& job) { return ToNtsc(job) ? " -framerate 29.97" : " -framerate 25"; }

std::string RevPulldown(const JobContext& job) {
    return CommandLinePath(job, job.ProgramFolder + "\\revpulldown.exe");
}

std::string DisplayModeOf(const VTS_Properties& domain) {
    return domain.Video.Count() == 0 ? std::string() : domain.Video.Item(1).Display_Mode;
}

void DeleteIfThere(JobContext& job, const std::string& path) {
    if (job.Files.FileExists(path)) job.Files.DeleteFile(path);
}

// The encoders' pulldown: HC, Procoder and the CCE versions that leave
// 23.976 streams for revpulldown to flag.
bool AddPulldown(JobContext& job) {
    const auto& o = job.Options();
    const auto& s = job.State();
    return (o.UseCCE == 1 && s.CCEVersion.rfind("2.7", 0) != 0 && s.CCEBasic == 0) || o.UseProcoder == 1 ||
           o.UseHC == 1;
}

// One encoded asset (the .mpv at `encoded`) made the .m2v beside it.
void PatchAsset(JobContext& job, const std::string& encoded, const std::string& pulldownType,
                const std::string& panScan, bool addPulldown, const char* skippedText) {
    std::string pulldown = pulldownType;
    std::string frameRate;
    bool pal = false;
    if (!(GetEncodedFrameRate(job, encoded) && addPulldown)) {
        frameRate = FrameRate(job);
        pal = !ToNtsc(job);
        pulldown = " -nopulldown";
    }
    if (encoded.empty()) {
        WLOG(job, std::string("\t") + skippedText);
        return;
    }
    WLOG(job, "\t*Running Rev");
    if (pal && panScan.empty()) {
        WLOG(job, "File is PAL and P-S not needed");
        job.Files.MoveFile(encoded, encoded + ".m2v");
        return;
    }
    const std::string patched = encoded + ".m2v";
    RunOutsideTool(job,
                   RevPulldown(job) + " " + CommandLinePath(job, encoded) + " " + CommandLinePath(job, patched) +
                       pulldown + DropFrame(job) + frameRate + panScan + " -ignoresequenceendcode",
                   kWindowHidden);
    if (job.Files.FileExists(patched)) {
        DeleteIfThere(job, encoded);
        return;
    }
    // The encode stays, so that nothing is lost: the stage falls short of
    // the patched stream, or, where the disk lacked room for it, stops.
    if (!job.Files.FileExists(encoded) || !StopIfJobDiskLacks(job, job.Files.FileSize(encoded))) {
        CheckFilesMade(job, {patched}, "Patched stream", "patched streams");
    }
}

void PatchDomain(JobContext& job, VTS_Properties& domain, bool addPulldown) {
    const std::string mode = DisplayModeOf(domain);
    const std::string panScan = mode == "4 : 3 (Pan-scan)" || mode == "16 : 9 (Pan-scan)" ? " -ps_add" : "";
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        if (job.StopRequested != 0) return;
        ServeMessages(job);
        const auto& vob = domain.Vob_Id.Item(v);
        if (vob.Vob_Type == "Video") {
            if (vob.Dummy != 0) continue;
            WLOG(job, "Processing VIDEO File VOBID: " + std::to_string(v));
            PatchAsset(job, vob.CCE_AVS, vob.PulldownType, panScan, addPulldown, "REVPULLDOWN skipped for this vobid");
            continue;
        }
        for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
            if (PlayedCell(domain, v, c).DummyCell != 0) continue;
            const auto& cell = vob.CELL_ID.Item(c);
            WLOG(job, "Processing " + cell.VobType + " File VOBID: " + std::to_string(v) +
                          " CELLID: " + std::to_string(c));
            PatchAsset(job, cell.CCE_AVS, cell.PulldownType, panScan, addPulldown,
                       "REVPULLDOWN skipped for this vobid/cellid");
        }
    }
}

// The stream the title placeholders play, from the short stream beside the
// program, made in the domain's display mode.
void MakeDummyStream(JobContext& job, const VTS_Properties& domain) {
    const std::string mode = DisplayModeOf(domain);
    std::string panScan;
    std::string aspect;
    if (mode == "4 : 3 (Pan-scan)") {
        panScan = " -ps_add";
    } else if (mode == "4 : 3") {
        aspect = " -aspect_ratio 4:3";
    } else {
        panScan = " -ps_remove";
        aspect = " -aspect_ratio 16:9";
    }
    const std::string dropFrame = ToNtsc(job) ? " -drop_frame true" : " -drop_frame false";
    const std::string frameRate = ToNtsc(job) ? " -framerate 29.97" : " -framerate 25";
    const std::string source = job.ProgramFolder + (ToNtsc(job) ? "\\NTSC.mpv" : "\\PAL.mpv");
    if (!job.Files.FileExists(source)) {
        StageFailed(job, job.Stages.Current().value_or(RunStage::Encoding),
                    "the dummy stream's template " + source + " is not beside the program");
        return;
    }
    try {
        job.Files.CopyFile(source, domain.OutputDir + "\\Title_Dummy.M2V");
        if (!job.Files.FileExists(job.OutputFolder + "\\Title_Dummy.M2V")) {
            job.Files.CopyFile(source, job.OutputFolder + "\\Title_Dummy.M2V");
        }
    } catch (const Error& failure) {
        if (!StopIfJobDiskLacks(job, job.Files.FileSize(source))) {
            StageFailed(job, job.Stages.Current().value_or(RunStage::Encoding), failure.what());
        }
        return;
    }
    const std::string dummy = domain.OutputDir + "\\NEW_M2V\\Dummy.M2V";
    RunOutsideTool(job,
                   RevPulldown(job) + " " + CommandLinePath(job, source) + " " + CommandLinePath(job, dummy) +
                       " -nopulldown" +
                       dropFrame + frameRate + panScan + aspect + " -ignoresequenceendcode",
                   kWindowHidden);
    CheckFilesMade(job, {dummy}, "Dummy stream", "dummy streams");
}

void UpdateAllAssets(JobContext& job) {
    WLOG(job, "Starting RevPulldown");
    LogWindow(job, "Adding Pulldown, P-S info if required");
    const auto& o = job.Options();
    const bool addPulldown = AddPulldown(job);
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        auto& domain = job.DiscModel.Item(d);
        if (domain.Vob_Id.Count() == 0 || domain.Abort != 0) continue;
        if (o.No_ReEncode == 0 && job.RejigMode == 0 && job.State().TemporaryOriginal == 0) {
            PatchDomain(job, domain, addPulldown);
        }
        if (job.StopRequested != 0) return;
        // Every domain's script names a dummy still of its own in its
        // NEW_M2V, in the domain's display mode.
        MakeDummyStream(job, domain);
        if (job.StopRequested != 0) return;
    }
    LogWindow(job, "Processing with RevPulldown Complete");
    LogWindow(job, " ");
}

// One M2V copied without encoding, its flags made those of the output.
void UpdateCopy(JobContext& job, const std::string& Source, const std::string& Target, const std::string& Label,
                std::int16_t DomainIndex) {
    WLOG(job, "Copying (with revpulldown): " + Source);
    LogWindow(job, "*Processing " + Label + " with RevPulldown");
    const std::string mode = DomainIndex >= 1 && static_cast<std::size_t>(DomainIndex) <= job.DiscModel.Count()
                                 ? DisplayModeOf(job.DiscModel.Item(static_cast<std::size_t>(DomainIndex)))
                                 : std::string();
    const std::string aspect = mode.find("4 : 3") != std::string::npos ? " -aspect_ratio 4:3" : " -aspect_ratio 16:9";
    const std::string tail = " -nopulldown -ignoresequenceendcode";
    const std::string flags = aspect + tail + DropFrame(job) + FrameRate(job);
    const std::string source = CommandLinePath(job, Source);
    if (mode.find("Pan") != std::string::npos) {
        // The pan-scan extensions are made anew: the old ones go first.
        const std::string temp = Target + "temp.m2v";
        RunOutsideTool(job, RevPulldown(job) + " " + source + " " + CommandLinePath(job, temp) + flags +
                                " -ps_remove -novif",
                       kWindowHidden);
        RunOutsideTool(job,
                       RevPulldown(job) + " " + CommandLinePath(job, temp) + " " + CommandLinePath(job, Target) +
                           flags + " -ps_add",
                       kWindowHidden);
        DeleteIfThere(job, temp);
        DeleteIfThere(job, temp + ".vif");
    } else {
        RunOutsideTool(job, RevPulldown(job) + " " + source + " " + CommandLinePath(job, Target) + flags + " -ps_remove",
                       kWindowHidden);
    }
}

// The strip list the preview window writes: one "VTS=d,VOB=v" line per VOB
// id stripped. A line of another form is logged and passed over.
std::vector<std::pair<std::size_t, std::size_t>> ReadStripList(JobContext& job, const std::string& path) {
    std::vector<std::pair<std::size_t, std::size_t>> stripped;
    if (!job.Files.FileExists(path)) return stripped;
    const std::vector<std::string> lines = job.Files.ReadLines(path);
    for (std::size_t at = 0; at < lines.size(); ++at) {
        const std::string& line = lines[at];
        if (line.empty()) continue;
        const std::size_t comma = line.find(",VOB=");
        const double domain = StartsWithIgnoreCase(line, "VTS=") ? platform::LeadingNumber(line.substr(4)) : 0;
        const double vob = comma == std::string::npos ? 0 : platform::LeadingNumber(line.substr(comma + 5));
        if (domain < 1 || vob < 1) {
            WLOG(job, path + " line " + std::to_string(at + 1) + " is not \"VTS=d,VOB=v\" and is passed over: " + line);
            continue;
        }
        stripped.emplace_back(static_cast<std::size_t>(domain), static_cast<std::size_t>(vob));
    }
    return stripped;
}

}  // namespace

void UpdateMPV(JobContext& job, const std::string& Source, const std::string& Target, const std::string& Label,
               std::int16_t DomainIndex) {
    platform::TraceFrame frame(job.Trace, "MpegPatching", "UpdateMPV");
    if (Source.empty()) {
        UpdateAllAssets(job);
    } else {
        UpdateCopy(job, Source, Target, Label, DomainIndex);
    }
}

bool GetEncodedFrameRate(JobContext& job, const std::string& Path) {
    if (Path.empty()) {
        WLOG(job, "\tVobid not re-encoded - file does not exist");
        return false;
    }
    std::optional<SequenceHeader> header;
    try {
        header = FindFirstSequenceHeader(job.Files, Path, kSequenceHeaderSearchBytes);
    } catch (const Error& failure) {
        WLOG(job, failure.what());
        return false;
    }
    if (!header) return false;
    switch (header->FrameRateCode) {
        case kFilmRateCode: WLOG(job, "\tFrameRate is 23.976"); return true;
        case 3: WLOG(job, "FrameRate is 25"); return false;
        case 4: WLOG(job, "FrameRate is 29.97"); return false;
        default:
            WLOG(job, "NON_DVD FrameRate of type " + std::to_string(header->FrameRateCode) + " for " + Path);
            return false;
    }
}

void VobStripping(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "MpegPatching", "VobStripping");
    bool candidates = false;
    for (const auto& domain : job.DiscModel) {
        for (const auto& vob : domain.Vob_Id) {
            if (vob.Dummy == 0 && (vob.Vob_Type == "Video" || vob.CELL_ID.Count() == 1)) candidates = true;
        }
    }
    if (job.Options().PreviewVOBS != 1) return;
    if (!candidates) {
        job.Questions.ShowMessage(
            "All VOBs have already been removed or need CELL processing - no manual input available - skipping",
            "Kestrova", platform::MessageKind::Information);
        return;
    }
    WLOG(job, "Initiating VOB stripping");
    const std::string list = job.State().Root + "\\DummyVobs.txt";
    if (!job.View.PreviewVobs()) {
        WLOG(job, "The VOB preview needs the window; the strip list of the last preview is applied: " + list);
        LogWindow(job, "No VOB preview without the window - applying " + list);
    }
    for (const auto& [d, v] : ReadStripList(job, list)) {
        if (d > job.DiscModel.Count() || v > job.DiscModel.Item(d).Vob_Id.Count()) {
            WLOG(job, list + " names VTS=" + std::to_string(d) + ",VOB=" + std::to_string(v) +
                          ", which this job does not have; passed over");
            continue;
        }
        auto& domain = job.DiscModel.Item(d);
        auto& vob = domain.Vob_Id.Item(v);
        if (vob.Dummy != 0) continue;
        vob.Dummy = -1;
        vob.ForcedStrip = -1;
        domain.ForcedStrip = -1;
        WLOG(job, "VOB stripped by request: VTS=" + std::to_string(d) + ",VOB=" + std::to_string(v));
    }
}

}  // namespace kestrova
