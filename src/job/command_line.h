// The program's command line in its four forms: "Load=" from the shell verb
// on a disc, "Folder=" from the verb on a folder, "/"-tokens from another
// program, and "/INIFILE" naming a job file. Parsing sets the job's flags;
// what follows (menus, the start) is the caller's.
#pragma once

#include <string>

#include "job/context.h"

namespace kestrova {

enum class CommandLineForm { None, LoadDrive, Folder, Tokens, IniFile };

struct CommandLineResult {
    CommandLineForm Form = CommandLineForm::None;
    bool StartRequested = false;   // "/STAR" or an INI file
    bool ResumeRequested = false;  // "/RESU": go on with the unfinished job in the output folder
    std::string Error;             // a sentence for the user; empty when parsed
};

// Parses `text` (what follows the program's name) into the job's flags and
// blanks job.CommandLine. Tokens that lack their "=" or their quotation
// marks are taken as absent.
CommandLineResult ParseCommandLine(JobContext& job, const std::string& text);

}  // namespace kestrova
