// The Muxman linter: the written scripts lint clean through the drive map
// (a small script's targets outside it are notes); each fault put into
// one is answered by its rule, the writers' oddities below error.
#include <gtest/gtest.h>

#include <filesystem>

#include "authoring/script_lint.h"
#include "authoring/script_print.h"
#include "sample_mxp.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

std::string Listed(const ScriptDiagnostics& diagnostics) {
    std::string out;
    for (const ScriptDiagnostic& d : diagnostics.List()) out += d.Format() + "\n";
    return out;
}

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

std::string ReplacedAll(std::string text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
    return text;
}

ScriptDiagnostics Lint(const std::string& text) {
    ScriptDiagnostics diagnostics;
    const ScriptDocument document = TokenizeScript("Muxman.MXP", text, diagnostics);
    CheckMuxmanGrammar(document, diagnostics);
    CheckMuxmanReferences(ReadMuxmanModel(document, diagnostics), {}, diagnostics);
    return diagnostics;
}

void WriteFiles(test::JobFixture& fixture, const test::SampleMuxmanShape& shape) {
    for (int k = 1; k <= shape.StillCells; ++k) {
        fixture.temp.Write("JOB/NEW_M2V/001_00" + std::to_string(k) + ".m2v", "m2v");
        fixture.temp.Write("JOB/SUBS/SP_001_00" + std::to_string(k) + ".bmp", "bmp");
    }
    fixture.temp.Write("JOB/NEW_M2V/002.m2v", "m2v");
    fixture.temp.Write("JOB/NEW_M2V/Dummy.m2v", "m2v");
    fixture.temp.Write("JOB/DEMUXED/1-002.ac3", "ac3");
}

TEST(MuxmanLint, WrittenScriptsLintCleanThroughTheDriveMap) {
    test::JobFixture fixture;
    test::SampleMuxmanShape shape;
    WriteFiles(fixture, shape);
    fixture.temp.Write("JOB/Muxman.MXP", test::SampleMuxman(shape).Text());
    ScriptDiagnostics full;
    const LintedScript script = LintScriptFile(fixture.files, "K:\\JOB\\Muxman.MXP", full);
    EXPECT_EQ(script.Model.Dialect, ScriptDialect::Muxman);
    // Under another extension the first statement tells the dialect.
    EXPECT_TRUE(IsMuxmanScript("K:\\JOB\\Muxman.TXT", script.Document));
    EXPECT_FALSE(IsMuxmanScript("K:\\JOB\\Muxman.SCP", script.Document));
    EXPECT_EQ(full.Count(Severity::Error) + full.Count(Severity::Warning), 0U) << Listed(full);
    EXPECT_EQ(full.CountOf("oddity.uop-capitals"), 1U);  // the first PGC's "UOP="
    // The model prints with its plays' files and looks.
    const std::string printed = ScriptModelTree(script.Model).RenderText();
    EXPECT_NE(printed.find("file=K:\\JOB\\SUBS\\SP_001_002.bmp"), std::string::npos) << printed;
    EXPECT_NE(printed.find("display_area=0,0-719,479"), std::string::npos) << printed;

    // A small script reaches the motion menu's program and the title from
    // its menus: per unit still 1 two lines (its second button is a dummy),
    // still 2 two and still 3 three.
    shape.Full = false;
    fixture.temp.Write("JOB/MUXMAN/Muxman001.MXP", test::SampleMuxman(shape).Text());
    ScriptDiagnostics small;
    LintMuxmanFile(fixture.files, "K:\\JOB\\MUXMAN\\Muxman001.MXP", small);
    EXPECT_EQ(small.Count(Severity::Error) + small.Count(Severity::Warning), 0U) << Listed(small);
    EXPECT_EQ(small.CountOf("ref.outside-script"), 2U * (2 + 2 + 3)) << Listed(small);

    // Files are asked through the drive map.
    std::filesystem::remove(fixture.temp.Host("JOB/SUBS/SP_001_002.bmp"));
    ScriptDiagnostics missing;
    LintMuxmanFile(fixture.files, "K:\\JOB\\Muxman.MXP", missing);
    EXPECT_EQ(missing.CountOf("file.missing"), 1U) << Listed(missing);
}

struct Case {
    const char* What;
    std::string (*Damage)(const std::string& text);
    const char* Rule;
};

