// Copying source files into the output VIDEO_TS and handing authored files
// back to the source: see demux_stage.h.
#include "assets/asset_support.h"
#include "assets/demux_stage.h"
#include "job/log_writers.h"
#include "job/tool_profile.h"
#include "platform/error.h"
#include "platform/path_space.h"

namespace kestrova {

namespace {

// DVD Decrypter's four file lists of one copy.
struct DecrypterLists {
    std::string Info, Backup, Vob, Title;
    bool Empty() const { return Info.empty() && Backup.empty() && Vob.empty() && Title.empty(); }
};

void CopyLogged(JobContext& job, const std::string& from, const std::string& to) {
    job.Files.CopyFile(from, to);
    WLOG(job, "Original: " + from + " Destination: " + to);
}

void CopyIfMissing(JobContext& job, const std::string& from, const std::string& to) {
    if (!job.Files.FileExists(to) && job.Files.FileExists(from)) CopyLogged(job, from, to);
}

// A DVD Decrypter run in file mode names a menu VOB "..._MENU_1.VOB".
void FixDecrypterNames(JobContext& job, const std::string& outFolder, const std::string& fileName) {
    const auto fix = [&](const std::string& left, const std::string& right) {
        if (!job.Files.FileExists(outFolder + left)) return;
        job.Files.MoveFile(outFolder + left, outFolder + right);
        WLOG(job, outFolder + left + " Renamed to " + outFolder + right);
    };
    fix("VIDEO_TS_MENU_1.VOB", "VIDEO_TS.VOB");
    fix(fileName.substr(0, 6) + "_MENU_1.VOB", fileName.substr(0, 6) + "_0.VOB");
}

void RunDecrypterCopy(JobContext& job, const std::string& sourceFolder, const std::string& files) {
    const std::string tool = RegisteredToolFolder(job, "DVDDecrypter.exe") + "\\DVDDecrypter.exe";
    RunOutsideTool(job,
                   CommandLinePath(job, tool) + " /MODE FILE /SRC " + sourceFolder.substr(0, 2) + " /FILES " +
                       files + " /SPLIT FILE /DEST \"" + job.OutputFolder + "\\VIDEO_TS\" /START /CLOSE",
                   2);
}

}  // namespace

std::int16_t CopyFiles(JobContext& job, const std::string& SourceFolder, const std::string& FileName,
                       bool IncludeTitles, bool TitlesOnly, bool SkipMenuFiles) {
    platform::TraceFrame frame(job.Trace, "SourceCopy", "CopyFiles");
    const auto& options = job.Options();
    const bool direct = options.UseDVD == 1 && job.State().Pgcdemux == 0;
    const bool copying = options.SourceCopy == 0 && !direct;
    const bool videoManager = platform::EqualsIgnoreCase(FileName, "VIDEO_TS.IFO");
    const bool titles = (options.SourceCopy == 1 && IncludeTitles) || TitlesOnly;
    const std::string outFolder = job.OutputFolder + "\\VIDEO_TS\\";
    const std::string stem = WithoutExtension(FileName);
    const std::string sourceIfo = JoinPath(SourceFolder, FileName);
    DecrypterLists lists;
    try {
        if (!IncludeTitles) {
            if (!job.Files.FileExists(outFolder + FileName)) {
                if (copying) CopyLogged(job, sourceIfo, outFolder + FileName);
                lists.Info = FileName + " ";
            }
            // The output's BUP is always a copy of the source IFO.
            if (!job.Files.FileExists(outFolder + stem + ".BUP")) {
                if (copying) CopyLogged(job, sourceIfo, outFolder + stem + ".BUP");
                lists.Backup = stem + ".BUP ";
            }
            if (job.Files.FileExists(JoinPath(SourceFolder, stem + ".VOB")) &&
                !job.Files.FileExists(outFolder + stem + ".VOB")) {
                if (copying) {
                    job.Files.CopyFile(JoinPath(SourceFolder, stem + ".VOB"), outFolder + stem + ".VOB");
                    WLOG(job, "Copying " + stem + ".VOB");
                }
                lists.Vob = stem + ".VOB ";
            }
            if (direct) {
                RunDecrypterCopy(job, SourceFolder, lists.Info + lists.Backup + lists.Vob);
                FixDecrypterNames(job, outFolder, FileName);
            }
        }
        if (!videoManager && titles) {
            // Without an IFO to fetch, the menu VOB and control files of the
            // title set stay out of the list.
            lists.Title = FileName.substr(0, 6) + (lists.Info.empty() ? "* -*0.VOB -*.IFO -*.BUP" : "*");
        }
        if (titles) {
            if (direct) {
                if (!lists.Empty()) {
                    RunDecrypterCopy(job, SourceFolder, lists.Info + lists.Backup + lists.Vob + lists.Title);
                    FixDecrypterNames(job, outFolder, FileName);
                }
            } else {
                if (!SkipMenuFiles) {
                    CopyIfMissing(job, sourceIfo, outFolder + FileName);
                    CopyIfMissing(job, sourceIfo, outFolder + stem + ".BUP");
                    CopyIfMissing(job, JoinPath(SourceFolder, stem + ".VOB"), outFolder + stem + ".VOB");
                }
                if (!videoManager) {
                    for (int i = 1; i <= 9; ++i) {
                        const std::string vob = FileName.substr(0, 7) + std::to_string(i) + ".VOB";
                        CopyIfMissing(job, JoinPath(SourceFolder, vob), outFolder + vob);
                    }
                }
            }
        }
    } catch (const Error& failure) {
        WLOG(job, std::string("CopyFiles ended: ") + failure.what());
    }
    return 1;
}

void RestoreToSource(JobContext& job, const std::string& SourceFolder, const std::string& FileName) {
    platform::TraceFrame frame(job.Trace, "SourceCopy", "RestoreToSource");
    const std::string stem = WithoutExtension(FileName);
    const std::string names[] = {FileName, stem + ".BUP", stem + ".VOB"};
    const std::string backup = job.OutputFolder + "\\BACKUP";
    const std::string outFolder = job.OutputFolder + "\\VIDEO_TS\\";
    try {
        if (!job.Files.FolderExists(backup)) job.Files.MakeFolder(backup);
        for (const auto& name : names) {
            const std::string original = JoinPath(SourceFolder, name);
            if (job.Files.FileExists(original)) job.Files.MoveFile(original, backup + "\\" + name);
        }
        for (const auto& name : names) {
            if (!job.Files.FileExists(outFolder + name)) continue;
            job.Files.CopyFile(outFolder + name, JoinPath(SourceFolder, name));
        }
    } catch (const Error& failure) {
        WLOG(job, failure.what());
        job.Questions.ShowMessage("Unable to copy files to source folder - source is probably a disc or mounted image",
                                  "Kestrova", platform::MessageKind::Exclamation);
    }
}

}  // namespace kestrova
