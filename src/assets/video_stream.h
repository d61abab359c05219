// A scanner of MPEG-1 and MPEG-2 video elementary streams (".M2V"): it walks
// the start codes from the first byte to the last and reads the sequence
// header and extension, the group-of-pictures headers, the picture headers
// and the picture coding extensions, without decoding any slice. The result
// lists every coded frame in decode order with its type and field flags,
// the groups with their byte offsets, and the counts an indexing tool
// reports. A stream that is cut short or garbled is refused with an Error
// naming the file and the byte offset of the fault. Its start code walker
// and header readers also serve readers that want only some headers (the
// quantiser matrices of a stream).
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "frameserver/d2v_file.h"
#include "frameserver/mpeg_header.h"
#include "platform/es_file_reader.h"

namespace kestrova {

// Where the scanner gets its bytes, front to back.
class VideoByteReader {
public:
    virtual ~VideoByteReader() = default;
    // The name error sentences give the stream (the file's path).
    virtual const std::string& Name() const = 0;
    // Fills as much of `buffer` as the stream still holds; returns how many
    // bytes that was, 0 at the end.
    virtual std::size_t Read(std::span<std::uint8_t> buffer) = 0;
};

// A stream held in memory.
class MemoryVideoReader : public VideoByteReader {
public:
    MemoryVideoReader(std::string name, std::span<const std::uint8_t> bytes) : name_(std::move(name)), bytes_(bytes) {}
    const std::string& Name() const override { return name_; }
    std::size_t Read(std::span<std::uint8_t> buffer) override;

private:
    std::string name_;
    std::span<const std::uint8_t> bytes_;
    std::size_t position_ = 0;
};

// Reads an elementary stream file on the host through the platform's
// sequential reader.
class FileVideoReader : public VideoByteReader {
public:
    explicit FileVideoReader(const std::string& hostPath) : file_(hostPath) {}
    const std::string& Name() const override { return file_.Path(); }
    std::size_t Read(std::span<std::uint8_t> buffer) override { return file_.Read(buffer); }

private:
    platform::EsFileReader file_;
};

// Walks the start codes (00 00 01 xx) of a stream front to back through a
// window of bounded size, whatever the stream's length, and hands out the
// bytes of the header after each one. Error sentences name the stream and
// the byte offset.
// The bytes of a header that `bytes` begins with (those behind its start
// code): at most `wanted`, ending where the next start code begins.
std::span<const std::uint8_t> HeaderBefore(std::span<const std::uint8_t> bytes, std::size_t wanted);

class StartCodeWalker {
public:
    explicit StartCodeWalker(VideoByteReader& reader);

    // Steps onto the stream's first start code, after any zero stuffing.
    // Throws Error when the stream is empty or begins with anything but a
    // sequence header.
    void Begin();
    // Steps onto the next start code; false at the end of the stream.
    bool Next();

    // The byte after 00 00 01, and the offset of the 00 00 01.
    std::uint8_t Code() const { return code_; }
    std::uint64_t CodeOffset() const { return codeOffset_; }
    // How far the walk has read: the stream's size once Next gave false.
    std::uint64_t Position() const { return base_ + scan_; }

    // The header after the start code in hand: at most `wanted` bytes,
    // ending where the next start code begins.
    HeaderBits Header(const char* name, std::size_t wanted);
    // The same bytes, valid until the next step.
    std::span<const std::uint8_t> HeaderBytes(std::size_t wanted);
    // "The MPEG video stream "<name>" at offset <offset>".
    std::string Where(std::uint64_t offset) const;
    [[noreturn]] void Fail(std::uint64_t offset, const std::string& what) const;

private:
    bool Fill(std::size_t wanted);

