// The MPEG-2 video stream patcher: see m2v_patcher.h.
#include "video/m2v_patcher.h"

#include <cstring>
#if defined(__SSE2__)
#include <emmintrin.h>
#endif
#include <vector>

#include "assets/m2v_header.h"
#include "assets/video_stream.h"
#include "frameserver/mpeg_header.h"
#include "platform/error.h"
#include "platform/stream_files.h"

namespace kestrova {

namespace {

// Runs of bytes that pass unchanged go out as one write, which a file
// writer hands to the system without copying when it is large enough.
constexpr std::size_t kReadChunk = 1024 * 1024;
constexpr std::size_t kNoRun = static_cast<std::size_t>(-1);

// Start code values (the byte after 00 00 01).
constexpr std::uint8_t kPictureStartCode = 0x00;
constexpr std::uint8_t kLastSliceStartCode = 0xAF;
constexpr std::uint8_t kUserDataStartCode = 0xB2;
constexpr std::uint8_t kExtensionStartCode = 0xB5;
constexpr std::uint8_t kSequenceEndCode = 0xB7;
constexpr std::uint8_t kGroupStartCode = 0xB8;
constexpr std::uint8_t kFirstSystemStartCode = 0xB9;

// Bytes after the start code read of a header other than the sequence
// header: the longest, a picture display extension, takes 14.
constexpr std::size_t kShortHeaderMaxBytes = 16;

// Positions, in bits after the start code, of the fields rewritten, in the
// order the headers carry them.
namespace sequence_header_bits {
constexpr std::size_t kAspectRatio = 24;    // 4 bits, after the 12-bit width and height
constexpr std::size_t kFrameRate = 28;      // 4 bits
}  // namespace sequence_header_bits
namespace sequence_extension_bits {
constexpr std::size_t kProgressiveSequence = 12;  // after the identifier and profile_and_level_indication
constexpr std::size_t kFrameRateExtension = 41;   // 2 bits n, 5 bits d
}  // namespace sequence_extension_bits
namespace group_header_bits {
constexpr std::size_t kDropFrame = 0;
constexpr std::size_t kHours = 1;      // 5 bits
constexpr std::size_t kMinutes = 6;    // 6 bits, then a marker bit
constexpr std::size_t kSeconds = 13;   // 6 bits
constexpr std::size_t kPictures = 19;  // 6 bits
}  // namespace group_header_bits
namespace picture_coding_extension_bits {
constexpr std::size_t kTopFieldFirst = 24;     // after the identifier, f_codes, intra_dc_precision, picture_structure
constexpr std::size_t kRepeatFirstField = 30;  // after frame_pred_frame_dct .. alternate_scan
}  // namespace picture_coding_extension_bits

// The first byte 01 in [from, to) that follows two zero bytes (the bytes
// before `from` count), or null. Slice data holds many 01 bytes and few
// zero pairs, so sixteen bytes at a time are tested for the whole pattern.
const std::uint8_t* FindStartCodeOne(const std::uint8_t* from, const std::uint8_t* to) {
    const std::uint8_t* p = from;
#if defined(__SSE2__)
    if (to - p >= 16) {
        const __m128i zero = _mm_setzero_si128();
        const __m128i one = _mm_set1_epi8(1);
        // Zero flags of the two bytes before the block, in bits 14 and 15.
        std::uint32_t before = (p[-2] == 0 ? 1u << 14 : 0u) | (p[-1] == 0 ? 1u << 15 : 0u);
        for (; to - p >= 16; p += 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
            const auto zeros = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, zero)));
            const auto ones = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, one)));
            const std::uint32_t withBefore = (zeros << 16) | before;  // bit 16 + i: byte i is zero
            const std::uint32_t hits = ones & (withBefore >> 15) & (withBefore >> 14);
            if (hits != 0) return p + __builtin_ctz(hits);
            before = zeros & 0xC000u;
        }
    }
#endif
    for (; p < to; ++p) {
        if (*p == 1 && p[-1] == 0 && p[-2] == 0) return p;
    }
    return nullptr;
}

