// kestrova-author: the native authoring engine, the program that runs in
// Muxman's place in the native tool profile. It takes Muxman's command line,
//   Muxman.exe SCRIPT [-d DIR] -l LOG -run
// with the job's drive paths (mapped through $KESTROVA_DRIVES; a path with
// a blank may be quoted), reads and lints the script, and authors a small
// script (one segment, no "Destination Folder") into DIR. A FULL script is
// linted and not authored in this version, so the job goes on to its small
// scripts. The LOG is always written: the script's diagnostics and the
// mux's as "file:line: level: text", then what was done.
//
// Exit status: 0 authored (or, without -run, checked clean); 1 not
// authored, with no VIDEO_TS.IFO left; 2 a command line it cannot read.
// $KESTROVA_STANDIN_FAIL with the tool name "Muxman" (see
// tools/standins/fail_switch.h) makes it fail: "Muxman" leaves no IFO,
// "Muxman=partial" an IFO of 0 bytes.
#include <iostream>
#include <string>
#include <vector>

#include "authoring/script_diagnostics.h"
#include "authoring/script_lint.h"
#include "authoring/small_script_mux.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/path_space.h"
#include "platform/process.h"
#include "platform/terminal.h"
#include "platform/text.h"
#include "standins/fail_switch.h"

namespace kestrova::author {
namespace {

constexpr const char* kToolName = "Muxman";
constexpr int kAuthored = 0, kNotAuthored = 1, kUsage = 2;

const char* const kUsageText =
    "Usage: kestrova-author SCRIPT.MXP [-d FOLDER] -l LOG -run\n"
    "  (run by the job as Muxman.exe; paths are drive paths, K:\\JOB\\...)\n"
    "Authors a small Muxman script's one segment into FOLDER: VIDEO_TS.IFO,\n"
    "VTS_01_0.IFO, VTS_01_1.VOB and their .BUP files. Without -run the script\n"
    "is only read and checked. The LOG gets the script's diagnostics and the\n"
    "mux's. Exit status: 0 authored, 1 not authored, 2 a bad command line.\n";

struct Arguments {
    std::string Script, Destination, Log;
    bool Run = false;
    std::string Problem;  // why the line cannot be run; empty when it can
};

// Muxman's switches, in any case and order; the script is the one bare word.
Arguments ReadArguments(const std::vector<std::string>& words) {
    Arguments arguments;
    auto problem = [&arguments](const std::string& text) {
        if (arguments.Problem.empty()) arguments.Problem = text;
    };
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string& word = words[i];
        auto value = [&](const char* what) -> std::string {
            if (i + 1 < words.size()) return words[++i];
            problem("The switch " + word + " lacks its " + what);
            return {};
        };
        if (platform::EqualsIgnoreCase(word, "-d")) {
            arguments.Destination = value("folder");
        } else if (platform::EqualsIgnoreCase(word, "-l")) {
            arguments.Log = value("log file");
        } else if (platform::EqualsIgnoreCase(word, "-run")) {
            arguments.Run = true;
        } else if (!word.empty() && word.front() == '-') {
            problem("The switch " + word + " is not one of -d, -l and -run");
        } else if (arguments.Script.empty()) {
            arguments.Script = word;
        } else {
            problem("The word " + word + " follows the script " + arguments.Script + "; one script is authored a run");
        }
    }
    if (arguments.Script.empty()) problem("No script is named");
    if (arguments.Log.empty()) problem("No log file is named (-l LOG)");
    return arguments;
}

// A drive path as given, or the drive path of a host path.
std::string DrivePath(const platform::PathSpace& paths, const std::string& path) {
    if (path.empty() || platform::PathSpace::IsDrivePath(path)) return path;
    return paths.ToWindows(platform::AbsoluteHostPath(path));
}

// The lines of the LOG, written once at the end, CR LF.
class RunLog {
public:
    void Add(const std::string& line) { text_ += line + "\r\n"; }

    void Save(const platform::FileSystem& files, const std::string& path) const {
        if (const auto folder = path.rfind('\\'); folder != std::string::npos && folder > 2) {
            files.MakeFolder(path.substr(0, folder));
        }
        files.WriteText(path, text_);
    }

private:
    std::string text_;
};

// dvdauthor's and mplex's progress and banner lines; their errors and
// warnings and ffmpeg's errors are kept.
bool IsNoise(const std::string& line) {
    const std::string text = platform::Trim(line);
    for (const char* head : {"INFO:", "STAT:", "DVDAuthor::", "Build options:", "Send bug reports"}) {
        if (text.rfind(head, 0) == 0) return true;
    }
    return text.empty();
}

// The line of the first statement with the key, or 0.
std::uint32_t LineOfKey(const ScriptDocument& document, std::string_view key) {
    for (const ScriptNode& node : document.Nodes) {
        if (node.Line > 0 && document.Key(node) == key) return node.Line;
    }
    return 0;
}

class Author {
public:
    Author(const Arguments& arguments, const platform::PathSpace& paths, RunLog& log)
        : arguments_(arguments), paths_(paths), files_(paths), log_(log) {}

