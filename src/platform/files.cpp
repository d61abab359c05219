// File services on drive paths: see files.h. Whole-file reads and writes go
// through POSIX descriptors so that a failure can name the OS reason and a
// write can be flushed to disk; folder walks use std::filesystem.
#include "platform/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "platform/error.h"
#include "platform/terminal.h"
#include "platform/text.h"

namespace kestrova::platform {

namespace fs = std::filesystem;

namespace {

std::string Reason(int error) { return std::generic_category().message(error); }

// "Cannot read "K:\JOB\A.TXT" (host "/tmp/job/A.TXT"): No such file or directory"
std::string Sentence(const std::string& what, const std::string& path, const std::string& host,
                     const std::string& reason) {
    return what + " \"" + path + "\" (host \"" + host + "\"): " + reason;
}

[[noreturn]] void Fail(const std::string& what, const std::string& path, const std::string& host, int error) {
    throw Error(Sentence(what, path, host, Reason(error)));
}

[[noreturn]] void Fail(const std::string& what, const std::string& path, const std::string& host,
                       const std::error_code& ec) {
    throw Error(Sentence(what, path, host, ec.message()));
}

// Closes the descriptor when it leaves scope unless Close() took it first.
class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    ~Descriptor() {
        if (fd_ >= 0) ::close(fd_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return fd_; }
    bool IsOpen() const { return fd_ >= 0; }
    // The errno of a failed close, 0 on success.
    int Close() {
        const int fd = fd_;
        fd_ = -1;
        return ::close(fd) == 0 ? 0 : errno;
    }

private:
    int fd_;
};

int OpenRetrying(const std::string& host, int flags, mode_t mode = 0666) {
    int fd;
    do {
        fd = ::open(host.c_str(), flags | O_CLOEXEC, mode);
    } while (fd < 0 && errno == EINTR);
    return fd;
}

// Writes every byte; returns 0 or the errno of the failed write.
int WriteAll(int fd, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR) continue;
            return errno;
        }
        data += written;
        size -= static_cast<std::size_t>(written);
    }
    return 0;
}

// The last component of a Windows path as the caller spelled it.
std::string SpelledName(const std::string& windowsPath) {
    const auto cut = windowsPath.find_last_of("\\/");
    return cut == std::string::npos ? windowsPath.substr(2) : windowsPath.substr(cut + 1);
}

// "*" any run and "?" exactly one character, ASCII case folded.
bool MatchPlain(const std::string& name, const std::string& pattern) {
    std::size_t n = 0;
    std::size_t p = 0;
    std::size_t starPattern = std::string::npos;
    std::size_t starName = 0;
    while (n < name.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            starPattern = p++;
            starName = n;
        } else if (p < pattern.size() && (pattern[p] == '?' || UpperLetter(pattern[p]) == UpperLetter(name[n]))) {
            ++p;
            ++n;
        } else if (starPattern != std::string::npos) {
            p = starPattern + 1;
            n = ++starName;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == '*') ++p;
    return p == pattern.size();
}

bool IsMountedFolder(const std::string& host) {
    std::error_code ec;
    return fs::is_directory(host, ec);
}

std::string HomeSubfolder(const std::string& name) {
    const std::string home = HomeFolder();
    const std::string candidate = (home == "/" ? "" : home) + "/" + name;
    return IsMountedFolder(candidate) ? candidate : home;
}

DriveType TypeOfKind(DriveKind kind) {
    switch (kind) {
        case DriveKind::Fixed: return DriveType::Fixed;
        case DriveKind::CDRom: return DriveType::CDRom;
        case DriveKind::Removable: return DriveType::Removable;
        case DriveKind::Network: return DriveType::Remote;
        case DriveKind::RamDisk: return DriveType::RamDisk;
    }
    return DriveType::Unknown;
}

// The mapping of the path's drive, null when the drive is not mapped. A path
// without a drive is a fault of the caller and throws.
const DriveMapping* FindDrive(const PathSpace& paths, const std::string& path) {
    if (!PathSpace::IsDrivePath(path)) {
        throw Error("\"" + path + "\" is not a drive path (expected a letter, a colon and a folder)");
    }
    const char upper = UpperLetter(path[0]);
    for (const auto& drive : paths.Drives()) {
        if (drive.Letter == upper) return &drive;
    }
    return nullptr;
}

}  // namespace

