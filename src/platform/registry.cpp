// The registry hive, its Wine overlay and its atomic save: see registry.h.
#include "platform/registry.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "platform/error.h"
#include "platform/registry_text.h"
#include "platform/terminal.h"

namespace kestrova::platform {

namespace fs = std::filesystem;

namespace {

// Name part that marks a save in progress: "<hive>.saving-<process id>".
constexpr const char* kSavingMark = ".saving-";

struct Location {
    HiveRoot Root;
    std::vector<std::string> Path;
};

Location Locate(RegistryRoot root, const std::string& key) {
    std::vector<std::string> path = SplitKeyPath(key);
    if (root == RegistryRoot::CurrentUser) return {HiveRoot::CurrentUser, std::move(path)};
    if (root == RegistryRoot::LocalMachine) return {HiveRoot::LocalMachine, std::move(path)};
    std::vector<std::string> full = ClassesRootPrefix();
    full.insert(full.end(), path.begin(), path.end());
    return {HiveRoot::LocalMachine, std::move(full)};
}

const RegistryValue* FindValueIn(const RegistryTree& tree, const Location& where, const std::string& name) {
    const RegistryKey* key = tree.Find(where.Root, where.Path);
    return key == nullptr ? nullptr : key->FindValue(name);
}

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

std::string SystemReason(int error) { return std::strerror(error); }

void CheckName(const std::string& text, const char* what) {
    if (text.find_first_of("\r\n") != std::string::npos)
        throw Error("The registry " + std::string(what) + " " + Quoted(text) + " holds a line break, which a key "
                    "or value name cannot hold");
}

enum class ReadResult { Read, Missing, Failed };

ReadResult ReadWholeFile(const std::string& path, std::string& text, std::string& reason) {
    std::error_code ec;
    const fs::file_status status = fs::status(path, ec);
    if (!fs::exists(status)) return ReadResult::Missing;
    if (!fs::is_regular_file(status)) {
        reason = "it is not a file";
        return ReadResult::Failed;
    }
    std::ifstream in(path, std::ios::binary);
    if (!in) {
        reason = SystemReason(errno);
        return ReadResult::Failed;
    }
    std::ostringstream bytes;
    bytes << in.rdbuf();
    if (in.bad()) {
        reason = "a read failed";
        return ReadResult::Failed;
    }
    text = bytes.str();
    return ReadResult::Read;
}

// Moves a damaged hive to the first free "<hive>.damaged", ".damaged-2", ...
// A hard link refuses to replace an existing name, so an earlier copy is
// never overwritten even by a second process; where links are not possible
// the name is tested first.
std::string MoveAside(const std::string& hive, std::string& reason) {
    for (int number = 1; number < 10000; ++number) {
        const std::string target = hive + ".damaged" + (number == 1 ? std::string() : "-" + std::to_string(number));
        if (::link(hive.c_str(), target.c_str()) == 0) {
            if (::unlink(hive.c_str()) != 0) {
                reason = SystemReason(errno);
                return "";
            }
            return target;
        }
        if (errno == EEXIST) continue;
        std::error_code ec;
        if (fs::exists(target, ec)) continue;
        if (::rename(hive.c_str(), target.c_str()) == 0) return target;
        reason = SystemReason(errno);
        return "";
    }
    reason = "every name for a copy is taken";
    return "";
}

// 0 when all bytes went out, else the error number.
int WriteAll(int fd, const std::string& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        done += static_cast<std::size_t>(written);
    }
    return 0;
}

void SyncFolder(const std::string& folder) {
    const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0) return;  // the rename stands; only its durability is less sure
    ::fsync(fd);
    ::close(fd);
}

}  // namespace

Registry::Registry(std::string hiveFile)
    : hiveFile_(std::move(hiveFile)),
      own_(std::make_unique<RegistryTree>()),
      overlay_(std::make_unique<RegistryTree>()) {}

Registry::~Registry() = default;
Registry::Registry(Registry&&) noexcept = default;
Registry& Registry::operator=(Registry&&) noexcept = default;

std::string Registry::DefaultHivePath() {
    if (const char* path = std::getenv("KESTROVA_REGISTRY"); path != nullptr && *path != '\0') return path;
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config != nullptr && *config != '\0')
        return std::string(config) + "/kestrova/registry.reg";
    const std::string home = HomeFolder();
    return (home == "/" ? "" : home) + "/.config/kestrova/registry.reg";
}

