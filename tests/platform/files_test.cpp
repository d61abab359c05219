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

// Every name in a host folder, hidden ones included: a leftover temporary
// file of an atomic write would show here.
std::vector<std::string> HostNames(const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

std::string MessageOf(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& e) {
        return e.what();
    }
    return "(no error)";
}

TEST(Files, WildcardsFollowWindowsRules) {
    struct Case {
        const char* name;
        const char* pattern;
        bool matches;
    };
    const Case cases[] = {
        {"VTS_01_1.VOB", "*.VOB", true},
        {"vts_01_1.vob", "*.VOB", true},
        {"VTS_01_1.VOB.bak", "*.VOB", false},
        {"README", "*.*", true},  // no dot, still every name
        {"a.b.c", "*.*", true},
        {"VTS_01_0.IFO", "VTS_??_0.IFO", true},
        {"VTS_1_0.IFO", "VTS_??_0.IFO", false},  // "?" is exactly one character
        {"VTS_012_0.IFO", "VTS_??_0.IFO", false},
        {"VTS_01", "VTS_01.*", true},  // a closing ".*" also matches no extension
        {"README", "*.", true},        // a closing "." asks for no extension
        {"READ.ME", "*.", false},
        {"Menu 1.m2v", "menu ?.M2V", true},
        {"Menü 1.m2v", "MENü*", true},  // non-ASCII bytes compare as they are
        {"Menü 1.m2v", "MENÜ*", false},
        {"abc", "a*b*c", true},
        {"abXbc", "a*bc", true},
        {"ab", "a*b*c", false},
        {"", "*", true},
        {"x", "", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(MatchesWildcard(c.name, c.pattern), c.matches) << c.name << " against " << c.pattern;
    }
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

    // Case-folded order puts "_" after the letters and " " before ".", as
    // NTFS does; the folder is found though the path spells it in lower case.
    const std::vector<std::string> vobs{"a b.vob", "A.VOB", "b.vob", "c.VOB", "Menü 2.vob", "_x.vob"};
    EXPECT_EQ(files.List("k:\\disc", "*.Vob", ListKind::Files), vobs);
    EXPECT_EQ(files.List("K:\\Disc\\", "*.*", ListKind::Folders), (std::vector<std::string>{"D.vob", "Sub"}));
    EXPECT_EQ(files.List("K:\\Disc", "*.txt", ListKind::Files), (std::vector<std::string>{"notes.txt"}));
    EXPECT_TRUE(files.List("K:\\Missing", "*.*", ListKind::Files).empty());
    EXPECT_TRUE(files.List("K:\\Disc\\notes.txt", "*.*", ListKind::Files).empty());
}

TEST(Files, ExistenceSizesAndErrorsNameThePaths) {
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
    EXPECT_TRUE(files.Exists("K:\\JOB\\A.BIN") && files.Exists("K:\\JOB"));
    EXPECT_FALSE(files.Exists("K:\\nothing"));
    EXPECT_FALSE(files.Exists("Q:\\JOB")) << "an unmapped drive holds nothing";
    EXPECT_THROW(files.Exists("JOB\\A.BIN"), Error);

    EXPECT_EQ(files.FileSize("K:\\Job\\a.bin"), 1000u);
    EXPECT_EQ(files.DirectorySize("K:\\Job"), 1234u);
    EXPECT_EQ(files.DirectorySize("K:\\Job\\Sub"), 234u);
    EXPECT_EQ(files.DirectorySize("K:\\Missing"), 0u);
    EXPECT_THROW(files.FileSize("K:\\Job\\Sub"), Error);

    const std::string message = MessageOf([&] { files.ReadBytes("K:\\Job\\none.txt"); });
    EXPECT_NE(message.find("\"K:\\Job\\none.txt\""), std::string::npos) << message;
    EXPECT_NE(message.find(temp.Host("Job/none.txt")), std::string::npos) << message;
    EXPECT_NE(message.find("No such file"), std::string::npos) << message;
}

TEST(Files, FoldersAreMadeAndDeleted) {
    test::TempFolder temp;
    temp.Write("Job/keep.txt", "k");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);

    files.MakeFolder("K:\\job\\D_VTS_01_0\\DEMUXED");
    EXPECT_TRUE(fs::is_directory(temp.Host("Job/D_VTS_01_0/DEMUXED"))) << "existing parent reused whatever its case";
    files.MakeFolder("K:\\Job\\D_VTS_01_0");  // already there
    EXPECT_THROW(files.MakeFolder("K:\\Job\\keep.txt"), Error);
    EXPECT_THROW(files.MakeFolder("K:\\Job\\keep.txt\\below"), Error);

    temp.Write("Job/D_VTS_01_0/DEMUXED/a.vob", "v");
    files.DeleteTree("K:\\JOB\\d_vts_01_0");
    EXPECT_FALSE(temp.Exists("Job/D_VTS_01_0"));
    EXPECT_TRUE(temp.Exists("Job/keep.txt"));
    files.DeleteTree("K:\\Job\\D_VTS_01_0");  // gone already: nothing happens

    EXPECT_THROW(files.DeleteTree("K:\\"), Error);
    EXPECT_THROW(files.DeleteTree("Z:\\"), Error);
    EXPECT_TRUE(temp.Exists("Job/keep.txt"));

    files.DeleteFile("K:\\Job\\KEEP.TXT");
    EXPECT_FALSE(temp.Exists("Job/keep.txt"));
    files.DeleteFile("K:\\Job\\keep.txt");  // gone already
    EXPECT_THROW(files.DeleteFile("K:\\Job"), Error);
    EXPECT_TRUE(temp.Exists("Job"));
}

