// Buttons and highlights recovered from the NAV packs: see buttons.h.
#include "subpicture/buttons.h"

#include "assets/program_stream.h"
#include "dvd/vm_commands.h"
#include "job/bits.h"
#include "job/log_writers.h"
#include "job/progress.h"
#include "job/tool_runner.h"
#include "platform/stream_files.h"
#include "platform/trace.h"
#include "platform/text.h"
#include "subpicture/sst.h"
#include "subpicture/sst_support.h"

namespace kestrova {

namespace {

template <typename Record>
Record& Extend(Collection<Record>& list, std::size_t index) {
    while (list.Count() < index) list.Add();
    return list.Item(index);
}

// The VOB's subpicture stream at `position`, with a cell list as long as
// the VOB's cells.
SUB_STREAM_Properties& StreamOfVob(VOB_ID_Properties& vob, std::size_t position) {
    auto& stream = Extend(vob.SUB_STREAM, position);
    while (stream.CELL_DETAILS.Count() < vob.CELL_ID.Count()) stream.CELL_DETAILS.Add();
    return stream;
}

// Marks the cells whose bitmaps in a stream's list are highlights. A line
// that is no event is left to the list's reading, which names it.
void MarkHighlightCells(JobContext& job, VTS_Properties& domain, const std::string& sst, std::size_t position) {
    const auto lines = job.Files.ReadLines(sst);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        SstEvent event;
        std::string fault;
        if (ClassifySstLine(lines[i], i) != SstLineKind::Event || !ParseSstEvent(lines[i], event, fault)) continue;
        if (static_cast<std::size_t>(event.Vob) > domain.Vob_Id.Count()) continue;
        auto& vob = domain.Vob_Id.Item(static_cast<std::size_t>(event.Vob));
        if (event.Highlight) {
            if (static_cast<std::size_t>(event.Cell) <= vob.CELL_ID.Count()) {
                vob.CELL_ID.Item(static_cast<std::size_t>(event.Cell)).Bmps = -1;
            }
            vob.HighLight_Present = -1;
        }
        StreamOfVob(vob, position);
    }
}

// Gives every bitmap the rip listed its PTS, making the records as far as
// the rip's count: a cell then has as many bitmaps as its pictures.
void StampBitmaps(JobContext& job, VTS_Properties& domain, const std::string& idx) {
    std::size_t stream = 0, vob = 0, cell = 0, bitmap = 0;
    for (const auto& line : job.Files.ReadLines(idx)) {
        if (line.rfind("id: --, index: ", 0) == 0) {
            stream = static_cast<std::size_t>(platform::LeadingWholeNumber(line.substr(15))) + 1;
        } else if (line.rfind("# Vob/Cell", 0) == 0) {
            const auto id = line.find("ID: ");
            const auto comma = line.find(',', id);
            if (id == std::string::npos || comma == std::string::npos) continue;
            vob = static_cast<std::size_t>(platform::LeadingWholeNumber(platform::Trim(line.substr(id + 4))));
            cell = static_cast<std::size_t>(platform::LeadingWholeNumber(platform::Trim(line.substr(comma + 1))));
            bitmap = 0;
        } else if (line.rfind("timestamp:", 0) == 0) {
            ++bitmap;
            if (stream == 0 || vob < 1 || vob > domain.Vob_Id.Count() || cell < 1) continue;
            const auto pts = line.find("PTS:");
            if (pts == std::string::npos) continue;
            const auto end = line.find(',', pts);
            std::int64_t value = 0;
            for (const char digit : platform::Trim(line.substr(pts + 4, end == std::string::npos ? end : end - pts - 4))) {
                const int hex = platform::HexDigitValue(digit);
                if (hex < 0) break;
                value = value * 16 + hex;
            }
            auto& vobRecord = domain.Vob_Id.Item(vob);
            auto& cellRecord = Extend(StreamOfVob(vobRecord, stream).CELL_DETAILS, cell);
            Extend(cellRecord.bmp, bitmap).PTSstamp = static_cast<std::int32_t>(value);
        }
    }
}

// The NAV packs of the sector file are read this many at a time, with a
// look at the stop between blocks.
constexpr std::size_t kParseBlockSectors = 12800;

// The cell's prohibited user operations: the four bytes for the authoring,
// and their names once per cell.
void StoreUserOperations(JobContext& job, CELL_ID_Properties& cell, std::uint32_t mask, bool changed) {
    std::string hex;
    std::string bits;
    for (int shift = 24; shift >= 0; shift -= 8) {
        const auto byte = static_cast<std::uint8_t>(mask >> shift);
        hex += Pad_Byte(byte);
        bits += HexToBin(Pad_Byte(byte));
    }
    cell.UOPStringForMuxman = hex;
    const auto names = GETUOP(job, bits.substr(0, 8), bits.substr(8, 8), bits.substr(16, 8), bits.substr(24, 8));
    if (job.UOPFound == 0 || !changed) return;
    for (const auto& name : names) {
        if (!name.empty()) cell.UOPs.Add().Command = name;
    }
}

// The highlight's buttons, colours and modes on the bitmap's highlight
// stream; each command decoded and handed to the title commands.
void StoreHighlight(JobContext& job, HIGHLIGHT_STREAM_Properties& target, const Highlight& hli, int titleSet) {
    target.Button_Offset = hli.Button_Offset;
    target.Number_Of_Buttons = hli.Number_Of_Buttons;
    target.Numerical = hli.Numerical;
    target.Forced_Selected_Button = hli.Forced_Selected_Button;
    target.Forced_Activated_Button = hli.Forced_Activated_Button;
    while (target.COLOR_GROUP.Count() < kButtonColourGroups) target.COLOR_GROUP.Add();
    for (std::size_t k = 0; k < kButtonColourGroups; ++k) {
        const ButtonColourGroup& from = hli.ColourGroups[k];
        auto& to = target.COLOR_GROUP.Item(k + 1);
        to.Selection_Color_E2 = from.Selection_Color_E2;
        to.Selection_Color_E1 = from.Selection_Color_E1;
        to.Selection_Color_P = from.Selection_Color_P;
        to.Selection_Color_Bg = from.Selection_Color_Bg;
        to.Selection_Contrast_E2 = from.Selection_Contrast_E2;
        to.Selection_Contrast_E1 = from.Selection_Contrast_E1;
        to.Selection_Contrast_P = from.Selection_Contrast_P;
        to.Selection_Contrast_Bg = from.Selection_Contrast_Bg;
        to.Action_Color_E2 = from.Action_Color_E2;
        to.Action_Color_E1 = from.Action_Color_E1;
        to.Action_Color_P = from.Action_Color_P;
        to.Action_Color_Bg = from.Action_Color_Bg;
        to.Action_Contrast_E2 = from.Action_Contrast_E2;
        to.Action_Contrast_E1 = from.Action_Contrast_E1;
        to.Action_Contrast_P = from.Action_Contrast_P;
        to.Action_Contrast_Bg = from.Action_Contrast_Bg;
    }
    target.ButtonMode_1 = ButtonGroupDisplay(hli.ButtonModeHigh, 1);
    target.ButtonMode_2 = ButtonGroupDisplay(hli.ButtonModeLow, 2);
    target.ButtonMode_3 = ButtonGroupDisplay(hli.ButtonModeLow, 3);

    for (std::size_t n = 0; n < hli.Number_Of_Buttons; ++n) {
        auto& button = target.BUTTON_DETAILS.Add();
        for (const auto& group : hli.Groups) {
            if (n >= group.size()) continue;
            auto& area = button.HIGH_LIGHT_AREA.Add();
            area.X1 = static_cast<std::int16_t>(group[n].X1);
            area.X2 = static_cast<std::int16_t>(group[n].X2);
            area.Y1 = static_cast<std::int16_t>(group[n].Y1);
            area.Y2 = static_cast<std::int16_t>(group[n].Y2);
        }
        if (hli.Groups.empty() || n >= hli.Groups.front().size()) continue;
        const ButtonEntry& entry = hli.Groups.front()[n];
        button.Up = entry.Up;
        button.Down = entry.Down;
        button.Left = entry.Left;
        button.Right = entry.Right;
        button.Color_Index = entry.Color_Index;
        button.Auto_Action = entry.Auto_Action ? std::int16_t{-1} : std::int16_t{0};
        CommandBytes bytes;
        std::string hex;
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = Pad_Byte(entry.Command[i]);
            hex += bytes[i];
        }
        button.Button_Action_String = hex;
        button.Button_Action = Hex2Command(job, bytes);
        WLOG(job, "Button" + std::to_string(n + 1) + " Command=" + button.Button_Action + ", MuxmanString=" + hex);
        GetTitleCommands(job, button.Button_Action, titleSet);
    }
}

}  // namespace

