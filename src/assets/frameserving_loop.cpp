// The frame serving of a domain's assets, VOB id by VOB id: see
// frameserving.h.
#include "assets/frameserving.h"

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "job/stage_hooks.h"

namespace kestrova {

namespace {

// One asset as the loop treats it: a whole VOB id (CellId 0) or a cell.
struct Asset {
    std::int16_t VobId = 0;
    std::int16_t CellId = 0;
    std::string Name;        // "001" or "001_002"
    std::string M2vPath;     // the demultiplexed video
    std::string NewM2vPath;  // where an asset that is not encoded is copied
    bool Still = false;
    bool Audio = true;  // its audio goes through ProcessAC3
};

std::string FormatRate(double rate) {
    std::string text = std::to_string(rate);
    text.erase(text.find_last_not_of('0') + 1);
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

// Indexes a cell's video under its own name.
void IndexCell(JobContext& job, const Asset& asset) {
    if (RecoverySkip(job, 5)) return;
    if (job.Options().DGDecode == 0) {
        RunDVD2AVI(job, asset.M2vPath, asset.Name, true);
    } else {
        RunDGDecode(job, asset.M2vPath, asset.Name);
    }
}

// What follows the encode decision: the asset marked for its encoder (or
// Rejig), or its video copied as it is; its audio queued; its list entry.
template <typename Record>
void FinishAsset(JobContext& job, const FrameServingStages& stages, const Asset& asset, Record& record, bool encode,
                 const std::string& notEncodedLine) {
    const auto& o = job.Options();
    const std::string frameserving = job.WorkFolder + "\\FRAMESERVING\\";
    if (encode && job.RejigMode == 0) {
        record.CCE_Encoded = -1;
        record.CCE_ECL = "\\FRAMESERVING\\" + asset.Name + ".ecl";
        record.CCE_AVS = job.Files.Paths().GetShortPath(job.WorkFolder) + "\\FRAMESERVING\\" + asset.Name +
                         (o.Conversion != 0 ? ".Conversion.mpv" : ".mpv");
    } else if (encode) {
        record.Rejig_Encoded = -1;
        record.Rejig_File_Path = platform::WithoutExtension(asset.M2vPath);
        ++job.State().VideoCount;
    } else {
        WLOG(job, notEncodedLine);
        if (!RecoverySkip(job, 5) && !job.Files.FileExists(asset.NewM2vPath)) {
            if (o.ProcessAssets == 0) {
                job.Files.CopyFile(asset.M2vPath, asset.NewM2vPath);
            } else {
                RunHandedStage(job, stages.UpdateMPV, "UpdateMPV", asset.M2vPath, asset.NewM2vPath, asset.Name,
                               job.DomainIndex);
            }
        }
    }
    if (asset.Audio) {
        const std::string folder = asset.CellId > 0 ? "\\DEMUXED_CELLID" : "\\DEMUXED";
        RunHandedStage(job, stages.ProcessAC3, "ProcessAC3",
                       job.Files.Paths().GetShortPath(job.WorkFolder) + folder, asset.VobId, asset.CellId);
    }
    if (encode) {
        RunHandedStage(job, stages.MakeECL, "MakeECL", frameserving + asset.Name, asset.VobId, asset.Still,
                       asset.CellId);
        record.QuencAVS = frameserving + asset.Name + ".avs";
    }
}

// A cell of VOB id v, demultiplexed in DEMUXED_CELLID; copied to NEW_M2V
// with the extension given when it is not encoded.
Asset CellAsset(const JobContext& job, std::int16_t v, std::size_t c, const std::string& newExtension) {
    Asset asset;
    asset.VobId = v;
    asset.CellId = static_cast<std::int16_t>(c);
    asset.Name = CreateVOBName(v) + "_" + CreateCellName(asset.CellId);
    asset.M2vPath = job.WorkFolder + "\\DEMUXED_CELLID\\" + asset.Name + ".M2V";
    asset.NewM2vPath = job.WorkFolder + "\\NEW_M2V\\" + asset.Name + newExtension;
    return asset;
}

bool AboveThreshold(JobContext& job, std::int32_t frames) {
    const auto& o = job.Options();
    return frames > o.Default_Encode && o.No_ReEncode == 0;
}

void VideoVob(JobContext& job, const FrameServingStages& stages, std::int16_t v) {
    auto& o = job.Options();
    auto& vob = CurrentDomain(job).Vob_Id.Item(static_cast<std::size_t>(v));
    Asset asset;
    asset.VobId = v;
    asset.Name = CreateVOBName(v);
    asset.M2vPath = job.WorkFolder + "\\DEMUXED\\" + asset.Name + ".M2V";
    asset.NewM2vPath = job.WorkFolder + "\\NEW_M2V\\" + asset.Name + ".m2v";

    if (job.Files.FileExists(asset.M2vPath)) vob.cFileSize = static_cast<std::int64_t>(job.Files.FileSize(asset.M2vPath));
    WLOG(job, "VOBTYPE: Video");
    const AviFrames served =
        ProcessVideo(job, job.WorkFolder + "\\FRAMESERVING\\" + asset.Name + ".d2v", asset.Name, 0, false);
    vob.Frames = served.Frames;
    vob.Fps = served.Rate;
    WLOG(job, "\tVideo Frames=" + std::to_string(served.Frames) + ", FPS=" + FormatRate(served.Rate));
    if (served.Rate == 23.976) {
        vob.Pulldown = -1;
        WLOG(job, "\tFlagged for pulldown");
    }
    const bool encode = AboveThreshold(job, served.Frames) || o.Conversion == 1;
    FinishAsset(job, stages, asset, vob, encode, "\tUnder threshold or No encoding option selected - original copied");
}

void ComboVob(JobContext& job, const FrameServingStages& stages, std::int16_t v) {
    auto& o = job.Options();
    auto& domain = CurrentDomain(job);
    auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(v));
    const std::string vobName = CreateVOBName(v);
    for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
        if (PlayedCell(domain, static_cast<std::size_t>(v), c).DummyCell != 0) continue;
        auto& cell = vob.CELL_ID.Item(c);
        Asset asset = CellAsset(job, v, c, ".m2v");
        asset.Still = cell.VobType != "Video";
        asset.Audio = cell.VobType != "StillMenu";
        if (job.Files.FileExists(asset.M2vPath)) {
            vob.cFileSize += static_cast<std::int64_t>(job.Files.FileSize(asset.M2vPath));
        }
        WLOG(job, "VOBTYPE: COMBO ; CELLTYPE: " + cell.VobType);
        WLOG(job, "\tCell - " + std::to_string(c));
        IndexCell(job, asset);

        std::int32_t frames = 1;
        if (!asset.Still) {
            // Classified as the whole VOB id, served from the cell's own project.
            const AviFrames served = ProcessVideo(job, job.WorkFolder + "\\FRAMESERVING\\" + vobName + ".d2v",
                                                  vobName, asset.CellId, false);
            frames = served.Frames;
            cell.Frames = served.Frames;
            cell.Fps = served.Rate;
            WLOG(job, "\tVideo Frames=" + std::to_string(served.Frames) + ", FPS=" + FormatRate(served.Rate));
            if (served.Rate == 23.976) {
                cell.Pulldown = -1;
                WLOG(job, "\tFlagged for pulldown");
            }
        } else {
            o.ProgressiveFlag = 0;
            ProcessVideo(job, job.WorkFolder + "\\FRAMESERVING\\" + asset.Name + ".d2v", vobName, asset.CellId, true);
            cell.Frames = 1;
            cell.Fps = job.Timing.VideoStandard == "PAL" ? 25 : 29.97;
        }
        const bool encode = AboveThreshold(job, frames) || (o.EncodeStills == 1 && asset.Still) || o.Conversion == 1;
        FinishAsset(job, stages, asset, cell, encode,
                    "\tUnder threshold or No encoding option selected - original copied");
    }
}

void StillVob(JobContext& job, const FrameServingStages& stages, std::int16_t v) {
    auto& o = job.Options();
    auto& domain = CurrentDomain(job);
    auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(v));
    const std::string vobName = CreateVOBName(v);
    for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
        if (PlayedCell(domain, static_cast<std::size_t>(v), c).DummyCell != 0) continue;
        auto& cell = vob.CELL_ID.Item(c);
        Asset asset = CellAsset(job, v, c, ".M2V");
        asset.Still = true;
        asset.Audio = vob.Vob_Type == "SlideShow";
        WLOG(job, "\tCell - " + std::to_string(c));
        WLOG(job, "VOBTYPE: STILL; CELLTYPE: " + cell.VobType);
        IndexCell(job, asset);
        o.ProgressiveFlag = 0;
        ProcessVideo(job, job.WorkFolder + "\\FRAMESERVING\\" + asset.Name + ".d2v", vobName, asset.CellId, true);
        cell.Frames = 1;
        cell.Fps = job.Timing.VideoStandard == "PAL" ? 25 : 29.97;
        const bool encode = o.Conversion == 1 || o.EncodeStills == 1;
        FinishAsset(job, stages, asset, cell, encode, "\tEncoding Stills skipped");
    }
}

}  // namespace

