// File services on drive paths: wildcards, listing order, trees, atomic
// writes, line files, moves across file systems and the drive list.
#include "platform/files.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// Every name in a host folder, hidden ones included: a leftover temporary file would show here.
Names HostNames(const std::string& folder) {
    Names names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

TEST(Files, WildcardsFollowWindowsRules) {
    // A closing ".*" also matches no extension, a closing "." asks for none; non-ASCII bytes compare as they are.
    const struct {
        const char* name;
        const char* pattern;
        bool matches;
    } cases[] = {
        {"vts_01_1.vob", "*.VOB", true},        {"VTS_01_1.VOB.bak", "*.VOB", false},
        {"README", "*.*", true},                {"VTS_01_0.IFO", "VTS_??_0.IFO", true},
        {"VTS_1_0.IFO", "VTS_??_0.IFO", false}, {"README", "*.", true},
        {"READ.ME", "*.", false},               {"Menü 1.m2v", "MENü*", true},
        {"Menü 1.m2v", "MENÜ*", false},
        {"abXbc", "a*bc", true},                {"ab", "a*b*c", false},
        {"", "*", true},                        {"x", "", false},
    };
    for (const auto& c : cases) EXPECT_EQ(MatchesWildcard(c.name, c.pattern), c.matches) << c.name << " " << c.pattern;
}

TEST(Files, ListingIsCaseInsensitiveSortedAndByKind) {
    test::TempFolder temp;
    for (const char* name : {"b.vob", "A.VOB", "_x.vob", "c.VOB", "Menü 2.vob", "a b.vob", "notes.txt"}) {
        temp.Write(std::string("Disc/") + name, "x");
    }
    fs::create_directories(temp.Host("Disc/D.vob"));
    fs::create_directories(temp.Host("Disc/Sub"));
    const PathSpace space = temp.Drives();
    const FileSystem files(space);
    // Case-folded order puts "_" after the letters and " " before ".", as NTFS does.
    EXPECT_EQ(files.List("k:\\disc", "*.Vob", ListKind::Files),
              (Names{"a b.vob", "A.VOB", "b.vob", "c.VOB", "Menü 2.vob", "_x.vob"}));
    EXPECT_EQ(files.List("K:\\Disc\\", "*.*", ListKind::Folders), (Names{"D.vob", "Sub"}));
    EXPECT_TRUE(files.List("K:\\Missing", "*.*", ListKind::Files).empty());
    EXPECT_TRUE(files.List("K:\\Disc\\notes.txt", "*.*", ListKind::Files).empty());
}

TEST(Files, ExistenceSizesFoldersAndDeletion) {
    test::TempFolder temp;
    temp.Write("Job/A.BIN", std::string(1000, 'a'));
    temp.Write("Job/Sub/Deeper/b.bin", std::string(234, 'b'));
    temp.Write("Job/Sub/c d.bin", "");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);
    EXPECT_TRUE(files.FileExists("K:\\job\\a.bin"));
    EXPECT_FALSE(files.FileExists("K:\\JOB"));
    EXPECT_TRUE(files.FolderExists("K:\\JOB\\sub"));
    EXPECT_FALSE(files.FolderExists("K:\\JOB\\A.BIN"));
    EXPECT_FALSE(files.Exists("Q:\\JOB")) << "an unmapped drive holds nothing";
    EXPECT_THROW(files.Exists("JOB\\A.BIN"), Error);
    EXPECT_EQ(files.FileSize("K:\\Job\\a.bin"), 1000u);
    EXPECT_EQ(files.DirectorySize("K:\\Job"), 1234u);
    EXPECT_EQ(files.DirectorySize("K:\\Missing"), 0u);
    EXPECT_THROW(files.FileSize("K:\\Job\\Sub"), Error);
    try {
        files.ReadBytes("K:\\Job\\none.txt");
        FAIL() << "a missing file was read";
    } catch (const Error& e) {
        EXPECT_NE(std::string(e.what()).find("\"K:\\Job\\none.txt\""), std::string::npos) << e.what();
        EXPECT_NE(std::string(e.what()).find(temp.Host("Job/none.txt")), std::string::npos) << e.what();
    }

    files.MakeFolder("K:\\job\\D_VTS_01_0\\DEMUXED");
    EXPECT_TRUE(fs::is_directory(temp.Host("Job/D_VTS_01_0/DEMUXED"))) << "existing parent reused whatever its case";
    files.MakeFolder("K:\\Job\\D_VTS_01_0");  // already there
    EXPECT_THROW(files.MakeFolder("K:\\Job\\a.bin\\below"), Error);
    files.DeleteTree("K:\\JOB\\sub");
    EXPECT_FALSE(temp.Exists("Job/Sub"));
    files.DeleteTree("K:\\Job\\Sub");  // gone already: nothing happens
    EXPECT_THROW(files.DeleteTree("K:\\"), Error);
    EXPECT_THROW(files.DeleteTree("Z:\\"), Error) << "the host's own root";
    files.DeleteFile("K:\\Job\\A.bin");
    EXPECT_FALSE(temp.Exists("Job/A.BIN"));
    files.DeleteFile("K:\\Job\\a.bin");  // gone already
    EXPECT_THROW(files.DeleteFile("K:\\Job"), Error);
    EXPECT_EQ(HostNames(temp.Host("Job")), Names{"D_VTS_01_0"});
}