TEST(Files, CopyKeepsOrReplacesAsAsked) {
    test::TempFolder temp;
    temp.Write("a.txt", "new");
    temp.Write("B.txt", "old");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);

    EXPECT_THROW(files.CopyFile("K:\\a.txt", "K:\\b.TXT", false), Error);
    EXPECT_EQ(temp.Read("B.txt"), "old");
    files.CopyFile("K:\\a.txt", "K:\\b.TXT");
    EXPECT_EQ(temp.Read("B.txt"), "new");
    EXPECT_EQ(HostNames(temp.Host()), (std::vector<std::string>{"B.txt", "a.txt"})) << "no second spelling made";
    files.CopyFile("K:\\A.TXT", "K:\\Copy of a.txt");
    EXPECT_EQ(temp.Read("Copy of a.txt"), "new");

    EXPECT_THROW(files.CopyFile("K:\\a.txt", "K:\\A.txt"), Error);
    EXPECT_EQ(temp.Read("a.txt"), "new") << "copying onto itself must not truncate";
    EXPECT_THROW(files.CopyFile("K:\\missing.txt", "K:\\x.txt"), Error);
    EXPECT_THROW(files.CopyFile("K:\\a.txt", "K:\\NoFolder\\x.txt"), Error);
    EXPECT_FALSE(temp.Exists("x.txt"));
}

TEST(Files, MoveRenamesReplacesAndChangesCase) {
    test::TempFolder temp;
    temp.Write("NEW_M2V/x.m2v", "video");
    temp.Write("FRAMESERVING/old.m2v", "stale");
    temp.Write("FRAMESERVING/Tree/inner.txt", "i");
    temp.Write("lower.txt", "l");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);

    files.MoveFile("K:\\new_m2v\\X.M2V", "K:\\FRAMESERVING\\OLD.M2V");
    EXPECT_FALSE(temp.Exists("NEW_M2V/x.m2v"));
    EXPECT_EQ(temp.Read("FRAMESERVING/old.m2v"), "video");

    files.MoveFile("K:\\lower.txt", "K:\\LOWER.TXT");
    EXPECT_EQ(HostNames(temp.Host()), (std::vector<std::string>{"FRAMESERVING", "LOWER.TXT", "NEW_M2V"}));

    files.MoveFile("K:\\FRAMESERVING\\Tree", "K:\\NEW_M2V\\Moved Tree");
    EXPECT_EQ(temp.Read("NEW_M2V/Moved Tree/inner.txt"), "i");
    EXPECT_THROW(files.MoveFile("K:\\nothing", "K:\\x"), Error);
}

