// DVD LPCM to WAV: see lpcm_wav.h.
#include "assets/lpcm_wav.h"

#include <algorithm>

#include "platform/error.h"

namespace kestrova {

namespace {

constexpr std::size_t kFormatByte = 4;  // in the header behind the sub-stream id

void PutLittle(std::uint8_t* at, std::uint32_t value, int bytes) {
    for (int i = 0; i < bytes; ++i) at[i] = static_cast<std::uint8_t>(value >> (8 * i));
}

std::string Describe(const LpcmFormat& format) {
    return std::to_string(format.BitsPerSample) + "-bit " + std::to_string(format.SampleRate) + " Hz " +
           std::to_string(format.Channels) + "-channel";
}

int WavBits(const LpcmFormat& format) { return format.BitsPerSample == 16 ? 16 : 24; }

std::array<std::uint8_t, kWavHeaderBytes> WavHeader(const LpcmFormat& format, std::uint32_t dataBytes) {
    const int blockAlign = format.Channels * WavBits(format) / 8;
    std::array<std::uint8_t, kWavHeaderBytes> h{};
    auto text = [&h](std::size_t at, const char* four) { std::copy(four, four + 4, h.begin() + at); };
    text(0, "RIFF");
    PutLittle(&h[4], dataBytes + kWavHeaderBytes - 8, 4);
    text(8, "WAVE");
    text(12, "fmt ");
    PutLittle(&h[16], 16, 4);
    PutLittle(&h[20], 1, 2);  // integer PCM
    PutLittle(&h[22], static_cast<std::uint32_t>(format.Channels), 2);
    PutLittle(&h[24], static_cast<std::uint32_t>(format.SampleRate), 4);
    PutLittle(&h[28], static_cast<std::uint32_t>(format.SampleRate * blockAlign), 4);
    PutLittle(&h[32], static_cast<std::uint32_t>(blockAlign), 2);
    PutLittle(&h[34], static_cast<std::uint32_t>(WavBits(format)), 2);
    text(36, "data");
    PutLittle(&h[40], dataBytes, 4);
    return h;
}

}  // namespace

LpcmFormat ReadLpcmFormat(std::span<const std::uint8_t> substreamHeader, const std::string& where) {
    if (substreamHeader.size() <= kFormatByte) {
        throw Error(where + ": the LPCM header holds " + std::to_string(substreamHeader.size()) +
                    " bytes, 6 were expected");
    }
    const std::uint8_t byte = substreamHeader[kFormatByte];
    LpcmFormat format;
    switch (byte >> 6) {
    case 0: format.BitsPerSample = 16; break;
    case 1: format.BitsPerSample = 20; break;
    case 2: format.BitsPerSample = 24; break;
    default:
        throw Error(where + ": the LPCM header gives the reserved quantisation 3; 16, 20 or 24 bits were expected");
    }
    switch ((byte >> 4) & 0x03) {
    case 0: format.SampleRate = 48000; break;
    case 1: format.SampleRate = 96000; break;
    default:
        throw Error(where + ": the LPCM header gives the reserved sampling frequency " +
                    std::to_string((byte >> 4) & 0x03) + "; 48 or 96 kHz were expected");
    }
    format.Channels = (byte & 0x07) + 1;
    return format;
}

void LpcmWavWriter::Add(const LpcmFormat& format, std::span<const std::uint8_t> payload, platform::ByteWriter& out) {
    if (!format_) {
        format_ = format;
        // 16-bit samples stand alone; deeper ones come in groups of two per channel.
        groupBytes_ = format.BitsPerSample == 16 ? 2
                                                  : static_cast<std::size_t>(format.Channels) *
                                                        (format.BitsPerSample == 20 ? 5 : 6);
    } else if (!(*format_ == format)) {
        throw Error("\"" + out.Name() + "\": the LPCM stream changes from " + Describe(*format_) + " to " +
                    Describe(format) + " audio; one WAV file holds one format");
    }
    if (out.Size() == 0) out.Write(WavHeader(format, 0));

    converted_.clear();
    if (carried_ > 0) {
        const std::size_t take = std::min(groupBytes_ - carried_, payload.size());
        std::copy_n(payload.begin(), take, carry_.begin() + static_cast<std::ptrdiff_t>(carried_));
        carried_ += take;
        payload = payload.subspan(take);
        if (carried_ < groupBytes_) return;
        Convert(std::span(carry_.data(), groupBytes_));
        carried_ = 0;
    }
    const std::size_t whole = payload.size() / groupBytes_ * groupBytes_;
    Convert(payload.first(whole));
    const auto rest = payload.subspan(whole);
    std::copy(rest.begin(), rest.end(), carry_.begin());
    carried_ = rest.size();
    out.Write(converted_);
}

void LpcmWavWriter::Convert(std::span<const std::uint8_t> groups) {
    if (format_->BitsPerSample == 16) {
        const std::size_t start = converted_.size();
        converted_.resize(start + groups.size());
        for (std::size_t i = 0; i + 1 < groups.size(); i += 2) {
            converted_[start + i] = groups[i + 1];
            converted_[start + i + 1] = groups[i];
        }
        return;
    }
    const std::size_t samples = 2 * static_cast<std::size_t>(format_->Channels);  // per group
    const bool twenty = format_->BitsPerSample == 20;
    for (std::size_t g = 0; g < groups.size(); g += groupBytes_) {
        const std::uint8_t* high = groups.data() + g;
        const std::uint8_t* low = high + 2 * samples;
        for (std::size_t s = 0; s < samples; ++s) {
            const std::uint8_t lowByte =
                twenty ? static_cast<std::uint8_t>((s % 2 == 0 ? low[s / 2] >> 4 : low[s / 2] & 0x0F) << 4) : low[s];
            converted_.push_back(lowByte);
            converted_.push_back(high[2 * s + 1]);
            converted_.push_back(high[2 * s]);
        }
    }
}

void LpcmWavWriter::Finish(platform::ByteWriter& out) const {
    if (!format_ || out.Size() < kWavHeaderBytes) return;
    // A WAV file counts its sizes in 32 bits; a longer stream keeps the largest count.
    const std::uint64_t data = std::min<std::uint64_t>(out.Size() - kWavHeaderBytes, 0xFFFFFFFFu - kWavHeaderBytes);
    out.Rewrite(0, WavHeader(*format_, static_cast<std::uint32_t>(data)));
}

}  // namespace kestrova