void FindHighlightBitmaps(JobContext& job, std::int16_t pgcCount) {
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    const std::string folder = job.WorkFolder + "\\SUBTITLES\\PGC_";
    for (int i = 1; i <= pgcCount; ++i) {
        const std::string idx = folder + std::to_string(i) + ".idx";
        if (!job.Files.FileExists(idx)) continue;
        WLOG(job, "PGC Number = " + std::to_string(i));
        for (int s = 0; s < job.State().StreamCount; ++s) {
            const std::string sst = SstPath(job, i, s);
            if (job.Files.FileExists(sst)) MarkHighlightCells(job, domain, sst, static_cast<std::size_t>(s) + 1);
        }
        StampBitmaps(job, domain, idx);
    }
}

int MatchBitmap(JobContext& job, int vob, int cell, std::int64_t startPTS, std::int64_t endPTS, int& stream) {
    static_cast<void>(endPTS);
    stream = 0;
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    if (vob < 1 || static_cast<std::size_t>(vob) > domain.Vob_Id.Count() || cell < 1) {
        WLOG(job, "ERROR OCCURED DETERMINING ADDCELLS FOR VOBPARSE - SETTING ADDCELLS=9999");
        return kNoBitmap;
    }
    auto& record = domain.Vob_Id.Item(static_cast<std::size_t>(vob));
    // The bitmap at `position` of stream `j` takes the highlight.
    const auto take = [&](std::size_t j, std::size_t position) {
        if (j > 1) job.State().StreamReduction = static_cast<std::int16_t>(j - 1);
        record.SubStreamUsed = static_cast<std::int16_t>(j);
        record.SUB_STREAM.Item(j).CELL_DETAILS.Item(static_cast<std::size_t>(cell)).bmp.Item(position)
            .HIGHLIGHT_STREAM.Add();
        record.IsMenu = -1;
        stream = static_cast<int>(j);
        return static_cast<int>(position);
    };
    // Each bitmap of the cell, stream by stream, until `pick` takes one.
    const auto search = [&](const auto& pick) {
        for (std::size_t j = 1; j <= record.SUB_STREAM.Count(); ++j) {
            auto& cells = record.SUB_STREAM.Item(j).CELL_DETAILS;
            if (static_cast<std::size_t>(cell) > cells.Count()) continue;
            auto& bitmaps = cells.Item(static_cast<std::size_t>(cell)).bmp;
            for (std::size_t k = 1; k <= bitmaps.Count(); ++k) {
                auto& bitmap = bitmaps.Item(k);
                if (bitmap.HIGHLIGHT_STREAM.Count() == 0 && pick(bitmap, k)) return take(j, k);
            }
        }
        return kNoBitmap;
    };
    const int matched = search([](const BMP_Properties& bitmap, std::size_t) { return bitmap.HighLight_Present != 0; });
    if (matched != kNoBitmap || job.Options().ExamineHighlights != 1) return matched;

    const std::string experimental = "CHECKING FOR HIGHLIGHT ASSOCIATION - EXPERIMENTAL - NO HIGHLIGHT SUB FOUND FOR BMP#: ";
    return search([&](BMP_Properties& bitmap, std::size_t k) {
        if (job.Options().HighlightsFirst == 1) {
            WLOG(job, experimental + std::to_string(k));
        } else if (bitmap.PTSstamp == startPTS) {
            WLOG(job, experimental + std::to_string(k) + " ,PTS STAMP MATCH FOUND=" + std::to_string(startPTS));
        } else {
            return false;
        }
        bitmap.HighLight_Present = -1;
        return true;
    });
}

