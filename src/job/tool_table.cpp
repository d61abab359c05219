// The table of outside tools: see tool_table.h.
#include "job/tool_table.h"

#include "platform/path_space.h"

namespace kestrova {

namespace {

constexpr ToolRegistryValue kProgramFolder{};

// File name, folder, registry value naming the folder, personality, window title, file version, description.
constexpr OutsideTool kOutsideTools[] = {
    {"DVDDecrypter.exe", "DVD Decrypter", {"Software\\DVD Decrypter", "InstallDirectory"}, "DVDDecrypter",
     "DVD Decrypter", "3.5.4.0", "DVD Decrypter"},
    {"PgcDemux.exe", "", kProgramFolder, "PgcDemux", "", "", ""},
    {"vobtest.exe", "", kProgramFolder, "vobtest", "", "", ""},
    {"dvd2avirb.exe", "new.dvd2avi", kProgramFolder, "dvd2avirb", "DVD2AVI", "", ""},
    {"dvd2avidg.exe", "new.dvd2avi", kProgramFolder, "dvd2avidg", "DVD2AVI", "", ""},
    {"DGIndex.exe", "new.dvd2avi", kProgramFolder, "DGIndex", "DVD2AVI", "", ""},
    {"revpulldown.exe", "", kProgramFolder, "revpulldown", "", "1.0.0.0", "revpulldown"},
    // The encoders. The CCE program's identity decides the list dialect:
    // 2.7 is run directly, a Basic build one list per asset, any other
    // version through EclCCE, which reads "EclCCE.ini" beside it.
    {"EclCCE.exe", "", kProgramFolder, "EclCCE", "EclCCE", "", ""},
    {"cctspt.exe", "CCE", kProgramFolder, "CCE", "", "2.70.2.8", "Cinema Craft Encoder SP2"},
    {"cct2.exe", "CCE Basic", kProgramFolder, "CCE", "", "2.70.0.13", "Cinema Craft Encoder BASIC"},
    {"cctsp.exe", "CCE SP", kProgramFolder, "CCE", "", "2.67.0.11", "Cinema Craft Encoder SP"},
    {"EclPro.exe", "Procoder", kProgramFolder, "EclPro", "", "", ""},
    {"QuEnc.exe", "QuEnc", kProgramFolder, "QuEnc", "", "", ""},
    {"HCbatch_015a.exe", "HC", kProgramFolder, "HCenc", "", "", ""},
    {"Rejig.exe", "", kProgramFolder, "Rejig", "", "", ""},
    {"Muxman.exe", "", kProgramFolder, "", "", "0.15.0.0", "Muxman"},
    // The audio tools. SoftEncode is called by the path its setting
    // holds; its folder here is where a laid-out program folder has it.
    {"BeSweet.exe", "AC3", kProgramFolder, "BeSweet", "", "", ""},
    {"Sftencdd.exe", "SoftEncode", kProgramFolder, "SoftEncode", "", "", ""},
    {"delaycut.exe", "AC3", kProgramFolder, "delaycut", "", "", ""},
    {"ac3fix.exe", "AC3", kProgramFolder, "ac3fix", "", "", ""},
    // The subpicture tools.
    {"vsrip.exe", "", kProgramFolder, "vsrip", "VobSub Ripper Wizard", "", ""},
    {"vsconv.exe", "", kProgramFolder, "vsconv", "", "", ""},
    {"vobsub2scc.exe", "", kProgramFolder, "vobsub2scc", "", "", ""},
    {"BitmapResize.exe", "", kProgramFolder, "BitmapResize", "", "", ""},
    // The matrices of a source for the HC encoder.
    {"QuantDump.exe", "", kProgramFolder, "QuantDump", "", "", ""},
};

}  // namespace

std::span<const OutsideTool> OutsideTools() { return kOutsideTools; }

const OutsideTool* FindOutsideTool(const std::string& fileName) {
    for (const OutsideTool& tool : kOutsideTools) {
        if (platform::EqualsIgnoreCase(fileName, tool.FileName)) return &tool;
    }
    return nullptr;
}

void AddStandInTools(platform::Launcher& launcher, const std::string& standinHostPath) {
    for (const OutsideTool& tool : kOutsideTools) {
        if (*tool.Personality == '\0') continue;
        launcher.AddOverride(tool.FileName, platform::ToolOverride{{standinHostPath, "--tool", tool.Personality},
                                                                   tool.WindowTitle, true});
    }
}

}  // namespace kestrova
