// Windows command lines: the one string a Windows program receives, split
// into arguments the way the system's own parser splits it, and the
// quoting that turns an argument list back into such a string.
#pragma once

#include <string>
#include <vector>

namespace kestrova::platform {

// Splits a command line as CommandLineToArgvW does. The first token is the
// program: it ends at the next quote when it starts with one, else at the
// next blank or tab, and backslashes in it are kept as they are. In the
// other tokens 2n backslashes before a quote give n backslashes and the
// quote opens or closes a quoted run, 2n+1 give n backslashes and a literal
// quote, backslashes before anything else are literal, and inside a quoted
// run a doubled quote gives a literal quote and ends the run. An empty or
// blank line gives no tokens.
std::vector<std::string> SplitCommandLine(const std::string& commandLine);

// The arguments as the command line writes them: everything behind the
// program token and the blanks after it, with its spacing and quotes. A
// Windows program that parses its own command line sees this text, so a
// run of blanks inside "-IF=[K:\a  b\x.m2v]" reaches it unchanged, where
// the split arguments have lost it. An empty or blank line gives "".
std::string ArgumentText(const std::string& commandLine);

// Quotes one argument so that SplitCommandLine gives it back unchanged:
// a word without blanks, tabs or quotes stays as it is.
std::string QuoteArgument(const std::string& argument);

// Quotes a program token: quotes around it when it holds a blank or tab.
// A program token cannot hold a quote; one that does is refused with Error.
std::string QuoteProgram(const std::string& program);

// The program and its arguments joined into one command line that
// SplitCommandLine splits back into the same tokens.
std::string JoinCommandLine(const std::vector<std::string>& tokens);

}  // namespace kestrova::platform
