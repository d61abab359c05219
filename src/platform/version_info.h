// Reads the version resource (VS_VERSIONINFO) of a Windows program file, as
// the system's file version service does: the fixed part's structure, file
// and product versions, and the FileDescription text.
#pragma once

#include <optional>
#include <string>

namespace kestrova::platform {

struct VersionInfo {
    std::string StructureVersion;  // "1.0": high and low word of dwStrucVersion
    std::string FileVersion;       // "3.5.4.0"; empty when the resource has no fixed part
    std::string ProductVersion;
    std::string FileDescription;   // UTF-8; empty when absent
};

// std::nullopt for a missing file, a file that is not a PE program (PE32 or
// PE32+), or one without a version resource. A PE file whose headers,
// resource directory or version resource point outside the file or are
// malformed throws Error naming the file, the structure and the offset.
std::optional<VersionInfo> ReadVersionInfo(const std::string& hostPath);

}  // namespace kestrova::platform
