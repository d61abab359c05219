// A program folder as a real installation has it, for the pre-flight checks:
// the tools of the tool table as small PE files with their version
// resources (DVD Decrypter in its own folder, named by its registry value;
// revpulldown.exe and Muxman.exe beside the program), laid out as the
// stand-in's "program-folder" lays them out, and Scenarist's registry value.
#pragma once

#include <string>

#include "platform/registry.h"
#include "support/temp_folder.h"

namespace kestrova::test {

struct ProgramFolderLayout {
    std::string DecrypterVersion = "3.5.4.0";  // "" leaves DVD Decrypter out
    bool RevPulldown = true;
    bool Muxman = true;
    bool Scenarist = true;  // the automation value that says Scenarist is installed
};

// Lays the folder out under `relative` in the temp folder (drive K:) and
// writes the registry values; returns the program folder's drive path.
std::string LayOutProgramFolder(const TempFolder& temp, platform::Registry& registry, const std::string& relative,
                                const ProgramFolderLayout& layout = {});

}  // namespace kestrova::test
