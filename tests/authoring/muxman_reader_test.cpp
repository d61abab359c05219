// The Muxman reader: a written script, FULL or small, comes back as the
// model it was written from, command lines whole with their targets.
#include <gtest/gtest.h>

#include "authoring/script_reader.h"
#include "sample_mxp.h"

namespace kestrova {
namespace {

std::string Listed(const ScriptDiagnostics& diagnostics) {
    std::string out;
    for (const ScriptDiagnostic& d : diagnostics.List()) out += d.Format() + "\n";
    return out;
}

ScriptModel Read(const std::string& text, ScriptDiagnostics& diagnostics) {
    const ScriptDocument document = TokenizeScript("Muxman.MXP", text, diagnostics);
    return ReadMuxmanModel(document, diagnostics);
}

TEST(MuxmanReader, FullScriptReadsBackIntoTheModel) {
    const test::SampleMuxmanShape shape;
    ScriptDiagnostics diagnostics;
    const ScriptModel model = Read(test::SampleMuxman(shape).Text(), diagnostics);
    EXPECT_TRUE(diagnostics.List().empty()) << Listed(diagnostics);
    EXPECT_EQ(model.Dialect, ScriptDialect::Muxman);
    EXPECT_EQ(model.DvdRootDirectory, "K:\\JOB\\Batch_1\\0\\VIDEO_TS");
    ASSERT_EQ(model.Palettes.size(), 2U);
    EXPECT_EQ(model.Palettes[1].Name, "DefaultPalette");
    ASSERT_EQ(model.Palettes[0].Colors.size(), 16U);
    EXPECT_EQ(model.Palettes[0].Colors[15].Index, 15);
    EXPECT_EQ(model.Palettes[0].Colors[15].Red, 245);
    EXPECT_EQ(model.Palettes[0].Colors[15].Blue, 135);

    ASSERT_EQ(model.TrackFolders.size(), 1U);
    EXPECT_EQ(model.TrackFolders[0].Name, "Content");
    const std::vector<ScriptTrack>& tracks = model.TrackFolders[0].Tracks;
    ASSERT_EQ(tracks.size(), 4U);
    const ScriptTrack& still = tracks[0];
    EXPECT_EQ(still.Name, "VTS1_VOBID1");
    EXPECT_EQ(still.Kind, ScriptTrackKind::StillMenu);
    EXPECT_EQ(still.Standard, "NTSC");
    ASSERT_EQ(still.VideoPlays.size(), 3U);
    EXPECT_EQ(still.VideoPlays[2].File, "K:\\JOB\\NEW_M2V\\001_003.m2v");
    EXPECT_EQ(still.VideoPlays[2].Duration, "Default");
    ASSERT_EQ(still.SubpictureStreams.size(), 1U);
    const ScriptPlay& bitmap = still.SubpictureStreams[0].Plays.at(1);
    EXPECT_EQ(bitmap.File, "K:\\JOB\\SUBS\\SP_001_002.bmp");
    EXPECT_EQ(bitmap.Look.TimeCode, "NTSC non-drop");
    EXPECT_EQ(bitmap.Look.DisplayArea.X2, 719);
    EXPECT_EQ(bitmap.Look.PixelColors[2], "ffffff = = =");
    EXPECT_EQ(bitmap.Look.Color, (std::array<int, 4>{3, 2, 1, 0}));
    EXPECT_EQ(bitmap.Look.Contrast[0], 15);
    ASSERT_EQ(still.Highlights.size(), 3U);
    const ScriptHighlight& first = still.Highlights[0];
    EXPECT_EQ(first.SelectEndTime, "00:00:00:00");
    EXPECT_EQ(first.ButtonModes[0], "Normal");
    EXPECT_EQ(first.NumericalButtons, 3);
    EXPECT_EQ(first.ForcedSelected, "Button1");
    EXPECT_EQ(first.ForcedActivated, "Nonexistent");
    EXPECT_EQ(first.ColorGroups.at(0).ActionColor, (std::array<int, 4>{13, 12, 3, 1}));
    // Button 2 was dropped: the others keep their numbers, and their
    // neighbours pass over it.
    ASSERT_EQ(first.Buttons.size(), 3U);
    EXPECT_EQ(first.Buttons[1].Name, "Button3");
    EXPECT_EQ(first.Buttons[1].Number, 3);
    EXPECT_EQ(first.Buttons[1].Up, "Button1");
    ASSERT_EQ(first.Buttons[1].Areas.size(), 1U);  // "Area 2=" and "Area 3=" are empty
    EXPECT_EQ(first.Buttons[1].Areas[0].Y2, 20 + 36 + 10);
    EXPECT_EQ(still.Scenes.at(2).SceneTime, "00:00:01:00");
    EXPECT_EQ(still.Scenes.at(2).Uop, "00000000");
    const ScriptTrack& motion = tracks[1];
    EXPECT_EQ(motion.Kind, ScriptTrackKind::Video);
    ASSERT_EQ(motion.AudioStreams.size(), 1U);
    EXPECT_EQ(motion.AudioStreams[0].LanguageExtension, 1);
    EXPECT_EQ(motion.AudioStreams[0].Plays.at(0).File, "K:\\JOB\\DEMUXED\\1-002.ac3");

    const ScriptScenario& scenario = model.Scenario;
    ASSERT_TRUE(scenario.FirstPgc.has_value());
    EXPECT_EQ(scenario.FirstPgc->Uop, "00000000");  // written "UOP="
    EXPECT_EQ(scenario.FirstPgc->Palette, "Palette1");
    ASSERT_EQ(scenario.Domains.size(), 2U);
    const ScriptDomain& vmg = scenario.Domains[0];
    EXPECT_EQ(vmg.Kind, ScriptDomainKind::VideoManager);
    EXPECT_EQ(vmg.Languages.at(0).Label, "VMGEnglish");
    EXPECT_EQ(vmg.Languages[0].LanguageName, "English");
    EXPECT_EQ(vmg.Languages[0].Name, "en");
    const ScriptCommand& call = vmg.Languages[0].Pgcs.at(1).PreCommands.at(0);
    EXPECT_EQ(call.Text, "CallSS RSM=2, EnglishTitleMenu");
    EXPECT_EQ(call.Target, "EnglishTitleMenu");

    const ScriptDomain& vts = scenario.Domains[1];
    EXPECT_EQ(vts.Name, "VTS001");
    ASSERT_EQ(vts.Languages.size(), 2U);
    EXPECT_EQ(vts.Languages[1].LanguageName, "French");
    const ScriptPgc& pgc = vts.Languages[0].Pgcs.at(0);
    EXPECT_EQ(pgc.Name, "VTS001EnglishPGC1");
    EXPECT_EQ(pgc.MenuId, "Root Menu");
    EXPECT_EQ(pgc.NextPgc, "VTS001EnglishPGC2");
    EXPECT_EQ(pgc.GoupPgc, "resume");
    // A command line holding "=" comes back whole.
    ASSERT_EQ(pgc.PreCommands.size(), 3U);
    EXPECT_EQ(pgc.PreCommands[1].Name, "Pre2");
    EXPECT_EQ(pgc.PreCommands[1].Text, "SetSTN audio=1, subpicture=1:OFF");
    EXPECT_EQ(pgc.PreCommands[0].Text, "if ( GPRM0 == 2 ) GoTo Pre3");
    EXPECT_EQ(pgc.CellCommands.at(0).Target, "VTS001EnglishPGC1PG1");
    ASSERT_EQ(pgc.Programs.size(), 3U);  // the motion menu, stills 1 and 3
    EXPECT_EQ(pgc.Programs[0].Cells.at(0).CellCommand, 1);
    const ScriptCell& cell = pgc.Programs[1].Cells.at(0);
    EXPECT_EQ(cell.Name, "VTS001EnglishPGC1C003");
    EXPECT_EQ(cell.LinkedScene, "VTS1_001_Scene_001");
    EXPECT_EQ(cell.StillTime, 255);
    ASSERT_EQ(cell.Menus.size(), 1U);
    ASSERT_EQ(cell.Menus[0].Commands.size(), 4U);
    EXPECT_EQ(cell.Menus[0].Commands[0].Target, "VTS001EnglishPGC2");
    EXPECT_EQ(cell.Menus[0].Commands[1].Text, "Nop");
    EXPECT_EQ(cell.Menus[0].Commands[2].Target, "VTS1T1");
    EXPECT_EQ(cell.Menus[0].Commands[3].Target, "VTS1T1PGC1PG1");
    ASSERT_EQ(vts.Titles.size(), 1U);
    EXPECT_EQ(vts.Titles[0].Uop, "0");
    EXPECT_EQ(vts.Titles[0].Pgcs.at(0).Programs.at(0).Cells.at(0).LinkedScene, "VTS1T1PGC1PG1_scn");
    EXPECT_EQ(vts.Titles[0].PartOfTitle.at(0).Name, "VTS1T1PGC1PG1");
}

TEST(MuxmanReader, SmallScriptHoldsOneSegmentAndItsUnitsAsTitles) {
    test::SampleMuxmanShape shape;
    shape.Full = false;
    ScriptDiagnostics diagnostics;
    const ScriptModel model = Read(test::SampleMuxman(shape).Text(), diagnostics);
    EXPECT_TRUE(diagnostics.List().empty()) << Listed(diagnostics);
    EXPECT_TRUE(model.DvdRootDirectory.empty());
    ASSERT_EQ(model.TrackFolders.at(0).Tracks.size(), 1U);
    ASSERT_EQ(model.Scenario.Domains.size(), 2U);
    const ScriptDomain& vmg = model.Scenario.Domains[0];
    EXPECT_EQ(vmg.Languages.at(0).Pgcs.size(), 3U);  // two skeleton PGCs and the dummy PGC
    EXPECT_EQ(vmg.Languages[0].Pgcs[2].Programs.at(0).Cells.at(2).LinkedScene, "VTS1_001_Scene_003");
    EXPECT_EQ(vmg.Languages[0].PartOfTitle.at(0).Name, "DummyProgram");
    const ScriptDomain& vts = model.Scenario.Domains[1];
    EXPECT_TRUE(vts.Languages.empty());
    ASSERT_EQ(vts.Titles.size(), 2U);
    EXPECT_EQ(vts.Titles[1].Name, "VTS001French");
    const ScriptPgc& pgc = vts.Titles[0].Pgcs.at(0);
    EXPECT_EQ(pgc.MenuId, "Title Entry");
    EXPECT_TRUE(pgc.PreCommands.empty());
    // Programs and cells keep their numbers of the whole PGC.
    EXPECT_EQ(pgc.Programs.at(0).Name, "VTS001EnglishPGC1PG2");
    EXPECT_EQ(pgc.Programs[0].Cells.at(0).Name, "VTS001EnglishPGC1C003");
}

}  // namespace
}  // namespace kestrova
