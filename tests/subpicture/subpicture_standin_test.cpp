// The vsrip, vsconv and BitmapResize stand-ins run through the tool table
// as the job runs them: the made-up IFO and list files of CreateIFO, the
// VSCONV.bat lines of NewConvert_SUBS. What they leave is checked against
// the VOB as the decoder and ffprobe read it, and the .sst against the
// line grammar the list reader expects.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <sstream>

#include "assets/memory_streams.h"
#include "assets/mpeg_test_streams.h"
#include "assets/program_stream.h"
#include "dvd/disc_reading.h"
#include "job/folders.h"
#include "job/tool_table.h"
#include "standins/indexed_bmp.h"
#include "standins/program_folder.h"
#include "subpicture/extraction.h"
#include "subpicture/spu_decoder.h"
#include "subpicture/sst.h"
#include "subpicture/sst_support.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

constexpr const char* kSubtitles = "K:\\Job\\D_VIDEO_TS\\SUBTITLES";

std::string ReadHost(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// A job in the VMG's work folder whose subpicture tools are the stand-ins.
struct SubpictureJob : test::JobFixture {
    SubpictureJob() {
        AddStandInTools(launcher, KESTROVA_HOST_PROGRAMS);
        runner.SetChildOutput([this](const std::string& line) { childOutput += line + "\n"; });
        job.RecoveryJournal.File("K:\\Kestrova_Recovery.LOG");
        job.JobRoot = job.OutputFolder = "K:\\Job";
        job.WorkFolder = "K:\\Job\\D_VIDEO_TS";
        job.Timing.VideoStandard = "PAL";
        MakeWorkFolders(job, job.WorkFolder);
    }
    std::string Path(const std::string& name) const { return std::string(kSubtitles) + "\\" + name; }
    std::string Text(const std::string& name) const { return files.ReadText(Path(name)); }
    int Run(const std::string& line) {
        runner.ShellAndWait(line, 0);
        return runner.History().back().ExitCode;
    }
    std::string childOutput;
};

// One "timestamp:" line of an idx section.
struct IdxEntry {
    double Seconds = 0;
    std::size_t FilePos = 0;
    std::string VobId, CellId;
    bool Highlight = false;
};

// The idx by stream id (the "index:" number), its SPUs in order.
std::map<int, std::vector<IdxEntry>> ReadIdx(const std::string& text) {
    std::map<int, std::vector<IdxEntry>> streams;
    std::istringstream lines(text);
    std::vector<IdxEntry>* section = nullptr;
    std::string vob, cell;
    std::smatch match;
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.empty()) continue;
        if (std::regex_match(line, match, std::regex(R"(id: --, index: (\d+))"))) {
            section = &streams[std::stoi(match[1])];
        } else if (std::regex_match(line, match, std::regex(R"(# Vob/Cell ID: (\d+), (\d+) \(PTS: \d+\))"))) {
            vob = match[1], cell = match[2];
        } else if (
            std::regex_match(
                line, match,
                std::regex(
                    R"(timestamp: (\d\d):(\d\d):(\d\d):(\d\d\d), filepos: ([0-9a-f]{9}), PTS:[0-9a-f]+, highlight: ([01]))"))) {
            EXPECT_NE(section, nullptr) << line;
            if (section == nullptr) continue;
            section->push_back({std::stoi(match[1]) * 3600 + std::stoi(match[2]) * 60 + std::stoi(match[3]) +
                                    std::stoi(match[4]) / 1000.0,
                                std::stoul(match[5], nullptr, 16), vob, cell, match[6] == "1"});
        } else {
            EXPECT_TRUE(section == nullptr && line.find("timestamp") == std::string::npos)
                << "unread idx line: " << line;
        }
    }
    return streams;
}

// One event of a .sst, as the job's list reader splits it.
struct ListedEvent {
    int Start = 0, End = -1;  // frames from the VOB id's start; -1: never stops
    std::string Bitmap;
    bool Highlight = false;
};

struct SstList {
    std::vector<std::string> Head;
    std::vector<ListedEvent> Events;
};

