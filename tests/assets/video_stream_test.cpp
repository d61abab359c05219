// The MPEG video scanner on streams ffmpeg made, checked against what
// ffmpeg was asked for and what ffprobe reads; reads in odd-sized pieces;
// field pictures; and the refusal of cut and garbled streams.
#include "assets/video_stream.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "assets/mpeg_test_streams.h"
#include "platform/error.h"

namespace kestrova {
namespace {

using test::MpegTestStreams;

std::string ReadHostFile(const std::string& name) { return MpegTestStreams::Get().Folder().Read(name); }

// Hands out the stream 1 to 7 bytes at a time, so that start codes and headers straddle the reads.
class TrickleReader : public VideoByteReader {
public:
    explicit TrickleReader(const std::string& bytes) : bytes_(bytes) {}
    const std::string& Name() const override { return name_; }
    std::size_t Read(std::span<std::uint8_t> buffer) override {
        const std::size_t count = std::min({buffer.size(), bytes_.size() - position_, 1 + position_ % 7});
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), count, buffer.begin());
        position_ += count;
        return count;
    }

private:
    std::string name_ = "trickle.m2v";
    const std::string& bytes_;
    std::size_t position_ = 0;
};

VideoStream ScanBytes(const std::string& bytes, const std::string& name = "test.m2v") {
    MemoryVideoReader reader(name, {reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
    return ScanVideoStream(reader);
}

// The message of the Error a scan of the bytes throws ("" when it passes).
std::string ScanError(const std::string& bytes) {
    try {
        ScanBytes(bytes, "damaged.m2v");
    } catch (const Error& error) {
        return error.what();
    }
    return "";
}

std::string DisplayTypes(const VideoStream& stream) {
    std::string types;
    for (const std::size_t index : DisplayOrder(stream)) types += PictureTypeName(stream.Pictures[index].Type);
    return types;
}

std::string ProbedTypes(const std::string& path) {
    std::string types;
    for (const auto& frame : test::ProbeFrames(path)) types += frame.Type;
    return types;
}

TEST(VideoStream, ProgressivePalStreamMatchesWhatFfmpegWroteAndFfprobeReads) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string path = MpegTestStreams::Get().Progressive25();
    const VideoStream stream = ScanVideoStreamFile(path);
    const std::string bytes = ReadHostFile("p25.m2v");

    EXPECT_EQ(stream.Size, bytes.size());
    EXPECT_TRUE(stream.Sequence.Mpeg2);
    EXPECT_FALSE(stream.SequenceEnd);  // ffmpeg writes no sequence end code
    EXPECT_TRUE(ScanBytes(bytes + std::string("\0\0\1\xB7", 4)).SequenceEnd);
    EXPECT_EQ(stream.Sequence.Width, 720);
    EXPECT_EQ(stream.Sequence.Height, 576);
    EXPECT_EQ(SequenceFrameRate(stream.Sequence), (FrameRate{25, 1}));
    EXPECT_EQ(stream.Counts.Frames, 37);
    EXPECT_EQ(stream.Counts.IFrames, 4);  // one every 12 in display order
    EXPECT_EQ(stream.Counts.ProgressiveFrames, 37);
    EXPECT_EQ(stream.Counts.RepeatFirstFieldFrames, 0);
    EXPECT_EQ(DisplayTypes(stream), ProbedTypes(path));
    // Decode order differs from display order once B pictures follow their reference.
    std::string decodeTypes;
    for (const VideoPicture& picture : stream.Pictures) decodeTypes += PictureTypeName(picture.Type);
    EXPECT_NE(decodeTypes, DisplayTypes(stream));

    // Groups begin with an I picture, cover every picture once, and start at a sequence or group header.
    ASSERT_EQ(stream.Groups.size(), 4u);
    EXPECT_EQ(stream.Counts.Groups, 4);
    EXPECT_TRUE(stream.Groups.front().ClosedGop);
    EXPECT_EQ(stream.Groups.front().Offset, 0u);
    std::size_t next = 0;
    for (const GroupOfPictures& group : stream.Groups) {
        EXPECT_TRUE(group.HasHeader);
        EXPECT_EQ(group.FirstPicture, next);
        next += group.PictureCount;
        EXPECT_EQ(stream.Pictures[group.FirstPicture].Type, PictureCodingType::I);
        EXPECT_EQ(bytes.substr(group.HeaderOffset, 4), std::string("\0\0\1\xB8", 4));
        const unsigned char code = static_cast<unsigned char>(bytes[group.Offset + 3]);
        EXPECT_TRUE(code == 0xB3 || code == 0xB8) << group.Offset;
        EXPECT_LE(group.Offset, group.HeaderOffset);
        for (std::size_t i = group.FirstPicture; i < group.FirstPicture + group.PictureCount; ++i) {
            EXPECT_EQ(stream.Pictures[i].Group, static_cast<std::size_t>(&group - stream.Groups.data()));
            EXPECT_EQ(bytes.substr(stream.Pictures[i].Offset, 4), std::string("\0\0\1\0", 4));
        }
        // The time codes run on from group to group.
        if (&group != &stream.Groups.front()) {
            const GroupTimeCode& a = (&group - 1)->TimeCode;
            EXPECT_GT(group.TimeCode.Seconds * 25 + group.TimeCode.Pictures, a.Seconds * 25 + a.Pictures);
        }
    }
    EXPECT_EQ(next, stream.Pictures.size());

    // Read a few bytes at a time, the same pictures and groups come out.
    TrickleReader reader(bytes);
    const VideoStream pieces = ScanVideoStream(reader);
    ASSERT_EQ(pieces.Pictures.size(), stream.Pictures.size());
    for (std::size_t i = 0; i < stream.Pictures.size(); ++i) {
        EXPECT_EQ(pieces.Pictures[i].Offset, stream.Pictures[i].Offset);
        EXPECT_EQ(pieces.Pictures[i].TemporalReference, stream.Pictures[i].TemporalReference);
    }
    ASSERT_EQ(pieces.Groups.size(), stream.Groups.size());
    for (std::size_t i = 0; i < stream.Groups.size(); ++i) EXPECT_EQ(pieces.Groups[i].Offset, stream.Groups[i].Offset);
}

TEST(VideoStream, InterlacedFilmAndMpeg1Streams) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();
    const VideoStream interlaced = ScanVideoStreamFile(streams.InterlacedTff25());
    EXPECT_FALSE(interlaced.Sequence.ProgressiveSequence);
    EXPECT_EQ(interlaced.Counts.TopFieldFirstFrames, 37);
    const auto probed = test::ProbeFrames(streams.InterlacedTff25());
    const std::vector<std::size_t> order = DisplayOrder(interlaced);
    ASSERT_EQ(order.size(), probed.size());
    for (std::size_t i = 0; i < order.size(); ++i) {
        const VideoPicture& picture = interlaced.Pictures[order[i]];
        EXPECT_EQ(!picture.ProgressiveFrame, probed[i].Interlaced) << i;
        EXPECT_EQ(picture.TopFieldFirst, probed[i].TopFieldFirst) << i;
        EXPECT_EQ(picture.Structure, PictureStructure::Frame);
    }

    // Soft telecine: the repeat flags ffprobe sees are the ones scanned.
    streams.Film();
    streams.Folder().Write("telecine.m2v", test::SoftTelecine(ReadHostFile("film.m2v")));
    const VideoStream telecine = ScanVideoStreamFile(streams.Host("telecine.m2v"));
    EXPECT_EQ(SequenceFrameRate(telecine.Sequence), (FrameRate{30000, 1001}));
    const auto film = test::ProbeFrames(streams.Host("telecine.m2v"));
    ASSERT_EQ(film.size(), telecine.Pictures.size());
    std::int64_t repeats = 0;
    for (std::size_t i = 0; i < film.size(); ++i) {
        EXPECT_EQ(telecine.Pictures[i].RepeatFirstField, film[i].RepeatPict == 1) << i;
        EXPECT_EQ(telecine.Pictures[i].TopFieldFirst, film[i].TopFieldFirst) << i;
        repeats += film[i].RepeatPict;
    }
    EXPECT_EQ(telecine.Counts.RepeatFirstFieldFrames, repeats);
    EXPECT_EQ(telecine.Counts.ProgressiveFrames, 37);

    const VideoStream mpeg1 = ScanVideoStreamFile(streams.Mpeg1());
    EXPECT_FALSE(mpeg1.Sequence.Mpeg2);
    EXPECT_EQ(mpeg1.Sequence.Width, 352);
    EXPECT_EQ(mpeg1.Counts.ProgressiveFrames, 10);
    EXPECT_EQ(DisplayTypes(mpeg1), ProbedTypes(streams.Mpeg1()));
}

