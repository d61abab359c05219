// Command-line forms: see command_line.h.
#include "job/command_line.h"

#include <algorithm>
#include <limits>
#include <vector>

#include "platform/error.h"
#include "platform/text.h"

namespace kestrova {

using platform::LeadingWholeNumber;
using platform::StartsWithIgnoreCase;
using platform::ToUpperAscii;
using platform::Trim;

namespace {

std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    std::string word;
    for (char c : text) {
        if (c == ' ' || c == '\t') {
            if (!word.empty()) words.push_back(word);
            word.clear();
        } else {
            word += c;
        }
    }
    if (!word.empty()) words.push_back(word);
    return words;
}


// The text behind "=", or nothing when the token has none.
bool ValueOf(const std::string& token, std::string& value) {
    const auto equals = token.find('=');
    if (equals == std::string::npos) return false;
    value = token.substr(equals + 1);
    return true;
}

// The text between the first pair of quotation marks.
bool Quoted(const std::string& token, std::string& value) {
    const auto open = token.find('"');
    if (open == std::string::npos) return false;
    const auto close = token.find('"', open + 1);
    if (close == std::string::npos) return false;
    value = token.substr(open + 1, close - open - 1);
    return true;
}

void TakeToken(JobContext& job, const std::string& token, CommandLineResult& result) {
    auto& state = job.State();
    const auto& options = job.Options();
    const std::string word = ToUpperAscii(token.substr(0, 4));
    std::string value;
    if (word == "PAUS") {
        state.Pause = -1;
    } else if (word == "CCEO") {
        state.CCE = -1;
        if (!(options.DIF4UOverRide != 0 && options.CCE_Method == 2)) state.OnePass = -1;
    } else if (word == "CCEV") {
        state.CCE = -1;
        if (options.DIF4UOverRide == 0 || options.CCE_Method == 2) state.MultiPass = -1;
    } else if (word == "CCER") {
        state.CCE = -1;
        state.RoBa = -1;
    } else if (word == "REJI") {
        state.Rejig = -1;
    } else if (word == "COMP") {
        if (ValueOf(token, value)) state.Rejig_Compression = static_cast<std::int16_t>(LeadingWholeNumber(value));
    } else if (word == "PASS") {
        if (ValueOf(token, value)) state.Passes = static_cast<std::int16_t>(LeadingWholeNumber(value));
    } else if (word == "AVEB") {
        if (ValueOf(token, value)) state.Ave_Bitrate = static_cast<std::int32_t>(LeadingWholeNumber(value));
    } else if (word == "STAR") {
        result.StartRequested = true;
    } else if (word == "RESU") {
        result.ResumeRequested = true;
    } else if (word == "PATH") {
        if (Quoted(token, value)) {
            job.WorkFolder = value;
            job.Text2 = value;
        }
    } else if (word == "DRIV") {
        if (ValueOf(token, value)) job.SourceDrive = Trim(value);
    } else if (word == "MINI") {
        state.Minimize = -1;
    } else if (word == "DEIN") {
        state.Deinterlace = -1;
    } else if (word == "THRE") {
        if (ValueOf(token, value)) {
            // Megabytes of 1024000 bytes; a size past the field's range is its largest.
            constexpr std::int64_t kMegabyte = 1024000;
            constexpr std::int64_t kLimit = std::numeric_limits<std::int32_t>::max() / kMegabyte;
            state.Threshold = static_cast<std::int32_t>(std::clamp(LeadingWholeNumber(value), -kLimit, kLimit) * kMegabyte);
        }
    }
}

void TakeIniLine(JobContext& job, const std::string& raw) {
    auto& state = job.State();
    const std::string line = Trim(raw);
    if (line.empty()) return;
    if (line == "*PAUSE") {
        state.Pause = -1;
        return;
    }
    if (line == "*MINIMIZE") {
        state.Minimize = -1;
        return;
    }
    const std::vector<std::string> words = Words(line.front() == '-' ? line.substr(1) : line);
    if (line.front() == '-') {
        IniMenuRow row;
        if (!words.empty()) row.First = words[0] == "VIDEOTS" ? words[0] : (words[0].size() > 3 ? words[0].substr(3) : "");
        if (words.size() > 1) row.Second = words[1];
        job.IniMenuList.push_back(row);
        return;
    }
    const std::string key = words.empty() ? std::string() : words[0];
    const std::string second = words.size() > 1 ? words[1] : std::string();
    if (key == "*CCE") {
        state.CCE = -1;
        if (second == "ONEPASS") {
            state.OnePass = -1;
        } else {
            state.MultiPass = -1;
        }
    } else if (key == "*CCEPASSES") {
        state.Passes = static_cast<std::int16_t>(LeadingWholeNumber(second));
    } else if (key == "*REJIGCOMPRESSION") {
        state.Rejig = -1;
        state.Rejig_Compression = static_cast<std::int16_t>(LeadingWholeNumber(second.substr(0, second.find('%'))));
    } else if (key == "*AVERAGEBITRATE") {
        state.Ave_Bitrate = static_cast<std::int32_t>(LeadingWholeNumber(second));
    } else if (key == "*WORKINGFOLDER") {
        job.WorkFolder = second;
        job.Text2 = second;
    } else if (key == "*DRIVE") {
        job.SourceDrive = Trim(second);
    }
}

}  // namespace

CommandLineResult ParseCommandLine(JobContext& job, const std::string& text) {
    CommandLineResult result;
    auto& state = job.State();
    job.CommandLine = text;
    if (Trim(text).empty()) {
        job.CommandLine.clear();
        return result;
    }
    if (StartsWithIgnoreCase(text, "Load=")) {
        state.TempDrive = ToUpperAscii(text.size() > 6 ? text.substr(6) : "");
        state.LoadOnly = -1;
        job.CommandLine.clear();
        result.Form = CommandLineForm::LoadDrive;
        return result;
    }
    if (StartsWithIgnoreCase(text, "Folder=")) {
        state.FolderOnly = text.size() > 7 ? text.substr(7) : "";
        state.FolderString = -1;
        job.CommandLine.clear();
        result.Form = CommandLineForm::Folder;
        return result;
    }

    state.Control = -1;
    job.Options().Default_Minimize_Kestrova = 0;
    const std::string upper = ToUpperAscii(text);
    if (const auto at = upper.find("INIFILE"); at != std::string::npos) {
        result.Form = CommandLineForm::IniFile;
        std::string file = Trim(text.substr(at + 7));
        if (file.size() >= 2 && file.front() == '"' && file.back() == '"') file = file.substr(1, file.size() - 2);
        if (file.empty() || !job.Files.FileExists(file)) {
            result.Error = "The job file \"" + file + "\" named after /INIFILE does not exist";
            job.CommandLine.clear();
            return result;
        }
        state.DifFromINI = -1;
        result.StartRequested = true;
        for (const auto& line : job.Files.ReadLines(file)) TakeIniLine(job, line);
    } else {
        result.Form = CommandLineForm::Tokens;
        std::size_t start = 0;
        while (start <= text.size()) {
            std::size_t slash = text.find('/', start);
            if (slash == std::string::npos) slash = text.size();
            TakeToken(job, text.substr(start, slash - start), result);
            start = slash + 1;
        }
    }
    state.DoitCommand = text;
    job.CommandLine.clear();
    return result;
}

}  // namespace kestrova