bool MatchesWildcard(const std::string& name, const std::string& pattern) {
    if (pattern.empty()) return false;
    if (MatchPlain(name, pattern)) return true;
    // A closing ".*" may match an empty extension: "*.*" lists "README" and
    // "VTS_01.*" finds "VTS_01".
    if (pattern.size() >= 2 && pattern.compare(pattern.size() - 2, 2, ".*") == 0 &&
        MatchPlain(name, pattern.substr(0, pattern.size() - 2))) {
        return true;
    }
    // A closing "." asks for a name without an extension: "*." lists "README".
    if (pattern.size() >= 2 && pattern.back() == '.' && name.find('.') == std::string::npos) {
        return MatchPlain(name, pattern.substr(0, pattern.size() - 1));
    }
    return false;
}

bool FileSystem::FileExists(const std::string& path) const {
    if (FindDrive(paths_, path) == nullptr) return false;
    std::error_code ec;
    return fs::is_regular_file(ToHost(path), ec);
}

bool FileSystem::FolderExists(const std::string& path) const {
    if (FindDrive(paths_, path) == nullptr) return false;
    std::error_code ec;
    return fs::is_directory(ToHost(path), ec);
}

bool FileSystem::Exists(const std::string& path) const {
    if (FindDrive(paths_, path) == nullptr) return false;
    std::error_code ec;
    return fs::exists(ToHost(path), ec);
}

std::uint64_t FileSystem::FileSize(const std::string& path) const {
    const std::string host = ToHost(path);
    struct stat info {};
    if (::stat(host.c_str(), &info) != 0) Fail("Cannot find the size of", path, host, errno);
    if (!S_ISREG(info.st_mode)) Fail("Cannot find the size of", path, host, EISDIR);
    return static_cast<std::uint64_t>(info.st_size);
}

std::uint64_t FileSystem::DirectorySize(const std::string& folder) const {
    const std::string host = ToHost(folder);
    std::uint64_t total = 0;
    std::error_code ec;
    fs::recursive_directory_iterator it(host, fs::directory_options::skip_permission_denied, ec);
    for (fs::recursive_directory_iterator end; !ec && it != end; it.increment(ec)) {
        std::error_code entryError;
        if (it->is_regular_file(entryError)) {
            const auto size = it->file_size(entryError);
            if (!entryError) total += size;
        }
    }
    return total;
}

void FileSystem::MakeFolder(const std::string& path) const {
    const std::string host = ToHost(path);
    std::error_code ec;
    fs::create_directories(host, ec);
    if (ec) Fail("Cannot make the folder", path, host, ec);
    if (!IsMountedFolder(host)) Fail("Cannot make the folder", path, host, EEXIST);
}

void FileSystem::DeleteTree(const std::string& path) const {
    const std::string host = ToHost(path);
    bool isRoot = host == "/";
    for (const auto& drive : paths_.Drives()) isRoot = isRoot || host == drive.HostRoot;
    if (isRoot) {
        throw Error(Sentence("Refusing to delete", path, host, "it is a drive root, not a job folder"));
    }
    std::error_code ec;
    if (!fs::exists(fs::symlink_status(host, ec))) return;
    fs::remove_all(host, ec);
    if (ec) Fail("Cannot delete the folder", path, host, ec);
}

void FileSystem::DeleteFile(const std::string& path) const {
    const std::string host = ToHost(path);
    if (::unlink(host.c_str()) != 0 && errno != ENOENT) Fail("Cannot delete the file", path, host, errno);
}

void FileSystem::CopyFile(const std::string& from, const std::string& to, bool overwrite) const {
    const std::string source = ToHost(from);
    const std::string target = ToHost(to);
    std::error_code ec;
    if (!fs::is_regular_file(source, ec)) {
        Fail("Cannot copy", from, source, fs::is_directory(source, ec) ? EISDIR : ENOENT);
    }
    if (fs::exists(target, ec)) {
        if (!overwrite) Fail("Cannot copy \"" + from + "\" onto", to, target, EEXIST);
        if (fs::equivalent(source, target, ec)) {
            throw Error(Sentence("Cannot copy \"" + from + "\" onto", to, target, "it is the same file"));
        }
    }
    fs::copy_file(source, target, fs::copy_options::overwrite_existing, ec);
    if (ec) {
        std::error_code ignored;
        if (fs::is_regular_file(target, ignored)) fs::remove(target, ignored);
        Fail("Cannot copy \"" + from + "\" to", to, target, ec);
    }
}