    VideoByteReader& reader_;
    std::vector<std::uint8_t> buffer_;
    std::size_t scan_ = 0;      // next byte to look at
    std::size_t end_ = 0;       // end of the bytes read
    std::uint64_t base_ = 0;    // stream offset of buffer_[0]
    bool eof_ = false;
    std::uint8_t code_ = 0;
    std::uint64_t codeOffset_ = 0;
};

enum class PictureCodingType : std::uint8_t { I = 1, P = 2, B = 3, D = 4 };  // D: MPEG-1 only

enum class PictureStructure : std::uint8_t { TopField = 1, BottomField = 2, Frame = 3 };

// The time code of a group-of-pictures header.
struct GroupTimeCode {
    bool DropFrame = false;
    std::uint8_t Hours = 0;
    std::uint8_t Minutes = 0;
    std::uint8_t Seconds = 0;
    std::uint8_t Pictures = 0;
};

// The fields of one group-of-pictures header.
struct GroupHeader {
    GroupTimeCode TimeCode;
    bool ClosedGop = false;
    bool BrokenLink = false;
};

// The fields of a picture header this code uses.
struct PictureHeader {
    std::uint16_t TemporalReference = 0;
    PictureCodingType Type = PictureCodingType::I;
};

// The fields of a sequence extension (extension identifier 1).
struct SequenceExtension {
    bool ProgressiveSequence = true;
    std::uint8_t ChromaFormat = 1;
    std::uint32_t WidthExtension = 0;
    std::uint32_t HeightExtension = 0;
    std::uint32_t BitRateExtension = 0;
    std::uint8_t FrameRateExtensionN = 0;
    std::uint8_t FrameRateExtensionD = 0;
};

// The fields of a picture coding extension (extension identifier 8), as coded.
struct PictureCodingExtension {
    PictureStructure Structure = PictureStructure::Frame;
    bool TopFieldFirst = false;
    bool AlternateScan = false;
    bool RepeatFirstField = false;
    bool ProgressiveFrame = true;
};

// The matrices a quant matrix extension (extension identifier 3) loads, in
// raster order; empty for a kind it does not load. Until the next sequence
// header they replace the ones in force.
struct QuantMatrixExtension {
    std::optional<QuantiserMatrix> Intra;
    std::optional<QuantiserMatrix> NonIntra;
    std::optional<QuantiserMatrix> ChromaIntra;     // 4:2:2 and 4:4:4 only
    std::optional<QuantiserMatrix> ChromaNonIntra;  // 4:2:2 and 4:4:4 only
};

// Extension identifiers (the 4 bits after 00 00 01 B5).
inline constexpr std::uint32_t kSequenceExtensionId = 1;
inline constexpr std::uint32_t kSequenceDisplayExtensionId = 2;
inline constexpr std::uint32_t kQuantMatrixExtensionId = 3;
inline constexpr std::uint32_t kPictureDisplayExtensionId = 7;
inline constexpr std::uint32_t kPictureCodingExtensionId = 8;

// The readers of the headers after a sequence header, from the first bit
// after the start code (an extension's after its identifier). Each fails
// through `bits` when the header is cut short or holds a forbidden value.
GroupHeader ReadGroupHeader(HeaderBits& bits);
PictureHeader ReadPictureHeader(HeaderBits& bits, bool mpeg2);
SequenceExtension ReadSequenceExtension(HeaderBits& bits);
PictureCodingExtension ReadPictureCodingExtension(HeaderBits& bits);
QuantMatrixExtension ReadQuantMatrixExtension(HeaderBits& bits);

// Bytes after the start code a quant matrix extension can take: the
// identifier, four load flags and four matrices.
inline constexpr std::size_t kQuantMatrixExtensionMaxBytes = (4 + 4 * (1 + 64 * 8) + 7) / 8;

struct GroupOfPictures {
    // Where decoding of the group can start: the sequence header that
    // directly precedes its group header (only extensions and user data
    // between), else the group header itself.
    std::uint64_t Offset = 0;
    // The group header; for a stream without them, the group's I picture.
    std::uint64_t HeaderOffset = 0;
    bool HasHeader = false;
    bool ClosedGop = false;
    bool BrokenLink = false;
    GroupTimeCode TimeCode;
    std::size_t FirstPicture = 0;  // index into VideoStream::Pictures
    std::size_t PictureCount = 0;
};

// A coded frame: one frame picture, or a pair of field pictures.
struct VideoPicture {
    std::uint64_t Offset = 0;              // its picture start code (the first field's)
    std::uint16_t TemporalReference = 0;
    PictureCodingType Type = PictureCodingType::I;  // the first field's type for a pair
    PictureCodingType SecondFieldType = PictureCodingType::I;  // equal to Type for a frame picture
    PictureStructure Structure = PictureStructure::Frame;  // Frame, or the parity of the first field
    bool TopFieldFirst = false;     // for a field pair: the first field is the top one
    bool RepeatFirstField = false;
    bool ProgressiveFrame = true;
    bool AlternateScan = false;
    std::size_t Group = 0;          // index into VideoStream::Groups
};

struct VideoStreamCounts {
    std::int64_t Frames = 0;        // coded frames (a field pair counts once)
    std::int64_t IFrames = 0;
    std::int64_t PFrames = 0;
    std::int64_t BFrames = 0;
    std::int64_t DFrames = 0;
    std::int64_t FieldPairs = 0;
    std::int64_t ProgressiveFrames = 0;
    std::int64_t TopFieldFirstFrames = 0;
    std::int64_t RepeatFirstFieldFrames = 0;
    std::int64_t AlternateScanFrames = 0;
    std::int64_t Groups = 0;
    std::int64_t ClosedGroups = 0;
    std::int64_t SequenceHeaders = 0;
};

// A user data block (00 00 01 B2): line-21 captions, encoder notes. Where
// it stands tells what it belongs to: a sequence header, a group of
// pictures, or one picture.
enum class UserDataPlace : std::uint8_t { Sequence, Group, Picture };

// User data longer than this is cut to it: captions take at most a few
// hundred bytes, and the rest says nothing the scanner's readers use.
inline constexpr std::size_t kUserDataMaxBytes = 1024;

struct UserData {
    std::uint64_t Offset = 0;  // of its start code
    UserDataPlace Place = UserDataPlace::Sequence;
    // The frame it precedes (Sequence, Group) or belongs to (Picture): an
    // index into VideoStream::Pictures, equal to their count when no
    // picture follows.
    std::size_t Picture = 0;
    std::span<const std::uint8_t> Bytes;  // behind the start code, up to the next start code
};

// Called for each user data block as the scan meets it; the bytes are
// valid for the call only.
using UserDataHandler = std::function<void(const UserData&)>;

struct VideoStream {
    std::string Name;
    std::uint64_t Size = 0;          // bytes scanned
    SequenceHeader Sequence;
    std::vector<GroupOfPictures> Groups;
    std::vector<VideoPicture> Pictures;  // decode order
    VideoStreamCounts Counts;
    bool SequenceEnd = false;        // the last start code is a sequence end code
};

// Scans the whole stream. Throws Error naming the stream and the byte
// offset when it does not begin with a sequence header, a header is cut
// short or holds a forbidden value, the headers come in an order the
// syntax does not allow, a picture lacks slices (also the last one, when
// the file is cut inside it), or the stream holds no picture.
// Each user data block goes to onUserData when one is given.
VideoStream ScanVideoStream(VideoByteReader& reader, const UserDataHandler& onUserData = {});

// Scans an elementary stream file on the host.
VideoStream ScanVideoStreamFile(const std::string& hostPath);

// The frame rate of the sequence, with the MPEG-2 rate extension applied.
FrameRate SequenceFrameRate(const SequenceHeader& sequence);

// The indexes into stream.Pictures of one group's pictures in display order
// (by temporal reference, counted from the group's first picture).
std::vector<std::size_t> DisplayOrder(const VideoStream& stream, const GroupOfPictures& group);

// The whole stream in display order, group by group.
std::vector<std::size_t> DisplayOrder(const VideoStream& stream);

// "I", "P", "B" or "D".
const char* PictureTypeName(PictureCodingType type);

}  // namespace kestrova