    int Run() {
        log_.Add("kestrova-author, in the place of Muxman: " + arguments_.Script);
        ScriptDiagnostics diagnostics;
        const LintedScript script = LintMuxmanFile(files_, arguments_.Script, diagnostics, arguments_.Script);
        for (const ScriptDiagnostic& diagnostic : diagnostics.List()) log_.Add(diagnostic.Format());
        const ScriptModel& model = script.Model;
        const bool full = !model.DvdRootDirectory.empty();
        const std::string destination = full ? model.DvdRootDirectory : arguments_.Destination;

        const standin::FailMode fail = standin::FailModeOfCall(kToolName, standin::FailRequestFor(kToolName));
        if (fail != standin::FailMode::None) return Fail(fail, destination);
        if (!destination.empty()) files_.DeleteFile(destination + "\\VIDEO_TS.IFO");

        if (diagnostics.HasErrors()) {
            return NotAuthored(std::to_string(diagnostics.Count(Severity::Error)) + " errors in the script");
        }
        if (full) {
            log_.Add(FormatMuxMessage(model, Severity::Error, {0, LineOfKey(script.Document, "Destination Folder")},
                                      "A FULL script (it names a Destination Folder) is not authored in this version"));
            return NotAuthored("a FULL script");
        }
        if (destination.empty()) {
            log_.Add(FormatMuxMessage(model, Severity::Error, {0, 0}, "A small script is authored into the folder -d names; none is given"));
            return NotAuthored("no destination folder");
        }
        if (!arguments_.Run) {
            log_.Add("Checked; not authored without -run");
            return kAuthored;
        }
        return Mux(model, destination);
    }

private:
    int Mux(const ScriptModel& model, const std::string& destination) {
        platform::Launcher launcher(paths_);
        RegisterMuxPrograms(launcher);
        platform::ProcessRunner runner(launcher);
        runner.SetChildOutput([this](const std::string& line) {
            if (!IsNoise(line)) log_.Add("  " + line);
        });
        try {
            const SmallScriptMux result = MuxSmallScript(model, destination, files_, runner);
            for (const MuxMessage& message : result.Messages) {
                log_.Add(FormatMuxMessage(model, message.Level, message.Place, message.Text));
            }
            log_.Add("Authored the segment " + result.Segment + (result.VideoManager ? " of the VMG" : " of a title set") +
                     " into " + destination + ": VTS_01_1.VOB, one VOB id, " + std::to_string(result.Cells) + (result.Cells == 1 ? " cell" : " cells"));
            return kAuthored;
        } catch (const MuxError& fault) {
            log_.Add(FormatMuxMessage(model, Severity::Error, fault.Place, fault.what()));
            return NotAuthored("the mux failed");
        }
    }

    int Fail(standin::FailMode mode, const std::string& destination) {
        log_.Add(std::string(kToolName) + ": failing as asked by KESTROVA_STANDIN_FAIL");
        if (destination.empty()) return kNotAuthored;
        const std::string ifo = destination + "\\VIDEO_TS.IFO";
        if (mode == standin::FailMode::Partial) {
            files_.MakeFolder(destination);
            files_.WriteText(ifo, "");
        } else {
            files_.DeleteFile(ifo);
        }
        return kNotAuthored;
    }

    int NotAuthored(const std::string& why) {
        log_.Add("Not authored: " + why);
        return kNotAuthored;
    }

    const Arguments& arguments_;
    const platform::PathSpace& paths_;
    platform::FileSystem files_;
    RunLog& log_;
};

int Main(const std::vector<std::string>& words) {
    if (!words.empty() && (words.front() == "--help" || words.front() == "-h")) {
        std::cout << kUsageText;
        return kAuthored;
    }
    Arguments arguments = ReadArguments(words);
    RunLog log;
    int status = kNotAuthored;
    try {
        const platform::PathSpace paths = platform::PathSpace::FromEnvironment();
        arguments.Script = DrivePath(paths, arguments.Script);
        arguments.Destination = DrivePath(paths, arguments.Destination);
        arguments.Log = DrivePath(paths, arguments.Log);
        if (!arguments.Problem.empty()) {
            std::cerr << "kestrova-author: " << arguments.Problem << "\n" << kUsageText;
            if (arguments.Log.empty()) return kUsage;
            log.Add("kestrova-author: " + arguments.Problem);
            status = kUsage;
        } else {
            status = Author(arguments, paths, log).Run();
        }
    } catch (const Error& fault) {
        // A drive map that cannot be read, a script that cannot be read, a
        // tool that is not installed.
        log.Add(arguments.Script + ": error: " + fault.what());
        log.Add("Not authored");
    }
    try {
        const platform::PathSpace paths = platform::PathSpace::FromEnvironment();
        log.Save(platform::FileSystem(paths), arguments.Log);
    } catch (const Error& fault) {
        std::cerr << "kestrova-author: " << fault.what() << "\n";
        return kNotAuthored;
    }
    if (status != kAuthored) std::cerr << "kestrova-author: not authored; see " << arguments.Log << "\n";
    return status;
}

}  // namespace
}  // namespace kestrova::author

int main(int argc, char** argv) {
    return kestrova::author::Main(std::vector<std::string>(argv + 1, argv + argc));
}
