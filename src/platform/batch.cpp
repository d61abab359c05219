// The batch interpreter: see batch.h.
#include "platform/batch.h"

#include <fstream>

#include "platform/command_line.h"
#include "platform/error.h"
#include "platform/text.h"

namespace kestrova::platform {

namespace {

// Batch files calling batch files deeper than this are taken as a loop.
constexpr int kMaxCallDepth = 16;

// The first blank-separated word and the text after it.
std::pair<std::string, std::string> FirstWord(const std::string& line) {
    std::size_t end = 0;
    while (end < line.size() && !IsBlank(line[end])) ++end;
    return {line.substr(0, end), TrimLeft(line.substr(end))};
}

std::string StripQuotes(const std::string& text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"') return text.substr(1, text.size() - 2);
    return text;
}

bool IsBatchFile(const std::string& path) {
    return EndsWithIgnoreCase(path, ".bat") || EndsWithIgnoreCase(path, ".cmd");
}

bool HasWildcard(const std::string& text) { return text.find_first_of("*?") != std::string::npos; }

// The text of a command line after its program token (see SplitCommandLine).
std::string CommandTail(const std::string& commandLine) {
    std::size_t at = 0;
    while (at < commandLine.size() && IsBlank(commandLine[at])) ++at;
    if (at < commandLine.size() && commandLine[at] == '"') {
        const std::size_t close = commandLine.find('"', at + 1);
        at = close == std::string::npos ? commandLine.size() : close + 1;
    } else {
        while (at < commandLine.size() && !IsBlank(commandLine[at])) ++at;
    }
    return TrimLeft(commandLine.substr(at));
}

std::pair<std::string, std::string> SplitFolderAndName(const std::string& path) {
    const auto slash = path.find_last_of("\\/");
    if (slash == std::string::npos) return {"", path};
    return {path.substr(0, slash), path.substr(slash + 1)};
}

// The operands of a Copy line: paths, "+" joins, and switches.
struct CopyOperands {
    std::vector<std::vector<std::string>> Groups;  // each group: sources joined by "+"
};

CopyOperands ParseCopyOperands(const std::string& text) {
    struct Token {
        bool Plus;
        std::string Text;
    };
    std::vector<Token> tokens;
    std::string word;
    bool inWord = false;
    bool quoted = false;
    bool inQuotes = false;
    const auto endWord = [&] {
        // An unquoted word that starts with "/" is a switch (/b, /a, /y...):
        // the bytes are always copied as they are.
        if (inWord && !(!quoted && !word.empty() && word.front() == '/')) tokens.push_back({false, word});
        word.clear();
        inWord = quoted = false;
    };
    for (char c : text) {
        if (c == '"') {
            inQuotes = !inQuotes;
            inWord = quoted = true;
        } else if (!inQuotes && IsBlank(c)) {
            endWord();
        } else if (!inQuotes && c == '+') {
            endWord();
            tokens.push_back({true, ""});
        } else {
            word += c;
            inWord = true;
        }
    }
    endWord();

    CopyOperands operands;
    bool joinNext = false;
    for (const auto& token : tokens) {
        if (token.Plus) {
            if (operands.Groups.empty()) throw Error("a \"+\" stands before the first source");
            joinNext = true;
            continue;
        }
        if (joinNext) {
            operands.Groups.back().push_back(token.Text);
        } else {
            operands.Groups.push_back({token.Text});
        }
        joinNext = false;
    }
    if (joinNext) throw Error("a \"+\" is not followed by a source");
    return operands;
}

void AppendFileTo(std::ofstream& out, const std::string& windowsPath, const std::string& hostPath) {
    std::ifstream in(hostPath, std::ios::binary);
    if (!in) throw Error("Cannot open " + windowsPath + " (" + hostPath + ") to copy it");
    std::vector<char> buffer(1 << 20);
    while (in) {
        in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()));
        const std::streamsize count = in.gcount();
        if (count > 0) out.write(buffer.data(), count);
        if (!out) throw Error("Cannot write while copying " + windowsPath);
    }
    if (in.bad()) throw Error("Cannot read " + windowsPath + " (" + hostPath + ") to copy it");
}

}  // namespace

