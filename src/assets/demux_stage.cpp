// Reading the source IFOs and demultiplexing a menu domain: see demux_stage.h.
#include "assets/demux_stage.h"

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/dummy_cells.h"
#include "assets/program_stream.h"
#include "dvd/ifo_reader.h"
#include "job/folders.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/tool_profile.h"
#include "platform/error.h"
#include "platform/path_space.h"
#include "platform/stream_files.h"

namespace kestrova {

void GetIFODetails(JobContext& job, const std::string& SourceFolder) {
    platform::TraceFrame frame(job.Trace, "DemuxStage", "GetIFODetails");
    std::string folder = SourceFolder;
    if (folder.size() > 3 && folder.back() == '\\') folder.pop_back();
    GetFileCount(job, folder, "COPY");
    const std::vector<std::string> ifos = job.FileList;
    LogWindow(job, " ");
    LogWindow(job, "Analysing IFOs");
    const DummyCellStages dummyCells = DummyCellMeasurement();
    for (std::size_t i = 0; i < job.SelectedMenuFlags.size() && i + 1 < ifos.size(); ++i) {
        const std::string& name = ifos[i + 1];
        // The file's own name tells a title set from the video manager; a
        // folder named "VTS..." must not.
        const bool titleSet = platform::ToUpperAscii(name).find("VTS") != std::string::npos;
        const std::string language = i < job.SelectedMenuChildren.size() ? job.SelectedMenuChildren[i] : "";
        GetIFOParams(job, SourceFolder + name, job.SelectedMenuFlags[i] != 0, language, !titleSet, dummyCells);
        UpdateProgress(job, static_cast<std::int64_t>(i + 1), static_cast<std::int64_t>(ifos.size() - 1), "IfoScan",
                       false, false);
        if (job.StopRequested != 0) break;
    }
    LogWindow(job, "Analysing IFOs Complete");
    LogWindow(job, " ");
    UpdateProgress(job, 0, 0, "", true, false);
}

std::string DemuxAudioSelector(const VTS_Properties& domain) {
    if (domain.Audio.Count() == 0) return " /DEMUX E0";
    const std::string& type = domain.Audio.Item(1).Audio_Type;
    if (type == "AC3") return " /DEMUX E0 80 81 82 83 84 85 86 87";
    if (type == "LPCM") return " /DEMUX E0 A0 A1 A2 A3 A4 A5 A6 A7 A8 A9 AA AB AC AD AE AF";
    return " /DEMUX E0 C0 C1 C2 C3 C4 C5 C6 C7 C8 C9 CA CB CC CD CE CF";
}

bool EnableDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell) {
    platform::TraceFrame frame(job.Trace, "DemuxStage", "EnableDemuxing");
    auto& state = job.State();
    state.Demuxing = -1;
    WLOG(job, "Decrypting VOB file");
    const std::string folder = ByCell ? "\\DEMUXED_CELLID" : "\\DEMUXED";
    const std::string split = ByCell ? "CELLID" : "VOBID";
    const std::string tail = ByCell ? "" : " /DIRECT 2? 3? /CCVOB";
    LogWindow(job, ByCell ? "Demuxing by CELL ID" : "Demuxing by VOB ID");

    const std::string installed = RegisteredToolFolder(job, "DVDDecrypter.exe");
    const std::string tool = installed + "\\DVDDecrypter.exe";
    WLOG(job, "DvdDecrypter path : " + tool);
    if (installed.empty()) {
        LogWindow(job, "DVD Decrypter not found - Aborting");
        state.Demuxing = 0;
        return true;
    }
    const std::string line = CommandLinePath(job, tool) + " /MODE FILE /SRC " + VobPath.substr(0, 2) +
                             " /FILES " + VobName + " /DEST \"" + job.WorkFolder + folder +
                             "\" /START /CLOSE /SPLIT " + split + DemuxAudioSelector(CurrentDomain(job)) + tail;
    RunOutsideTool(job, line, 2);
    state.Demuxing = 0;
    UpdateProgress(job, 0, 0, "", true, false);
    return false;
}

