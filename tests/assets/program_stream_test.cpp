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

const char* const kName = "K:\\JOB\\VIDEO_TS.VOB";

Bytes MenuVob() {
    std::ifstream in(test::FixtureDisc("pal-vmg-buttons") + "/VIDEO_TS.VOB", std::ios::binary);
    Bytes bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    if (bytes.size() < 16 * kPackSize) throw std::runtime_error("the fixture menu VOB is too short");
    return bytes;
}

// What a pass over the packs sees, for comparing two passes.
std::vector<std::string> PackLines(platform::ByteReader& input, std::size_t block) {
    ProgramStreamReader reader(input, block);
    std::vector<std::string> lines;
    while (const Pack* pack = reader.Next()) {
        std::string line = std::to_string(pack->Offset) + " kind " + std::to_string(static_cast<int>(pack->Kind)) +
                           " packets " + std::to_string(pack->Packets.size());
        if (pack->HasNav) {
            line += " vob " + std::to_string(pack->Nav.VobId) + " cell " + std::to_string(pack->Nav.CellId);
        }
        for (const PesPacket& packet : pack->Packets) {
            line += " " + StreamHex(packet.Stream) + "@" + std::to_string(packet.Pts);
        }
        lines.push_back(line);
    }
    return lines;
}

SplitRequest CellsWithPacks() {
    SplitRequest request;
    request.Mode = SplitMode::ByCell;
    request.Streams.set(0xE0).set(0xC0).set(0x20);
    request.WritePacks = true;
    return request;
}

std::map<SplitOutput, Bytes> SplitAll(const Bytes& vob) {
    test::MemoryReader reader(vob, kName);
    const SplitRequest request = CellsWithPacks();
    test::MemoryTargets targets;
    SplitResult result;
    SplitVob(reader, request, targets, result);
    return targets.Files;
}

TEST(ProgramStream, ReadsAMenuVobTheSameWhateverTheReadSizes) {
    const Bytes vob = MenuVob();
    test::MemoryReader whole(vob, kName);
    const auto expected = PackLines(whole, 1 << 20);
    ASSERT_EQ(expected.size(), vob.size() / kPackSize);
    EXPECT_NE(expected.front().find("vob 1 cell 1"), std::string::npos) << expected.front();
    for (const auto& [chunk, block] : {std::pair<std::size_t, std::size_t>{1, 2048}, {2047, 3000}, {5000, 2048}}) {
        test::MemoryReader pieces(vob, kName, chunk);
        EXPECT_EQ(PackLines(pieces, block), expected) << "chunk " << chunk << " block " << block;
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

    struct Case {
        const char* Name;
        std::function<void(Bytes&)> Damage;
        std::size_t Offset;    // where the error must point
        std::size_t KeptPacks; // whole packs before the fault
        const char* Words;
    };
    const std::vector<Case> cases = {
        {"cut inside a pack", [](Bytes& b) { b.resize(10 * kPackSize + 1000); }, 10 * kPackSize, 10,
         "ends inside a pack, after 1000 of its 2048 bytes"},
        {"no pack start code", [](Bytes& b) { b[5 * kPackSize + 3] = 0xBB; }, 5 * kPackSize, 5,
         "expected a pack start code 00 00 01 BA, found 00 00 01 BB"},
        {"MPEG-1 pack header", [](Bytes& b) { b[3 * kPackSize + 4] = 0x21; }, 3 * kPackSize + 4, 3,
         "not an MPEG-2 pack header"},
        {"packet longer than its pack", [&](Bytes& b) { b[packet + 4] = 0x08; }, packet, 1,
         "the packet of stream E0 runs"},
        {"garbled packet start code", [&](Bytes& b) { b[packet + 2] = 0x02; }, packet, 1,
         "expected a packet start code 00 00 01, found 00 00 02"},
        {"PES header past its packet", [&](Bytes& b) { b[packet + 4] = 0x00; b[packet + 5] = 0x03; }, packet + 8, 1,
         "the PES header of stream E0 claims"},
    };
    for (const Case& c : cases) {
        Bytes damaged = vob;
        c.Damage(damaged);
        test::MemoryReader reader(damaged, kName);
        const SplitRequest request = CellsWithPacks();
        test::MemoryTargets targets;
        SplitResult result;
        try {
            SplitVob(reader, request, targets, result);
            ADD_FAILURE() << c.Name << ": no error";
            continue;
        } catch (const Error& error) {
            const std::string text = error.what();
            EXPECT_NE(text.find(std::string("\"") + kName + "\" at byte " + std::to_string(c.Offset) + " "),
                      std::string::npos) << c.Name << ": " << text;
            EXPECT_NE(text.find(c.Words), std::string::npos) << c.Name << ": " << text;
        }
        EXPECT_EQ(result.Packs, c.KeptPacks) << c.Name;
        // The outputs hold exactly what a clean split of the whole packs before the fault gives.
        const Bytes before(vob.begin(), vob.begin() + static_cast<std::ptrdiff_t>(c.KeptPacks * kPackSize));
        EXPECT_EQ(targets.Files, SplitAll(before)) << c.Name;
    }
}

}  // namespace
}  // namespace kestrova
