// Closed captions cut along the cells: see closed_captions.h.
#include "subpicture/closed_captions.h"

#include <map>
#include <vector>

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "dvd/reader_log.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/text.h"
#include "platform/trace.h"

namespace kestrova {

namespace {

constexpr const char* kSccHead = "Scenarist_SCC V1.0";
// A caption line's time code: HH:MM:SS:FF, 30 labels a second.
constexpr std::size_t kTimeCodeLength = 11;
constexpr int kLabelsPerSecond = 30;

// One row of the cell table: where a cell starts on the PGC's time line.
struct CellRow {
    std::int16_t Vob = 0;
    std::int16_t Cell = 0;
    std::int32_t Start = 0;
};

struct CaptionLine {
    std::int32_t Frames = 0;
    std::string Words;  // behind the tab, as written
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Two digits at `at`, or -1.
int TwoDigits(const std::string& text, std::size_t at) {
    return IsDigit(text[at]) && IsDigit(text[at + 1]) ? (text[at] - '0') * 10 + (text[at + 1] - '0') : -1;
}

// Reads "HH:MM:SS:FF<TAB>word word ..."; false, with `fault` saying why,
// for a line without a tab, a time code that names no frame of 30 a
// second (the "99:99:99:99" of a list that never ends among them), or a
// word that is not four hexadecimal digits.
bool ReadCaptionLine(const TimeBase& timeBase, const std::string& line, CaptionLine& caption, std::string& fault) {
    const auto tab = line.find('\t');
    if (tab == std::string::npos) {
        fault = "no tab between the time code and the words";
        return false;
    }
    const std::string time = line.substr(0, tab);
    const bool shaped = time.size() == kTimeCodeLength && TwoDigits(time, 0) >= 0;
    if (!shaped || TwoDigits(time, 3) < 0 || TwoDigits(time, 3) > 59 || TwoDigits(time, 6) < 0 ||
        TwoDigits(time, 6) > 59 || TwoDigits(time, 9) < 0 || TwoDigits(time, 9) >= kLabelsPerSecond) {
        fault = "the time code \"" + time + "\" is not HH:MM:SS:FF at 30 frames a second";
        return false;
    }
    caption.Words = line.substr(tab + 1);
    for (std::size_t from = 0; from <= caption.Words.size();) {
        std::size_t end = caption.Words.find(' ', from);
        if (end == std::string::npos) end = caption.Words.size();
        const std::string word = caption.Words.substr(from, end - from);
        if (word.size() != 4 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            fault = "\"" + word + "\" is not a word of four hexadecimal digits";
            return false;
        }
        from = end + 1;
    }
    caption.Frames = SST2Frames(timeBase, time);
    return true;
}

// The cell table of the domain, in VOB order. A "Video" VOB is one asset:
// each of its cells starts where the VOB does, its first cell's start on
// the running total R, which then grows by the VOB's last end. Another
// VOB's cells start at their TotalFrames, which R takes.
std::vector<CellRow> CellTable(JobContext& job, VTS_Properties& domain, const std::string& folder) {
    std::vector<CellRow> rows;
    std::int32_t running = 0;
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        const auto& vob = domain.Vob_Id.Item(v);
        const bool video = vob.Vob_Type == "Video";
        for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
            job.Files.DeleteFile(folder + "\\" + CreateVOBName(static_cast<int>(v)) + ".scc");
            job.Files.DeleteFile(folder + "\\" + CreateVOBName(static_cast<int>(v)) + "_" +
                                 CreateCellName(static_cast<int>(c)) + ".scc");
            std::int32_t start = 0;
            if (video) {
                start = vob.CELL_ID.Item(1).StartFrame + running;
            } else {
                start = vob.CELL_ID.Item(c).TotalFrames;
                running = start;
            }
            rows.push_back({static_cast<std::int16_t>(v), static_cast<std::int16_t>(c), start});
        }
        if (video && vob.CELL_ID.Count() > 0) running += vob.CELL_ID.Item(vob.CELL_ID.Count()).EndFrame;
    }
    return rows;
}

// The row a caption at `frames` falls in: the last whose start is not
// beyond it; none for a caption before the first row.
const CellRow* RowOf(const std::vector<CellRow>& rows, std::int32_t frames) {
    for (auto row = rows.rbegin(); row != rows.rend(); ++row) {
        if (row->Start <= frames) return &*row;
    }
    return nullptr;
}

}  // namespace

void ProcessCC(JobContext& job, std::int16_t pgcCount) {
    platform::TraceFrame frame(job.Trace, "ClosedCaptions", "ProcessCC");
    WLF(job, "checking for closed captions");
    auto& domain = CurrentDomain(job);
    const std::string folder = job.WorkFolder + "\\SUBTITLES";
    const std::vector<CellRow> rows = CellTable(job, domain, folder);

    // The asset files as they grow, written when every PGC has been read.
    std::map<std::string, std::string> assets;
    for (int i = 1; i <= pgcCount; ++i) {
        const std::string path = folder + "\\PGC_" + std::to_string(i) + ".scc";
        if (!job.Files.FileExists(path)) continue;
        WLOG(job, "PGC-" + std::to_string(i));
        const std::vector<std::string> lines = job.Files.ReadLines(path);
        for (std::size_t n = 1; n < lines.size(); ++n) {
            // The line of one blank before each caption is a separator.
            if (platform::Trim(lines[n]).empty()) continue;
            CaptionLine caption;
            std::string fault;
            if (!ReadCaptionLine(job.Timing, lines[n], caption, fault)) {
                WLOG(job, "\tWARNING: " + path + " line " + std::to_string(n + 1) + ": " + fault + "; passed over");
                continue;
            }
            const CellRow* row = RowOf(rows, caption.Frames);
            if (row == nullptr) continue;
            auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(row->Vob));
            std::string target = folder + "\\" + CreateVOBName(row->Vob);
            if (vob.Vob_Type == "Video") {
                // One file for the VOB, its captions two frames later.
                target += ".scc";
                auto& text = assets[target];
                if (text.empty()) text = std::string(kSccHead) + "\r\n";
                text += " \r\n" + ConvertFrame2Time(job.Timing, caption.Frames - row->Start + 2) + "\t" +
                        caption.Words + "\r\n";
                vob.Line_21_FilePath_1 = target;
                vob.Line_21_Switch_1 = -1;
            } else {
                // The cell's file is written anew: its last caption is the one kept.
                target += "_" + CreateCellName(row->Cell) + ".scc";
                assets[target] = std::string(kSccHead) + "\r\n \r\n" +
                                 ConvertFrame2Time(job.Timing, caption.Frames - row->Start) + "\t" + caption.Words +
                                 "\r\n";
                auto& cell = vob.CELL_ID.Item(static_cast<std::size_t>(row->Cell));
                cell.Line_21_FilePath_1 = target;
                cell.Line_21_Switch_1 = -1;
            }
            WLOG(job, "NewSccFile[ Vobid=" + std::to_string(row->Vob) + ", Cellid=" + std::to_string(row->Cell) +
                          " ]=" + target);
        }
    }
    for (const auto& [path, text] : assets) job.Files.WriteFileAtomic(path, text);
    WLFC(job);
}

}  // namespace kestrova
