// The job's folders: the tree under JobRoot, the check of the chosen output
// location, counting and listing files by kind, drives, sizes and the
// cleaning at the end of a job.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// The folders every domain's work folder holds.
inline const std::vector<std::string> kWorkSubfolders = {"\\FRAMESERVING", "\\DEMUXED_CELLID", "\\NEW_M2V",
                                                        "\\DEMUXED", "\\SUBTITLES"};

// Makes the work folder and its sub-folders where missing.
void MakeWorkFolders(JobContext& job, const std::string& workFolder);

// State of one search.
struct SearchRecord {
    std::string sFile;  // the pattern
    std::string sPath;  // the folder
    std::int16_t bRecurse = 0;
    std::int16_t bFind = 0;
    std::int32_t FileCount = 0;
    std::int32_t FolderCount = 0;
    std::int64_t FileSize = 0;
};

// Files matching the record's pattern in its folder (and below when
// bRecurse is set); each hit is added to job.FileList as a path relative to
// `listBase` and counted, its size summed. Returns the number of hits.
std::int32_t SearchForFiles(JobContext& job, SearchRecord& search, const std::string& listBase);
// The same for folders.
std::int32_t SearchForFolders(JobContext& job, SearchRecord& search, const std::string& listBase);

// Counts and lists (in job.FileList, from index 1) what the word names:
// "LANGUAGEFILES", "ALL", "RENAME", "MOUNTEDFOLDERS", "AC3", "AUDIO",
// "AUDIORENAME", "MOVEAUDIO", "M2V", "ENCODED", "IDX", "ECLS", "COPY",
// "REBUILDER", "INPUT" or "DELETE". Entries are paths relative to `folder`:
// plain names for what lies in it. A missing folder gives 0. An unknown
// word throws.
std::int32_t GetFileCount(JobContext& job, const std::string& folder, const std::string& word);

std::int64_t GetDirectorySize(JobContext& job, const std::string& folder);
// Adds the bytes of a source folder to RemainingFiles.
void GetFileInformation(JobContext& job, const std::string& folder);

// Guards the output folder. True means the location is refused.
bool CheckLocation(JobContext& job, const std::string& path);
// Removes a folder tree; -1 on success, 0 when something could not go.
std::int16_t DeleteFolder(JobContext& job, const std::string& path);
// The end-of-job cleaning, when DeleteTempFiles is 1.
void DeleteTemporaryFiles(JobContext& job);

// A drive's type as the drive lists name it.
std::string fDriveType(platform::DriveType type);

// The drives on offer: CD drives for the source lists, fixed drives for the
// output list, with the ones preselected.
struct DriveLists {
    std::vector<std::string> Sources;  // "D:\" and so on
    std::vector<std::string> Outputs;
    int SourceSelected = -1;           // index into Sources, -1 none
    std::string DefaultOutputRoot;     // first fixed drive
    int StoredSourceSelected = -1;     // the stored SourceDrive / DestDrive entries
    int StoredOutputSelected = -1;
};
DriveLists sListAllDrives(JobContext& job);

// Sets job.VolumeText to the drive's label.
void volumename(JobContext& job, const std::string& root);
// Sets job.FreeSpaceGB to the free bytes / 1024 / 1024 / 1024.
void FreeSpace(JobContext& job, const std::string& root);
// Reads the version resource of the file named in job.VerInfoPath into the
// three version texts; they stay empty when the file has none.
void DisplayVerInfo(JobContext& job);
// The file version of a file, through DisplayVerInfo; empty means not found.
std::string VersionOfFile(JobContext& job, const std::string& path);

// Path helpers: a folder with its closing "\", a text cut at its first
// NUL, and the Windows and system folders.
// A drive path as a user reads it in a message: the host path, then the
// drive path in brackets ("/media/disc/VIDEO_TS/VTS_01_0.VOB (D:\VIDEO_TS\VTS_01_0.VOB)");
// a path on a drive that is not mapped stays as it is.
std::string ShownPath(const JobContext& job, const std::string& drivePath);
std::string QualifyPath(const std::string& path);
std::string TrimNull(const std::string& text);
std::string StripNulls(const std::string& text);
std::string GetWinDir(const JobContext& job);
std::string GetSystemDir(const JobContext& job);

// The path of a special folder: 5 is the user's documents, 16 the desktop.
std::string fGetSpecialFolder(JobContext& job, int folderId);

}  // namespace kestrova
