// Drive-letter path space: see path_space.h.
#include "platform/path_space.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/error.h"

namespace kestrova::platform {

namespace fs = std::filesystem;

namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

std::vector<std::string> SplitComponents(const std::string& rest) {
    std::vector<std::string> parts;
    std::string current;
    for (char c : rest) {
        if (c == '\\' || c == '/') {
            if (!current.empty()) parts.push_back(current);
            current.clear();
        } else {
            current += c;
        }
    }
    if (!current.empty()) parts.push_back(current);
    std::vector<std::string> folded;
    for (auto& part : parts) {
        if (part == ".") continue;
        if (part == "..") {
            if (!folded.empty()) folded.pop_back();
            continue;
        }
        folded.push_back(part);
    }
    return folded;
}

// "/tmp//job/../job/" and "/tmp/job" name one root; ToWindows compares
// normalised host paths against it, so it is kept normalised too.
std::string TrimRoot(const std::string& hostRoot) {
    std::string root = fs::path(hostRoot).lexically_normal().string();
    while (root.size() > 1 && root.back() == '/') root.pop_back();
    return root;
}

DriveKind KindFromWord(const std::string& word, const std::string& entry) {
    const std::string w = ToUpperAscii(word);
    if (w == "FIXED") return DriveKind::Fixed;
    if (w == "CDROM") return DriveKind::CDRom;
    if (w == "REMOVABLE") return DriveKind::Removable;
    if (w == "NETWORK") return DriveKind::Network;
    if (w == "RAMDISK") return DriveKind::RamDisk;
    throw Error("Drive map entry \"" + entry + "\" has an unknown drive kind \"" + word +
                "\" (expected fixed, cdrom, removable, network or ramdisk)");
}

const char* KindWord(DriveKind kind) {
    switch (kind) {
        case DriveKind::Fixed: return "fixed";
        case DriveKind::CDRom: return "cdrom";
        case DriveKind::Removable: return "removable";
        case DriveKind::Network: return "network";
        case DriveKind::RamDisk: return "ramdisk";
    }
    return "fixed";
}

}  // namespace

PathSpace::PathSpace() { drives_.push_back({'Z', "/", DriveKind::Fixed}); }

PathSpace PathSpace::FromEnvironment() {
    PathSpace space;
    if (const char* list = std::getenv("KESTROVA_DRIVES"); list != nullptr && *list != '\0') {
        space.AddDrives(list);
    }
    return space;
}

void PathSpace::MapDrive(char letter, const std::string& hostRoot, DriveKind kind) {
    if (!IsLetter(letter)) throw Error(std::string("Drive letter \"") + letter + "\" is not a letter");
    if (hostRoot.empty() || hostRoot.front() != '/') {
        throw Error(std::string("Drive ") + UpperLetter(letter) + ": must map to an absolute host folder, not \"" +
                    hostRoot + "\"");
    }
    const char upper = UpperLetter(letter);
    DriveMapping mapping{upper, TrimRoot(hostRoot), kind};
    for (auto& drive : drives_) {
        if (drive.Letter == upper) {
            drive = mapping;
            return;
        }
    }
    drives_.push_back(mapping);
    std::sort(drives_.begin(), drives_.end(),
              [](const DriveMapping& a, const DriveMapping& b) { return a.Letter < b.Letter; });
}

void PathSpace::AddDrives(const std::string& list) {
    std::size_t start = 0;
    while (start <= list.size()) {
        std::size_t end = list.find(';', start);
        if (end == std::string::npos) end = list.size();
        std::string entry = list.substr(start, end - start);
        start = end + 1;
        if (entry.empty()) continue;
        if (entry.size() < 4 || !IsLetter(entry[0]) || entry.compare(1, 2, ":=") != 0) {
            throw Error("Drive map entry \"" + entry + "\" is not of the form LETTER:=/host/folder");
        }
        std::string root = entry.substr(3);
        DriveKind kind = DriveKind::Fixed;
        if (auto at = root.rfind('@'); at != std::string::npos) {
            kind = KindFromWord(root.substr(at + 1), entry);
            root.erase(at);
        }
        MapDrive(entry[0], root, kind);
    }
}

std::string PathSpace::DriveList() const {
    std::string list;
    for (const auto& drive : drives_) {
        if (!list.empty()) list += ';';
        list += drive.Letter;
        list += ":=" + drive.HostRoot + "@" + KindWord(drive.Kind);
    }
    return list;
}

bool PathSpace::IsDrivePath(const std::string& windowsPath) {
    return windowsPath.size() >= 2 && IsLetter(windowsPath[0]) && windowsPath[1] == ':';
}

const DriveMapping* PathSpace::Find(char letter) const {
    const char upper = UpperLetter(letter);
    for (const auto& drive : drives_) {
        if (drive.Letter == upper) return &drive;
    }
    return nullptr;
}

std::string PathSpace::ToHost(const std::string& windowsPath) const {
    if (!IsDrivePath(windowsPath)) {
        throw Error("\"" + windowsPath + "\" is not a drive path (expected a letter, a colon and a folder)");
    }
    const DriveMapping* drive = Find(windowsPath[0]);
    if (drive == nullptr) {
        throw Error("Drive " + std::string(1, UpperLetter(windowsPath[0])) + ": of \"" + windowsPath +
                    "\" is not mapped to a host folder (see KESTROVA_DRIVES)");
    }
    fs::path host(drive->HostRoot);
    bool stillExists = true;
    for (const auto& part : SplitComponents(windowsPath.substr(2))) {
        fs::path exact = host / part;
        std::error_code ec;
        if (!stillExists || fs::exists(fs::symlink_status(exact, ec))) {
            host = exact;
            continue;
        }
        // Windows finds "vts_01_0.ifo" when the disc says "VTS_01_0.IFO".
        std::string match;
        for (fs::directory_iterator it(host, ec), end; !ec && it != end; it.increment(ec)) {
            const std::string name = it->path().filename().string();
            if (EqualsIgnoreCase(name, part)) {
                match = name;
                break;
            }
        }
        if (match.empty()) {
            stillExists = false;
            host = exact;
        } else {
            host /= match;
        }
    }
    return host.string();
}

std::string PathSpace::ToWindows(const std::string& hostPath) const {
    std::error_code ec;
    fs::path absolute = fs::absolute(fs::path(hostPath), ec);
    if (ec) throw Error("Cannot make \"" + hostPath + "\" an absolute path: " + ec.message());
    absolute = absolute.lexically_normal();
    std::string text = absolute.string();
    while (text.size() > 1 && text.back() == '/') text.pop_back();

    const DriveMapping* best = nullptr;
    for (const auto& drive : drives_) {
        const std::string& root = drive.HostRoot;
        const bool holds = root == "/" || text == root ||
                           (text.size() > root.size() && text.compare(0, root.size(), root) == 0 &&
                            text[root.size()] == '/');
        if (holds && (best == nullptr || root.size() > best->HostRoot.size())) best = &drive;
    }
    if (best == nullptr) throw Error("Host path \"" + hostPath + "\" lies on no mapped drive (see KESTROVA_DRIVES)");

    std::string rest = best->HostRoot == "/" ? text.substr(1) : text.substr(best->HostRoot.size());
    if (!rest.empty() && rest.front() == '/') rest.erase(0, 1);
    std::replace(rest.begin(), rest.end(), '/', '\\');
    return std::string(1, best->Letter) + ":\\" + rest;
}

}  // namespace kestrova::platform
