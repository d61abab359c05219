// The audio stream reader: see audio_stream.h. The coded formats go
// through the frame walk of audio_scanner.h; WAV files are read by their
// chunks, LPCM in a VOB by the sub-stream headers of its packets.
#include "assets/audio_stream.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <map>
#include <memory>

#include "assets/audio_scanner.h"
#include "assets/lpcm_wav.h"
#include "assets/program_stream.h"
#include "platform/error.h"
#include "platform/es_file_reader.h"
#include "platform/text.h"

namespace kestrova {

namespace {

// Blocks small enough to stay in the processor's cache from the read to the
// CRCs (a quarter of 1 MiB read faster than 1 MiB or 64 KiB on the benchmark).
constexpr std::size_t kBlockBytes = 256 << 10;
// How much of a file's start the format is recognised from.
constexpr std::size_t kSniffBytes = 64 * 1024;

constexpr std::uint8_t kPackHeaderStart[] = {0x00, 0x00, 0x01, kPackStart};

// A host file as a byte stream whose first bytes can be looked at before
// the read begins.
class HostFile final : public platform::ByteReader {
public:
    explicit HostFile(const std::string& path) : file_(path, "audio file") {}

    std::span<const std::uint8_t> Peek(std::size_t count) {
        while (head_.size() < count && !atEnd_) {
            const std::size_t had = head_.size();
            head_.resize(count);
            const std::size_t got = file_.Read(std::span(head_.data() + had, count - had));
            head_.resize(had + got);
            atEnd_ = got == 0;
        }
        return {head_.data(), std::min(count, head_.size())};
    }

    std::size_t Read(std::span<std::uint8_t> into) override {
        if (headPosition_ < head_.size()) {
            const std::size_t count = std::min(into.size(), head_.size() - headPosition_);
            std::copy_n(head_.begin() + static_cast<std::ptrdiff_t>(headPosition_), count, into.begin());
            headPosition_ += count;
            return count;
        }
        return file_.Read(into);
    }

    const std::string& Name() const override { return file_.Path(); }
    std::uint64_t Size() const { return file_.Size(); }

private:
    platform::EsFileReader file_;
    std::vector<std::uint8_t> head_;
    std::size_t headPosition_ = 0;
    bool atEnd_ = false;
};

// Reads a stream in order, keeping what has been read from `Position()` on.
class Sequential {
public:
    explicit Sequential(platform::ByteReader& reader) : reader_(reader) {}

    // True when `count` bytes from the position are there.
    bool Need(std::size_t count) {
        while (bytes_.size() - at_ < count && !atEnd_) {
            const std::size_t had = bytes_.size();
            bytes_.resize(had + std::max(count, kBlockBytes / 16));
            const std::size_t got = reader_.Read(std::span(bytes_.data() + had, bytes_.size() - had));
            bytes_.resize(had + got);
            atEnd_ = got == 0;
        }
        return bytes_.size() - at_ >= count;
    }
    const std::uint8_t* Here() const { return bytes_.data() + at_; }
    std::uint64_t Position() const { return position_; }

    // Passes over `count` bytes; returns how many there were.
    std::uint64_t Skip(std::uint64_t count) {
        std::uint64_t skipped = 0;
        while (skipped < count) {
            if (at_ == bytes_.size()) {
                bytes_.clear();
                at_ = 0;
                if (!Need(1)) break;
            }
            const std::size_t step =
                static_cast<std::size_t>(std::min<std::uint64_t>(count - skipped, bytes_.size() - at_));
            at_ += step;
            skipped += step;
        }
        position_ += skipped;
        return skipped;
    }

