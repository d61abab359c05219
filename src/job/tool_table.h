// The one table of the outside Windows tools the job drives. Each row says
// what the job calls the tool, where its file sits, what runs in its place
// on this host, the title its window is closed by, and the identity the
// pre-flight checks read from the file. The launcher's overrides and the
// program folders laid out for the sample job and the tests come from it,
// so a further tool is one more row.
#pragma once

#include <span>
#include <string>

#include "platform/launcher.h"

namespace kestrova {

// A value under HKEY_CURRENT_USER that names the folder of a tool.
struct ToolRegistryValue {
    const char* Key = nullptr;  // nullptr: the tool is found in the program folder
    const char* Name = nullptr;
};

struct OutsideTool {
    const char* FileName;  // as the job names it: "DVDDecrypter.exe"
    // The tool's folder relative to the program folder ("" the program
    // folder itself). A tool whose folder a registry value names sits there
    // in a layout made beside the program.
    const char* Folder;
    ToolRegistryValue Registry;
    // The host program that runs in its place, found in the folder of this
    // program's own host programs: "kestrova-standin" with a personality, or
    // a program of its own ("kestrova-author" for Muxman); "" none yet.
    const char* Program;
    const char* Personality;  // the kestrova-standin personality; "" for a program of its own
    const char* WindowTitle;  // "" the launcher's default for the file name, if it has one
    // The identity the pre-flight checks read from its version resource;
    // "" for a tool whose file they do not read.
    const char* FileVersion;  // "3.5.4.0"
    const char* Description;
};

std::span<const OutsideTool> OutsideTools();

// The row of a tool file name, matched without regard to case; nullptr for
// a file the table does not know.
const OutsideTool* FindOutsideTool(const std::string& fileName);

// Registers every tool that has a host program as that program in
// `hostProgramFolder` (the stand-in run with "--tool" and the personality).
// The program gets the command line as written, since some tools parse it
// themselves.
void AddStandInTools(platform::Launcher& launcher, const std::string& hostProgramFolder);

}  // namespace kestrova
