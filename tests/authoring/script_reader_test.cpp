// The script reader: a written script comes back as the model it was
// written from; every fault of the grammar is answered with file:line and
// what was expected; damaged scripts never crash it.
#include <gtest/gtest.h>

#include <functional>
#include <random>

#include "authoring/script_lint.h"
#include "authoring/script_print.h"
#include "authoring/script_reader.h"
#include "sample_mxp.h"
#include "sample_script.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

struct Lint {
    ScriptDiagnostics Diagnostics;
    ScriptDocument Document;
    ScriptModel Model;
};

// Tokenizes, reads and lints a text without the file checks.
std::unique_ptr<Lint> LintText(const std::string& text) {
    auto lint = std::make_unique<Lint>();
    lint->Document = TokenizeScript("S.SCP", text, lint->Diagnostics);
    lint->Model = ReadScenaristModel(lint->Document, lint->Diagnostics);
    CheckScenaristGrammar(lint->Document, lint->Diagnostics);
    CheckScenaristReferences(lint->Model, {}, lint->Diagnostics);
    lint->Diagnostics.Finish();
    return lint;
}

std::unique_ptr<Lint> LintMuxmanText(const std::string& text) {
    auto lint = std::make_unique<Lint>();
    lint->Document = TokenizeScript("S.MXP", text, lint->Diagnostics);
    lint->Model = ReadMuxmanModel(lint->Document, lint->Diagnostics);
    CheckMuxmanGrammar(lint->Document, lint->Diagnostics);
    CheckMuxmanReferences(lint->Model, {}, lint->Diagnostics);
    lint->Diagnostics.Finish();
    return lint;
}

std::uint32_t LineOf(const std::string& text, const std::string& part, int n = 1);

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
    const std::size_t at = text.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos) text.replace(at, from.size(), to);
    return text;
}

std::string AllDiagnostics(const ScriptDiagnostics& diagnostics) {
    std::string out;
    for (const ScriptDiagnostic& d : diagnostics.List()) out += d.Format() + "\n";
    return out;
}

