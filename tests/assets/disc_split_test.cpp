// The splitter and the picture count on every fixture disc's menu VOBs,
// checked against the disc's own IFO (the cell address table and the cell
// playback times) and against ffprobe's count of the frames written.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <algorithm>
#include <fstream>
#include <iterator>

#include "assets/cell_pictures.h"
#include "assets/memory_streams.h"
#include "assets/program_stream.h"
#include "assets/vob_split.h"
#include "dvd/disc_reading.h"
#include "support/fixtures.h"
#include "support/job_fixture.h"

namespace kestrova {
namespace {

using test::Bytes;

Bytes ReadHost(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool HaveFfprobe() { return std::system("ffprobe -version > /dev/null 2>&1") == 0; }

// ffprobe's answer, one line per entry, without the separators csv ends with.
std::vector<std::string> Probe(const std::string& hostPath, const std::string& entries) {
    const std::string command = "ffprobe -v error -show_entries " + entries + " -of csv=p=0 '" + hostPath + "'";
    std::vector<std::string> lines;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[256];
        while (std::fgets(buffer, sizeof buffer, pipe) != nullptr) {
            std::string line = buffer;
            while (!line.empty() && (line.back() == '\n' || line.back() == ',')) line.pop_back();
            if (!line.empty()) lines.push_back(line);
        }
        ::pclose(pipe);
    }
    return lines;
}

// Frames ffprobe decodes from each of the byte ranges of an MPEG-2 video
// file, by the file position of each frame's picture.
std::vector<int> DecodedFrames(const std::string& hostPath, const std::vector<std::size_t>& rangeEnds) {
    std::vector<int> frames(rangeEnds.size(), 0);
    for (const std::string& line : Probe(hostPath, "frame=pkt_pos")) {
        const std::size_t position = std::stoull(line);
        const auto range = std::upper_bound(rangeEnds.begin(), rangeEnds.end(), position) - rangeEnds.begin();
        if (range < static_cast<std::ptrdiff_t>(frames.size())) ++frames[static_cast<std::size_t>(range)];
    }
    return frames;
}

std::string MenuVobName(std::size_t domain) {
    if (domain == 1) return "VIDEO_TS.VOB";
    const std::string number = std::to_string(domain - 1);
    return "VTS_" + std::string(number.size() < 2 ? 1 : 0, '0') + number + "_0.VOB";
}

SplitResult SplitMenu(const Bytes& vob, SplitMode mode, test::MemoryTargets& targets) {
    test::MemoryReader reader(vob, "menu VOB");
    SplitRequest request;
    request.Mode = mode;
    for (int stream = 0; stream < 256; ++stream) {
        if (KindOfStream(static_cast<std::uint8_t>(stream)) != StreamKind::Subpicture) request.Streams.set(stream);
    }
    request.WritePacks = true;
    SplitResult result;
    SplitVob(reader, request, targets, result);
    return result;
}

bool HasStreamOfKind(const test::MemoryTargets& targets, StreamKind kind) {
    for (const auto& [output, bytes] : targets.Files) {
        if (!output.Packs && KindOfStream(output.Stream) == kind && !bytes.empty()) return true;
    }
    return false;
}

StreamKind KindOfAudio(const std::string& type) {
    if (type == "AC3") return StreamKind::Ac3;
    if (type == "LPCM") return StreamKind::Lpcm;
    if (type == "DTS") return StreamKind::Dts;
    return StreamKind::MpegAudio;
}

// Every (VOB id, cell) of the menu cell address table gets its packs (exactly
// the sectors the table gives), its video with the frames the IFO plays, and
// the VOB id's files hold its cells' bytes in order. The audio formats the
// IFO declares for the menus are found, and the picture count calls a cell a
// still exactly when ffprobe counts one frame.
TEST(DiscSplit, EveryMenuCellOfEveryFixtureDiscMatchesTheIfo) {
    const bool ffprobe = HaveFfprobe();
    int menuVobs = 0;
    int stills = 0;
    int audioStreams = 0;
    for (const std::string& disc : test::FixtureDiscs()) {
        test::JobFixture f;
        test::ReadDisc(f.job, disc);
        for (std::size_t d = 1; d <= f.job.DiscModel.Count(); ++d) {
            const auto& vts = f.job.DiscModel.Item(d);
            const std::string where = disc + " " + MenuVobName(d);
            const Bytes vob = ReadHost(disc + "/" + MenuVobName(d));
            if (vob.empty()) {
                EXPECT_EQ(vts.Vob_Id.Count(), 0u) << where;
                continue;
            }
            ++menuVobs;
            test::MemoryTargets byCell;
            test::MemoryTargets byVob;
            SplitMenu(vob, SplitMode::ByCell, byCell);
            const SplitResult vobs = SplitMenu(vob, SplitMode::ByVobId, byVob);
            EXPECT_EQ(vobs.PacksWithoutUnit, 0u) << where;
            EXPECT_EQ(vobs.Units.size(), vts.Vob_Id.Count()) << where;

            test::MemoryReader reader(vob, where);
            const auto pictures = CountCellPictures(reader);
            std::size_t cellCount = 0;
            // The cells' video one after the other, for one ffprobe run per menu VOB.
            std::string allVideo;
            std::vector<std::size_t> cellEnds;
            std::vector<int> ifoFrames;
            std::vector<std::string> cellNames;
            for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) {
                Bytes vobVideo;
                Bytes vobPacks;
                for (std::size_t c = 1; c <= vts.Vob_Id.Item(v).CELL_ID.Count(); ++c) {
                    ++cellCount;
                    const auto& scene = vts.Vob_Id.Item(v).CELL_ID.Item(c);
                    const int frames = vts.Video.Item(1).VobId.Item(v).CellId.Item(c).Frames;
                    const std::string cell = where + " VOB id " + std::to_string(v) + " cell " + std::to_string(c);
                    // A dummy cell: the IFO plays none of its frames, the VOB still holds them.
                    const bool dummy = frames == 0;
                    const SplitUnit unit{static_cast<int>(v), static_cast<int>(c)};
                    const Bytes& packs = byCell.Files[SplitOutput{unit, true, 0}];
                    const Bytes& video = byCell.Files[SplitOutput{unit, false, 0xE0}];
                    const auto first = static_cast<std::ptrdiff_t>(scene.VTSM_START) * kPackSize;
                    const auto last = static_cast<std::ptrdiff_t>(scene.VTSM_END + 1) * kPackSize;
                    ASSERT_LE(last, static_cast<std::ptrdiff_t>(vob.size())) << cell;
                    EXPECT_TRUE(packs == Bytes(vob.begin() + first, vob.begin() + last)) << cell;
                    ASSERT_FALSE(video.empty()) << cell;
                    vobVideo.insert(vobVideo.end(), video.begin(), video.end());
                    vobPacks.insert(vobPacks.end(), packs.begin(), packs.end());

                    const auto counted = std::find_if(pictures.begin(), pictures.end(),
                                                      [&](const CellPictures& p) { return p.Cell == unit; });
                    ASSERT_NE(counted, pictures.end()) << cell;
                    if (!dummy) {
                        EXPECT_EQ(counted->Pictures, static_cast<std::uint64_t>(frames)) << cell;
                    }
                    stills += counted->IsStill() ? 1 : 0;
                    allVideo.append(video.begin(), video.end());
                    cellEnds.push_back(allVideo.size());
                    ifoFrames.push_back(frames);
                    cellNames.push_back(cell);
                }
                const SplitUnit whole{static_cast<int>(v), 0};
                EXPECT_TRUE((byVob.Files[SplitOutput{whole, false, 0xE0}] == vobVideo)) << where;
                EXPECT_TRUE((byVob.Files[SplitOutput{whole, true, 0}] == vobPacks)) << where;
            }
            EXPECT_EQ(pictures.size(), cellCount) << where;
            if (ffprobe) {
                f.temp.Write("cells.m2v", allVideo);
                const auto decoded = DecodedFrames(f.temp.Host("cells.m2v"), cellEnds);
                for (std::size_t i = 0; i < decoded.size(); ++i) {
                    if (ifoFrames[i] != 0) {
                        EXPECT_EQ(decoded[i], ifoFrames[i]) << cellNames[i];
                    }
                }
            }
            for (std::size_t a = 1; a <= vts.Audio.Count(); ++a) {
                ++audioStreams;
                EXPECT_TRUE(HasStreamOfKind(byVob, KindOfAudio(vts.Audio.Item(a).Audio_Type)))
                    << where << " audio " << vts.Audio.Item(a).Audio_Type;
            }
        }
    }
    EXPECT_GE(menuVobs, 6);
    EXPECT_GE(stills, 10);
    EXPECT_GE(audioStreams, 2);
}

// The two menus with sound: their audio comes out as a stream ffprobe
// recognises, beside the motion video.
TEST(DiscSplit, MenuAudioComesOutAsItsOwnStream) {
    if (!HaveFfprobe()) GTEST_SKIP() << "ffprobe is not installed";
    struct Case {
        const char* Disc;
        std::uint8_t Stream;
        const char* Codec;
    };
    for (const Case& c : {Case{"pal-vmg-buttons", 0xC0, "mp2"}, Case{"pal-menu-cells-jumppad", 0x80, "ac3"}}) {
        test::MemoryTargets targets;
        SplitMenu(ReadHost(test::FixtureDisc(c.Disc) + "/VIDEO_TS.VOB"), SplitMode::ByVobId, targets);
        const Bytes& audio = targets.Files[SplitOutput{{1, 0}, false, c.Stream}];
        ASSERT_FALSE(audio.empty()) << c.Disc;
        test::TempFolder temp;
        temp.Write("audio", std::string(audio.begin(), audio.end()));
        EXPECT_EQ(Probe(temp.Host("audio"), "stream=codec_name"), std::vector<std::string>{c.Codec}) << c.Disc;
    }
}

}  // namespace
}  // namespace kestrova