// Overwrites `count` bits from bit `first` (most significant first).
void SetBits(std::vector<std::uint8_t>& bytes, std::size_t first, int count, std::uint32_t value) {
    for (int i = 0; i < count; ++i) {
        const std::size_t bit = first + static_cast<std::size_t>(i);
        const auto mask = static_cast<std::uint8_t>(0x80u >> (bit % 8));
        std::uint8_t& byte = bytes.at(bit / 8);
        if ((value >> (count - 1 - i)) & 1u) {
            byte = static_cast<std::uint8_t>(byte | mask);
        } else {
            byte = static_cast<std::uint8_t>(byte & ~mask);
        }
    }
}

// Builds a header bit by bit, zero-padded to whole bytes at the end.
class BitWriter {
public:
    void Put(int count, std::uint32_t value) {
        for (int i = count - 1; i >= 0; --i, ++bits_) {
            if (bits_ % 8 == 0) bytes_.push_back(0);
            if ((value >> i) & 1u) bytes_.back() = static_cast<std::uint8_t>(bytes_.back() | (0x80u >> (bits_ % 8)));
        }
    }
    const std::vector<std::uint8_t>& Bytes() const { return bytes_; }

private:
    std::vector<std::uint8_t> bytes_;
    std::size_t bits_ = 0;
};

// The frames a second the time codes count at a frame rate code.
int NominalRate(std::uint8_t frameRateCode) {
    static constexpr int kNominal[] = {0, 24, 24, 25, 30, 30, 50, 60, 60};
    return frameRateCode <= 8 ? kNominal[frameRateCode] : 0;
}

// The time code of a frame count. Drop-frame counting (29.97 only) skips
// pictures 0 and 1 of every minute but each tenth, so the code keeps up
// with the clock.
GroupTimeCode TimeCodeOfFrame(std::int64_t frame, int rate, bool dropFrame) {
    if (dropFrame) {
        constexpr std::int64_t kTenMinutes = 17982;  // 10 * 60 * 30 - 9 * 2
        constexpr std::int64_t kMinute = 1798;       // 60 * 30 - 2
        const std::int64_t tens = frame / kTenMinutes;
        const std::int64_t rest = frame % kTenMinutes;
        frame += 18 * tens + (rest > 1 ? 2 * ((rest - 2) / kMinute) : 0);
    }
    GroupTimeCode code;
    code.DropFrame = dropFrame;
    code.Pictures = static_cast<std::uint8_t>(frame % rate);
    code.Seconds = static_cast<std::uint8_t>(frame / rate % 60);
    code.Minutes = static_cast<std::uint8_t>(frame / (rate * 60) % 60);
    code.Hours = static_cast<std::uint8_t>(frame / (rate * 3600) % 24);
    return code;
}

class StreamPatcher {
public:
    StreamPatcher(platform::ByteReader& input, platform::ByteWriter& output, const M2vPatch& options)
        : input_(input), output_(output), options_(options) {
        buffer_.resize(2 * kReadChunk);
        telecine_ = options.Pulldown == PulldownChange::TwoThree || options.Pulldown == PulldownChange::ThreeTwo;
        renumber_ = options.DropFrame.has_value() || options.FrameRateCode.has_value() || telecine_;
    }

    M2vPatchCounts Run();

private:
    bool Fill(std::size_t wanted);
    bool Pass(bool keep);
    std::span<const std::uint8_t> Prefix(std::size_t wanted);
    // Bytes of the buffer from `from` to `to` go out as they stand, joined
    // to the run before when they follow it.
    void Keep(std::size_t from, std::size_t to);
    void FlushRun();
    // Bytes from elsewhere, after the run pending.
    void Emit(std::span<const std::uint8_t> bytes) {
        FlushRun();
        output_.Write(bytes);
    }
    void EmitStartCode();
    void EmitHeader(const std::vector<std::uint8_t>& payload);
    std::string Where(std::uint64_t offset) const;
    [[noreturn]] void Fail(std::uint64_t offset, const std::string& what) const;

    void FindFirstSequenceHeader();
    bool HandleUnit();
    bool OnSequenceHeader();
    bool OnExtension();
    bool OnSequenceExtension(HeaderBits& bits, std::vector<std::uint8_t>& payload);
    bool OnPictureCodingExtension(HeaderBits& bits, std::vector<std::uint8_t>& payload);
    bool OnGroup();
    bool OnPicture();
    void InsertSequenceDisplayExtension();
    void InsertPictureDisplayExtension();
    void Finish();

    platform::ByteReader& input_;
    platform::ByteWriter& output_;
    const M2vPatch& options_;
    bool telecine_ = false;
    bool renumber_ = false;
    M2vPatchCounts counts_;

