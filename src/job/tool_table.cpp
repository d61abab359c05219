// The table of outside tools: see tool_table.h.
#include "job/tool_table.h"

#include <utility>
#include <vector>

#include "platform/path_space.h"

namespace kestrova {

namespace {

constexpr ToolRegistryValue kProgramFolder{};

// The host programs that run in the tools' places.
constexpr const char* kStandIn = "kestrova-standin";
constexpr const char* kAuthor = "kestrova-author";

// File name, folder, registry value naming the folder, host program, its personality, window title, file
// version, description.
constexpr OutsideTool kOutsideTools[] = {
    {"DVDDecrypter.exe", "DVD Decrypter", {"Software\\DVD Decrypter", "InstallDirectory"}, kStandIn,
     "DVDDecrypter", "DVD Decrypter", "3.5.4.0", "DVD Decrypter"},
    {"PgcDemux.exe", "", kProgramFolder, kStandIn, "PgcDemux", "", "", ""},
    {"vobtest.exe", "", kProgramFolder, kStandIn, "vobtest", "", "", ""},
    {"dvd2avirb.exe", "new.dvd2avi", kProgramFolder, kStandIn, "dvd2avirb", "DVD2AVI", "", ""},
    {"dvd2avidg.exe", "new.dvd2avi", kProgramFolder, kStandIn, "dvd2avidg", "DVD2AVI", "", ""},
    {"DGIndex.exe", "new.dvd2avi", kProgramFolder, kStandIn, "DGIndex", "DVD2AVI", "", ""},
    {"revpulldown.exe", "", kProgramFolder, kStandIn, "revpulldown", "", "1.0.0.0", "revpulldown"},
    // The encoders. The CCE program's identity decides the list dialect:
    // 2.7 is run directly, a Basic build one list per asset, any other
    // version through EclCCE, which reads "EclCCE.ini" beside it.
    {"EclCCE.exe", "", kProgramFolder, kStandIn, "EclCCE", "EclCCE", "", ""},
    {"cctspt.exe", "CCE", kProgramFolder, kStandIn, "CCE", "", "2.70.2.8", "Cinema Craft Encoder SP2"},
    {"cct2.exe", "CCE Basic", kProgramFolder, kStandIn, "CCE", "", "2.70.0.13", "Cinema Craft Encoder BASIC"},
    {"cctsp.exe", "CCE SP", kProgramFolder, kStandIn, "CCE", "", "2.67.0.11", "Cinema Craft Encoder SP"},
    {"EclPro.exe", "Procoder", kProgramFolder, kStandIn, "EclPro", "", "", ""},
    {"QuEnc.exe", "QuEnc", kProgramFolder, kStandIn, "QuEnc", "", "", ""},
    {"HCbatch_015a.exe", "HC", kProgramFolder, kStandIn, "HCenc", "", "", ""},
    {"Rejig.exe", "", kProgramFolder, kStandIn, "Rejig", "", "", ""},
    {"Muxman.exe", "", kProgramFolder, kAuthor, "", "", "0.15.0.0", "Muxman"},
    // The audio tools. SoftEncode is called by the path its setting
    // holds; its folder here is where a laid-out program folder has it.
    {"BeSweet.exe", "AC3", kProgramFolder, kStandIn, "BeSweet", "", "", ""},
    {"Sftencdd.exe", "SoftEncode", kProgramFolder, kStandIn, "SoftEncode", "", "", ""},
    {"delaycut.exe", "AC3", kProgramFolder, kStandIn, "delaycut", "", "", ""},
    {"ac3fix.exe", "AC3", kProgramFolder, kStandIn, "ac3fix", "", "", ""},
    // The subpicture tools.
    {"vsrip.exe", "", kProgramFolder, kStandIn, "vsrip", "VobSub Ripper Wizard", "", ""},
    {"vsconv.exe", "", kProgramFolder, kStandIn, "vsconv", "", "", ""},
    {"vobsub2scc.exe", "", kProgramFolder, kStandIn, "vobsub2scc", "", "", ""},
    {"BitmapResize.exe", "", kProgramFolder, kStandIn, "BitmapResize", "", "", ""},
    // The matrices of a source for the HC encoder.
    {"QuantDump.exe", "", kProgramFolder, kStandIn, "QuantDump", "", "", ""},
};

}  // namespace

std::span<const OutsideTool> OutsideTools() { return kOutsideTools; }

const OutsideTool* FindOutsideTool(const std::string& fileName) {
    for (const OutsideTool& tool : kOutsideTools) {
        if (platform::EqualsIgnoreCase(fileName, tool.FileName)) return &tool;
    }
    return nullptr;
}

void AddStandInTools(platform::Launcher& launcher, const std::string& hostProgramFolder) {
    for (const OutsideTool& tool : kOutsideTools) {
        if (*tool.Program == '\0') continue;
        std::vector<std::string> command{hostProgramFolder + "/" + tool.Program};
        if (*tool.Personality != '\0') command.insert(command.end(), {"--tool", tool.Personality});
        launcher.AddOverride(tool.FileName, platform::ToolOverride{std::move(command), tool.WindowTitle, true});
    }
}

}  // namespace kestrova
