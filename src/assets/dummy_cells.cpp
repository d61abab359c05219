// False PGCs and the dummy scan's hooks: see dummy_cells.h.
#include "assets/dummy_cells.h"

#include "assets/asset_names.h"
#include "assets/asset_support.h"
#include "assets/demux_stage.h"
#include "assets/frameserving.h"
#include "job/log_writers.h"

namespace kestrova {

void FalsePgcCheck(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "DummyCells", "FalsePgcCheck");
    auto& domain = CurrentDomain(job);
    // Each use of a VOB by a cell of a PGC, in order.
    const auto forEachUse = [&domain](const auto& visit) {
        for (auto& language : domain.Language) {
            for (std::size_t p = 1; p <= language.PGC_Number.Count(); ++p) {
                auto& pgc = language.PGC_Number.Item(p);
                for (auto& program : pgc.PG) {
                    for (auto& reference : program.cell_ref) {
                        visit(p, pgc, domain.Vob_Id.Item(static_cast<std::size_t>(reference.Vob_Id)));
                    }
                }
            }
        }
    };

    forEachUse([&job](std::size_t p, PGC_Number_Properties& pgc, VOB_ID_Properties& vob) {
        if (pgc.Possible_Dummy != 0 && vob.HighLight_Present == 0) {
            pgc.Dummy = -1;
            WLOG(job, "Dummy PGC found for PGC Number " + std::to_string(p));
        }
        if (vob.HighLight_Present != 0) {
            pgc.Dummy = 0;
            pgc.Possible_Dummy = 0;
        }
    });
    WLOG(job, "Checking for Dummy Vobs");
    // A VOB stays dummy only while every use of it so far is a dummy PGC;
    // the first use by a real PGC settles it as real for good.
    forEachUse([](std::size_t, PGC_Number_Properties& pgc, VOB_ID_Properties& vob) {
        if (vob.Dummy_Scanned == 0 && pgc.Dummy != 0) {
            vob.Dummy = -1;
        } else {
            vob.Dummy = 0;
            vob.Dummy_Scanned = -1;
        }
    });
}

DummyCellStages DummyCellMeasurement() {
    DummyCellStages stages;
    stages.DemuxByCell = [](JobContext& job, const std::string& VobPath) {
        const std::string name = platform::FileNameOf(VobPath);
        if (job.State().Pgcdemux != 0) {
            EnablePGCDemuxing(job, VobPath, name, true);
        } else if (!EnableDemuxing(job, VobPath, name, true)) {
            EnableFileRename(job, job.WorkFolder + "\\DEMUXED_CELLID");
        }
    };
    stages.MeasureCell = [](JobContext& job, std::int16_t VobId, std::int16_t CellId) {
        const std::string m2v =
            job.WorkFolder + "\\DEMUXED_CELLID\\" + CreateVOBName(VobId) + "_" + CreateCellName(CellId) + ".M2V";
        return ForceD2V(job, m2v, VobId, CellId);
    };
    return stages;
}

}  // namespace kestrova