void FileSystem::MoveFile(const std::string& from, const std::string& to) const {
    const std::string source = ToHost(from);
    std::string target = ToHost(to);
    std::error_code ec;
    const auto sourceStatus = fs::symlink_status(source, ec);
    if (!fs::exists(sourceStatus)) Fail("Cannot move", from, source, ENOENT);
    if (target == source) {
        // The lookup found the source itself: only the case of the name changes.
        const fs::path spelled = fs::path(target).parent_path() / SpelledName(to);
        if (spelled.string() == source) return;
        target = spelled.string();
    }
    if (::rename(source.c_str(), target.c_str()) == 0) return;
    if (errno != EXDEV) Fail("Cannot move \"" + from + "\" to", to, target, errno);

    // Another file system: copy, then remove the source only once the copy is whole.
    if (fs::is_directory(sourceStatus)) {
        fs::copy(source, target, fs::copy_options::recursive | fs::copy_options::overwrite_existing, ec);
    } else {
        fs::copy_file(source, target, fs::copy_options::overwrite_existing, ec);
    }
    if (ec) {
        std::error_code ignored;
        if (!fs::is_directory(sourceStatus)) fs::remove(target, ignored);
        Fail("Cannot copy (to move) \"" + from + "\" to", to, target, ec);
    }
    fs::remove_all(source, ec);
    if (ec) Fail("Moved to \"" + to + "\" but cannot remove the source", from, source, ec);
}

std::vector<std::string> FileSystem::List(const std::string& folder, const std::string& pattern,
                                          ListKind kind) const {
    const std::string host = ToHost(folder);
    std::vector<std::string> names;
    std::error_code ec;
    for (fs::directory_iterator it(host, ec), end; !ec && it != end; it.increment(ec)) {
        std::error_code entryError;
        const bool wanted = kind == ListKind::Folders ? it->is_directory(entryError) : it->is_regular_file(entryError);
        if (!wanted || entryError) continue;
        std::string name = it->path().filename().string();
        if (MatchesWildcard(name, pattern)) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end(), [](const std::string& a, const std::string& b) {
        const std::string upperA = ToUpperAscii(a);
        const std::string upperB = ToUpperAscii(b);
        return upperA != upperB ? upperA < upperB : a < b;
    });
    return names;
}

std::vector<std::uint8_t> FileSystem::ReadBytes(const std::string& path) const {
    const std::string host = ToHost(path);
    Descriptor file(OpenRetrying(host, O_RDONLY));
    if (!file.IsOpen()) Fail("Cannot open", path, host, errno);
    struct stat info {};
    if (::fstat(file.Get(), &info) != 0) Fail("Cannot read", path, host, errno);
    if (S_ISDIR(info.st_mode)) Fail("Cannot read", path, host, EISDIR);

    std::vector<std::uint8_t> bytes;
    if (S_ISREG(info.st_mode)) bytes.reserve(static_cast<std::size_t>(info.st_size));
    std::uint8_t buffer[65536];
    for (;;) {
        const ssize_t got = ::read(file.Get(), buffer, sizeof buffer);
        if (got < 0) {
            if (errno == EINTR) continue;
            Fail("Cannot read", path, host, errno);
        }
        if (got == 0) break;
        bytes.insert(bytes.end(), buffer, buffer + got);
    }
    return bytes;
}

std::string FileSystem::ReadText(const std::string& path) const {
    const auto bytes = ReadBytes(path);
    return std::string(bytes.begin(), bytes.end());
}

std::vector<std::string> FileSystem::ReadLines(const std::string& path) const {
    const std::string text = ReadText(path);
    std::vector<std::string> lines;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t end = text.find('\n', start);
        const std::size_t next = end == std::string::npos ? text.size() : end + 1;
        if (end == std::string::npos) end = text.size();
        std::size_t stop = end;
        if (stop > start && text[stop - 1] == '\r') --stop;
        lines.push_back(text.substr(start, stop - start));
        start = next;
    }
    return lines;
}

