// The splitter and the picture count on every fixture disc's menu VOBs,
// checked against the disc's own IFO (the cell address table and the cell
// playback times) and against ffprobe's count of the frames written.
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>

#include "assets/cell_pictures.h"
#include "assets/memory_streams.h"
#include "assets/mpeg_test_streams.h"
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

// ffprobe's answer, one line per entry, without the separators csv ends with.
std::vector<std::string> Probe(const std::string& hostPath, const std::string& entries) {
    std::istringstream output(
        test::CaptureCommand("ffprobe -v error -show_entries " + entries + " -of csv=p=0 '" + hostPath + "'"));
    std::vector<std::string> lines;
    for (std::string line; std::getline(output, line);) {
        while (!line.empty() && line.back() == ',') line.pop_back();
        if (!line.empty()) lines.push_back(line);
    }
    return lines;
}

// Every stream but the subpictures, and the packs, of each unit.
SplitResult SplitMenu(const Bytes& vob, SplitMode mode, test::MemoryTargets& targets) {
    SplitRequest request = test::Request(mode, {}, true);
    for (int stream = 0; stream < 256; ++stream) {
        if (KindOfStream(static_cast<std::uint8_t>(stream)) != StreamKind::Subpicture) request.Streams.set(stream);
    }
    return test::Split(vob, request, targets);
}

