// Typing of VOB ids and cells from vobtest.exe's still cells or from frame
// counts: see vob_typing.h.
#include "assets/vob_typing.h"

#include <cmath>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/frameserving.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "platform/error.h"

namespace kestrova {

namespace {

// A still menu lasts at most this long in the IFO: the playback time read
// as one number, hours, minutes and seconds 0 and a frame byte up to D5.
constexpr std::int32_t kStillMenuBcdLimit = 213;

int TokenNumber(const std::string& text, const std::string& token, const std::string& path) {
    std::string digits = text;
    while (!digits.empty() && digits.back() == ' ') digits.pop_back();
    while (!digits.empty() && digits.front() == ' ') digits.erase(0, 1);
    if (digits.empty() || digits.size() > 5 || digits.find_first_not_of("0123456789") != std::string::npos) {
        throw Error("\"" + path + "\" holds the token \"" + token + "\", which is not of the form v<vob>/c<cell>");
    }
    return std::stoi(digits);
}

VOB_ID_Properties& VobOf(JobContext& job, std::int16_t VobId) {
    return CurrentDomain(job).Vob_Id.Item(static_cast<std::size_t>(VobId));
}

// Indexes the VOB id's M2V, unless a resumed run did so already or the file is missing.
void ServeFrames(JobContext& job, const std::string& M2vPath, std::int16_t VobId) {
    if (RecoverySkip(job, 3) || !job.Files.FileExists(M2vPath)) return;
    const std::string name = CreateVOBName(VobId);
    if (job.Options().DGDecode == 0) {
        RunDVD2AVI(job, M2vPath, name, false);
        RunDVD2AVI(job, M2vPath, name, true);
    } else {
        RunDGDecode(job, M2vPath, name);
    }
}

void TypeAllCells(VOB_ID_Properties& vob, const std::string& type) {
    for (auto& cell : vob.CELL_ID) cell.VobType = type;
}

}  // namespace

VobTestResult ReadVobAnalysis(JobContext& job, const std::string& Path) {
    VobTestResult result;
    if (!job.Files.FileExists(Path) || job.Files.FileSize(Path) == 0) return result;
    std::vector<std::string> tokens;
    for (const auto& line : job.Files.ReadLines(Path)) {
        std::size_t start = 0;
        while (start <= line.size()) {
            std::size_t end = line.find('v', start);
            if (end == std::string::npos) end = line.size();
            std::string piece = line.substr(start, end - start);
            const auto scanEnd = piece.find("End Scan");
            if (scanEnd != std::string::npos) {
                piece.resize(scanEnd);
                result.Completed = true;
            }
            tokens.push_back("v" + piece);
            start = end + 1;
        }
    }
    for (const auto& token : tokens) {
        if (token == "v" || token.empty()) continue;
        const auto slash = token.find('/');
        if (slash == std::string::npos || token.size() < slash + 2 || token[slash + 1] != 'c') {
            throw Error("\"" + Path + "\" holds the token \"" + token + "\", which is not of the form v<vob>/c<cell>");
        }
        result.Stills.emplace_back(TokenNumber(token.substr(1, slash - 1), token, Path),
                                   TokenNumber(token.substr(slash + 2), token, Path));
    }
    return result;
}

void DetermineVobType(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "VobTyping", "DetermineVobType");
    const std::string work = job.Files.Paths().GetShortPath(job.WorkFolder);
    RunOutsideTool(job,
                   CommandLinePath(job, job.ProgramFolder + "\\vobtest.exe") + " \"" + work +
                       "\\SUBTITLES\\VTS_01_0.VOB\" \"" + work + "\\FRAMESERVING\\VOBAnalysis.txt\"",
                   2);
    WLOG(job, "Executing Dvd2avirb and Dvd2avidg");
    try {
        const VobTestResult scan = ReadVobAnalysis(job, job.WorkFolder + "\\FRAMESERVING\\VOBAnalysis.txt");
        auto& domain = CurrentDomain(job);
        const auto count = static_cast<std::int64_t>(domain.Vob_Id.Count());
        if (!scan.Completed) WLOG(job, "WARNING!!! - VOBTEST HAS FAILED, RESORTING TO D2V ANALYSIS");
        for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
            auto& vob = domain.Vob_Id.Item(v);
            const auto vobId = static_cast<std::int16_t>(v);
            std::string verdict;
            if (scan.Completed) {
                std::size_t stills = 0;
                for (const auto& [stillVob, stillCell] : scan.Stills) {
                    if (stillVob != static_cast<int>(v)) continue;
                    vob.CELL_ID.Item(static_cast<std::size_t>(stillCell)).VobType = "STILL";
                    ++stills;
                }
                verdict = stills == 0 ? "VIDEO" : stills == vob.CELL_ID.Count() ? "STILL/SLIDE" : "COMBO";
            }
            const std::string m2v = job.WorkFolder + "\\DEMUXED\\" + CreateVOBName(vobId) + ".M2V";
            if (vob.Dummy != 0) {
                WLOG(job, "VobId " + std::to_string(v) + " Flagged as a Dummy");
            } else if (scan.Completed) {
                FindVobType(job, m2v, vobId, verdict);
            } else {
                GetVobType(job, m2v, vobId);
            }
            UpdateProgress(job, static_cast<std::int64_t>(v), count, "VobType", false, false);
        }
    } catch (const Error& failure) {
        WLOG(job, std::string("DetermineVobType ended: ") + failure.what());
    }
    UpdateProgress(job, 0, 0, "", true, false);
}

