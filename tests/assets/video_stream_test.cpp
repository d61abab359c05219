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

std::span<const std::uint8_t> Bytes(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

// Hands out the stream a few bytes at a time, so that start codes and
// headers straddle the reads.
class TrickleReader : public VideoByteReader {
public:
    TrickleReader(std::string name, const std::string& bytes) : name_(std::move(name)), bytes_(bytes) {}
    const std::string& Name() const override { return name_; }
    std::size_t Read(std::span<std::uint8_t> buffer) override {
        const std::size_t count = std::min({buffer.size(), bytes_.size() - position_, 1 + position_ % 7});
        std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), count, buffer.begin());
        position_ += count;
        return count;
    }

private:
    std::string name_;
    const std::string& bytes_;
    std::size_t position_ = 0;
};

VideoStream ScanBytes(const std::string& bytes, const std::string& name = "test.m2v") {
    MemoryVideoReader reader(name, Bytes(bytes));
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

std::string ProbedTypes(const std::vector<test::ProbedFrame>& frames) {
    std::string types;
    for (const auto& frame : frames) types += frame.Type;
    return types;
}

TEST(VideoStream, ProgressivePalStreamMatchesWhatFfmpegWroteAndFfprobeReads) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string path = MpegTestStreams::Get().Progressive25();
    const VideoStream stream = ScanVideoStreamFile(path);
    const std::string bytes = ReadHostFile("p25.m2v");

    EXPECT_EQ(stream.Name, path);
    EXPECT_EQ(stream.Size, bytes.size());
    EXPECT_TRUE(stream.Sequence.Mpeg2);
    EXPECT_FALSE(stream.SequenceEnd);  // ffmpeg writes no sequence end code
    EXPECT_TRUE(ScanBytes(bytes + std::string("\0\0\1\xB7", 4)).SequenceEnd);
    EXPECT_EQ(stream.Sequence.Width, 720);
    EXPECT_EQ(stream.Sequence.Height, 576);
    EXPECT_EQ(SequenceFrameRate(stream.Sequence), (platform::FrameRate{25, 1}));
    EXPECT_EQ(stream.Sequence.ChromaFormat, 1);

    // 37 frames, an I picture every 12 in display order, B pictures between.
    EXPECT_EQ(stream.Counts.Frames, 37);
    EXPECT_EQ(stream.Counts.IFrames, 4);
    EXPECT_EQ(stream.Counts.IFrames + stream.Counts.PFrames + stream.Counts.BFrames, 37);
    EXPECT_GT(stream.Counts.BFrames, 0);
    EXPECT_EQ(stream.Counts.ProgressiveFrames, 37);
    EXPECT_EQ(stream.Counts.RepeatFirstFieldFrames, 0);
    EXPECT_EQ(stream.Counts.FieldPairs, 0);
    EXPECT_EQ(DisplayTypes(stream), ProbedTypes(test::ProbeFrames(path)));

    // Decode order differs from display order once B pictures follow their reference.
    std::string decodeTypes;
    for (const VideoPicture& picture : stream.Pictures) decodeTypes += PictureTypeName(picture.Type);
    EXPECT_NE(decodeTypes, DisplayTypes(stream));

    // Groups: each begins with an I picture in decode order, they cover every
    // picture once, and each offset is a sequence header or group header.
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
        ASSERT_LT(group.HeaderOffset + 3, bytes.size());
        EXPECT_EQ(bytes.substr(group.HeaderOffset, 4), std::string("\0\0\1\xB8", 4));
        const unsigned char code = static_cast<unsigned char>(bytes[group.Offset + 3]);
        EXPECT_TRUE(code == 0xB3 || code == 0xB8) << group.Offset;
        EXPECT_LE(group.Offset, group.HeaderOffset);
        for (std::size_t i = 0; i < group.PictureCount; ++i) {
            const VideoPicture& picture = stream.Pictures[group.FirstPicture + i];
            EXPECT_EQ(picture.Group, static_cast<std::size_t>(&group - stream.Groups.data()));
            EXPECT_GT(picture.Offset, group.HeaderOffset);
            EXPECT_EQ(bytes.substr(picture.Offset, 4), std::string("\0\0\1\0", 4));
        }
    }
    EXPECT_EQ(next, stream.Pictures.size());
    // The time codes run on from group to group.
    auto pictureTime = [](const GroupTimeCode& time) { return time.Seconds * 25 + time.Pictures; };
    for (std::size_t i = 1; i < stream.Groups.size(); ++i) {
        EXPECT_EQ(stream.Groups[i].TimeCode.Minutes, 0);
        EXPECT_GT(pictureTime(stream.Groups[i].TimeCode), pictureTime(stream.Groups[i - 1].TimeCode));
    }
}

