// The splitter on hand-made packs: units from NAV packs, interleaved units,
// the stream filter, sub-stream headers, LPCM to WAV, delays.
#include <gtest/gtest.h>

#include "assets/lpcm_wav.h"
#include "assets/vob_split.h"
#include "assets/memory_streams.h"
#include "assets/pack_builder.h"
#include "platform/error.h"

namespace kestrova {
namespace {

using test::Bytes;
using test::PackBuilder;
using test::Request;
using test::Split;

SplitOutput Stream(int vob, int cell, std::uint8_t stream) { return SplitOutput{{vob, cell}, false, stream}; }
SplitOutput Packs(int vob, int cell) { return SplitOutput{{vob, cell}, true, 0}; }

const StreamSummary& Summary(const UnitSummary& unit, std::uint8_t stream) {
    for (const auto& output : unit.Outputs) {
        if (!output.Output.Packs && output.Output.Stream == stream) return output;
    }
    throw Error("no output of that stream");
}

// The RIFF header's little-endian fields.
std::uint32_t Little(const Bytes& bytes, std::size_t at, int count) {
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = (value << 8) | bytes.at(at + static_cast<std::size_t>(i));
    return value;
}

TEST(VobSplit, UnitsComeFromNavPacksAndInterleavedUnitsContinueTheirFiles) {
    const Bytes stream = test::Join({
        PackBuilder().Pes(0xE0, -1, {0xAA}).Bytes(),  // before any NAV pack: no unit
        PackBuilder().Nav(1, 1).Bytes(),
        PackBuilder().Pes(0xE0, 90000, {0x01, 0x02}).Private(0x80, 93600, {0x01, 0x00, 0x01}, {0x0B, 0x77}).Bytes(),
        PackBuilder().Nav(1, 2).Bytes(),
        PackBuilder().Pes(0xE0, -1, {0x03}).Pes(0xC0, 91000, {0xC1}).Bytes(),
        PackBuilder().Nav(2, 1).Bytes(),
        PackBuilder().Pes(0xE0, -1, {0x04}).Bytes(),
        PackBuilder().Nav(1, 2).Bytes(),
        PackBuilder().Pes(0xE0, -1, {0x05}).Private(0x20, -1, {}, {0x5B}).Bytes(),
    });

    test::MemoryTargets byVob;
    const SplitResult vobs = Split(stream, Request(SplitMode::ByVobId, {0xE0, 0x80, 0x20}, true), byVob);
    EXPECT_EQ(vobs.Packs, 9u);
    EXPECT_EQ(vobs.PacksWithoutUnit, 1u);
    ASSERT_EQ(vobs.Units.size(), 2u);
    EXPECT_EQ(vobs.Units[0].Unit, (SplitUnit{1, 0}));
    EXPECT_EQ(vobs.Units[0].Packs, 6u);
    EXPECT_EQ(byVob.Files[Stream(1, 0, 0xE0)], (Bytes{0x01, 0x02, 0x03, 0x05}));
    EXPECT_EQ(byVob.Files[Stream(2, 0, 0xE0)], (Bytes{0x04}));
    // AC3 and subpictures lose their sub-stream headers; MPEG audio was not asked for.
    EXPECT_EQ(byVob.Files[Stream(1, 0, 0x80)], (Bytes{0x0B, 0x77}));
    EXPECT_EQ(byVob.Files[Stream(1, 0, 0x20)], (Bytes{0x5B}));
    EXPECT_EQ(byVob.Files.count(Stream(1, 0, 0xC0)), 0u);
    // VOB id 1 comes back after VOB id 2: its files are opened again and continued.
    EXPECT_EQ(byVob.Opens[Stream(1, 0, 0xE0)], 2);
    EXPECT_EQ(byVob.Files[Packs(1, 0)].size(), 6 * kPackSize);
    EXPECT_EQ(byVob.Files[Packs(2, 0)], test::Join({PackBuilder().Nav(2, 1).Bytes(),
                                                     PackBuilder().Pes(0xE0, -1, {0x04}).Bytes()}));
    EXPECT_EQ(DelayMilliseconds(vobs.Units[0], Summary(vobs.Units[0], 0x80)), 40);  // 3600 ticks of 90 kHz

    test::MemoryTargets byCell;
    const SplitResult cells = Split(stream, Request(SplitMode::ByCell, {0xE0, 0xC0}), byCell);
    ASSERT_EQ(cells.Units.size(), 3u);
    EXPECT_EQ(byCell.Files[Stream(1, 1, 0xE0)], (Bytes{0x01, 0x02}));
    EXPECT_EQ(byCell.Files[Stream(1, 2, 0xE0)], (Bytes{0x03, 0x05}));
    EXPECT_EQ(byCell.Files[Stream(1, 2, 0xC0)], (Bytes{0xC1}));
    EXPECT_EQ(byCell.Files.count(Packs(1, 1)), 0u);
    // Cell 2 has no video time stamp of its own: no delay can be measured.
    EXPECT_EQ(cells.Units[1].FirstVideoPts, -1);
    EXPECT_EQ(DelayMilliseconds(cells.Units[1], Summary(cells.Units[1], 0xC0)), 0);

    SplitRequest one = Request(SplitMode::ByCell, {0xE0}, true);
    one.OnlyUnit = SplitUnit{1, 2};
    one.Packs = PackSelection{true, false, false, false, false};
    test::MemoryTargets only;
    Split(stream, one, only);
    ASSERT_EQ(only.Files.size(), 2u);
    EXPECT_EQ(only.Files[Stream(1, 2, 0xE0)], (Bytes{0x03, 0x05}));
    EXPECT_EQ(only.Files[Packs(1, 2)].size(), 2 * kPackSize) << "the two NAV packs of the cell, no video packs";
}

TEST(VobSplit, LpcmBecomesWavWithSamplesCarriedAcrossPackets) {
    struct Case {
        const char* Name;
        std::uint8_t Format;
        std::vector<Bytes> Payloads;
        Bytes Wav;  // the data chunk
        std::uint32_t Channels, Rate, Bits;
    };
    const std::vector<Case> cases = {
        {"16-bit stereo, a sample cut in two", 0x01, {{0x01, 0x02, 0x03}, {0x04, 0x05, 0x06, 0x07, 0x08, 0x09}},
         {0x02, 0x01, 0x04, 0x03, 0x06, 0x05, 0x08, 0x07}, 2, 48000, 16},
        {"24-bit mono group", 0x80, {{0x12, 0x34, 0x56}, {0x78, 0x9A, 0xBC}},
         {0x9A, 0x34, 0x12, 0xBC, 0x78, 0x56}, 1, 48000, 24},
        {"20-bit stereo 96 kHz group", 0x51, {{0x11, 0x22, 0x33, 0x44, 0x55, 0x66, 0x77, 0x88, 0xAB, 0xCD}},
         {0xA0, 0x22, 0x11, 0xB0, 0x44, 0x33, 0xC0, 0x66, 0x55, 0xD0, 0x88, 0x77}, 2, 96000, 24},
    };
    for (const Case& c : cases) {
        std::vector<Bytes> packs{PackBuilder().Nav(1, 1).Bytes()};
        for (const Bytes& payload : c.Payloads) packs.push_back(PackBuilder().Lpcm(0xA0, c.Format, payload).Bytes());
        test::MemoryTargets targets;
        Split(test::Join(packs), Request(SplitMode::ByVobId, {0xA0}), targets);
        const Bytes& wav = targets.Files[Stream(1, 0, 0xA0)];
        SCOPED_TRACE(c.Name);
        ASSERT_EQ(wav.size(), kWavHeaderBytes + c.Wav.size());
        EXPECT_EQ(std::string(wav.begin(), wav.begin() + 4), "RIFF");
        const std::uint32_t header[] = {Little(wav, 4, 4), Little(wav, 22, 2), Little(wav, 24, 4), Little(wav, 34, 2),
                                        Little(wav, 40, 4)};
        EXPECT_EQ(std::vector<std::uint32_t>(std::begin(header), std::end(header)),
                  (std::vector<std::uint32_t>{static_cast<std::uint32_t>(wav.size() - 8), c.Channels, c.Rate, c.Bits,
                                              static_cast<std::uint32_t>(c.Wav.size())}));
        EXPECT_EQ(Bytes(wav.begin() + kWavHeaderBytes, wav.end()), c.Wav);
    }
}

TEST(VobSplit, LpcmFormatsThatNoWavCanHoldAreRefusedNamingTheFile) {
    const Bytes nav = PackBuilder().Nav(1, 1).Bytes();
    const Bytes changing = test::Join({nav, PackBuilder().Lpcm(0xA0, 0x01, {1, 2}).Bytes(),
                                       PackBuilder().Lpcm(0xA0, 0x00, {3, 4}).Bytes()});
    const Bytes reserved = test::Join({nav, PackBuilder().Lpcm(0xA1, 0xC1, {1, 2}).Bytes()});
    for (const auto& [stream, words] : {std::pair{changing, "changes from"}, std::pair{reserved, "reserved"}}) {
        test::MemoryTargets targets;
        try {
            Split(stream, Request(SplitMode::ByVobId, {0xA0, 0xA1}), targets);
            ADD_FAILURE() << "no error for " << words;
        } catch (const Error& error) {
            EXPECT_NE(std::string(error.what()).find(words), std::string::npos) << error.what();
        }
    }
}

}  // namespace
}  // namespace kestrova