    std::vector<std::uint8_t> buffer_;
    std::size_t scan_ = 0;     // next byte to look at; all before it is written or dropped
    std::size_t end_ = 0;      // end of the bytes read
    std::uint64_t base_ = 0;   // stream offset of buffer_[0]
    std::size_t runStart_ = kNoRun;  // the bytes of the buffer kept and not yet written
    std::size_t runEnd_ = 0;
    std::size_t codeAt_ = kNoRun;    // where in the buffer the start code in hand stands
    bool eof_ = false;
    std::uint8_t code_ = 0;
    std::uint64_t codeOffset_ = 0;

    // The sequence in hand, as written.
    std::uint64_t sequenceOffset_ = 0;
    std::int32_t width_ = 0;
    std::int32_t height_ = 0;
    std::uint8_t aspectCode_ = 0;
    std::uint8_t inputRateCode_ = 0;
    std::uint8_t rateCode_ = 0;
    bool progressiveSequence_ = true;

    // What must come next.
    bool sequenceExtensionDue_ = false;
    bool pictureCodingDue_ = false;
    bool sequenceDisplayDue_ = false;      // inserted before the sequence's first group or picture
    int pictureDisplayOffsetsDue_ = 0;     // inserted before the picture's first slice
    bool sequenceEndHeld_ = false;         // dropped unless nothing follows

    // Counting for the 3:2 cadence and the time codes.
    std::uint64_t pictureOffset_ = 0;
    std::uint16_t temporalReference_ = 0;
    bool haveGroup_ = false;
    std::int64_t framesBeforeGroup_ = 0;   // display frames of the groups before this one
    std::int64_t framesInGroup_ = 0;
    bool secondFieldDue_ = false;
    std::int64_t fields_ = 0;              // fields shown by the pictures written so far
};

bool StreamPatcher::Fill(std::size_t wanted) {
    while (end_ - scan_ < wanted && !eof_) {
        if (scan_ > 0) {
            FlushRun();
            codeAt_ = kNoRun;
            std::memmove(buffer_.data(), buffer_.data() + scan_, end_ - scan_);
            base_ += scan_;
            end_ -= scan_;
            scan_ = 0;
        }
        if (buffer_.size() - end_ < kReadChunk) buffer_.resize(end_ + kReadChunk);
        const std::size_t got = input_.Read(std::span<std::uint8_t>(buffer_.data() + end_, buffer_.size() - end_));
        if (got == 0) eof_ = true;
        end_ += got;
    }
    return end_ - scan_ >= wanted;
}

// Writes (or drops) the bytes up to the next start code and steps over it.
// False at the end of the stream.
bool StreamPatcher::Pass(bool keep) {
    while (true) {
        if (!Fill(4)) {
            const std::size_t left = end_ - scan_;
            if (left == 3 && buffer_[scan_] == 0 && buffer_[scan_ + 1] == 0 && buffer_[scan_ + 2] == 1) {
                Fail(base_ + scan_, "the stream ends inside a start code; the file is cut short");
            }
            if (keep) Keep(scan_, end_);
            scan_ = end_;
            return false;
        }
        const std::uint8_t* data = buffer_.data();
        // The code byte after the 01 must be there too.
        const std::uint8_t* const p = FindStartCodeOne(data + scan_ + 2, data + end_ - 1);
        if (p != nullptr) {
            const std::size_t at = static_cast<std::size_t>(p - 2 - data);
            if (keep) Keep(scan_, at);
            codeAt_ = at;
            codeOffset_ = base_ + at;
            code_ = p[1];
            scan_ = at + 4;
            return true;
        }
        // Keep the last three bytes: they may begin a start code.
        const std::size_t hold = end_ - 3;
        if (keep) Keep(scan_, hold);
        scan_ = hold;
    }
}

// The bytes of the header at scan_: at most `wanted`, ending where the next
// start code begins.
std::span<const std::uint8_t> StreamPatcher::Prefix(std::size_t wanted) {
    Fill(wanted + 3);
    return HeaderBefore({buffer_.data() + scan_, end_ - scan_}, wanted);
}

void StreamPatcher::Keep(std::size_t from, std::size_t to) {
    if (runStart_ != kNoRun && runEnd_ == from) {
        runEnd_ = to;
        return;
    }
    FlushRun();
    runStart_ = from;
    runEnd_ = to;
}

