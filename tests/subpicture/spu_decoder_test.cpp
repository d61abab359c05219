// The SPU decoder on subpicture streams muxed by spumux, checked against
// what spuunmux reads of them and against the pictures that went in; and on
// SPUs and streams damaged on purpose, which must end in a fault naming the
// stream and the offset, with the other SPUs read as before.
#include "subpicture/spu_decoder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "assets/memory_streams.h"
#include "assets/mpeg_test_streams.h"
#include "assets/program_stream.h"
#include "platform/error.h"
#include "support/fixtures.h"
#include "support/temp_folder.h"

namespace kestrova {
namespace {

using test::Bytes;

Bytes ReadHostFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(in), {});
}

struct ReadResult {
    std::vector<SubpictureUnit> Units;
    VobSubpictures Vob;

    std::vector<const SubpictureUnit*> Of(std::uint8_t stream) const {
        std::vector<const SubpictureUnit*> units;
        for (const SubpictureUnit& unit : Units) {
            if (unit.Stream == stream) units.push_back(&unit);
        }
        return units;
    }
};

ReadResult ReadAll(const Bytes& bytes, const std::string& name = "K:\\SPU.VOB") {
    test::MemoryReader reader(bytes, name);
    ReadResult result;
    result.Vob = ReadVobSubpictures(reader, [&result](const SubpictureUnit& unit) { result.Units.push_back(unit); });
    return result;
}

// The VOB of make-spu-vob.sh, made once: 3 s, three SPUs in each of the
// streams 0x20 and 0x21.
class SpuVob {
public:
    static SpuVob& Get() {
        static SpuVob vob;
        return vob;
    }
    const std::string& Folder() const { return folder_.Host(); }
    std::string Path() const { return folder_.Host("spu.vob"); }
    const Bytes& Content() const { return bytes_; }
    // Lines of spus.txt: stream (hex), picture, start, end.
    const std::vector<std::vector<std::string>>& Listed() const { return listed_; }

private:
    SpuVob() {
        const std::string command = "bash '" + std::string(KESTROVA_TEST_SOURCE_DIR) +
                                    "/subpicture/make-spu-vob.sh' '" + folder_.Host() + "' 3 3";
        if (std::system(command.c_str()) != 0) {
            ADD_FAILURE() << "make-spu-vob.sh failed: " << command;
            return;
        }
        bytes_ = ReadHostFile(Path());
        std::istringstream lines(folder_.Read("spus.txt"));
        for (std::string line; std::getline(lines, line);) {
            std::istringstream words(line);
            listed_.emplace_back(std::istream_iterator<std::string>(words), std::istream_iterator<std::string>());
        }
    }
    test::TempFolder folder_;
    Bytes bytes_;
    std::vector<std::vector<std::string>> listed_;
};

// One SPU as spuunmux reads it.
struct UnmuxedSpu {
    double Start = -1;
    double End = -1;  // -1 when it has none
    int X = 0;
    int Y = 0;
    std::uint32_t Width = 0;
    std::uint32_t Height = 0;
};

std::string Attribute(const std::string& line, const std::string& name) {
    const std::string key = " " + name + "=\"";
    const std::size_t at = line.find(key);
    if (at == std::string::npos) return "";
    const std::size_t start = at + key.size();
    return line.substr(start, line.find('"', start) - start);
}

double Seconds(const std::string& clock) {
    if (clock.empty()) return -1;
    return std::stoi(clock.substr(0, 2)) * 3600 + std::stoi(clock.substr(3, 2)) * 60 + std::stod(clock.substr(6));
}

