// The MPEG-2 stream patcher on streams ffmpeg made, checked by ffprobe and by
// ffmpeg's header trace rather than by our own scanner: soft pulldown with
// drop-frame time codes and pan-scan, joined files, slices kept byte for
// byte, and the refusals that leave no output behind.
#include "video/m2v_patcher.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "assets/memory_streams.h"
#include "assets/mpeg_test_streams.h"
#include "platform/error.h"

namespace kestrova {
namespace {

using test::CaptureCommand;
using test::MpegTestStreams;

// 48 film frames, groups of 12 with two B pictures: display order differs from decode order.
std::string FilmWithB() {
    return MpegTestStreams::Get().Make("film-b.m2v", "size=720x480:rate=24000/1001 -frames:v 48 -c:v mpeg2video "
                                                     "-g 12 -bf 2 -f mpeg2video");
}

// Each slice, from its start code to the next one, in stream order.
std::vector<std::string> Slices(const std::string& bytes) {
    std::vector<std::string> slices;
    std::size_t open = std::string::npos;
    for (std::size_t at = 0; at + 3 < bytes.size(); ++at) {
        if (bytes.compare(at, 3, std::string("\0\0\1", 3)) != 0) continue;
        if (open != std::string::npos) slices.push_back(bytes.substr(open, at - open));
        const auto code = static_cast<unsigned char>(bytes[at + 3]);
        open = code >= 0x01 && code <= 0xAF ? at : std::string::npos;
        at += 3;
    }
    if (open != std::string::npos) slices.push_back(bytes.substr(open));
    return slices;
}

// "name = value" of every header field ffmpeg's trace_headers prints, in order.
std::vector<std::pair<std::string, long>> TraceHeaders(const std::string& hostPath) {
    const std::string output = CaptureCommand("ffmpeg -nostdin -hide_banner -i '" + hostPath +
                                              "' -c copy -bsf:v trace_headers -f null - 2>&1");
    std::vector<std::pair<std::string, long>> fields;
    for (std::size_t start = 0, end; start < output.size(); start = end + 1) {
        end = std::min(output.find('\n', start), output.size());
        const std::string line = output.substr(start, end - start);
        if (line.find("[trace_headers") == std::string::npos || line.find(" = ") == std::string::npos) continue;
        std::size_t name = line.find("] ");
        name = line.find_first_not_of("0123456789 ", name + 2);
        const std::string key = line.substr(name, line.find_first_of(" [", name) - name);  // subscripts left off
        fields.emplace_back(key, std::stol(line.substr(line.rfind(" = ") + 3)));
    }
    return fields;
}

std::vector<long> FieldValues(const std::vector<std::pair<std::string, long>>& fields, const std::string& name) {
    std::vector<long> values;
    for (const auto& [key, value] : fields) {
        if (key == name) values.push_back(value);
    }
    return values;
}

// "hh:mm:ss:ff" (";" before the pictures for drop-frame) of trace_headers' 25-bit time_code.
std::string TimeCodeText(long code) {
    char text[16];
    std::snprintf(text, sizeof text, "%02ld:%02ld:%02ld%c%02ld", (code >> 19) & 31, (code >> 13) & 63,
                  (code >> 6) & 63, (code >> 24) ? ';' : ':', code & 63);
    return text;
}

std::string StreamEntry(const std::string& hostPath, const std::string& entry) {
    std::string value = CaptureCommand("ffprobe -v error -select_streams v:0 -show_entries stream=" + entry +
                                       " -of default=nw=1:nk=1 '" + hostPath + "'");
    while (!value.empty() && value.back() == '\n') value.pop_back();
    return value;
}

TEST(PatchM2v, FilmBecomesSoftTelecineWithDropFrameTimeCodesAndPanScan) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();
    const std::string input = FilmWithB();
    ASSERT_FALSE(input.empty());
    const platform::PathSpace drives = streams.Folder().Drives();
    const platform::FileSystem files(drives);

    M2vPatch patch;
    patch.AspectRatioCode = 3;
    patch.DropFrame = true;
    patch.Pulldown = PulldownChange::ThreeTwo;
    patch.PanScan = PanScanChange::Add;
    PatchM2vFile(files, "K:\\film-b.m2v", "K:\\film-b.patched.m2v", patch);
    const std::string output = streams.Host("film-b.patched.m2v");
    EXPECT_FALSE(streams.Folder().Exists("film-b.patched.m2v.part"));

