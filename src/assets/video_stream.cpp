// The MPEG video elementary stream scanner: see video_stream.h.
#include "assets/video_stream.h"

#include <algorithm>
#include <cstring>
#include <optional>

#include "platform/error.h"
#include "platform/es_file_reader.h"

namespace kestrova {

namespace {

constexpr std::size_t kReadChunk = 256 * 1024;

// Start code values (the byte after 00 00 01).
constexpr std::uint8_t kPictureStartCode = 0x00;
constexpr std::uint8_t kFirstSliceStartCode = 0x01;
constexpr std::uint8_t kLastSliceStartCode = 0xAF;
constexpr std::uint8_t kUserDataStartCode = 0xB2;
constexpr std::uint8_t kSequenceErrorCode = 0xB4;
constexpr std::uint8_t kExtensionStartCode = 0xB5;
constexpr std::uint8_t kSequenceEndCode = 0xB7;
constexpr std::uint8_t kGroupStartCode = 0xB8;
constexpr std::uint8_t kFirstSystemStartCode = 0xB9;

// Bytes after the start code that a header other than the sequence header
// can take at most.
constexpr std::size_t kShortHeaderMaxBytes = 16;

// Above this height slices carry a vertical position extension, so the
// start code alone no longer gives the macroblock row.
constexpr std::int32_t kSliceRowLimitHeight = 2800;

std::string Hex2(std::uint8_t value) {
    static const char kDigits[] = "0123456789ABCDEF";
    return std::string("0x") + kDigits[value >> 4] + kDigits[value & 0x0F];
}

// A picture whose header has been read and whose slices are being counted.
struct OpenPicture {
    VideoPicture Picture;
    std::optional<std::uint64_t> SequenceOffset;  // a sequence header directly before it
    bool HasCodingExtension = false;
    std::int64_t Slices = 0;
    std::int32_t LastRow = 0;
};

class StreamScanner {
public:
    StreamScanner(VideoByteReader& reader, const UserDataHandler& onUserData)
        : walker_(reader), onUserData_(onUserData) {
        stream_.Name = reader.Name();
    }

    VideoStream Run();

private:
    std::uint8_t Code() const { return walker_.Code(); }
    std::uint64_t CodeOffset() const { return walker_.CodeOffset(); }
    [[noreturn]] void Fail(std::uint64_t offset, const std::string& what) const { walker_.Fail(offset, what); }

    void Dispatch();
    void ResolveSequenceKind(bool extensionFollows);
    void OnSequenceHeader();
    void OnExtension();
    void OnSequenceExtension(HeaderBits& bits);
    void OnSequenceDisplayExtension(HeaderBits& bits);
    void OnPictureCodingExtension(HeaderBits& bits);
    void OnGroup();
    void OnPicture();
    void OnSlice();
    void OnSequenceEnd();
    void OnUserData();
    void FinishPicture(bool atEnd);
    void CommitPicture(const OpenPicture& open);
    void AddFrame(const VideoPicture& frame, const OpenPicture& open);
    void RequireSecondField(const char* before) const;
    std::int32_t MacroblockRows(PictureStructure structure) const;
    void FinishStream();

    StartCodeWalker walker_;
    const UserDataHandler& onUserData_;

