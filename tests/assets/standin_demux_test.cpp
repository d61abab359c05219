// The DVD Decrypter, PgcDemux and vobtest stand-ins run through the tool
// table as the job runs them: the command lines the job writes, the drive
// map of the job, the exact names the later stages look for.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <regex>
#include <set>

#include "assets/memory_streams.h"
#include "assets/mpeg_test_streams.h"
#include "assets/program_stream.h"
#include "job/tool_table.h"
#include "platform/files.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

constexpr const char* kDemuxed = "K:\\JOB\\D_VIDEO_TS\\DEMUXED";

// A job whose drive D: is a fixture disc (or a folder of the test) and
// whose Windows tools are the stand-ins.
struct StandInJob : test::JobFixture {
    explicit StandInJob(const std::string& discHost) {
        paths.MapDrive('D', discHost, platform::DriveKind::CDRom);
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        runner.SetChildOutput([this](const std::string& line) { childOutput += line + "\n"; });
    }
    std::set<std::string> Names(const std::string& folder) const {
        const auto names = files.List(folder, "*.*", platform::ListKind::Files);
        return {names.begin(), names.end()};
    }
    void Run(const std::string& line) { runner.ShellAndWait(line, 2); }
    std::string childOutput;
};

std::string DiscRoot(const std::string& disc) { return std::filesystem::path(test::FixtureDisc(disc)).parent_path(); }

std::string Decrypter(const std::string& file, const std::string& folder, const std::string& split,
                      const std::string& demux, const std::string& tail) {
    return "K:\\Program\\DVDDecrypter.exe /MODE FILE /SRC D: /FILES " + file + " /DEST \"" + folder +
           "\" /START /CLOSE /SPLIT " + split + " /DEMUX " + demux + tail;
}

TEST(DemuxStandIns, DvdDecrypterLeavesOneFilePerStreamAndUnitUnderNamesTheRenamerReads) {
    StandInJob f(DiscRoot("pal-menu-cells-jumppad"));
    EXPECT_EQ(f.launcher.Plan("K:\\Program\\dvddecrypter.EXE /MODE FILE").WindowTitle, "DVD Decrypter");
    f.Run(Decrypter("VIDEO_TS.VOB", kDemuxed, "VOBID", "E0 80 81 82 83 84 85 86 87", " /DIRECT 2? 3? /CCVOB"));
    f.Run(Decrypter("VIDEO_TS.VOB", std::string(kDemuxed) + "_CELLID", "CELLID", "E0 80 81 82 83 84 85 86 87", ""));

    // Names in the renamer's grammar; the delay, which depends on the muxer's versions, is a pattern.
    const std::string audio = " - Audio 0x80 - DELAY (-?[0-9]+)ms.AC3", video = " - Video 0xE0.M2V";
    std::vector<std::string> byVob, byCell;
    for (const auto& [vob, cell] : {std::pair{1, 1}, {2, 1}, {3, 1}, {3, 2}, {3, 3}}) {
        const std::string id = "VIDEO_TS - VOBID_00" + std::to_string(vob);
        const std::string unit = id + " - CELLID_00" + std::to_string(cell);
        byCell.insert(byCell.end(), {unit + audio, unit + video});
        if (cell == 1) byVob.insert(byVob.end(), {id + audio, id + video, id + ".VOB"});
    }
    for (const auto& [folder, patterns] : {std::pair{std::string(kDemuxed), byVob},
                                           std::pair{std::string(kDemuxed) + "_CELLID", byCell}}) {
        const auto names = f.Names(folder);
        ASSERT_EQ(names.size(), patterns.size()) << folder << "\n" << f.childOutput;
        auto pattern = patterns.begin();
        for (const std::string& name : names) {
            std::smatch match;
            EXPECT_TRUE(std::regex_match(name, match, std::regex(*pattern++))) << name;
            if (match.size() > 1) {
                EXPECT_LT(std::abs(std::stoi(match[1].str())), 1000) << name;
            }
            EXPECT_GT(f.files.FileSize(folder + "\\" + name), 0u) << name;
        }
    }
}

TEST(DemuxStandIns, PgcDemuxLeavesItsFixedNamesForOneVobIdOrCell) {
    StandInJob f(DiscRoot("pal-menu-cells-jumppad"));
    const std::string ifo = "\"D:\\VIDEO_TS\\VIDEO_TS.IFO\"";
    const std::string vobLine =
        "K:\\Program\\PgcDemux.exe -m2v -vid 1 -aud -nosub -nolog -menu -nocellt -customvob nsvi " + ifo + " \"" +
        kDemuxed + "\"";
    f.Run(vobLine);
    EXPECT_EQ(f.Names(kDemuxed), (std::set<std::string>{"AudioFile_80.ac3", "VideoFile.m2v", "VTS_01_0.VOB"}))
        << f.childOutput;
    // The custom VOB keeps NAV, video and subpicture packs, no audio.
    const std::string vob = f.files.ToHost(std::string(kDemuxed) + "\\VTS_01_0.VOB");
    const auto size = f.files.FileSize(std::string(kDemuxed) + "\\VTS_01_0.VOB");
    EXPECT_EQ(size % 2048, 0u);
    f.Run(vobLine);
    EXPECT_EQ(f.files.FileSize(std::string(kDemuxed) + "\\VTS_01_0.VOB"), size) << "a second run replaces its files";
    const std::string probe =
        test::CaptureCommand("ffprobe -v error -show_entries stream=codec_type -of csv=p=0 '" + vob + "'");
    EXPECT_NE(probe.find("video"), std::string::npos) << probe;
    EXPECT_EQ(probe.find("audio"), std::string::npos) << probe;

    const std::string cellFolder = "K:\\JOB\\D_VIDEO_TS\\DEMUXED_CELLID";
    f.Run("K:\\Program\\PgcDemux.exe -m2v -cid 3 2 -aud -nolog -nosub -menu -nocellt " + ifo + " \"" + cellFolder +
          "\"");
    EXPECT_EQ(f.Names(cellFolder), (std::set<std::string>{"AudioFile_80.ac3", "VideoFile.m2v"})) << f.childOutput;
    // The MPEG audio of the motion menu of another disc.
    StandInJob g(DiscRoot("pal-vmg-buttons"));
    g.Run(vobLine);
    EXPECT_EQ(g.Names(kDemuxed), (std::set<std::string>{"AudioFile_C0.mpa", "VideoFile.m2v", "VTS_01_0.VOB"}))
        << g.childOutput;
}