// Reads a .sst with the job's own list reader, line by line: writer and
// reader must agree on every line past the 16 head lines.
SstList ReadSst(const std::string& text, int frameBase) {
    SstList list;
    EXPECT_TRUE(text.ends_with("\r\n"));
    const auto frames = [frameBase](const std::string& label) {
        if (label == "99:99:99:99") return -1;
        return ((std::stoi(label.substr(0, 2)) * 60 + std::stoi(label.substr(3, 2))) * 60 +
                std::stoi(label.substr(6, 2))) *
                   frameBase +
               std::stoi(label.substr(9, 2));
    };
    std::istringstream lines(text);
    std::string line;
    for (std::size_t position = 0; std::getline(lines, line); ++position) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (position < kSstHeadLines) {
            list.Head.push_back(line);
            continue;
        }
        if (ClassifySstLine(line, position) != SstLineKind::Event) continue;
        SstEvent event;
        std::string fault;
        EXPECT_TRUE(ParseSstEvent(line, event, fault)) << fault;
        list.Events.push_back({frames(event.Start), frames(event.End), event.FileName, event.Highlight});
    }
    EXPECT_EQ(list.Head.size(), kSstHeadLines);
    return list;
}

// Width and height of a BMP file.
std::pair<std::int32_t, std::uint32_t> BmpSize(const std::string& bytes) {
    const standin::IndexedBmpFile bmp = standin::ReadIndexedBmp(bytes, "bitmap");
    return {bmp.Width, bmp.Height};
}

// ffprobe's packets of the idx: per stream, each packet's time and size.
std::map<int, std::vector<std::pair<double, int>>> ProbeIdx(const std::string& hostPath) {
    std::istringstream output(test::CaptureCommand(
        "ffprobe -v error -show_entries packet=stream_index,pts_time,size -of csv=p=0 '" + hostPath + "'"));
    std::map<int, std::vector<std::pair<double, int>>> packets;
    for (std::string line; std::getline(output, line);) {
        std::istringstream fields(line);
        std::string index, time, size;
        std::getline(fields, index, ','), std::getline(fields, time, ','), std::getline(fields, size, ',');
        packets[std::stoi(index)].emplace_back(std::stod(time), std::stoi(size));
    }
    return packets;
}