TEST(ScriptReader, WrittenScriptReadsBackAndLintsCleanThroughTheDriveMap) {
    test::JobFixture fixture;
    const test::SampleScriptShape shape;
    const std::string text = test::SampleScript(shape).Text();
    fixture.temp.Write("JOB/Batch_1/S.SCP", text);
    for (int k = 1; k <= shape.StillCells; ++k) {
        fixture.temp.Write("JOB/NEW_M2V/" + test::SampleScript::StillFile(shape, k).substr(15), "m2v");
    }
    fixture.temp.Write("JOB/NEW_M2V/021.m2v", "m2v");
    fixture.temp.Write("JOB/NEW_M2V/DUMMY.M2V", "m2v");  // named "Dummy.m2v": the path space ignores case
    fixture.temp.Write("JOB/Title_Dummy.m2v", "m2v");
    fixture.temp.Write("JOB/DEMUXED/1-021.ac3", "ac3");
    // The sub-pictures are place holders and have no file.

    ScriptDiagnostics diagnostics;
    const ScenaristScript script = LintScenaristFile(fixture.files, "K:\\JOB\\Batch_1\\S.SCP", diagnostics);
    // The motion menu's two cells play in PGC 1 of both languages: cells
    // share their scene's name, a note each.
    EXPECT_EQ(diagnostics.Count(Severity::Error), 0U) << AllDiagnostics(diagnostics);
    EXPECT_EQ(diagnostics.Count(Severity::Warning), 0U) << AllDiagnostics(diagnostics);
    EXPECT_EQ(diagnostics.CountOf("oddity.shared-cell-name"), 2U);

    const ScriptModel& model = script.Model;
    EXPECT_EQ(model.DataFormatVersion, 5);
    EXPECT_EQ(model.DvdRootDirectory, "K:\\JOB\\Batch_1\\0\\");
    ASSERT_EQ(model.DataFolders.size(), 3U);
    EXPECT_EQ(model.DataFolders[0].Items.size(), 5U + 4U);
    EXPECT_EQ(model.DataFolders[1].Items.at(0).Channels, "3/2");
    EXPECT_TRUE(model.DataFolders[2].Items.at(0).PlaceHolder);
    ASSERT_EQ(model.TrackFolders.size(), 2U);
    const ScriptTrack& still = model.TrackFolders[0].Tracks.at(1);
    EXPECT_EQ(still.Name, "VTS_1_001_002_t");
    EXPECT_EQ(still.Kind, ScriptTrackKind::StillMenu);
    EXPECT_EQ(still.Place.Line, LineOf(text, "Name=VTS_1_001_002_t\r") - 2);  // "Item=" and "{" before it
    ASSERT_EQ(still.Highlights.size(), 1U);
    const ScriptButton& button = still.Highlights[0].Buttons.at(3);
    EXPECT_EQ(button.Number, 4);
    EXPECT_EQ(button.Areas.size(), 3U);
    EXPECT_EQ(button.Areas[2].Y2, 20 + 12 * 4 + 10);
    EXPECT_EQ(button.Down, "VTS_1_001_002_btn_1_1");
    EXPECT_EQ(still.Highlights[0].ColorGroups.at(0).ActionColor[0], 13);
    EXPECT_EQ(still.Highlights[0].ColorGroups.at(0).SelectionContrast[3], 0);
    EXPECT_EQ(model.TrackFolders[0].Tracks.back().AudioStreams.at(0).Plays.at(0).Data, "VTS_1_1_021_80");

    const ScriptScenario& scenario = model.Scenario;
    ASSERT_TRUE(scenario.FirstPgc.has_value());
    EXPECT_EQ(scenario.FirstPgc->PreCommands.at(0).Target, "VTS_1_T_1");
    ASSERT_EQ(scenario.Domains.size(), 2U);
    const ScriptDomain& vts = scenario.Domains[1];
    EXPECT_EQ(vts.Kind, ScriptDomainKind::TitleSet);
    ASSERT_EQ(vts.Languages.size(), 2U);
    EXPECT_EQ(vts.Languages[1].LanguageName, "French");
    const ScriptPgc& pgc = vts.Languages[0].Pgcs.at(0);
    EXPECT_EQ(pgc.Name, "VTS_1_en_P_1");
    EXPECT_EQ(pgc.MenuId, "Root Menu");
    EXPECT_EQ(pgc.Uops, std::vector<std::string>{"UOP3  Stop()=Prohibited"});
    EXPECT_EQ(pgc.PreCommands.at(1).Text, "if ( GPRM0 == 2 ) GoTo 1");  // a value holding "="
    ASSERT_EQ(pgc.Programs.size(), 4U);                                 // two motion cells, stills 1 and 5
    const ScriptCell& cell = pgc.Programs[2].Cells.at(0);
    EXPECT_EQ(cell.LinkedScene, "VTS_1_001_001_t_scn_1");
    EXPECT_EQ(cell.StillTime, 255);
    ASSERT_EQ(cell.Menus.size(), 1U);
    EXPECT_EQ(cell.Menus[0].Commands.at(0).Text, "LinkPGCN 2");
    EXPECT_EQ(cell.Menus[0].Commands.at(0).Target, "VTS_1_en_P_2");
    EXPECT_EQ(vts.Titles.at(0).PartOfTitle.at(0).Name, "VTS_1_T_1_P_1_G_1");
    EXPECT_EQ(model.Palettes.at(1).Colors.at(15).Red, 240);

    // A command prints as one line with the line it stands at.
    const std::string printed = ScriptModelTree(model).RenderText();
    const std::string command =
        "command 1: line=" + std::to_string(LineOf(text, "Name=VTS_1_001_001_t_scn_1_1_m_1") - 2) +
        " name=VTS_1_001_001_t_scn_1_1_m_1 command=\"LinkPGCN 2\" to_action=VTS_1_en_P_2\n";
    EXPECT_NE(printed.find(command), std::string::npos) << printed;
}

// The line of the n-th occurrence of a text, and the last line.
std::uint32_t LineOf(const std::string& text, const std::string& part, int n) {
    std::size_t at = std::string::npos;
    for (int i = 0; i < n; ++i) at = text.find(part, at == std::string::npos ? 0 : at + 1);
    EXPECT_NE(at, std::string::npos) << part;
    return static_cast<std::uint32_t>(std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') +
                                      1);
}
std::uint32_t LastLine(const std::string& text) {
    const auto lines = static_cast<std::uint32_t>(std::count(text.begin(), text.end(), '\n'));
    return std::max<std::uint32_t>(1, text.empty() || text.back() == '\n' ? lines : lines + 1);
}

