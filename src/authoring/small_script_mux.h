// The native authoring engine's mux of a small Muxman script: the one
// segment of the script (one VOB of the source) becomes one VOB id of a
// file set of its own, cut into one cell per scene. The video plays are
// joined into one MPEG-2 stream (a still play held 12 frames in a PAL
// segment, 15 in an NTSC one; a moving play copied), each audio stream's
// plays into one AC3 stream cut and padded to the video under it; mplex
// multiplexes them into a DVD program stream (a VOBU at every group of
// pictures), dvdauthor authors it as the one title of title set 1, and the result (VIDEO_TS.IFO, VTS_01_0.IFO,
// VTS_01_1.VOB and the .BUP files) lands flat in the destination folder,
// for the VMG's VOBs as for a title set's: the IFOs are rebuilt from the
// source later, only the VOB's cells matter.
//
// ffmpeg, mplex and dvdauthor are separate programs run through the
// process runner; nothing of theirs is linked. Sub-pictures and highlights are not
// muxed in this version: each play is named in a note.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "authoring/script_diagnostics.h"
#include "authoring/script_model.h"
#include "platform/error.h"
#include "platform/files.h"
#include "platform/launcher.h"
#include "platform/process.h"

namespace kestrova {

// What the mux says about a line of the script: a scene whose cut moved
// (a warning), a play left out (a note).
struct MuxMessage {
    Severity Level = Severity::Note;
    ScriptPlace Place;
    std::string Text;
};

// A fault that stops the mux, with the line of the script it comes from
// (the segment's, for a fault of the tools).
class MuxError : public Error {
public:
    MuxError(ScriptPlace place, const std::string& text) : Error(text), Place(place) {}
    ScriptPlace Place;
};

struct SmallScriptMux {
    std::string Segment;        // the segment's name
    bool VideoManager = false;  // the script authors a VOB of the VMG
    int Cells = 0;
    std::vector<MuxMessage> Messages;
};

// The names the mux runs its programs by; RegisterMuxPrograms maps them to
// the host's programs.
inline constexpr const char* kFfmpegProgram = "ffmpeg.exe";
inline constexpr const char* kMplexProgram = "mplex.exe";
inline constexpr const char* kDvdauthorProgram = "dvdauthor.exe";

// Registers ffmpeg, mplex and dvdauthor, found on $PATH, on the launcher.
// Throws Error naming the package to install when one is missing.
void RegisterMuxPrograms(platform::Launcher& launcher);

// Muxes the script's one segment into `destination` (a drive path; made
// when missing). The files of an earlier result there are deleted first,
// so a failed mux leaves no IFO. Throws MuxError for a script it cannot
// mux (not one segment, a play's file missing or of another standard, a
// duration or scene time that is no time, scenes out of order or past the
// video's end) and for a tool that fails.
SmallScriptMux MuxSmallScript(const ScriptModel& model, const std::string& destination,
                              const platform::FileSystem& files, platform::ProcessRunner& runner);

// "file:line: warning: text", the line as the script diagnostics write it.
std::string FormatMuxMessage(const ScriptModel& model, Severity level, ScriptPlace place, const std::string& text);

}  // namespace kestrova