// Two menu domains of the fixture discs, each ripped as one PGC by
// CreateIFO and NewConvert_SUBS with the stand-ins: every SPU the decoder
// finds in the VOB is in the rip, ffprobe reads it back at the idx's time
// with the SPU's size, and each becomes an event whose bitmap exists. All
// their SPUs are forced button highlights. The jumppad disc's VMG menus
// restart their PTS in each VOB id: an intro of 1.2 s without buttons,
// a loop of 1.2 s, then menu 2, each SPU at the start of its VOB id, which
// is where its times count from.
TEST(SubpictureStandIns, FixtureMenusAreRippedAndConvertedSpuForSpu) {
    KESTROVA_REQUIRE_FFMPEG();
    const struct {
        const char* Disc;
        std::int16_t Domain;
        const char* Vob;
        bool Ntsc;
        std::vector<double> Seconds;  // of the SPUs from their VOB id's start; empty: not checked
    } menus[] = {{"pal-menu-cells-jumppad", 1, "VIDEO_TS.VOB", false, {0, 0}},
                 {"ntsc-vts-menus-2lang", 2, "VTS_01_0.VOB", true, {}}};
    for (const auto& menu : menus) {
        SCOPED_TRACE(std::string(menu.Disc) + " " + menu.Vob);
        SubpictureJob f;
        const std::string disc = test::FixtureDisc(menu.Disc);
        test::ReadDisc(f.job, disc);
        f.job.DomainIndex = menu.Domain;
        const std::string vob = ReadHost(disc + "/" + menu.Vob);
        f.files.WriteText(f.Path("VTS_01_0.VOB"), vob);

        ASSERT_EQ(CreateIFO(f.job), 1) << f.childOutput;
        EXPECT_EQ(NewConvert_SUBS(f.job, 1), 1) << f.childOutput;
        EXPECT_EQ(f.childOutput, "");
        EXPECT_TRUE(f.Text("PGC_1.bov") == vob) << "the sector file holds the whole VOB";

        std::vector<SubpictureUnit> units;
        test::MemoryReader reader(test::Bytes(vob.begin(), vob.end()), menu.Vob);
        ReadVobSubpictures(reader, [&units](const SubpictureUnit& unit) { units.push_back(unit); });
        const auto idx = ReadIdx(f.Text("PGC_1.idx"));
        ASSERT_EQ(idx.size(), 1u);
        const std::vector<IdxEntry>& entries = idx.at(0);
        const auto probed = ProbeIdx(f.files.ToHost(f.Path("PGC_1.idx")));
        ASSERT_EQ(entries.size(), units.size());
        ASSERT_EQ(probed.at(0).size(), units.size());
        for (std::size_t k = 0; k < entries.size(); ++k) {
            EXPECT_NEAR(probed.at(0)[k].first, entries[k].Seconds, 0.0015) << "SPU " << k;
            EXPECT_EQ(probed.at(0)[k].second, units[k].Size) << "SPU " << k;
            EXPECT_TRUE(entries[k].Highlight) << "SPU " << k;
            if (!menu.Seconds.empty()) {
                EXPECT_NEAR(entries[k].Seconds, menu.Seconds.at(k), 0.05) << "SPU " << k;
            }
        }

        const SstList list = ReadSst(f.Text("PGC_10x20.sst"), menu.Ntsc ? 30 : 25);
        EXPECT_EQ(list.Head[1], "Display_Start\tforced");
        EXPECT_EQ(list.Head[2], menu.Ntsc ? "TV_Type\tNTSC" : "TV_Type\tPAL");
        EXPECT_EQ(list.Head[5], std::string("Directory\t") + kSubtitles);
        EXPECT_EQ(list.Head[6], "Subtitle\tPGC_10x20");
        ASSERT_EQ(list.Events.size(), entries.size());
        for (std::size_t k = 0; k < entries.size(); ++k) {
            const ListedEvent& event = list.Events[k];
            EXPECT_EQ(event.Bitmap, "P1_S0_" + std::to_string(10001 + k) + "_V" + entries[k].VobId + "_C" +
                                        entries[k].CellId + ".bmp");
            EXPECT_TRUE(event.Highlight && event.End == -1) << event.Bitmap;
            EXPECT_NEAR(event.Start, entries[k].Seconds * (menu.Ntsc ? 30000.0 / 1001 : 25.0), 1) << event.Bitmap;
            EXPECT_EQ(BmpSize(f.Text(event.Bitmap)), std::make_pair(720, menu.Ntsc ? 480u : 576u)) << event.Bitmap;
        }
    }
}

// The list file CreateIFO writes for PGC 1 of an IFO in the subtitle folder.
std::string RipList(const std::string& ifo) {
    return ifo + "\r\n" + kSubtitles + "\\PGC_1\r\n 1 \r\n0\r\nALL\r\nCLOSE\r\nKESTROVA\r\nMINIMIZE\r\n";
}

