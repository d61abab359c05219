// Job folders, file counts by kind, drives and cleaning: see folders.h.
#include "job/folders.h"

#include "job/log_writers.h"
#include "job/tool_runner.h"
#include "platform/error.h"
#include "platform/path_space.h"
#include "platform/version_info.h"

namespace kestrova {

using platform::ListKind;

namespace {

std::string Join(const std::string& base, const std::string& name) {
    if (base.empty()) return name;
    return base.back() == '\\' ? base + name : base + "\\" + name;
}

struct Pattern {
    std::string Subfolder;  // below the searched folder, "" for itself
    std::string Files;
    bool Recurse = false;
};

// What each vocabulary word searches, in the order the hits are listed.
std::vector<Pattern> PatternsOf(const std::string& word) {
    if (word == "LANGUAGEFILES") return {{"", "*.lang"}};
    if (word == "ALL")
        return {{"", "*.ecl"}, {"", "*.log"}, {"", "*.bat"}, {"", "*.avs"}, {"", "*.d2v"}, {"", "*.MXP"},
                {"SUBTITLES", "*.vob"}};
    if (word == "RENAME") return {{"", "*.VOB"}, {"", "*.M2V"}, {"", "*.WAV"}, {"", "*.AC3"}, {"", "*.MP2"}};
    if (word == "MOUNTEDFOLDERS") return {{"", "*.IFO"}, {"", "*.BUP"}};
    if (word == "AC3" || word == "AUDIORENAME") return {{"", "*.ac3"}};
    // MPEG audio is ".mp2" from DVD Decrypter and ".mpa" from PgcDemux.
    if (word == "AUDIO")
        return {{"DEMUXED", "*.ac3"},        {"DEMUXED", "*.wav"},        {"DEMUXED", "*.mp2"},
                {"DEMUXED", "*.mpa"},        {"DEMUXED_CELLID", "*.ac3"}, {"DEMUXED_CELLID", "*.wav"},
                {"DEMUXED_CELLID", "*.mp2"}, {"DEMUXED_CELLID", "*.mpa"}};
    if (word == "MOVEAUDIO") return {{"", "*.ac3"}, {"", "*.wav"}, {"", "*.mp2"}, {"", "*.mpa"}};
    if (word == "M2V") return {{"", "*.mpv", true}};
    if (word == "ENCODED") return {{"", "*.m2v"}, {"", "*.mpv"}};
    if (word == "IDX") return {{"SUBTITLES", "*.idx", true}};
    if (word == "ECLS") return {{"", "*.ecl"}};
    if (word == "COPY") return {{"", "*.IFO"}};
    if (word == "REBUILDER" || word == "INPUT") return {{"", "*.IFO"}, {"", "*.VOB"}};
    throw Error("GetFileCount has no search for the word \"" + word + "\"");
}

std::int32_t Search(JobContext& job, SearchRecord& search, const std::string& listBase, ListKind kind) {
    std::int32_t hits = 0;
    const auto& files = job.Files;
    for (const auto& name : files.List(search.sPath, search.sFile, kind)) {
        const std::string path = Join(search.sPath, name);
        job.FileList.push_back(Join(listBase, name));
        ++hits;
        if (kind == ListKind::Files) {
            ++search.FileCount;
            search.FileSize += static_cast<std::int64_t>(files.FileSize(path));
        } else {
            ++search.FolderCount;
        }
    }
    if (search.bRecurse != 0) {
        for (const auto& folder : files.List(search.sPath, "*", ListKind::Folders)) {
            SearchRecord inner = search;
            inner.sPath = Join(search.sPath, folder);
            inner.FileCount = inner.FolderCount = 0;
            inner.FileSize = 0;
            hits += Search(job, inner, Join(listBase, folder), kind);
            search.FileCount += inner.FileCount;
            search.FolderCount += inner.FolderCount;
            search.FileSize += inner.FileSize;
        }
    }
    return hits;
}

}  // namespace

void MakeWorkFolders(JobContext& job, const std::string& workFolder) {
    job.Files.MakeFolder(workFolder);
    for (const auto& sub : kWorkSubfolders) job.Files.MakeFolder(workFolder + sub);
}

std::int32_t SearchForFiles(JobContext& job, SearchRecord& search, const std::string& listBase) {
    return Search(job, search, listBase, ListKind::Files);
}

std::int32_t SearchForFolders(JobContext& job, SearchRecord& search, const std::string& listBase) {
    return Search(job, search, listBase, ListKind::Folders);
}

std::int32_t GetFileCount(JobContext& job, const std::string& folder, const std::string& word) {
    platform::TraceFrame frame(job.Trace, "Folders", "GetFileCount");
    job.FileList.assign(1, std::string());
    const std::string upper = platform::ToUpperAscii(word);
    if (!job.Files.FolderExists(folder)) {
        PatternsOf(upper);  // an unknown word is a fault even then
        return 0;
    }
    std::int32_t hits = 0;
    if (upper == "DELETE") {
        SearchRecord folders{"*", folder, -1};
        hits += SearchForFolders(job, folders, "");
        SearchRecord files{"*", folder, -1};
        hits += SearchForFiles(job, files, "");
        return hits;
    }
    for (const auto& pattern : PatternsOf(upper)) {
        SearchRecord search{pattern.Files, pattern.Subfolder.empty() ? folder : Join(folder, pattern.Subfolder),
                            static_cast<std::int16_t>(pattern.Recurse ? -1 : 0)};
        hits += SearchForFiles(job, search, pattern.Subfolder);
    }
    return hits;
}

std::int64_t GetDirectorySize(JobContext& job, const std::string& folder) {
    return static_cast<std::int64_t>(job.Files.DirectorySize(folder));
}

void GetFileInformation(JobContext& job, const std::string& folder) {
    job.State().RemainingFiles += GetDirectorySize(job, folder);
}

std::int16_t DeleteFolder(JobContext& job, const std::string& path) {
    try {
        job.Files.DeleteTree(path);
        return -1;
    } catch (const Error& failure) {
        WLOG(job, failure.what());
        return 0;
    }
}

bool CheckLocation(JobContext& job, const std::string& path) {
    const auto refuseMaking = [&job] {
        job.Questions.ShowMessage("Please close any files pertaining to this folder", "Kestrova",
                                  platform::MessageKind::Exclamation);
        job.Text2.clear();
        job.OutputFolder.clear();
        job.View.ShowStageBar(0, 100);
        return true;
    };

    if (path.size() > 3 && !job.Files.FolderExists(path)) {
        try {
            job.Files.MakeFolder(path);
        } catch (const Error& failure) {
            WLOG(job, failure.what());
            return refuseMaking();
        }
    }
    if (path.size() <= 3 || platform::EqualsIgnoreCase(path, fGetSpecialFolder(job, 5))) {
        job.Text2 = path;
        job.OutputFolder = path;
        return false;
    }
    if (GetFileCount(job, path, "DELETE") == 0) return false;

    const std::string question = "This folder: " + path + " is not empty. Delete existing folder?";
    if (!job.Questions.AskYesNo(question, "Kestrova", false)) {
        job.Text2.clear();
        return true;
    }
    LogWindow(job, "Deleting Directory ...");
    if (DeleteFolder(job, path) == 0) {
        job.Questions.ShowMessage("Unable to delete all files", "Kestrova", platform::MessageKind::Exclamation);
        return true;
    }
    job.OutputFolder = path;
    job.Text2 = path;
    ServeMessages(job);
    LogWindow(job, "Delete Complete");
    return false;
}

void DeleteTemporaryFiles(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "Folders", "DeleteTemporaryFiles");
    if (job.Options().DeleteTempFiles != 1) return;
    LogWindow(job, "Deleting Temporary Files");
    for (const auto& domain : job.DiscModel) {
        if (domain.OutputDir.empty() || !job.Files.FolderExists(domain.OutputDir)) continue;
        LogWindow(job, "*Deleting " + domain.OutputDir);
        WLOG(job, "*Deleting " + domain.OutputDir);
        DeleteFolder(job, domain.OutputDir);
    }
    if (job.Files.FolderExists(job.JobRoot + "\\Batch_1")) DeleteFolder(job, job.JobRoot + "\\Batch_1");
    for (const char* name : {"\\Muxman.log", "\\Muxman.mxp", "\\Kestrova_Recovery.log", "\\Title_Dummy.m2v",
                             "\\Update_Menu_Ifo.bat"}) {
        try {
            job.Files.DeleteFile(job.JobRoot + name);
        } catch (const Error& failure) {
            WLOG(job, failure.what());
        }
    }
}