// A hand-made MPEG-2 stream of 16x32 pictures (one macroblock row a field)
// for what ffmpeg does not write: field pictures and no group headers.
struct FieldStreamBuilder {
    std::string bytes;

    void Code(unsigned char code) { bytes += std::string("\0\0\1", 3) + static_cast<char>(code); }
    void Sequence() {
        Code(0xB3);
        bytes += std::string("\x01\x00\x20\x23\xFF\xFF\xE0\x00", 8);  // 16x32, 4:3, 25/s, marker
        Code(0xB5);
        bytes += std::string("\x14\x82\x00\x01\x00\x00", 6);  // id 1, interlaced, 4:2:0, marker
    }
    void Field(unsigned type, unsigned structure, unsigned reference = 0) {
        Code(0x00);
        // 40 bits: temporal reference, type, vbv_delay, then the f_codes of P and B pictures.
        std::uint64_t header = (std::uint64_t{reference} << 30) | (std::uint64_t{type} << 27) | (0xFFFFull << 11);
        if (type >= 2) header |= 0x7u << 7;
        if (type == 3) header |= 0x7u << 3;
        for (int shift = 32; shift >= 0; shift -= 8) bytes += static_cast<char>((header >> shift) & 0xFF);
        Code(0xB5);  // picture coding extension: f_codes unused, the structure, no flags
        bytes += std::string("\x8F\xFF", 2) + static_cast<char>(0xF0 | structure) + std::string("\x00\x00", 2);
        Code(0x01);
        bytes += std::string("\x12\x34", 2);
    }
};