    // Bytes from the position to the end, read through.
    std::uint64_t CountRest() { return Skip(UINT64_MAX); }

private:
    platform::ByteReader& reader_;
    std::vector<std::uint8_t> bytes_;
    std::size_t at_ = 0;
    std::uint64_t position_ = 0;
    bool atEnd_ = false;
};

std::uint32_t Little(const std::uint8_t* p, int count) {
    std::uint32_t value = 0;
    for (int i = count - 1; i >= 0; --i) value = (value << 8) | p[i];
    return value;
}

void AddFault(AudioStream& stream, std::uint64_t offset, std::string what) {
    if (stream.Faults.size() < kAudioFaultsListed) {
        stream.Faults.push_back({offset, std::move(what)});
    } else {
        ++stream.FaultsNotListed;
    }
}

std::string ChunkName(const std::uint8_t* p) {
    std::string name;
    for (int i = 0; i < 4; ++i) name += p[i] >= 0x20 && p[i] < 0x7F ? static_cast<char>(p[i]) : '?';
    return "\"" + name + "\"";
}

AudioStream ScanFrames(platform::ByteReader& reader, AudioFormat format, std::vector<Ac3Frame>* frames) {
    FrameScanner scanner(format, reader.Name(), frames);
    for (;;) {
        StreamWindow& window = scanner.Window();
        const std::size_t got = reader.Read(window.Room(kBlockBytes));
        window.Added(got);
        scanner.Scan(got == 0);
        if (got == 0) return scanner.Finish();
    }
}

// The fmt chunk's fields (WAVEFORMATEX, and WAVEFORMATEXTENSIBLE's mask and sub-format).
struct WavFormat {
    std::uint32_t Tag = 0;
    std::uint32_t Channels = 0;
    std::uint32_t SampleRate = 0;
    std::uint32_t BytesPerSecond = 0;
    std::uint32_t BlockAlign = 0;
    std::uint32_t BitsPerSample = 0;
    std::uint32_t ChannelMask = 0;
};
constexpr std::size_t kWavFormatBytes = 16;
constexpr std::size_t kWavExtensibleBytes = 40;
constexpr std::uint32_t kWavExtensible = 0xFFFE;
constexpr std::uint32_t kSpeakerLowFrequency = 0x8;

void TakeWavFormat(AudioStream& stream, const WavFormat& format) {
    stream.Coding = format.Tag == 1   ? "PCM"
                    : format.Tag == 3 ? "IEEE float"
                                      : "WAV format " + std::to_string(format.Tag);
    stream.SampleRate = static_cast<std::int32_t>(format.SampleRate);
    stream.Channels = static_cast<std::int32_t>(format.Channels);
    stream.Lfe = (format.ChannelMask & kSpeakerLowFrequency) != 0;
    stream.BitsPerSample = static_cast<std::int32_t>(format.BitsPerSample);
    stream.BitRate = std::int64_t{format.BytesPerSecond} * 8;
}

// A RIFF WAVE file: its chunks up to "data", whose bytes are counted, not
// read, when the file's size is known.
AudioStream ScanWav(platform::ByteReader& reader, std::optional<std::uint64_t> size) {
    AudioStream stream;
    stream.Name = reader.Name();
    stream.Format = AudioFormat::Wav;
    stream.Coding = "PCM";
    Sequential in(reader);
    const auto finish = [&]() {
        stream.Bytes = size ? *size : in.Position() + in.CountRest();
        return stream;
    };

    if (!in.Need(12) || std::memcmp(in.Here(), "RIFF", 4) != 0 || std::memcmp(in.Here() + 8, "WAVE", 4) != 0) {
        in.Need(1);
        AddFault(stream, 0, !in.Need(1) ? std::string("the file is empty; expected a RIFF WAVE header")
                            : !in.Need(12) ? "the file is too short for a RIFF WAVE header of 12 bytes"
                                           : "expected a RIFF WAVE header (\"RIFF\", a size, \"WAVE\"), found " +
                                                 ChunkName(in.Here()) + " and " + ChunkName(in.Here() + 8));
        return finish();
    }
    in.Skip(12);
    std::optional<WavFormat> format;
    for (;;) {
        const std::uint64_t chunk = in.Position();
        if (!in.Need(8)) {
            AddFault(stream, chunk,
                     in.Need(1) ? "a chunk header is cut short by the end of the file"
                                : "the file ends without a data chunk; expected one after the fmt chunk");
            return finish();
        }
        const std::string name = ChunkName(in.Here());
        const std::uint32_t length = Little(in.Here() + 4, 4);
        if (std::memcmp(in.Here(), "fmt ", 4) == 0) {
            const std::size_t wanted = 8 + std::min<std::size_t>(length, kWavExtensibleBytes);
            if (length < kWavFormatBytes || !in.Need(wanted)) {
                AddFault(stream, chunk, "the fmt chunk holds " + std::to_string(length) +
                                            (length < kWavFormatBytes ? " bytes; expected at least 16"
                                                                      : " bytes, but the file ends inside it"));
                return finish();
            }
            const std::uint8_t* f = in.Here() + 8;
            WavFormat read{Little(f, 2), Little(f + 2, 2), Little(f + 4, 4), Little(f + 8, 4), Little(f + 12, 2),
                           Little(f + 14, 2), 0};
            if (read.Tag == kWavExtensible && length >= kWavExtensibleBytes) {
                read.ChannelMask = Little(f + 20, 4);
                read.Tag = Little(f + 24, 2);  // the sub-format GUID begins with the format tag
            }
            if (read.Channels == 0 || read.SampleRate == 0 || read.BlockAlign == 0) {
                AddFault(stream, chunk + 8, "the fmt chunk gives " + std::to_string(read.Channels) + " channels, " +
                                                std::to_string(read.SampleRate) + " Hz and blocks of " +
                                                std::to_string(read.BlockAlign) + " bytes; expected all above 0");
                return finish();
            }
            format = read;
            TakeWavFormat(stream, read);
        } else if (std::memcmp(in.Here(), "data", 4) == 0) {
            in.Skip(8);
            const std::uint64_t data = in.Position();
            if (!format) {
                AddFault(stream, chunk, "the data chunk comes before any fmt chunk; expected the fmt chunk first");
                return finish();
            }
            const std::uint64_t rest = size ? (*size > data ? *size - data : 0) : in.CountRest();
            if (!size) stream.Bytes = data + rest;
            std::uint64_t usable = length;
            if (length > rest) {
                AddFault(stream, chunk + 4, "the data chunk claims " + std::to_string(length) + " bytes, but only " +
                                                std::to_string(rest) + " follow its header before the end of the file");
                usable = rest;
            }
            const std::uint64_t leftover = usable % format->BlockAlign;
            if (leftover != 0) {
                AddFault(stream, data + usable - leftover,
                         "the data ends inside a sample frame: " + std::to_string(leftover) + " bytes of the " +
                             std::to_string(format->BlockAlign) + " a frame takes");
            }
            stream.Samples = usable / format->BlockAlign;
            stream.Frames = stream.Samples;
            stream.Duration = static_cast<double>(stream.Samples) / format->SampleRate;
            stream.FirstSync = data;
            if (size) stream.Bytes = *size;
            return stream;
        }
        const std::uint64_t step = 8 + std::uint64_t{length} + (length & 1);  // chunks are padded to even sizes
        if (in.Skip(step) < step) {
            AddFault(stream, chunk, "the " + name + " chunk claims " + std::to_string(length) +
                                        " bytes, more than the file holds; expected a data chunk");
            return finish();
        }
    }
}

// Raw LPCM holds samples only.
AudioStream ScanRawLpcm(platform::ByteReader& reader, std::optional<std::uint64_t> size) {
    AudioStream stream;
    stream.Name = reader.Name();
    stream.Format = AudioFormat::Lpcm;
    stream.Coding = "LPCM";
    stream.Bytes = size ? *size : Sequential(reader).CountRest();
    const double stereo48 = static_cast<double>(stream.Bytes) / (48000 * 2 * 2);
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.3f", stereo48);
    stream.Note = "raw LPCM carries no header, so its sample rate, channels and sample size are not in the file; as "
                  "48 kHz 16-bit stereo its " + std::to_string(stream.Bytes) + " bytes would last " + seconds + " s";
    return stream;
}

AudioFormat FormatOfExtension(const std::string& path) {
    const std::string name = platform::FileNameOf(path);
    const std::size_t dot = name.rfind('.');
    std::string extension = dot == std::string::npos ? "" : name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == "ac3") return AudioFormat::Ac3;
    if (extension == "dts") return AudioFormat::Dts;
    if (extension == "wav") return AudioFormat::Wav;
    if (extension == "lpcm" || extension == "pcm") return AudioFormat::Lpcm;
    for (const char* mpeg : {"mp1", "mp2", "mp3", "mpa", "m1a", "m2a"}) {
        if (extension == mpeg) return AudioFormat::MpegAudio;
    }
    return AudioFormat::Unknown;
}

// The offset of the first frame in `head` that another frame of its kind
// follows (or that ends `head`), if any.
std::optional<std::size_t> FirstFrame(std::span<const std::uint8_t> head, AudioFormat format) {
    const std::size_t headerBytes = HeaderBytes(format);
    const std::uint8_t* const end = head.data() + head.size();
    for (const std::uint8_t* p = FindSync(format, head.data(), end); p != end; p = FindSync(format, p + 1, end)) {
        FrameHeader header;
        FrameHeader next;
        HeaderFault fault;
        if (static_cast<std::size_t>(end - p) < headerBytes ||
            ReadFrameHeader(format, {p, headerBytes}, header, fault) != HeaderRead::Ok) {
            continue;
        }
        const std::size_t after = static_cast<std::size_t>(p - head.data()) + header.Size;
        if (after == head.size() ||
            (after + headerBytes <= head.size() &&
             ReadFrameHeader(format, head.subspan(after, headerBytes), next, fault) == HeaderRead::Ok &&
             next.Family == header.Family)) {
            return static_cast<std::size_t>(p - head.data());
        }
    }
    return std::nullopt;
}

AudioFormat FormatOfContent(std::span<const std::uint8_t> head, const std::string& path) {
    if (head.size() >= 12 && std::memcmp(head.data(), "RIFF", 4) == 0) return AudioFormat::Wav;
    const AudioFormat named = FormatOfExtension(path);
    if (named == AudioFormat::Wav || named == AudioFormat::Lpcm) return named;
    if (named != AudioFormat::Unknown && FirstFrame(head, named)) return named;
    AudioFormat earliest = named;
    std::size_t earliestOffset = SIZE_MAX;
    for (const AudioFormat format : {AudioFormat::Ac3, AudioFormat::Dts, AudioFormat::MpegAudio}) {
        const auto offset = FirstFrame(head, format);
        if (offset && *offset < earliestOffset) {
            earliest = format;
            earliestOffset = *offset;
        }
    }
    return earliest;
}

// LPCM sub-stream of a VOB: its packets carry the format in their headers.
struct LpcmStream {
    AudioStream Stream;
    std::optional<LpcmFormat> Format;
    std::string Where;
};

void AddLpcmPacket(LpcmStream& lpcm, const PesPacket& packet, std::uint64_t payloadOffset) {
    AudioStream& stream = lpcm.Stream;
    ++stream.Frames;
    stream.Bytes += packet.Payload.size();
    try {
        const LpcmFormat format = ReadLpcmFormat(packet.SubstreamHeader, lpcm.Where);
        if (!lpcm.Format) {
            lpcm.Format = format;
            stream.FirstSync = payloadOffset;
        } else if (!(*lpcm.Format == format)) {
            AddFault(stream, payloadOffset, "the LPCM header changes the format from " +
                                                std::to_string(lpcm.Format->SampleRate) + " Hz " +
                                                std::to_string(lpcm.Format->Channels) + "-channel to " +
                                                std::to_string(format.SampleRate) + " Hz " +
                                                std::to_string(format.Channels) + "-channel; expected one format");
        }
    } catch (const Error& fault) {
        AddFault(stream, payloadOffset, fault.what());
    }
}

void FinishLpcm(LpcmStream& lpcm) {
    AudioStream& stream = lpcm.Stream;
    if (!lpcm.Format) return;
    const LpcmFormat& format = *lpcm.Format;
    stream.SampleRate = format.SampleRate;
    stream.Channels = format.Channels;
    stream.BitsPerSample = format.BitsPerSample;
    stream.BitRate = std::int64_t{format.SampleRate} * format.Channels * format.BitsPerSample;
    stream.Samples = stream.Bytes * 8 / static_cast<std::uint64_t>(format.BitsPerSample * format.Channels);
    stream.Duration = static_cast<double>(stream.Samples) / format.SampleRate;
}

}  // namespace