TEST(Files, MoveAcrossFileSystemsCopiesThenDeletes) {
    test::TempFolder temp;
    char shm[] = "/dev/shm/kestrova-files-XXXXXX";
    struct stat tempInfo {}, shmInfo {};
    if (::mkdtemp(shm) == nullptr) GTEST_SKIP() << "no /dev/shm";
    const bool differs = ::stat(temp.Host().c_str(), &tempInfo) == 0 && ::stat(shm, &shmInfo) == 0 &&
                         tempInfo.st_dev != shmInfo.st_dev;
    if (!differs) {
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
    EXPECT_FALSE(temp.Exists("a.vob"));
    EXPECT_FALSE(temp.Exists("Tree"));
    EXPECT_EQ(files.ReadText("R:\\A.VOB"), "abc");
    EXPECT_EQ(files.ReadText("R:\\tree\\B.VOB"), "def");
    fs::remove_all(shm);
}

TEST(Files, AtomicWriteReplacesWholeOrNotAtAll) {
    test::TempFolder temp;
    temp.Write("Hive.reg", "old content");
    const PathSpace space = temp.Drives();
    const FileSystem files(space);

    files.WriteFileAtomic("K:\\hive.REG", "new content");
    EXPECT_EQ(temp.Read("Hive.reg"), "new content");
    files.WriteFileAtomic("K:\\Fresh file.txt", "");
    EXPECT_EQ(HostNames(temp.Host()), (std::vector<std::string>{"Fresh file.txt", "Hive.reg"}));

    // The rename fails (a folder stands there): the temporary file goes.
    fs::create_directories(temp.Host("Taken/inside"));
    EXPECT_THROW(files.WriteFileAtomic("K:\\Taken", "x"), Error);
    EXPECT_TRUE(fs::is_directory(temp.Host("Taken/inside")));
    EXPECT_EQ(HostNames(temp.Host()), (std::vector<std::string>{"Fresh file.txt", "Hive.reg", "Taken"}));

    // The write fails half way (a file size limit): the old file stays whole.
    struct rlimit saved {};
    ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &saved), 0);
    const auto oldHandler = std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit small = saved;
    small.rlim_cur = 4096;
    ASSERT_EQ(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string message = MessageOf([&] { files.WriteFileAtomic("K:\\Hive.reg", std::string(100000, 'z')); });
    ::setrlimit(RLIMIT_FSIZE, &saved);
    std::signal(SIGXFSZ, oldHandler);
    EXPECT_NE(message.find("Cannot write \"K:\\Hive.reg\""), std::string::npos) << message;
    EXPECT_EQ(temp.Read("Hive.reg"), "new content");
    EXPECT_EQ(HostNames(temp.Host()), (std::vector<std::string>{"Fresh file.txt", "Hive.reg", "Taken"}));

    EXPECT_THROW(files.WriteFileAtomic("K:\\No Folder\\a.txt", "x"), Error);
}