std::string Registry::Load() {
    own_->Clear();
    unsaved_ = false;
    RemoveStaleTemporaryFiles();
    std::string text;
    std::string reason;
    std::string fault;
    switch (ReadWholeFile(hiveFile_, text, reason)) {
        case ReadResult::Missing:
            return "";
        case ReadResult::Failed:
            fault = "cannot be read (" + reason + ")";
            break;
        case ReadResult::Read:
            try {
                ApplyChanges(*own_, ReadRegedit4(text, true));
                return "";
            } catch (const RegistryTextFault& bad) {
                own_->Clear();
                fault = "is damaged at line " + std::to_string(bad.Line) + " (" + bad.What + ")";
            }
            break;
    }
    const std::string target = MoveAside(hiveFile_, reason);
    if (target.empty())
        return "The registry hive " + Quoted(hiveFile_) + " " + fault + " and could not be moved aside (" + reason +
               "); the settings start from their defaults and the hive will be replaced at the next change.";
    return "The registry hive " + Quoted(hiveFile_) + " " + fault + "; it was moved to " + Quoted(target) +
           " and the settings start from their defaults.";
}

void Registry::RemoveStaleTemporaryFiles() const {
    const fs::path hive(hiveFile_);
    const std::string prefix = hive.filename().string() + kSavingMark;
    fs::path folder = hive.parent_path();
    if (folder.empty()) folder = ".";
    std::error_code ec;
    for (fs::directory_iterator it(folder, ec), end; !ec && it != end; it.increment(ec)) {
        const std::string name = it->path().filename().string();
        if (name.compare(0, prefix.size(), prefix) != 0) continue;
        const std::string digits = name.substr(prefix.size());
        if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos || digits.size() > 9)
            continue;
        const pid_t owner = static_cast<pid_t>(std::stol(digits));
        // A save of a live process must not lose its file; ours is never in
        // the middle of a save here.
        const bool stale = owner == ::getpid() || (::kill(owner, 0) != 0 && errno == ESRCH);
        if (stale) fs::remove(it->path(), ec);
    }
}

std::string Registry::SetWineOverlay(const std::string& prefixHostFolder) {
    overlay_->Clear();
    std::error_code ec;
    if (!fs::is_directory(prefixHostFolder, ec))
        return "The Wine prefix folder " + Quoted(prefixHostFolder) +
               " does not exist; no values of Wine's registry are read.";
    std::string warnings;
    const struct {
        const char* File;
        HiveRoot Root;
    } parts[] = {{"user.reg", HiveRoot::CurrentUser}, {"system.reg", HiveRoot::LocalMachine}};
    for (const auto& part : parts) {
        const std::string path = (fs::path(prefixHostFolder) / part.File).string();
        std::string text;
        std::string reason;
        std::string warning;
        switch (ReadWholeFile(path, text, reason)) {
            case ReadResult::Missing:
                continue;
            case ReadResult::Failed:
                warning = "The Wine registry file " + Quoted(path) + " cannot be read (" + reason + "); it is ignored.";
                break;
            case ReadResult::Read: {
                RegistryTree read;
                try {
                    ReadWineRegistry(text, read.Root(part.Root));
                    std::swap(overlay_->Root(part.Root), read.Root(part.Root));
                } catch (const RegistryTextFault& bad) {
                    warning = "The Wine registry file " + Quoted(path) + " is damaged at line " +
                              std::to_string(bad.Line) + " (" + bad.What + "); it is ignored.";
                }
                break;
            }
        }
        if (!warning.empty()) warnings += (warnings.empty() ? "" : " ") + warning;
    }
    return warnings;
}

std::string Registry::getstring(RegistryRoot root, const std::string& key, const std::string& name) const {
    const Location where = Locate(root, key);
    const RegistryValue* value = FindValueIn(*own_, where, name);
    if (value == nullptr) value = FindValueIn(*overlay_, where, name);
    if (value == nullptr) return "";
    const bool isText = value->Kind == RegistryValueKind::String || value->Kind == RegistryValueKind::ExpandString;
    return isText ? value->Text : "";
}

std::uint32_t Registry::getdword(RegistryRoot root, const std::string& key, const std::string& name) const {
    const Location where = Locate(root, key);
    const RegistryValue* value = FindValueIn(*own_, where, name);
    if (value == nullptr) value = FindValueIn(*overlay_, where, name);
    return value != nullptr && value->Kind == RegistryValueKind::Dword ? value->Number : 0;
}

void Registry::savestring(RegistryRoot root, const std::string& key, const std::string& name,
                          const std::string& text) {
    CheckName(key, "key");
    CheckName(name, "value name");
    const Location where = Locate(root, key);
    RegistryValue value;
    value.Name = name;
    value.Kind = RegistryValueKind::String;
    value.Text = text;
    own_->Make(where.Root, where.Path).SetValue(std::move(value));
    Changed();
}

