// Audio frame headers: see audio_frames.h.
#include "assets/audio_frames.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace kestrova {

namespace {

// Big-endian bit fields of a header, most significant bit first. The caller
// has checked that the header's bytes are there.
class FieldReader {
public:
    explicit FieldReader(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    // At most 32 bits.
    std::uint32_t Read(unsigned count) {
        const std::size_t first = bit_ / 8;
        const std::size_t last = (bit_ + count - 1) / 8;
        std::uint64_t value = 0;
        for (std::size_t i = first; i <= last; ++i) value = (value << 8) | (i < bytes_.size() ? bytes_[i] : 0u);
        const std::size_t below = (last + 1) * 8 - (bit_ + count);
        bit_ += count;
        return static_cast<std::uint32_t>((value >> below) & ((std::uint64_t{1} << count) - 1));
    }

private:
    std::span<const std::uint8_t> bytes_;
    std::size_t bit_ = 0;
};

// ---- AC3 (ATSC A/52) ----

// syncinfo: syncword 16, crc1 16, fscod 2, frmsizecod 6; then bsi: bsid 5,
// bsmod 3, acmod 3, up to three 2-bit fields by acmod, lfeon 1.
constexpr std::size_t kAc3SyncInfoBits = 16 + 16 + 2 + 6;
constexpr std::size_t kAc3HeaderBits = kAc3SyncInfoBits + 5 + 3 + 3 + 3 * 2 + 1;
static_assert(kAc3SyncInfoBits == 40);
constexpr std::size_t kAc3HeaderBytes = (kAc3HeaderBits + 7) / 8;
static_assert(kAc3HeaderBytes == 8);

// A/52 Table 5.18, by frmsizecod.
constexpr Ac3FrameSize kAc3FrameSizes[] = {
    {32, 96, 69, 64},       {32, 96, 70, 64},       {40, 120, 87, 80},      {40, 120, 88, 80},
    {48, 144, 104, 96},     {48, 144, 105, 96},     {56, 168, 121, 112},    {56, 168, 122, 112},
    {64, 192, 139, 128},    {64, 192, 140, 128},    {80, 240, 174, 160},    {80, 240, 175, 160},
    {96, 288, 208, 192},    {96, 288, 209, 192},    {112, 336, 243, 224},   {112, 336, 244, 224},
    {128, 384, 278, 256},   {128, 384, 279, 256},   {160, 480, 348, 320},   {160, 480, 349, 320},
    {192, 576, 417, 384},   {192, 576, 418, 384},   {224, 672, 487, 448},   {224, 672, 488, 448},
    {256, 768, 557, 512},   {256, 768, 558, 512},   {320, 960, 696, 640},   {320, 960, 697, 640},
    {384, 1152, 835, 768},  {384, 1152, 836, 768},  {448, 1344, 975, 896},  {448, 1344, 976, 896},
    {512, 1536, 1114, 1024}, {512, 1536, 1115, 1024}, {576, 1728, 1253, 1152}, {576, 1728, 1254, 1152},
    {640, 1920, 1393, 1280}, {640, 1920, 1394, 1280},
};
static_assert(std::size(kAc3FrameSizes) == 38);

}  // namespace

const Ac3FrameSize* FindAc3FrameSize(unsigned frmsizecod) {
    return frmsizecod < std::size(kAc3FrameSizes) ? &kAc3FrameSizes[frmsizecod] : nullptr;
}

namespace {

constexpr std::int32_t kAc3Rates[] = {48000, 44100, 32000};  // by fscod; 3 is reserved
constexpr std::uint32_t kAc3SamplesPerFrame = 6 * 256;       // six audio blocks

// By acmod: full-band channels and their arrangement (front/rear).
constexpr std::int32_t kAc3Channels[] = {2, 1, 2, 3, 3, 4, 4, 5};
constexpr const char* kAc3Layouts[] = {"1+1", "1/0", "2/0", "3/0", "2/1", "3/1", "2/2", "3/2"};

HeaderRead ReadAc3(std::span<const std::uint8_t> bytes, FrameHeader& h, HeaderFault& fault) {
    FieldReader r(bytes);
    if (r.Read(16) != 0x0B77) return HeaderRead::NoSync;
    r.Read(16);  // crc1
    h.Fscod = static_cast<std::uint8_t>(r.Read(2));
    h.Frmsizecod = static_cast<std::uint8_t>(r.Read(6));
    h.Bsid = static_cast<std::uint8_t>(r.Read(5));
    r.Read(3);  // bsmod
    h.Acmod = static_cast<std::uint8_t>(r.Read(3));
    if ((h.Acmod & 1) != 0 && h.Acmod != 1) r.Read(2);  // cmixlev: three front channels
    if ((h.Acmod & 4) != 0) r.Read(2);                   // surmixlev: a surround channel
    if (h.Acmod == 2) r.Read(2);                         // dsurmod: stereo
    h.Lfe = r.Read(1) != 0;

    if (h.Fscod == 3) {
        fault = {"fscod", h.Fscod, "0 (48 kHz), 1 (44.1 kHz) or 2 (32 kHz)"};
        return HeaderRead::Invalid;
    }
    if (h.Frmsizecod >= std::size(kAc3FrameSizes)) {
        fault = {"frmsizecod", h.Frmsizecod, "0x00 to 0x25"};
        return HeaderRead::Invalid;
    }
    if (h.Bsid > 8) {
        fault = {"bsid", h.Bsid, "0 to 8 (16 would be E-AC3, which is not read)"};
        return HeaderRead::Invalid;
    }
    const Ac3FrameSize& row = kAc3FrameSizes[h.Frmsizecod];
    const std::uint32_t words = h.Fscod == 0 ? row.Words48 : h.Fscod == 1 ? row.Words44 : row.Words32;
    h.Size = 2 * words;
    h.Crc1Bytes = 2 * ((words >> 1) + (words >> 3));  // 5/8 of the frame, in whole words
    h.Samples = kAc3SamplesPerFrame;
    h.SampleRate = kAc3Rates[h.Fscod];
    h.BitRate = std::int64_t{row.Kbps} * 1000;
    h.Channels = kAc3Channels[h.Acmod] + (h.Lfe ? 1 : 0);
    h.Coding = "AC3";
    h.Layout = kAc3Layouts[h.Acmod];
    h.Family = h.Fscod;
    return HeaderRead::Ok;
}

// ---- MPEG audio ----

// syncword 11, version 2, layer 2, protection_bit 1, bitrate_index 4,
// sampling_frequency 2, padding_bit 1, private_bit 1, mode 2,
// mode_extension 2, copyright 1, original 1, emphasis 2.
constexpr std::size_t kMpegHeaderBits = 11 + 2 + 2 + 1 + 4 + 2 + 1 + 1 + 2 + 2 + 1 + 1 + 2;
static_assert(kMpegHeaderBits == 32);

// By bitrate_index 1 to 14, in kbit/s: MPEG-1 layers I, II, III, then
// MPEG-2 and 2.5 layer I, and layers II and III.
constexpr std::uint16_t kMpegKbps[5][14] = {
    {32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
    {32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
    {32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
    {32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
    {8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
};

// By the version bits (0 MPEG-2.5, 1 reserved, 2 MPEG-2, 3 MPEG-1) and sampling_frequency.
constexpr std::int32_t kMpegRates[4][3] = {
    {11025, 12000, 8000}, {0, 0, 0}, {22050, 24000, 16000}, {44100, 48000, 32000}};

// By the version bits and the layer (3 - layer bits, so 0 is layer I).
constexpr const char* kMpegCodings[4][3] = {
    {"MPEG-2.5 Layer I", "MPEG-2.5 Layer II", "MPEG-2.5 Layer III"},
    {"", "", ""},
    {"MPEG-2 Layer I", "MPEG-2 Layer II", "MPEG-2 Layer III"},
    {"MPEG-1 Layer I", "MPEG-1 Layer II", "MPEG-1 Layer III"},
};

constexpr const char* kMpegModes[] = {"stereo", "joint stereo", "dual channel", "mono"};

HeaderRead ReadMpeg(std::span<const std::uint8_t> bytes, FrameHeader& h, HeaderFault& fault) {
    FieldReader r(bytes);
    if (r.Read(11) != 0x7FF) return HeaderRead::NoSync;
    const std::uint32_t version = r.Read(2);
    const std::uint32_t layerBits = r.Read(2);
    r.Read(1);  // protection_bit
    const std::uint32_t bitrateIndex = r.Read(4);
    const std::uint32_t rateIndex = r.Read(2);
    const std::uint32_t padding = r.Read(1);
    r.Read(1);  // private_bit
    const std::uint32_t mode = r.Read(2);

    if (version == 1) {
        fault = {"version ID", version, "0 (MPEG-2.5), 2 (MPEG-2) or 3 (MPEG-1)"};
        return HeaderRead::Invalid;
    }
    if (layerBits == 0) {
        fault = {"layer", layerBits, "1 to 3 (layer III to layer I)"};
        return HeaderRead::Invalid;
    }
    if (bitrateIndex == 0 || bitrateIndex == 15) {
        fault = {"bitrate_index", bitrateIndex, "0x01 to 0x0E (free format is not read)"};
        return HeaderRead::Invalid;
    }
    if (rateIndex == 3) {
        fault = {"sampling_frequency", rateIndex, "0 to 2"};
        return HeaderRead::Invalid;
    }
    const std::uint32_t layer = 4 - layerBits;  // 1, 2, 3
    const bool mpeg1 = version == 3;
    const int table = mpeg1 ? static_cast<int>(layer) - 1 : (layer == 1 ? 3 : 4);
    h.BitRate = std::int64_t{kMpegKbps[table][bitrateIndex - 1]} * 1000;
    h.SampleRate = kMpegRates[version][rateIndex];
    if (layer == 1) {
        h.Samples = 384;
        h.Size = static_cast<std::uint32_t>((12 * h.BitRate / h.SampleRate + padding) * 4);
    } else if (layer == 2 || mpeg1) {
        h.Samples = 1152;
        h.Size = static_cast<std::uint32_t>(144 * h.BitRate / h.SampleRate + padding);
    } else {
        h.Samples = 576;  // layer III of MPEG-2 and 2.5: one granule
        h.Size = static_cast<std::uint32_t>(72 * h.BitRate / h.SampleRate + padding);
    }
    h.Channels = mode == 3 ? 1 : 2;
    h.Coding = kMpegCodings[version][layer - 1];
    h.Layout = kMpegModes[mode];
    h.Family = (version << 4) | (layerBits << 2) | rateIndex;
    return HeaderRead::Ok;
}

// ---- DTS core ----

// SYNC 32, FTYPE 1, SHORT 5, CPF 1, NBLKS 7, FSIZE 14, AMODE 6, SFREQ 4,
// RATE 5, FIXEDBIT 1, DYNF 1, TIMEF 1, AUXF 1, HDCD 1, EXT_AUDIO_ID 3,
// EXT_AUDIO 1, ASPF 1, LFF 2.
constexpr std::size_t kDtsHeaderBits = 32 + 1 + 5 + 1 + 7 + 14 + 6 + 4 + 5 + 1 + 1 + 1 + 1 + 1 + 3 + 1 + 1 + 2;
static_assert(kDtsHeaderBits == 87);
constexpr std::size_t kDtsHeaderBytes = (kDtsHeaderBits + 7) / 8;

// By SFREQ; 0 marks a reserved code.
constexpr std::int32_t kDtsRates[16] = {0, 8000, 16000, 32000, 0, 0, 11025, 22050,
                                        44100, 0, 0, 12000, 24000, 48000, 0, 0};
// By RATE, bit/s; the last three (open, variable, lossless) give no rate.
constexpr std::int32_t kDtsBitRates[32] = {
    32000,   56000,   64000,   96000,   112000,  128000,  192000,  224000,  256000,  320000,  384000,
    448000,  512000,  576000,  640000,  768000,  960000,  1024000, 1152000, 1280000, 1344000, 1408000,
    1411200, 1472000, 1536000, 1920000, 2048000, 3072000, 3840000, 0,       0,       0};
// By AMODE 0 to 15: channels and their arrangement.
constexpr std::int32_t kDtsChannels[16] = {1, 2, 2, 2, 2, 3, 3, 4, 4, 5, 6, 6, 7, 8, 8, 8};
constexpr const char* kDtsLayouts[16] = {"1/0", "1+1", "2/0", "2/0 sum-difference", "2/0 Lt/Rt", "3/0",
                                         "2/1", "3/1", "2/2", "3/2", "6-channel", "6-channel",
                                         "7-channel", "8-channel", "8-channel", "8-channel"};

HeaderRead ReadDts(std::span<const std::uint8_t> bytes, FrameHeader& h, HeaderFault& fault) {
    FieldReader r(bytes);
    if (r.Read(32) != 0x7FFE8001) return HeaderRead::NoSync;
    r.Read(1 + 5 + 1);  // FTYPE, SHORT, CPF
    const std::uint32_t blocks = r.Read(7);
    const std::uint32_t size = r.Read(14);
    const std::uint32_t amode = r.Read(6);
    const std::uint32_t rate = r.Read(4);
    const std::uint32_t bitRate = r.Read(5);
    r.Read(1 + 1 + 1 + 1 + 1 + 3 + 1 + 1);
    const std::uint32_t lff = r.Read(2);

    if (blocks < 5) {
        fault = {"NBLKS", blocks, "5 to 127"};
        return HeaderRead::Invalid;
    }
    if (size < 95) {
        fault = {"FSIZE", size, "95 to 16383"};
        return HeaderRead::Invalid;
    }
    if (amode >= std::size(kDtsChannels)) {
        fault = {"AMODE", amode, "0 to 15"};
        return HeaderRead::Invalid;
    }
    if (kDtsRates[rate] == 0) {
        fault = {"SFREQ", rate, "one of 1-3, 6-8, 11-13"};
        return HeaderRead::Invalid;
    }
    if (lff == 3) {
        fault = {"LFF", lff, "0 to 2"};
        return HeaderRead::Invalid;
    }
    h.Size = size + 1;
    h.Samples = (blocks + 1) * 32;
    h.SampleRate = kDtsRates[rate];
    h.BitRate = kDtsBitRates[bitRate];
    h.Lfe = lff != 0;
    h.Channels = kDtsChannels[amode] + (h.Lfe ? 1 : 0);
    h.Coding = "DTS";
    h.Layout = kDtsLayouts[amode];
    h.Family = rate;
    return HeaderRead::Ok;
}

}  // namespace

std::string Describe(const HeaderFault& fault) {
    char value[16];
    std::snprintf(value, sizeof value, "0x%02X", static_cast<unsigned>(fault.Value));
    return std::string("invalid ") + fault.Field + " " + value + "; expected " + fault.Expected;
}

std::size_t HeaderBytes(AudioFormat format) {
    switch (format) {
    case AudioFormat::Ac3: return kAc3HeaderBytes;
    case AudioFormat::MpegAudio: return kMpegHeaderBits / 8;
    case AudioFormat::Dts: return kDtsHeaderBytes;
    default: return 0;
    }
}

std::size_t SyncBytes(AudioFormat format) { return format == AudioFormat::Dts ? 4 : 2; }

const char* SyncText(AudioFormat format) {
    switch (format) {
    case AudioFormat::Ac3: return "0B 77";
    case AudioFormat::MpegAudio: return "FF E0 (11 bits set)";
    case AudioFormat::Dts: return "7F FE 80 01";
    default: return "";
    }
}

const std::uint8_t* FindSync(AudioFormat format, const std::uint8_t* from, const std::uint8_t* end) {
    const std::size_t sync = SyncBytes(format);
    const std::uint8_t first = format == AudioFormat::Ac3 ? 0x0B : format == AudioFormat::Dts ? 0x7F : 0xFF;
    while (end - from >= static_cast<std::ptrdiff_t>(sync)) {
        const std::size_t span = static_cast<std::size_t>(end - from) - sync + 1;
        const auto* p = static_cast<const std::uint8_t*>(std::memchr(from, first, span));
        if (p == nullptr) break;
        const bool match = format == AudioFormat::Ac3         ? p[1] == 0x77
                           : format == AudioFormat::MpegAudio ? (p[1] & 0xE0) == 0xE0
                                                              : p[1] == 0xFE && p[2] == 0x80 && p[3] == 0x01;
        if (match) return p;
        from = p + 1;
    }
    return end;
}

HeaderRead ReadFrameHeader(AudioFormat format, std::span<const std::uint8_t> bytes, FrameHeader& header,
                           HeaderFault& fault) {
    header = FrameHeader{};
    switch (format) {
    case AudioFormat::Ac3: return ReadAc3(bytes, header, fault);
    case AudioFormat::MpegAudio: return ReadMpeg(bytes, header, fault);
    case AudioFormat::Dts: return ReadDts(bytes, header, fault);
    default: return HeaderRead::NoSync;
    }
}

}  // namespace kestrova
