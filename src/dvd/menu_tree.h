// The procedures of the menu tree (model/menu_tree.h): they fill it from the
// source folder (by size, by the options, by an INI file or from a journal),
// keep its check rules, and turn the ticks into the job's list of domains.
// The window shows the tree; the command line and recovery fill it by
// program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "model/menu_tree.h"

namespace kestrova {

struct JobContext;

// Fills job.Tree for a source VIDEO_TS folder. An empty folder means the
// source drive's "\VIDEO_TS" (SourceDrive), or Text1 & "\VIDEO_TS" when no
// drive is set. `thresholdBox` is the size threshold of the options box in
// bytes, used when the command line gave none; `outputRoot` is the output
// place the window offers when Default_OutputDestination is 0 (empty: the
// first fixed drive). Proposes the output folder in Text2 and OutputFolder.
void ReLoadMenus(JobContext& job, const std::string& folder, std::int64_t thresholdBox,
                 const std::string& outputRoot = "");

// The folder itself, then one line per menu VOB (the VOB beside each IFO of
// the folder): path & " - " & megabytes & "MB", or path & " - N/A" for a
// file that is missing or empty.
std::vector<std::string> GetInputFiles(JobContext& job, const std::string& folder);

// Adds the root (isFile false: the line is the folder) or file `position`
// (from 1) with its languages and its tick.
void LoadTreeView(JobContext& job, const std::string& line, int position, bool isFile);

// Adds the language nodes of file `position` from the PGCI unit table of the
// IFO; iniRow is the file's INI row, nullptr outside INI mode. Throws Error
// naming the IFO and offset when the table does not lie inside the file.
void GetIfoLanguages(JobContext& job, const std::string& ifoPath, int position, const IniMenuRow* iniRow);

// The check rules after a click has changed the node's tick.
void SetNodes(MenuTree& tree, const std::string& key);
// Unticks every child of the node.
void Children(MenuTree& tree, const std::string& key);

// Fills SelectedMenus (index 0 empty, the chosen paths from index 1),
// SelectedMenuFlags and SelectedMenuChildren (one per file row, from index
// 0) and CurrentLanguage, in tree order; returns the number of chosen files.
std::int16_t GetTreeMenus(JobContext& job);

// The output folder text with the accented Latin-1 letters (U+00C0 to
// U+00FF, as UTF-8) made plain: "É" becomes "E", "ñ" "n"; Æ, Þ, ß, æ, ð,
// þ and ÿ become "_". Everything else is left as it is.
std::string CheckFolderName(const std::string& text);

}  // namespace kestrova
