// The menu tree and the choice of menus and languages: see menu_tree.h.
#include "dvd/menu_tree.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "job/bits.h"
#include "job/context.h"
#include "job/folders.h"
#include "platform/error.h"
#include "platform/path_space.h"

namespace kestrova {

using platform::EqualsIgnoreCase;
using platform::FileNameOf;
using platform::JoinPath;
using platform::StartsWithIgnoreCase;
using platform::ToUpperAscii;
using platform::WithExtension;

// ---------------------------------------------------------------------------
// Filling the tree

namespace {

const std::string kRootKey = "chk";

bool IsFileKey(const std::string& key) { return (key.size() == 4 || key.size() == 5) && key.rfind(kRootKey, 0) == 0; }

// Megabytes rounded to two decimals, written as a number is written in
// text: "1.5", "3", "0.01".
std::string Megabytes(std::uint64_t bytes) {
    const double rounded = std::nearbyint(static_cast<double>(bytes) / 1024.0 / 1024.0 * 100.0) / 100.0;
    char text[32];
    std::snprintf(text, sizeof text, "%.2f", rounded);
    std::string result = text;
    while (result.back() == '0') result.pop_back();
    if (result.back() == '.') result.pop_back();
    return result;
}

std::uint64_t SizeOrZero(const JobContext& job, const std::string& path) {
    return job.Files.FileExists(path) ? job.Files.FileSize(path) : 0;
}

// The last folder name on the path that is not "VIDEO_TS", upper case;
// empty when only a drive is left.
std::string VolumeFromPath(const std::string& path) {
    std::string rest = path;
    while (!rest.empty()) {
        while (!rest.empty() && rest.back() == '\\') rest.pop_back();
        const auto slash = rest.rfind('\\');
        const std::string part = slash == std::string::npos ? rest : rest.substr(slash + 1);
        if (slash == std::string::npos && part.size() == 2 && part[1] == ':') return "";
        if (!part.empty() && !EqualsIgnoreCase(part, "VIDEO_TS")) return ToUpperAscii(part);
        rest = slash == std::string::npos ? "" : rest.substr(0, slash);
    }
    return "";
}

// The INI row of a menu file: "VIDEOTS" for the video manager, else the
// row whose first word is the five characters of the name from its fourth
// ("_01_0" of "VTS_01_0.VOB"), which is what the INI line "-VTS_01_0 …"
// leaves in the row.
const IniMenuRow* IniRowOf(const JobContext& job, const std::string& fileName) {
    const bool manager = StartsWithIgnoreCase(fileName, "VIDEO");
    const std::string wanted = manager ? "VIDEOTS" : fileName.substr(std::min<std::size_t>(3, fileName.size()), 5);
    for (const auto& row : job.IniMenuList) {
        if (EqualsIgnoreCase(row.First, wanted)) return &row;
    }
    return nullptr;
}

void Choose(MenuTree& tree, const std::string& key) {
    MenuNode& node = tree.Node(key);
    node.Checked = true;
    node.Expanded = true;
}

// The language names of the menu PGCI unit table, one per unit in disc
// order: the two code bytes lower-cased and looked up.
std::vector<std::string> PGCI_UT_Languages(const JobContext& job, const std::string& ifoPath) {
    const std::vector<std::uint8_t> bytes = job.Files.ReadBytes(ifoPath);
    const ByteSource ifo{bytes, ifoPath};
    const bool manager = StartsWithIgnoreCase(FileNameOf(ifoPath), "VIDEO");
    std::vector<std::string> names;
    try {
        const std::int64_t sector = ByteHandleD(ifo, manager ? 200 : 208, 4);  // VMGM_PGCI_UT or VTSM_PGCI_UT
        if (sector == 0) return names;                                         // no menus in this domain
        const std::int64_t table = sector * 2048;
        const std::int64_t units = ByteHandleD(ifo, table, 2);
        for (std::int64_t unit = 1; unit <= units; ++unit) {
            const auto code = ByteHandleBytes(ifo, table + 8 * (unit - 1) + 8, 2);
            std::string text(code.begin(), code.end());
            for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
            names.push_back(job.LanguageTable.priv_LangCodeToLangName(text));
        }
    } catch (const Error& failure) {
        throw Error("The menu language units (PGCI_UT) of " + ifoPath + " could not be read. " + failure.what());
    }
    return names;
}

}  // namespace

std::vector<std::string> GetInputFiles(JobContext& job, const std::string& folder) {
    std::vector<std::string> lines{folder};
    GetFileCount(job, folder, "INPUT");
    // Each IFO stands for its domain's menu VOB, listed even when the VOB is
    // missing, so the tree shows the domain as not available.
    const std::vector<std::string> listed(job.FileList.begin() + 1, job.FileList.end());
    for (const auto& name : listed) {
        if (name.size() < 4 || !EqualsIgnoreCase(name.substr(name.size() - 4), ".IFO")) continue;
        const std::string vob = JoinPath(folder, WithExtension(name, ".VOB"));
        const std::uint64_t size = SizeOrZero(job, vob);
        lines.push_back(size == 0 ? vob + " - N/A" : vob + " - " + Megabytes(size) + "MB");
    }
    return lines;
}

void GetIfoLanguages(JobContext& job, const std::string& ifoPath, int position, const IniMenuRow* iniRow) {
    if (!job.Files.FileExists(ifoPath)) return;
    const std::vector<std::string> names = PGCI_UT_Languages(job, ifoPath);
    if (names.empty() || !job.Files.FileExists(WithExtension(ifoPath, ".VOB"))) return;

    MenuTree& tree = job.Tree;
    const std::string number = std::to_string(position);
    const std::string fileKey = kRootKey + number;
    const std::string allKey = "ALLLang" + number;
    const auto addNode = [&](const std::string& key, const std::string& text, bool checked) {
        if (MenuNode* node = tree.Add(fileKey, key, text)) node->Checked = checked;
    };
    const auto addLanguage = [&](const std::string& name, bool checked) {
        addNode(name + "Lang" + number, name, checked);
    };

    if (names.size() == 1) {
        addLanguage(names.front(), true);
    } else if (iniRow == nullptr) {
        addNode(allKey, "ALL", true);
        for (const auto& name : names) addLanguage(name, false);
    } else {
        const bool all = EqualsIgnoreCase(iniRow->Second, "ALL");
        addNode(allKey, "ALL", all);
        for (const auto& name : names) addLanguage(name, !all && EqualsIgnoreCase(name, iniRow->Second));
    }

    const auto children = tree.ChildrenOf(fileKey);
    if (iniRow == nullptr) {
        // One language per file: the journal's language in a recovery, else
        // the preferred language of the options ("ALL" names the ALL node).
        const auto& state = job.State();
        const std::string& preferred = job.Options().Default_Language;
        const auto named = [&](const std::string& text) -> MenuNode* {
            if (text.empty()) return nullptr;
            for (MenuNode* child : children) {
                if (child->Text == text) return child;
            }
            return nullptr;
        };
        MenuNode* target = state.Recover != 0 ? named(state.RecoveryLanguage) : nullptr;
        if (target == nullptr) target = named(preferred);
        if (target != nullptr) {
            for (MenuNode* child : children) child->Checked = child == target;
        }
    }
    const bool anyChecked = std::any_of(children.begin(), children.end(), [](const MenuNode* c) { return c->Checked; });
    if (!anyChecked) {
        if (MenuNode* all = tree.Find(allKey)) all->Checked = true;
    }
}

void LoadTreeView(JobContext& job, const std::string& line, int position, bool isFile) {
    MenuTree& tree = job.Tree;
    if (!isFile) {
        MenuNode& root = tree.AddRoot(kRootKey, line);
        root.Checked = true;
        root.Expanded = true;
        return;
    }
    const auto dash = line.rfind(" - ");
    const std::string path = line.substr(0, dash);
    const std::string sizeText = dash == std::string::npos ? "N/A" : line.substr(dash + 3);
    const std::string name = FileNameOf(path);
    const std::string key = kRootKey + std::to_string(position);
    if (tree.Add(kRootKey, key, name + " - " + sizeText) == nullptr) return;
    if (!job.Files.FileExists(path)) return;

    const auto& options = job.Options();
    const auto& state = job.State();
    const std::uint64_t size = job.Files.FileSize(path);
    const bool recovering = state.Recover != 0;
    const bool recovered =
        recovering && std::any_of(job.JournalMenus.begin(), job.JournalMenus.end(),
                                  [&](const std::string& menu) { return EqualsIgnoreCase(menu, name); });
    const std::string ifo = WithExtension(path, ".IFO");

    if (state.DifFromINI == 0) {
        if (size == 0) return;
        const bool chosen = recovering ? recovered
                                       : (static_cast<std::int64_t>(size) <= options.Default_Threshold ||
                                          options.AutoSelectConversion == 1);
        GetIfoLanguages(job, ifo, position, nullptr);
        const bool autoSelected = (StartsWithIgnoreCase(name, "VTS") && options.AutoSelectVTS == 1) ||
                                  (ToUpperAscii(name).find("VIDEO_TS.VOB") != std::string::npos &&
                                   options.AutoSelectVMG == 1);
        if (chosen || (autoSelected && !recovering)) Choose(tree, key);
        return;
    }
    if (const IniMenuRow* row = IniRowOf(job, name)) {
        Choose(tree, key);
        GetIfoLanguages(job, ifo, position, row);
    }
}

void ReLoadMenus(JobContext& job, const std::string& folder, std::int64_t thresholdBox, const std::string& outputRoot) {
    platform::TraceFrame frame(job.Trace, "MenuTree", "ReLoadMenus");
    auto& options = job.Options();
    auto& state = job.State();
    job.FolderTree.Clear();
    job.FolderTree.Add().MainFolderKey = kRootKey;
    options.Default_Threshold = state.Threshold != 0 ? state.Threshold : thresholdBox;

    job.Text2.clear();
    job.OutputFolder.clear();
    job.Tree.Clear();
    std::string source = folder;
    if (source.empty()) {
        if (!job.SourceDrive.empty()) {
            source = job.SourceDrive.substr(0, 1) + ":\\VIDEO_TS";
        } else {
            std::string box = job.Text1;
            while (!box.empty() && box.back() == '\\') box.pop_back();
            source = box + "\\VIDEO_TS";
        }
    }
    if (!job.Files.FileExists(JoinPath(source, "VIDEO_TS.IFO"))) return;

    const std::vector<std::string> lines = GetInputFiles(job, source);
    for (std::size_t i = 0; i < lines.size(); ++i) LoadTreeView(job, lines[i], static_cast<int>(i), i != 0);

    // The job's volume label, and the output folder it proposes.
    const std::string driveRoot = source.size() >= 2 && source[1] == ':' ? source.substr(0, 2) + "\\" : source;
    const std::string fromPath = folder.empty() ? "" : VolumeFromPath(source);
    if (fromPath.empty()) {
        volumename(job, driveRoot);
    } else {
        job.VolumeText = fromPath;
    }
    const std::string place = options.Default_OutputDestination != 0 ? fGetSpecialFolder(job, 5)
                              : outputRoot.empty()                   ? sListAllDrives(job).DefaultOutputRoot
                                                                     : outputRoot;
    if (!place.empty() && !job.VolumeText.empty()) {
        const std::string proposed = JoinPath(place, job.VolumeText);
        if (!job.Files.Exists(proposed)) {
            job.Text2 = proposed;
            job.OutputFolder = proposed;
        }
    }

    // Automatic choice by size. An INI file chooses alone: a file it does not
    // name has no languages and stays unticked.
    if (state.DifFromINI == 0 && state.Recover == 0) {
        for (std::size_t i = 1; i < lines.size(); ++i) {
            const std::string path = lines[i].substr(0, lines[i].rfind(" - "));
            const std::string key = kRootKey + std::to_string(i);
            const std::uint64_t size = SizeOrZero(job, path);
            if (size != 0 && static_cast<std::int64_t>(size) <= options.Default_Threshold && job.Tree.Find(key))
                Choose(job.Tree, key);
        }
    }
    job.Tree.SelectedKey = kRootKey;
}

// ---------------------------------------------------------------------------
// The check rules and the choice

void Children(MenuTree& tree, const std::string& key) {
    for (MenuNode* child : tree.ChildrenOf(key)) child->Checked = false;
}

void SetNodes(MenuTree& tree, const std::string& key) {
    MenuNode& node = tree.Node(key);
    switch (tree.Level(node)) {
    case 0:
        node.Expanded = node.Checked;
        break;
    case 1:
        if (node.Checked) {
            node.Expanded = true;
            const auto children = tree.ChildrenOf(key);
            if (children.size() == 1) children.front()->Checked = true;
        } else {
            Children(tree, key);
        }
        break;
    default: {
        MenuNode& parent = *tree.Parent(node);
        if (node.Text.find("N/A") != std::string::npos) {
            node.Checked = false;
        } else if (node.Checked) {
            if (tree.ChildrenOf(parent.Key).size() > 1) {
                Children(tree, parent.Key);
                node.Checked = true;
            }
        } else {
            parent.Checked = false;
            parent.Expanded = false;
        }
        break;
    }
    }
}

std::int16_t GetTreeMenus(JobContext& job) {
    platform::TraceFrame frame(job.Trace, "MenuTree", "GetTreeMenus");
    job.SelectedMenus.assign(1, std::string());
    job.SelectedMenuFlags.clear();
    job.SelectedMenuChildren.clear();
    const MenuTree& tree = job.Tree;
    const MenuNode* root = tree.Find(kRootKey);
    std::int16_t count = 0;
    if (root == nullptr) return count;
    for (const MenuNode& node : tree) {
        if (!IsFileKey(node.Key) || tree.Level(node) != 1) continue;
        const std::string path = JoinPath(root->Text, node.Text.substr(0, node.Text.find(" -")));
        // A checked file that is gone since the tree was filled counts as
        // not chosen, so the rows still line up with the files.
        if (!node.Checked || !job.Files.FileExists(path)) {
            job.SelectedMenuFlags.push_back(0);
            job.SelectedMenuChildren.emplace_back();
            continue;
        }
        job.SelectedMenus.push_back(path);
        job.SelectedMenuFlags.push_back(-1);
        std::string language;
        for (const MenuNode* child : tree.ChildrenOf(node.Key)) {
            if (child->Checked) {
                language = child->Text;
                job.State().CurrentLanguage = language;
                break;
            }
        }
        job.SelectedMenuChildren.push_back(language);
        ++count;
    }
    return count;
}

// ---------------------------------------------------------------------------
// The output folder's name

std::string CheckFolderName(const std::string& text) {
    // Plain letters of U+00C0..U+00FF; "_" where there is none, 0 where the
    // character is not a letter (multiplication and division signs).
    static constexpr char kPlain[65] =
        "AAAAAA_CEEEEIIIIDNOOOOO\0OUUUUY__"
        "aaaaaa_ceeeeiiii_nooooo\0ouuuuy__";
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead == 0xC3 && i + 1 < text.size()) {
            const auto trail = static_cast<unsigned char>(text[i + 1]);
            if (trail >= 0x80 && trail <= 0xBF && kPlain[trail - 0x80] != '\0') {
                result += kPlain[trail - 0x80];
                ++i;
                continue;
            }
        }
        result += text[i];
    }
    return result;
}

}  // namespace kestrova