// Every (VOB id, cell) of the menu cell address table gets its packs (exactly
// the sectors the table gives) and its video with the frames the IFO plays
// (by the picture count and by ffprobe); the VOB id's files hold its cells'
// bytes in order; the audio formats the IFO declares are found.
TEST(DiscSplit, EveryMenuCellOfEveryFixtureDiscMatchesTheIfo) {
    KESTROVA_REQUIRE_FFMPEG();
    // The IFO's audio codings; MPEG-1 and MPEG-2 audio are both MPEG audio streams.
    const std::map<std::string, StreamKind> kAudioKinds = {
        {"AC3", StreamKind::Ac3}, {"LPCM", StreamKind::Lpcm}, {"DTS", StreamKind::Dts}};
    int menuVobs = 0, stills = 0, audioStreams = 0;
    for (const std::string& disc : test::FixtureDiscs()) {
        test::JobFixture f;
        test::ReadDisc(f.job, disc);
        for (std::size_t d = 1; d <= f.job.DiscModel.Count(); ++d) {
            const auto& vts = f.job.DiscModel.Item(d);
            const std::string number = (d < 11 ? "0" : "") + std::to_string(d - 1);
            const std::string where = disc + " " + (d == 1 ? "VIDEO_TS.VOB" : "VTS_" + number + "_0.VOB");
            const Bytes vob = ReadHost(disc + "/" + where.substr(disc.size() + 1));
            if (vob.empty()) {
                EXPECT_EQ(vts.Vob_Id.Count(), 0u) << where;
                continue;
            }
            ++menuVobs;
            test::MemoryTargets byCell, byVob;
            SplitMenu(vob, SplitMode::ByCell, byCell);
            const SplitResult vobs = SplitMenu(vob, SplitMode::ByVobId, byVob);
            EXPECT_EQ(vobs.PacksWithoutUnit, 0u) << where;
            EXPECT_EQ(vobs.Units.size(), vts.Vob_Id.Count()) << where;

            test::MemoryReader reader(vob, where);
            std::vector<std::string> navFaults;
            const auto pictures = CountCellPictures(reader, navFaults);
            EXPECT_TRUE(navFaults.empty() && vobs.NavFaults.empty()) << where;
            std::size_t cellCount = 0;
            // The cells' video one after the other, for one ffprobe run per menu VOB.
            std::string allVideo;
            std::vector<std::size_t> cellEnds;
            std::vector<int> ifoFrames;
            for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) {
                Bytes vobVideo, vobPacks;
                for (std::size_t c = 1; c <= vts.Vob_Id.Item(v).CELL_ID.Count(); ++c, ++cellCount) {
                    const auto& scene = vts.Vob_Id.Item(v).CELL_ID.Item(c);
                    // 0 frames: a dummy cell, whose frames the IFO does not play but the VOB holds.
                    const int frames = vts.Video.Item(1).VobId.Item(v).CellId.Item(c).Frames;
                    const std::string cell = where + " VOB id " + std::to_string(v) + " cell " + std::to_string(c);
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
                    if (frames != 0) { EXPECT_EQ(counted->Pictures, static_cast<std::uint64_t>(frames)) << cell; }
                    stills += counted->IsStill() ? 1 : 0;
                    allVideo.append(video.begin(), video.end());
                    cellEnds.push_back(allVideo.size());
                    ifoFrames.push_back(frames);
                }
                const SplitUnit whole{static_cast<int>(v), 0};
                EXPECT_TRUE((byVob.Files[SplitOutput{whole, false, 0xE0}] == vobVideo)) << where;
                EXPECT_TRUE((byVob.Files[SplitOutput{whole, true, 0}] == vobPacks)) << where;
            }
            EXPECT_EQ(pictures.size(), cellCount) << where;

            // Frames ffprobe decodes from each cell's bytes, by the file position of each frame's picture.
            f.temp.Write("cells.m2v", allVideo);
            std::vector<int> decoded(cellEnds.size(), 0);
            for (const std::string& line : Probe(f.temp.Host("cells.m2v"), "frame=pkt_pos")) {
                const auto range =
                    std::upper_bound(cellEnds.begin(), cellEnds.end(), std::stoull(line)) - cellEnds.begin();
                if (range < static_cast<std::ptrdiff_t>(decoded.size())) ++decoded[static_cast<std::size_t>(range)];
            }
            for (std::size_t i = 0; i < decoded.size(); ++i) {
                if (ifoFrames[i] != 0) { EXPECT_EQ(decoded[i], ifoFrames[i]) << where << " cell number " << i + 1; }
            }

            for (std::size_t a = 1; a <= vts.Audio.Count(); ++a, ++audioStreams) {
                const auto known = kAudioKinds.find(vts.Audio.Item(a).Audio_Type);
                const auto kind = known == kAudioKinds.end() ? StreamKind::MpegAudio : known->second;
                EXPECT_TRUE(std::any_of(byVob.Files.begin(), byVob.Files.end(), [kind](const auto& file) {
                    return !file.first.Packs && KindOfStream(file.first.Stream) == kind && !file.second.empty();
                })) << where << " audio " << vts.Audio.Item(a).Audio_Type;
            }
        }
    }
    EXPECT_GE(menuVobs, 6);
    EXPECT_GE(stills, 10);
    EXPECT_GE(audioStreams, 2);
}

// The two menus with sound: their audio comes out as a stream ffprobe recognises.
TEST(DiscSplit, MenuAudioComesOutAsItsOwnStream) {
    KESTROVA_REQUIRE_FFMPEG();
    for (const auto& [disc, stream, codec] : {std::tuple{"pal-vmg-buttons", 0xC0, "mp2"},
                                              std::tuple{"pal-menu-cells-jumppad", 0x80, "ac3"}}) {
        test::MemoryTargets targets;
        SplitMenu(ReadHost(test::FixtureDisc(disc) + "/VIDEO_TS.VOB"), SplitMode::ByVobId, targets);
        const Bytes& audio = targets.Files[SplitOutput{{1, 0}, false, static_cast<std::uint8_t>(stream)}];
        ASSERT_FALSE(audio.empty()) << disc;
        test::TempFolder temp;
        temp.Write("audio", std::string(audio.begin(), audio.end()));
        EXPECT_EQ(Probe(temp.Host("audio"), "stream=codec_name"), std::vector<std::string>{codec}) << disc;
    }
}

}  // namespace
}  // namespace kestrova
