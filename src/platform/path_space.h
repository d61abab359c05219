// The job speaks Windows paths ("K:\JOB\D_VTS_01_0\DEMUXED"), because the
// scripts and control files it writes are read by Windows programs. This
// class maps a drive letter to a host folder at the one boundary where a
// file is opened, listed, made or deleted, and maps a host path the user
// gave back into a drive path.
#pragma once

#include <string>
#include <vector>

#include "platform/text.h"

namespace kestrova::platform {

// What a drive is taken for by the drive list: a source disc or a disk.
enum class DriveKind { Fixed, CDRom, Removable, Network, RamDisk };

struct DriveMapping {
    char Letter = 'Z';        // upper case
    std::string HostRoot;     // absolute host folder, no trailing "/" except for "/"
    DriveKind Kind = DriveKind::Fixed;
};

class PathSpace {
public:
    // Z: maps to "/", as under Wine.
    PathSpace();

    // The default map plus the entries of KESTROVA_DRIVES.
    static PathSpace FromEnvironment();

    // Adds or replaces a drive. The host root must be an absolute path.
    void MapDrive(char letter, const std::string& hostRoot, DriveKind kind = DriveKind::Fixed);

    // Reads "K:=/tmp/job;D:=/media/dvd@cdrom": entries split at ";", each a
    // letter, ":=", an absolute host folder and an optional "@fixed",
    // "@cdrom", "@removable", "@network" or "@ramdisk". Throws Error naming
    // the entry when one is malformed.
    void AddDrives(const std::string& list);

    // The map in the KESTROVA_DRIVES form, for handing to child programs.
    std::string DriveList() const;

    const std::vector<DriveMapping>& Drives() const { return drives_; }

    // The host path of a Windows path. "\" and "/" both separate; "." and
    // ".." are folded. Each component that does not exist as spelled is
    // matched against the existing names of its folder without regard to
    // case, as Windows does; a component with no match is kept as spelled
    // (a file about to be made). Throws Error for a relative path or a
    // drive that is not mapped.
    std::string ToHost(const std::string& windowsPath) const;

    // The drive path of a host path (made absolute against the current
    // folder): the mapping with the longest root that holds it wins. A
    // drive root comes back as three characters, "K:\".
    std::string ToWindows(const std::string& hostPath) const;

    // Short (8.3) names do not exist here, and Windows hands back the long
    // path where a file has none.
    std::string GetShortPath(const std::string& windowsPath) const { return windowsPath; }

    // True for "X:\..." and "X:" forms with a letter.
    static bool IsDrivePath(const std::string& windowsPath);

private:
    const DriveMapping* Find(char letter) const;

    std::vector<DriveMapping> drives_;
};


}  // namespace kestrova::platform