void FindVobType(JobContext& job, const std::string& M2vPath, std::int16_t VobId, const std::string& Verdict) {
    ServeFrames(job, M2vPath, VobId);
    auto& domain = CurrentDomain(job);
    auto& vob = VobOf(job, VobId);
    if (Verdict == "STILL/SLIDE") {
        if (vob.CELL_ID.Count() > 1 || vob.Audio_Present != 0) {
            vob.Vob_Type = "SlideShow";
        } else {
            const auto bcd = PlayedCell(domain, static_cast<std::size_t>(VobId), 1).BCD;
            vob.Vob_Type = bcd <= kStillMenuBcdLimit ? "StillMenu" : "SlideShow";
        }
    } else if (Verdict == "COMBO") {
        vob.Vob_Type = "Combo";
        for (auto& cell : vob.CELL_ID) {
            cell.VobType = cell.VobType == "STILL" ? (vob.Audio_Present != 0 ? "SlideShow" : "StillMenu") : "Video";
        }
    } else {
        vob.Vob_Type = "Video";
        TypeAllCells(vob, "Video");
    }
    if (vob.Vob_Type == "Video" && job.Options().Muxman == 0) ShortCellTest(job, VobId, true);
    DummyCellTest(job, VobId);
    WLOG(job, "Final VOBTYPE for VOBID: " + CreateVOBName(VobId) + " is " + vob.Vob_Type);
}

void GetVobType(JobContext& job, const std::string& M2vPath, std::int16_t VobId) {
    WLOG(job, "Getting VobType");
    WLOG(job, "Running DVD2AVI for : " + CreateVOBName(VobId));
    ServeFrames(job, M2vPath, VobId);
    auto& domain = CurrentDomain(job);
    auto& vob = VobOf(job, VobId);
    const std::string log = job.WorkFolder + "\\FRAMESERVING\\" + CreateVOBName(VobId) + ".log";
    const std::int32_t frames = job.Files.FileExists(log) ? ParseLog(job, log, "D2VFRAMES") : 0;
    const auto cells = static_cast<std::int32_t>(vob.CELL_ID.Count());
    if (cells != 1) {
        // One frame a cell: a slide show of stills.
        vob.Vob_Type = cells > 0 && frames == cells ? "SlideShow" : "Video";
    } else if (PlayedCell(domain, static_cast<std::size_t>(VobId), 1).BCD <= kStillMenuBcdLimit && frames == 1) {
        vob.Vob_Type = vob.Audio_Present != 0 ? "SlideShow" : "StillMenu";
    } else {
        vob.Vob_Type = frames == 1 ? "SlideShow" : "Video";
    }
    if (vob.Vob_Type == "Video" && ShortCellTest(job, VobId, false) == 2) TypeAllCells(vob, "Video");
    if (DummyCellTest(job, VobId)) TypeAllCells(vob, "Video");
    WLOG(job, "VobType for VOBID " + std::to_string(VobId) + " is " + vob.Vob_Type);
}

int ShortCellTest(JobContext& job, std::int16_t VobId, bool OneCellExempt) {
    auto& domain = CurrentDomain(job);
    auto& vob = VobOf(job, VobId);
    const auto& options = job.Options();
    const std::string& standard = job.Timing.VideoStandard;
    const std::size_t count = vob.CELL_ID.Count();
    for (std::size_t c = 1; c <= count; ++c) {
        const auto frames = PlayedCell(domain, static_cast<std::size_t>(VobId), c).Frames;
        const bool bitmaps = vob.CELL_ID.Item(c).Bmps != 0;
        // Under one second once converted to NTSC, with a subpicture to show.
        if (standard == "PAL" && options.Conversion == 1 && job.State().ConvertAudio != 0 &&
            std::nearbyint(frames * 0.8324) < 30 && bitmaps && (!OneCellExempt || count > 1)) {
            vob.Vob_Type = "Combo";
            return 1;
        }
        if (((frames == 30 && standard == "NTSC") || (frames == 25 && standard == "PAL")) && c > 1 && bitmaps &&
            vob.CELL_ID.Item(c - 1).Bmps != 0) {
            vob.Vob_Type = "Combo";
            WLOG(job, "1 sec cells for vobid : " + std::to_string(VobId));
            return 2;
        }
    }
    return 0;
}

bool DummyCellTest(JobContext& job, std::int16_t VobId) {
    auto& domain = CurrentDomain(job);
    auto& vob = VobOf(job, VobId);
    std::int64_t dummy = 0;
    std::int64_t real = 0;
    for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
        const auto& cell = PlayedCell(domain, static_cast<std::size_t>(VobId), c);
        (cell.DummyCell != 0 ? dummy : real) += cell.Frames;
    }
    if (vob.Vob_Type != "Video" || dummy <= 0 || dummy <= real) return false;
    vob.Vob_Type = "Combo";
    WLOG(job, "DummyCells in Vob " + std::to_string(VobId));
    return true;
}

}  // namespace kestrova