void StreamPatcher::FlushRun() {
    if (runStart_ == kNoRun) return;
    output_.Write({buffer_.data() + runStart_, runEnd_ - runStart_});
    runStart_ = kNoRun;
}

void StreamPatcher::EmitStartCode() {
    if (codeAt_ != kNoRun && codeAt_ + 4 == scan_) {
        Keep(codeAt_, scan_);  // still in the buffer, just before the header
        return;
    }
    const std::uint8_t startCode[] = {0, 0, 1, code_};
    Emit(startCode);
}

// Writes the start code in hand and a rewritten header in place of the
// bytes it was read from (the same number of them).
void StreamPatcher::EmitHeader(const std::vector<std::uint8_t>& payload) {
    EmitStartCode();
    std::memcpy(buffer_.data() + scan_, payload.data(), payload.size());
    Keep(scan_, scan_ + payload.size());
    scan_ += payload.size();
}

std::string StreamPatcher::Where(std::uint64_t offset) const {
    return "The MPEG video stream \"" + input_.Name() + "\" at offset " + std::to_string(offset);
}

void StreamPatcher::Fail(std::uint64_t offset, const std::string& what) const {
    throw Error(Where(offset) + ": " + what);
}

void StreamPatcher::FindFirstSequenceHeader() {
    if (!Fill(1)) Fail(0, "the stream is empty; expected an MPEG-2 video elementary stream");
    // Bytes before the first sequence header belong to no picture and are left out.
    while (Pass(false) && codeOffset_ < kSequenceHeaderSearchBytes) {
        if (code_ == kSequenceHeaderCode) return;
        if (code_ <= kLastSliceStartCode) {
            Fail(codeOffset_, "picture data comes before the first sequence header");
        }
    }
    Fail(0, "no sequence header (00 00 01 B3) in the first " + std::to_string(kSequenceHeaderSearchBytes) +
                " bytes; expected an MPEG-2 video elementary stream");
}

M2vPatchCounts StreamPatcher::Run() {
    FindFirstSequenceHeader();
    while (HandleUnit()) {
    }
    Finish();
    return counts_;
}

bool StreamPatcher::HandleUnit() {
    if (sequenceEndHeld_) {
        sequenceEndHeld_ = false;
        ++counts_.SequenceEndCodesDropped;
    }
    if (code_ != kExtensionStartCode) {
        if (sequenceExtensionDue_) {
            Fail(sequenceOffset_, "the sequence header is not followed by a sequence extension: it is an MPEG-1 "
                                  "stream; expected MPEG-2");
        }
        if (pictureCodingDue_) {
            Fail(pictureOffset_, "the picture header is not followed by its picture coding extension");
        }
        if (code_ != kUserDataStartCode) {
            if (sequenceDisplayDue_) InsertSequenceDisplayExtension();
            if (pictureDisplayOffsetsDue_ > 0) InsertPictureDisplayExtension();
        }
    }

    if (code_ == kSequenceHeaderCode) return OnSequenceHeader();
    if (code_ == kExtensionStartCode) return OnExtension();
    if (code_ == kGroupStartCode) return OnGroup();
    if (code_ == kPictureStartCode) return OnPicture();
    if (code_ == kSequenceEndCode && options_.IgnoreSequenceEndCode) {
        sequenceEndHeld_ = true;
        return Pass(false);
    }
    if (code_ >= kFirstSystemStartCode) {
        Fail(codeOffset_, "the system start code belongs to a program stream; expected a video elementary stream");
    }
    // Slices, user data, sequence end codes: copied as they are.
    EmitStartCode();
    return Pass(true);
}

bool StreamPatcher::OnSequenceHeader() {
    ++counts_.SequenceHeaders;
    sequenceOffset_ = codeOffset_;
    const auto prefix = Prefix(kSequenceHeaderMaxBytes);
    HeaderBits bits(prefix, Where(codeOffset_), "sequence header");
    const SequenceHeader header = ReadSequenceHeader(bits);
    std::vector<std::uint8_t> payload(prefix.begin(), prefix.end());

    width_ = header.Width;
    height_ = header.Height;
    inputRateCode_ = header.FrameRateCode;
    aspectCode_ = options_.AspectRatioCode.value_or(header.AspectRatioCode);
    rateCode_ = options_.FrameRateCode.value_or(header.FrameRateCode);
    if (telecine_) {
        if (header.FrameRateCode != 1) {
            bits.Fail("gives the frame rate code " + std::to_string(header.FrameRateCode) +
                      "; 3:2 pulldown needs a 23.976 stream (code 1)");
        }
        rateCode_ = 4;  // 29.97
    }
    SetBits(payload, sequence_header_bits::kAspectRatio, 4, aspectCode_);
    SetBits(payload, sequence_header_bits::kFrameRate, 4, rateCode_);
    EmitHeader(payload);
    sequenceExtensionDue_ = true;
    return Pass(true);
}

