// The moves at the end of the run: encoded video to NEW_M2V, and the files
// that were not re-authored into the result. See asset_names.h.
#include <vector>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/demux_stage.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "platform/path_space.h"

namespace kestrova {

namespace {

// The VOB id an encoded file's name starts with, or 0 when it starts with none.
std::size_t VobIdOfEntry(const std::string& entry) {
    if (entry.size() < 3 || entry.substr(0, 3).find_first_not_of("0123456789") != std::string::npos) return 0;
    return static_cast<std::size_t>(std::stoi(entry.substr(0, 3)));
}

// Whether the IFO's stem is that of a menu chosen for this job.
bool IsSelectedMenu(const JobContext& job, const std::string& ifo) {
    const std::string stem = WithoutExtension(ifo);
    for (std::size_t i = 1; i < job.SelectedMenus.size(); ++i) {
        const std::string& menu = job.SelectedMenus[i];
        if (menu.empty()) continue;
        const auto slash = menu.find_last_of('\\');
        const std::string name = slash == std::string::npos ? menu : menu.substr(slash + 1);
        if (platform::EqualsIgnoreCase(WithoutExtension(name), stem)) return true;
    }
    return false;
}

}  // namespace

void GetEncodedVideo(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "AssetMoves", "GetEncodedVideo");
    LogWindow(job, "Preparing Video Assets for Scenarist");
    const auto& options = job.Options();
    if (options.No_ReEncode != 0 || job.State().TemporaryOriginal != 0) return;
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) {
        const auto& domain = job.DiscModel.Item(d);
        if (domain.Vob_Id.Count() == 0 || domain.Abort != 0) continue;
        const auto index = static_cast<std::int16_t>(d);
        if (job.RejigMode != 0) {
            GetFileCount(job, domain.OutputDir + "\\DEMUXED", "ENCODED");
            MoveVideo(job, "\\DEMUXED\\", index);
            GetFileCount(job, domain.OutputDir + "\\DEMUXED_CELLID", "ENCODED");
            MoveVideo(job, "\\DEMUXED_CELLID\\", index);
        } else {
            GetFileCount(job, domain.OutputDir + "\\FRAMESERVING", "ENCODED");
            MoveVideo(job, "\\FRAMESERVING\\", index);
        }
    }
}

void MoveVideo(JobContext& job, const std::string& SubFolder, std::int16_t DomainIndex) {
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(DomainIndex));
    const std::vector<std::string> entries = job.FileList;
    for (std::size_t i = 1; i < entries.size(); ++i) {
        const std::string& entry = entries[i];
        if (entry.empty() || entry.find(".pt.") != std::string::npos || StartsWithIgnoreCase(entry, "Dummy")) continue;
        const std::size_t vob = VobIdOfEntry(entry);
        if (vob < 1 || vob > domain.Vob_Id.Count() || domain.Vob_Id.Item(vob).Dummy != 0) continue;

        const std::string source = domain.OutputDir + SubFolder + entry;
        const std::string target = domain.OutputDir + "\\NEW_M2V\\" + entry.substr(0, entry.find('.')) + ".m2v";
        if (job.RejigMode != 0 && !ContainsIgnoreCase(entry, "mpv")) continue;
        if (job.Files.FileExists(target)) job.Files.DeleteFile(target);
        job.Files.MoveFile(source, target);
        if (job.RejigMode == 0) {
            // The side file of encoders that Rejig does not follow goes along.
            if (job.Files.FileExists(target + ".vif")) job.Files.DeleteFile(target + ".vif");
            if (job.Files.FileExists(source + ".vif")) job.Files.MoveFile(source + ".vif", target + ".vif");
        }
        WLOG(job, source + " renamed to : " + target);
    }
}

void CopyRemainingFiles(JobContext& job, bool OtherCopyMode) {
    platform::TraceFrame frame(job.Trace, "AssetMoves", "CopyRemainingFiles");
    const auto& options = job.Options();
    LogWindow(job, options.EnableReBuilder == 1 ? "Copying ALL unprocessed files for ReBuilder"
                                                : "Copying Unprocessed Files");
    WLOG(job, "FileCopy");
    const std::string source = job.Text1 + "\\";
    GetFileCount(job, source, "COPY");
    const std::vector<std::string> ifos = job.FileList;
    if (job.OutputFolder.size() > 3 && !job.Files.FolderExists(job.OutputFolder)) {
        job.Files.MakeFolder(job.OutputFolder);
    }
    if (!job.Files.FolderExists(job.OutputFolder + "\\VIDEO_TS")) job.Files.MakeFolder(job.OutputFolder + "\\VIDEO_TS");

    const auto total = static_cast<std::int64_t>(ifos.size() - 1);
    std::int64_t copied = 0;
    for (std::size_t i = 1; i < ifos.size(); ++i) {
        const std::string& ifo = ifos[i];
        const bool reauthored = job.State().Files_Encoded != 0 && IsSelectedMenu(job, ifo);
        if (reauthored && options.Reverse == 1) {
            if (!OtherCopyMode) RestoreToSource(job, source, ifo);
        } else if (reauthored) {
            if (!OtherCopyMode) {
                CopyFiles(job, source, ifo, true, false, true);
            } else {
                CopyFiles(job, source, ifo, false, true, false);
            }
        } else if (!OtherCopyMode) {
            CopyFiles(job, source, ifo, false, false, false);
            CopyFiles(job, source, ifo, true, false, false);
        } else {
            CopyFiles(job, source, ifo, false, true, false);
        }
        if (copied < total) UpdateProgress(job, ++copied, total, "Copying Files", false, false);
    }
}

}  // namespace kestrova
