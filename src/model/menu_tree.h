// The menu tree as data: the source folder, its menu VOB files and their
// language units as nodes with a check box each, and the rows of an INI file
// that choose menus instead of the user. The procedures that fill the tree
// and read the choice live with the reader.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace kestrova {

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

}  // namespace kestrova
