// The menu tree as data: the source folder, its menu VOB files and their
// language units, each with a check box, and the procedures that fill it
// (by size, by the options, by an INI file or from a journal), keep its
// check rules, and turn the ticks into the job's list of domains. The window
// shows this tree; the command line and recovery fill it by program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kestrova {

struct JobContext;

// One "-" line of an INI file given by /INIFILE: the first word ("VIDEOTS",
// or the text from its 4th character on, "_01_0" for "VTS_01_0") and the
// second word ("ALL" or a language name in upper case).
struct IniMenuRow {
    std::string First;
    std::string Second;
};

struct MenuNode {
    std::string Key;        // "chk" root, "chk" & n file, name & "Lang" & n language, "ALLLang" & n
    std::string Text;       // folder, "VTS_01_0.VOB - 1.5MB", language name or "ALL"
    bool Checked = false;
    bool Expanded = false;
    std::string ParentKey;  // empty for the root
};

// The nodes in tree order (each node before its children, siblings in the
// order they were added), found by key. Keys are unique: a second node with
// a key in use is refused, as the tree control refuses it.
class MenuTree {
public:
    void Clear();
    bool Empty() const { return nodes_.empty(); }
    std::size_t Count() const { return nodes_.size(); }

    // The root; throws Error if the tree already has one.
    MenuNode& AddRoot(const std::string& key, const std::string& text);
    // A child added after the parent's last descendant. Returns nullptr when
    // the key is taken; throws Error when the parent is unknown.
    MenuNode* Add(const std::string& parentKey, const std::string& key, const std::string& text);

    MenuNode* Find(const std::string& key);
    const MenuNode* Find(const std::string& key) const;
    // Throws Error naming the key when there is no such node.
    MenuNode& Node(const std::string& key);

    MenuNode* Parent(const MenuNode& node);
    std::vector<MenuNode*> ChildrenOf(const std::string& key);
    std::vector<const MenuNode*> ChildrenOf(const std::string& key) const;
    // 0 for the root, 1 for a file, 2 for a language.
    int Level(const MenuNode& node) const;

    // The node the tree shows as selected; empty for none.
    std::string SelectedKey;

    std::vector<MenuNode>::iterator begin() { return nodes_.begin(); }
    std::vector<MenuNode>::iterator end() { return nodes_.end(); }
    std::vector<MenuNode>::const_iterator begin() const { return nodes_.begin(); }
    std::vector<MenuNode>::const_iterator end() const { return nodes_.end(); }

private:
    std::vector<MenuNode> nodes_;
};

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