bool StreamPatcher::OnExtension() {
    const auto prefix = Prefix(kShortHeaderMaxBytes);
    HeaderBits bits(prefix, Where(codeOffset_), "extension");
    const std::uint32_t id = bits.Read(4);
    std::vector<std::uint8_t> payload(prefix.begin(), prefix.end());
    if (sequenceExtensionDue_ && id != kSequenceExtensionId) {
        Fail(sequenceOffset_, "the sequence header is followed by an extension with identifier " +
                                  std::to_string(id) + " where MPEG-2 puts its sequence extension; expected MPEG-2");
    }
    if (pictureCodingDue_ && id != kPictureCodingExtensionId) {
        Fail(pictureOffset_, "the picture header is not followed by its picture coding extension");
    }
    switch (id) {
        case kSequenceExtensionId: return OnSequenceExtension(bits, payload);
        case kPictureCodingExtensionId: return OnPictureCodingExtension(bits, payload);
        case kSequenceDisplayExtensionId:
            if (options_.PanScan == PanScanChange::Remove) {
                ++counts_.ExtensionsDropped;
                return Pass(false);
            }
            sequenceDisplayDue_ = false;  // the sequence has one of its own, kept
            break;
        case kPictureDisplayExtensionId:
            // Its count of offsets follows the field flags; when pan-scan is
            // added a fresh one goes in for the flags as written.
            if (options_.PanScan != PanScanChange::Keep) {
                ++counts_.ExtensionsDropped;
                return Pass(false);
            }
            break;
        default: break;
    }
    EmitStartCode();
    return Pass(true);
}

bool StreamPatcher::OnSequenceExtension(HeaderBits& bits, std::vector<std::uint8_t>& payload) {
    if (!sequenceExtensionDue_) Fail(codeOffset_, "a sequence extension does not follow a sequence header");
    sequenceExtensionDue_ = false;
    const SequenceExtension extension = ReadSequenceExtension(bits);
    width_ |= static_cast<std::int32_t>(extension.WidthExtension << 12);
    height_ |= static_cast<std::int32_t>(extension.HeightExtension << 12);
    progressiveSequence_ = extension.ProgressiveSequence;
    if (telecine_) {
        if (extension.FrameRateExtensionN != 0 || extension.FrameRateExtensionD != 0) {
            bits.Fail("scales the frame rate by an extension; 3:2 pulldown needs a plain 23.976 stream");
        }
        // An interlaced sequence counts its macroblock rows in field pairs;
        // the slices stay valid only where both counts agree.
        if ((height_ + 15) / 16 != 2 * ((height_ + 31) / 32)) {
            bits.Fail("belongs to a picture " + std::to_string(height_) +
                      " lines high; 3:2 pulldown needs a height that is a multiple of 32");
        }
        progressiveSequence_ = false;
        SetBits(payload, sequence_extension_bits::kProgressiveSequence, 1, 0);
    }
    if (rateCode_ != inputRateCode_) SetBits(payload, sequence_extension_bits::kFrameRateExtension, 7, 0);
    EmitHeader(payload);
    sequenceDisplayDue_ = options_.PanScan == PanScanChange::Add;
    return Pass(true);
}