std::vector<std::string> SplitBatchArguments(const std::string& text) {
    std::vector<std::string> arguments;
    std::string current;
    bool inQuotes = false;
    bool inWord = false;
    for (char c : text) {
        if (!inQuotes && IsBlank(c)) {
            if (inWord) arguments.push_back(current);
            current.clear();
            inWord = false;
            continue;
        }
        if (c == '"') inQuotes = !inQuotes;
        current += c;
        inWord = true;
    }
    if (inWord) arguments.push_back(current);
    return arguments;
}

std::string ExpandBatchLine(const std::string& line, const std::string& batchFile,
                            const std::vector<std::string>& arguments) {
    const auto argument = [&](int index) -> std::string {
        if (index == 0) return batchFile;
        return static_cast<std::size_t>(index) <= arguments.size() ? arguments[index - 1] : std::string();
    };
    std::string expanded;
    for (std::size_t i = 0; i < line.size(); ++i) {
        const char c = line[i];
        const char next = i + 1 < line.size() ? line[i + 1] : '\0';
        if (c != '%') {
            expanded += c;
        } else if (next == '%') {
            expanded += '%';
            ++i;
        } else if (next >= '0' && next <= '9') {
            expanded += argument(next - '0');
            ++i;
        } else if (next == '~' && i + 2 < line.size() && line[i + 2] >= '0' && line[i + 2] <= '9') {
            expanded += StripQuotes(argument(line[i + 2] - '0'));
            i += 2;
        } else if (next == '*') {
            for (std::size_t a = 0; a < arguments.size(); ++a) expanded += (a > 0 ? " " : "") + arguments[a];
            ++i;
        } else {
            expanded += c;
        }
    }
    return expanded;
}

BatchInterpreter::BatchInterpreter(ProcessRunner& runner, const FileSystem& files, RegistryImport import)
    : runner_(runner), files_(files), import_(std::move(import)) {
    runner_.SetBatchRunner([this](const LaunchPlan& plan, int windowStyle) {
        Run(plan.WindowsProgram, SplitBatchArguments(CommandTail(plan.CommandLine)), windowStyle);
    });
}

BatchInterpreter::~BatchInterpreter() { runner_.SetBatchRunner({}); }

void BatchInterpreter::Run(const std::string& windowsBatchFile, const std::vector<std::string>& arguments,
                           int windowStyle) {
    if (depth_ >= kMaxCallDepth) {
        throw Error("The batch file " + windowsBatchFile + " is called more than " + std::to_string(kMaxCallDepth) +
                    " levels deep; the batch files call each other in a loop");
    }
    const std::vector<std::string> lines = files_.ReadLines(windowsBatchFile);
    ++depth_;
    struct DepthGuard {
        int& depth;
        ~DepthGuard() { --depth; }
    } guard{depth_};

    for (const auto& raw : lines) {
        runner_.ServePump();
        if (runner_.StopRequested()) return;
        const std::string line = ExpandBatchLine(raw, windowsBatchFile, arguments);
        try {
            RunLine(line, windowStyle);
        } catch (const Error& error) {
            runner_.Log("Batch " + windowsBatchFile + ": the line \"" + line + "\" failed: " + error.what());
        }
    }
}

void BatchInterpreter::RunLine(const std::string& rawLine, int windowStyle) {
    std::string line = TrimLeft(rawLine);
    while (!line.empty() && line.front() == '@') line = TrimLeft(line.substr(1));
    if (line.empty() || line.rfind("::", 0) == 0) return;

    const auto [word, rest] = FirstWord(line);
    // "echo" only prints (or turns the echo of lines off); nobody sees it.
    if (EqualsIgnoreCase(word, "rem") || EqualsIgnoreCase(word, "echo") || EqualsIgnoreCase(word, "echo.")) return;
    if (EqualsIgnoreCase(word, "copy")) {
        RunCopy(rest);
    } else if (EqualsIgnoreCase(word, "call")) {
        RunCall(rest, windowStyle);
    } else {
        RunProgramLine(line, windowStyle);
    }
}

void BatchInterpreter::RunProgramLine(const std::string& line, int windowStyle) {
    if (ImportRegistry(line)) return;
    runner_.ShellAndWait(line, windowStyle);
}