// What spuunmux reads of one stream of a VOB; the picture size comes from
// the header of the PNG it writes.
std::vector<UnmuxedSpu> Unmux(const std::string& vob, std::uint8_t stream, const test::TempFolder& scratch) {
    const std::string base = scratch.Host("u" + StreamHex(stream));
    const std::string command = "spuunmux -s " + std::to_string(stream - 0x20) + " -o '" + base + "' '" + vob +
                                "' >/dev/null 2>&1";
    EXPECT_EQ(std::system(command.c_str()), 0) << command;
    std::vector<UnmuxedSpu> spus;
    std::ifstream xml(base + ".xml");
    for (std::string line; std::getline(xml, line);) {
        if (line.find("<spu ") == std::string::npos) continue;
        UnmuxedSpu spu;
        spu.Start = Seconds(Attribute(line, "start"));
        spu.End = Seconds(Attribute(line, "end"));
        spu.X = std::stoi(Attribute(line, "xoffset"));
        spu.Y = std::stoi(Attribute(line, "yoffset"));
        const Bytes png = ReadHostFile(std::filesystem::path(base).parent_path() / Attribute(line, "image"));
        if (png.size() >= 24) {  // IHDR: width and height, big-endian, at 16
            spu.Width = (std::uint32_t{png[16]} << 24) | (png[17] << 16) | (png[18] << 8) | png[19];
            spu.Height = (std::uint32_t{png[20]} << 24) | (png[21] << 16) | (png[22] << 8) | png[23];
        }
        spus.push_back(spu);
    }
    return spus;
}

double SecondsOf(std::int64_t ticks) { return static_cast<double>(ticks) / 90000; }

// Our SPUs of one stream against spuunmux's: the count, the area, the
// time shown, and on a stream of one timeline (spuunmux counts on over the
// PTS jumps between a disc's VOBs) the times apart from the first start.
void ExpectAsUnmuxed(const std::vector<const SubpictureUnit*>& units, const std::vector<UnmuxedSpu>& unmuxed,
                     const std::string& what, bool oneTimeline) {
    ASSERT_EQ(units.size(), unmuxed.size()) << what;
    for (std::size_t i = 0; i < units.size(); ++i) {
        const SubpictureUnit& unit = *units[i];
        const std::string spu = what + ", SPU " + std::to_string(i + 1);
        ASSERT_TRUE(unit.Area && unit.Start) << spu;
        EXPECT_EQ(unit.Area->X1, unmuxed[i].X) << spu;
        EXPECT_EQ(unit.Area->Y1, unmuxed[i].Y) << spu;
        EXPECT_EQ(unit.Bitmap.Width, unmuxed[i].Width) << spu;
        EXPECT_EQ(unit.Bitmap.Height, unmuxed[i].Height) << spu;
        EXPECT_EQ(unit.Stop.has_value(), unmuxed[i].End >= 0) << spu;
        if (unit.Stop) {
            EXPECT_NEAR(SecondsOf(*unit.Stop - *unit.Start), unmuxed[i].End - unmuxed[i].Start, 0.011) << spu;
        }
        if (oneTimeline) {
            EXPECT_NEAR(SecondsOf(*unit.Start - *units[0]->Start), unmuxed[i].Start - unmuxed[0].Start, 0.011) << spu;
        }
    }
}

// The 720x576 RGBA pixels of each picture, as one ImageMagick run reads them.
std::map<std::string, std::vector<std::uint32_t>> PicturePixels(const std::string& folder,
                                                                const std::vector<std::string>& names) {
    std::string command = "cd '" + folder + "' && convert";
    for (const std::string& name : names) command += " '" + name + "'";
    const std::string raw = test::CaptureCommand(command + " -depth 8 rgba:-");
    constexpr std::size_t kPixels = std::size_t{kSpuMaxWidth} * kSpuMaxHeight;
    std::map<std::string, std::vector<std::uint32_t>> pictures;
    for (std::size_t n = 0; n < names.size() && raw.size() >= (n + 1) * kPixels * 4; ++n) {
        std::vector<std::uint32_t>& pixels = pictures[names[n]];
        pixels.resize(kPixels);
        for (std::size_t i = 0; i < kPixels; ++i) {
            const auto* p = reinterpret_cast<const unsigned char*>(raw.data() + (n * kPixels + i) * 4);
            // Every transparent pixel is one class, whatever its colour.
            pixels[i] = p[3] == 0 ? 0 : (std::uint32_t{p[0]} << 24) | (p[1] << 16) | (p[2] << 8) | p[3];
        }
    }
    return pictures;
}