std::string fDriveType(platform::DriveType type) {
    switch (type) {
        case platform::DriveType::Unknown: return "Unknown Drive Type";
        case platform::DriveType::NoRootDir: return "Drive does not exist";
        case platform::DriveType::Removable: return "Removable Media";
        case platform::DriveType::Fixed: return "Fixed Drive";
        case platform::DriveType::Remote: return "Network Drive";
        case platform::DriveType::CDRom: return "CD Rom";
        case platform::DriveType::RamDisk: return "Ram Disk";
    }
    return "Unknown Drive Type";
}

DriveLists sListAllDrives(JobContext& job) {
    DriveLists lists;
    auto& state = job.State();
    for (const auto& drive : job.Files.Drives()) {
        const std::string type = fDriveType(drive.Type);
        if (type == "CD Rom") {
            lists.Sources.push_back(drive.Root);
            const int index = static_cast<int>(lists.Sources.size()) - 1;
            if (state.LoadOnly != 0) {
                if (!state.TempDrive.empty() && platform::EqualsIgnoreCase(drive.Root.substr(0, 1),
                                                                           state.TempDrive.substr(0, 1))) {
                    lists.SourceSelected = index;
                }
            } else if (lists.SourceSelected < 0 &&
                       job.Files.FileExists(drive.Root + "VIDEO_TS\\VTS_01_0.IFO") &&
                       job.Files.FileExists(drive.Root + "VIDEO_TS\\VIDEO_TS.IFO")) {
                lists.SourceSelected = index;
            }
        } else if (type == "Fixed Drive") {
            lists.Outputs.push_back(drive.Root);
            if (lists.DefaultOutputRoot.empty()) lists.DefaultOutputRoot = drive.Root;
        }
    }
    state.LoadOnly = 0;
    const auto& options = job.Options();
    if (options.SourceDrive >= 0 && options.SourceDrive < static_cast<int>(lists.Sources.size())) {
        lists.StoredSourceSelected = options.SourceDrive;
    }
    if (options.DestDrive >= 0 && options.DestDrive < static_cast<int>(lists.Outputs.size())) {
        lists.StoredOutputSelected = options.DestDrive;
    }
    return lists;
}

