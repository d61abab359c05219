// Buttons and highlights recovered from the NAV packs: see buttons.h.
#include "subpicture/buttons.h"

#include "job/log_writers.h"
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
    static_cast<void>(bovPath);
    NotYetAvailable(job, "VobParse");
}

}  // namespace kestrova
