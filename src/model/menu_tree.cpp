// The menu tree as data: see menu_tree.h.
#include "model/menu_tree.h"

#include <algorithm>

#include "platform/error.h"

namespace kestrova {

void MenuTree::Clear() {
    nodes_.clear();
    SelectedKey.clear();
}

MenuNode& MenuTree::AddRoot(const std::string& key, const std::string& text) {
    if (!nodes_.empty()) throw Error("The menu tree already has a root; \"" + key + "\" cannot be another.");
    nodes_.push_back(MenuNode{key, text, false, false, ""});
    return nodes_.back();
}

MenuNode* MenuTree::Add(const std::string& parentKey, const std::string& key, const std::string& text) {
    const auto parent =
        std::find_if(nodes_.begin(), nodes_.end(), [&](const MenuNode& n) { return n.Key == parentKey; });
    if (parent == nodes_.end())
        throw Error("The menu tree has no node \"" + parentKey + "\" to add \"" + key + "\" to.");
    if (Find(key) != nullptr) return nullptr;
    // After the parent's last descendant, so the vector stays in tree order.
    const int parentLevel = Level(*parent);
    auto place = parent + 1;
    while (place != nodes_.end() && Level(*place) > parentLevel) ++place;
    return &*nodes_.insert(place, MenuNode{key, text, false, false, parentKey});
}

MenuNode* MenuTree::Find(const std::string& key) {
    const auto found = std::find_if(nodes_.begin(), nodes_.end(), [&](const MenuNode& n) { return n.Key == key; });
    return found == nodes_.end() ? nullptr : &*found;
}

const MenuNode* MenuTree::Find(const std::string& key) const {
    const auto found = std::find_if(nodes_.begin(), nodes_.end(), [&](const MenuNode& n) { return n.Key == key; });
    return found == nodes_.end() ? nullptr : &*found;
}

MenuNode& MenuTree::Node(const std::string& key) {
    MenuNode* node = Find(key);
    if (node == nullptr) throw Error("The menu tree has no node \"" + key + "\".");
    return *node;
}

MenuNode* MenuTree::Parent(const MenuNode& node) { return node.ParentKey.empty() ? nullptr : Find(node.ParentKey); }

std::vector<MenuNode*> MenuTree::ChildrenOf(const std::string& key) {
    std::vector<MenuNode*> children;
    for (auto& node : nodes_) {
        if (node.ParentKey == key && !key.empty()) children.push_back(&node);
    }
    return children;
}

std::vector<const MenuNode*> MenuTree::ChildrenOf(const std::string& key) const {
    std::vector<const MenuNode*> children;
    for (const auto& node : nodes_) {
        if (node.ParentKey == key && !key.empty()) children.push_back(&node);
    }
    return children;
}

int MenuTree::Level(const MenuNode& node) const {
    int level = 0;
    for (const MenuNode* up = &node; !up->ParentKey.empty(); ++level) {
        up = Find(up->ParentKey);
        if (up == nullptr) break;
    }
    return level;
}

}  // namespace kestrova
