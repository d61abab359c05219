// The names a Muxman script gives the objects of a disc, and the test of
// the authored standard its timecodes follow. One formatter per kind of
// name, so the navigation, the content and the command translation always
// agree on what a link names.
//
// D is the domain text: "VMG", or "VTS" and the three-digit title set
// number. Titles, segments, scenes and the jumps to titles write "VTS" and
// the number as it stands ("VTS2T1"), as the tool's scripts always have.
#pragma once

#include <string>
#include <string_view>

#include "job/context.h"

namespace kestrova {

// True when the authored disc is PAL: a PAL source kept, or an NTSC source
// converted. Timecodes then count 25 frames a second, else 30.
bool TargetIsPal(const JobContext& job);

// "VMG" for entry 1, "VTS002" for title set 2 (entry 3).
std::string MuxmanDomain(int entry);

// L of a language unit of the domain (entry of DiscModel, languageIndex
// from 1): the language's name from the language table, "English" for a
// unit without a code. Parenthesised parts are dropped and the name is cut
// at its first ";" or ",", since those separate the parts of a command
// line ("(Afan)Oromo" is "Oromo", "Bengali;Bangla" "Bengali"); a
// name an earlier unit of the same domain already took gets the unit's code
// behind it ("HebrewHe"), so no two units share their objects' names.
std::string MuxmanLanguage(const JobContext& job, int entry, int languageIndex);

// "EnglishTitleMenu" for the first PGC of a VMG language, else D L "PGC" p.
std::string MuxmanPgcName(int entry, std::string_view language, int pgc);
// D L "PGC" p "PG" g.
std::string MuxmanProgramName(int entry, std::string_view language, int pgc, int pg);
// D L "PGC" p "C" and the three-digit cell ordinal.
std::string MuxmanCellName(int entry, std::string_view language, int pgc, int cell);

// "VTS" N "T" t; its PGCs "VTS" N "T" t "PGC" p and programs
// "VTS" N "T" t "PGC" p "PG" g.
std::string MuxmanTitleName(int titleSet, int title);
std::string MuxmanTitlePgcName(int titleSet, int title, int pgc);
std::string MuxmanTitleProgramName(int titleSet, int title, int pgc, int pg);

// "VMG_VOBID" v or "VTS" N "_VOBID" v (v as it stands).
std::string MuxmanSegmentName(int entry, int vob);
// "VMG_" V "_Scene_" C or "VTS" N "_" V "_Scene_" C (V, C in three digits).
std::string MuxmanSceneName(int entry, int vob, int cell);
// The scene of a domain's dummy menu segment: "DummyVIDEOScene" or
// "DummyVTS" N "Scene".
std::string MuxmanDummyScene(int entry);

}  // namespace kestrova
