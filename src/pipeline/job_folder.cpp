// Output folders before a command-line run: see job_folder.h.
#include "pipeline/job_folder.h"

#include <algorithm>
#include <iostream>

#include "dvd/menu_tree.h"
#include "job/folders.h"
#include "job/journal.h"
#include "job/log_writers.h"
#include "pipeline/cli_start.h"
#include "pipeline/pipeline.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

using platform::EqualsIgnoreCase;
using platform::ListKind;

namespace {

constexpr const char* kJournalName = "Kestrova_Recovery.LOG";
constexpr const char* kRunLogName = "Kestrova.LOG";

enum class Holds { Nothing, UnfinishedJob, FinishedJob, JobWithoutJournal, OtherFiles };

// A folder as the user knows it: the drive path, and the host folder it is.
bool SameFolder(std::string left, std::string right) {
    while (!left.empty() && left.back() == '\\') left.pop_back();
    while (!right.empty() && right.back() == '\\') right.pop_back();
    return EqualsIgnoreCase(left, right);
}

void Note(JobContext& job, const std::string& message) {
    std::cerr << "kestrova-cli: " << message << '\n';
    WLOG(job, message);
}

int Refuse(JobContext& job, int status, const std::string& message) {
    Note(job, message);
    return status;
}

Holds WhatFolderHolds(JobContext& job, const std::string& folder) {
    if (!job.Files.FolderExists(folder)) return Holds::Nothing;
    const std::string journal = folder + "\\" + kJournalName;
    if (job.Files.FileExists(journal)) {
        return ReadJournalLines(job.Files.ReadLines(journal)).Finished ? Holds::FinishedJob : Holds::UnfinishedJob;
    }
    // A resumed run killed before its first journal line leaves the ".bak".
    if (job.Files.FileExists(journal + ".bak")) return Holds::UnfinishedJob;

    std::vector<std::string> files = job.Files.List(folder, "*", ListKind::Files);
    const std::vector<std::string> folders = job.Files.List(folder, "*", ListKind::Folders);
    const auto runLog = std::find_if(files.begin(), files.end(),
                                     [](const std::string& name) { return EqualsIgnoreCase(name, kRunLogName); });
    const bool result = std::any_of(folders.begin(), folders.end(),
                                    [](const std::string& name) { return EqualsIgnoreCase(name, "VIDEO_TS"); });
    // The end-of-job cleaning deletes the journal and keeps the run log and
    // the result; a run killed before its first journal line leaves the same.
    if (runLog != files.end() && result) return Holds::JobWithoutJournal;
    // A run log alone is what a start writes before its journal's first line.
    if (runLog != files.end()) files.erase(runLog);
    return files.empty() && folders.empty() ? Holds::Nothing : Holds::OtherFiles;
}

void EmptyFolder(JobContext& job, const std::string& folder) {
    for (const auto& name : job.Files.List(folder, "*", ListKind::Folders)) job.Files.DeleteTree(folder + "\\" + name);
    for (const auto& name : job.Files.List(folder, "*", ListKind::Files)) job.Files.DeleteFile(folder + "\\" + name);
}

// How far a journal got: its stage marks; 0 when it is missing.
std::size_t StagesReached(JobContext& job, const std::string& path) {
    if (!job.Files.FileExists(path)) return 0;
    return StageResumePoints(ReadJournalLines(job.Files.ReadLines(path))).size();
}

// The recovery window's steps, without the window: browse the journal,
// load the menus it names, choose its last stage mark, "Begin Recovery".
std::optional<int> Resume(JobContext& job, const std::string& folder) {
    const std::string journal = folder + "\\" + kJournalName;
    const std::string backup = journal + ".bak";
    // A resumed run begins its journal anew and writes again the marks of
    // the stages it skips; killed before it has passed the point it resumed
    // from, it leaves a journal behind that point. So the ".bak" keeps the
    // journal that got furthest, and the run resumes from that one.
    if (job.Files.FileExists(backup)) {
        if (!job.Files.FileExists(journal) || StagesReached(job, backup) > StagesReached(job, journal)) {
            job.Files.WriteFileAtomic(journal, job.Files.ReadText(backup));
        } else {
            job.Files.WriteFileAtomic(backup, job.Files.ReadText(journal));
        }
    }

    const JournalReading head = ReadJournalLines(job.Files.ReadLines(journal));
    if (!head.Root.empty() && !SameFolder(head.Root, folder)) {
        return Refuse(job, kExitUsage,
                      "The journal " + ShownPath(job, journal) + " is of the job in " + head.Root +
                          ": resume it there, or give --fresh to empty this folder and start again");
    }
    // A head cut short ends before "#FOLDER": no stage had begun.
    if (!head.Source.empty() && (!SameFolder(head.Source, job.Text1) || head.VolumeName != job.VolumeText)) {
        return Refuse(job, kExitUsage,
                      "The job in " + ShownPath(job, folder) + " was made from " + head.Source + " (" + head.VolumeName +
                          "), not from " + job.Text1 + " (" + job.VolumeText +
                          "): resume it from that disc, or give --fresh to empty the folder and start again");
    }

    JournalReading reading;
    BrowseJournal(job, journal, reading);
    ReLoadMenus(job, "", job.Options().Default_Threshold);
    // The tree load proposes an output folder of its own.
    job.WorkFolder = job.Text2 = job.OutputFolder = folder;
    const std::vector<std::string> points = StageResumePoints(reading);
    LoadData(job, points.empty() ? std::string() : points.back());
    job.GoCaption = kBeginRecovery;
    Note(job, points.empty() ? "No stage of the job in " + ShownPath(job, folder) + " had ended: it starts again"
                             : "Resuming the job in " + ShownPath(job, folder) + " after " + points.back());
    return std::nullopt;
}

}  // namespace

