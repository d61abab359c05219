// Subpicture extraction: see extraction.h.
#include "subpicture/extraction.h"

#include "assets/asset_support.h"
#include "assets/program_stream.h"
#include "job/folders.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/stream_files.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// The VOB is read this many sectors at a time, with a look at the stop
// between blocks.
constexpr std::size_t kScanBlockSectors = 12800;

// Byte 512 of the IFO: the video attributes' first byte, 25 or 30 frames.
constexpr std::uint8_t kVideoAttributesPal = 83;
constexpr std::uint8_t kVideoAttributesNtsc = 79;

// Offsets inside one PGC of the made-up IFO.
constexpr std::size_t kPgcCellCount = 3;
constexpr std::size_t kPgcPlaybackTime = 4;
constexpr std::size_t kPgcProgramMapOffset = 231;
constexpr std::size_t kPgcCellPlaybackOffset = 233;
constexpr std::size_t kPgcCellPositionOffset = 234;
constexpr std::size_t kPgcProgramMap = 236;
constexpr std::size_t kPgcCells = 237;
constexpr std::size_t kCellBytes = 24;
constexpr std::size_t kCellPositionBytes = 4;

void PutByte(std::string& bytes, std::size_t at, std::uint32_t value) {
    bytes.at(at) = static_cast<char>(value & 0xFF);
}
void PutBe16(std::string& bytes, std::size_t at, std::uint32_t value) {
    PutByte(bytes, at, value >> 8);
    PutByte(bytes, at + 1, value);
}
void PutBe32(std::string& bytes, std::size_t at, std::uint32_t value) {
    PutBe16(bytes, at, value >> 16);
    PutBe16(bytes, at + 2, value);
}

std::string SubtitlesFolder(const JobContext& job) { return job.WorkFolder + "\\SUBTITLES"; }

// Item `index` of a list, added as far as it is missing.
template <typename Record>
Record& Extend(Collection<Record>& list, std::size_t index) {
    while (list.Count() < index) list.Add();
    return list.Item(index);
}

// Makes VOB id `vob` and its cell `cell` exist in both cell lists of the
// domain. A VOB id only the VOB knows is a dummy: the menu's IFO plays none
// of it.
void ExtendCells(VTS_Properties& domain, std::size_t vob, std::size_t cell) {
    auto& played = domain.Video.Count() == 0 ? domain.Video.Add() : domain.Video.Item(1);
    while (domain.Vob_Id.Count() < vob) {
        domain.Vob_Id.Add().Dummy = -1;
        if (played.VobId.Count() < domain.Vob_Id.Count()) played.VobId.Add();
    }
    Extend(played.VobId, vob);
    Extend(domain.Vob_Id.Item(vob).CELL_ID, cell);
    Extend(played.VobId.Item(vob).CellId, cell);
}

// Frames of a cell as the made-up IFO counts them, one more than the cell's
// own count. The VOB's type is not known yet when the IFO is made, so the
// count normally comes from the cell's BCD time.
std::int32_t CellFrames(JobContext& job, const VOB_ID_Properties& vob, const CellID_Properties& played) {
    if (vob.Vob_Type == "Video") return played.Frames + 1;
    const std::string fields = BCDToFrames(job.Timing, 0, BcdTime{played.BCD}, vob.Vob_Type);
    const auto last = fields.rfind('_');
    return static_cast<std::int32_t>(platform::LeadingWholeNumber(fields.substr(last + 1))) + 1;
}

// The cells of the VOBs that are not dummies, in VOB order.
std::vector<SubtitleCell> CollectCells(JobContext& job, VTS_Properties& domain) {
    std::vector<SubtitleCell> cells;
    for (std::size_t v = 1; v <= domain.Vob_Id.Count(); ++v) {
        auto& vob = domain.Vob_Id.Item(v);
        if (vob.Dummy != 0) continue;
        for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
            const auto& cell = vob.CELL_ID.Item(c);
            const auto& played = PlayedCell(domain, v, c);
            cells.push_back({static_cast<std::int16_t>(v), static_cast<std::int16_t>(c), cell.StartSector,
                             cell.EndSector, cell.PlayBackTime, cell.Angle, CellFrames(job, vob, played)});
        }
    }
    return cells;
}