TEST(VideoStream, InterlacedStreamCarriesTopFieldFirstOnEveryFrame) {
    KESTROVA_REQUIRE_FFMPEG();
    const std::string path = MpegTestStreams::Get().InterlacedTff25();
    const VideoStream stream = ScanVideoStreamFile(path);
    EXPECT_FALSE(stream.Sequence.ProgressiveSequence);
    EXPECT_EQ(stream.Counts.Frames, 37);
    EXPECT_EQ(stream.Counts.ProgressiveFrames, 0);
    EXPECT_EQ(stream.Counts.TopFieldFirstFrames, 37);
    const auto probed = test::ProbeFrames(path);
    ASSERT_EQ(probed.size(), 37u);
    const std::vector<std::size_t> order = DisplayOrder(stream);
    for (std::size_t i = 0; i < order.size(); ++i) {
        const VideoPicture& picture = stream.Pictures[order[i]];
        EXPECT_EQ(!picture.ProgressiveFrame, probed[i].Interlaced) << i;
        EXPECT_EQ(picture.TopFieldFirst, probed[i].TopFieldFirst) << i;
        EXPECT_EQ(picture.Structure, PictureStructure::Frame);
    }
}

TEST(VideoStream, StillFilmAndMpeg1Streams) {
    KESTROVA_REQUIRE_FFMPEG();
    auto& streams = MpegTestStreams::Get();

    const VideoStream still = ScanVideoStreamFile(streams.Still());
    EXPECT_EQ(still.Counts.Frames, 1);
    EXPECT_EQ(still.Counts.IFrames, 1);
    EXPECT_EQ(still.Groups.size(), 1u);
    EXPECT_EQ(still.Sequence.Width, 720);
    EXPECT_EQ(still.Sequence.Height, 480);
    EXPECT_EQ(SequenceFrameRate(still.Sequence), (platform::FrameRate{30000, 1001}));

    // Soft telecine: the repeat flags ffprobe sees are the ones scanned.
    streams.Film();
    streams.Folder().Write("telecine.m2v", test::SoftTelecine(ReadHostFile("film.m2v")));
    const VideoStream telecine = ScanVideoStreamFile(streams.Host("telecine.m2v"));
    EXPECT_EQ(SequenceFrameRate(telecine.Sequence), (platform::FrameRate{30000, 1001}));
    EXPECT_FALSE(telecine.Sequence.ProgressiveSequence);
    const auto probed = test::ProbeFrames(streams.Host("telecine.m2v"));
    ASSERT_EQ(probed.size(), telecine.Pictures.size());
    std::int64_t repeats = 0;
    for (std::size_t i = 0; i < probed.size(); ++i) {
        EXPECT_EQ(telecine.Pictures[i].RepeatFirstField, probed[i].RepeatPict == 1) << i;
        EXPECT_EQ(telecine.Pictures[i].TopFieldFirst, probed[i].TopFieldFirst) << i;
        repeats += probed[i].RepeatPict;
    }
    EXPECT_EQ(telecine.Counts.RepeatFirstFieldFrames, repeats);
    EXPECT_EQ(telecine.Counts.ProgressiveFrames, 37);

    const VideoStream mpeg1 = ScanVideoStreamFile(streams.Mpeg1());
    EXPECT_FALSE(mpeg1.Sequence.Mpeg2);
    EXPECT_EQ(mpeg1.Sequence.Width, 352);
    EXPECT_EQ(mpeg1.Sequence.Height, 288);
    EXPECT_EQ(mpeg1.Counts.Frames, 10);
    EXPECT_EQ(mpeg1.Counts.ProgressiveFrames, 10);
    EXPECT_EQ(DisplayTypes(mpeg1), ProbedTypes(test::ProbeFrames(streams.Mpeg1())));
}