bool BatchInterpreter::ImportRegistry(const std::string& line) {
    const std::vector<std::string> tokens = SplitCommandLine(line);
    if (tokens.empty()) return false;
    const std::string program = FileNameOf(tokens.front());
    if (!EqualsIgnoreCase(program, "regedit") && !EqualsIgnoreCase(program, "regedit.exe")) return false;

    runner_.Log("ShellandWait commandline: " + line);
    std::string regFile;
    for (std::size_t i = 1; i < tokens.size() && regFile.empty(); ++i) {
        if (!tokens[i].empty() && tokens[i].front() != '/' && tokens[i].front() != '-') regFile = tokens[i];
    }
    if (regFile.empty()) throw Error("the registry import names no .reg file");
    if (!import_) throw Error("no registry import is set up for " + regFile);
    if (const std::string note = import_(regFile); !note.empty()) runner_.Log(note);
    return true;
}

void BatchInterpreter::RunCall(const std::string& operands, int windowStyle) {
    const std::vector<std::string> words = SplitBatchArguments(operands);
    if (words.empty()) throw Error("\"Call\" names nothing to call");
    const std::string target = StripQuotes(words.front());
    if (!IsBatchFile(target)) {
        RunProgramLine(operands, windowStyle);
        return;
    }
    Run(target, std::vector<std::string>(words.begin() + 1, words.end()), windowStyle);
}

void BatchInterpreter::RunCopy(const std::string& text) {
    const CopyOperands operands = ParseCopyOperands(text);
    if (operands.Groups.empty()) throw Error("\"Copy\" names no source");
    if (operands.Groups.size() == 1) throw Error("\"Copy\" names no target, and there is no current folder to copy to");
    if (operands.Groups.size() > 2 || operands.Groups[1].size() > 1) {
        throw Error("\"Copy\" takes its sources and one target");
    }
    const std::vector<std::string>& sourceGroup = operands.Groups[0];
    std::string target = operands.Groups[1][0];
    if (target.empty()) throw Error("\"Copy\" has an empty target");

    // Each source, its wildcard matched in the folder's name order.
    std::vector<std::string> sources;
    for (const auto& source : sourceGroup) {
        const auto [folder, name] = SplitFolderAndName(source);
        if (HasWildcard(folder)) throw Error("the source " + source + " has a wildcard in its folder");
        if (!HasWildcard(name)) {
            if (!files_.FileExists(source)) throw Error("the source file " + source + " cannot be found");
            sources.push_back(source);
            continue;
        }
        const auto names = files_.List(folder, name, ListKind::Files);
        if (names.empty()) throw Error("no file matches " + source);
        for (const auto& match : names) sources.push_back(folder + "\\" + match);
    }

    const bool joined = sourceGroup.size() > 1;
    const bool targetIsFolder = files_.FolderExists(target) || target.back() == '\\' || target.back() == '/';
    if (targetIsFolder) {
        while (!target.empty() && (target.back() == '\\' || target.back() == '/')) target.pop_back();
        if (!joined) {
            // One file (or each match) goes into the folder under its own name.
            for (const auto& source : sources) {
                files_.CopyFile(source, target + "\\" + SplitFolderAndName(source).second);
            }
            return;
        }
        target += "\\" + SplitFolderAndName(sources.front()).second;
    }

    // Everything goes into one file, in order. A target that is also the
    // first source is appended to; as a later source it is left out.
    const std::string targetHost = files_.ToHost(target);
    const bool append = files_.ToHost(sources.front()) == targetHost;
    if (append && sources.size() == 1) throw Error("the file " + target + " cannot be copied onto itself");
    std::ofstream out(targetHost, std::ios::binary | (append ? std::ios::app : std::ios::trunc));
    if (!out) throw Error("Cannot open the copy target " + target + " (" + targetHost + ") for writing");
    for (std::size_t i = append ? 1 : 0; i < sources.size(); ++i) {
        const std::string sourceHost = files_.ToHost(sources[i]);
        if (sourceHost == targetHost) continue;
        AppendFileTo(out, sources[i], sourceHost);
    }
    out.close();
    if (!out) throw Error("Cannot finish writing the copy target " + target + " (" + targetHost + ")");
}

}  // namespace kestrova::platform
