// Small helpers the asset stage shares: running an outside tool, joining
// drive paths, name pieces, and checked reach into the current domain.
#pragma once

#include <cstdint>
#include <string>

#include "job/context.h"

namespace kestrova {

// Runs a tool's command line through the job's ShellAndWait. A tool that
// cannot be started at all is logged and passed over: the stage that needs
// its files finds them missing, as with a tool that failed.
void RunOutsideTool(JobContext& job, const std::string& commandLine, std::int16_t windowStyle);

// A path as a command line names it: the short form, which on Windows has
// no blanks; where no short form exists (as here) a path with a blank is
// quoted so the line still names one program or file.
std::string CommandLinePath(const JobContext& job, const std::string& path);

// "K:\A" + "b" -> "K:\A\b"; a folder that already ends in "\" gets none more.
std::string JoinPath(const std::string& folder, const std::string& name);

// The text before the last "." of the last path part ("001.M2V" -> "001").
std::string WithoutExtension(const std::string& name);

bool ContainsIgnoreCase(const std::string& text, const std::string& part);
bool StartsWithIgnoreCase(const std::string& text, const std::string& start);

// The domain being worked on (DomainIndex), checked against the model.
VTS_Properties& CurrentDomain(JobContext& job);

// The cell as played (Video(1).VobId(vob).CellId(cell)) of a domain; throws
// a sentence naming the domain, VOB and cell when the model lacks it.
CellID_Properties& PlayedCell(VTS_Properties& domain, std::size_t vob, std::size_t cell);

}  // namespace kestrova