    EXPECT_EQ(StreamEntry(output, "display_aspect_ratio"), "16:9");
    const std::string before = streams.Folder().Read("film-b.m2v");
    const std::string after = streams.Folder().Read("film-b.patched.m2v");
    EXPECT_EQ(Slices(after), Slices(before));

    // Display order: top+repeat, bottom, bottom+repeat, top, over group boundaries too.
    const auto frames = test::ProbeFrames(output);
    ASSERT_EQ(frames.size(), 48u);
    for (std::size_t i = 0; i < frames.size(); ++i) {
        SCOPED_TRACE("frame " + std::to_string(i));
        EXPECT_EQ(frames[i].RepeatPict, i % 4 == 0 || i % 4 == 2 ? 1 : 0);
        EXPECT_EQ(frames[i].TopFieldFirst, i % 4 == 0 || i % 4 == 3);
    }

    const auto fields = TraceHeaders(output);
    const std::size_t sequences = FieldValues(fields, "sequence_header_code").size();
    EXPECT_EQ(FieldValues(fields, "frame_rate_code"), std::vector<long>(sequences, 4));
    EXPECT_EQ(FieldValues(fields, "progressive_sequence"), std::vector<long>(sequences, 0));
    // The open groups begin at film frames 0, 10, 22, 34 and 46 (leading B pictures show before
    // the I picture): after 0, 25, 55, 85 and 115 fields.
    std::vector<std::string> codes;
    for (const long code : FieldValues(fields, "time_code")) codes.push_back(TimeCodeText(code));
    EXPECT_EQ(codes, (std::vector<std::string>{"00:00:00;00", "00:00:00;12", "00:00:00;27", "00:00:01;12",
                                               "00:00:01;27"}));
    // One sequence display extension a sequence, three quarters of the width shown; a picture
    // display extension with as many offsets as the picture shows fields.
    EXPECT_EQ(FieldValues(fields, "display_horizontal_size"), std::vector<long>(sequences, 540));
    EXPECT_EQ(FieldValues(fields, "frame_centre_horizontal_offset").size(), 48u / 4 * 10);
}

TEST(PatchM2v, DropFrameTimeCodesSkipTwoPicturesAMinuteButEachTenth) {
    KESTROVA_REQUIRE_FFMPEG();
    // 1000 joined files of one closed group of 18 pictures at 29.97: group k starts at picture 18 k.
    auto& streams = MpegTestStreams::Get();
    ASSERT_FALSE(streams.Make("group30.m2v", "size=64x64:rate=30000/1001 -frames:v 18 -c:v mpeg2video -g 18 -bf 0 "
                                             "-f mpeg2video").empty());
    const std::string group = streams.Folder().Read("group30.m2v") + std::string("\0\0\1\xB7", 4);
    std::string joined;
    for (int i = 0; i < 1000; ++i) joined += group;
    test::MemoryReader reader(test::Bytes(joined.begin(), joined.end()), "long.m2v");
    test::Bytes patched;
    test::MemoryWriter writer(patched, "long.df.m2v");
    M2vPatch patch;
    patch.DropFrame = true;
    patch.IgnoreSequenceEndCode = true;
    PatchM2v(reader, writer, patch);
    const std::string after(patched.begin(), patched.end());
    const std::vector<std::size_t> groups = test::StartCodeOffsets(after, 0xB8);
    ASSERT_EQ(groups.size(), 1000u);
    auto code = [&](std::size_t index) {
        const auto* b = reinterpret_cast<const unsigned char*>(after.data() + groups[index] + 4);
        return TimeCodeText(static_cast<long>((b[0] << 17) | (b[1] << 9) | (b[2] << 1) | (b[3] >> 7)));
    };
    EXPECT_EQ(code(1), "00:00:00;18");
    EXPECT_EQ(code(100), "00:01:00;02");   // picture 1800
    EXPECT_EQ(code(200), "00:02:00;04");   // picture 3600
    EXPECT_EQ(code(999), "00:10:00;00");   // picture 17982: the tenth minute drops nothing
}

TEST(PatchM2v, JoinedFilesLoseTheirInnerSequenceEndAndPanScan) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();
    ASSERT_FALSE(FilmWithB().empty());
    const platform::PathSpace drives = streams.Folder().Drives();
    const platform::FileSystem files(drives);
    M2vPatch add;
    add.PanScan = PanScanChange::Add;
    add.Pulldown = PulldownChange::ThreeTwo;
    PatchM2vFile(files, "K:\\film-b.m2v", "K:\\film-b.ps.m2v", add);
    const std::string part = streams.Folder().Read("film-b.ps.m2v") + std::string("\0\0\1\xB7", 4);
    const std::string joined = part + part;