TEST(DemuxStandIns, ADamagedVobOrAPartialRunLeavesWhatWasWholeAndSaysWhere) {
    const std::string source = test::FixtureDisc("pal-vmg-buttons") + "/VIDEO_TS.VOB";
    test::TempFolder disc;
    const auto bytes = platform::FileSystem(disc.Drives()).ReadText("Z:" + source);
    disc.Write("VIDEO_TS/VIDEO_TS.VOB", bytes.substr(0, 20 * 2048 + 100));
    StandInJob f(disc.Host());
    f.Run(Decrypter("VIDEO_TS.VOB", kDemuxed, "VOBID", "E0 C0", ""));
    EXPECT_NE(f.childOutput.find("VIDEO_TS.VOB\" at byte 40960 "), std::string::npos) << f.childOutput;
    EXPECT_EQ(f.files.FileSize(std::string(kDemuxed) + "\\VIDEO_TS - VOBID_001.VOB"), 20u * 2048);
    EXPECT_EQ(f.Names(kDemuxed).count("VIDEO_TS - VOBID_001 - Video 0xE0.M2V"), 1u);

    // Asked to fail partway, the tool splits the first half of the packs.
    StandInJob g(DiscRoot("pal-vmg-buttons"));
    g.launcher.SetEnvironment("KESTROVA_STANDIN_FAIL", "DVDDecrypter=partial");
    g.Run(Decrypter("VIDEO_TS.VOB", kDemuxed, "VOBID", "E0 C0", ""));
    std::uint64_t packs = 0;
    for (const std::string& name : g.Names(kDemuxed)) {
        if (name.ends_with(".VOB")) packs += g.files.FileSize(std::string(kDemuxed) + "\\" + name);
    }
    EXPECT_EQ(packs, bytes.size() / 2048 / 2 * 2048);
}

// A NAV pack whose PCI is cut short is reported by its offset, and the split
// and the still scan go on: every other cell is written.
TEST(DemuxStandIns, ANavPackCutShortIsReportedAndTheOtherCellsAreSplit) {
    test::TempFolder disc;
    const std::string source = test::FixtureDisc("pal-menu-cells-jumppad") + "/VIDEO_TS.VOB";
    std::string bytes = platform::FileSystem(disc.Drives()).ReadText("Z:" + source);
    test::MemoryReader input(test::Bytes(bytes.begin(), bytes.end()), "VIDEO_TS.VOB");
    ProgramStreamReader reader(input);
    const Pack* pack = reader.Next();
    while (pack != nullptr && !(pack->HasNav && pack->Nav.VobId == 3 && pack->Nav.CellId == 2)) pack = reader.Next();
    ASSERT_NE(pack, nullptr);
    // The PCI packet keeps 20 bytes; a padding packet fills the pack up to the DSI packet.
    const auto pci = std::find_if(pack->Packets.begin(), pack->Packets.end(),
                                  [](const PesPacket& packet) { return packet.StreamId == kPrivateStream2; });
    const std::size_t at = pack->Offset + pci->Offset, padding = (pci + 1)->Offset - pci->Offset - 32;
    bytes.replace(at + 4, 2, std::string("\0\x14", 2));
    bytes.replace(at + 26, 6, {0, 0, 1, '\xBE', static_cast<char>(padding >> 8), static_cast<char>(padding)});
    const std::string where = "VIDEO_TS.VOB\" NAV pack at byte " + std::to_string(pack->Offset) + " (sector " +
                              std::to_string(pack->Offset / kPackSize) + "): ";

    disc.Write("VIDEO_TS/VIDEO_TS.VOB", bytes);
    StandInJob f(disc.Host());
    const std::string folder = std::string(kDemuxed) + "_CELLID";
    f.Run(Decrypter("VIDEO_TS.VOB", folder, "CELLID", "E0 80", ""));
    const auto names = f.Names(folder);
    EXPECT_EQ(names.size(), 8u) << f.childOutput;
    for (const char* unit : {"VOBID_001 - CELLID_001", "VOBID_002 - CELLID_001", "VOBID_003 - CELLID_001",
                             "VOBID_003 - CELLID_003"}) {
        EXPECT_EQ(names.count("VIDEO_TS - " + std::string(unit) + " - Video 0xE0.M2V"), 1u) << unit;
    }
    f.Run("K:\\Program\\vobtest.exe \"D:\\VIDEO_TS\\VIDEO_TS.VOB\" \"K:\\VOBAnalysis.txt\"");
    EXPECT_EQ(f.files.ReadText("K:\\VOBAnalysis.txt"), "End Scan\r\n");
    EXPECT_EQ(f.runner.History().back().ExitCode, 0);
    const auto first = f.childOutput.find(where);
    ASSERT_NE(first, std::string::npos) << f.childOutput;
    EXPECT_NE(f.childOutput.find(where, first + 1), std::string::npos) << "vobtest reports it too\n" << f.childOutput;
}

}  // namespace
}  // namespace kestrova