// Frame rate of the domain's video: 25 for PAL.
int DomainFrameRate(const JobContext& job, const VTS_Properties& domain) {
    const std::string standard =
        domain.Video.Count() > 0 && !domain.Video.Item(1).Standard.empty() ? domain.Video.Item(1).Standard
                                                                           : job.Timing.VideoStandard;
    return standard == "NTSC" ? 30 : 25;
}

// The list file vsrip reads, one word a line in the order it reads them.
std::string RipList(const JobContext& job, const std::string& ifo, std::size_t pgc) {
    const std::string lines[] = {ifo,  SubtitlesFolder(job) + "\\PGC_" + std::to_string(pgc),
                                 " " + std::to_string(pgc) + " ", "0", "ALL", "CLOSE", "KESTROVA", "MINIMIZE"};
    std::string text;
    for (const auto& line : lines) text += line + "\r\n";
    return text;
}

// Writes the list files and VSRIP.bat, and runs it.
void RunVsrip(JobContext& job, const std::string& ifo, std::size_t pgcCount) {
    const std::string folder = SubtitlesFolder(job);
    const std::string vsrip = "\"" + job.Files.Paths().GetShortPath(job.ProgramFolder + "\\vsrip.exe") + "\"";
    std::string batch;
    for (std::size_t i = 1; i <= pgcCount; ++i) {
        const std::string list = folder + "\\PGC_" + std::to_string(i) + "_para.lst";
        job.Files.WriteText(list, RipList(job, ifo, i));
        batch += vsrip + " \"" + list + "\"\r\n";
    }
    const std::string batchPath = folder + "\\VSRIP.bat";
    job.Files.WriteText(batchPath, batch);
    RunOutsideTool(job, "\"" + batchPath + "\"", kWindowHidden);

    // Every rip leaves its pair, and the first the domain's sectors that the
    // button pass reads; the later passes would only find them missing.
    std::vector<std::string> expected;
    for (std::size_t i = 1; i <= pgcCount; ++i) {
        const std::string base = folder + "\\PGC_" + std::to_string(i);
        expected.push_back(base + ".idx");
        expected.push_back(base + ".sub");
    }
    expected.push_back(folder + "\\PGC_1.bov");
    CheckFilesMade(job, expected, "Subpicture rip file", "subpicture rip files");
}

// The highest stream id the domain's PGCs give their subpictures; -1 when
// none has subpictures.
int HighestStreamId(const VTS_Properties& domain) {
    int highest = -1;
    if (domain.SubsPresent == 0) return highest;
    for (const auto& language : domain.Language) {
        for (const auto& pgc : language.PGC_Number) {
            if (pgc.SubsPresent == 0) continue;
            for (const int id : {pgc.Stream1_Normal_Uses_ID, pgc.Stream1_Wide_Uses_ID, pgc.Stream1_Letter_Uses_ID,
                                 pgc.Stream1_Pan_Uses_ID}) {
                highest = std::max(highest, id);
            }
        }
    }
    return highest;
}

// Whether a list holds a first event: a line beginning "0001".
bool HasFirstEvent(const JobContext& job, const std::string& sst) {
    for (const auto& line : job.Files.ReadLines(sst)) {
        if (line.rfind("0001", 0) == 0) return true;
    }
    return false;
}