// A fault put into the written script, the rule and line that answer it,
// and part of what the answer says was expected.
struct GrammarFault {
    const char* What;
    std::string (*Damage)(const std::string& text);
    const char* Rule;
    std::uint32_t (*Line)(const std::string& damaged);
    const char* Says;
};

TEST(ScriptReader, GrammarFaultsAreAnsweredWithFileLineAndWhatWasExpected) {
    using T = const std::string&;
    const GrammarFault kFaults[] = {
        {"an LF-only line", [](T t) { return Replaced(t, "Name=Video Assets\r\n", "Name=Video Assets\n"); },
         "grammar.crlf", [](T d) { return LineOf(d, "Name=Video Assets"); }, "LF without CR: lines end in CR LF"},
        {"blanks for tabs", [](T t) { return Replaced(t, "\t\t\tName=Video Assets", "      Name=Video Assets"); },
         "grammar.tabs", [](T d) { return LineOf(d, "Name=Video Assets"); }, "tabs only"},
        {"a brace left out",
         [](T t) {
             return Replaced(t, "Name=Audio Assets\r\n\t\t\tData=List\r\n\t\t\t{\r\n",
                             "Name=Audio Assets\r\n\t\t\tData=List\r\n");
         },
         "grammar.depth", [](T d) { return LineOf(d, "Item=AC3 Audio"); }, "3 blocks are open: depth 3 expected"},
        {"a brace too many", [](T t) { return t + "}\r\n"; }, "grammar.unbalanced", LastLine,
         "\"}\" with no block open"},
        {"a brace at the wrong depth",
         [](T t) { return Replaced(t, "Object=Scenario\r\n{", "Object=Scenario\r\n\t{"); }, "grammar.brace",
         [](T d) { return LineOf(d, "Object=Scenario") + 1; }, "depth 0 of \"Object=Scenario\" (line"},
        {"a file cut inside a line", [](T t) { return t.substr(0, t.find("Name=Audio Assets") + 8); },
         "grammar.truncated", LastLine, "CR LF expected at its end"},
        {"a file cut between lines", [](T t) { return t.substr(0, t.find("Object=Scenario") - 3); },
         "grammar.unbalanced", LastLine, "\"}\" expected at depth 0 to close \"Object=Track Folder\""},
        {"an unknown key", [](T t) { return Replaced(t, "Comment=\r\n", "Coment=\r\n"); }, "grammar.unknown-key",
         [](T d) { return LineOf(d, "Coment="); }, "unknown key \"Coment\" in a video item"},
        {"a block where a value belongs",
         [](T t) { return Replaced(t, "\tName=Data\r\n", "\tName=Data\r\n\t{\r\n\t}\r\n"); }, "grammar.block",
         [](T d) { return LineOf(d, "Name=Data"); }, "\"Name\" takes a value"},
        {"a duplicate name", [](T t) { return Replaced(t, "Name=VTS_1_001_002_t\r", "Name=VTS_1_001_001_t\r"); },
         "ref.duplicate-name", [](T d) { return LineOf(d, "Name=VTS_1_001_001_t\r", 2) - 2; },
         "track name \"VTS_1_001_001_t\" is already the name of line"},
        {"an 8-bit byte",
         [](T t) {
             return Replaced(t, "Language Name=French",
                             "Language Name=Fran\xE7"
                             "ais");
         },
         "grammar.8bit", [](T d) { return LineOf(d, "Language Name=Fran"); },
         "byte 0xE7 in column 24: 7-bit text expected"},
        {"a control byte", [](T t) { return Replaced(t, "Name=Scenario", std::string("Name=Scen\0rio", 13)); },
         "grammar.control", [](T d) { return LineOf(d, "Name=Scen"); }, "control byte 0x00 in column 11"},
        {"an empty file", [](T) { return std::string(); }, "grammar.empty-file", LastLine,
         "\"Object=Version\" expected on line 1"},
        {"a bare brace behind Version", [](T t) { return Replaced(t, "}    \r\n", "}\r\n"); }, "grammar.version-brace",
         [](T d) { return LineOf(d, "Edition Version") + 1; }, "a brace and four blanks"},
        {"objects out of order", [](T t) { return Replaced(t, "Object=Default Setting", "Object=Version"); },
         "grammar.object-order", [](T d) { return LineOf(d, "Object=Version", 2); }, "out of order or repeated"},
        {"an empty line", [](T t) { return Replaced(t, "\tName=Data\r\n", "\tName=Data\r\n\r\n"); },
         "grammar.statement", [](T d) { return LineOf(d, "Name=Data") + 1; }, "an empty line: key=value"},
        {"a number that is none", [](T t) { return Replaced(t, "Cell Still Time=255", "Cell Still Time=25x"); },
         "value.number", [](T d) { return LineOf(d, "Cell Still Time=25x"); }, "a whole number expected"},
    };
    const std::string text = test::SampleScript({}).Text();
    for (const GrammarFault& fault : kFaults) {
        SCOPED_TRACE(fault.What);
        const std::string damaged = fault.Damage(text);
        const auto lint = LintText(damaged);
        const std::uint32_t line = fault.Line(damaged);
        const auto& list = lint->Diagnostics.List();
        const auto found =
            std::find_if(list.begin(), list.end(), [&](const ScriptDiagnostic& d) { return d.Rule == fault.Rule; });
        ASSERT_NE(found, list.end()) << AllDiagnostics(lint->Diagnostics);
        EXPECT_EQ(found->Format().rfind("S.SCP:" + std::to_string(line) + ": ", 0), 0U) << found->Format();
        EXPECT_NE(found->Text.find(fault.Says), std::string::npos) << found->Format();
        EXPECT_EQ(lint->Diagnostics.HasErrors(), fault.Rule != std::string("grammar.8bit"))
            << AllDiagnostics(lint->Diagnostics);
    }
}

