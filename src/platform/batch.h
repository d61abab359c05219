// The interpreter of the batch files the job writes. It knows the lines
// those files hold: blank lines, "@echo off", "rem" and "::" comments,
// "Copy /b" with "+"-joined and wildcard sources, "Call" of another
// batch file with %1..%9, program lines (quoted or not), and
// "regedit /S file.reg", which goes to the registry import it is given.
// Every program line goes back through the runner, so it is launched,
// logged and stoppable like any other tool. A failing line is logged and
// the batch goes on, as cmd.exe does; a stop request ends the batch.
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "platform/files.h"
#include "platform/process.h"

namespace kestrova::platform {

class BatchInterpreter {
public:
    // Imports a ".reg" file given by its Windows path; the text returned,
    // when not empty, goes to the log.
    using RegistryImport = std::function<std::string(const std::string& windowsRegFile)>;

    // Becomes the runner's batch runner, so that ShellAndWait of a ".bat"
    // file runs here; it stops being so when destroyed.
    BatchInterpreter(ProcessRunner& runner, const FileSystem& files, RegistryImport import);
    ~BatchInterpreter();
    BatchInterpreter(const BatchInterpreter&) = delete;
    BatchInterpreter& operator=(const BatchInterpreter&) = delete;

    // Runs a batch file; the arguments are %1..%9 as written, quotes kept.
    void Run(const std::string& windowsBatchFile, const std::vector<std::string>& arguments, int windowStyle);

private:
    void RunLine(const std::string& line, int windowStyle);
    void RunProgramLine(const std::string& line, int windowStyle);
    void RunCall(const std::string& operands, int windowStyle);
    void RunCopy(const std::string& operands);
    bool ImportRegistry(const std::string& line);

    ProcessRunner& runner_;
    const FileSystem& files_;
    RegistryImport import_;
    int depth_ = 0;
};

// The arguments of a batch call: blank-separated, quotes kept as written.
std::vector<std::string> SplitBatchArguments(const std::string& text);

// A batch line with %0..%9, %~0..%~9 (quotes taken off), %* and %% replaced.
std::string ExpandBatchLine(const std::string& line, const std::string& batchFile,
                            const std::vector<std::string>& arguments);

}  // namespace kestrova::platform