// Runs vsconv over every stream id of every PGC; returns the runs made.
int ConvertStreams(JobContext& job, std::int16_t pgcCount, int highest) {
    const std::string folder = SubtitlesFolder(job);
    const std::string batchPath = folder + "\\VSCONV.bat";
    const std::string vsconv = job.Files.Paths().GetShortPath(job.ProgramFolder + "\\vsconv.exe");
    int runs = 0;
    for (int i = 1; i <= pgcCount; ++i) {
        for (int id = 0; id <= highest; ++id) {
            if (job.ClosingDown != 0) return runs;
            const std::string pgc = folder + "\\PGC_" + std::to_string(i);
            const std::string output = pgc + "0x" + std::to_string(id + 20);
            job.Files.WriteText(batchPath, "\"" + vsconv + "\" -f \"scenarist\" -i \"" + pgc + ".idx\" -o \"" +
                                               output + "\" -id " + std::to_string(id) + " -kestrova\r\n");
            RunOutsideTool(job, "\"" + batchPath + "\"", kWindowHidden);
            ++runs;
            // A stream without pictures leaves no file, or one without events.
            const std::string sst = output + ".sst";
            if (job.Files.FileExists(sst) && !HasFirstEvent(job, sst)) job.Files.DeleteFile(sst);
        }
    }
    return runs;
}

// Closed captions vsrip left beside a PGC's rip go to vobsub2scc.
void ConvertCaptions(JobContext& job, std::int16_t pgcCount) {
    const std::string folder = SubtitlesFolder(job);
    for (int i = 1; i <= pgcCount; ++i) {
        const std::string raw = folder + "\\PGC_" + std::to_string(i) + ".cc.raw";
        if (!job.Files.FileExists(raw)) continue;
        WLOG(job, "Creating CC file");
        const std::string renamed = folder + "\\PGC_" + std::to_string(i) + ".sub.cc.raw";
        job.Files.MoveFile(raw, renamed);
        RunOutsideTool(job,
                       CommandLinePath(job, job.ProgramFolder + "\\vobsub2scc.exe") + " " +
                           job.Files.Paths().GetShortPath(renamed),
                       kWindowHidden);
    }
}

}  // namespace

std::vector<std::vector<SubtitleCell>> GroupSubtitlePgcs(const std::vector<SubtitleCell>& cells) {
    std::vector<std::vector<SubtitleCell>> pgcs(1);
    for (std::size_t first = 0; first < cells.size();) {
        std::size_t end = first;
        while (end < cells.size() && cells[end].VobId == cells[first].VobId) ++end;
        const std::size_t count = end - first;
        if (count > kSubtitlePgcCells) {
            throw Error("VOB id " + std::to_string(cells[first].VobId) + " has " + std::to_string(count) +
                        " cells; a PGC of the subpicture rip holds at most " + std::to_string(kSubtitlePgcCells));
        }
        if (pgcs.back().size() + count > kSubtitlePgcCells) pgcs.emplace_back();
        pgcs.back().insert(pgcs.back().end(), cells.begin() + static_cast<std::ptrdiff_t>(first),
                           cells.begin() + static_cast<std::ptrdiff_t>(end));
        first = end;
    }
    return pgcs;
}

