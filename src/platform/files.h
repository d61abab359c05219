// File services on Windows paths. Every path given here is a drive path of
// the job ("K:\JOB\ECLs"); it is mapped to the host through the PathSpace,
// names are matched without regard to case, and a failure to change the
// file system throws Error with a sentence naming the path.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/path_space.h"

namespace kestrova::platform {

enum class ListKind { Files, Folders };

// Drive types as Windows names them.
enum class DriveType { Unknown, NoRootDir, Removable, Fixed, Remote, CDRom, RamDisk };

struct DriveInfo {
    std::string Root;  // "K:\"
    DriveType Type = DriveType::Unknown;
};

class FileSystem {
public:
    explicit FileSystem(const PathSpace& paths) : paths_(paths) {}

    const PathSpace& Paths() const { return paths_; }
    std::string ToHost(const std::string& path) const { return paths_.ToHost(path); }

    bool FileExists(const std::string& path) const;    // a file, not a folder
    bool FolderExists(const std::string& path) const;
    bool Exists(const std::string& path) const;        // either
    std::uint64_t FileSize(const std::string& path) const;       // throws when missing
    std::uint64_t DirectorySize(const std::string& folder) const; // all files below, 0 when missing

    // Makes the folder and any missing parents.
    void MakeFolder(const std::string& path) const;
    // Removes a folder tree; nothing happens when it does not exist. A drive
    // root (or the host's "/") is refused rather than emptied.
    void DeleteTree(const std::string& path) const;
    // Removes one file; nothing happens when it does not exist.
    void DeleteFile(const std::string& path) const;
    // Copies one file; with overwrite false an existing target is refused.
    void CopyFile(const std::string& from, const std::string& to, bool overwrite = true) const;
    // Renames a file or folder, replacing a target file, or copies and
    // deletes across file systems. A change of case only renames.
    void MoveFile(const std::string& from, const std::string& to) const;

    // Names (not paths) in a folder matching a Windows wildcard pattern
    // ("*.VOB", "VTS_??_0.IFO", "*.*"), without regard to case, sorted as
    // Windows lists them on NTFS (case-insensitive order). A missing folder
    // gives an empty list. "." and ".." are never listed.
    std::vector<std::string> List(const std::string& folder, const std::string& pattern, ListKind kind) const;

    std::vector<std::uint8_t> ReadBytes(const std::string& path) const;
    std::string ReadText(const std::string& path) const;
    // Lines without their CR LF or LF ends.
    std::vector<std::string> ReadLines(const std::string& path) const;

    // Whether a write waits until its bytes are on the disk.
    enum class Flush { ToDisk, No };

    // Writes through a temporary file in the same folder, renamed over the
    // target: a failure leaves the old file whole, and a reader sees the old
    // file or the new one, never part of one. With Flush::ToDisk (files a
    // later run relies on) the bytes and the rename are flushed to disk
    // first; Flush::No suits files made again by every run that needs them.
    void WriteFileAtomic(const std::string& path, const std::string& bytes, Flush flush = Flush::ToDisk) const;
    // Replaces the file's content (not atomic; for generated scripts).
    void WriteText(const std::string& path, const std::string& text) const;
    // Opens for append, writes the text and CR LF, closes.
    void AppendLine(const std::string& path, const std::string& text) const;

    // Free bytes of the file system holding the drive root.
    std::uint64_t FreeBytes(const std::string& root) const;
    // The label of the drive: the name of the host folder it maps to, upper
    // case; empty for a drive mapped to "/".
    std::string VolumeName(const std::string& root) const;
    // The mapped drives in letter order with their type; a drive whose host
    // folder is missing is NoRootDir.
    std::vector<DriveInfo> Drives() const;

    // The user's documents folder and desktop as drive paths: the host's
    // "$HOME/Documents" and "$HOME/Desktop" where they exist, else $HOME.
    std::string DocumentsFolder() const;
    std::string DesktopFolder() const;

private:
    const PathSpace& paths_;
};

// True when the name matches the Windows wildcard pattern ("*" any run, "?"
// one character), without regard to case. "*.*" matches every name, also
// one without a dot, as on Windows.
bool MatchesWildcard(const std::string& name, const std::string& pattern);

}  // namespace kestrova::platform