// The decoded bitmap groups the pixels as the picture's colours do: one
// index for each colour and one colour for each index, and nothing but
// transparency outside the area.
void ExpectSamePartition(const SubpictureUnit& unit, const std::vector<std::uint32_t>& picture,
                         const std::string& what) {
    ASSERT_EQ(picture.size(), std::size_t{kSpuMaxWidth} * kSpuMaxHeight) << what;
    std::vector<std::pair<std::uint32_t, std::uint8_t>> pairs;  // colour and index seen together
    std::size_t outside = 0;
    std::size_t split = 0;
    for (std::uint32_t y = 0; y < kSpuMaxHeight; ++y) {
        for (std::uint32_t x = 0; x < kSpuMaxWidth; ++x) {
            const std::uint32_t colour = picture[std::size_t{y} * kSpuMaxWidth + x];
            if (x < unit.Area->X1 || x > unit.Area->X2 || y < unit.Area->Y1 || y > unit.Area->Y2) {
                outside += colour != 0;
                continue;
            }
            const std::uint8_t index =
                unit.Bitmap.Pixels[std::size_t{y - unit.Area->Y1} * unit.Bitmap.Width + (x - unit.Area->X1)];
            const auto seen = std::find_if(pairs.begin(), pairs.end(), [&](const auto& pair) {
                return pair.first == colour || pair.second == index;
            });
            if (seen == pairs.end()) {
                pairs.emplace_back(colour, index);
            } else {
                split += seen->first != colour || seen->second != index;
            }
        }
    }
    EXPECT_EQ(outside, 0u) << what << ": pixels drawn outside the area";
    EXPECT_EQ(split, 0u) << what << ": pixels whose index and colour do not go together";
    EXPECT_GE(pairs.size(), 3u) << what << ": every picture has three colours";
}

TEST(SpuDecoder, SpumuxStreamsReadAsSpuunmuxReadsThemAndAsTheirPictures) {
    const SpuVob& vob = SpuVob::Get();
    const ReadResult read = ReadAll(vob.Content());
    EXPECT_TRUE(read.Vob.Faults.empty()) << read.Vob.Faults.front().What;
    test::TempFolder scratch;
    std::vector<std::string> names;
    for (const auto& line : vob.Listed()) names.push_back(line[1]);
    const auto pictures = PicturePixels(vob.Folder(), names);
    std::size_t listed = 0;
    for (const std::uint8_t stream : {0x20, 0x21}) {
        const auto units = read.Of(stream);
        ExpectAsUnmuxed(units, Unmux(vob.Path(), stream, scratch), "stream " + StreamHex(stream), true);
        for (std::size_t i = 0; i < units.size() && listed < vob.Listed().size(); ++i, ++listed) {
            const auto& line = vob.Listed()[listed];
            ASSERT_EQ(line[0], StreamHex(stream));
            ExpectSamePartition(*units[i], pictures.at(line[1]), line[1]);
            EXPECT_EQ(units[i]->Forced, stream == 0x20 && i == 0) << line[1];
        }
    }
    EXPECT_EQ(listed, vob.Listed().size());
}

TEST(SpuDecoder, FixtureDiscSpusReadAsSpuunmuxReadsThem) {
    test::TempFolder scratch;
    std::size_t compared = 0;
    for (const std::string& disc : test::FixtureDiscs()) {
        for (const auto& entry : std::filesystem::directory_iterator(disc)) {
            if (entry.path().extension() != ".VOB") continue;
            const ReadResult read = ReadAll(ReadHostFile(entry.path()), entry.path().string());
            EXPECT_TRUE(read.Vob.Faults.empty()) << read.Vob.Faults.front().What;
            std::map<std::uint8_t, int> streams{{0x20, 0}};
            for (const SubpictureUnit& unit : read.Units) ++streams[unit.Stream];
            for (const auto& [stream, count] : streams) {
                ExpectAsUnmuxed(read.Of(stream), Unmux(entry.path(), stream, scratch),
                                entry.path().string() + " stream " + StreamHex(stream), false);
                compared += count;
            }
        }
    }
    EXPECT_GT(compared, 0u);
}