const char* AudioFormatName(AudioFormat format) {
    switch (format) {
    case AudioFormat::Ac3: return "AC3";
    case AudioFormat::MpegAudio: return "MPEG audio";
    case AudioFormat::Dts: return "DTS";
    case AudioFormat::Lpcm: return "LPCM";
    case AudioFormat::Wav: return "WAV";
    case AudioFormat::Unknown: break;
    }
    return "unknown";
}

AudioStream ScanAudioStream(platform::ByteReader& reader, AudioFormat format) {
    switch (format) {
    case AudioFormat::Ac3:
    case AudioFormat::MpegAudio:
    case AudioFormat::Dts: return ScanFrames(reader, format, nullptr);
    case AudioFormat::Wav: return ScanWav(reader, std::nullopt);
    case AudioFormat::Lpcm: return ScanRawLpcm(reader, std::nullopt);
    case AudioFormat::Unknown: break;
    }
    AudioStream stream;
    stream.Name = reader.Name();
    stream.Coding = AudioFormatName(format);
    stream.Bytes = Sequential(reader).CountRest();
    AddFault(stream, 0, "the format is unknown; expected AC3, MPEG audio, DTS, LPCM or WAV");
    return stream;
}

AudioStream ScanAudioFile(const std::string& hostPath) {
    HostFile file(hostPath);
    const auto head = file.Peek(kSniffBytes);
    if (head.size() >= 4 && std::equal(head.begin(), head.begin() + 4, kPackHeaderStart)) {
        throw Error("\"" + hostPath + "\" begins with an MPEG pack header: it is a program stream, whose audio is "
                    "read as the sub-streams of a VOB");
    }
    const AudioFormat format = FormatOfContent(head, hostPath);
    switch (format) {
    case AudioFormat::Wav: return ScanWav(file, file.Size());
    case AudioFormat::Lpcm: return ScanRawLpcm(file, file.Size());
    case AudioFormat::Unknown: break;
    default: return ScanFrames(file, format, nullptr);
    }
    AudioStream stream;
    stream.Name = hostPath;
    stream.Bytes = file.Size();
    AddFault(stream, 0, "no AC3, MPEG audio, DTS or WAV data in the first " + std::to_string(head.size()) +
                            " bytes, and the name's extension names no audio format; expected one of those");
    return stream;
}