void NewDVD2AVIProc(JobContext& job, const FrameServingStages& stages) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "NewDVD2AVIProc");
    WLOG(job, "Processing VIDEO / AUDIO files");
    if (!RecoverySkip(job, 5)) {
        // The audio batch files are collected afresh over this domain's
        // assets; those appended to per file too, so that a run resumed
        // before this stage ended does not queue each conversion twice.
        for (const char* batch : {"DelayCorrector.bat", "Soft.bat", "BeSweet.Conversion.bat", "SoftEncode.bat",
                                  "BeSweetEncoder.bat"}) {
            job.Files.DeleteFile(job.WorkFolder + "\\FRAMESERVING\\" + batch);
        }
    }
    RunHandedStage(job, stages.AudioCheck, "AudioCheck");
    LogWindow(job, "Analysing Log & D2V files");

    auto& domain = CurrentDomain(job);
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        const auto vobId = static_cast<std::int16_t>(v);
        auto& vob = domain.Vob_Id.Item(v);
        WLOG(job, "VOB-" + std::to_string(v));
        if (vob.Dummy != 0) continue;
        if (vob.Vob_Type == "Video") {
            VideoVob(job, stages, vobId);
        } else if (vob.Vob_Type == "Combo") {
            ComboVob(job, stages, vobId);
        } else if (vob.Vob_Type == "StillMenu" || vob.Vob_Type == "SlideShow") {
            StillVob(job, stages, vobId);
        } else {
            WLOG(job, "\tVOB-" + std::to_string(v) + " has no video type (\"" + vob.Vob_Type +
                          "\"): its assets are not served");
        }
    }

    if (job.State().AudioChannels == "YES") {
        // The stereo settings of the queued conversions.
        RunHandedStage(job, stages.SoftEncoder, "SoftEncoder", std::string(), std::string(), true, false, true);
    }
    LogWindow(job, "Analysing Log & D2V files Complete");
    LogWindow(job, " ");
}

}  // namespace kestrova