// A PAL VOB of spumux (two streams of three SPUs, the first one forced)
// with a part sector at its end, in a made-up IFO of one cell whose last
// sector is the one past the end, as the job gives the last cell: the
// rip names the part sector and keeps the whole ones; a stream forced only
// in part lists as not forced; an SPU broken in the rip is named by file,
// offset and stream and left out of the conversion.
TEST(SubpictureStandIns, SpumuxStreamsRipWithAPartSectorAndABrokenSpuIsNamed) {
    SubpictureJob f;
    const std::string made = f.temp.Host("made");
    ASSERT_EQ(std::system(("bash '" + std::string(KESTROVA_TEST_SOURCE_DIR) + "/subpicture/make-spu-vob.sh' '" + made +
                           "' 3 3 >/dev/null")
                              .c_str()),
              0);
    const std::string vob = ReadHost(made + "/spu.vob");
    const auto sectors = static_cast<std::int32_t>(vob.size() / kPackSize);
    f.files.WriteText(f.Path("VTS_01_0.VOB"), vob + std::string(700, '\0'));
    const SubtitleCell cell{1, 1, 0, sectors, 0, 0, 75};
    f.job.Timing.VideoStandard = "PAL";
    f.files.WriteText(f.Path("VTS_01_0.IFO"), SubtitleIfoImage({{cell}}, 25, f.job.Timing));
    f.files.WriteText(f.Path("PGC_1_para.lst"), RipList(f.Path("VTS_01_0.IFO")));
    ASSERT_EQ(f.Run("K:\\Program\\vsrip.exe \"" + f.Path("PGC_1_para.lst") + "\""), 0) << f.childOutput;
    EXPECT_NE(
        f.childOutput.find("VTS_01_0.VOB\" ends in a part sector (700 bytes at byte " + std::to_string(vob.size())),
        std::string::npos)
        << f.childOutput;
    EXPECT_TRUE(f.Text("PGC_1.bov") == vob);

    // The events' times are those the SPUs were made with: the pipeline's
    // timed subtitles of ntsc-wide-menus-subs check that on a real disc.
    ASSERT_EQ(f.Run("K:\\Program\\vsconv.exe -f \"scenarist\" -i \"" + f.Path("PGC_1.idx") + "\" -o \"" +
                    f.Path("PGC_10x20") + "\" -id 0 -kestrova"),
              0);
    const SstList list = ReadSst(f.Text("PGC_10x20.sst"), 25);
    EXPECT_EQ(list.Head[1], "Display_Start\tnon_forced") << "only the first SPU of 0x20 is forced";
    EXPECT_EQ(list.Head[4], "Pixel_Area\t(0 575)");
    EXPECT_EQ(list.Events.size(), 3u);
    EXPECT_EQ(f.childOutput.find("vsconv"), std::string::npos) << f.childOutput;

    // The second SPU of 0x21 gets a first display control sequence inside its header.
    std::string sub = f.Text("PGC_1.sub");
    std::vector<std::size_t> offsets;
    test::MemoryReader reader(test::Bytes(sub.begin(), sub.end()), "PGC_1.sub");
    ReadVobSubpictures(reader, [&offsets](const SubpictureUnit& unit) {
        if (unit.Stream == 0x21) offsets.push_back(unit.FileOffset);
    });
    ASSERT_GE(offsets.size(), 2u);
    const std::size_t spu = offsets[1];
    sub[spu + 2] = 0, sub[spu + 3] = 1;
    f.files.WriteText(f.Path("PGC_1.sub"), sub);
    f.childOutput.clear();
    ASSERT_EQ(f.Run("K:\\Program\\vsconv.exe -f \"scenarist\" -i \"" + f.Path("PGC_1.idx") + "\" -o \"" +
                    f.Path("BROKEN") + "\" -id 1 -kestrova"),
              0);
    EXPECT_NE(f.childOutput.find("\"" + f.Path("PGC_1.sub") + "\" at byte " + std::to_string(spu + 2) +
                                 ", subpicture stream 0x21"),
              std::string::npos)
        << f.childOutput;
    EXPECT_EQ(ReadSst(f.Text("BROKEN.sst"), 25).Events.size(), offsets.size() - 1);
}

