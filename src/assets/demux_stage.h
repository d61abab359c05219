// Source copy and demultiplexing of a menu domain.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Reads every IFO of the source into the model, in name order (the video
// manager first), fully for the chosen menus and lightly for the others.
// `SourceFolder` ends in a backslash.
void GetIFODetails(JobContext& job, const std::string& SourceFolder);

// Demultiplexes the menu VOB with DVD Decrypter, by VOB id or by cell; true when it aborts.
bool EnableDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell);

// Demultiplexes the menu VOB with PgcDemux; true when PgcDemux is missing.
bool EnablePGCDemuxing(JobContext& job, const std::string& VobPath, const std::string& VobName, bool ByCell);

}  // namespace kestrova
