// The linter's references: a name that names nothing, or the wrong kind or
// number of thing, is an error of its rule; the oddities of the scripts
// this system writes are warnings of their own rules; commands of the
// usual kinds lint clean.
#include <gtest/gtest.h>

#include "authoring/script_lint.h"
#include "sample_script.h"

namespace kestrova {
namespace {

std::string Text() { return test::SampleScript({}).Text(); }

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

// The first command of the text sets a new text and target.
std::string Command(const std::string& text, const std::string& was, const std::string& command,
                    const std::string& target) {
    std::string out = Replaced(text, "Command=" + was + "\r\n", "Command=" + command + "\r\n");
    const std::size_t at = out.find("To Action=", out.find("Command=" + command + "\r\n"));
    const std::size_t end = out.find("\r\n", at);
    return out.replace(at, end - at, "To Action=" + target);
}

ScriptDiagnostics Lint(const std::string& text, const ScriptLintOptions& options = {}) {
    ScriptDiagnostics diagnostics;
    const ScriptDocument document = TokenizeScript("S.SCP", text, diagnostics);
    CheckScenaristGrammar(document, diagnostics);
    CheckScenaristReferences(ReadScenaristModel(document, diagnostics), options, diagnostics);
    return diagnostics;
}

std::string Listed(const ScriptDiagnostics& diagnostics) {
    std::string out;
    for (const ScriptDiagnostic& d : diagnostics.List()) out += d.Format() + "\n";
    return out;
}

struct Case {
    const char* What;
    std::string (*Damage)(const std::string& text);
    const char* Rule;  // nullptr: lints clean
};

TEST(ScriptLint, EachBrokenReferenceIsAnErrorOfItsRuleAndEachOddityAWarning) {
    using T = const std::string&;
    const Case kCases[] = {
        // Errors
        {"a scene that is none",
         [](T t) { return Replaced(t, "Linked Scene=VTS_1_001_002_t_scn_1", "Linked Scene=VTS_1_001_002_t_scn_9"); },
         "ref.linked-scene"},
        {"a still play naming a sub-picture",
         [](T t) { return Replaced(t, "Data=VTS_1_001_001\r", "Data=SP_001_001\r"); }, "ref.data"},
        {"a palette that is none",
         [](T t) { return Replaced(t, "Color Palette=Palette_1", "Color Palette=Palette_2"); }, "ref.palette"},
        {"a link to the wrong PGC", [](T t) { return Command(t, "LinkPGCN 2", "LinkPGCN 2", "VTS_1_en_P_1"); },
         "ref.to-action"},
        {"a link to the wrong program",
         [](T t) { return Command(t, "LinkPGN 1, button=0", "LinkPGN 2, button=0", "VTS_1_en_P_1_G_1"); },
         "ref.to-action"},
        {"a jump to the wrong title", [](T t) { return Command(t, "JumpTT 1", "JumpTT 1", "VTS_1_T_2"); },
         "ref.to-action"},
        {"a jump past the titles", [](T t) { return Command(t, "JumpTT 1", "JumpTT 3", ""); }, "ref.title-number"},
        {"a jump past the title sets",
         [](T t) { return Command(t, "Mov GPRM3, 7", "JumpSS vts_2, vts_ttn_1 : RootMenu", ""); }, "ref.vts-number"},
        {"a target for a command that reaches none",
         [](T t) { return Command(t, "Mov GPRM3, 7", "Mov GPRM3, 7", "VTS_1_T_1"); }, "ref.to-action"},
        {"a command text the decoder never writes", [](T t) { return Command(t, "Mov GPRM3, 7", "Mov GPRM3,7", ""); },
         "command.text"},
        {"a cell command past the list", [](T t) { return Replaced(t, "Cell Command=1", "Cell Command=2"); },
         "ref.cell-command"},
        {"a GoTo past the list", [](T t) { return Replaced(t, "GoTo 1", "GoTo 3"); }, "ref.goto"},
        {"a neighbour of another highlight",
         [](T t) { return Replaced(t, "Up Button=VTS_1_001_001_btn_1_4", "Up Button=VTS_1_001_002_btn_1_4"); },
         "ref.neighbour"},
        {"a next PGC that is none", [](T t) { return Replaced(t, "Next PGC=VTS_1_en_P_2", "Next PGC=VTS_1_en_P_7"); },
         "ref.pgc-link"},
        {"a resume without a Resume PGC", [](T t) { return Replaced(t, "Goup PGC=VTS_1_en_P_1", "Goup PGC=_Resume_"); },
         "ref.pgc-link"},
        {"a part of title from a menu",
         [](T t) { return Replaced(t, "\tItem=VTS_1_T_1_P_1_G_1\r", "\tItem=VTS_1_en_P_1_G_1\r"); },
         "ref.part-of-title"},
        {"a menu track that is none", [](T t) { return Replaced(t, "Item=VTS_1_021_t\r", "Item=VTS_1_022_t\r"); },
         "ref.track-list"},
        // Oddities of the writers, and a jump to a menu no PGC is
        {"a button whose target was not found", [](T t) { return Command(t, "LinkPGCN 2", "LinkPGCN 2", "ERROR"); },
         "oddity.button-error"},
        {"a LinkCN to its cell's scene name",
         [](T t) { return Command(t, "Mov GPRM3, 7", "LinkCN 1, button=0", "VTS_1_021_t_scn_1_c"); },
         "oddity.linkcn-target"},
        {"an empty command", [](T t) { return Command(t, "Mov GPRM3, 7", "", ""); }, "oddity.empty-command"},
        {"a CallSS to the language's name",
         [](T t) { return Command(t, "Mov GPRM3, 7", "CallSS RSM=2, pgc_1", "VID_English_P_1"); },
         "oddity.callss-language-name"},
        {"a JumpSS to a VMG PGC", [](T t) { return Command(t, "Mov GPRM3, 7", "JumpSS pgc_1", ""); },
         "oddity.vmg-pgc-no-target"},
        {"a CallSS to a VMG PGC with RSM 0", [](T t) { return Command(t, "Mov GPRM3, 7", "CallSS RSM=1, pgc=1", ""); },
         "oddity.vmg-pgc-no-target"},
        {"an unnamed prohibition",
         [](T t) { return Replaced(t, "Stop()=Prohibited\r\n", "Stop()=Prohibited\r\n\t\t\t\t\t\t\t\t\r\n"); },
         "oddity.uop-empty-entry"},
        {"a jump to a menu no PGC is",
         [](T t) { return Command(t, "Mov GPRM3, 7", "JumpSS vts_1, vts_ttn_1 : AudioMenu", ""); }, "ref.menu"},
        // Clean
        {"a CallSS to a VMG PGC", [](T t) { return Command(t, "Mov GPRM3, 7", "CallSS RSM=2, pgc_1", "VID_en_P_1"); },
         nullptr},
        {"a JumpSS to a title set's root menu",
         [](T t) { return Command(t, "Mov GPRM3, 7", "JumpSS vts_1, vts_ttn_1 : RootMenu", ""); }, nullptr},
        {"a link behind a set",
         [](T t) { return Command(t, "Mov GPRM3, 7", "{ Mov GPRM1, 2 ; LinkPGCN 1 }", "VTS_1_en_P_1"); }, nullptr},
        {"a jump to a chapter",
         [](T t) { return Command(t, "Mov GPRM3, 7", "JumpVTS_PTT ptt_1 @ vts_ttn_1", "VTS_1_T_1_P_1_G_1"); }, nullptr},
    };
    const std::string text = Text();
    for (const Case& c : kCases) {
        SCOPED_TRACE(c.What);
        const ScriptDiagnostics diagnostics = Lint(c.Damage(text));
        const auto& list = diagnostics.List();
        if (c.Rule == nullptr) {
            EXPECT_EQ(diagnostics.Count(Severity::Error) + diagnostics.Count(Severity::Warning), 0U)
                << Listed(diagnostics);
            continue;
        }
        const auto found =
            std::find_if(list.begin(), list.end(), [&](const ScriptDiagnostic& d) { return d.Rule == c.Rule; });
        ASSERT_NE(found, list.end()) << Listed(diagnostics);
        EXPECT_EQ(diagnostics.HasErrors(), found->Level == Severity::Error) << Listed(diagnostics);
        const std::string rule = c.Rule;
        const bool error = (rule.starts_with("ref.") && rule != "ref.menu") || rule.starts_with("command.");
        EXPECT_EQ(found->Level == Severity::Error, error);
    }
}

TEST(ScriptLint, EveryAssetFileButThePlaceHoldersMustExist) {
    std::vector<std::string> asked;
    ScriptLintOptions options;
    options.FileExists = [&asked](const std::string& path) {
        asked.push_back(path);
        return false;
    };
    const ScriptDiagnostics diagnostics = Lint(Text(), options);
    // Five stills, the motion video, three dummies, the audio; not the five
    // sub-pictures, which are place holders; the title dummy's file asked once.
    EXPECT_EQ(diagnostics.CountOf("file.missing"), 10U) << Listed(diagnostics);
    EXPECT_EQ(asked.size(), 9U);
}

}  // namespace
}  // namespace kestrova