void FileSystem::WriteFileAtomic(const std::string& path, const std::string& bytes, Flush flush) const {
    const std::string host = ToHost(path);
    const fs::path target(host);
    const std::string folder = target.parent_path().string();
    // A hidden name beside the target, so the rename stays on one file system.
    static unsigned counter = 0;
    const std::string base = target.filename().string().substr(0, 180);
    std::string temp;
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        temp = folder + "/." + base + ".tmp" + std::to_string(::getpid()) + "-" + std::to_string(++counter);
        fd = OpenRetrying(temp, O_WRONLY | O_CREAT | O_EXCL);
        if (fd < 0 && errno != EEXIST) Fail("Cannot make a temporary file to write", path, temp, errno);
    }
    if (fd < 0) Fail("Cannot make a temporary file to write", path, temp, EEXIST);

    Descriptor file(fd);
    int error = WriteAll(file.Get(), bytes.data(), bytes.size());
    std::string step = "Cannot write";
    if (error == 0 && flush == Flush::ToDisk && ::fsync(file.Get()) != 0) {
        error = errno;
        step = "Cannot flush to disk";
    }
    if (const int closeError = file.Close(); error == 0 && closeError != 0) {
        error = closeError;
        step = "Cannot close";
    }
    if (error == 0 && ::rename(temp.c_str(), host.c_str()) != 0) {
        error = errno;
        step = "Cannot replace";
    }
    if (error != 0) {
        ::unlink(temp.c_str());
        Fail(step, path, host, error);
    }

    // The rename itself is durable only once the folder is flushed.
    if (flush == Flush::No) return;
    Descriptor directory(OpenRetrying(folder, O_RDONLY | O_DIRECTORY));
    if (directory.IsOpen() && ::fsync(directory.Get()) != 0 && errno != EINVAL && errno != EROFS) {
        Fail("Cannot flush the folder of", path, host, errno);
    }
}

void FileSystem::WriteText(const std::string& path, const std::string& text) const {
    const std::string host = ToHost(path);
    Descriptor file(OpenRetrying(host, O_WRONLY | O_CREAT | O_TRUNC));
    if (!file.IsOpen()) Fail("Cannot open for writing", path, host, errno);
    if (const int error = WriteAll(file.Get(), text.data(), text.size()); error != 0) {
        Fail("Cannot write", path, host, error);
    }
    if (const int error = file.Close(); error != 0) Fail("Cannot close", path, host, error);
}

void FileSystem::AppendLine(const std::string& path, const std::string& text) const {
    const std::string host = ToHost(path);
    Descriptor file(OpenRetrying(host, O_WRONLY | O_CREAT | O_APPEND));
    if (!file.IsOpen()) Fail("Cannot open for appending", path, host, errno);
    const std::string line = text + "\r\n";
    if (const int error = WriteAll(file.Get(), line.data(), line.size()); error != 0) {
        Fail("Cannot append to", path, host, error);
    }
    if (const int error = file.Close(); error != 0) Fail("Cannot close", path, host, error);
}

std::uint64_t FileSystem::FreeBytes(const std::string& root) const {
    const std::string host = ToHost(root);
    struct statvfs info {};
    if (::statvfs(host.c_str(), &info) != 0) Fail("Cannot find the free space of", root, host, errno);
    return static_cast<std::uint64_t>(info.f_bavail) * static_cast<std::uint64_t>(info.f_frsize);
}

std::string FileSystem::VolumeName(const std::string& root) const {
    const DriveMapping* drive = FindDrive(paths_, root);
    if (drive == nullptr) {
        throw Error("Drive " + std::string(1, UpperLetter(root[0])) + ": of \"" + root +
                    "\" is not mapped to a host folder, so it has no volume name");
    }
    if (drive->HostRoot == "/") return "";
    return ToUpperAscii(fs::path(drive->HostRoot).filename().string());
}

std::vector<DriveInfo> FileSystem::Drives() const {
    std::vector<DriveInfo> drives;
    for (const auto& drive : paths_.Drives()) {
        DriveInfo info;
        info.Root = std::string(1, drive.Letter) + ":\\";
        info.Type = IsMountedFolder(drive.HostRoot) ? TypeOfKind(drive.Kind) : DriveType::NoRootDir;
        drives.push_back(info);
    }
    return drives;
}

std::string FileSystem::DocumentsFolder() const { return paths_.ToWindows(HomeSubfolder("Documents")); }

std::string FileSystem::DesktopFolder() const { return paths_.ToWindows(HomeSubfolder("Desktop")); }

}  // namespace kestrova::platform
