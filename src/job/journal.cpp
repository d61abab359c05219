// Reading the recovery journal back: see journal.h.
#include "job/journal.h"

#include "job/log_writers.h"
#include "job/tool_profile.h"
#include "platform/error.h"
#include "platform/path_space.h"
#include "platform/text.h"

namespace kestrova {

namespace {

std::string From(const std::string& text, std::size_t position) {
    return text.size() > position ? text.substr(position) : std::string();
}

// The second piece of a split at `separator`, or empty.
std::string SecondPiece(const std::string& text, const std::string& separator) {
    const auto at = text.find(separator);
    if (at == std::string::npos) return {};
    const std::string rest = text.substr(at + separator.size());
    const auto next = rest.find(separator);
    return next == std::string::npos ? rest : rest.substr(0, next);
}

std::string FirstPiece(const std::string& text, const std::string& separator) {
    const auto at = text.find(separator);
    return at == std::string::npos ? text : text.substr(0, at);
}


}  // namespace

int StageOfMark(const std::string& mark) {
    for (std::size_t stage = 0; stage < kStageMarks.size(); ++stage) {
        if (kStageMarks[stage] == mark) return static_cast<int>(stage);
    }
    return -1;
}

JournalReading ReadJournalLines(const std::vector<std::string>& lines) {
    JournalReading reading;
    bool dashSeen = false;
    std::string domain;
    for (const auto& line : lines) {
        if (line.empty()) continue;
        const char first = line.front();
        if (first != '#' && first != '-') {
            if (line.starts_with("VTS") || line.starts_with("VID")) {
                domain = line;
            } else if (dashSeen) {
                reading.ResumePoints.push_back(domain + " - " + line);
            }
        } else if (line.starts_with("#FOLDER")) {
            reading.Source = From(line, 9);
        } else if (line.starts_with("#ROOT")) {
            reading.Root = From(line, 14);
        } else if (line.starts_with("#LANG")) {
            reading.Language = From(line, 11);
        } else if (line.starts_with("#VOLUME")) {
            reading.VolumeName = From(line, 14);
        } else if (line == "#SCENARIST") {
            reading.Scenarist = true;
        } else if (line == "#MUXMAN") {
            reading.Muxman = true;
        } else if (line == "#CONVERSION") {
            reading.Conversion = true;
        } else if (line == kJournalFinished) {
            reading.Finished = true;
        } else if (line.starts_with("#V")) {
            reading.JournalMenus.push_back(From(line, 1));
        }
        if (first == '-') dashSeen = true;
    }
    return reading;
}

std::vector<std::string> StageResumePoints(const JournalReading& reading) {
    std::vector<std::string> points;
    for (const auto& point : reading.ResumePoints) {
        const auto dash = point.find(" - ");
        if (dash != std::string::npos && StageOfMark(point.substr(dash + 3)) >= 0) points.push_back(point);
    }
    return points;
}

bool BrowseJournal(JobContext& job, const std::string& path, JournalReading& reading) {
    if (path.empty() || !job.Files.FileExists(path)) return false;
    if (platform::ToUpperAscii(path).find("KESTROVA_RECOVERY") == std::string::npos) return false;

    // The next start resets the journal; the ".bak" keeps its first state.
    if (!job.Files.FileExists(path + ".bak")) job.Files.CopyFile(path, path + ".bak");

    reading = ReadJournalLines(job.Files.ReadLines(path));
    auto& options = job.Options();
    auto& state = job.State();
    if (!reading.Root.empty()) state.Root = reading.Root;
    if (!reading.Language.empty()) state.RecoveryLanguage = reading.Language;
    if (reading.Scenarist) options.Muxman = 0;
    if (reading.Muxman) {
        if (ToolPresent(job, job.ProgramFolder + "\\Muxman.exe")) {
            options.Muxman = 1;
        } else {
            options.Muxman = 0;
            job.Questions.ShowMessage("Muxman does not exist in the install folder", "Muxman Error",
                                      platform::MessageKind::Exclamation);
        }
    }
    if (reading.Conversion) options.Conversion = 1;
    for (const auto& menu : reading.JournalMenus) {
        job.JournalMenus.push_back(menu);
        state.Recover = -1;
    }
    if (!reading.Root.empty()) {
        job.WorkFolder = reading.Root;
        job.Text2 = reading.Root;
        job.OutputFolder = reading.Root;
    }
    return true;
}

void LoadData(JobContext& job, const std::string& choice) {
    auto& state = job.State();
    if (choice.empty()) {
        state.Recover = 0;
        return;
    }
    std::string mark;
    if (choice.find("VID") != std::string::npos) {
        state.RecoveryVTS = 1;
        mark = SecondPiece(SecondPiece(choice, "VID"), " - ");
    } else {
        const std::string afterVts = SecondPiece(choice, "VTS");
        state.RecoveryVTS = static_cast<std::int16_t>(platform::LeadingWholeNumber(FirstPiece(afterVts, " - ")) + 1);
        mark = SecondPiece(afterVts, " - ");
    }
    if (const int stage = StageOfMark(mark); stage >= 0) state.RecoveryModule = static_cast<std::int16_t>(stage);
}

void MarkJournalFinished(JobContext& job) {
    const std::string journal = job.RecoveryJournal.File();
    if (journal.empty() || !job.Files.FileExists(journal)) return;
    RLOG(job, kJournalFinished);
    try {
        job.Files.DeleteFile(journal + ".bak");
    } catch (const Error& failure) {
        WLOG(job, failure.what());
    }
}

bool RecoverySkip(JobContext& job, int stage) {
    const auto& state = job.State();
    if (state.Recover == 0) return false;
    if (job.DomainIndex < state.RecoveryVTS) return true;
    return job.DomainIndex == state.RecoveryVTS && stage <= state.RecoveryModule;
}

}  // namespace kestrova
