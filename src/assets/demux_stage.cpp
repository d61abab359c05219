// Source copy and demultiplexing of a menu domain: see demux_stage.h.
#include "assets/demux_stage.h"

#include "dvd/ifo_reader.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "platform/path_space.h"

namespace kestrova {

void GetIFODetails(JobContext& job, const std::string& SourceFolder) {
    std::string folder = SourceFolder;
    if (folder.size() > 3 && folder.back() == '\\') folder.pop_back();
    GetFileCount(job, folder, "COPY");
    const std::vector<std::string> ifos = job.FileList;
    LogWindow(job, " ");
    LogWindow(job, "Analysing IFOs");
    for (std::size_t i = 0; i < job.SelectedMenuFlags.size() && i + 1 < ifos.size(); ++i) {
        const std::string& name = ifos[i + 1];
        // The file's own name tells a title set from the video manager; a
        // folder named "VTS..." must not.
        const bool titleSet = platform::ToUpperAscii(name).find("VTS") != std::string::npos;
        const std::string language = i < job.SelectedMenuChildren.size() ? job.SelectedMenuChildren[i] : "";
        GetIFOParams(job, SourceFolder + name, job.SelectedMenuFlags[i] != 0, language, !titleSet);
        UpdateProgress(job, static_cast<std::int64_t>(i + 1), static_cast<std::int64_t>(ifos.size() - 1), "IfoScan",
                       false, false);
        if (job.StopRequested != 0) break;
    }
    LogWindow(job, "Analysing IFOs Complete");
    LogWindow(job, " ");
    UpdateProgress(job, 0, 0, "", true, false);
}

bool EnableDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell) {
    static_cast<void>(VobPath);
    static_cast<void>(VobName);
    static_cast<void>(ByCell);
    NotYetAvailable(job, "EnableDemuxing");
    return false;
}

bool EnablePGCDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell) {
    static_cast<void>(VobPath);
    static_cast<void>(VobName);
    static_cast<void>(ByCell);
    NotYetAvailable(job, "EnablePGCDemuxing");
    return false;
}

}  // namespace kestrova
