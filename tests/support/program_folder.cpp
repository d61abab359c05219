// Program folder layout for tests: see program_folder.h.
#include "support/program_folder.h"

#include "platform/files.h"
#include "standins/program_folder.h"

namespace kestrova::test {

std::string LayOutProgramFolder(const TempFolder& temp, platform::Registry& registry, const std::string& relative,
                                const ProgramFolderLayout& layout) {
    const std::string folder = "K:\\" + relative;
    temp.Write(relative + "/Kestrova.txt", "program folder\n");
    standin::ToolVersions versions{{"DVDDecrypter.exe", layout.DecrypterVersion}};
    if (!layout.RevPulldown) versions["revpulldown.exe"] = "";
    if (!layout.Muxman) versions["Muxman.exe"] = "";
    const platform::PathSpace paths = temp.Drives();
    standin::LayOutTools(platform::FileSystem(paths), registry, folder, versions);
    if (layout.Scenarist) {
        registry.savestring(platform::RegistryRoot::LocalMachine, "Software\\Sonic\\Scenarist\\Automate", "Active",
                            "3.0");
    }
    return folder;
}

}  // namespace kestrova::test