TEST(VideoStream, FieldPicturesPairIntoFramesAndStreamsWithoutGroupHeadersGroupAtIntraPictures) {
    FieldStreamBuilder builder;
    builder.Sequence();
    builder.Field(1, 2);     // I, bottom field first
    builder.Field(2, 1);     // P, top
    builder.Field(2, 1, 1);  // P frame of two fields
    builder.Field(2, 2, 1);
    builder.Sequence();
    builder.Field(1, 1, 2);  // a new group at the next I picture
    builder.Field(1, 2, 2);
    builder.Code(0xB7);
    const VideoStream stream = ScanBytes(builder.bytes);
    EXPECT_TRUE(stream.SequenceEnd);
    ASSERT_EQ(stream.Pictures.size(), 3u);
    EXPECT_EQ(stream.Counts.FieldPairs, 3);
    EXPECT_EQ(stream.Pictures[0].Structure, PictureStructure::BottomField);
    EXPECT_FALSE(stream.Pictures[0].TopFieldFirst);
    EXPECT_EQ(stream.Pictures[0].SecondFieldType, PictureCodingType::P);
    EXPECT_TRUE(stream.Pictures[2].TopFieldFirst);
    EXPECT_EQ(stream.Counts.TopFieldFirstFrames, 2);
    ASSERT_EQ(stream.Groups.size(), 2u);
    EXPECT_FALSE(stream.Groups[0].HasHeader);
    EXPECT_EQ(stream.Groups[0].PictureCount, 2u);
    EXPECT_EQ(stream.Groups[1].Offset, builder.bytes.find(std::string("\0\0\1\xB3", 4), 1));
    EXPECT_EQ(stream.Groups[1].HeaderOffset, stream.Pictures[2].Offset);

    // A first field without its second, and two fields of one parity.
    FieldStreamBuilder lone;
    lone.Sequence();
    lone.Field(1, 1);
    EXPECT_NE(ScanError(lone.bytes).find("at offset 22: the stream ends after the first field"), std::string::npos)
        << ScanError(lone.bytes);
    lone.Field(2, 1);
    EXPECT_NE(ScanError(lone.bytes).find("same parity"), std::string::npos) << ScanError(lone.bytes);
}