    // Read a few bytes at a time, so that start codes and headers straddle the reads.
    test::MemoryReader reader(test::Bytes(joined.begin(), joined.end()), "joined.m2v", 5);
    test::Bytes patched;
    test::MemoryWriter writer(patched, "out.m2v");
    M2vPatch patch;
    patch.PanScan = PanScanChange::Remove;
    patch.FrameRateCode = 4;
    patch.DropFrame = false;
    patch.IgnoreSequenceEndCode = true;
    const M2vPatchCounts counts = PatchM2v(reader, writer, patch);
    EXPECT_EQ(counts.SequenceEndCodesDropped, 1);
    const std::string after(patched.begin(), patched.end());
    streams.Folder().Write("joined.patched.m2v", after);

    EXPECT_EQ(Slices(after), Slices(part + part));
    EXPECT_EQ(test::StartCodeOffsets(after, 0xB7), std::vector<std::size_t>{after.size() - 4});
    EXPECT_TRUE(test::ExtensionOffsets(after, 2).empty());
    EXPECT_TRUE(test::ExtensionOffsets(after, 7).empty());
    EXPECT_EQ(test::ProbeFrames(streams.Host("joined.patched.m2v")).size(), 96u);
    // The second file's groups go on from the first's 60 video frames.
    const auto codes = FieldValues(TraceHeaders(streams.Host("joined.patched.m2v")), "time_code");
    ASSERT_EQ(codes.size(), 10u);
    EXPECT_EQ(TimeCodeText(codes[5]), "00:00:02:00");
}

TEST(PatchM2v, BadInputIsRefusedWithItsOffsetAndLeavesNoOutput) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();
    const std::string mpeg1 = streams.Mpeg1();
    const std::string pal = streams.Progressive25();
    ASSERT_FALSE(mpeg1.empty() || pal.empty());
    const std::string palBytes = streams.Folder().Read("p25.m2v");
    const struct {
        const char* Name;
        std::string Bytes;
        const char* Expected;
    } cases[] = {
        {"empty", "", "at offset 0: the stream is empty"},
        {"late header", std::string(2048, '\0') + palBytes, "no sequence header (00 00 01 B3) in the first 2048"},
        {"cut in the header", palBytes.substr(0, 9), "at offset 0: the sequence header is cut short"},
        {"mpeg-1", streams.Folder().Read("mpeg1.m1v"), "at offset 0: the sequence header is not followed by a "
                                                        "sequence extension: it is an MPEG-1 stream"},
        {"pulldown of 25", palBytes, "3:2 pulldown needs a 23.976 stream"},
    };
    const platform::PathSpace drives = streams.Folder().Drives();
    const platform::FileSystem files(drives);
    for (const auto& bad : cases) {
        SCOPED_TRACE(bad.Name);
        streams.Folder().Write("bad.m2v", bad.Bytes);
        M2vPatch patch;
        if (std::string(bad.Name) == "pulldown of 25") patch.Pulldown = PulldownChange::ThreeTwo;
        try {
            PatchM2vFile(files, "K:\\bad.m2v", "K:\\bad.out.m2v", patch);
            ADD_FAILURE() << "no Error";
        } catch (const Error& error) {
            EXPECT_NE(std::string(error.what()).find("\"K:\\bad.m2v\""), std::string::npos) << error.what();
            EXPECT_NE(std::string(error.what()).find(bad.Expected), std::string::npos) << error.what();
        }
        EXPECT_FALSE(streams.Folder().Exists("bad.out.m2v"));
        EXPECT_FALSE(streams.Folder().Exists("bad.out.m2v.part"));
    }
}

}  // namespace
}  // namespace kestrova