TEST(VideoStream, ReadsInSmallPiecesGiveTheSameResult) {
    KESTROVA_REQUIRE_FFMPEG();
    MpegTestStreams::Get().Progressive25();
    const std::string bytes = ReadHostFile("p25.m2v");
    const VideoStream whole = ScanBytes(bytes);
    TrickleReader reader("trickle.m2v", bytes);
    const VideoStream pieces = ScanVideoStream(reader);
    ASSERT_EQ(pieces.Pictures.size(), whole.Pictures.size());
    for (std::size_t i = 0; i < whole.Pictures.size(); ++i) {
        EXPECT_EQ(pieces.Pictures[i].Offset, whole.Pictures[i].Offset);
        EXPECT_EQ(pieces.Pictures[i].TemporalReference, whole.Pictures[i].TemporalReference);
    }
    ASSERT_EQ(pieces.Groups.size(), whole.Groups.size());
    for (std::size_t i = 0; i < whole.Groups.size(); ++i) EXPECT_EQ(pieces.Groups[i].Offset, whole.Groups[i].Offset);
    EXPECT_EQ(pieces.Size, whole.Size);
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
        bytes += std::string("\x8F\xFF", 2);
        bytes += static_cast<char>(0xF0 | structure);
        bytes += std::string("\x00\x00", 2);
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
    EXPECT_EQ(stream.Counts.ProgressiveFrames, 0);
    ASSERT_EQ(stream.Groups.size(), 2u);
    EXPECT_FALSE(stream.Groups[0].HasHeader);
    EXPECT_EQ(stream.Groups[0].PictureCount, 2u);
    EXPECT_EQ(stream.Groups[1].Offset, builder.bytes.find(std::string("\0\0\1\xB3", 4), 1));
    EXPECT_EQ(stream.Groups[1].HeaderOffset, stream.Pictures[2].Offset);

    // A first field without its second, and two fields of one parity.
    FieldStreamBuilder lone;
    lone.Sequence();
    lone.Field(1, 1);
    const std::string loneError = ScanError(lone.bytes);
    EXPECT_NE(loneError.find("at offset 22: the stream ends after the first field"), std::string::npos) << loneError;
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
    auto with = [&](std::size_t at, const std::string& replacement) {
        std::string damaged = bytes;
        damaged.replace(at, replacement.size(), replacement);
        return damaged;
    };
    const std::size_t extension = bytes.find(std::string("\0\0\1\xB5", 4), picture);
    // The picture coding type sits in bits 10-12 after the picture start code.
    std::string typeZero = bytes;
    typeZero[picture + 5] = static_cast<char>(typeZero[picture + 5] & 0xC7);

    struct Case {
        const char* Name;
        std::string Bytes;
        std::string Expected;
    } cases[] = {
        {"empty", "", "at offset 0: the stream is empty"},
        {"cut in the sequence header", bytes.substr(0, 7),
         "at offset 0: the sequence header is cut short after 3 bytes"},
        {"cut inside a picture's slices", bytes.substr(0, picture + 300),
         "at offset " + std::to_string(picture) + ": the picture's slices reach macroblock row"},
        {"cut after a picture header", bytes.substr(0, picture + 9),
         "at offset " + std::to_string(picture) + ": the stream ends after the picture header"},
        {"cut after a group header", bytes.substr(0, groups[1] + 8),
         "at offset " + std::to_string(groups[1]) + ": the stream ends after this group header"},
        {"garbage first", "\xFF\xFE" + bytes, "at offset 0: the stream does not begin with a start code"},
        {"a program stream", std::string("\0\0\1\xBA", 4) + bytes, "at offset 0: the stream begins with the system"},
        {"a picture after the sequence end",
         bytes.substr(0, picture) + std::string("\0\0\1\xB7", 4) + bytes.substr(picture),
         "at offset " + std::to_string(picture + 4) + ": the start code 0x00 follows the sequence end code"},
        {"picture type 0", typeZero,
         "at offset " + std::to_string(picture) + ": the picture header has the picture coding type 0"},
        {"reserved start code", with(picture, std::string("\0\0\1\xB0", 4)),
         "at offset " + std::to_string(picture) + ": the start code 0xB0 is reserved"},
        {"picture start code lost", with(picture, std::string("\0\0\1\x01", 4)),
         "a picture coding extension does not follow a picture header"},
        {"group header lost", with(groups[1], std::string("\0\0\1\x01", 4)), "lies outside any picture"},
        {"no picture coding extension", with(extension, std::string("\0\0\1\xB2", 4)),
         "at offset " + std::to_string(picture) +
             ": the picture header is not followed by its picture coding extension"},
    };
    for (const Case& c : cases) {
        const std::string message = ScanError(c.Bytes);
        EXPECT_NE(message.find("\"damaged.m2v\""), std::string::npos) << c.Name << ": " << message;
        EXPECT_NE(message.find(c.Expected), std::string::npos) << c.Name << ": " << message;
    }

    // A missing file is an Error naming it, too.
    try {
        ScanVideoStreamFile(MpegTestStreams::Get().Host("missing.m2v"));
        ADD_FAILURE() << "a missing file scanned";
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find("missing.m2v\": there is no such file"), std::string::npos);
    }
}

}  // namespace
}  // namespace kestrova
