// Program folder layout: see program_folder.h. The tools are small PE
// files; when one is run, the launcher's overrides from the same table
// decide what runs in its place.
#include "program_folder.h"

#include <charconv>

#include "indexed_bmp.h"
#include "job/tool_table.h"
#include "pe_builder.h"
#include "platform/error.h"
#include "standin.h"

namespace kestrova::standin {

namespace {

// "3.5.4.0": four numbers of 0 to 65535.
pe::PeVersion ParseVersion(const std::string& text, const std::string& description) {
    std::uint16_t parts[4] = {};
    const char* at = text.data();
    const char* const end = at + text.size();
    bool whole = true;
    for (int i = 0; i < 4 && whole; ++i) {
        if (i > 0) whole = at != end && *at++ == '.';
        const auto [next, error] = std::from_chars(at, end, parts[i]);
        whole = whole && error == std::errc{};
        at = next;
    }
    if (!whole || at != end) {
        throw Error("The version \"" + text + "\" of " + description + " is not four numbers as 3.5.4.0");
    }
    return pe::PeVersion(parts[0], parts[1], parts[2], parts[3], description);
}

}  // namespace

void LayOutTools(const platform::FileSystem& files, platform::Registry& registry, const std::string& programFolder,
                 const ToolVersions& versions) {
    for (const auto& entry : versions) {
        if (FindOutsideTool(entry.first) == nullptr) {
            throw Error("The program folder layout names \"" + entry.first + "\", which is no tool of the table");
        }
    }
    for (const OutsideTool& tool : OutsideTools()) {
        std::string version = tool.FileVersion;
        for (const auto& [name, given] : versions) {
            if (platform::EqualsIgnoreCase(name, tool.FileName)) version = given;
        }
        if (version.empty()) continue;
        const std::string folder = *tool.Folder == '\0' ? programFolder : programFolder + "\\" + tool.Folder;
        files.MakeFolder(folder);
        files.WriteText(folder + "\\" + tool.FileName, pe::BuildPeWithVersion(ParseVersion(version, tool.Description)));
        if (tool.Registry.Key != nullptr) {
            registry.savestring(platform::RegistryRoot::CurrentUser, tool.Registry.Key, tool.Registry.Name, folder);
        }
    }
    LayOutBlankFrames(files, programFolder);
}

void LayOutBlankFrames(const platform::FileSystem& files, const std::string& programFolder) {
    files.MakeFolder(programFolder);
    files.WriteText(programFolder + "\\PAL.bmp", BlankBmp(720, 576));
    files.WriteText(programFolder + "\\NTSC.bmp", BlankBmp(720, 480));
}

}  // namespace kestrova::standin