void volumename(JobContext& job, const std::string& root) { job.VolumeText = job.Files.VolumeName(root); }

void FreeSpace(JobContext& job, const std::string& root) {
    job.FreeSpaceGB = static_cast<double>(job.Files.FreeBytes(root)) / 1024.0 / 1024.0 / 1024.0;
}

void DisplayVerInfo(JobContext& job) {
    job.StructureVersionText.clear();
    job.FileVersionText.clear();
    job.ProductVersionText.clear();
    // A path from a registry value may be anything; one that names no file
    // on a drive has no version.
    if (!platform::PathSpace::IsDrivePath(job.VerInfoPath) || !job.Files.FileExists(job.VerInfoPath)) return;
    std::optional<platform::VersionInfo> info;
    try {
        info = platform::ReadVersionInfo(job.Files.ToHost(job.VerInfoPath));
    } catch (const Error& failure) {
        // A damaged program file reads as one without a version.
        WLOG(job, failure.what());
    }
    if (!info) return;
    job.StructureVersionText = info->StructureVersion;
    job.FileVersionText = info->FileVersion;
    job.ProductVersionText = info->ProductVersion;
}

std::string VersionOfFile(JobContext& job, const std::string& path) {
    job.VerInfoPath = path;
    DisplayVerInfo(job);
    return job.FileVersionText;
}

std::string ShownPath(const JobContext& job, const std::string& drivePath) {
    try {
        return job.Files.Paths().ToHost(drivePath) + " (" + drivePath + ")";
    } catch (const Error&) {
        return drivePath;
    }
}

std::string QualifyPath(const std::string& path) {
    return !path.empty() && path.back() == '\\' ? path : path + "\\";
}

std::string TrimNull(const std::string& text) { return text.substr(0, text.find('\0')); }

std::string StripNulls(const std::string& text) { return TrimNull(text); }

std::string GetWinDir(const JobContext& job) { return job.WindowsFolder; }

std::string GetSystemDir(const JobContext& job) { return job.SystemFolder; }

std::string fGetSpecialFolder(JobContext& job, int folderId) {
    if (folderId == 5) return job.Files.DocumentsFolder();
    if (folderId == 16) return job.Files.DesktopFolder();
    throw Error("No special folder is known by the number " + std::to_string(folderId));
}

}  // namespace kestrova