void CheckDisplayMode(JobContext& job) {
    WLOG(job, "Checking for display mode");
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    if (domain.Video.Count() == 0 || domain.Video.Item(1).Display != "16 : 9") return;
    const bool panScan = domain.Video.Item(1).Display_Pan_Scan != 0;
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        auto& vob = domain.Vob_Id.Item(v);
        for (std::size_t j = 2; j <= vob.SUB_STREAM.Count(); ++j) {
            if (vob.SUB_STREAM.Item(j).CELL_DETAILS.Count() != 0) continue;
            // A later stream missing: the first stream's bitmaps serve the wide modes.
            WLOG(job, std::string("Part of SubStream missing - setting mode to ") +
                          (panScan ? "Wide/Pan" : "Wide/Letter") + " for VOBID: " + std::to_string(v));
            for (auto& cell : vob.SUB_STREAM.Item(1).CELL_DETAILS) {
                for (auto& bitmap : cell.bmp) bitmap.Display_Mode = panScan ? "Wide/Pan" : "Wide/Letter";
            }
        }
    }
}

void VobParse(JobContext& job, const std::string& bovPath) {
    platform::TraceFrame frame(job.Trace, "Subpictures", "VobParse");
    WLF(job, "vobparse");
    LogWindow(job, "Retrieving Button details from VOB's");
    const std::string muxman = job.WorkFolder + "\\MUXMAN";
    if (!job.Files.FolderExists(muxman)) job.Files.MakeFolder(muxman);
    if (!job.Files.FileExists(bovPath)) {
        StageFailed(job, RunStage::Subpictures, "the domain's sectors " + bovPath + " are missing");
        return;
    }
    auto& domain = job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
    std::int64_t cells = 0;
    for (const auto& vob : domain.Vob_Id) cells += static_cast<std::int64_t>(vob.CELL_ID.Count());
    const int frameHeight = domain.Video.Count() > 0 && domain.Video.Item(1).Standard == "NTSC" ? 480 : 576;
    const int titleSet = job.DomainIndex - 1;

    const auto input = platform::OpenFileReader(job.Files.Paths(), bovPath);
    ProgramStreamReader reader(*input, kParseBlockSectors * kPackSize);
    const auto damaged = [&](std::uint64_t offset, const std::string& what) {
        WLOG(job, "\tWARNING: " + what + " (byte " + std::to_string(offset) + "); passed over");
    };
    std::uint64_t packs = 0;
    std::int64_t cellsSeen = 0;
    int lastVob = 0, lastCell = 0;
    while (const Pack* pack = reader.NextPassingOver(damaged)) {
        if (++packs % kParseBlockSectors == 0) {
            ServeMessages(job);
            if (job.ClosingDown != 0 || job.StopRequested != 0) return;
        }
        if (!pack->NavFault.empty()) WLOG(job, "\tWARNING: " + pack->NavFault);
        if (!pack->HasNav) continue;
        const NavPack& nav = pack->Nav;
        const int vob = nav.VobId;
        const int cell = nav.CellId;
        const bool changed = vob != lastVob || cell != lastCell;
        if (changed) ++cellsSeen;
        lastVob = vob;
        lastCell = cell;
        WLOG(job, "Vobid=" + std::to_string(vob) + " ,Cellid=" + std::to_string(cell) +
                      " ,VOBUStartPTS=" + std::to_string(nav.VobuStartPtm) +
                      " ,VOBUEndPTS =" + std::to_string(nav.VobuEndPtm));
        if (vob < 1 || static_cast<std::size_t>(vob) > domain.Vob_Id.Count()) continue;
        auto& vobRecord = domain.Vob_Id.Item(static_cast<std::size_t>(vob));
        if (vobRecord.Dummy != 0 || cell < 1 || static_cast<std::size_t>(cell) > vobRecord.CELL_ID.Count()) continue;
        if (!nav.HighlightFault.empty()) WLOG(job, "\tWARNING: " + nav.HighlightFault);
        // A pack whose highlight status says it has no buttons, or whose
        // highlight cannot be read, leaves the bitmap to a pack that has them.
        if (!nav.HasHighlight) continue;

        int stream = 0;
        const int position = MatchBitmap(job, vob, cell, nav.VobuStartPtm, nav.VobuEndPtm, stream);
        if (position >= kNoBitmap) continue;
        auto& cellRecord = vobRecord.CELL_ID.Item(static_cast<std::size_t>(cell));
        auto& bitmap = vobRecord.SUB_STREAM.Item(static_cast<std::size_t>(stream))
                           .CELL_DETAILS.Item(static_cast<std::size_t>(cell))
                           .bmp.Item(static_cast<std::size_t>(position));
        UpdateProgress(job, cellsSeen, cells, "Analysing BOV file", false, false);

        StoreUserOperations(job, cellRecord, nav.UserOperations, changed);
        const Highlight& hli = nav.Hli;
        WLOG(job, "Highlight found for cellid " + std::to_string(cell) + ", and for BMP number " +
                      std::to_string(position));
        WLOG(job, "Number of buttons for this highlight=" + std::to_string(hli.Number_Of_Buttons));
        for (const auto& warning : CheckButtons(nav, frameHeight)) WLOG(job, "\tWARNING: " + warning);
        StoreHighlight(job, bitmap.HIGHLIGHT_STREAM.Item(1), hli, titleSet);
    }
    UpdateProgress(job, cells, cells, "Analysing BOV file", false, false);
}

}  // namespace kestrova