// Overwrites big-endian bytes of an SPU.
void Poke(Bytes& spu, std::size_t at, std::initializer_list<std::uint8_t> bytes) {
    for (const std::uint8_t byte : bytes) {
        if (at < spu.size()) spu[at] = byte;
        ++at;
    }
}

const SpuCommand* FindCommand(const SubpictureUnit& unit, SpuCommandCode code) {
    for (const DisplaySequence& sequence : unit.Sequences) {
        for (const SpuCommand& command : sequence.Commands) {
            if (command.Code == code) return &command;
        }
    }
    return nullptr;
}

// Decodes a damaged copy of an SPU; the fault's text, or "" when it decodes.
std::string Fault(const Bytes& spu, const SubpictureUnit& original) {
    SpuOrigin origin{"K:\\SPU.VOB", original.Stream, {{0, original.FileOffset}}};
    try {
        const SubpictureUnit unit = DecodeSubpictureUnit(spu, origin, original.Pts);
        const SpuBitmap& bitmap = unit.Bitmap;
        EXPECT_EQ(bitmap.Pixels.size(), std::size_t{bitmap.Width} * bitmap.Height);
        EXPECT_TRUE(std::all_of(bitmap.Pixels.begin(), bitmap.Pixels.end(), [](std::uint8_t p) { return p < 4; }));
        return "";
    } catch (const Error& fault) {
        const std::string what = fault.what();
        EXPECT_NE(what.find("\"K:\\SPU.VOB\" at byte "), std::string::npos) << what;
        EXPECT_NE(what.find("subpicture stream 0x" + StreamHex(original.Stream)), std::string::npos) << what;
        return what;
    }
}

TEST(SpuDecoder, DamagedSpusEndInANamedFault) {
    const ReadResult read = ReadAll(SpuVob::Get().Content());
    ASSERT_FALSE(read.Units.empty());
    std::mt19937 random(20240611);
    for (const SubpictureUnit& unit : read.Units) {
        const Bytes& whole = unit.Bytes;
        // Cut short, with the size field saying so: every cut before the
        // last sequence's CMD_END leaves something reaching past the end.
        const std::size_t lastSequence = unit.Sequences.back().Offset;
        for (std::size_t size = 0; size < whole.size(); size += 1 + size / 16) {
            Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            Poke(cut, 0, {static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)});
            const std::string what = Fault(cut, unit);
            if (size <= lastSequence + 4) {
                EXPECT_NE(what, "") << "cut to " << size << " bytes";
            }
        }
        // Bytes changed at random: a fault or a sound bitmap, never a crash or a hang.
        for (int trial = 0; trial < 300; ++trial) {
            Bytes damaged = whole;
            for (int flips = 1 + trial % 3; flips > 0; --flips) {
                damaged[random() % damaged.size()] = static_cast<std::uint8_t>(random());
            }
            Fault(damaged, unit);
        }
        // Each kind of damage named for what it is.
        const auto expectFault = [&](Bytes damaged, const std::string& words) {
            const std::string what = Fault(damaged, unit);
            EXPECT_NE(what.find(words), std::string::npos) << "expected \"" << words << "\", got: " << what;
        };
        const std::size_t next = lastSequence + 2;
        Bytes backwards = whole;
        Poke(backwards, next, {static_cast<std::uint8_t>((lastSequence - 1) >> 8),
                               static_cast<std::uint8_t>(lastSequence - 1)});
        expectFault(backwards, "points back");
        const SpuCommand* area = FindCommand(unit, SpuCommandCode::SET_DAREA);
        const SpuCommand* fields = FindCommand(unit, SpuCommandCode::SET_DSPXA);
        ASSERT_TRUE(area && fields);
        Bytes wide = whole;
        Poke(wide, area->Offset + 2, {0x02, 0xD0});  // X2 720
        expectFault(wide, "outside the 720x576 picture");
        Bytes inverted = whole;
        Poke(inverted, area->Offset + 4, {0x10, 0x00, 0x10});  // Y1 256, Y2 16
        expectFault(inverted, "is inverted");
        Bytes lateField = whole;
        Poke(lateField, fields->Offset + 3, {static_cast<std::uint8_t>((whole.size() - 1) >> 8),
                                             static_cast<std::uint8_t>(whole.size() - 1)});
        expectFault(lateField, "bottom field run past the end of the SPU");
    }
}

