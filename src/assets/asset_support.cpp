// Helpers of the asset stage: see asset_support.h.
#include "assets/asset_support.h"

#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/path_space.h"

namespace kestrova {

void RunOutsideTool(JobContext& job, const std::string& commandLine, std::int16_t windowStyle) {
    try {
        ShellAndWait(job, commandLine, windowStyle);
    } catch (const Error& failure) {
        WLOG(job, failure.what());
    }
}

std::string CommandLinePath(const JobContext& job, const std::string& path) {
    const std::string shortPath = job.Files.Paths().GetShortPath(path);
    return shortPath.find(' ') == std::string::npos ? shortPath : "\"" + shortPath + "\"";
}

VTS_Properties& CurrentDomain(JobContext& job) {
    if (job.DomainIndex < 1 || static_cast<std::size_t>(job.DomainIndex) > job.DiscModel.Count()) {
        throw Error("The asset stage was asked for domain " + std::to_string(job.DomainIndex) +
                    ", but the model holds " + std::to_string(job.DiscModel.Count()) + " domains");
    }
    return job.DiscModel.Item(static_cast<std::size_t>(job.DomainIndex));
}

CellID_Properties& PlayedCell(VTS_Properties& domain, std::size_t vob, std::size_t cell) {
    if (domain.Video.Count() < 1 || vob < 1 || vob > domain.Video.Item(1).VobId.Count() || cell < 1 ||
        cell > domain.Video.Item(1).VobId.Item(vob).CellId.Count()) {
        throw Error("The model of \"" + domain.OriginalIfo + "\" has no played cell " + std::to_string(cell) +
                    " of VOB id " + std::to_string(vob));
    }
    return domain.Video.Item(1).VobId.Item(vob).CellId.Item(cell);
}

}  // namespace kestrova