bool IsJobFolderOption(const std::string& arg) { return arg == kResumeOption || arg == kFreshOption; }

std::optional<int> PrepareJobFolder(JobContext& job, const std::vector<std::string>& args, bool resume) {
    resume = resume || std::find(args.begin(), args.end(), kResumeOption) != args.end();
    const bool fresh = std::find(args.begin(), args.end(), kFreshOption) != args.end();
    if (resume && fresh) {
        return Refuse(job, kExitUsage, std::string("Give ") + kResumeOption + " or " + kFreshOption + ", not both");
    }
    const std::string folder = job.OutputFolder;
    const std::string named = ShownPath(job, folder);
    try {
        switch (WhatFolderHolds(job, folder)) {
            case Holds::Nothing:
                if (resume) Note(job, "The output folder " + named + " holds no job to resume: the job starts");
                return std::nullopt;
            case Holds::UnfinishedJob:
                if (resume) return Resume(job, folder);
                if (fresh) break;
                return Refuse(job, kExitUsage,
                              "The output folder " + named +
                                  " holds an unfinished job: give --resume (or /RESU) to go on with it, or --fresh "
                                  "to empty the folder and start again");
            case Holds::FinishedJob:
                if (fresh) break;
                return Refuse(job, kExitUsage,
                              "The output folder " + named +
                                  " holds a finished job: --resume has nothing left to run; give --fresh to empty "
                                  "the folder and run the job again");
            case Holds::JobWithoutJournal:
                if (fresh) break;
                return Refuse(job, kExitUsage,
                              "The output folder " + named +
                                  " holds a job without its journal, which cannot be resumed: give --fresh to empty "
                                  "the folder and start again");
            case Holds::OtherFiles:
                return Refuse(job, kExitUsage,
                              "The output folder " + named +
                                  " is not empty and holds no Kestrova job: choose an empty or new folder (--fresh "
                                  "empties only a job's folder, and --resume needs its journal)");
        }
        EmptyFolder(job, folder);
        Note(job, "The output folder " + named + " was emptied for a fresh start");
        return std::nullopt;
    } catch (const Error& failure) {
        return Refuse(job, kExitFailed, failure.what());
    }
}

}  // namespace kestrova
