// The IFO reader's tables beside the menu PGCs: the menu cell address table
// (C_ADT), the title search pointers of the VMG (TT_SRPT) and the chapter
// map of a title set (VTS_PTT_SRPT).
#include "dvd/ifo_reader.h"

#include <algorithm>

#include "dvd/ifo_table.h"
#include "job/log_writers.h"

namespace kestrova {

namespace {

// C_ADT: an 8-byte header (VOB count, reserved, end address), then 12-byte
// rows of VOB id, cell id, reserved, first and last sector.
constexpr std::int64_t kCellAddressRow = 12;
// TT_SRPT: an 8-byte header, then 12-byte title entries.
constexpr std::int64_t kTitleEntry = 12;
// A chapter entry of VTS_PTT_SRPT: PGC number, program number.
constexpr std::int64_t kChapterEntry = 4;

std::size_t Position(std::int64_t value) { return static_cast<std::size_t>(value); }

template <typename List>
void ExtendTo(List& list, std::int64_t count) {
    while (static_cast<std::int64_t>(list.Count()) < count) list.Add();
}

}  // namespace

void GetVOBTable(JobContext& job, const ByteSource& bytes, int domain) {
    auto& vts = job.DiscModel.Item(Position(domain));
    vts.Video.Add();
    const auto table = IfoTable::AtSector(bytes, domain == 1 ? "VMGM_C_ADT" : "VTSM_C_ADT", kMenuC_ADT);
    if (!table) return;

    const std::int64_t lastByte = table->Long(4);
    const std::int64_t rows = lastByte < 7 ? 0 : (lastByte - 7) / kCellAddressRow;
    table->Require(8, rows * kCellAddressRow, std::to_string(rows) + " cell address rows");

    auto& video = vts.Video.Item(1);
    std::int64_t previousVob = -1;
    for (std::int64_t r = 0; r < rows; ++r) {
        const std::int64_t row = 8 + kCellAddressRow * r;
        const std::int64_t vob = table->Word(row);
        const std::int64_t cell = table->Byte(row + 2);
        if (vob == 0 || cell == 0) {
            table->Fail(row, "row " + std::to_string(r + 1) + " names VOB id " + std::to_string(vob) + " cell id " +
                                 std::to_string(cell) + "; ids start at 1");
        }
        if (vob != previousVob) {
            ExtendTo(vts.Vob_Id, vob);
            ExtendTo(video.VobId, vob);
            previousVob = vob;
        }
        auto& asset = vts.Vob_Id.Item(Position(vob));
        ExtendTo(asset.CELL_ID, cell);
        ExtendTo(video.VobId.Item(Position(vob)).CellId, cell);

        auto& scene = asset.CELL_ID.Item(Position(cell));
        scene.VTSM_START = static_cast<std::int32_t>(table->Long(row + 4));
        scene.VTSM_END = static_cast<std::int32_t>(table->Long(row + 8));
    }
}

void GetVIDEOTSTitle(JobContext& job, const ByteSource& bytes) {
    const IfoTable header(bytes, "VMGI_MAT", 0);
    const std::int64_t titleSets = header.Word(kVmgTitleSetCount);
    for (std::int64_t n = 0; n < titleSets; ++n) job.TitleMap.Add();

    std::int64_t titles = 0;
    if (const auto table = IfoTable::AtSector(bytes, "TT_SRPT", kVmgTT_SRPT)) {
        titles = table->Word(0);
        table->Require(8, titles * kTitleEntry, std::to_string(titles) + " title entries");
        for (std::int64_t i = 0; i < titles; ++i) {
            const std::int64_t entry = 8 + kTitleEntry * i;
            const std::int64_t chapters = table->Word(entry + 2);
            const std::int64_t titleSet = table->Byte(entry + 6);
            const std::int64_t ttn = table->Byte(entry + 7);
            if (titleSet < 1 || titleSet > titleSets || ttn < 1) {
                table->Fail(entry, "title " + std::to_string(i + 1) + " names title set " + std::to_string(titleSet) +
                                       " title " + std::to_string(ttn) + ", but the disc has " +
                                       std::to_string(titleSets) + " title sets and titles count from 1");
            }
            auto& titleList = job.TitleMap.Item(Position(titleSet)).TITLES;
            ExtendTo(titleList, ttn);
            auto& title = titleList.Item(Position(ttn));
            title.Chapter_Count = static_cast<std::int16_t>(chapters);
            title.VTS = static_cast<std::int16_t>(titleSet);
            title.VTS_TTN = static_cast<std::int16_t>(ttn);
            title.TitleNumber = static_cast<std::int16_t>(i + 1);
        }
    }
    job.State().MaxTitles = static_cast<std::int16_t>(titles);
}

void GetVTSTitle(JobContext& job, const ByteSource& bytes, int titleSet) {
    const auto table = IfoTable::AtSector(bytes, "VTS_PTT_SRPT", kVtsPTT_SRPT);
    if (!table) return;

    if (titleSet > static_cast<int>(job.TitleMap.Count())) {
        WLOG(job, "EXTRA TITLES FOUND NOT IN VIDEO_TS.IFO");
        while (static_cast<int>(job.TitleMap.Count()) < titleSet) {
            auto& record = job.TitleMap.Add();
            auto& title = record.TITLES.Add();
            title.Chapter_Count = 1;
            title.VTS = static_cast<std::int16_t>(job.TitleMap.Count());
            title.VTS_TTN = 1;
            title.TitleNumber = ++job.State().MaxTitles;
        }
    }
    if (titleSet < 1) return;

    const std::int64_t listed = table->Word(0);
    auto& titles = job.TitleMap.Item(Position(titleSet)).TITLES;
    for (std::size_t t = 1; t <= titles.Count(); ++t) {
        auto& title = titles.Item(t);
        if (static_cast<std::int64_t>(t) > listed) {
            table->Fail(0, "it lists " + std::to_string(listed) + " titles, but TT_SRPT gives title set " +
                               std::to_string(titleSet) + " title " + std::to_string(t));
        }
        const std::int64_t pointer = 8 + 4 * static_cast<std::int64_t>(t - 1);
        const IfoTable chapters =
            table->Sub("VTS_PTT_SRPT", table->Long(pointer), "the offset of title " + std::to_string(t));
        const std::int64_t entries = std::max<std::int64_t>(title.Chapter_Count, 0);
        chapters.Require(0, entries * kChapterEntry,
                         std::to_string(entries) + " chapter entries of title " + std::to_string(t));
        std::int16_t chapter = 0;
        for (std::int64_t c = 0; c < entries; ++c) {
            // Read as the reader keeps them, 16-bit signed: numbers of 0 or
            // less mark entries to skip.
            const auto pgcNumber = static_cast<std::int16_t>(chapters.Word(kChapterEntry * c));
            const auto program = static_cast<std::int16_t>(chapters.Word(kChapterEntry * c + 2));
            if (pgcNumber <= 0 || program <= 0) continue;
            ExtendTo(title.PGC_Number, pgcNumber);
            auto& programs = title.PGC_Number.Item(Position(pgcNumber)).PG;
            ExtendTo(programs, program);
            programs.Item(Position(program)).Chapter = ++chapter;
        }
    }
}

}  // namespace kestrova