bool StreamPatcher::OnPictureCodingExtension(HeaderBits& bits, std::vector<std::uint8_t>& payload) {
    if (!pictureCodingDue_) Fail(codeOffset_, "a picture coding extension does not follow a picture header");
    pictureCodingDue_ = false;
    const PictureCodingExtension extension = ReadPictureCodingExtension(bits);
    const bool frame = extension.Structure == PictureStructure::Frame;
    bool topFieldFirst = extension.TopFieldFirst;
    bool repeatFirstField = extension.RepeatFirstField;
    if (telecine_) {
        if (!frame || !extension.ProgressiveFrame) {
            Fail(pictureOffset_, std::string("the picture is ") + (frame ? "an interlaced frame" : "a field picture") +
                                     "; 3:2 pulldown needs progressive frame pictures");
        }
        if (!haveGroup_) Fail(pictureOffset_, "the picture precedes any group header; 3:2 pulldown needs them");
        // Display order within the stream, and with it the place in the
        // cadence: top+repeat, bottom, bottom+repeat, top; a cadence that
        // starts with two fields starts at its fourth place.
        const std::int64_t shift = options_.Pulldown == PulldownChange::TwoThree ? 3 : 0;
        const std::int64_t phase = (framesBeforeGroup_ + temporalReference_ + shift) % 4;
        topFieldFirst = phase == 0 || phase == 3;
        repeatFirstField = phase == 0 || phase == 2;
    } else if (options_.Pulldown == PulldownChange::Remove) {
        repeatFirstField = false;
        if (progressiveSequence_) topFieldFirst = false;  // a progressive sequence allows it only with a repeat
    }
    SetBits(payload, picture_coding_extension_bits::kTopFieldFirst, 1, topFieldFirst ? 1 : 0);
    SetBits(payload, picture_coding_extension_bits::kRepeatFirstField, 1, repeatFirstField ? 1 : 0);
    EmitHeader(payload);

    if (!frame) {
        fields_ += 1;
        if (!secondFieldDue_) ++framesInGroup_;
        secondFieldDue_ = !secondFieldDue_;
    } else if (progressiveSequence_) {
        // A repeat in a progressive sequence shows the frame two or three times.
        fields_ += 2 * (1 + (repeatFirstField ? 1 : 0) + (repeatFirstField && topFieldFirst ? 1 : 0));
        ++framesInGroup_;
    } else {
        fields_ += repeatFirstField ? 3 : 2;
        ++framesInGroup_;
    }
    if (options_.PanScan == PanScanChange::Add) {
        if (progressiveSequence_) {
            pictureDisplayOffsetsDue_ = repeatFirstField ? (topFieldFirst ? 3 : 2) : 1;
        } else {
            pictureDisplayOffsetsDue_ = !frame ? 1 : (repeatFirstField ? 3 : 2);
        }
    }
    return Pass(true);
}

bool StreamPatcher::OnGroup() {
    ++counts_.Groups;
    const auto prefix = Prefix(kShortHeaderMaxBytes);
    HeaderBits bits(prefix, Where(codeOffset_), "group header");
    const GroupHeader header = ReadGroupHeader(bits);
    std::vector<std::uint8_t> payload(prefix.begin(), prefix.end());
    haveGroup_ = true;
    framesBeforeGroup_ += framesInGroup_;
    framesInGroup_ = 0;

    const bool dropFrame = options_.DropFrame.value_or(header.TimeCode.DropFrame);
    if (renumber_) {
        if (dropFrame && rateCode_ != 4) {
            bits.Fail("is to carry drop-frame time codes at frame rate code " + std::to_string(rateCode_) +
                      "; they exist only at 29.97 (code 4)");
        }
        // The group's time code is that of its first picture in display
        // order, which follows every picture of the groups before it.
        const GroupTimeCode code = TimeCodeOfFrame(fields_ / 2, NominalRate(rateCode_), dropFrame);
        SetBits(payload, group_header_bits::kHours, 5, code.Hours);
        SetBits(payload, group_header_bits::kMinutes, 6, code.Minutes);
        SetBits(payload, group_header_bits::kSeconds, 6, code.Seconds);
        SetBits(payload, group_header_bits::kPictures, 6, code.Pictures);
    }
    SetBits(payload, group_header_bits::kDropFrame, 1, dropFrame ? 1 : 0);
    EmitHeader(payload);
    return Pass(true);
}

bool StreamPatcher::OnPicture() {
    ++counts_.Pictures;
    const auto prefix = Prefix(kShortHeaderMaxBytes);
    HeaderBits bits(prefix, Where(codeOffset_), "picture header");
    temporalReference_ = ReadPictureHeader(bits, true).TemporalReference;
    pictureOffset_ = codeOffset_;
    pictureCodingDue_ = true;
    EmitStartCode();
    return Pass(true);
}

