// The stand-in program: one executable that acts as each outside tool the
// job drives. A personality is one function; the table in
// personalities.cpp names them. Shared here: how a personality is called,
// the fail switch, and file access on the job's Windows paths.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/path_space.h"

namespace kestrova::standin {

// How a test asked this tool to fail ($KESTROVA_STANDIN_FAIL; see main.cpp).
enum class FailMode {
    None,
    Fail,     // leave nothing, exit 1
    Partial,  // leave a truncated output, exit 1; a tool working through a
              // list first does ItemsBeforeFailure items whole
};

struct Invocation {
    std::string Tool;                    // the name it was called by
    std::vector<std::string> Arguments;  // as the Windows command line split them
    // The same arguments as the command line wrote them, blanks and quotes
    // kept, for tools that parse their own line (see main.cpp).
    std::string ArgumentText;
    FailMode Fail = FailMode::None;
    long ItemsBeforeFailure = 0;         // "dieafter:K" gives K; "partial" 0
    platform::PathSpace Paths;           // the job's drive map ($KESTROVA_DRIVES)
    // The program as the Windows command line names it ("K:\PROG\EclCCE.exe");
    // empty when the launcher did not pass the line.
    std::string Program;
};

// A personality returns the exit status. It throws kestrova::Error for bad
// arguments or files.
using Personality = int (*)(const Invocation&);

struct PersonalityEntry {
    const char* Name;     // matched without regard to case
    Personality Run;
    bool HasPartial;      // false: a "partial" failure acts as a plain failure
    const char* Usage;
};

std::span<const PersonalityEntry> Personalities();

// File access on Windows paths of the job, through the drive map.
std::string ReadJobFile(const Invocation& call, const std::string& windowsPath);
void WriteJobFile(const Invocation& call, const std::string& windowsPath, const std::string& bytes);

// The switches of ArgumentText as a tool that parses its own line reads
// them: blanks separate switches, a double quote opens or closes a run in
// which blanks are kept (-C"K:\a b.wav" gives -CK:\a b.wav), and a
// backslash is just a character. Throws Error for a quote left open.
std::vector<std::string> SplitArgumentText(const Invocation& call);

// Parses a whole non-negative number argument; throws Error naming it.
long ParseNumber(const std::string& text, const char* what);

int RunSleep(const Invocation& call);
int RunRevPulldown(const Invocation& call);
int RunTouch(const Invocation& call);
int RunTree(const Invocation& call);
int RunCopy(const Invocation& call);
int RunProgramFolder(const Invocation& call);
int RunProgramData(const Invocation& call);
int RunDvd2avi(const Invocation& call);  // dvd2avirb, dvd2avidg and DGIndex
int RunDvdDecrypter(const Invocation& call);
int RunPgcDemux(const Invocation& call);
int RunVobtest(const Invocation& call);
// The encoders (encoder_lists.cpp, quenc.cpp, hc_encoder.cpp, rejig.cpp).
int RunCce(const Invocation& call);      // CCE and EclPro: an encoder control list
int RunEclCce(const Invocation& call);   // the list through "EclCCE.ini"
int RunQuEnc(const Invocation& call);
int RunHcEncoder(const Invocation& call);
int RunRejig(const Invocation& call);
// The audio tools (besweet.cpp, soft_encode.cpp, delaycut.cpp, ac3fix.cpp).
int RunBeSweet(const Invocation& call);
int RunSoftEncode(const Invocation& call);
int RunDelaycut(const Invocation& call);
int RunAc3fix(const Invocation& call);
// The subpicture tools (vsrip.cpp, vsconv.cpp, vobsub2scc.cpp, bitmap_resize.cpp).
int RunVsrip(const Invocation& call);
int RunVsconv(const Invocation& call);
int RunVobsub2scc(const Invocation& call);
int RunBitmapResize(const Invocation& call);
// The matrix dump of the HC encoder's original matrices (quant_dump.cpp).
int RunQuantDump(const Invocation& call);

}  // namespace kestrova::standin
