// The subpicture lists read into the model: see sst.h. Each PGC's .idx
// gives the subpicture frame, each stream's .sst the head values and the
// events; every event that is not commented out becomes a bmp record with
// corrected times, and streams without a list are filled with dummies.
#include "subpicture/sst.h"

#include <algorithm>
#include <map>
#include <utility>

#include "assets/asset_support.h"
#include "dvd/stream_attributes.h"
#include "job/log_writers.h"
#include "job/timecode.h"
#include "platform/error.h"
#include "platform/text.h"
#include "platform/trace.h"
#include "subpicture/closed_captions.h"
#include "subpicture/sst_support.h"

namespace kestrova {

namespace {

constexpr int kStreamIds = 32;  // sub-streams 0x20 to 0x3F

std::vector<std::string> SplitAt(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t from = 0;
    while (true) {
        const auto at = text.find(separator, from);
        parts.push_back(text.substr(from, at == std::string::npos ? std::string::npos : at - from));
        if (at == std::string::npos) return parts;
        from = at + 1;
    }
}

// The number a text begins with, 0 when it begins with none, held to 16 bits.
std::int16_t Val(std::string_view text) {
    const std::int64_t value = platform::LeadingWholeNumber(text);
    if (value > INT16_MAX) return INT16_MAX;
    if (value < INT16_MIN) return INT16_MIN;
    return static_cast<std::int16_t>(value);
}

// Behind a leading "(", and before a closing ")".
std::string_view BehindBracket(std::string_view word) { return word.empty() || word[0] != '(' ? word : word.substr(1); }

// The words of a field split at blanks, with empty words for those missing.
std::vector<std::string> Words(const std::string& text, std::size_t count) {
    std::vector<std::string> words = SplitAt(text, ' ');
    words.resize(std::max(words.size(), count));
    return words;
}

// The values the head and the settings lines of a list hold, each holding
// for the events behind it.
struct SstSettings {
    std::string Drop;
    std::int16_t X1 = 0, Y1 = 0, X2 = 0, Y2 = 0;
    std::int16_t Top = 0, Bottom = 0;
    std::int16_t ColorE1 = 0, ColorP = 0, ColorBg = 0, ColorE2 = 0;
    std::int16_t ContrastE1 = 0, ContrastP = 0, ContrastBg = 0, ContrastE2 = 0;
};

void ReadSetting(const std::string& line, SstSettings& settings) {
    const std::string_view kind = std::string_view(line).substr(0, 5);
    const std::vector<std::string> fields = SplitAt(line, '\t');
    const std::string second = fields.size() > 1 ? fields[1] : std::string();
    if (kind == "Tape_") {
        settings.Drop = second;
    } else if (kind == "Displ") {
        // A "Display_Start" line reads so too; the Display_Area line behind it
        // sets the area.
        const auto words = Words(second, 4);
        settings.X1 = Val(BehindBracket(words[0]));
        settings.Y1 = Val(words[1]);
        settings.X2 = Val(words[2]);
        settings.Y2 = Val(words[3].substr(0, 3));
    } else if (kind == "Pixel") {
        const auto words = Words(second, 2);
        settings.Top = Val(BehindBracket(words[0]));
        settings.Bottom = Val(words[1].substr(0, 3));
    } else if (kind == "Color") {
        // A first word, then the four indices in brackets.
        const auto words = Words(second, 5);
        settings.ColorE1 = Val(BehindBracket(words[1]));
        settings.ColorP = Val(words[2]);
        settings.ColorBg = Val(words[3]);
        settings.ColorE2 = Val(words[4]);
    } else if (kind == "Contr") {
        const auto open = line.find('(');
        const auto words = Words(open == std::string::npos ? std::string() : line.substr(open + 1), 4);
        settings.ContrastE1 = Val(words[0]);
        settings.ContrastP = Val(words[1]);
        settings.ContrastBg = Val(words[2]);
        settings.ContrastE2 = Val(words[3]);
    }
}

// The subpicture frame of a PGC's .idx: "size: 720x576" and "org: 0, 0".
struct IdxFrame {
    std::int16_t Width = 0, Height = 0, OriginX = 0, OriginY = 0;
};

IdxFrame ReadIdxFrame(JobContext& job, const std::string& path) {
    IdxFrame frame;
    for (const auto& line : job.Files.ReadLines(path)) {
        const auto colon = line.find(": ");
        const std::string value = colon == std::string::npos ? std::string() : line.substr(colon + 2);
        if (line.rfind("size:", 0) == 0) {
            const auto x = value.find('x');
            frame.Width = Val(value);
            frame.Height = x == std::string::npos ? 0 : Val(std::string_view(value).substr(x + 1));
        } else if (line.rfind("org:", 0) == 0) {
            const auto comma = value.find(", ");
            frame.OriginX = Val(value);
            frame.OriginY = comma == std::string::npos ? 0 : Val(std::string_view(value).substr(comma + 2));
        }
    }
    return frame;
}

// A height or vertical position of the source in the other standard's lines.
std::int16_t ConvertedLines(const JobContext& job, std::int16_t value) {
    const double scaled = job.Timing.VideoStandard == "PAL" ? value / 1.2 : value * 1.2;
    return static_cast<std::int16_t>(scaled + 0.5);
}

// "VMG_" for the Video Manager, "VTS<n>_" for title set n.
std::string DomainPrefix(const JobContext& job) {
    return job.DomainIndex == 1 ? "VMG_" : "VTS" + std::to_string(job.DomainIndex - 1) + "_";
}

// The cell as played, when the model has it.
const CellID_Properties* PlayedCellOf(const VTS_Properties& domain, std::int16_t vob, std::int16_t cell) {
    if (domain.Video.Count() < 1) return nullptr;
    const auto& vobs = domain.Video.Item(1).VobId;
    if (vob < 1 || static_cast<std::size_t>(vob) > vobs.Count()) return nullptr;
    const auto& cells = vobs.Item(static_cast<std::size_t>(vob)).CellId;
    if (cell < 1 || static_cast<std::size_t>(cell) > cells.Count()) return nullptr;
    return &cells.Item(static_cast<std::size_t>(cell));
}

// One list read whole: its lines, and each event line's parse and position
// among its cell's bitmaps.
struct SstList {
    std::vector<std::string> Lines;
    std::map<std::size_t, SstEvent> Events;       // by line index
    std::map<std::size_t, std::int16_t> Position;  // by line index
};

// Reads and checks a list: every event well formed and naming a cell of
// the domain. A fault gives the sentence naming file and line.
bool ReadSstList(JobContext& job, const std::string& path, SstList& list, std::string& fault) {
    list.Lines = job.Files.ReadLines(path);
    std::pair<std::int16_t, std::int16_t> previous{0, 0};
    std::int16_t count = 0;
    for (std::size_t i = 0; i < list.Lines.size(); ++i) {
        if (ClassifySstLine(list.Lines[i], i) != SstLineKind::Event) continue;
        SstEvent event;
        std::string what;
        if (ParseSstEvent(list.Lines[i], event, what)) {
            try {
                SstCell(job, event.Vob, event.Cell);
            } catch (const Error& missing) {
                what = missing.what();
            }
        }
        if (!what.empty()) {
            fault = "the subpicture list " + path + ", line " + std::to_string(i + 1) + " (\"" +
                    list.Lines[i].substr(0, 80) + "\"): " + what;
            return false;
        }
        const std::pair<std::int16_t, std::int16_t> here{event.Vob, event.Cell};
        count = here == previous ? static_cast<std::int16_t>(count + 1) : std::int16_t{1};
        previous = here;
        list.Events.emplace(i, event);
        list.Position.emplace(i, count);
    }
    return true;
}

// The start of the event after line `at`: the next one, whichever cell it
// names; but behind commented-out events only one of the same cell. Empty
// when there is none; `commentedAway` tells that there was none behind
// commented-out events, so the bitmap counts as its cell's last.
std::string NextStart(const SstList& list, std::size_t at, const SstEvent& event, bool& commentedAway) {
    commentedAway = false;
    bool behindComment = false;
    for (auto it = list.Events.upper_bound(at); it != list.Events.end(); ++it) {
        const SstEvent& next = it->second;
        if (next.CommentedOut) {
            behindComment = true;
            continue;
        }
        if (behindComment && (next.Vob != event.Vob || next.Cell != event.Cell)) {
            commentedAway = true;
            return {};
        }
        return next.Start;
    }
    commentedAway = behindComment;
    return {};
}

// Gives the streams without a list of their own the first listed stream's
// bitmaps, pointing at one blank bitmap.
void EqualiseStreams(JobContext& job, VTS_Properties& domain, const std::string& aspect) {
    const auto& o = job.Options();
    // An NTSC target with conversion, or a PAL one without: a PAL source
    // either way, whose dummy is the PAL frame even when the job converts.
    const bool palDummy = (NtscResult(SstTimeBase(job)) && o.Conversion == 1) ||
                          (!NtscResult(SstTimeBase(job)) && o.Conversion == 0);
    const std::string dummySource = job.ProgramFolder + (palDummy ? "\\PAL.bmp" : "\\NTSC.bmp");
    const std::string dummy = domain.OutputDir + "\\SUBTITLES\\Dummy.bmp";
    try {
        if (!job.Files.FileExists(dummy)) {
            job.Files.MakeFolder(domain.OutputDir + "\\SUBTITLES");
            job.Files.CopyFile(dummySource, dummy);
        }
    } catch (const Error& failure) {
        WLOG(job, failure.what());
        // Where the disk lacked room for the frame the job stops, so that a
        // resumption makes it again.
        if (job.Files.FileExists(dummySource)) StopIfJobDiskLacks(job, job.Files.FileSize(dummySource));
    }
    std::string label = "Wide/Letter/Pan";
    if (aspect == "4:3") label = "Normal";
    if (aspect == "Only Letterbox") label = "Wide/Letter";
    if (aspect == "Only Panscan") label = "Wide/Pan";

    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        auto& vob = domain.Vob_Id.Item(v);
        std::size_t source = 0;
        for (std::size_t j = 1; j <= vob.SUB_STREAM.Count() && source == 0; ++j) {
            for (const auto& cell : vob.SUB_STREAM.Item(j).CELL_DETAILS) {
                for (const auto& bitmap : cell.bmp) {
                    if (!bitmap.Cell_FileName.empty()) source = j;
                }
            }
        }
        if (source == 0) continue;
        for (std::size_t j = 1; j <= vob.SUB_STREAM.Count(); ++j) {
            auto& stream = vob.SUB_STREAM.Item(j);
            if (stream.StreamUsed != 0) continue;
            const auto& from = vob.SUB_STREAM.Item(source).CELL_DETAILS;
            for (std::size_t c = 1; c <= stream.CELL_DETAILS.Count() && c <= from.Count(); ++c) {
                auto& bitmaps = stream.CELL_DETAILS.Item(c).bmp;
                for (std::size_t k = 1; k <= bitmaps.Count() && k <= from.Item(c).bmp.Count(); ++k) {
                    auto& bitmap = bitmaps.Item(k);
                    bitmap = from.Item(c).bmp.Item(k);
                    bitmap.FilePath = dummy;
                    bitmap.Cell_FileName = DomainPrefix(job) + std::to_string(v) + "_" + std::to_string(j) + "_" +
                                           std::to_string(k);
                    bitmap.Language = "en";
                    bitmap.Display_Mode = label;
                    bitmap.ForcedStart = "No";
                }
            }
        }
    }
}

// What ProcessSST keeps across the events of one stream's list.
struct StreamPass {
    std::int16_t Stream = 0;      // the stream's position: its id + 1
    std::int16_t Reference = 0;   // the PGC's first stream position with a list
    std::string Label, Language;
    IdxFrame Frame;
};

// Steps 6 to 10 for the event on line `at`.
void EnterEvent(JobContext& job, VTS_Properties& domain, const SstList& list, std::size_t at,
                const SstSettings& settings, const StreamPass& pass) {
    const auto& o = job.Options();
    const SstEvent& event = list.Events.at(at);
    const std::int16_t count = list.Position.at(at);
    std::string start = event.Start;
    std::string end = event.End;
    std::string name = platform::WithoutExtension(event.FileName);
    std::int16_t resizedHeight = 0;
    if (o.Conversion == 1 && !event.CommentedOut) {
        const std::string folder = job.WorkFolder + "\\SUBTITLES\\";
        const bool pal = job.Timing.VideoStandard == "PAL";
        resizedHeight = BitmapResize(job, folder + name + ".bmp", folder + name + ".New.bmp",
                                     pal ? "PAL2NTSC" : "NTSC2PAL", pal ? 574 : 478);
        name += ".New";
    }
    WLOG(job, "SST Start=" + start + " SST End=" + end);
    auto& vob = SstVob(job, event.Vob);
    auto& cell = SstCell(job, event.Vob, event.Cell);
    auto& details = StreamCell(vob, pass.Stream, event.Cell);
    vob.SUB_STREAM.Item(static_cast<std::size_t>(pass.Stream)).StreamUsed = -1;
    WLOG(job, "Vobid = " + std::to_string(event.Vob) + ", Cellid = " + std::to_string(event.Cell));
    WLOG(job, "BMPCount = " + std::to_string(count));
    WLOG(job, "Adding Cells to StreamNumber");
    auto& bitmap = CellBitmap(details, count);
    if (event.CommentedOut) {
        if (event.Highlight) bitmap.HighLight_Present = -1;
        return;
    }

    std::string duration;
    std::int16_t enableStop = 0;
    bool fromReference = false;
    if (event.Highlight && pass.Reference != 0 && pass.Stream != pass.Reference) {
        // A highlight shows with its buttons: every stream's copy at the same time.
        WLOG(job, "Checking StartTime & Duration for Compliancy");
        const auto& reference = StreamCell(vob, pass.Reference, event.Cell);
        if (static_cast<std::size_t>(count) <= reference.bmp.Count() &&
            !reference.bmp.Item(static_cast<std::size_t>(count)).Track_Start_Time_To_Video.empty()) {
            const auto& same = reference.bmp.Item(static_cast<std::size_t>(count));
            start = same.Track_Start_Time_To_Video;
            end = same.EndFrame;
            duration = same.Track_Duration;
            enableStop = same.EnableStop;
            fromReference = true;
        }
    }
    const CellID_Properties* played = PlayedCellOf(domain, event.Vob, event.Cell);
    if (played == nullptr || played->DummyCell == 0) {
        cell.Cell_Sub_Present = -1;
        if (!fromReference) {
            WLOG(job, "Correcting Start and End Times");
            bool commentedAway = false;
            std::string next = NextStart(list, at, event, commentedAway);
            const auto bmpIndex = commentedAway ? static_cast<std::int16_t>(details.bmp.Count()) : count;
            end = CheckSSTTime(job, end, "E", event.Vob, event.Cell, pass.Stream, bmpIndex, next, enableStop);
            start = CheckSSTTime(job, start, "S", event.Vob, event.Cell, pass.Stream, bmpIndex, next, enableStop);
            duration = SSTDuration(job, start, end, false);
        }
        WLOG(job, "Start Time= " + start + ", End Time= " + end + ", Duration= " + duration);
    } else {
        duration = SSTDuration(job, start, end, false);
    }

    const SstTiming timing = SstTimingOf(job);
    const bool ntscTarget = NtscResult(SstTimeBase(job));
    ++vob.TotalSubs;
    bitmap.Track_Start_Time_To_Video = start;
    bitmap.Track_Duration = duration;
    bitmap.EnableStop = enableStop;
    if (event.Highlight || enableStop != 0) {
        bitmap.Data_Duration = SSTDuration(job, start, end, true);
        bitmap.Stop_Time_To_Video = bitmap.Data_Duration;
    }
    bitmap.Stop_Duration = "00:00:01" + timing.Separator + "00";
    const std::vector<std::string> fields = SplitAt(event.FileName, '_');
    bitmap.Cell_FileName = DomainPrefix(job) + fields[1].substr(0, 1) + "_" + std::to_string(pass.Stream) + "_" +
                           fields[2];
    bitmap.BCD_Duration = played != nullptr ? played->BCD : 0;
    bitmap.Display_Mode = pass.Label;
    bitmap.Language = pass.Language;
    bitmap.Drop = settings.Drop;
    bitmap.Width = 720;
    bitmap.Height = ntscTarget ? 478 : 574;
    bitmap.Resolution = ntscTarget ? "NTSC" : "PAL";
    bitmap.FilePath = job.WorkFolder + "\\SUBTITLES\\" + name + ".bmp";
    bitmap.Display_Area_X1 = settings.X1;
    bitmap.Display_Area_X2 = settings.X2;
    bitmap.Display_Area_Y1 = settings.Y1;
    bitmap.Display_Area_Y2 = settings.Y2;
    bitmap.Pixel_Area_Top = settings.Top;
    bitmap.Pixel_Area_Bottom = settings.Bottom;
    bitmap.Color_E1 = settings.ColorE1;
    bitmap.Color_P = settings.ColorP;
    bitmap.Color_Bg = settings.ColorBg;
    bitmap.Color_E2 = settings.ColorE2;
    bitmap.Contrast_E1 = settings.ContrastE1;
    bitmap.Contrast_P = settings.ContrastP;
    bitmap.Contrast_Bg = settings.ContrastBg;
    bitmap.Contrast_E2 = settings.ContrastE2;
    bitmap.ForcedStart = "Yes";
    if (event.Highlight) {
        bitmap.EndFrame = end;
        bitmap.HighLight_Present = -1;
        details.HighLights = -1;
    }
    bitmap.ConvertedWidth = pass.Frame.Width;
    bitmap.ConvertedOriginX = pass.Frame.OriginX;
    bitmap.ConvertedDisplay_Area_X1 = settings.X1;
    bitmap.ConvertedDisplay_Area_X2 = settings.X2;
    bitmap.ConvertedHeight = ConvertedLines(job, pass.Frame.Height);
    bitmap.ConvertedOriginY = ConvertedLines(job, pass.Frame.OriginY);
    bitmap.ConvertedDisplay_Area_Y1 = ConvertedLines(job, settings.Y1);
    bitmap.ConvertedDisplay_Area_Y2 = ConvertedLines(job, settings.Y2);
    bitmap.ConvertedPixel_Area_Top = ConvertedLines(job, settings.Top);
    bitmap.ConvertedPixel_Area_Bottom = ConvertedLines(job, settings.Bottom);
    if (o.Conversion == 1) {
        bitmap.ConvertedSubSizeX = pass.Frame.Width > 0 ? pass.Frame.Width : std::int16_t{720};
        bitmap.ConvertedSubSizeY = resizedHeight;
    }
}

}  // namespace