    VideoStream stream_;
    bool haveSequence_ = false;
    bool sequenceExtensionDue_ = false;  // the code after a sequence header decides MPEG-1 or MPEG-2
    bool pictureExtensionDue_ = false;   // MPEG-2: a picture coding extension must come next
    bool afterSequenceEnd_ = false;
    std::optional<std::uint64_t> sequenceBeforeNext_;
    std::optional<OpenPicture> open_;
    std::optional<OpenPicture> firstField_;
    bool groupAwaitsPicture_ = false;    // a group header with no picture yet
};

VideoStream StreamScanner::Run() {
    walker_.Begin();
    do {
        Dispatch();
    } while (walker_.Next());
    FinishStream();
    return std::move(stream_);
}

void StreamScanner::Dispatch() {
    if (afterSequenceEnd_ && Code() != kSequenceHeaderCode) {
        Fail(CodeOffset(),
             "the start code " + Hex2(Code()) + " follows the sequence end code; expected a sequence header");
    }
    afterSequenceEnd_ = false;
    if (sequenceExtensionDue_ && Code() != kExtensionStartCode) ResolveSequenceKind(false);
    if (pictureExtensionDue_ && Code() != kExtensionStartCode) {
        Fail(open_->Picture.Offset,
             "the picture header is not followed by its picture coding extension (the start code " + Hex2(Code()) +
                 " at offset " + std::to_string(CodeOffset()) + " comes first)");
    }

    if (Code() == kPictureStartCode) {
        OnPicture();
    } else if (Code() <= kLastSliceStartCode) {
        OnSlice();
    } else if (Code() == kSequenceHeaderCode) {
        OnSequenceHeader();
    } else if (Code() == kExtensionStartCode) {
        OnExtension();
    } else if (Code() == kGroupStartCode) {
        OnGroup();
    } else if (Code() == kSequenceEndCode) {
        OnSequenceEnd();
    } else if (Code() == kUserDataStartCode) {
        OnUserData();
    } else if (Code() == kSequenceErrorCode) {
        Fail(CodeOffset(), "the stream marks an error here (sequence error code 00 00 01 B4)");
    } else if (Code() >= kFirstSystemStartCode) {
        Fail(CodeOffset(), "the system start code " + Hex2(Code()) +
                              " belongs to a program stream; expected a video elementary stream");
    } else {
        Fail(CodeOffset(), "the start code " + Hex2(Code()) + " is reserved; the stream is garbled");
    }
}

void StreamScanner::ResolveSequenceKind(bool extensionFollows) {
    sequenceExtensionDue_ = false;
    if (stream_.Counts.SequenceHeaders == 1) {
        stream_.Sequence.Mpeg2 = extensionFollows;
        stream_.Sequence.ProgressiveSequence = true;
        const std::uint8_t aspect = stream_.Sequence.AspectRatioCode;
        if (extensionFollows && aspect > 4) {
            Fail(stream_.Sequence.Offset, "the sequence header has the reserved aspect ratio code " +
                                              std::to_string(aspect) + "; expected 1 to 4");
        }
        return;
    }
    if (stream_.Sequence.Mpeg2 && !extensionFollows) {
        Fail(CodeOffset(), "an MPEG-2 sequence header is not followed by its sequence extension (the start code " +
                              Hex2(Code()) + " comes first)");
    }
    if (!stream_.Sequence.Mpeg2 && extensionFollows) {
        Fail(CodeOffset(), "a sequence extension appears in a stream that began as MPEG-1");
    }
}

void StreamScanner::OnSequenceHeader() {
    FinishPicture(false);
    RequireSecondField("a sequence header");
    const std::uint64_t offset = CodeOffset();
    HeaderBits bits = walker_.Header("sequence header", kSequenceHeaderMaxBytes);
    SequenceHeader header = ReadSequenceHeader(bits);
    header.Offset = offset;
    if (!haveSequence_) {
        stream_.Sequence = header;
        haveSequence_ = true;
    } else if ((stream_.Sequence.Width & 0xFFF) != header.Width || (stream_.Sequence.Height & 0xFFF) != header.Height) {
        bits.Fail("changes the picture size to " + std::to_string(header.Width) + "x" + std::to_string(header.Height) +
                  " from " + std::to_string(stream_.Sequence.Width) + "x" + std::to_string(stream_.Sequence.Height) +
                  "; one stream must keep one size");
    }
    ++stream_.Counts.SequenceHeaders;
    sequenceExtensionDue_ = true;
    sequenceBeforeNext_ = offset;
}

void StreamScanner::OnExtension() {
    HeaderBits bits = walker_.Header("extension", kShortHeaderMaxBytes);
    const std::uint32_t id = bits.Read(4);
    const bool sequenceExtensionDue = sequenceExtensionDue_;
    if (sequenceExtensionDue) ResolveSequenceKind(id == kSequenceExtensionId);
    if (pictureExtensionDue_ && id != kPictureCodingExtensionId) {
        Fail(open_->Picture.Offset, "the picture header is not followed by its picture coding extension (an extension "
                                    "with identifier " + std::to_string(id) + " at offset " +
                                        std::to_string(CodeOffset()) + " comes first)");
    }
    if (!stream_.Sequence.Mpeg2) return;  // MPEG-1 extension data carries nothing we read
    if (id == kSequenceExtensionId) {
        if (!sequenceExtensionDue) Fail(CodeOffset(), "a sequence extension does not follow a sequence header");
        OnSequenceExtension(bits);
    } else if (id == kSequenceDisplayExtensionId) {
        OnSequenceDisplayExtension(bits);
    } else if (id == kPictureCodingExtensionId) {
        if (!pictureExtensionDue_) Fail(CodeOffset(), "a picture coding extension does not follow a picture header");
        OnPictureCodingExtension(bits);
    }
}

void StreamScanner::OnSequenceExtension(HeaderBits& bits) {
    const SequenceExtension extension = ReadSequenceExtension(bits);
    if (stream_.Counts.SequenceHeaders > 1) return;  // repeats of the first
    SequenceHeader& sequence = stream_.Sequence;
    sequence.ProgressiveSequence = extension.ProgressiveSequence;
    sequence.ChromaFormat = extension.ChromaFormat;
    sequence.Width |= static_cast<std::int32_t>(extension.WidthExtension << 12);
    sequence.Height |= static_cast<std::int32_t>(extension.HeightExtension << 12);
    sequence.BitRate |= extension.BitRateExtension << 18;
    sequence.FrameRateExtensionN = extension.FrameRateExtensionN;
    sequence.FrameRateExtensionD = extension.FrameRateExtensionD;
}

void StreamScanner::OnSequenceDisplayExtension(HeaderBits& bits) {
    bits.Read(3);  // video_format
    if (!bits.Flag()) return;
    bits.Read(8);  // colour_primaries
    bits.Read(8);  // transfer_characteristics
    const auto matrix = static_cast<std::uint8_t>(bits.Read(8));
    if (stream_.Counts.SequenceHeaders == 1) stream_.Sequence.MatrixCoefficients = matrix;
}

void StreamScanner::OnPictureCodingExtension(HeaderBits& bits) {
    pictureExtensionDue_ = false;
    const PictureCodingExtension extension = ReadPictureCodingExtension(bits);
    VideoPicture& picture = open_->Picture;
    picture.Structure = extension.Structure;
    picture.TopFieldFirst = extension.TopFieldFirst;
    picture.AlternateScan = extension.AlternateScan;
    picture.RepeatFirstField = extension.RepeatFirstField;
    picture.ProgressiveFrame = extension.ProgressiveFrame;
    if (picture.Structure != PictureStructure::Frame) {
        // A field picture repeats nothing; which field comes first is its parity.
        picture.TopFieldFirst = picture.Structure == PictureStructure::TopField;
        picture.RepeatFirstField = false;
        picture.ProgressiveFrame = false;
    }
    open_->HasCodingExtension = true;
}

void StreamScanner::OnGroup() {
    if (!haveSequence_) Fail(CodeOffset(), "a group header comes before any sequence header");
    FinishPicture(false);
    RequireSecondField("a group header");
    if (groupAwaitsPicture_) {
        Fail(stream_.Groups.back().HeaderOffset, "the group of pictures holds no picture");
    }
    HeaderBits bits = walker_.Header("group header", kShortHeaderMaxBytes);
    GroupOfPictures group;
    group.HeaderOffset = CodeOffset();
    group.Offset = sequenceBeforeNext_.value_or(CodeOffset());
    group.HasHeader = true;
    const GroupHeader header = ReadGroupHeader(bits);
    group.TimeCode = header.TimeCode;
    group.ClosedGop = header.ClosedGop;
    group.BrokenLink = header.BrokenLink;
    group.FirstPicture = stream_.Pictures.size();
    stream_.Groups.push_back(group);
    groupAwaitsPicture_ = true;
    sequenceBeforeNext_.reset();
}

void StreamScanner::OnPicture() {
    if (!haveSequence_) Fail(CodeOffset(), "a picture comes before any sequence header");
    FinishPicture(false);
    HeaderBits bits = walker_.Header("picture header", kShortHeaderMaxBytes);
    OpenPicture open;
    open.Picture.Offset = CodeOffset();
    const PictureHeader header = ReadPictureHeader(bits, stream_.Sequence.Mpeg2);
    open.Picture.TemporalReference = header.TemporalReference;
    open.Picture.Type = header.Type;
    open.Picture.SecondFieldType = header.Type;
    open.SequenceOffset = sequenceBeforeNext_;
    sequenceBeforeNext_.reset();
    open_ = open;
    pictureExtensionDue_ = stream_.Sequence.Mpeg2;
}

std::int32_t StreamScanner::MacroblockRows(PictureStructure structure) const {
    const std::int32_t height = stream_.Sequence.Height;
    if (!stream_.Sequence.Mpeg2) return (height + 15) / 16;
    if (structure != PictureStructure::Frame) return (height + 31) / 32;
    return stream_.Sequence.ProgressiveSequence ? (height + 15) / 16 : 2 * ((height + 31) / 32);
}

void StreamScanner::OnSlice() {
    if (!open_) Fail(CodeOffset(), "a slice (start code " + Hex2(Code()) + ") lies outside any picture");
    sequenceBeforeNext_.reset();
    ++open_->Slices;
    const std::int32_t row = Code();
    open_->LastRow = std::max(open_->LastRow, row);
    if (stream_.Sequence.Height > kSliceRowLimitHeight) return;
    const std::int32_t rows = MacroblockRows(open_->Picture.Structure);
    if (row > rows) {
        Fail(CodeOffset(), "a slice lies at macroblock row " + std::to_string(row) + ", below the " +
                              std::to_string(rows) + " rows of the picture at offset " +
                              std::to_string(open_->Picture.Offset));
    }
}

void StreamScanner::OnSequenceEnd() {
    FinishPicture(false);
    RequireSecondField("the sequence end code");
    afterSequenceEnd_ = true;
}

void StreamScanner::OnUserData() {
    // User data says nothing about the pictures; it goes to whoever reads it.
    if (!onUserData_) return;
    UserData data;
    data.Offset = CodeOffset();
    if (open_ && open_->Slices == 0) {
        data.Place = UserDataPlace::Picture;
    } else if (groupAwaitsPicture_) {
        data.Place = UserDataPlace::Group;
    }
    // A first field waits for its second, and a frame is committed when the
    // next header comes: either way the frame's index is the count so far.
    data.Picture = stream_.Pictures.size();
    data.Bytes = walker_.HeaderBytes(kUserDataMaxBytes);
    onUserData_(data);
}

void StreamScanner::RequireSecondField(const char* before) const {
    if (firstField_) {
        Fail(firstField_->Picture.Offset, std::string("the field picture has no second field before ") + before);
    }
}

void StreamScanner::FinishPicture(bool atEnd) {
    if (!open_) return;
    const OpenPicture open = *open_;
    open_.reset();
    if (open.Slices == 0) {
        Fail(open.Picture.Offset, atEnd ? "the stream ends after this picture's headers; the file is cut short"
                                        : "the picture holds no slices");
    }
    const std::int32_t rows = MacroblockRows(open.Picture.Structure);
    // MPEG-2 main profile slices cover every macroblock row, so the last row
    // shows whether the picture is whole; MPEG-1 slices may span rows.
    if (stream_.Sequence.Mpeg2 && stream_.Sequence.Height <= kSliceRowLimitHeight && open.LastRow < rows) {
        Fail(open.Picture.Offset, "the picture's slices reach macroblock row " + std::to_string(open.LastRow) +
                                      " of " + std::to_string(rows) +
                                      (atEnd ? "; the file is cut short inside it" : "; rows are missing"));
    }
    CommitPicture(open);
}

void StreamScanner::CommitPicture(const OpenPicture& open) {
    const VideoPicture& picture = open.Picture;
    if (picture.Structure == PictureStructure::Frame) {
        RequireSecondField("a frame picture");
        AddFrame(picture, open);
        return;
    }
    if (!firstField_) {
        firstField_ = open;
        return;
    }
    OpenPicture first = *firstField_;
    firstField_.reset();
    if (first.Picture.Structure == picture.Structure) {
        Fail(picture.Offset, "the second field of the picture at offset " + std::to_string(first.Picture.Offset) +
                                 " has the same parity as the first");
    }
    const bool firstIsB = first.Picture.Type == PictureCodingType::B;
    const bool secondIsB = picture.Type == PictureCodingType::B;
    const bool secondIsI = picture.Type == PictureCodingType::I;
    if (firstIsB != secondIsB || (first.Picture.Type == PictureCodingType::P && secondIsI)) {
        Fail(picture.Offset, std::string("a ") + PictureTypeName(picture.Type) + " field follows a " +
                                 PictureTypeName(first.Picture.Type) + " field in one frame");
    }
    first.Picture.SecondFieldType = picture.Type;
    AddFrame(first.Picture, first);
}

void StreamScanner::AddFrame(const VideoPicture& frame, const OpenPicture& open) {
    const bool intra = frame.Type == PictureCodingType::I;
    if (groupAwaitsPicture_) {
        if (!intra) {
            Fail(frame.Offset, std::string("the first picture of the group at offset ") +
                                   std::to_string(stream_.Groups.back().HeaderOffset) + " is a " +
                                   PictureTypeName(frame.Type) + " picture; expected an I picture");
        }
        groupAwaitsPicture_ = false;
    } else if (stream_.Groups.empty() || (intra && !stream_.Groups.back().HasHeader)) {
        // A stream without group headers: each I picture begins a group.
        if (!intra) {
            Fail(frame.Offset, std::string("the stream's first picture is a ") + PictureTypeName(frame.Type) +
                                   " picture; expected an I picture");
        }
        GroupOfPictures group;
        group.HeaderOffset = frame.Offset;
        group.Offset = open.SequenceOffset.value_or(frame.Offset);
        group.FirstPicture = stream_.Pictures.size();
        stream_.Groups.push_back(group);
    }
    VideoPicture added = frame;
    added.Group = stream_.Groups.size() - 1;
    stream_.Pictures.push_back(added);
    ++stream_.Groups.back().PictureCount;
}

void StreamScanner::FinishStream() {
    if (sequenceExtensionDue_) ResolveSequenceKind(false);
    if (pictureExtensionDue_) {
        Fail(open_->Picture.Offset, "the stream ends after the picture header; the file is cut short");
    }
    FinishPicture(true);
    if (firstField_) {
        Fail(firstField_->Picture.Offset,
             "the stream ends after the first field of this picture; the file is cut short");
    }
    stream_.Size = walker_.Position();
    if (groupAwaitsPicture_) {
        Fail(stream_.Groups.back().HeaderOffset, "the stream ends after this group header; the file is cut short");
    }
    if (stream_.Pictures.empty()) Fail(stream_.Size, "the stream ends without holding a single picture");
    stream_.SequenceEnd = afterSequenceEnd_;

    VideoStreamCounts& counts = stream_.Counts;
    for (const VideoPicture& picture : stream_.Pictures) {
        ++counts.Frames;
        switch (picture.Type) {
            case PictureCodingType::I: ++counts.IFrames; break;
            case PictureCodingType::P: ++counts.PFrames; break;
            case PictureCodingType::B: ++counts.BFrames; break;
            case PictureCodingType::D: ++counts.DFrames; break;
        }
        if (picture.Structure != PictureStructure::Frame) ++counts.FieldPairs;
        if (picture.ProgressiveFrame) ++counts.ProgressiveFrames;
        if (picture.TopFieldFirst) ++counts.TopFieldFirstFrames;
        if (picture.RepeatFirstField) ++counts.RepeatFirstFieldFrames;
        if (picture.AlternateScan) ++counts.AlternateScanFrames;
    }
    counts.Groups = static_cast<std::int64_t>(stream_.Groups.size());
    for (const GroupOfPictures& group : stream_.Groups) {
        if (group.ClosedGop) ++counts.ClosedGroups;
    }
}

}  // namespace

StartCodeWalker::StartCodeWalker(VideoByteReader& reader) : reader_(reader) { buffer_.resize(2 * kReadChunk); }

bool StartCodeWalker::Fill(std::size_t wanted) {
    while (end_ - scan_ < wanted && !eof_) {
        if (scan_ > 0) {
            std::memmove(buffer_.data(), buffer_.data() + scan_, end_ - scan_);
            base_ += scan_;
            end_ -= scan_;
            scan_ = 0;
        }
        if (buffer_.size() - end_ < kReadChunk) buffer_.resize(end_ + kReadChunk);
        const std::size_t got = reader_.Read(std::span<std::uint8_t>(buffer_.data() + end_, buffer_.size() - end_));
        if (got == 0) eof_ = true;
        end_ += got;
    }
    return end_ - scan_ >= wanted;
}

bool StartCodeWalker::Next() {
    while (true) {
        if (!Fill(4)) {
            scan_ = end_;
            return false;
        }
        const std::uint8_t* data = buffer_.data();
        // p walks the candidate 01 bytes; the code byte after it must be there too.
        const std::uint8_t* p = data + scan_ + 2;
        const std::uint8_t* const stop = data + end_ - 1;
        while (p < stop) {
            p = static_cast<const std::uint8_t*>(std::memchr(p, 1, static_cast<std::size_t>(stop - p)));
            if (p == nullptr) break;
            if (p[-1] == 0 && p[-2] == 0) {
                const std::size_t at = static_cast<std::size_t>(p - 2 - data);
                codeOffset_ = base_ + at;
                code_ = p[1];
                scan_ = at + 4;
                return true;
            }
            ++p;
        }
        // Keep the last three bytes: they may begin a start code.
        scan_ = end_ - 3;
        if (eof_) {
            scan_ = end_;
            return false;
        }
    }
}

HeaderBits StartCodeWalker::Header(const char* name, std::size_t wanted) {
    return HeaderBits(HeaderBytes(wanted), Where(codeOffset_), name);
}

std::span<const std::uint8_t> HeaderBefore(std::span<const std::uint8_t> bytes, std::size_t wanted) {
    const std::size_t limit = std::min(bytes.size(), wanted + 3);
    std::size_t length = std::min(wanted, bytes.size());
    // A header ends where the next start code begins.
    for (std::size_t at = 0; at + 2 < limit; ++at) {
        if (bytes[at] == 0 && bytes[at + 1] == 0 && bytes[at + 2] == 1) {
            length = std::min(length, at);
            break;
        }
    }
    return bytes.first(length);
}

std::span<const std::uint8_t> StartCodeWalker::HeaderBytes(std::size_t wanted) {
    Fill(wanted + 3);
    return HeaderBefore({buffer_.data() + scan_, end_ - scan_}, wanted);
}

std::string StartCodeWalker::Where(std::uint64_t offset) const {
    return "The MPEG video stream \"" + reader_.Name() + "\" at offset " + std::to_string(offset);
}

void StartCodeWalker::Fail(std::uint64_t offset, const std::string& what) const {
    throw Error(Where(offset) + ": " + what);
}

void StartCodeWalker::Begin() {
    // Zero bytes may stuff the stream before its first start code.
    std::size_t zeros = 0;
    while (true) {
        if (!Fill(1)) {
            Fail(base_ + scan_, zeros == 0
                                    ? std::string("the stream is empty; expected an MPEG video elementary stream")
                                    : "the stream holds nothing but zero bytes");
        }
        if (buffer_[scan_] != 0) break;
        ++scan_;
        ++zeros;
    }
    const std::uint64_t first = base_ + scan_;
    if (zeros < 2 || buffer_[scan_] != 1 || !Fill(2)) {
        Fail(first, "the stream does not begin with a start code; expected a sequence header (00 00 01 B3)");
    }
    codeOffset_ = base_ + scan_ - 2;
    code_ = buffer_[scan_ + 1];
    scan_ += 2;
    if (code_ >= kFirstSystemStartCode) {
        Fail(codeOffset_, "the stream begins with the system start code " + Hex2(code_) +
                              ": it is a program stream; expected a video elementary stream");
    }
    if (code_ != kSequenceHeaderCode) {
        Fail(codeOffset_, "the stream begins with the start code " + Hex2(code_) +
                              "; expected a sequence header (00 00 01 B3)");
    }
}

GroupHeader ReadGroupHeader(HeaderBits& bits) {
    GroupHeader header;
    GroupTimeCode& time = header.TimeCode;
    time.DropFrame = bits.Flag();
    time.Hours = static_cast<std::uint8_t>(bits.Read(5));
    time.Minutes = static_cast<std::uint8_t>(bits.Read(6));
    bits.Marker("minutes");
    time.Seconds = static_cast<std::uint8_t>(bits.Read(6));
    time.Pictures = static_cast<std::uint8_t>(bits.Read(6));
    header.ClosedGop = bits.Flag();
    header.BrokenLink = bits.Flag();
    if (time.Hours > 23 || time.Minutes > 59 || time.Seconds > 59 || time.Pictures > 59) {
        bits.Fail("has the time code " + std::to_string(time.Hours) + ":" + std::to_string(time.Minutes) + ":" +
                  std::to_string(time.Seconds) + ":" + std::to_string(time.Pictures) +
                  "; expected hours to 23 and minutes, seconds and pictures to 59");
    }
    return header;
}

PictureHeader ReadPictureHeader(HeaderBits& bits, bool mpeg2) {
    PictureHeader header;
    header.TemporalReference = static_cast<std::uint16_t>(bits.Read(10));
    const std::uint32_t type = bits.Read(3);
    bits.Read(16);  // vbv_delay
    if (type == 0 || type > 4 || (type == 4 && mpeg2)) {
        bits.Fail("has the picture coding type " + std::to_string(type) + "; expected 1 (I), 2 (P) or 3 (B)" +
                  (mpeg2 ? "" : " or 4 (D)"));
    }
    header.Type = static_cast<PictureCodingType>(type);
    if (type == 2 || type == 3) {
        bits.Read(1);  // full_pel_forward_vector
        if (bits.Read(3) == 0) bits.Fail("has the forbidden forward f_code 0");
    }
    if (type == 3) {
        bits.Read(1);  // full_pel_backward_vector
        if (bits.Read(3) == 0) bits.Fail("has the forbidden backward f_code 0");
    }
    return header;
}

SequenceExtension ReadSequenceExtension(HeaderBits& bits) {
    SequenceExtension extension;
    bits.Read(8);  // profile_and_level_indication
    extension.ProgressiveSequence = bits.Flag();
    extension.ChromaFormat = static_cast<std::uint8_t>(bits.Read(2));
    extension.WidthExtension = bits.Read(2);
    extension.HeightExtension = bits.Read(2);
    extension.BitRateExtension = bits.Read(12);
    bits.Marker("bit rate extension");
    bits.Read(8);  // vbv_buffer_size_extension
    bits.Read(1);  // low_delay
    extension.FrameRateExtensionN = static_cast<std::uint8_t>(bits.Read(2));
    extension.FrameRateExtensionD = static_cast<std::uint8_t>(bits.Read(5));
    if (extension.ChromaFormat == 0) bits.Fail("has the reserved chroma format 0");
    return extension;
}

PictureCodingExtension ReadPictureCodingExtension(HeaderBits& bits) {
    PictureCodingExtension extension;
    bits.Read(16);  // f_code[0][0] .. f_code[1][1]
    bits.Read(2);   // intra_dc_precision
    const std::uint32_t structure = bits.Read(2);
    extension.TopFieldFirst = bits.Flag();
    bits.Read(4);  // frame_pred_frame_dct, concealment_motion_vectors, q_scale_type, intra_vlc_format
    extension.AlternateScan = bits.Flag();
    extension.RepeatFirstField = bits.Flag();
    bits.Read(1);  // chroma_420_type
    extension.ProgressiveFrame = bits.Flag();
    if (structure == 0) bits.Fail("has the reserved picture structure 0");
    extension.Structure = static_cast<PictureStructure>(structure);
    return extension;
}

QuantMatrixExtension ReadQuantMatrixExtension(HeaderBits& bits) {
    QuantMatrixExtension extension;
    if (bits.Flag()) extension.Intra = ReadQuantiserMatrix(bits, "intra quantiser matrix");
    if (bits.Flag()) extension.NonIntra = ReadQuantiserMatrix(bits, "non-intra quantiser matrix");
    if (bits.Flag()) extension.ChromaIntra = ReadQuantiserMatrix(bits, "chroma intra quantiser matrix");
    if (bits.Flag()) extension.ChromaNonIntra = ReadQuantiserMatrix(bits, "chroma non-intra quantiser matrix");
    return extension;
}

std::size_t MemoryVideoReader::Read(std::span<std::uint8_t> buffer) {
    const std::size_t count = std::min(buffer.size(), bytes_.size() - position_);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(position_), count, buffer.begin());
    position_ += count;
    return count;
}