void StreamPatcher::InsertSequenceDisplayExtension() {
    sequenceDisplayDue_ = false;
    ++counts_.ExtensionsAdded;
    // A 16:9 picture shown on a 4:3 screen: the pan-scan window is three
    // quarters of the width, centred.
    const std::uint32_t displayWidth = aspectCode_ == 3 ? static_cast<std::uint32_t>(width_) * 3 / 4
                                                        : static_cast<std::uint32_t>(width_);
    const std::uint32_t videoFormat = rateCode_ == 3 ? 1 : (rateCode_ == 4 ? 2 : 5);  // PAL, NTSC, unspecified
    BitWriter bits;
    bits.Put(8, kExtensionStartCode);
    bits.Put(4, kSequenceDisplayExtensionId);
    bits.Put(3, videoFormat);
    bits.Put(1, 0);  // colour_description
    bits.Put(14, displayWidth);
    bits.Put(1, 1);  // marker
    bits.Put(14, static_cast<std::uint32_t>(height_));
    const std::uint8_t prefix[] = {0, 0, 1};
    Emit(prefix);
    Emit(bits.Bytes());
}

void StreamPatcher::InsertPictureDisplayExtension() {
    ++counts_.ExtensionsAdded;
    BitWriter bits;
    bits.Put(8, kExtensionStartCode);
    bits.Put(4, kPictureDisplayExtensionId);
    for (int i = 0; i < pictureDisplayOffsetsDue_; ++i) {
        bits.Put(16, 0);  // frame_centre_horizontal_offset: the window centred
        bits.Put(1, 1);
        bits.Put(16, 0);  // frame_centre_vertical_offset
        bits.Put(1, 1);
    }
    pictureDisplayOffsetsDue_ = 0;
    const std::uint8_t prefix[] = {0, 0, 1};
    Emit(prefix);
    Emit(bits.Bytes());
}

void StreamPatcher::Finish() {
    const std::uint64_t size = base_ + end_;
    if (sequenceExtensionDue_) Fail(sequenceOffset_, "the stream ends after the sequence header; the file is cut short");
    if (pictureCodingDue_ || pictureDisplayOffsetsDue_ > 0) {
        Fail(pictureOffset_, "the stream ends after this picture's headers; the file is cut short");
    }
    if (sequenceDisplayDue_) Fail(size, "the stream ends without a picture after its last sequence header");
    if (sequenceEndHeld_) {
        const std::uint8_t end[] = {0, 0, 1, kSequenceEndCode};
        Emit(end);
    }
    FlushRun();
}

}  // namespace

M2vPatchCounts PatchM2v(platform::ByteReader& input, platform::ByteWriter& output, const M2vPatch& options) {
    auto refuse = [&](const std::string& what) {
        throw Error("The patch of the MPEG video stream \"" + input.Name() + "\" " + what);
    };
    if (options.AspectRatioCode && (*options.AspectRatioCode < 1 || *options.AspectRatioCode > 4)) {
        refuse("asks for the aspect ratio code " + std::to_string(*options.AspectRatioCode) + "; expected 1 to 4");
    }
    if (options.FrameRateCode && (*options.FrameRateCode < 1 || *options.FrameRateCode > 8)) {
        refuse("asks for the frame rate code " + std::to_string(*options.FrameRateCode) + "; expected 1 to 8");
    }
    const bool telecine = options.Pulldown == PulldownChange::TwoThree || options.Pulldown == PulldownChange::ThreeTwo;
    if (telecine && options.FrameRateCode && *options.FrameRateCode != 4) {
        refuse("asks for soft pulldown at frame rate code " + std::to_string(*options.FrameRateCode) +
               "; pulldown makes 29.97 (code 4)");
    }
    return StreamPatcher(input, output, options).Run();
}

M2vPatchCounts PatchM2vFile(const platform::FileSystem& files, const std::string& inputPath,
                            const std::string& outputPath, const M2vPatch& options) {
    const std::string part = outputPath + ".part";
    try {
        const auto reader = platform::OpenFileReader(files.Paths(), inputPath);
        M2vPatchCounts counts;
        {
            const auto writer = platform::OpenFileWriter(files.Paths(), part, platform::WriteMode::Replace);
            counts = PatchM2v(*reader, *writer, options);
            writer->Close();
        }
        files.MoveFile(part, outputPath);
        return counts;
    } catch (...) {
        try {
            files.DeleteFile(part);
        } catch (const Error&) {
            // The patch's own failure is the one to report.
        }
        throw;
    }
}

}  // namespace kestrova