void Registry::SaveDword(RegistryRoot root, const std::string& key, const std::string& name, std::uint32_t number) {
    CheckName(key, "key");
    CheckName(name, "value name");
    const Location where = Locate(root, key);
    RegistryValue value;
    value.Name = name;
    value.Kind = RegistryValueKind::Dword;
    value.Number = number;
    own_->Make(where.Root, where.Path).SetValue(std::move(value));
    Changed();
}

void Registry::DeleteKey(RegistryRoot root, const std::string& key) {
    if (SplitKeyPath(key).empty()) return;
    const Location where = Locate(root, key);
    if (own_->Remove(where.Root, where.Path)) Changed();
}

void Registry::DeleteValue(RegistryRoot root, const std::string& key, const std::string& name) {
    const Location where = Locate(root, key);
    RegistryKey* found = own_->Find(where.Root, where.Path);
    if (found != nullptr && found->RemoveValue(name)) Changed();
}

bool Registry::KeyExists(RegistryRoot root, const std::string& key) const {
    const Location where = Locate(root, key);
    return own_->Find(where.Root, where.Path) != nullptr || overlay_->Find(where.Root, where.Path) != nullptr;
}

std::vector<std::string> Registry::ValueNames(RegistryRoot root, const std::string& key) const {
    const Location where = Locate(root, key);
    std::vector<std::string> names;
    if (const RegistryKey* found = own_->Find(where.Root, where.Path))
        for (const RegistryValue& value : found->Values()) names.push_back(value.Name);
    return names;
}

std::string Registry::ImportRegFile(const std::string& hostPath) {
    std::string text;
    std::string reason;
    switch (ReadWholeFile(hostPath, text, reason)) {
        case ReadResult::Missing:
            return "The registry file " + Quoted(hostPath) + " does not exist; nothing was imported.";
        case ReadResult::Failed:
            return "The registry file " + Quoted(hostPath) + " cannot be read (" + reason + "); nothing was imported.";
        case ReadResult::Read:
            break;
    }
    std::vector<RegistryChange> changes;
    try {
        changes = ReadRegedit4(text, false);
    } catch (const RegistryTextFault& bad) {
        return "The registry file " + Quoted(hostPath) + " has a fault at line " + std::to_string(bad.Line) + " (" +
               bad.What + "); nothing was imported.";
    }
    DeferSave once(*this);
    ApplyChanges(*own_, changes);
    unsaved_ = true;
    return "";
}

void Registry::Changed() {
    if (deferDepth_ > 0) {
        unsaved_ = true;
        return;
    }
    Save();
}

void Registry::Save() const {
    const std::string text = WriteRegedit4(*own_);
    fs::path folder = fs::path(hiveFile_).parent_path();
    if (folder.empty()) folder = ".";
    std::error_code ec;
    fs::create_directories(folder, ec);
    if (ec)
        throw Error("Cannot save the registry hive " + Quoted(hiveFile_) + ": its folder " + Quoted(folder.string()) +
                    " cannot be made (" + ec.message() + ")");
    const std::string temporary = hiveFile_ + kSavingMark + std::to_string(::getpid());
    const auto failure = [&](const std::string& step, int error) {
        ::unlink(temporary.c_str());
        return Error("Cannot save the registry hive " + Quoted(hiveFile_) + ": " + step + " " + Quoted(temporary) +
                     " failed (" + SystemReason(error) + ")");
    };
    const int fd = ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (fd < 0) throw failure("making the temporary file", errno);
    if (const int error = WriteAll(fd, text); error != 0) {
        ::close(fd);
        throw failure("writing the temporary file", error);
    }
    if (::fsync(fd) != 0) {
        const int error = errno;
        ::close(fd);
        throw failure("flushing the temporary file", error);
    }
    if (::close(fd) != 0) throw failure("closing the temporary file", errno);
    if (::rename(temporary.c_str(), hiveFile_.c_str()) != 0) throw failure("renaming the temporary file", errno);
    SyncFolder(folder.string());
    unsaved_ = false;
}

Registry::DeferSave::DeferSave(Registry& registry)
    : registry_(registry), uncaughtAtStart_(std::uncaught_exceptions()) {
    ++registry_.deferDepth_;
}

Registry::DeferSave::~DeferSave() noexcept(false) {
    if (--registry_.deferDepth_ > 0 || !registry_.unsaved_) return;
    if (std::uncaught_exceptions() > uncaughtAtStart_) {
        // Leaving by an exception: keep what was changed if possible, but a
        // second exception would end the process.
        try {
            registry_.Save();
        } catch (const Error&) {
        }
        return;
    }
    registry_.Save();
}

}  // namespace kestrova::platform