TEST(Files, CopyAndMoveKeepReplaceAndChangeCase) {
    test::TempFolder temp;
    temp.Write("a.txt", "new");
    temp.Write("B.txt", "old");
    temp.Write("NEW_M2V/x.m2v", "video");
    temp.Write("FRAMESERVING/old.m2v", "stale");
    temp.Write("FRAMESERVING/Tree/inner.txt", "i");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);
    EXPECT_THROW(files.CopyFile("K:\\a.txt", "K:\\b.TXT", false), Error);
    EXPECT_EQ(temp.Read("B.txt"), "old");
    files.CopyFile("K:\\a.txt", "K:\\b.TXT");
    EXPECT_EQ(temp.Read("B.txt"), "new");
    EXPECT_THROW(files.CopyFile("K:\\a.txt", "K:\\A.txt"), Error);
    EXPECT_EQ(temp.Read("a.txt"), "new") << "copying onto itself must not truncate";
    EXPECT_THROW(files.CopyFile("K:\\missing.txt", "K:\\x.txt"), Error);
    EXPECT_THROW(files.CopyFile("K:\\a.txt", "K:\\NoFolder\\x.txt"), Error);

    files.MoveFile("K:\\new_m2v\\X.M2V", "K:\\FRAMESERVING\\OLD.M2V");
    EXPECT_EQ(temp.Read("FRAMESERVING/old.m2v"), "video");
    files.MoveFile("K:\\a.txt", "K:\\A.TXT");
    files.MoveFile("K:\\FRAMESERVING\\Tree", "K:\\NEW_M2V\\Moved Tree");
    EXPECT_EQ(temp.Read("NEW_M2V/Moved Tree/inner.txt"), "i");
    EXPECT_EQ(HostNames(temp.Host()), (Names{"A.TXT", "B.txt", "FRAMESERVING", "NEW_M2V"})) << "no second spelling";
    EXPECT_EQ(HostNames(temp.Host("NEW_M2V")), Names{"Moved Tree"});
    EXPECT_THROW(files.MoveFile("K:\\nothing", "K:\\x"), Error);
}

TEST(Files, MoveAcrossFileSystemsCopiesThenDeletes) {
    test::TempFolder temp;
    char shm[] = "/dev/shm/kestrova-files-XXXXXX";
    struct stat tempInfo {}, shmInfo {};
    if (::mkdtemp(shm) == nullptr) GTEST_SKIP() << "no /dev/shm";
    if (::stat(temp.Host().c_str(), &tempInfo) != 0 || ::stat(shm, &shmInfo) != 0 ||
        tempInfo.st_dev == shmInfo.st_dev) {
        fs::remove_all(shm);
        GTEST_SKIP() << "/dev/shm is on the same file system as the test folder";
    }
    temp.Write("a.vob", "abc");
    temp.Write("Tree/b.vob", "def");
    PathSpace space = temp.Drives();
    space.MapDrive('R', shm, DriveKind::RamDisk);
    const FileSystem files(space);
    files.MoveFile("K:\\a.vob", "R:\\a.vob");
    files.MoveFile("K:\\Tree", "R:\\Tree");
    EXPECT_TRUE(HostNames(temp.Host()).empty());
    EXPECT_EQ(files.ReadText("R:\\A.VOB") + files.ReadText("R:\\tree\\B.VOB"), "abcdef");
    fs::remove_all(shm);
}