TEST(Files, LineFilesAppendWithCrLfAndReadEitherEnding) {
    test::TempFolder temp;
    const PathSpace space = temp.Drives();
    const FileSystem files(space);

    files.AppendLine("K:\\Kestrova_Recovery.LOG", "DemuxComplete");
    files.AppendLine("K:\\kestrova_recovery.log", "");
    files.AppendLine("K:\\KESTROVA_RECOVERY.LOG", "Menü ok");
    EXPECT_EQ(temp.Read("Kestrova_Recovery.LOG"), "DemuxComplete\r\n\r\nMenü ok\r\n");
    EXPECT_EQ(files.ReadLines("K:\\Kestrova_Recovery.LOG"), (std::vector<std::string>{"DemuxComplete", "", "Menü ok"}));

    temp.Write("lf.txt", "one\ntwo\n\nlast");
    EXPECT_EQ(files.ReadLines("K:\\lf.txt"), (std::vector<std::string>{"one", "two", "", "last"}));
    temp.Write("mixed.txt", "a\r\nb\nc\r\n");
    EXPECT_EQ(files.ReadLines("K:\\mixed.txt"), (std::vector<std::string>{"a", "b", "c"}));
    temp.Write("empty.txt", "");
    EXPECT_TRUE(files.ReadLines("K:\\empty.txt").empty());

    files.WriteText("K:\\Script.bat", "long old text");
    files.WriteText("K:\\script.bat", "@echo off\r\n");
    EXPECT_EQ(temp.Read("Script.bat"), "@echo off\r\n");
    const auto bytes = files.ReadBytes("K:\\SCRIPT.BAT");
    EXPECT_EQ(bytes.size(), 11u);
    EXPECT_THROW(files.ReadBytes("K:\\"), Error);
    EXPECT_THROW(files.AppendLine("K:\\No Folder\\x.log", "x"), Error);
}

TEST(Files, DrivesVolumeNamesAndFreeSpace) {
    test::TempFolder temp;
    fs::create_directories(temp.Host("Disc one"));
    PathSpace space = temp.Drives();
    space.AddDrives("D:=" + temp.Host("Disc one") + "@cdrom;M:=" + temp.Host("gone") + "@network;N:=" +
                    temp.Host() + "@network;R:=" + temp.Host() + "@ramdisk;U:=" + temp.Host() + "@removable");
    const FileSystem files(space);

    const std::vector<std::pair<std::string, DriveType>> expected{
        {"D:\\", DriveType::CDRom},  {"K:\\", DriveType::Fixed},  {"M:\\", DriveType::NoRootDir},
        {"N:\\", DriveType::Remote}, {"R:\\", DriveType::RamDisk}, {"U:\\", DriveType::Removable},
        {"Z:\\", DriveType::Fixed}};
    const auto drives = files.Drives();
    ASSERT_EQ(drives.size(), expected.size());
    for (std::size_t i = 0; i < drives.size(); ++i) {
        EXPECT_EQ(drives[i].Root, expected[i].first);
        EXPECT_EQ(drives[i].Type, expected[i].second) << drives[i].Root;
    }

    EXPECT_EQ(files.VolumeName("d:\\"), "DISC ONE");
    EXPECT_EQ(files.VolumeName("K:\\"), platform::ToUpperAscii(fs::path(temp.Host()).filename().string()));
    EXPECT_EQ(files.VolumeName("Z:\\"), "");
    EXPECT_THROW(files.VolumeName("Q:\\"), Error);

    // Other programs write meanwhile: the figures agree within 64 MiB.
    const double available = static_cast<double>(fs::space(temp.Host()).available);
    EXPECT_GT(files.FreeBytes("K:\\"), 0u);
    EXPECT_NEAR(static_cast<double>(files.FreeBytes("K:\\")), available, 64.0 * (1 << 20));
    EXPECT_NEAR(static_cast<double>(files.FreeBytes("D:\\")), available, 64.0 * (1 << 20));
    EXPECT_THROW(files.FreeBytes("M:\\"), Error);
}

TEST(Files, SpecialFoldersComeFromHome) {
    test::TempFolder temp;
    const char* oldHome = std::getenv("HOME");
    const std::string saved = oldHome != nullptr ? oldHome : "";
    fs::create_directories(temp.Host("Documents"));
    ::setenv("HOME", temp.Host().c_str(), 1);
    const PathSpace space = temp.Drives();
    const FileSystem files(space);
    const std::string documents = files.DocumentsFolder();
    const std::string desktop = files.DesktopFolder();
    if (oldHome != nullptr) {
        ::setenv("HOME", saved.c_str(), 1);
    } else {
        ::unsetenv("HOME");
    }
    EXPECT_EQ(documents, "K:\\Documents");
    EXPECT_EQ(desktop, "K:\\") << "no Desktop folder: the home folder itself";
}

}  // namespace
}  // namespace kestrova::platform