bool ParseSstEvent(const std::string& line, SstEvent& event, std::string& fault) {
    event = SstEvent{};
    event.CommentedOut = !line.empty() && line[0] == '#';
    const std::vector<std::string> fields = SplitAt(event.CommentedOut ? line.substr(1) : line, '\t');
    if (fields.size() < 4) {
        fault = "an event has four tab-separated fields, this line " + std::to_string(fields.size());
        return false;
    }
    event.Number = fields[0];
    event.Start = platform::Trim(fields[1]);
    event.End = platform::Trim(fields[2]);
    event.FileName = platform::Trim(fields[3]);
    for (std::size_t i = 4; i < fields.size(); ++i) event.Rest += "\t" + fields[i];
    event.Highlight = line.find("Highlight") != std::string::npos;
    if (!IsSstTime(event.Start)) {
        fault = "the start \"" + event.Start + "\" is not a time HH:MM:SS:FF";
        return false;
    }
    if (!IsSstTime(event.End)) {
        fault = "the end \"" + event.End + "\" is not a time HH:MM:SS:FF";
        return false;
    }
    // P<i>_S<id>_<number>_V<vob>_C<cell>.bmp
    const std::vector<std::string> parts = SplitAt(platform::WithoutExtension(event.FileName), '_');
    if (parts.size() >= 5 && parts[1].size() >= 1 && parts[3].size() >= 2 && parts[4].size() >= 2) {
        event.Vob = Val(std::string_view(parts[3]).substr(1));
        event.Cell = Val(std::string_view(parts[4]).substr(1));
    }
    if (event.Vob < 1 || event.Cell < 1) {
        fault = "the bitmap name \"" + event.FileName + "\" gives no VOB id and cell (P<i>_S<id>_<n>_V<vob>_C<cell>)";
        return false;
    }
    return true;
}

