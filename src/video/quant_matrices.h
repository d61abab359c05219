// Quantiser matrices: the matrices of a source stream, dumped for the HC
// encoder's "Use Original Matrices".
#pragma once

#include <string>

#include "job/context.h"

namespace kestrova {

// Dumps the matrices of the stream `Source` into `DumpFile` and writes its
// intra and non-intra matrices, 8 lines each, to the two files.
void QuantDump(JobContext& job, const std::string& Source, const std::string& DumpFile, const std::string& IntraFile,
               const std::string& NonIntraFile, const std::string& Label);

}  // namespace kestrova
