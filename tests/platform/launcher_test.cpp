// The launcher's choice of back end for a Windows command line.
#include "platform/launcher.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

std::string ErrorText(const std::function<void()>& action) {
    try {
        action();
    } catch (const Error& error) {
        return error.what();
    }
    return "(no error)";
}

TEST(Launcher, OverridesMatchTheToolFileNameAndCarryTitles) {
    test::TempFolder temp;
    const PathSpace paths = temp.Drives();
    Launcher launcher(paths);
    launcher.AddOverride("PGCDemux.exe", {{"/opt/standin", "--tool", "PGCDemux"}, ""});
    launcher.AddOverride("regedit.exe", {{"/opt/standin", "--tool", "regedit"}, "Registry"});
    launcher.AddOverride("dvddecrypter.exe", {{"/opt/standin"}, ""});

    // The tool need not exist: the override stands for it, whatever the case of its name. (What the override
    // receives, arguments and environment, is checked where the process tests run the stand-in.)
    const LaunchPlan plan = launcher.Plan("\"K:\\Prog Files\\pgcdemux.EXE\" -pgc 1 \"K:\\a b\\VTS_01_0.IFO\"");
    EXPECT_EQ(plan.Kind, LaunchKind::Override);
    EXPECT_EQ(plan.Argv.front(), "/opt/standin");
    EXPECT_TRUE(plan.WindowTitle.empty());
    // A bare name finds the ".exe" entry; an override's own title wins over the tool's default one.
    EXPECT_EQ(launcher.Plan("regedit /S x.reg").WindowTitle, "Registry");
    EXPECT_EQ(launcher.Plan("C:\\DVDDECRYPTER.exe /MODE IFO").WindowTitle, "DVD Decrypter");
    EXPECT_THROW(launcher.AddOverride("x.exe", {{}, ""}), Error);
    EXPECT_EQ(DefaultWindowTitle("BeSweet.exe"), "") << "a tool without a window of its own";
}

TEST(Launcher, ProgramFilesAreMappedAndTypedByTheirContent) {
    test::TempFolder temp;
    temp.Write("Prog/Tool.exe", std::string("MZ\x90\0", 4));
    temp.Write("Prog/Job.BAT", "@echo off\r\n");
    temp.Write("Prog/notes.txt", "text");
    temp.Write("Win/REGEDIT.EXE", "MZ");
    const PathSpace paths = temp.Drives();
    Launcher launcher(paths);
    launcher.SetWineProgram("/opt/wine/bin/wine");
    launcher.SetSearchPath({"K:\\Nowhere", "K:\\win\\"});

    EXPECT_EQ(launcher.Plan("k:\\prog\\tool.exe -x \"a b\"").Kind, LaunchKind::Wine);
    const LaunchPlan batch = launcher.Plan("\"K:\\PROG\\job.bat\" one two");
    EXPECT_EQ(batch.Kind, LaunchKind::Batch);
    EXPECT_EQ(batch.WindowsProgram, "K:\\PROG\\job.bat");
    EXPECT_EQ(batch.Arguments, (std::vector<std::string>{"one", "two"}));
    // A bare name is looked for in the search path, ".exe" added.
    const LaunchPlan found = launcher.Plan("regedit /S \"K:\\x.reg\"");
    EXPECT_EQ(found.WindowsProgram, "K:\\win\\regedit.exe");
    EXPECT_EQ(found.HostProgram, temp.Host("Win/REGEDIT.EXE"));

    const std::string missing = ErrorText([&] { launcher.Plan("\"K:\\No Such\\tool.exe\" a"); });
    EXPECT_NE(missing.find("K:\\No Such\\tool.exe"), std::string::npos) << missing;
    EXPECT_NE(missing.find(temp.Host("No Such/tool.exe")), std::string::npos) << missing;
    const std::string notFound = ErrorText([&] { launcher.Plan("vobtest x"); });
    EXPECT_NE(notFound.find("\"vobtest\""), std::string::npos) << notFound;
    EXPECT_THROW(launcher.Plan("K:\\Prog\\notes.txt"), Error);
    EXPECT_THROW(launcher.Plan("   "), Error);
    EXPECT_THROW(launcher.Plan("Prog\\Tool.exe"), Error);
}

}  // namespace
}  // namespace kestrova::platform
