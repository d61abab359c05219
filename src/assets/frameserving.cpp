// Indexing tools, their statistics log and the forced indexing of a cell:
// see frameserving.h.
#include "assets/frameserving.h"

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/d2v_analysis.h"
#include "job/log_writers.h"
#include "platform/error.h"
#include "platform/path_space.h"
#include "platform/text.h"

namespace kestrova {

namespace {

std::string IndexCommandTail(const JobContext& job, const std::string& M2vPath, const std::string& Name) {
    return " -YR=1 -TN=1 -IF=[" + M2vPath + "] -DRC=0 -OF=[" + job.WorkFolder + "\\FRAMESERVING\\" +
           WithoutExtension(Name) + "] -exit";
}

}  // namespace

void RunDVD2AVI(JobContext& job, const std::string& M2vPath, const std::string& Name, bool Second) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "RunDVD2AVI");
    const std::string tool = Second ? "\\new.dvd2avi\\dvd2avidg.exe" : "\\new.dvd2avi\\dvd2avirb.exe";
    RunOutsideTool(job,
                   CommandLinePath(job, job.ProgramFolder + tool) + " -IA=1" + " -FO=0" + " -Cs=2" +
                       IndexCommandTail(job, M2vPath, Name),
                   kFrameServerWindowStyle);
}

void RunDGDecode(JobContext& job, const std::string& M2vPath, const std::string& Name) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "RunDGDecode");
    RunOutsideTool(job,
                   CommandLinePath(job, job.ProgramFolder + "\\new.dvd2avi\\DGIndex.exe") + " -IA=1" + " -FO=0" +
                       IndexCommandTail(job, M2vPath, Name),
                   kFrameServerWindowStyle);
}

FrameServerLog ReadFrameServerLog(JobContext& job, const std::string& LogPath) {
    WLOG(job, "\tParsing Log");
    FrameServerLog log;
    if (!job.Files.FileExists(LogPath)) {
        WLOG(job, "LOGFILE not found - using DEFAULTS");
        return log;
    }
    log.Found = true;
    bool frames = false;
    std::size_t number = 0;
    for (const auto& line : job.Files.ReadLines(LogPath)) {
        ++number;
        const auto equals = line.find('=');
        if (line.size() < 3 || equals == std::string::npos) continue;
        const std::string key = platform::ToUpperAscii(line.substr(0, 3));
        const std::string text = platform::Trim(line.substr(equals + 1));
        const double value = platform::LeadingNumber(text);
        const auto whole = static_cast<std::int32_t>(value);
        const bool known = key == "D2V" || key == "PRO" || key == "TFF" || key == "ZIG" || key == "PER";
        if (known && (text.empty() || text.find_first_of("0123456789") != (text[0] == '-' ? 1u : 0u))) {
            WLOG(job, "\tThe log " + LogPath + ", line " + std::to_string(number) + " (\"" + line.substr(0, 60) +
                          "\") has no number; 0 is used");
        }
        if (key == "D2V") {
            frames = true;
            log.Frames = whole == 0 ? 1 : whole;
        } else if (key == "PRO") {
            log.Progressive = whole;
        } else if (key == "TFF") {
            log.TopFieldFirst = whole;
        } else if (key == "ZIG") {
            log.ZigZag = whole;
        } else if (key == "PER") {
            log.FilmPercent = value;
        }
    }
    if (!frames) {
        WLOG(job, "\tThe log " + LogPath + " has no D2V line; 1 frame is used");
        log.Frames = 1;
    }
    return log;
}

std::int32_t ParseLog(JobContext& job, const std::string& LogPath, const std::string& Query, std::string* FieldType) {
    if (Query != "D2VFRAMES" && Query != "FIELD" && Query != "FILM") {
        throw Error("ParseLog was asked for \"" + Query + "\" of \"" + LogPath +
                    "\"; it answers D2VFRAMES, FIELD or FILM");
    }
    const FrameServerLog log = ReadFrameServerLog(job, LogPath);
    if (Query == "D2VFRAMES") return log.Found ? log.Frames : 1;
    if (Query == "FILM") return log.Found && log.FilmPercent >= 95.0 ? 1 : 0;
    std::string field = "TFF";
    if (log.Found) {
        const double frames = log.Frames > 0 ? static_cast<double>(log.Frames) : 1.0;
        field = log.TopFieldFirst != 0 && static_cast<double>(log.TopFieldFirst) / frames > 0.5 ? "TFF" : "BFF";
    }
    if (FieldType != nullptr) *FieldType = field;
    return 0;
}

std::int32_t ForceD2V(JobContext& job, const std::string& M2vPath, std::int16_t VobId, std::int16_t CellId) {
    platform::TraceFrame frame(job.Trace, "Frameserving", "ForceD2V");
    const std::string frameserving = job.WorkFolder + "\\FRAMESERVING";
    if (!job.Files.FolderExists(frameserving)) job.Files.MakeFolder(frameserving);
    WLOG(job, "Running DVD2AVI for : " + std::to_string(VobId));
    const std::string name = CreateVOBName(VobId) + "_" + CreateCellName(CellId);
    if (job.Options().DGDecode == 0) {
        RunDVD2AVI(job, M2vPath, name, false);
        RunDVD2AVI(job, M2vPath, name, true);
    } else {
        RunDGDecode(job, M2vPath, name);
    }
    const std::string base = frameserving + "\\" + name;
    const std::int32_t frames = ParseLog(job, base + ".log", "D2VFRAMES");
    if (frames <= 1) return 1;
    // The script is opened before it is written: a script left by an
    // earlier run that the frame server refuses is written in its safe
    // form. The length is the indexer's, since on a first run there is no
    // script yet to count.
    const std::string type = AnalyzeD2V(job, base + ".d2v", base + ".log");
    const bool errorMode = OpenAviFile(job, base + ".avs") == kScriptFailed;
    WriteAVS(job, base + ".avs", type, name, errorMode, false, false);
    return frames;
}

void CheckAVS(JobContext& job) {
    const auto& avs = job.AvisynthScripts;
    WLF(job, "scanning avisynth scripts");
    WLOG(job, "Header=" + avs.Avisynth_Header);
    WLOG(job, "Footer_I = " + avs.Avisynth_Footer_Interlaced);
    WLOG(job, "Footer_P = " + avs.Avisynth_Footer_Progressive);
    WLOG(job, "Interlaced = " + avs.Avisynth_Interlaced);
    WLOG(job, "Normal = " + avs.Avisynth_Normal);
    WLOG(job, "Telecine = " + avs.Avisynth_Telecine);
    WLOG(job, "Hybrid = " + avs.Avisynth_Hybrid);
    WLOG(job, "MpegSwitch = " + avs.Avisynth_MpegSwitch);
}

}  // namespace kestrova
