// The tree of keys and values behind Registry, and its two text forms:
// REGEDIT4 (the hive and imported .reg files; read and written) and Wine's
// user.reg / system.reg (read only). Internal to the platform layer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace kestrova::platform {

enum class RegistryValueKind { String, ExpandString, Dword, Raw };

struct RegistryValue {
    std::string Name;          // "" is the default value
    RegistryValueKind Kind = RegistryValueKind::String;
    std::string Text;          // String and ExpandString; Raw holds the REGEDIT4 data on one line ("hex(2):41,00")
    std::uint32_t Number = 0;  // Dword
};

// One key: values in stored order, subkeys in creation order, both found
// without regard to ASCII case.
class RegistryKey {
public:
    explicit RegistryKey(std::string name) : name_(std::move(name)) {}

    const std::string& Name() const { return name_; }
    const std::vector<RegistryValue>& Values() const { return values_; }
    const RegistryValue* FindValue(const std::string& name) const;
    // Replaces a value of the same name in its place (keeping its first
    // spelling) or appends.
    void SetValue(RegistryValue value);
    bool RemoveValue(const std::string& name);

    std::size_t SubkeyCount() const { return subkeys_.size(); }
    const RegistryKey& Subkey(std::size_t index) const { return *subkeys_[index]; }
    RegistryKey* FindSubkey(const std::string& name) const;
    RegistryKey& MakeSubkey(const std::string& name);
    bool RemoveSubkey(const std::string& name);
    void Clear();

private:
    std::string name_;
    std::vector<RegistryValue> values_;
    std::unordered_map<std::string, std::size_t> valueIndex_;  // folded name -> position
    std::vector<std::unique_ptr<RegistryKey>> subkeys_;
    std::unordered_map<std::string, std::size_t> subkeyIndex_;
};

// The two stored roots; HKEY_CLASSES_ROOT is LocalMachine\Software\Classes.
enum class HiveRoot { CurrentUser, LocalMachine };

struct RegistryTree {
    RegistryKey CurrentUser{"HKEY_CURRENT_USER"};
    RegistryKey LocalMachine{"HKEY_LOCAL_MACHINE"};

    RegistryKey& Root(HiveRoot root) { return root == HiveRoot::CurrentUser ? CurrentUser : LocalMachine; }
    const RegistryKey& Root(HiveRoot root) const {
        return root == HiveRoot::CurrentUser ? CurrentUser : LocalMachine;
    }
    const RegistryKey* Find(HiveRoot root, const std::vector<std::string>& path) const;
    RegistryKey* Find(HiveRoot root, const std::vector<std::string>& path);
    RegistryKey& Make(HiveRoot root, const std::vector<std::string>& path);
    // Removes a key tree; an empty path (the root) is never removed.
    bool Remove(HiveRoot root, const std::vector<std::string>& path);
    void Clear();
};

// One change read from a REGEDIT4 text, applied after the whole text read well.
struct RegistryChange {
    enum class Action { MakeKey, RemoveKey, SetValue, RemoveValue };
    Action What = Action::MakeKey;
    HiveRoot Root = HiveRoot::CurrentUser;
    std::vector<std::string> Path;
    RegistryValue Value;  // SetValue; RemoveValue uses its Name
};

void ApplyChanges(RegistryTree& tree, const std::vector<RegistryChange>& changes);

// What is wrong with a text form and on which line (1-based).
struct RegistryTextFault {
    int Line = 0;
    std::string What;
};

// Reads REGEDIT4 text. A hive is read strictly: no NUL bytes, and the last
// line must end with a line end (else the file was cut short). Throws
// RegistryTextFault.
std::vector<RegistryChange> ReadRegedit4(const std::string& text, bool asHive);

// The tree as REGEDIT4 text with CR LF line ends, every key in its own
// section followed by a blank line.
std::string WriteRegedit4(const RegistryTree& tree);

// Reads a Wine user.reg or system.reg into the given root. Throws
// RegistryTextFault.
void ReadWineRegistry(const std::string& text, RegistryKey& root);

// "Software\Kestrova\settings" -> {"Software", "Kestrova", "settings"}; empty
// parts (doubled or outer backslashes) are dropped.
std::vector<std::string> SplitKeyPath(const std::string& key);

// The path below HKEY_LOCAL_MACHINE that HKEY_CLASSES_ROOT stands for.
std::vector<std::string> ClassesRootPrefix();

}  // namespace kestrova::platform