// Damaged scripts: cut at many points, bytes changed, lines swapped. Each is
// read without a crash (the sanitizers watch), and each cut answers with an
// error, each foreign byte with at least a warning.
void Damage(const std::string& text, const std::function<std::unique_ptr<Lint>(const std::string&)>& lintText) {
    std::mt19937 random(17);
    const auto read = [&lintText](const std::string& damaged) {
        auto lint = lintText(damaged);
        static_cast<void>(ScriptModelTree(lint->Model).RenderJson());
        return lint;
    };
    for (std::size_t cut = 1; cut < text.size(); cut += 1 + random() % 251) {
        EXPECT_TRUE(read(text.substr(0, cut))->Diagnostics.HasErrors()) << "cut at byte " << cut;
    }
    for (int i = 0; i < 150; ++i) {
        std::string damaged = text;
        const std::size_t at = random() % damaged.size();
        const auto byte = static_cast<char>(random() % 256);
        damaged[at] = byte;
        const auto lint = read(damaged);
        const auto u = static_cast<unsigned char>(byte);
        if (u >= 0x80 || (u < 0x20 && u != '\t' && u != '\r' && u != '\n')) {
            EXPECT_FALSE(lint->Diagnostics.List().empty()) << "byte " << int(u) << " at " << at;
        }
    }
    std::vector<std::string> lines;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t end = text.find('\n', at) + 1;
        lines.push_back(text.substr(at, end - at));
        at = end;
    }
    for (int i = 0; i < 100; ++i) {
        std::vector<std::string> swapped = lines;
        std::swap(swapped[random() % swapped.size()], swapped[random() % swapped.size()]);
        std::string damaged;
        for (const std::string& line : swapped) damaged += line;
        read(damaged);
    }
}

TEST(ScriptReader, DamagedScriptsNeverCrashTheReader) {
    Damage(test::SampleScript({1, 2, 2, 2}).Text(), LintText);
}

TEST(ScriptReader, DamagedMuxmanScriptsNeverCrashTheReader) {
    test::SampleMuxmanShape shape;
    shape.Languages = 1;
    Damage(test::SampleMuxman(shape).Text(), LintMuxmanText);
    shape.Full = false;
    Damage(test::SampleMuxman(shape).Text(), LintMuxmanText);
}

}  // namespace
}  // namespace kestrova
