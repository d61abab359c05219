// Hand-made DVD packs for the demultiplexer's tests: a pack header, the
// packets given, and a padding packet up to 2048 bytes.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <vector>

#include "assets/program_stream.h"

namespace kestrova::test {

class PackBuilder {
public:
    PackBuilder() : bytes_{0x00, 0x00, 0x01, 0xBA, 0x44, 0x00, 0x04, 0x00, 0x04, 0x01, 0x01, 0x89, 0xC3, 0xF8} {}

    // A PES packet with an MPEG-2 header and, when pts >= 0, a PTS.
    PackBuilder& Pes(std::uint8_t id, std::int64_t pts, const std::vector<std::uint8_t>& data) {
        std::vector<std::uint8_t> body{0x81, static_cast<std::uint8_t>(pts >= 0 ? 0x80 : 0x00),
                                       static_cast<std::uint8_t>(pts >= 0 ? 5 : 0)};
        if (pts >= 0) {
            body.push_back(static_cast<std::uint8_t>(0x21 | ((pts >> 29) & 0x0E)));
            body.push_back(static_cast<std::uint8_t>(pts >> 22));
            body.push_back(static_cast<std::uint8_t>(((pts >> 14) & 0xFE) | 1));
            body.push_back(static_cast<std::uint8_t>(pts >> 7));
            body.push_back(static_cast<std::uint8_t>(((pts << 1) & 0xFE) | 1));
        }
        body.insert(body.end(), data.begin(), data.end());
        return Packet(id, body);
    }

    // A private stream 1 packet: the sub-stream id, its header, the payload.
    PackBuilder& Private(std::uint8_t sub, std::int64_t pts, const std::vector<std::uint8_t>& header,
                         const std::vector<std::uint8_t>& payload) {
        std::vector<std::uint8_t> data{sub};
        data.insert(data.end(), header.begin(), header.end());
        data.insert(data.end(), payload.begin(), payload.end());
        return Pes(kPrivateStream1, pts, data);
    }

    // LPCM with the format byte given (quantisation, sampling, channels - 1).
    PackBuilder& Lpcm(std::uint8_t sub, std::uint8_t format, const std::vector<std::uint8_t>& samples) {
        return Private(sub, -1, {0x01, 0x00, 0x04, 0x00, format, 0x80}, samples);
    }

    // The PCI and DSI packets of a NAV pack naming the VOB id and cell; the
    // PCI data behind its sub-stream id are `pci` when given, else zeros.
    PackBuilder& Nav(std::uint16_t vob, std::uint8_t cell, const std::vector<std::uint8_t>& pci = {}) {
        std::vector<std::uint8_t> pciPacket{0x00};
        pciPacket.insert(pciPacket.end(), pci.begin(), pci.end());
        if (pci.empty()) pciPacket.resize(980, 0x00);
        Packet(kPrivateStream2, pciPacket);
        std::vector<std::uint8_t> dsi(1018, 0x00);
        dsi[0] = 0x01;
        dsi[1 + 24] = static_cast<std::uint8_t>(vob >> 8);
        dsi[1 + 25] = static_cast<std::uint8_t>(vob);
        dsi[1 + 27] = cell;
        return Packet(kPrivateStream2, dsi);
    }

    // The pack, padded to 2048 bytes.
    std::vector<std::uint8_t> Bytes() const {
        std::vector<std::uint8_t> pack = bytes_;
        const std::size_t left = kPackSize - pack.size();
        if (left == 0) return pack;
        if (left < 6) throw std::logic_error("no room for a padding packet");
        pack.insert(pack.end(), {0x00, 0x00, 0x01, kPaddingStream, static_cast<std::uint8_t>((left - 6) >> 8),
                                 static_cast<std::uint8_t>(left - 6)});
        pack.resize(kPackSize, 0xFF);
        return pack;
    }

private:
    PackBuilder& Packet(std::uint8_t id, const std::vector<std::uint8_t>& body) {
        bytes_.insert(bytes_.end(), {0x00, 0x00, 0x01, id, static_cast<std::uint8_t>(body.size() >> 8),
                                     static_cast<std::uint8_t>(body.size())});
        bytes_.insert(bytes_.end(), body.begin(), body.end());
        if (bytes_.size() > kPackSize) throw std::logic_error("the packets do not fit one pack");
        return *this;
    }

    std::vector<std::uint8_t> bytes_;
};

// Packs one after the other as one stream.
inline std::vector<std::uint8_t> Join(const std::vector<std::vector<std::uint8_t>>& packs) {
    std::vector<std::uint8_t> stream;
    for (const auto& pack : packs) stream.insert(stream.end(), pack.begin(), pack.end());
    return stream;
}

}  // namespace kestrova::test