// The offset of the pack that holds the second packet of an SPU.
std::uint64_t SecondPackOf(const Bytes& bytes, const SubpictureUnit& unit) {
    test::MemoryReader input(bytes, "K:\\SPU.VOB");
    ProgramStreamReader reader(input);
    while (const Pack* pack = reader.Next()) {
        if (pack->Offset <= unit.FileOffset) continue;
        for (const PesPacket& packet : pack->Packets) {
            if (packet.Stream == unit.Stream) return pack->Offset;
        }
    }
    return 0;
}

TEST(SpuDecoder, ABrokenSpuIsDroppedAndTheStreamReadOn) {
    const Bytes& whole = SpuVob::Get().Content();
    const ReadResult before = ReadAll(whole);
    // The SPU of stripes fills more than one pack.
    const auto spanning = std::find_if(before.Units.begin(), before.Units.end(),
                                       [](const SubpictureUnit& unit) { return unit.Size > kPackSize; });
    ASSERT_NE(spanning, before.Units.end());
    const std::uint64_t secondPack = SecondPackOf(whole, *spanning);
    ASSERT_GT(secondPack, spanning->FileOffset);
    const auto offsetsAfter = [&](const Bytes& bytes, const std::string& words) {
        const ReadResult after = ReadAll(bytes);
        std::vector<std::uint64_t> offsets;
        for (const SubpictureUnit& unit : after.Units) offsets.push_back(unit.FileOffset);
        const auto named = std::find_if(after.Vob.Faults.begin(), after.Vob.Faults.end(), [&](const SpuFault& f) {
            return f.Stream == 0x20 && f.Offset == spanning->FileOffset && f.What.find(words) != std::string::npos;
        });
        EXPECT_NE(named, after.Vob.Faults.end()) << "no fault with \"" << words << "\" at byte "
                                                 << spanning->FileOffset;
        return offsets;
    };
    std::vector<std::uint64_t> kept;
    for (const SubpictureUnit& unit : before.Units) {
        if (unit.FileOffset != spanning->FileOffset) kept.push_back(unit.FileOffset);
    }

    // A pack of the SPU lost: the next SPU begins before it is whole.
    Bytes lost = whole;
    const auto at = static_cast<std::ptrdiff_t>(secondPack);
    lost.erase(lost.begin() + at, lost.begin() + at + static_cast<std::ptrdiff_t>(kPackSize));
    std::vector<std::uint64_t> offsets = offsetsAfter(lost, "a new SPU begins");
    std::vector<std::uint64_t> expected = kept;
    for (std::uint64_t& offset : expected) offset -= offset > spanning->FileOffset ? kPackSize : 0;
    EXPECT_EQ(offsets, expected);

    // A size field smaller than the SPU's first packet.
    Bytes small = whole;
    small[spanning->FileOffset] = 0;
    small[spanning->FileOffset + 1] = 100;
    EXPECT_EQ(offsetsAfter(small, "more than the 100 its size field gives"), kept);

    // The file ends inside the SPU.
    const Bytes cut(whole.begin(), whole.begin() + at);
    offsets = offsetsAfter(cut, "the stream ends");
    expected.clear();
    for (const std::uint64_t offset : kept) {
        if (offset < cut.size()) expected.push_back(offset);
    }
    EXPECT_EQ(offsets, expected);
}

}  // namespace
}  // namespace kestrova