TEST(VideoStream, CutAndGarbledStreamsAreRefusedNamingFileAndOffset) {
    KESTROVA_REQUIRE_FFMPEG();
    MpegTestStreams::Get().Progressive25();
    const std::string bytes = ReadHostFile("p25.m2v");
    const std::vector<std::size_t> pictures = test::StartCodeOffsets(bytes, 0x00);
    const std::vector<std::size_t> groups = test::StartCodeOffsets(bytes, 0xB8);
    ASSERT_GT(pictures.size(), 20u);
    ASSERT_GT(groups.size(), 1u);
    const std::size_t picture = pictures[20];
    const std::size_t extension = bytes.find(std::string("\0\0\1\xB5", 4), picture);
    auto with = [&bytes](std::size_t at, unsigned char code) {
        std::string damaged = bytes;
        damaged[at + 3] = static_cast<char>(code);
        return damaged;
    };
    std::string typeZero = bytes;  // the picture coding type sits in bits 10-12 after the start code
    typeZero[picture + 5] = static_cast<char>(typeZero[picture + 5] & 0xC7);
    const std::string at = "at offset " + std::to_string(picture) + ": ";

    // Name, bytes, what the message says.
    const struct { const char* Name; std::string Bytes, Expected; } cases[] = {
        {"empty", "", "at offset 0: the stream is empty"},
        {"cut in the sequence header", bytes.substr(0, 7), "at offset 0: the sequence header is cut short"},
        {"cut inside a picture's slices", bytes.substr(0, picture + 300), at + "the picture's slices reach"},
        {"cut after a picture header", bytes.substr(0, picture + 9), at + "the stream ends after the picture header"},
        {"cut after a group header", bytes.substr(0, groups[1] + 8),
         "at offset " + std::to_string(groups[1]) + ": the stream ends after this group header"},
        {"garbage first", "\xFF\xFE" + bytes, "at offset 0: the stream does not begin with a start code"},
        {"a program stream", std::string("\0\0\1\xBA", 4) + bytes, "at offset 0: the stream begins with the system"},
        {"a picture after the sequence end",
         bytes.substr(0, picture) + std::string("\0\0\1\xB7", 4) + bytes.substr(picture),
         "at offset " + std::to_string(picture + 4) + ": the start code 0x00 follows the sequence end code"},
        {"picture type 0", typeZero, at + "the picture header has the picture coding type 0"},
        {"reserved start code", with(picture, 0xB0), at + "the start code 0xB0 is reserved"},
        {"picture start code lost", with(picture, 0x01), "a picture coding extension does not follow a picture header"},
        {"group header lost", with(groups[1], 0x01), "lies outside any picture"},
        {"no picture coding extension", with(extension, 0xB2), at + "the picture header is not followed by its"},
    };
    for (const auto& c : cases) {
        const std::string message = ScanError(c.Bytes);
        EXPECT_NE(message.find("\"damaged.m2v\""), std::string::npos) << c.Name << ": " << message;
        EXPECT_NE(message.find(c.Expected), std::string::npos) << c.Name << ": " << message;
    }
    try {
        ScanVideoStreamFile(MpegTestStreams::Get().Host("missing.m2v"));
        ADD_FAILURE() << "a missing file scanned";
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find("missing.m2v\": there is no such file"), std::string::npos);
    }
}

}  // namespace
}  // namespace kestrova