VideoStream ScanVideoStream(VideoByteReader& reader, const UserDataHandler& onUserData) {
    return StreamScanner(reader, onUserData).Run();
}

VideoStream ScanVideoStreamFile(const std::string& hostPath) {
    FileVideoReader reader(hostPath);
    return ScanVideoStream(reader);
}

FrameRate SequenceFrameRate(const SequenceHeader& sequence) {
    struct Rate {
        std::uint32_t Numerator;
        std::uint32_t Denominator;
    };
    static constexpr Rate kRates[] = {{24000, 1001}, {24, 1}, {25, 1},        {30000, 1001},
                                      {30, 1},       {50, 1}, {60000, 1001}, {60, 1}};
    if (sequence.FrameRateCode == 0 || sequence.FrameRateCode > 8) {
        throw Error("The frame rate code " + std::to_string(sequence.FrameRateCode) + " is reserved; expected 1 to 8");
    }
    const Rate& rate = kRates[sequence.FrameRateCode - 1];
    return MakeFrameRate(static_cast<std::uint64_t>(rate.Numerator) * (sequence.FrameRateExtensionN + 1u),
                                   static_cast<std::uint64_t>(rate.Denominator) * (sequence.FrameRateExtensionD + 1u));
}

std::vector<std::size_t> DisplayOrder(const VideoStream& stream, const GroupOfPictures& group) {
    if (group.FirstPicture + group.PictureCount > stream.Pictures.size()) {
        throw Error("The group at offset " + std::to_string(group.HeaderOffset) + " of \"" + stream.Name +
                    "\" lists pictures past the end of the stream");
    }
    std::vector<std::size_t> order(group.PictureCount);
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = group.FirstPicture + i;
    if (order.empty()) return order;
    // Temporal references count modulo 1024; leading B pictures come just
    // before the group's first picture, so count from half a turn before it.
    const unsigned base = stream.Pictures[group.FirstPicture].TemporalReference;
    auto key = [&](std::size_t index) {
        return (stream.Pictures[index].TemporalReference + 1024u + 512u - base) % 1024u;
    };
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return key(a) < key(b); });
    return order;
}

std::vector<std::size_t> DisplayOrder(const VideoStream& stream) {
    std::vector<std::size_t> order;
    order.reserve(stream.Pictures.size());
    for (const GroupOfPictures& group : stream.Groups) {
        const std::vector<std::size_t> part = DisplayOrder(stream, group);
        order.insert(order.end(), part.begin(), part.end());
    }
    return order;
}

const char* PictureTypeName(PictureCodingType type) {
    switch (type) {
        case PictureCodingType::I: return "I";
        case PictureCodingType::P: return "P";
        case PictureCodingType::B: return "B";
        case PictureCodingType::D: return "D";
    }
    return "?";
}

}  // namespace kestrova
