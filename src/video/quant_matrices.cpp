// Quantiser matrices: see quant_matrices.h.
#include "video/quant_matrices.h"

#include "job/log_writers.h"

namespace kestrova {

void QuantDump(JobContext& job, const std::string& Source, const std::string& DumpFile, const std::string& IntraFile,
               const std::string& NonIntraFile, const std::string& Label) {
    static_cast<void>(Source);
    static_cast<void>(DumpFile);
    static_cast<void>(IntraFile);
    static_cast<void>(NonIntraFile);
    static_cast<void>(Label);
    NotYetAvailable(job, "QuantDump");
}

}  // namespace kestrova