std::string SubtitleIfoImage(const std::vector<std::vector<SubtitleCell>>& pgcs, int frameRate,
                             const TimeBase& timeBase) {
    const std::size_t n = pgcs.size();
    const std::size_t tableHead = 8 * n + 8;
    const std::size_t tableEnd = kSubtitleTableStart + tableHead + 4 + n * kSubtitlePgcBytes;
    // Zeros behind the last PGC up to a whole sector, then one sector more.
    const std::size_t size = (tableEnd + kPackSize - 1) / kPackSize * kPackSize + kPackSize;
    std::string bytes(size, '\0');
    bytes.replace(0, 12, "DVDVIDEO-VTS");
    PutByte(bytes, 207, 1);
    PutByte(bytes, 512, frameRate == 25 ? kVideoAttributesPal : kVideoAttributesNtsc);
    PutBe16(bytes, kSubtitleTableStart, static_cast<std::uint32_t>(n));
    PutBe32(bytes, kSubtitleTableStart + 4, static_cast<std::uint32_t>(kSubtitlePgcBytes * n));
    for (std::size_t i = 0; i < n; ++i) {
        const std::size_t offset = i * kSubtitlePgcBytes + tableHead + 4;
        PutByte(bytes, kSubtitleTableStart + 8 + 8 * i, static_cast<std::uint32_t>(129 + i));
        PutBe32(bytes, kSubtitleTableStart + 12 + 8 * i, static_cast<std::uint32_t>(offset));

        const auto& cells = pgcs[i];
        const std::size_t q = kSubtitleTableStart + offset;
        const std::size_t c = cells.size();
        std::int32_t frames = 0;
        for (const auto& cell : cells) frames += cell.Frames;
        PutByte(bytes, q + 2, 1);
        PutByte(bytes, q + kPgcCellCount, static_cast<std::uint32_t>(c));
        PutBe32(bytes, q + kPgcPlaybackTime,
                static_cast<std::uint32_t>(Frames_To_DVD_TimeCode(timeBase, frames, false)));
        PutByte(bytes, q + kPgcProgramMapOffset, kPgcProgramMap);
        PutByte(bytes, q + kPgcCellPlaybackOffset, kPgcCells);
        PutBe16(bytes, q + kPgcCellPositionOffset, static_cast<std::uint32_t>(kPgcCells + kCellBytes * c));
        PutByte(bytes, q + kPgcProgramMap, 1);
        for (std::size_t k = 0; k < c; ++k) {
            const auto& cell = cells[k];
            const std::size_t at = q + kPgcCells + kCellBytes * k;
            PutByte(bytes, at, static_cast<std::uint32_t>(cell.Angle));
            PutBe32(bytes, at + 4, static_cast<std::uint32_t>(cell.PlayBackTime));
            PutBe32(bytes, at + 8, static_cast<std::uint32_t>(cell.FirstSector));
            PutBe32(bytes, at + 20, static_cast<std::uint32_t>(cell.LastSector));
            const std::size_t position = q + kPgcCells + kCellBytes * c + kCellPositionBytes * k;
            PutBe16(bytes, position, static_cast<std::uint32_t>(cell.VobId));
            PutByte(bytes, position + 3, static_cast<std::uint32_t>(cell.CellId));
        }
    }
    return bytes;
}

void SUBSCAN(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Subpictures", "SUBSCAN");
    const std::string path = SubtitlesFolder(job) + "\\VTS_01_0.VOB";
    if (!job.Files.FileExists(path)) return;
    WLF(job, "subscan");
    LogWindow(job, "Analysing Subtitle VOB");
    auto& domain = CurrentDomain(job);
    const auto input = platform::OpenFileReader(job.Files.Paths(), path);
    ProgramStreamReader reader(*input, kScanBlockSectors * kPackSize);
    std::size_t lastVob = 0;
    std::size_t lastCell = 0;
    std::uint64_t packs = 0;
    std::uint64_t damaged = 0;
    const auto report = [&](std::uint64_t offset, const std::string& what) {
        if (damaged++ == 0) WLOG(job, "\tWARNING: " + what + " (byte " + std::to_string(offset) + ")");
    };
    while (const Pack* pack = reader.NextPassingOver(report)) {
        if (++packs % kScanBlockSectors == 0) {
            ServeMessages(job);
            if (job.ClosingDown != 0) return;
        }
        if (!pack->HasNav) continue;
        const std::size_t vob = pack->Nav.VobId;
        const std::size_t cell = pack->Nav.CellId;
        if (vob == lastVob && cell == lastCell) continue;
        if (vob == 0 || cell == 0) {
            WLOG(job, "\tWARNING: " + path + ": the NAV pack at byte " + std::to_string(pack->Offset) +
                          " names VOB id " + std::to_string(vob) + ", cell " + std::to_string(cell) +
                          "; passed over");
            continue;
        }
        ExtendCells(domain, vob, cell);
        const auto sector = static_cast<std::int32_t>(pack->Offset / kPackSize);
        // The cell before ends one sector before this one, in its own VOB.
        if (lastVob != 0) domain.Vob_Id.Item(lastVob).CELL_ID.Item(lastCell).EndSector = sector - 1;
        auto& scene = domain.Vob_Id.Item(vob).CELL_ID.Item(cell);
        const auto& played = PlayedCell(domain, vob, cell);
        scene.StartSector = sector;
        scene.PlayBackTime = played.BCD;
        scene.Angle = played.Angle;
        lastVob = vob;
        lastCell = cell;
    }
    if (damaged > 1) WLOG(job, "\t" + std::to_string(damaged) + " damaged spots in " + path + " passed over");
    // Whole sectors only: a part sector at the end is no sector of a cell.
    const std::uint64_t size = job.Files.FileSize(path);
    if (size % kPackSize != 0) {
        WLOG(job, "\tWARNING: " + path + " ends in a part sector (" + std::to_string(size % kPackSize) +
                      " bytes at byte " + std::to_string(size - size % kPackSize) + "); its whole sectors are used");
    }
    if (lastVob != 0) {
        domain.Vob_Id.Item(lastVob).CELL_ID.Item(lastCell).EndSector = static_cast<std::int32_t>(size / kPackSize);
    }
}

