// The native tool table: see native_tools.h.
#include "platform/native_tools.h"

namespace kestrova::platform {

namespace {

struct NativeTool {
    const char* FileName;     // as the job names the Windows tool
    const char* Personality;  // the stand-in's tool name
    const char* WindowTitle;  // empty: the tool's default title
};

constexpr NativeTool kStandInTools[] = {
    {"DVDDecrypter.exe", "DVDDecrypter", "DVD Decrypter"},
    {"PgcDemux.exe", "PgcDemux", ""},
    {"vobtest.exe", "vobtest", ""},
    {"dvd2avirb.exe", "dvd2avirb", "DVD2AVI"},
    {"dvd2avidg.exe", "dvd2avidg", "DVD2AVI"},
    {"DGIndex.exe", "DGIndex", "DVD2AVI"},
};

}  // namespace

void AddStandInTools(Launcher& launcher, const std::string& standinHostPath) {
    for (const NativeTool& tool : kStandInTools) {
        launcher.AddOverride(tool.FileName, ToolOverride{{standinHostPath, "--tool", tool.Personality},
                                                         tool.WindowTitle, true});
    }
}

}  // namespace kestrova::platform