bool EnablePGCDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell) {
    platform::TraceFrame frame(job.Trace, "DemuxStage", "EnablePGCDemuxing");
    static_cast<void>(VobName);  // PgcDemux reads the domain through its IFO
    if (!job.Files.FileExists(job.ProgramFolder + "\\PgcDemux.exe")) return true;
    const std::string tool = CommandLinePath(job, job.ProgramFolder + "\\PgcDemux.exe");
    auto& domain = CurrentDomain(job);
    const auto maximum = static_cast<std::int64_t>(domain.Vob_Id.Count() + 1);
    UpdateProgress(job, 0, maximum, "PGCDemuxing", true, false);
    LogWindow(job, "Demuxing with PGCDemux");
    const std::string ifo = "\"" + WithoutExtension(VobPath) + ".IFO\"";

    if (ByCell) {
        const std::string folder = job.WorkFolder + "\\DEMUXED_CELLID";
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            const auto& vob = domain.Vob_Id.Item(v);
            if (vob.Vob_Type == "Video" || vob.Dummy != 0) continue;
            for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
                RunOutsideTool(job,
                               tool + " -m2v -cid " + std::to_string(v) + " " + std::to_string(c) +
                                   " -aud -nolog -nosub -menu -nocellt " + ifo + " \"" + folder + "\"",
                               0);
                RenamePgcDemuxFiles(job, static_cast<std::int16_t>(v), folder, static_cast<std::int16_t>(c));
            }
        }
        return false;
    }
    const std::string folder = job.WorkFolder + "\\DEMUXED";
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        // A dummy VOB id leaves a gap in the numbers: names stay tied to the position.
        if (domain.Vob_Id.Item(v).Dummy != 0) continue;
        RunOutsideTool(job,
                       tool + " -m2v -vid " + std::to_string(v) +
                           " -aud -nosub -nolog -menu -nocellt -customvob nsvi " + ifo + " \"" + folder + "\"",
                       0);
        RenamePgcDemuxFiles(job, static_cast<std::int16_t>(v), folder, 0);
        UpdateProgress(job, static_cast<std::int64_t>(v), maximum, "PGCDemuxing", false, false);
    }
    return false;
}

std::string CheckMenuVob(JobContext& job, const std::string& VobPath) {
    platform::TraceFrame frame(job.Trace, "DemuxStage", "CheckMenuVob");
    const auto& domain = CurrentDomain(job);
    const std::uint64_t size = job.Files.FileSize(VobPath);
    // The cell that reaches furthest into the file.
    std::int64_t lastSector = -1;
    std::size_t lastVob = 0;
    std::size_t lastCell = 0;
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        const auto& cells = domain.Vob_Id.Item(v).CELL_ID;
        for (std::size_t c = 1; c <= cells.Count(); ++c) {
            if (cells.Item(c).VTSM_END <= lastSector) continue;
            lastSector = cells.Item(c).VTSM_END;
            lastVob = v;
            lastCell = c;
        }
    }
    const auto needed = static_cast<std::uint64_t>(lastSector + 1) * kPackSize;
    if (lastSector >= 0 && size < needed) {
        return ShownPath(job, VobPath) + " is cut short: it holds " + std::to_string(size) + " bytes, but the cell " +
               "address table of " + ShownPath(job, domain.OriginalIfo) + " places VOB id " + std::to_string(lastVob) + " cell " +
               std::to_string(lastCell) + " up to sector " + std::to_string(lastSector) + ", which ends at byte " +
               std::to_string(needed);
    }
    try {
        const auto input = platform::OpenFileReader(job.Files.Paths(), VobPath);
        ProgramStreamReader reader(*input);
        while (reader.Next() != nullptr) {
        }
    } catch (const Error& failure) {
        return failure.what();
    }
    return "";
}

std::string CheckDemuxedVobIds(JobContext& job) {
    const auto& domain = CurrentDomain(job);
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        if (domain.Vob_Id.Item(v).Dummy != 0) continue;
        const std::string name = CreateVOBName(static_cast<int>(v));
        const std::string m2v = job.WorkFolder + "\\DEMUXED\\" + name + ".M2V";
        const std::string moved = job.WorkFolder + "\\DEMUXED_CELLID\\" + name + "_001.M2V";
        const auto holds = [&job](const std::string& path) {
            return job.Files.FileExists(path) && job.Files.FileSize(path) > 0;
        };
        if (holds(m2v) || holds(moved)) continue;
        return "VOB id " + std::to_string(v) + " of " + ShownPath(job, WithoutExtension(domain.OriginalIfo) + ".VOB") +
               ", named in its IFO, has no demultiplexed video: " + ShownPath(job, m2v) + " is missing or empty";
    }
    return "";
}

void RenamePgcDemuxFiles(JobContext& job, std::int16_t VobId, const std::string& Folder, std::int16_t CellId) {
    auto& domain = CurrentDomain(job);
    const std::string n = CreateVOBName(VobId);
    const std::string s = CellId == 0 ? "" : "_" + CreateCellName(CellId);
    const auto rename = [&](const std::string& left, const std::string& asset) {
        const std::string from = JoinPath(Folder, left);
        if (!job.Files.FileExists(from)) return false;
        job.Files.MoveFile(from, JoinPath(Folder, asset));
        return true;
    };
    const auto audioFound = [&] { domain.Vob_Id.Item(static_cast<std::size_t>(VobId)).Audio_Present = -1; };

    rename("VideoFile.m2v", n + s + ".m2v");
    // AC3 substreams are numbered from 80 in decimal text, one per stream of the domain.
    for (std::size_t i = 80; i < 80 + domain.Audio.Count(); ++i) {
        const std::string number = std::to_string(i);
        if (rename("AudioFile_" + number + ".ac3", n + s + "-" + number + "-DELAY[0].ac3")) audioFound();
    }
    if (rename("AudioFile_C0.mpa", n + s + "DELAY[0].mpa")) audioFound();
    if (rename("AudioFile_A0.wav", n + s + "DELAY[0].wav")) audioFound();
    rename("VTS_01_0.VOB", n + ".VOB");
}

}  // namespace kestrova