TEST(MuxmanLint, EachFaultIsAnsweredByItsRule) {
    using T = const std::string&;
    const Case kCases[] = {
        {"a section twice", [](T t) { return Replaced(t, "Section=Content", "Section=Navigation"); },
         "grammar.section-order"},
        {"a label out of its place", [](T t) { return Replaced(t, "Pre2: SetSTN", "Pre5: SetSTN"); },
         "grammar.command-label"},
        {"an unknown key", [](T t) { return Replaced(t, "Coding Mode=", "Codding Mode="); }, "grammar.unknown-key"},
        {"a time cut short", [](T t) { return Replaced(t, "Scene Time=00:00:01:00", "Scene Time=00:00:1:00"); },
         "value.time"},
        {"a name with a separator", [](T t) { return Replaced(t, "Name=VTS1_VOBID2", "Name=VTS1_VOBID2;B"); },
         "value.name"},
        {"a number that is none", [](T t) { return Replaced(t, "Color Index=1", "Color Index=x"); }, "value.number"},
        {"a scene that is none",
         [](T t) { return Replaced(t, "Linked Scene=VTS1_001_Scene_001", "Linked Scene=VTS1_001_Scene_009"); },
         "ref.linked-scene"},
        {"a palette that is none",
         [](T t) { return Replaced(t, "\t\t\t\tPalette=Palette1", "\t\t\t\tPalette=Palette7"); }, "ref.palette"},
        {"a next PGC that is none",
         [](T t) { return Replaced(t, "Next PGC=VTS001EnglishPGC2", "Next PGC=VTS001EnglishPGC7"); }, "ref.pgc-link"},
        {"a neighbour that is none", [](T t) { return Replaced(t, "Up Button=Button1", "Up Button=Button9"); },
         "ref.neighbour"},
        {"a forced button that was dropped",
         [](T t) { return Replaced(t, "Forced Selected Button=Button1", "Forced Selected Button=Button2"); },
         "ref.forced-button"},
        {"a dropped button's line that is no Nop",
         [](T t) { return Replaced(t, "\t\t\t\t\t\t\t\tNop\r\n", "\t\t\t\t\t\t\t\tLinkTopC, button=1\r\n"); },
         "ref.menu-lines"},
        {"a title jump to a PGC", [](T t) { return Replaced(t, "JumpVTS_TT VTS1T1", "JumpVTS_TT VTS001EnglishPGC1"); },
         "ref.command-target"},
        {"a GoTo past its list", [](T t) { return Replaced(t, "GoTo Pre3", "GoTo Pre4"); }, "ref.goto"},
        {"a cell command past its list", [](T t) { return Replaced(t, "Command=Cell1", "Command=Cell2"); },
         "ref.cell-command"},
        {"a part of title from another title",
         [](T t) { return Replaced(t, "\tItem=VTS1T1PGC1PG1\r", "\tItem=VTS001EnglishPGC1PG1\r"); },
         "ref.part-of-title"},
        {"a scene named twice", [](T t) { return Replaced(t, "Name=VTS1_002_Scene_002", "Name=VTS1_002_Scene_001"); },
         "ref.duplicate-name"},
        {"a command the decoder never writes", [](T t) { return Replaced(t, "Mov GPRM3, 7", "Mov GPRM3,7"); },
         "command.mxp-text"},
        {"an untranslated menu jump", [](T t) { return Replaced(t, "Mov GPRM3, 7", "SPECIAL_MENU_Root Menu"); },
         "command.mxp-text"},
        {"a jump past the title sets",
         [](T t) { return Replaced(t, "Pre3: Mov GPRM3, 7", "Pre3: JumpSS vts_2, vts_ttn_1 : RootMenu"); },
         "ref.vts-number"},
        // The writers' oddities
        {"an ERROR line", [](T t) { return Replaced(t, "Pre3: Mov GPRM3, 7", "Pre3: ERROR"); }, "oddity.error-line"},
        {"a replaced program link",
         [](T t) { return Replaced(t, "LinkPGN VTS001EnglishPGC1PG1, button=1", "LinkTopC, button=1, button=1"); },
         "oddity.replaced-link"},
        {"a JumpSS to title set 0",
         [](T t) { return Replaced(t, "Pre3: Mov GPRM3, 7", "Pre3: JumpSS vts_0, vts_ttn_1 : RootMenu"); },
         "oddity.jumpss-vts0"},
        {"a CallSS with resume cell 0",
         [](T t) { return Replaced(t, "CallSS RSM=2, EnglishTitleMenu", "CallSS RSM=1, pgc=1"); },
         "oddity.vmg-pgc-no-target"},
        {"the first PGC's palette with no pool",
         [](T t) {
             return ReplacedAll(Replaced(t, "Name=Palette1", "Name=Palette9"), "\t\t\t\tPalette=Palette1",
                                "\t\t\t\tPalette=DefaultPalette");
         },
         "oddity.fp-palette"},
        {"a time with a semicolon", [](T t) { return Replaced(t, "Scene Time=00:00:00:15", "Scene Time=00:00:00;15"); },
         "oddity.time-semicolon"},
    };
    const std::string text = test::SampleMuxman({}).Text();
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.What);
        const ScriptDiagnostics diagnostics = Lint(c.Damage(text));
        const auto& list = diagnostics.List();
        const auto found =
            std::find_if(list.begin(), list.end(), [&](const ScriptDiagnostic& d) { return d.Rule == c.Rule; });
        ASSERT_NE(found, list.end()) << Listed(diagnostics);
        // Only the fault put in: an oddity leaves the script without errors.
        EXPECT_EQ(diagnostics.HasErrors(), found->Level == Severity::Error) << Listed(diagnostics);
        EXPECT_EQ(found->Level == Severity::Error, !std::string(c.Rule).starts_with("oddity."));
    }
}

}  // namespace
}  // namespace kestrova
