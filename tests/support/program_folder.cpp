// Program folder layout for tests: see program_folder.h.
#include "support/program_folder.h"

#include <filesystem>

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
#ifdef KESTROVA_STANDIN_PATH
    // The dummy streams the build made beside the stand-in, as the
    // program-folder personality makes them.
    namespace fs = std::filesystem;
    const fs::path build = fs::path(KESTROVA_STANDIN_PATH).parent_path();
    for (const char* name : {"PAL.mpv", "NTSC.mpv"}) {
        if (fs::exists(build / name)) fs::copy_file(build / name, fs::path(temp.Host(relative)) / name);
    }
#endif
    if (layout.Scenarist) {
        registry.savestring(platform::RegistryRoot::LocalMachine, "Software\\Sonic\\Scenarist\\Automate", "Active",
                            "3.0");
    }
    return folder;
}

}  // namespace kestrova::test
