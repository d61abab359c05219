// The dummy scan: see dummy_scan.h.
#include "dvd/dummy_scan.h"

#include "dvd/ifo_reader.h"
#include "dvd/reader_log.h"
#include "job/log_writers.h"
#include "job/stage_hooks.h"
#include "job/timecode.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// Sets up the one demultiplexing by cell of the domain's menu VOB, before the
// first zero-length cell is measured.
void PrepareDomain(JobContext& job, int domain, const std::string& path, const DummyCellStages& stages) {
    job.DiscModel.Item(static_cast<std::size_t>(domain)).Split_Cell = -1;
    // Without a demultiplexer there is no work folder to make.
    if (!stages.DemuxByCell) {
        NotYetAvailable(job, "Demultiplexing by cell");
        return;
    }
    const std::string folder = job.JobRoot + "\\D_" + platform::WithoutExtension(platform::FileNameOf(path));
    if (!job.Files.FolderExists(folder)) job.Files.MakeFolder(folder);
    if (!job.Files.FolderExists(folder + "\\DEMUXED_CELLID")) job.Files.MakeFolder(folder + "\\DEMUXED_CELLID");
    job.WorkFolder = folder;
    job.DomainIndex = static_cast<std::int16_t>(domain);
    stages.DemuxByCell(job, platform::WithoutExtension(path) + ".VOB");
}

}  // namespace

void DummyScan(JobContext& job, int domain, const std::string& path, const DummyCellStages& stages) {
    platform::TraceFrame frame(job.Trace, "DummyScan", "DummyScan");
    auto& vts = job.DiscModel.Item(static_cast<std::size_t>(domain));
    WLF(job, "dummy vob scan");

    for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) {
        auto& vob = vts.Vob_Id.Item(v);
        bool real = false;
        for (const auto& cell : vob.CELL_ID) {
            if (cell.Frames > 0) {
                real = true;
                break;
            }
        }
        if (real) continue;
        vob.Dummy = -1;
        WLOG(job, domain == 1 ? "VideoTs, Vob=" + std::to_string(v) + "=Dummy"
                              : "VTs=" + std::to_string(domain) + ", Vob=" + std::to_string(v) + "=Dummy");
    }

    bool prepared = false;
    for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) {
        auto& vob = vts.Vob_Id.Item(v);
        if (vob.Dummy != 0) continue;
        for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
            if (vob.CELL_ID.Item(c).Frames != 0) continue;
            // No time in the IFO, but real content around it: the true
            // length has to be measured.
            if (!prepared) {
                PrepareDomain(job, domain, path, stages);
                prepared = true;
            }
            const std::string where = " vob =" + std::to_string(v) + " cell =" + std::to_string(c);
            const std::string detected = domain == 1 ? "Dummy Cell detected VIDEO_TS  " + where.substr(1)
                                                     : "Dummy Cell detected VTS =" + std::to_string(domain - 1) + where;
            LogWindow(job, detected);
            WLOG(job, detected);

            auto& played = vts.Video.Item(1).VobId.Item(v).CellId.Item(c);
            played.DummyCell = -1;
            const std::int32_t frames = RunHandedStage(job, stages.MeasureCell, "ForceD2V", played.Frames,
                                                       static_cast<std::int16_t>(v), static_cast<std::int16_t>(c));
            played.Frames = frames;
            played.BCD = Frames_To_DVD_TimeCode(job.Timing, frames, false);
        }
    }
    WLFC(job);
}

}  // namespace kestrova
