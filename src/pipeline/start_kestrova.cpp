// The run itself: head, domain loop, encoding, authoring and finishing, in
// their fixed order, with a stop test at each stage boundary.
#include "pipeline/pipeline.h"

#include "assets/asset_names.h"
#include "assets/demux_stage.h"
#include "assets/dummy_cells.h"
#include "assets/frameserving.h"
#include "assets/vob_typing.h"
#include "audio/audio_conversion.h"
#include "audio/audio_inspection.h"
#include "dvd/menu_tree.h"
#include "finish/hand_over.h"
#include "finish/ifo_correction.h"
#include "job/folders.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/tool_profile.h"
#include "job/version.h"
#include "muxman/layout.h"
#include "pipeline/run_summary.h"
#include "pipeline/settings_echo.h"
#include "platform/error.h"
#include "platform/text.h"
#include "scenarist/authoring_run.h"
#include "scenarist/script_driver.h"
#include "subpicture/buttons.h"
#include "subpicture/extraction.h"
#include "subpicture/sst.h"
#include "video/encode_retry.h"
#include "video/ecl_writer.h"
#include "video/encoder_drivers.h"
#include "video/mpeg_patching.h"

namespace kestrova {

using platform::FileNameOf;
using platform::RegistryRoot;
using platform::WithoutExtension;

namespace {

// How a part of the run ended: on to the next part, or out of the run
// (a stop, an abort, or the end a setting asks for).
enum class Flow { Next, Leave };

// The stop test: a confirmed stop, or a stage that failed, ends the run at
// the next stage boundary.
bool Stopped(const JobContext& job) { return job.StopRequested != 0 || job.Stages.FailedStage().has_value(); }

bool HoldsFiles(const JobContext& job, const std::string& folder) {
    return !job.Files.List(folder, "*", platform::ListKind::Files).empty();
}

// A stage boundary of the domain loop: the job bar takes its normal step,
// then the stop test. A domain passes at most 13 of them, its share of the
// bar's 90.
bool StageBoundary(JobContext& job) {
    SetProgress(job, false);
    return Stopped(job);
}

void DeleteIfExists(JobContext& job, const std::string& path) {
    if (job.Files.FileExists(path)) job.Files.DeleteFile(path);
}

// Steps 3 to 10: the logs move into the job, the journal head, the IFOs.
Flow RunHead(JobContext& job, int menuCount) {
    auto& o = job.Options();
    auto& s = job.State();
    job.JobRunning = -1;
    MoveLogsToJobRoot(job);
    job.Registry.savestring(RegistryRoot::CurrentUser, "Software\\Kestrova", "InstallDirectory", job.ProgramFolder);
    if (job.JobRoot.size() > 3 && !job.Files.FolderExists(job.JobRoot)) job.Files.MakeFolder(job.JobRoot);
    job.Files.MakeFolder(job.JobRoot + "\\VIDEO_TS");

    s.Root = job.JobRoot;
    s.TotalMenus = static_cast<std::int16_t>(menuCount);
    ProgramUse(job, -1);
    SetProgressMax(job);
    // The first IFO read fixes the standard of the job.
    job.Timing.VideoStandard.clear();
    job.Timing.Conversion = o.Conversion;

    WLF(job, "Version Number");
    WLOG(job, std::string(kProgramName) + " " + kProgramVersion);
    SettingsEcho(job);

    RLOG(job, "#LANGUAGE: " + s.CurrentLanguage);
    RLOG(job, "#ROOT FOLDER: " + job.JobRoot);
    RLOG(job, "#VOLUME NAME: " + job.VolumeText);
    if (o.Conversion == 1) RLOG(job, "#CONVERSION");
    RLOG(job, o.Muxman == 1 ? "#MUXMAN" : "#SCENARIST");
    RLOG(job, "#FOLDER: " + job.Text1);

    job.Stages.Begin(RunStage::ReadingDisc);
    GetIFODetails(job, job.Text1 + "\\");
    if (Stopped(job)) return Flow::Leave;
    if (job.Files.FolderExists(job.JobRoot + "\\ECLs")) job.Files.DeleteTree(job.JobRoot + "\\ECLs");
    return Flow::Next;
}

// Whether some VOB of the domain that is no plain video has several cells
// and so needs its own pass by cell.
bool NeedsCellPass(const VTS_Properties& domain) {
    for (const auto& vob : domain.Vob_Id) {
        if (vob.Vob_Type != "Video" && vob.Dummy == 0 && vob.CELL_ID.Count() > 1) return true;
    }
    return false;
}

// Steps 11 to 26 for one selected menu.
Flow RunDomain(JobContext& job, std::size_t index) {
    auto& o = job.Options();
    auto& s = job.State();
    RLOG(job, "-----");
    s.CurrentMenu = static_cast<std::int16_t>(index);
    s.Files_Encoded = -1;
    if (StageBoundary(job)) return Flow::Leave;

    const std::string vobPath = job.SelectedMenus[index];
    const std::string name = FileNameOf(vobPath);
    job.WorkFolder = job.JobRoot + "\\D_" + name.substr(0, 8);
    s.RootFolder = job.Files.Paths().GetShortPath(job.JobRoot) + "\\D_" + name.substr(0, 8);
    if (StageBoundary(job)) return Flow::Leave;
    s.FolderSize = static_cast<std::int64_t>(job.Files.FileSize(vobPath));

    WLF(job, "Processing " + name);
    if (platform::EqualsIgnoreCase(name, "VIDEO_TS.VOB")) {
        job.DomainIndex = 1;
        RLOG(job, "VID");
    } else {
        const auto first = name.find('_');
        const auto second = name.find('_', first + 1);
        const int titleSet = std::atoi(name.substr(first + 1, second - first - 1).c_str());
        job.DomainIndex = static_cast<std::int16_t>(titleSet + 1);
        RLOG(job, "VTS" + std::to_string(titleSet));
    }
    if (job.DomainIndex < 1 || static_cast<std::size_t>(job.DomainIndex) > job.DiscModel.Count()) {
        throw Error("The menu \"" + vobPath + "\" has no IFO read into the model (domain " +
                    std::to_string(job.DomainIndex) + " of " + std::to_string(job.DiscModel.Count()) + ")");
    }

    if (CheckVOB(job, index)) return Flow::Next;

    const std::string base = vobPath.substr(0, vobPath.size() - 4);
    s.RemainingFiles -= static_cast<std::int64_t>(job.Files.FileSize(vobPath));
    if (job.Files.FileExists(base + ".IFO")) s.RemainingFiles -= static_cast<std::int64_t>(job.Files.FileSize(base + ".IFO"));
    if (job.Files.FileExists(base + ".BUP")) s.RemainingFiles -= static_cast<std::int64_t>(job.Files.FileSize(base + ".BUP"));
    if (StageBoundary(job)) return Flow::Leave;

    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    domain.Authored = -1;
    domain.OutputDir = job.WorkFolder;
    job.DiscModel.Item(1).Root = job.JobRoot;
    LogWindow(job, WithoutExtension(name));
    if (StageBoundary(job)) return Flow::Leave;

    MakeWorkFolders(job, job.WorkFolder);

    const std::string demuxed = job.WorkFolder + "\\DEMUXED";
    s.CurrentFolder = demuxed;
    job.Stages.Begin(RunStage::Demultiplexing);
    if (RecoverySkip(job, 0)) {
        WLOG(job, "Demux by VOB skipped");
    } else {
        if (const std::string fault = CheckMenuVob(job, vobPath); !fault.empty()) {
            StageFailed(job, RunStage::Demultiplexing, fault);
            return Flow::Leave;
        }
        job.Files.DeleteTree(demuxed);
        job.Files.MakeFolder(demuxed);
        const bool aborted = s.Pgcdemux != 0 ? EnablePGCDemuxing(job, vobPath, name, false)
                                             : EnableDemuxing(job, vobPath, name, false);
        if (aborted) {
            job.StopRequested = -1;
            return Flow::Leave;
        }
    }
    if (StageBoundary(job)) return Flow::Leave;

    const std::int16_t streams = VobAnalysis(job, {CreateIFO, NewConvert_SUBS, FindHighlightBitmaps});
    if (StageBoundary(job)) return Flow::Leave;

    const bool cellPass = NeedsCellPass(domain);
    job.Stages.Begin(RunStage::Demultiplexing);
    if (domain.Split_Cell == 0 && cellPass) {
        WLOG(job, "Demuxing by CellID");
        const std::string byCell = job.WorkFolder + "\\DEMUXED_CELLID";
        s.CurrentFolder = byCell;
        s.FolderSize -= s.SubSize;
        if (RecoverySkip(job, 4)) {
            WLOG(job, "Demux by CellID skipped");
            LogWindow(job, "Demux by CellID skipped");
            // The earlier run's mark, kept, as the other skipped stages keep
            // theirs: a resumed run's journal then reads as a whole run's.
            RLOG(job, "DEMUXED CELL ID");
        } else {
            job.Files.DeleteTree(byCell);
            job.Files.MakeFolder(byCell);
            const bool aborted = s.Pgcdemux != 0 ? EnablePGCDemuxing(job, vobPath, name, true)
                                                 : EnableDemuxing(job, vobPath, name, true);
            if (aborted) {
                job.StopRequested = -1;
                return Flow::Leave;
            }
            RLOG(job, "DEMUXED CELL ID");
            if (s.Pgcdemux == 0) {
                WLF(job, "Renaming Files");
                EnableFileRename(job, byCell);
            }
        }
        if (StageBoundary(job)) return Flow::Leave;
    } else if (domain.Split_Cell == 0) {
        if (StageBoundary(job)) return Flow::Leave;
        if (RecoverySkip(job, 4)) {
            LogWindow(job, "Moving Audio skipped");
        } else {
            MoveCellAudio(job);
        }
    }

    job.Stages.Begin(RunStage::Encoding);
    EnableRejig(job);
    job.Stages.Begin(RunStage::FrameServing);
    EnableScenes(job);
    FrameServingStages frameServing;
    frameServing.AudioCheck = AudioCheck;
    frameServing.ProcessAC3 = ProcessAC3;
    frameServing.SoftEncoder = SoftEncoder;
    frameServing.UpdateMPV = UpdateMPV;
    frameServing.MakeECL = MakeECL;
    NewDVD2AVIProc(job, frameServing);
    RLOG(job, "PROCESSASSETS");
    if (StageBoundary(job)) return Flow::Leave;

    job.Stages.Begin(RunStage::Audio);
    EnableAudioProcess(job);
    if (StageBoundary(job)) return Flow::Leave;

    job.Stages.Begin(RunStage::Subpictures);
    if (o.Default_RewriteSST == 1) CheckSSTFor2SecondBMP(job, streams, s.StreamCount);
    ProcessSST(job, streams, s.StreamCount);
    CheckDisplayMode(job);
    VobParse(job, job.WorkFolder + "\\SUBTITLES\\PGC_1.bov");
    if (StageBoundary(job)) return Flow::Leave;
    return Flow::Next;
}

// Steps 27 to 32: once for the whole run. Only an encoding that ran and
// was verified logs its success and gets its journal mark; one this
// version passed over does neither, so a resumed run meets it again.
Flow RunEncoding(JobContext& job) {
    auto& o = job.Options();
    job.Stages.Begin(RunStage::Encoding);
    EnablePause(job);
    VobStripping(job);
    bool encoded = true;
    if (!RecoverySkip(job, 6)) {
        const std::size_t passedOver = job.Stages.PassOverCount();
        EnableVideoEncoding(job);
        if (Stopped(job)) return Flow::Leave;

        static const char* const kRetry[] = {"", "RETRY ENCODING 2ND RUN", "RETRY ENCODING 3RD RUN",
                                             "RETRY ENCODING 4TH RUN"};
        static const char* const kSuccess[] = {
            "ENCODING APPEARS SUCCESSFUL AT FIRST ATTEMPT", "ENCODING APPEARS SUCCESSFUL AT 2ND ATTEMPT",
            "ENCODING APPEARS SUCCESSFUL AT 3RD ATTEMPT", "ENCODING APPEARS SUCCESSFUL AT 4TH ATTEMPT"};
        int attempt = 1;
        bool missing = ConfirmAssetEncoding(job, 1);
        encoded = job.Stages.PassOverCount() == passedOver;
        while (encoded && missing && attempt < 4) {
            ++attempt;
            WLOG(job, kRetry[attempt - 1]);
            missing = ConfirmAssetEncoding(job, static_cast<std::int16_t>(attempt));
        }
        if (!encoded) {
            // Nothing was encoded or nothing was verified: no verdict.
        } else if (!missing) {
            WLOG(job, kSuccess[attempt - 1]);
        } else if (o.Conversion == 0) {
            WLOG(job, "ENCODING HAS FAILED AFTER 4 ATTEMPTS - USING ORIGINALS");
            ConfirmEncoding(job);
        } else {
            WLOG(job, "ENCODING HAS FAILED AFTER 4 ATTEMPTS - ABORTING DUE TO FORMAT CONVERSION");
            AbortJob(job, true);
            return Flow::Leave;
        }
        UpdateMPV(job, "", "", "", job.DomainIndex);
        WLF(job, "Preparing Scenarist Files");
        GetEncodedVideo(job);
        // The streams' flags are part of the encoded assets: a resume from
        // the mark would not meet them again.
        encoded = encoded && job.Stages.PassOverCount() == passedOver;
    }
    if (encoded) RLOG(job, "MPV ENCODED");
    if (Stopped(job)) return Flow::Leave;
    SetProgress(job, true);
    if (job.State().NoAuthor != 0) {
        // The run ends here, as it was asked to.
        AdvanceProgress(job, 100);
        job.CloseAfterJob = -1;
        job.Stages.End();
        return Flow::Leave;
    }
    return Flow::Next;
}

Flow RunMuxman(JobContext& job) {
    auto& o = job.Options();
    LogWindow(job, "Starting Muxman Procedures");
    WLF(job, "Starting Muxman procedures");
    if (!GenerateMUXMANLayout(job)) {
        LogWindow(job, "Authoring Complete");
        LogWindow(job, " ");
        DeleteIfExists(job, job.State().Root + "\\Update_Menu_Ifo.bat");
        if (o.ScenaidMode == 0 && o.SingleMXP == 1) {
            job.Stages.Begin(RunStage::IfoCorrection);
            EnableUpdateIFO(job, 0, false);
        }
        return Flow::Next;
    }
    if (o.SingleMXP != 1) {
        WLOG(job, "MUXMAN ERROR - SINGLE SCRIPTS FAILED");
        AbortJob(job, false);
        return Flow::Leave;
    }
    if (!job.Questions.AskYesNo("FULL script seems to have failed - retry using multiple scripts?",
                                "Muxman Compile Error", true)) {
        WLOG(job, "MUXMAN ERROR - FULL SCRIPT FAILED - NO RETRY - ABORTING");
        AbortJob(job, false);
        return Flow::Leave;
    }
    o.SingleMXP = 0;
    if (GenerateMUXMANLayout(job)) {
        WLOG(job, "MUXMAN ERROR - RETRIED WITH SINGLE SCRIPTS ALSO");
        AbortJob(job, false);
        return Flow::Leave;
    }
    // The user's choice of one full script stays for the next job.
    o.SingleMXP = 1;
    return Flow::Next;
}

Flow RunScenarist(JobContext& job) {
    auto& o = job.Options();
    const std::string root = job.State().Root;
    LogWindow(job, "Creating Scenarist Script file");
    WLF(job, "Creating Scenarist Script");
    const std::int16_t count = CreateSCP(job);
    if (Stopped(job)) return Flow::Leave;
    WLOG(job, " script generated - scripts=" + std::to_string(count));
    WLOG(job, "compile_option = " + std::to_string(o.Sce_Compile_Option));

    static const char* const kScripts[] = {"\\Batch_1\\ScenaristScript30_1", "\\Batch_1\\ScenaristScript27_1",
                                           "\\Batch_1\\ScenaristScript26_1"};
    bool anyScript = false;
    for (const char* script : kScripts) anyScript = anyScript || job.Files.FileExists(root + script + ".SCP");
    if (!anyScript) {
        // Nothing to compile is nothing authored.
        if (job.Stages.Outcome(RunStage::Authoring) == StageOutcome::Done) {
            job.Stages.PassOver("no Scenarist script was written");
        }
        return Flow::Next;
    }
    for (const char* script : kScripts) DeleteIfExists(job, root + script + "_ERROR.txt");

    StartAuthoring(job, count);
    if (Stopped(job)) return Flow::Leave;
    DeleteIfExists(job, root + "\\Update_Menu_Ifo.bat");

    bool failed = job.State().ScriptFailure != 0;
    for (const char* script : kScripts) failed = failed || job.Files.FileExists(root + script + "_ERROR.txt");
    if (failed) {
        EnableUpdateIFO(job, count, true);
        WLOG(job, "SCENARIST ERROR - ABORTING");
        AbortJob(job, false);
        return Flow::Leave;
    }
    LogWindow(job, "Updating Ifos");
    job.Stages.Begin(RunStage::IfoCorrection);
    EnableUpdateIFO(job, count, false);
    if (Stopped(job)) return Flow::Leave;
    LogWindow(job, "Updating Ifos is complete");
    LogWindow(job, " ");
    return Flow::Next;
}

// Steps 34 to 42. The banner "ReAuthoring complete" is written only when the
// authoring ran and the result's VIDEO_TS holds files.
void RunFinishing(JobContext& job) {
    auto& o = job.Options();
    const std::string result = job.JobRoot + "\\VIDEO_TS";
    const bool authored = job.Stages.Outcome(RunStage::Authoring) == StageOutcome::Done;
    job.JobRunning = -1;
    job.Stages.Begin(RunStage::CopyingFiles);
    FinishCopying(job);
    ProgramUse(job, 0);
    if (o.Muxman == 1 || (o.Muxman == 0 && o.Sce_Compile_Option > 0)) {
        if ((o.SourceCopy == 1 || o.Reverse == 1) && o.ScenaidMode == 0) {
            job.Stages.Begin(RunStage::IfoCorrection);
            GetVTSSectors(job, result);
        }
        job.Stages.Begin(RunStage::HandOver);
        if (o.ScenaidMode == 0 && o.EnableReBuilder == 0) {
            if (!GenerateImage(job, result, false) && StartDIF4U(job)) job.CloseAfterJob = -1;
        } else if (o.ScenaidMode == 0 && o.Reverse == 1) {
            if (!GenerateImage(job, job.Text1 + "\\VIDEO_TS", true)) {
                ReBuilderHandOff(job, job.Text1, job.JobRoot);
                job.CloseAfterJob = -1;
            }
        } else if (o.ScenaidMode == 0 && o.SourceCopy == 1) {
            if (!GenerateImage(job, result, true)) {
                ReBuilderHandOff(job, result, job.JobRoot);
                job.CloseAfterJob = -1;
            }
        } else {
            job.CloseAfterJob = -1;
        }
        DeleteTemporaryFiles(job);
    }
    job.DiscModel.Clear();
    AdvanceProgress(job, 100);
    job.Stages.End();
    if (authored && HoldsFiles(job, result)) {
        WLF(job, "ReAuthoring complete");
        job.Completed = true;
    }
}

}  // namespace

bool CheckVOB(JobContext& job, std::size_t menuIndex) {
    auto& o = job.Options();
    if (o.Muxman == 1) return false;
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    if (domain.Vob_Id.Count() < 601) return false;
    if (ToolPresent(job, job.ProgramFolder + "\\Muxman.exe") &&
        job.Questions.AskYesNo(
            "There are more VOBS than Scenarist can handle, switch to Muxman? (If NO then this VTS will be skipped!!)",
            "Vob Count Error", true)) {
        o.Muxman = 1;
        return false;
    }
    LogWindow(job, "THERE ARE MORE VOBID'S THAN SCENARIST CAN HANDLE - SKIPPING VTS");
    for (auto& vob : domain.Vob_Id) vob.Dummy = -1;
    if (menuIndex < job.SelectedMenus.size()) job.SelectedMenus[menuIndex].clear();
    WLOG(job, "TOO MANY VOBS");
    domain.Abort = -1;
    return true;
}

void FinishCopying(JobContext& job) {
    if (job.Options().NoCopy == 0 || job.State().Control != 0) CopyRemainingFiles(job, false);
}

namespace {

void RunStages(JobContext& job) {
    const int menuCount = GetTreeMenus(job);
    job.JobRoot = job.OutputFolder;
    if (menuCount > 0) {
        if (RunHead(job, menuCount) == Flow::Leave) return;
        for (std::size_t index = 1; index <= static_cast<std::size_t>(menuCount) && index < job.SelectedMenus.size();
             ++index) {
            if (RunDomain(job, index) == Flow::Leave) return;
            // The domains share 90 of the job bar; the other 10 are the big
            // steps of encoding and authoring.
            AdvanceProgress(job, static_cast<std::int16_t>(90 * index / static_cast<std::size_t>(menuCount)));
        }
        if (RunEncoding(job) == Flow::Leave) return;
        job.View.ShowCaption("");
        job.Stages.Begin(RunStage::Authoring);
        const Flow authored = job.Options().Muxman == 1 ? RunMuxman(job) : RunScenarist(job);
        if (authored == Flow::Leave) return;
        SetProgress(job, true);
    }
    RunFinishing(job);
    if (job.Stages.Ended()) MarkJournalFinished(job);
}

}  // namespace

void StartKestrova(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Pipeline", "StartKestrova");
    job.Completed = false;
    job.Stages.Clear();
    if (job.OutputFolder.empty()) return;
    try {
        RunStages(job);
    } catch (const Error& failure) {
        // An unexpected failure is one of the stage in hand; the summary
        // says so before the failure travels on to its report.
        job.Stages.Fail(job.Stages.Current().value_or(RunStage::ReadingDisc), failure.what());
        WriteRunSummary(job);
        throw;
    }
    WriteRunSummary(job);
}

}  // namespace kestrova
