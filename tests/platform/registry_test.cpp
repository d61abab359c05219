// The registry hive: round trips through the REGEDIT4 file, Windows-like
// case rules, damaged hives kept aside, the read-only Wine layer, .reg
// imports, deferred saving, and a save killed half-way.
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <random>
#include <thread>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

namespace fs = std::filesystem;

constexpr RegistryRoot kUser = RegistryRoot::CurrentUser;
constexpr RegistryRoot kMachine = RegistryRoot::LocalMachine;
constexpr const char* kSettings = "software\\Kestrova\\settings";

using Names = std::vector<std::string>;

Names FolderNames(const std::string& folder) {
    Names names;
    for (const auto& entry : fs::directory_iterator(folder)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

bool Contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

TEST(Registry, TextsAndNumbersSurviveTheFile) {
    test::TempFolder temp;
    const std::string hive = temp.Host("config/kestrova/registry.reg");  // the folders do not exist yet
    const std::pair<const char*, std::string> texts[] = {
        {"CCEPath", "C:\\Program Files\\Cinema Craft\\cctsp.exe"},
        {"Quoted", "say \"hi\" \\\\server\\share\\ end\\"},
        {"Blanks", "  two  blanks  "},
        {"Empty", ""},
        {"Umlaut", "Menü Ä – 日本語"},
        {"Header", "LoadPlugin(\"C:\\AviSynth\\DGDecode.dll\")\r\nMPEG2Source(\"%1\")\r\n"},
        {"", "the default value"},
    };
    {
        Registry registry(hive);
        EXPECT_EQ(registry.Load(), "");
        for (const auto& [name, text] : texts) registry.savestring(kUser, kSettings, name, text);
        registry.SaveDword(kUser, kSettings, "All", 0xFFFFFFFFu);
        registry.SaveDword(kUser, kSettings, "AC3Bitrate", 224);
    }
    const std::string file = temp.Read("config/kestrova/registry.reg");
    EXPECT_EQ(file.substr(0, 12), "REGEDIT4\r\n\r\n");
    EXPECT_TRUE(Contains(file, "\r\n[HKEY_CURRENT_USER\\software\\Kestrova\\settings]\r\n"));
    EXPECT_TRUE(Contains(file, "\r\n\"CCEPath\"=\"C:\\\\Program Files\\\\Cinema Craft\\\\cctsp.exe\"\r\n"));
    EXPECT_TRUE(Contains(file, "\r\n\"AC3Bitrate\"=dword:000000e0\r\n"));
    EXPECT_TRUE(Contains(file, "\r\n@=\"the default value\"\r\n"));
    EXPECT_FALSE(Contains(file, "MPEG2Source")) << "a text with line breaks must not break the lines of the file";

    Registry again(hive);
    ASSERT_EQ(again.Load(), "");
    for (const auto& [name, text] : texts) EXPECT_EQ(again.getstring(kUser, kSettings, name), text) << name;
    EXPECT_EQ(again.getdword(kUser, kSettings, "All"), 0xFFFFFFFFu);
    EXPECT_EQ(again.ValueNames(kUser, kSettings),
              (Names{"CCEPath", "Quoted", "Blanks", "Empty", "Umlaut", "Header", "", "All", "AC3Bitrate"}));
    // Absent values and values of the other type read as empty and 0; saving the loaded hive gives the same bytes.
    EXPECT_EQ(again.getstring(kUser, kSettings, "Nothing"), "");
    EXPECT_EQ(again.getdword(kUser, "Software\\Nowhere", "Nothing"), 0u);
    EXPECT_EQ(again.getstring(kUser, kSettings, "AC3Bitrate"), "");
    EXPECT_EQ(again.getdword(kUser, kSettings, "CCEPath"), 0u);
    again.Save();
    EXPECT_EQ(temp.Read("config/kestrova/registry.reg"), file);
}

TEST(Registry, KeysAndNamesIgnoreCaseKeepTheirFirstSpellingAndAreDeleted) {
    test::TempFolder temp;
    const std::string hive = temp.Host("registry.reg");
    Registry registry(hive);
    registry.savestring(kUser, "Software\\Kestrova\\AVS", "Header", "first");
    registry.SaveDword(kUser, "Software\\Kestrova\\AVS", "Deinterlace", 1);
    registry.savestring(kUser, "SOFTWARE\\kestrova\\avs\\", "HEADER", "second");
    EXPECT_EQ(registry.getstring(kUser, "\\software\\KESTROVA\\Avs", "header"), "second");
    EXPECT_FALSE(registry.KeyExists(kMachine, "Software\\Kestrova"));
    EXPECT_EQ(registry.ValueNames(kUser, "software\\kestrova\\avs"), (Names{"Header", "Deinterlace"}));
    const std::string file = temp.Read("registry.reg");
    EXPECT_TRUE(Contains(file, "[HKEY_CURRENT_USER\\Software\\Kestrova\\AVS]\r\n\"Header\"=\"second\"\r\n"));
    EXPECT_FALSE(Contains(file, "SOFTWARE"));

    // HKEY_CLASSES_ROOT is HKEY_LOCAL_MACHINE\Software\Classes, both ways.
    registry.savestring(RegistryRoot::ClassesRoot, "Directory\\shell\\Open\\Command", "", "\"K\" Folder=");
    registry.savestring(kMachine, "SOFTWARE\\Classes\\DVD\\shell\\Open\\Command", "", "\"K\" Load=");
    EXPECT_EQ(registry.getstring(kMachine, "Software\\Classes\\Directory\\shell\\open\\Command", ""), "\"K\" Folder=");
    EXPECT_EQ(registry.getstring(RegistryRoot::ClassesRoot, "dvd\\SHELL\\open\\command", ""), "\"K\" Load=");
    EXPECT_THROW(registry.savestring(kUser, "Software\\Kestrova", "Two\nlines", "x"), Error);

    // DeleteKey takes the subkeys, DeleteValue one value.
    registry.SaveDword(kUser, kSettings, "GUI", 3);
    registry.SaveDword(kUser, "Software\\Kestrova\\settings\\Deeper\\Deepest", "Depth", 2);
    registry.savestring(kUser, "Software\\Kestrova", "InstallDirectory", "K:\\Program");
    registry.DeleteKey(kUser, "SOFTWARE\\KESTROVA\\Settings");
    registry.DeleteValue(kUser, "software\\kestrova", "INSTALLDIRECTORY");
    registry.DeleteKey(kUser, "");  // a root stays
    registry.DeleteKey(kUser, "Software\\Not\\There");
    Registry reloaded(hive);
    ASSERT_EQ(reloaded.Load(), "");
    EXPECT_FALSE(reloaded.KeyExists(kUser, "Software\\Kestrova\\settings"));
    EXPECT_FALSE(reloaded.KeyExists(kUser, "Software\\Kestrova\\settings\\Deeper\\Deepest"));
    EXPECT_EQ(reloaded.getstring(kUser, "Software\\Kestrova\\AVS", "HEADER"), "second");
    EXPECT_TRUE(reloaded.ValueNames(kUser, "Software\\Kestrova").empty());
}

TEST(Registry, DamagedHiveIsMovedAsideAndTheSettingsStartEmpty) {
    const std::string good =
        "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\Kestrova\\settings]\r\n"
        "\"CCEPath\"=\"C:\\\\Program Files\\\\CCE\\\\cctsp.exe\"\r\n\"GUI\"=dword:00000003\r\n\r\n";
    const std::pair<std::string, const char*> cases[] = {
        {good.substr(0, good.find("CCE\\\\")), "line 4"},
        {good.substr(0, good.find("\r\n\r\n", 20)), "line 5"},
        {std::string("REGEDIT4\r\n\r\n\x7f\x45\x4c\x46\x02\x01\x01\0\0\0\r\n", 20), "line 3"},
        {"REGEDIT4\r\n\r\n\"GUI\"=dword:00000003\r\n", "line 3"},
        {"REGEDIT4\r\n\r\n[HKEY_USERS\\x]\r\n", "line 3"},
        {"REGEDIT4\r\n\r\n[HKCU\\x]\r\n\"b\"=hex:01,zz\r\n", "line 4"},
        {"REGEDIT4\r\n\r\n[HKCU\\x]\r\n\"b\"=hex:01,\\\r\n", "line 4"},
        {"", "line 1"},
    };
    for (const auto& [bytes, line] : cases) {
        SCOPED_TRACE(bytes);
        test::TempFolder temp;
        const std::string hive = temp.Host("registry.reg");
        temp.Write("registry.reg", bytes);
        Registry registry(hive);
        const std::string message = registry.Load();
        EXPECT_TRUE(Contains(message, "\"" + hive + "\"") && Contains(message, "\"" + hive + ".damaged\"") &&
                    Contains(message, line))
            << message;
        EXPECT_EQ(temp.Read("registry.reg.damaged"), bytes);
        EXPECT_FALSE(temp.Exists("registry.reg")) << "nothing is written before the next change";
        EXPECT_FALSE(registry.KeyExists(kUser, "Software"));
    }

    // A second damaged hive goes beside the first copy, never over it; the next change writes a good hive.
    test::TempFolder temp;
    const std::string hive = temp.Host("registry.reg");
    temp.Write("registry.reg", "first damage");
    Registry registry(hive);
    EXPECT_FALSE(registry.Load().empty());
    temp.Write("registry.reg", "second damage");
    EXPECT_TRUE(Contains(registry.Load(), "\"" + hive + ".damaged-2\""));
    EXPECT_EQ(temp.Read("registry.reg.damaged"), "first damage");
    EXPECT_EQ(temp.Read("registry.reg.damaged-2"), "second damage");
    registry.SaveDword(kUser, kSettings, "GUI", 1);
    Registry fresh(hive);
    EXPECT_EQ(fresh.Load(), "");
    EXPECT_EQ(fresh.getdword(kUser, kSettings, "GUI"), 1u);

    // A hive that cannot be saved names itself.
    temp.Write("blocker", "a file where the hive's folder should be");
    Registry blocked(temp.Host("blocker/registry.reg"));
    try {
        blocked.SaveDword(kUser, kSettings, "GUI", 1);
        FAIL() << "saving below a file succeeded";
    } catch (const Error& error) {
        EXPECT_TRUE(Contains(error.what(), temp.Host("blocker/registry.reg"))) << error.what();
    }
}

const char* const kUserReg =
    "WINE REGISTRY Version 2\n;; All keys relative to \\\\User\\\\S-1-5-21-0-0-0-1000\n\n#arch=win32\n\n"
    "[Software\\\\DVD Decrypter] 1700000000\n#time=1d9a1b2c3d4e5f6\n"
    "\"InstallDirectory\"=\"C:\\\\Program Files\\\\DVD Decrypter\"\n\"DEVICE_EjectTrayRead\"=dword:00000001\n"
    "\"Window\"=hex:01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e,0f,10,11,12,13,14,15,16,17,\\\n  18,19,1a\n"
    "\"Label\"=\"Caf\\xe9 \\\"\\x263a\\\" \\xd83c\\xdfac\"\n\"Temp\"=str(2):\"%TEMP%\\\\dvd\"\n\n"
    "[Software\\\\Wine\\\\Drives] 1700000001\n#time=1d9a1b2c3d4e5f7\n\"d:\"=\"cdrom\"\n";

const char* const kSystemReg =
    "WINE REGISTRY Version 2\r\n;; All keys relative to \\\\Machine\r\n\r\n#arch=win32\r\n\r\n"
    "[Software\\\\Classes\\\\DVD\\\\shell\\\\open] 1700000000\r\n@=\"Open\"\r\n\r\n"
    "[Software\\\\DoItFast4U] 1700000000\r\n\"InstallDirectory\"=\"C:\\\\DIF4U\"\r\n";

TEST(Registry, WineRegistryIsReadBeneathTheHiveAndNeverWritten) {
    test::TempFolder temp;
    temp.Write("prefix/user.reg", kUserReg);
    temp.Write("prefix/system.reg", kSystemReg);
    Registry registry(temp.Host("registry.reg"));
    ASSERT_EQ(registry.Load(), "");
    ASSERT_EQ(registry.SetWineOverlay(temp.Host("prefix")), "");
    const char* const decrypter = "Software\\DVD Decrypter";
    EXPECT_EQ(registry.getstring(kUser, decrypter, "InstallDirectory"), "C:\\Program Files\\DVD Decrypter");
    EXPECT_EQ(registry.getdword(kUser, "software\\dvd decrypter", "device_ejecttrayread"), 1u);
    // The value after the continued hex line is read, escapes become UTF-8.
    EXPECT_EQ(registry.getstring(kUser, decrypter, "Label"), "Café \"☺\" 🎬");
    EXPECT_EQ(registry.getstring(kUser, decrypter, "Temp"), "%TEMP%\\dvd");
    EXPECT_EQ(registry.getstring(kMachine, "SOFTWARE\\DoItFast4U", "InstallDirectory"), "C:\\DIF4U");
    EXPECT_EQ(registry.getstring(RegistryRoot::ClassesRoot, "DVD\\shell\\open", ""), "Open");
    EXPECT_TRUE(registry.ValueNames(kUser, decrypter).empty()) << "names are the own hive's";

    // The own hive comes first; removing there leaves Wine's values visible.
    registry.SaveDword(kUser, decrypter, "DEVICE_EjectTrayRead", 0);
    EXPECT_EQ(registry.getdword(kUser, decrypter, "DEVICE_EjectTrayRead"), 0u);
    registry.DeleteKey(kUser, decrypter);
    EXPECT_EQ(registry.getdword(kUser, decrypter, "DEVICE_EjectTrayRead"), 1u);
    EXPECT_EQ(temp.Read("prefix/user.reg"), kUserReg);
    EXPECT_FALSE(Contains(temp.Read("registry.reg"), "DoItFast4U"));

    // A damaged file is ignored with a warning and left as it is; the other file is still read.
    temp.Write("prefix/system.reg", "WINE REGISTRY Version 2\n[Software\\\\Broken\n");
    const std::string warning = registry.SetWineOverlay(temp.Host("prefix"));
    EXPECT_TRUE(Contains(warning, "\"" + temp.Host("prefix/system.reg") + "\"") && Contains(warning, "line 2"))
        << warning;
    EXPECT_EQ(registry.getstring(kMachine, "Software\\DoItFast4U", "InstallDirectory"), "");
    EXPECT_EQ(registry.getstring(kUser, "Software\\Wine\\Drives", "d:"), "cdrom");
    EXPECT_EQ(FolderNames(temp.Host("prefix")), (Names{"system.reg", "user.reg"}));
    EXPECT_TRUE(Contains(registry.SetWineOverlay(temp.Host("no-prefix")), temp.Host("no-prefix")));
    EXPECT_EQ(registry.getstring(kUser, "Software\\Wine\\Drives", "d:"), "");
}

TEST(Registry, ImportRegFileCreatesAndRemovesAsRegeditDoes) {
    test::TempFolder temp;
    Registry registry(temp.Host("registry.reg"));
    registry.SaveDword(kMachine, "SOFTWARE\\Sonic Foundry\\Soft Encode\\Settings", "Bitrate", 448);
    registry.SaveDword(kUser, "Software\\Sonic Foundry\\Soft Encode", "Window", 1);
    registry.SaveDword(kMachine, "SOFTWARE\\Sonic Foundry\\Vegas", "Kept", 1);
    // The file the audio stage writes: a blank line is a single blank.
    temp.Write("SoftEncode.reg",
               "REGEDIT4\r\n \r\n[-HKEY_LOCAL_MACHINE\\SOFTWARE\\Sonic Foundry\\Soft Encode]\r\n \r\n"
               "[-HKEY_CURRENT_USER\\Software\\Sonic Foundry\\Soft Encode]\r\n");
    EXPECT_EQ(registry.ImportRegFile(temp.Host("SoftEncode.reg")), "");
    EXPECT_FALSE(registry.KeyExists(kMachine, "SOFTWARE\\Sonic Foundry\\Soft Encode"));
    EXPECT_FALSE(registry.KeyExists(kUser, "Software\\Sonic Foundry\\Soft Encode"));
    EXPECT_EQ(registry.getdword(kMachine, "SOFTWARE\\Sonic Foundry\\Vegas", "Kept"), 1u);

    temp.Write("values.reg",
               "REGEDIT4\n\n; a comment\n[HKCU\\Software\\Tool]\n\"Name\"=\"a \\\"b\\\" c:\\\\d\"\n"
               "\"Count\"=dword:a\n\"Gone\"=\"x\"\n\"Gone\"=-\n@=\"default\"\n"
               "\"Blob\"=hex(2):25,00,54,00,\\\n  45,00,00,00\n\n"
               "[HKEY_CLASSES_ROOT\\.vob]\n@=\"VOBFile\"\n");
    EXPECT_EQ(registry.ImportRegFile(temp.Host("values.reg")), "");
    EXPECT_EQ(registry.getstring(kUser, "Software\\Tool", "Name"), "a \"b\" c:\\d");
    EXPECT_EQ(registry.getdword(kUser, "Software\\Tool", "Count"), 10u);
    EXPECT_EQ(registry.ValueNames(kUser, "Software\\Tool"), (Names{"Name", "Count", "", "Blob"}));
    EXPECT_EQ(registry.getstring(kMachine, "Software\\Classes\\.vob", ""), "VOBFile");
    // A value of another type is kept as it was read.
    EXPECT_TRUE(Contains(temp.Read("registry.reg"), "\"Blob\"=hex(2):25,00,54,00,45,00,00,00\r\n"));

    // A fault anywhere: the file and line are named and nothing is changed.
    const std::string before = temp.Read("registry.reg");
    temp.Write("bad.reg", "REGEDIT4\r\n\r\n[HKEY_CURRENT_USER\\Software\\Tool]\r\n\"New\"=\"x\"\r\nNew=1\r\n");
    const std::string message = registry.ImportRegFile(temp.Host("bad.reg"));
    EXPECT_TRUE(Contains(message, temp.Host("bad.reg")) && Contains(message, "line 5")) << message;
    EXPECT_EQ(registry.getstring(kUser, "Software\\Tool", "New"), "");
    EXPECT_EQ(temp.Read("registry.reg"), before);
    EXPECT_TRUE(Contains(registry.ImportRegFile(temp.Host("missing.reg")), temp.Host("missing.reg")));
    temp.Write("v5.reg", "Windows Registry Editor Version 5.00\r\n");
    EXPECT_TRUE(Contains(registry.ImportRegFile(temp.Host("v5.reg")), "line 1"));
}

TEST(Registry, DeferSaveWritesOnceWhenTheLastOneEnds) {
    test::TempFolder temp;
    const std::string hive = temp.Host("registry.reg");
    // Each save renames a new file over the hive: the inode tells whether one happened.
    const auto identity = [&hive] {
        struct stat info {};
        return ::stat(hive.c_str(), &info) == 0 ? info.st_ino : 0;
    };
    Registry registry(hive);
    registry.SaveDword(kUser, kSettings, "Save_Settings", 1);
    const ino_t first = identity();
    {
        Registry::DeferSave outer(registry);
        {
            Registry::DeferSave inner(registry);
            for (int i = 0; i < 100; ++i) registry.SaveDword(kUser, kSettings, "Value" + std::to_string(i), i);
        }
        registry.DeleteValue(kUser, kSettings, "Save_Settings");
        EXPECT_EQ(identity(), first);
    }
    EXPECT_NE(identity(), first);
    Registry reloaded(hive);
    ASSERT_EQ(reloaded.Load(), "");
    EXPECT_EQ(reloaded.ValueNames(kUser, kSettings).size(), 100u);
    const ino_t saved = identity();
    { Registry::DeferSave idle(registry); }
    EXPECT_EQ(identity(), saved) << "nothing changed: nothing written";
}

TEST(Registry, DefaultHivePathFollowsTheEnvironment) {
    const char* names[] = {"KESTROVA_REGISTRY", "XDG_CONFIG_HOME", "HOME"};
    std::optional<std::string> saved[3];
    for (int i = 0; i < 3; ++i) {
        if (const char* value = std::getenv(names[i])) saved[i] = value;
    }
    ::setenv("HOME", "/home/user", 1);
    ::setenv("XDG_CONFIG_HOME", "/xdg", 1);
    ::setenv("KESTROVA_REGISTRY", "/elsewhere/hive.reg", 1);
    EXPECT_EQ(Registry::DefaultHivePath(), "/elsewhere/hive.reg");
    ::unsetenv("KESTROVA_REGISTRY");
    EXPECT_EQ(Registry::DefaultHivePath(), "/xdg/kestrova/registry.reg");
    ::setenv("XDG_CONFIG_HOME", "", 1);
    EXPECT_EQ(Registry::DefaultHivePath(), "/home/user/.config/kestrova/registry.reg");
    for (int i = 0; i < 3; ++i) {
        saved[i] ? ::setenv(names[i], saved[i]->c_str(), 1) : ::unsetenv(names[i]);
    }
}

// A child process saves two contents in turn and is killed at some moment of it: the hive is always one whole
// content, and what the killed save left behind is cleared by the next load.
TEST(Registry, KillDuringSaveLeavesOneWholeHive) {
    test::TempFolder temp;
    const std::string hive = temp.Host("registry.reg");
    Registry first(hive), second(hive);
    std::vector<std::string> texts;  // the hive as each registry saved it
    for (Registry* registry : {&second, &first}) {
        const std::string word = registry == &first ? "first" : "second";
        {
            Registry::DeferSave once(*registry);
            for (int i = 0; i < 3000; ++i) {  // thousands of values in keys of a hundred
                const std::string key = "Software\\Kestrova\\Group" + std::to_string(i / 100);
                const std::string number = std::to_string(i);
                registry->savestring(kUser, key, "Text" + number, word + " value number " + number);
                registry->SaveDword(kUser, key, "Number" + number, static_cast<std::uint32_t>(i) * word.size());
            }
        }
        texts.push_back(temp.Read("registry.reg"));
    }
    ASSERT_NE(texts[0], texts[1]);

    // Even rounds kill at any moment of the first saves (mostly while the text is made); odd rounds wait for the
    // temporary file and kill within a millisecond, while it is written, flushed or renamed.
    std::mt19937 random(7);
    const auto savingSeen = [&] { return FolderNames(temp.Host()).size() > 1; };
    int killedMidSave = 0;
    for (int round = 0; round < 12; ++round) {
        SCOPED_TRACE("round " + std::to_string(round));
        const pid_t child = ::fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            for (int i = 0; i < 1000; ++i) {
                first.Save();
                second.Save();
            }
            ::_exit(0);
        }
        if (round % 2 == 0) {
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 60000));
        } else {
            const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(1);
            while (!savingSeen() && std::chrono::steady_clock::now() < deadline) std::this_thread::yield();
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 1000));
        }
        ::kill(child, SIGKILL);
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        ASSERT_TRUE(WIFSIGNALED(status)) << "the child ended before it was killed";
        if (savingSeen()) ++killedMidSave;
        const std::string text = temp.Read("registry.reg");
        EXPECT_TRUE(text == texts[0] || text == texts[1]) << "the hive holds " << text.size() << " bytes";
        Registry check(hive);
        ASSERT_EQ(check.Load(), "");
        EXPECT_EQ(check.ValueNames(kUser, "Software\\Kestrova\\Group29").size(), 200u);
        EXPECT_EQ(FolderNames(temp.Host()), Names{"registry.reg"});
    }
    EXPECT_GT(killedMidSave, 0) << "no kill landed inside a save";
}

}  // namespace
}  // namespace kestrova::platform
