// Small helpers the asset stage shares: running an outside tool, joining
// drive paths, name pieces, and checked reach into the current domain.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"
#include "platform/text.h"

namespace kestrova {

// Runs a tool's command line through the job's ShellAndWait. A tool that
// cannot be started at all is logged and passed over: the stage that needs
// its files finds them missing, as with a tool that failed.
void RunOutsideTool(JobContext& job, const std::string& commandLine, std::int16_t windowStyle);

// A path as a command line names it: the short form, which on Windows has
// no blanks; where no short form exists (as here) a path with a blank is
// quoted so the line still names one program or file.
std::string CommandLinePath(const JobContext& job, const std::string& path);

// The path and name helpers the asset stages share.
using platform::ContainsIgnoreCase;
using platform::JoinPath;
using platform::StartsWithIgnoreCase;
using platform::WithoutExtension;

// The domain being worked on (DomainIndex), checked against the model.
VTS_Properties& CurrentDomain(JobContext& job);

// The cell as played (Video(1).VobId(vob).CellId(cell)) of a domain; throws
// a sentence naming the domain, VOB and cell when the model lacks it.
CellID_Properties& PlayedCell(VTS_Properties& domain, std::size_t vob, std::size_t cell);

}  // namespace kestrova