TEST(Files, AtomicWriteReplacesWholeOrNotAtAll) {
    test::TempFolder temp;
    temp.Write("Hive.reg", "old content");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);
    files.WriteFileAtomic("K:\\hive.REG", "new content");
    EXPECT_EQ(temp.Read("Hive.reg"), "new content");

    // The rename fails (a folder stands there): the temporary file goes.
    fs::create_directories(temp.Host("Taken/inside"));
    EXPECT_THROW(files.WriteFileAtomic("K:\\Taken", "x"), Error);
    EXPECT_EQ(HostNames(temp.Host()), (Names{"Hive.reg", "Taken"}));

    // The write fails half way (a file size limit): the old file stays whole.
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = saved;
    small.rlim_cur = 4096;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string message = "(no error)";
    try {
        files.WriteFileAtomic("K:\\Hive.reg", std::string(100000, 'z'));
    } catch (const Error& e) {
        message = e.what();
    }
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_NE(message.find("\"K:\\Hive.reg\""), std::string::npos) << message;
    EXPECT_EQ(temp.Read("Hive.reg"), "new content");
    EXPECT_EQ(HostNames(temp.Host()), (Names{"Hive.reg", "Taken"}));
}

TEST(Files, LineFilesAppendWithCrLfAndReadEitherEnding) {
    test::TempFolder temp;
    const PathSpace space = temp.Drives();
    const FileSystem files(space);
    files.AppendLine("K:\\Kestrova_Recovery.LOG", "DemuxComplete");
    files.AppendLine("K:\\kestrova_recovery.log", "");
    files.AppendLine("K:\\KESTROVA_RECOVERY.LOG", "Menü ok");
    EXPECT_EQ(temp.Read("Kestrova_Recovery.LOG"), "DemuxComplete\r\n\r\nMenü ok\r\n");
    EXPECT_EQ(files.ReadLines("K:\\Kestrova_Recovery.LOG"), (Names{"DemuxComplete", "", "Menü ok"}));
    temp.Write("mixed.txt", "a\r\nb\n\nc");
    EXPECT_EQ(files.ReadLines("K:\\mixed.txt"), (Names{"a", "b", "", "c"}));
    temp.Write("empty.txt", "");
    EXPECT_TRUE(files.ReadLines("K:\\empty.txt").empty());
    files.WriteText("K:\\Script.bat", "long old text");
    files.WriteText("K:\\script.bat", "@echo off\r\n");
    EXPECT_EQ(temp.Read("Script.bat"), "@echo off\r\n");
    EXPECT_THROW(files.ReadBytes("K:\\"), Error);
    EXPECT_THROW(files.AppendLine("K:\\No Folder\\x.log", "x"), Error);
}

TEST(Files, DrivesVolumeNamesFreeSpaceAndSpecialFolders) {
    test::TempFolder temp;
    fs::create_directories(temp.Host("Disc one"));
    fs::create_directories(temp.Host("Documents"));
    PathSpace space = temp.Drives();
    space.AddDrives("D:=" + temp.Host("Disc one") + "@cdrom;M:=" + temp.Host("gone") + "@network;N:=" +
                    temp.Host() + "@network;R:=" + temp.Host() + "@ramdisk;U:=" + temp.Host() + "@removable");
    const FileSystem files(space);
    const std::pair<std::string, DriveType> expected[] = {
        {"D:\\", DriveType::CDRom},  {"K:\\", DriveType::Fixed},   {"M:\\", DriveType::NoRootDir},
        {"N:\\", DriveType::Remote}, {"R:\\", DriveType::RamDisk}, {"U:\\", DriveType::Removable},
        {"Z:\\", DriveType::Fixed}};
    const auto drives = files.Drives();
    ASSERT_EQ(drives.size(), std::size(expected));
    for (std::size_t i = 0; i < drives.size(); ++i) {
        EXPECT_EQ(drives[i].Root, expected[i].first);
        EXPECT_EQ(drives[i].Type, expected[i].second) << drives[i].Root;
    }
    EXPECT_EQ(files.VolumeName("d:\\"), "DISC ONE");
    EXPECT_EQ(files.VolumeName("Z:\\"), "");
    EXPECT_THROW(files.VolumeName("Q:\\"), Error);
    // Other programs write meanwhile: the figures agree within 64 MiB.
    const double available = static_cast<double>(fs::space(temp.Host()).available);
    EXPECT_NEAR(static_cast<double>(files.FreeBytes("D:\\")), available, 64.0 * (1 << 20));
    EXPECT_THROW(files.FreeBytes("M:\\"), Error);

    const char* oldHome = std::getenv("HOME");
    const std::string saved = oldHome != nullptr ? oldHome : "";
    ::setenv("HOME", temp.Host().c_str(), 1);
    const std::string documents = files.DocumentsFolder();
    const std::string desktop = files.DesktopFolder();
    oldHome != nullptr ? ::setenv("HOME", saved.c_str(), 1) : ::unsetenv("HOME");
    EXPECT_EQ(documents, "K:\\Documents");
    EXPECT_EQ(desktop, "K:\\") << "no Desktop folder: the home folder itself";
}

}  // namespace
}  // namespace kestrova::platform
