// The registry as Kestrova sees it: keys and values kept in a REGEDIT4 text
// hive under the user's config folder, written atomically at each change,
// and beneath it an optional read-only layer taken from a Wine prefix's
// user.reg and system.reg, where other programs' keys live.
//
// Key paths and value names are compared without regard to ASCII case, as on
// Windows, and keep their first spelling. The default value of a key has the
// name "". HKEY_CLASSES_ROOT is a view of HKEY_LOCAL_MACHINE\Software\Classes.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace kestrova::platform {

enum class RegistryRoot { CurrentUser, LocalMachine, ClassesRoot };

struct RegistryTree;

class Registry {
public:
    // Host path of the REGEDIT4 text file; nothing is read yet.
    explicit Registry(std::string hiveFile);
    ~Registry();
    Registry(Registry&&) noexcept;
    Registry& operator=(Registry&&) noexcept;
    Registry(const Registry&) = delete;
    Registry& operator=(const Registry&) = delete;

    // $KESTROVA_REGISTRY, else $XDG_CONFIG_HOME/kestrova/registry.reg, else
    // $HOME/.config/kestrova/registry.reg.
    static std::string DefaultHivePath();

    const std::string& HiveFile() const { return hiveFile_; }

    // Reads the hive. "" when fine; a missing file is an empty hive. A
    // damaged hive is renamed aside (".damaged", ".damaged-2", ... never over
    // an earlier one), the registry starts empty and the result is a
    // sentence naming the hive, where it went and the faulty line. Nothing
    // is written until the next change. Temporary files left by a save that
    // was killed are removed.
    std::string Load();

    // Takes <prefix>/user.reg as HKEY_CURRENT_USER and <prefix>/system.reg as
    // HKEY_LOCAL_MACHINE, read-only, beneath the own hive. "" when fine, else
    // a warning sentence; a damaged file is ignored and never touched.
    std::string SetWineOverlay(const std::string& prefixHostFolder);

    // Own hive first, then the overlay. A text of REG_SZ (or REG_EXPAND_SZ,
    // unexpanded); "" when absent or of another type.
    std::string getstring(RegistryRoot root, const std::string& key, const std::string& name) const;
    // Own hive first, then the overlay; 0 when absent or of another type.
    std::uint32_t getdword(RegistryRoot root, const std::string& key, const std::string& name) const;

    // Create the key (and its parents) when needed and store the value,
    // replacing one of the same name whatever its type. Throws Error when a
    // name holds a line break or the hive cannot be saved.
    void savestring(RegistryRoot root, const std::string& key, const std::string& name, const std::string& text);
    void SaveDword(RegistryRoot root, const std::string& key, const std::string& name, std::uint32_t value);

    // Removes the key with all its subkeys from the own hive. A root itself
    // (an empty key path) is never removed, as on Windows.
    void DeleteKey(RegistryRoot root, const std::string& key);
    void DeleteValue(RegistryRoot root, const std::string& key, const std::string& name);

    // In the own hive or the overlay.
    bool KeyExists(RegistryRoot root, const std::string& key) const;
    // Names of the own hive's values of the key, in stored order.
    std::vector<std::string> ValueNames(RegistryRoot root, const std::string& key) const;

    // What "regedit /S file.reg" does with a REGEDIT4 file: "[KEY]" creates,
    // "[-KEY]" removes a key tree, "name"="text", "name"=dword:0000000a,
    // "name"=hex...: store, "name"=- removes a value, "@" is the default
    // value. Roots HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE, HKEY_CLASSES_ROOT
    // or HKCU, HKLM, HKCR. Changes the own hive only. "" when done, else a
    // sentence naming the file and line of the fault, and nothing is changed.
    std::string ImportRegFile(const std::string& hostPath);

    // Writes the hive atomically: a temporary file in the same folder is
    // written, flushed to disk and renamed over the hive, and the folder is
    // flushed. Makes the folder. Throws Error naming the file on failure.
    void Save() const;

    // While one exists, changes are not saved one by one; when the last one
    // ends the hive is saved once if anything changed.
    class DeferSave {
    public:
        explicit DeferSave(Registry& registry);
        ~DeferSave() noexcept(false);
        DeferSave(const DeferSave&) = delete;
        DeferSave& operator=(const DeferSave&) = delete;

    private:
        Registry& registry_;
        int uncaughtAtStart_;
    };

private:
    void Changed();
    void RemoveStaleTemporaryFiles() const;

    std::string hiveFile_;
    std::unique_ptr<RegistryTree> own_;
    std::unique_ptr<RegistryTree> overlay_;
    int deferDepth_ = 0;
    mutable bool unsaved_ = false;
};

}  // namespace kestrova::platform