std::string SstPath(const JobContext& job, int pgc, int streamId) {
    return job.WorkFolder + "\\SUBTITLES\\PGC_" + std::to_string(pgc) + "0x" + std::to_string(streamId + 20) + ".sst";
}

std::int16_t BitmapResize(JobContext& job, const std::string& inputBmp, const std::string& outputBmp,
                          const std::string& direction, std::int16_t height) {
    platform::TraceFrame frame(job.Trace, "SST", "BitmapResize");
    RunOutsideTool(job,
                   "\"" + job.ProgramFolder + "\\BitmapResize.exe\" " + CommandLinePath(job, inputBmp) + " " +
                       CommandLinePath(job, outputBmp) + " " + direction,
                   0);
    const int lines = direction == "PAL2NTSC" ? height * 480 / 576 : height * 576 / 480;
    return static_cast<std::int16_t>(lines);
}

void ProcessSST(JobContext& job, std::int16_t pgcCount, std::int16_t streamCount) {
    platform::TraceFrame frame(job.Trace, "SST", "ProcessSST");
    WLF(job, "process sst");
    LogWindow(job, "Processing SST Files");
    auto& domain = SstDomain(job);
    const std::string aspect = GetAspect(job, job.DomainIndex);
    const bool wide = domain.Video.Count() > 0 && domain.Video.Item(1).Display == "16 : 9";
    const bool panScan = domain.Video.Count() > 0 && domain.Video.Item(1).Display_Pan_Scan != 0;

    for (int i = 1; i <= pgcCount; ++i) {
        const std::string idx = job.WorkFolder + "\\SUBTITLES\\PGC_" + std::to_string(i) + ".idx";
        if (!job.Files.FileExists(idx)) continue;
        WLOG(job, "PGC Number = " + std::to_string(i));
        StreamPass pass;
        pass.Frame = ReadIdxFrame(job, idx);
        for (int s = 0; s < kStreamIds; ++s) {
            const std::string path = SstPath(job, i, s);
            if (!job.Files.FileExists(path)) continue;
            pass.Stream = static_cast<std::int16_t>(s + 1);
            WLOG(job, "StreamNumber = " + std::to_string(s + 1));
            if (pass.Reference == 0) pass.Reference = pass.Stream;
            SstList list;
            std::string fault;
            if (!ReadSstList(job, path, list, fault)) {
                StageFailed(job, RunStage::Subpictures, fault);
                return;
            }

            pass.Label.clear();
            pass.Language.clear();
            bool shared = false;
            if (static_cast<std::size_t>(job.DomainIndex) < job.StreamUse.size()) {
                const auto& use = job.StreamUse[static_cast<std::size_t>(job.DomainIndex)];
                const auto index = static_cast<std::size_t>(StreamUse_Record::kOffset + s);
                pass.Label = use.Mode[index];
                pass.Language = use.FirstUse[index].Language_Folder;
                shared = use.FirstUse[index].Shared != 0;
            }
            if ((shared || streamCount == 1) && wide) pass.Label = panScan ? "Wide/Pan" : "Wide/Letter";

            SstSettings settings;
            for (std::size_t at = 0; at < list.Lines.size(); ++at) {
                if (job.StopRequested != 0) return;
                switch (ClassifySstLine(list.Lines[at], at)) {
                    case SstLineKind::Setting: ReadSetting(list.Lines[at], settings); break;
                    case SstLineKind::PassedOver: break;
                    case SstLineKind::Event: EnterEvent(job, domain, list, at, settings, pass); break;
                }
            }
        }
    }

    EqualiseStreams(job, domain, aspect);
    if (job.Timing.VideoStandard == "NTSC" && job.Options().Conversion == 0) ProcessCC(job, pgcCount);
}

}  // namespace kestrova
