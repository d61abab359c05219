// The recovery journal read back: the resume points a user can choose, the
// head lines that restore the job's choices, and the recovery fields that
// RecoverySkip compares against.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "job/context.h"

namespace kestrova {

// Stage marks by stage number: what the journal records as each stage ends.
inline const std::array<std::string, 7> kStageMarks = {
    "DEMUXED VOB ID", "VOBSUB", "VSCONV", "DVD2AVI", "DEMUXED CELL ID", "PROCESSASSETS", "MPV ENCODED"};

// The stage number of a mark, or -1 for another text.
int StageOfMark(const std::string& mark);

// The line a run writes last, once it has reached its end. The recovery
// reading passes over it, as over any "#" line it has no field for.
inline const std::string kJournalFinished = "#RUN ENDED";

// What a journal says, line by line.
struct JournalReading {
    std::vector<std::string> ResumePoints;  // "VTS1 - VOBSUB", "VID - DEMUXED VOB ID", ...
    std::string Source;                     // "#FOLDER: " text
    std::string Root;                       // "#ROOT FOLDER: " text
    std::string Language;                   // "#LANGUAGE: " text
    std::string VolumeName;                 // "#VOLUME NAME: " text
    bool Scenarist = false;                 // "#SCENARIST" seen
    bool Muxman = false;                    // "#MUXMAN" seen
    bool Conversion = false;                // "#CONVERSION" seen
    std::vector<std::string> JournalMenus;  // "#VTS_01_0.VOB" lines without "#"
    bool Finished = false;                  // kJournalFinished seen
};

JournalReading ReadJournalLines(const std::vector<std::string>& lines);

// The resume points whose mark is a stage mark, in journal order. A line
// cut short by a kill or a full disk names no stage and is left out.
std::vector<std::string> StageResumePoints(const JournalReading& reading);

// The browse step of the recovery window: checks the chosen path (it must
// exist and name a "Kestrova_Recovery" file), keeps the journal's first
// state in path & ".bak", reads it, and sets the engine, conversion,
// language, root and menus of the job from it. Returns false, with nothing
// changed, when the path is refused.
bool BrowseJournal(JobContext& job, const std::string& path, JournalReading& reading);

// Turns the chosen resume point ("VTS12 - VOBSUB") into RecoveryVTS and
// RecoveryModule; an empty choice turns recovery off.
void LoadData(JobContext& job, const std::string& choice);

// The end of a run that reached its end: the journal gets kJournalFinished,
// and the ".bak" a resumption kept is no longer needed. Nothing is written
// when the end-of-job cleaning has removed the journal.
void MarkJournalFinished(JobContext& job);

// Whether a stage of the domain in hand is skipped because the journal of
// the resumed run says it was done.
bool RecoverySkip(JobContext& job, int stage);

}  // namespace kestrova