std::int16_t CreateIFO(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Subpictures", "CreateIFO");
    SUBSCAN(job);
    if (job.ClosingDown != 0) return 0;
    auto& domain = CurrentDomain(job);
    std::vector<std::vector<SubtitleCell>> pgcs;
    try {
        pgcs = GroupSubtitlePgcs(CollectCells(job, domain));
    } catch (const Error& error) {
        StageFailed(job, RunStage::Subpictures, error.what());
        return 0;
    }
    const auto pgcCount = static_cast<std::int16_t>(pgcs.size());
    WLOG(job, "Pgc_Needed = " + std::to_string(pgcCount));
    const std::string ifo = SubtitlesFolder(job) + "\\VTS_01_0.IFO";
    job.Files.WriteFileAtomic(ifo, SubtitleIfoImage(pgcs, DomainFrameRate(job, domain), job.Timing));

    if (!RecoverySkip(job, 1)) {
        const std::string sub = job.WorkFolder + "\\DEMUXED\\SUB.VOB";
        if (job.Files.FileExists(sub)) job.Files.MoveFile(sub, SubtitlesFolder(job) + "\\VTS_01_1.VOB");
        LogWindow(job, "VobSubbing");
        RunVsrip(job, ifo, pgcs.size());
    } else {
        LogWindow(job, "VSRIP skipped");
    }
    RLOG(job, "VOBSUB");
    return pgcCount;
}

std::int16_t NewConvert_SUBS(JobContext& job, std::int16_t pgcCount) {
    platform::TraceFrame frame(job.Trace, "Subpictures", "NewConvert_SUBS");
    WLF(job, "convert subs");
    LogWindow(job, "Converting SubPictures");
    if (job.ClosingDown != 0) return 0;
    auto& domain = CurrentDomain(job);
    const int highest = HighestStreamId(domain);
    const bool skipped = RecoverySkip(job, 2);
    if (!skipped) {
        int runs = 0;
        if (highest >= 0 && GetFileCount(job, job.WorkFolder, "IDX") > 0) runs = ConvertStreams(job, pgcCount, highest);
        if (runs == 0) WLOG(job, "No Streams to Process with VsConv");
        if (job.ClosingDown != 0) return static_cast<std::int16_t>(highest + 1);
        ConvertCaptions(job, pgcCount);
    } else {
        LogWindow(job, "VSCONV skipped");
    }
    RLOG(job, "VSCONV");
    return static_cast<std::int16_t>(highest + 1);
}

}  // namespace kestrova