Ac3FrameList ReadAc3Frames(platform::ByteReader& reader) {
    Ac3FrameList list;
    list.Stream = ScanFrames(reader, AudioFormat::Ac3, &list.Frames);
    return list;
}

Ac3FrameList ReadAc3Frames(const std::string& hostPath) {
    HostFile file(hostPath);
    return ReadAc3Frames(file);
}

VobAudio ScanVobAudio(platform::ByteReader& vob) {
    VobAudio result;
    result.Name = vob.Name();
    std::map<std::uint8_t, std::unique_ptr<FrameScanner>> coded;
    std::map<std::uint8_t, LpcmStream> lpcm;
    ProgramStreamReader reader(vob);
    for (;;) {
        const Pack* pack = reader.NextPassingOver([&result](std::uint64_t at, const std::string& what) {
            if (result.Faults.size() < kAudioFaultsListed) result.Faults.push_back({at, what});
        });
        if (pack == nullptr) break;
        ++result.Packs;
        for (const PesPacket& packet : pack->Packets) {
            const StreamKind kind = KindOfStream(packet.Stream);
            if (packet.Stream == 0 || kind == StreamKind::Video || kind == StreamKind::Subpicture) continue;
            const std::uint64_t offset =
                pack->Offset + static_cast<std::uint64_t>(packet.Payload.data() - pack->Bytes.data());
            if (kind == StreamKind::Lpcm) {
                LpcmStream& stream = lpcm[packet.Stream];
                if (stream.Where.empty()) {
                    stream.Where = "the LPCM stream " + StreamHex(packet.Stream);
                    stream.Stream.Format = AudioFormat::Lpcm;
                    stream.Stream.Coding = "LPCM";
                }
                AddLpcmPacket(stream, packet, offset);
                continue;
            }
            auto& scanner = coded[packet.Stream];
            if (!scanner) {
                const AudioFormat format = kind == StreamKind::Ac3   ? AudioFormat::Ac3
                                           : kind == StreamKind::Dts ? AudioFormat::Dts
                                                                     : AudioFormat::MpegAudio;
                scanner = std::make_unique<FrameScanner>(format, vob.Name());
            }
            scanner->Window().Append(packet.Payload, offset);
            scanner->Scan(false);
        }
    }
    std::map<std::uint8_t, AudioStream> streams;
    for (auto& [id, scanner] : coded) {
        scanner->Scan(true);
        streams[id] = scanner->Finish();
    }
    for (auto& [id, stream] : lpcm) {
        FinishLpcm(stream);
        streams[id] = std::move(stream.Stream);
    }
    for (auto& [id, stream] : streams) {
        stream.Name = vob.Name();
        stream.Stream = id;
        result.Streams.push_back(std::move(stream));
    }
    return result;
}

VobAudio ScanVobAudioFile(const std::string& hostPath) {
    HostFile file(hostPath);
    return ScanVobAudio(file);
}

bool IsProgramStreamFile(const std::string& hostPath) {
    HostFile file(hostPath);
    const auto head = file.Peek(4);
    return head.size() == 4 && std::equal(head.begin(), head.end(), kPackHeaderStart);
}

}  // namespace kestrova
