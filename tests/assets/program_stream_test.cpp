// The pack reader on a real menu VOB and on damaged copies of it: every
// fault is an Error naming the file and the byte offset, and the splitter
// keeps what it wrote before the fault.
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <iterator>

#include "assets/memory_streams.h"
#include "assets/program_stream.h"
#include "assets/vob_split.h"
#include "platform/error.h"
#include "support/fixtures.h"

namespace kestrova {
namespace {

using test::Bytes;

Bytes MenuVob() {
    std::ifstream in(test::FixtureDisc("pal-vmg-buttons") + "/VIDEO_TS.VOB", std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (bytes.size() < 16 * kPackSize) throw std::runtime_error("the fixture menu VOB is too short");
    return bytes;
}

const SplitRequest kCellsWithPacks = test::Request(SplitMode::ByCell, {0xE0, 0xC0, 0x20}, true);

std::map<SplitOutput, Bytes> SplitAll(const Bytes& vob) {
    test::MemoryTargets targets;
    test::Split(vob, kCellsWithPacks, targets);
    return targets.Files;
}

TEST(ProgramStream, ReadsAMenuVobTheSameWhateverTheReadSizes) {
    const Bytes vob = MenuVob();
    // What a pass over the packs sees, for comparing passes.
    const auto packLines = [&vob](std::size_t chunk, std::size_t block) {
        test::MemoryReader input(vob, "K:\\T.VOB", chunk);
        ProgramStreamReader reader(input, block);
        std::vector<std::string> lines;
        while (const Pack* pack = reader.Next()) {
            std::string line = std::to_string(pack->Offset) + " kind " + std::to_string(static_cast<int>(pack->Kind));
            if (pack->HasNav) line += "@" + std::to_string(pack->Nav.VobId) + "/" + std::to_string(pack->Nav.CellId);
            for (const PesPacket& packet : pack->Packets) {
                line += " " + StreamHex(packet.Stream) + "@" + std::to_string(packet.Pts);
            }
            lines.push_back(line);
        }
        return lines;
    };
    const auto expected = packLines(0, 1 << 20);
    ASSERT_EQ(expected.size(), vob.size() / kPackSize);
    EXPECT_NE(expected.front().find("@1/1"), std::string::npos) << expected.front();
    for (const auto& [chunk, block] : {std::pair<std::size_t, std::size_t>{1, 2048}, {2047, 3000}, {5000, 2048}}) {
        EXPECT_EQ(packLines(chunk, block), expected) << "chunk " << chunk << " block " << block;
    }

    // An MPEG program end code may close the stream or stand between two streams joined.
    Bytes ended = vob;
    const Bytes endCode{0x00, 0x00, 0x01, kProgramEnd};
    ended.insert(ended.begin() + 8 * kPackSize, endCode.begin(), endCode.end());
    ended.insert(ended.end(), endCode.begin(), endCode.end());
    EXPECT_EQ(SplitAll(ended), SplitAll(vob));
}

TEST(ProgramStream, DamageIsAnErrorNamingTheFileAndOffsetAndTheWholePacksBeforeItAreKept) {
    const Bytes vob = MenuVob();
    const std::size_t videoPack = 1 * kPackSize;  // the pack behind the first NAV pack holds video
    const std::size_t packet = videoPack + 14 + (vob[videoPack + 13] & 0x07);
    ASSERT_EQ(vob[packet + 3], 0xE0);

    // Name, damage, the offset the error names, the whole packs before the fault, words that tell the fault.
    const struct {
        const char* Name;
        std::function<void(Bytes&)> Damage;
        std::size_t Offset, KeptPacks;
        const char* Words;
    } cases[] = {
        {"cut inside a pack", [](Bytes& b) { b.resize(10 * kPackSize + 1000); }, 10 * kPackSize, 10, "inside a pack"},
        {"no pack start code", [](Bytes& b) { b[5 * kPackSize + 3] = 0xBB; }, 5 * kPackSize, 5, "found 00 00 01 BB"},
        {"MPEG-1 pack header", [](Bytes& b) { b[3 * kPackSize + 4] = 0x21; }, 3 * kPackSize + 4, 3, "MPEG-2"},
        {"packet longer than its pack", [&](Bytes& b) { b[packet + 4] = 0x08; }, packet, 1, "stream E0 runs"},
        {"garbled packet start code", [&](Bytes& b) { b[packet + 2] = 0x02; }, packet, 1, "found 00 00 02"},
        {"PES header past its packet", [&](Bytes& b) { b[packet + 4] = 0x00; b[packet + 5] = 0x03; }, packet + 8, 1,
         "PES header"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.Name);
        Bytes damaged = vob;
        c.Damage(damaged);
        test::MemoryTargets targets;
        SplitResult result;
        try {
            test::Split(damaged, kCellsWithPacks, targets, &result);
            ADD_FAILURE() << "no error";
            continue;
        } catch (const Error& error) {
            const std::string text = error.what();
            EXPECT_NE(text.find("\"K:\\T.VOB\" at byte " + std::to_string(c.Offset) + " "), std::string::npos) << text;
            EXPECT_NE(text.find(c.Words), std::string::npos) << text;
        }
        EXPECT_EQ(result.Packs, c.KeptPacks);
        // The outputs hold exactly what a clean split of the whole packs before the fault gives.
        const auto kept = static_cast<std::ptrdiff_t>(c.KeptPacks * kPackSize);
        EXPECT_EQ(targets.Files, SplitAll(Bytes(vob.begin(), vob.begin() + kept)));
    }
}

}  // namespace
}  // namespace kestrova