// An IFO cut short, one whose PGC offset points far outside it, and a list
// asking for a PGC the IFO does not hold: each is one error naming the IFO
// and the byte, and no rip is left.
TEST(SubpictureStandIns, AHostileIfoIsNamedWithItsOffset) {
    SubpictureJob f;
    f.files.WriteText(f.Path("VTS_01_0.VOB"), std::string(4 * kPackSize, '\0'));
    const std::string ifo = SubtitleIfoImage({{SubtitleCell{1, 1, 0, 3, 0, 0, 10}}}, 25, f.job.Timing);
    std::string farOffset = ifo;
    farOffset.replace(2060, 4, "\xFF\xFF\xFF\xF0");
    const std::string list = RipList(f.Path("VTS_01_0.IFO"));
    const struct {
        std::string Ifo, List, Where;
    } cases[] = {
        {ifo.substr(0, 2100), list, "at byte 2313: the first sector of cell 1 of PGC 1"},
        {farOffset, list, "at byte " + std::to_string(2048 + 0xFFFFFFF0ull + 3) + ": the cell count of PGC 1"},
        {ifo, std::regex_replace(list, std::regex("\r\n 1 \r\n"), "\r\n 2 \r\n"),
         "at byte 2048: PGC 2 was asked for, but the table holds 1 PGCs"},
    };
    for (const auto& hostile : cases) {
        f.files.WriteText(f.Path("VTS_01_0.IFO"), hostile.Ifo);
        f.files.WriteText(f.Path("PGC_1_para.lst"), hostile.List);
        f.childOutput.clear();
        EXPECT_EQ(f.Run("K:\\Program\\vsrip.exe \"" + f.Path("PGC_1_para.lst") + "\""), 1);
        EXPECT_NE(f.childOutput.find("\"" + f.Path("VTS_01_0.IFO") + "\" " + hostile.Where), std::string::npos)
            << f.childOutput;
        EXPECT_FALSE(f.files.FileExists(f.Path("PGC_1.idx")));
    }
}

// Rows told apart by their first two indices (row number, low and high byte).
std::string NumberedRows(std::uint32_t height) {
    standin::IndexedFrame frame = standin::BlankFrame(720, height);
    for (std::uint32_t y = 0; y < height; ++y) {
        frame.Row(y)[0] = static_cast<std::uint8_t>(y), frame.Row(y)[1] = static_cast<std::uint8_t>(y >> 8);
    }
    return standin::IndexedBmp(frame);
}

// 576 -> 480 -> 576 rows: each row is an input row near its place, the
// palette and width stay, and the blank PAL.bmp of the program folder
// resizes to the blank NTSC.bmp.
TEST(SubpictureStandIns, BitmapResizeMovesWholeRowsBetweenTheStandards) {
    SubpictureJob f;
    f.files.WriteText("K:\\in.bmp", NumberedRows(576));
    ASSERT_EQ(f.Run("K:\\Program\\BitmapResize.exe K:\\in.bmp K:\\ntsc.bmp PAL2NTSC"), 0) << f.childOutput;
    ASSERT_EQ(f.Run("K:\\Program\\BitmapResize.exe K:\\ntsc.bmp K:\\pal.bmp NTSC2PAL"), 0) << f.childOutput;
    const auto source = standin::ReadIndexedBmp(f.files.ReadText("K:\\in.bmp"), "in");
    for (const auto& [name, height] : {std::pair{"K:\\ntsc.bmp", 480u}, {"K:\\pal.bmp", 576u}}) {
        const auto resized = standin::ReadIndexedBmp(f.files.ReadText(name), name);
        ASSERT_EQ(resized.Height, height) << name;
        EXPECT_EQ(resized.Width, 720);
        EXPECT_EQ(resized.Head.substr(54), source.Head.substr(54)) << "the palette is kept";
        for (std::uint32_t y = 0; y < height; ++y) {
            const std::string& row = resized.Rows[y];
            const auto from = static_cast<std::uint8_t>(row[0]) | static_cast<std::uint8_t>(row[1]) << 8;
            EXPECT_EQ(row, source.Rows.at(static_cast<std::size_t>(from))) << name << " row " << y;
            EXPECT_NEAR(from, y * 576.0 / height, 1.5) << name << " row " << y;
        }
    }
    standin::LayOutTools(f.files, f.registry, f.job.ProgramFolder);
    ASSERT_EQ(f.Run("K:\\Program\\BitmapResize.exe K:\\Program\\PAL.bmp K:\\pal2ntsc.bmp PAL2NTSC"), 0);
    EXPECT_TRUE(f.files.ReadText("K:\\pal2ntsc.bmp") == f.files.ReadText("K:\\Program\\NTSC.bmp"));
}

}  // namespace
}  // namespace kestrova
