// Program folder layout for tests: see program_folder.h.
#include "support/program_folder.h"

#include <cstdlib>

#include "standins/pe_builder.h"

namespace kestrova::test {

using platform::RegistryRoot;

namespace {

using pe::BuildPeWithVersion;
using pe::PeVersion;

PeVersion ParseVersion(const std::string& text, const std::string& description) {
    int parts[4] = {0, 0, 0, 0};
    std::size_t start = 0;
    for (int& part : parts) {
        part = std::atoi(text.c_str() + start);
        const auto dot = text.find('.', start);
        if (dot == std::string::npos) break;
        start = dot + 1;
    }
    return PeVersion(static_cast<std::uint16_t>(parts[0]), static_cast<std::uint16_t>(parts[1]),
                     static_cast<std::uint16_t>(parts[2]), static_cast<std::uint16_t>(parts[3]), description);
}

}  // namespace

std::string LayOutProgramFolder(const TempFolder& temp, platform::Registry& registry, const std::string& relative,
                                const ProgramFolderLayout& layout) {
    const std::string folder = "K:\\" + relative;
    temp.Write(relative + "/Kestrova.txt", "program folder\n");
    if (layout.RevPulldown) temp.Write(relative + "/revpulldown.exe", BuildPeWithVersion({1, 0, 0, 0, "revpulldown"}));
    if (layout.Muxman) temp.Write(relative + "/Muxman.exe", BuildPeWithVersion({0, 15, 0, 0, "Muxman"}));
    if (!layout.DecrypterVersion.empty()) {
        temp.Write("DVD Decrypter/DVDDecrypter.exe",
                   BuildPeWithVersion(ParseVersion(layout.DecrypterVersion, "DVD Decrypter")));
        registry.savestring(RegistryRoot::CurrentUser, "Software\\DVD Decrypter", "InstallDirectory",
                            "K:\\DVD Decrypter");
    }
    if (layout.Scenarist) {
        registry.savestring(RegistryRoot::LocalMachine, "Software\\Sonic\\Scenarist\\Automate", "Active", "3.0");
    }
    return folder;
}

}  // namespace kestrova::test
