// VobAnalysis, the stage between the demultiplexing by VOB id and the frame
// serving, and the confirmation of a pan-scan domain: see vob_typing.h.
#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/demux_stage.h"
#include "assets/dummy_cells.h"
#include "assets/m2v_header.h"
#include "assets/vob_typing.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "job/stage_hooks.h"
#include "job/tool_runner.h"
#include "platform/error.h"

namespace kestrova {

namespace {

// Highest VOB id whose M2V may confirm the domain's aspect.
constexpr int kAspectProbeVobs = 100;

// Joins every demultiplexed VOB of the domain into the one file the
// subpicture stages and vobtest.exe work on.
void JoinVobsForSubpictures(JobContext& job) {
    const std::string batch = job.WorkFolder + "\\DEMUXED\\Create_Sub.bat";
    job.Files.WriteText(batch, "Copy /b " + CommandLinePath(job, job.WorkFolder + "\\DEMUXED\\*.VOB") + " " +
                                   CommandLinePath(job, job.WorkFolder + "\\SUBTITLES\\VTS_01_0.VOB") + "\r\n");
    job.State().CurrentFolder = job.WorkFolder + "\\SUBTITLES\\VTS_01_0.VOB";
    MsgWaitObj(job, 1000);
    RunOutsideTool(job, "\"" + batch + "\"", 0);
}

}  // namespace

void ConfirmPanScan(JobContext& job, const std::string& M2vPath) {
    platform::TraceFrame frame(job.Trace, "VobAnalysis", "ConfirmPanScan");
    auto& domain = CurrentDomain(job);
    if (domain.Video.Count() == 0) return;
    auto& video = domain.Video.Item(1);
    if (video.Display_Mode != "4 : 3 (Pan-scan)") return;
    WLOG(job, "4 : 3 (Pan-scan) suggested by IFO file - Confirming");
    bool wide = false;
    try {
        wide = ReadAspectFromM2v(job, M2vPath);
    } catch (const Error& failure) {
        // An unreadable header leaves the IFO's word standing.
        WLOG(job, failure.what());
        return;
    }
    if (!wide) return;
    WLOG(job, "VIDEO RESOLUTION IS ACTUALLY 16:9 - RESETTING VARs");
    video.Display_Mode = "16 : 9";
    video.Display = "16 : 9";
    video.Display_Pan_Scan = 0;
    const auto index = static_cast<std::size_t>(job.DomainIndex);
    if (index >= job.StreamUse.size()) return;
    auto& modes = job.StreamUse[index].Mode;
    for (int id = 0; id < 32; ++id) {
        auto& mode = modes[static_cast<std::size_t>(StreamUse_Record::kOffset + id)];
        if (mode == "Pan") {
            mode = "Letter";
            break;
        }
    }
}

std::int16_t VobAnalysis(JobContext& job, const SubpictureStages& subpictures) {
    platform::TraceFrame frame(job.Trace, "VobAnalysis", "VobAnalysis");
    auto& state = job.State();
    state.SubSize = 0;
    if (!RecoverySkip(job, 0) && state.Pgcdemux == 0) {
        // PgcDemux runs renamed their files as they went.
        WLOG(job, "Renaming Files");
        EnableFileRename(job, job.WorkFolder + "\\DEMUXED");
    }
    // A VOB id without its data is never typed: the run ends here.
    if (const std::string fault = CheckDemuxedVobIds(job); !fault.empty()) {
        StageFailed(job, RunStage::Demultiplexing, fault);
        return 0;
    }
    RLOG(job, "DEMUXED VOB ID");

    if (job.Options().ConfirmAR == 1) {
        for (int i = 1; i <= kAspectProbeVobs; ++i) {
            const std::string m2v = job.WorkFolder + "\\DEMUXED\\" + CreateVOBName(i) + ".m2v";
            if (!job.Files.FileExists(m2v)) continue;
            ConfirmPanScan(job, m2v);
            break;
        }
    }

    job.Stages.Begin(RunStage::Subpictures);
    JoinVobsForSubpictures(job);
    const auto stopped = [&job] { return job.StopRequested != 0; };
    const std::int16_t pgcs = RunHandedStage(job, subpictures.CreateIFO, "CreateIFO", std::int16_t{0});
    if (stopped()) return pgcs;
    state.StreamCount = RunHandedStage(job, subpictures.NewConvert_SUBS, "NewConvert_SUBS", std::int16_t{0}, pgcs);
    if (stopped()) return pgcs;
    RunHandedStage(job, subpictures.FindHighlightBitmaps, "FindHighlightBitmaps", pgcs);
    if (stopped()) return pgcs;
    job.Stages.Begin(RunStage::VobTyping);
    FalsePgcCheck(job);
    if (stopped()) return pgcs;
    RenameDummy(job);
    if (stopped()) return pgcs;
    DetermineVobType(job);
    if (stopped()) return pgcs;
    RLOG(job, "DVD2AVI");
    return pgcs;
}

}  // namespace kestrova
