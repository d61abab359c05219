// The navigation commands of a Muxman script. The decoder's text names its
// targets by number; a Muxman script names them by the objects of the
// script, so each command line goes through TranslateCommand, which puts
// the name in place of the number and may turn a link to a menu that shows
// nothing any more into a harmless one.
#pragma once

#include <string>
#include <string_view>

#include "job/context.h"
#include "muxman/mxp_run.h"

namespace kestrova {

// The caller of a translation: its domain (entry of DiscModel), language
// unit (index from 1 and its name L, as MuxmanLanguage gives it) and PGC
// number. For the button-check form also the cell whose highlight holds the
// button: its VOB and its CELL_ID there; the relative links (next and
// previous cell or program) count from that cell's place in the PGC.
struct CommandPlace {
    int Entry = 0;
    int LanguageIndex = 0;
    std::string Language;
    int Pgc = 0;
    int Vob = 0;
    int Cell = 0;
};

// The command text with its target named as the script names it, "Nop"
// for an empty text, or "ERROR" for a cell or chapter that names nothing.
// A link to a menu that shows nothing any more becomes
// "LinkTopC, button=1". run.LinkChanged is true after a translation that
// replaced a link so, false after any other.
//
// With buttonCheck the question is only whether the button's link is
// removed: relative links (tail, next, previous, go-up) are checked too, and
// the result is "LinkTopC, button=1" for a removed link, else the command as
// given ("Nop" for an empty one), since the caller writes the button's
// command on its own.
std::string TranslateCommand(JobContext& job, MuxmanRun& run, std::string_view command, const CommandPlace& place,
                             bool buttonCheck = false);

// Every "GoTo " n of the text becomes "GoTo " prefix n, so a jump inside a
// command list names the label of its line ("GoTo Pre4").
std::string CheckGoto(std::string_view text, std::string_view prefix);

// True when a link to the PGC no longer shows anything: RemoveLink is 1 or
// force is set, and the cells looked at (all of the PGC's with vob 0, else
// those of that VOB) lie only in dummy menu VOBs.
bool LinkIsRemoved(const JobContext& job, int entry, int languageIndex, int pgc, int vob, bool force);

// For a tail link whose target the PGC's post commands choose by a
// register: true when the target the command's register and value select
// is removed, false when it is live or none is selected.
bool FixLinkRegister(const JobContext& job, std::string_view command, int entry, int languageIndex, int pgc);

// The three "Button Mode n=" values of a highlight from the model's modes.
struct ButtonModes {
    std::string Mode1, Mode2, Mode3;
};
ButtonModes ConvertButtonModeMuxman(std::string_view mode1, std::string_view mode2, std::string_view mode3);

}  // namespace kestrova
