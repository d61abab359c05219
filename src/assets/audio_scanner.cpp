// The audio scanner's frame walk: see audio_scanner.h.
#include "assets/audio_scanner.h"

#include <algorithm>
#include <cstring>

#include "assets/crc16.h"

namespace kestrova {

namespace {

constexpr std::size_t kId3HeaderBytes = 10;   // "ID3", version 2, flags 1, size 4 (7 bits a byte)
constexpr std::size_t kId3v1TagBytes = 128;   // "TAG" and the fields, at the very end
constexpr std::size_t kPageBytes = 4096;

std::string HexBytes(const std::uint8_t* p, std::size_t count) {
    static constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        if (i > 0) text += ' ';
        text += kDigits[p[i] >> 4];
        text += kDigits[p[i] & 0x0F];
    }
    return text;
}

std::string Hex16(std::uint16_t value) {
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(value >> 8), static_cast<std::uint8_t>(value)};
    return "0x" + HexBytes(bytes, 1) + HexBytes(bytes + 1, 1);
}

std::string Facts(std::int32_t rate, const std::string& layout, bool lfe) {
    return std::to_string(rate) + " Hz " + layout + (lfe ? "+LFE" : "");
}

}  // namespace

// ---- StreamWindow ----

void StreamWindow::DropBefore(std::uint64_t offset) {
    if (offset <= start_) return;
    const std::uint64_t end = End();
    if (offset >= end) {
        skip_ += offset - end;
        begin_ = end_ = 0;
    } else {
        begin_ += static_cast<std::size_t>(offset - start_);
    }
    start_ = offset;
    while (pieces_.size() >= 2 && pieces_[1].Stream <= offset) pieces_.pop_front();
}

std::span<std::uint8_t> StreamWindow::Room(std::size_t count) {
    if (buffer_.size() - end_ < count) {
        // The bytes still held move to the front, placed so that the new
        // ones start on a page boundary: the system copies a file's pages
        // fastest to an aligned place.
        const std::size_t held = end_ - begin_;
        const auto address = reinterpret_cast<std::uintptr_t>(buffer_.data());
        const std::size_t start = (kPageBytes - (address + held) % kPageBytes) % kPageBytes;
        if (buffer_.size() < start + held + count) {
            std::vector<std::uint8_t> larger(held + count + kPageBytes);
            const auto at = reinterpret_cast<std::uintptr_t>(larger.data());
            const std::size_t placed = (kPageBytes - (at + held) % kPageBytes) % kPageBytes;
            if (held > 0) std::memcpy(larger.data() + placed, buffer_.data() + begin_, held);
            buffer_ = std::move(larger);
            begin_ = placed;
        } else {
            if (held > 0) std::memmove(buffer_.data() + start, buffer_.data() + begin_, held);
            begin_ = start;
        }
        end_ = begin_ + held;
    }
    return {buffer_.data() + end_, count};
}

void StreamWindow::Added(std::size_t count) {
    received_ += count;
    const std::size_t dropped = static_cast<std::size_t>(std::min<std::uint64_t>(skip_, count));
    if (dropped > 0) {
        std::memmove(buffer_.data() + end_, buffer_.data() + end_ + dropped, count - dropped);
        skip_ -= dropped;
    }
    end_ += count - dropped;
}

void StreamWindow::Append(std::span<const std::uint8_t> bytes, std::uint64_t fileOffset) {
    received_ += bytes.size();
    const std::size_t dropped = static_cast<std::size_t>(std::min<std::uint64_t>(skip_, bytes.size()));
    skip_ -= dropped;
    bytes = bytes.subspan(dropped);
    fileOffset += dropped;
    if (bytes.empty()) return;
    const std::uint64_t at = End();
    if (pieces_.empty() || pieces_.back().File + (at - pieces_.back().Stream) != fileOffset) {
        pieces_.push_back({at, fileOffset});
    }
    const auto room = Room(bytes.size());
    std::copy(bytes.begin(), bytes.end(), room.begin());
    end_ += bytes.size();
}

std::uint64_t StreamWindow::FileOffset(std::uint64_t streamOffset) const {
    if (pieces_.empty()) return streamOffset;
    auto piece = pieces_.rbegin();
    while (piece + 1 != pieces_.rend() && piece->Stream > streamOffset) ++piece;
    return piece->File + streamOffset - piece->Stream;
}

// ---- FrameScanner ----

FrameScanner::FrameScanner(AudioFormat format, std::string name, std::vector<Ac3Frame>* frames)
    : format_(format), headerBytes_(HeaderBytes(format)), frames_(frames) {
    stream_.Name = std::move(name);
    stream_.Format = format;
    stream_.Coding = AudioFormatName(format);
}

void FrameScanner::Scan(bool atEnd) {
    while (search_ ? Resync(atEnd) : Scanning(atEnd)) {
    }
    window_.DropBefore(search_ ? search_->From : position_);
}

// One step at the next frame; false when the window holds no more to do.
bool FrameScanner::Scanning(bool atEnd) {
    const std::uint64_t end = window_.End();
    if (position_ >= end) return false;
    const std::uint64_t available = end - position_;
    const std::uint8_t* p = window_.At(position_);

    if (format_ == AudioFormat::MpegAudio && available >= 3) {
        // ID3 tags around MPEG audio are metadata, not damage.
        if (position_ == 0 && std::memcmp(p, "ID3", 3) == 0) {
            if (available < kId3HeaderBytes && !atEnd) return false;
            if (available < kId3HeaderBytes) {
                AddFault(0, "the stream ends inside the header of an ID3 tag");
                position_ = end;
                return false;
            }
            const std::uint64_t size = (std::uint64_t{p[6] & 0x7Fu} << 21) | ((p[7] & 0x7Fu) << 14) |
                                       ((p[8] & 0x7Fu) << 7) | (p[9] & 0x7Fu);
            position_ = kId3HeaderBytes + size + ((p[5] & 0x10) != 0 ? kId3HeaderBytes : 0);
            return true;
        }
        if (std::memcmp(p, "TAG", 3) == 0 && available <= kId3v1TagBytes) {
            if (!atEnd) return false;
            if (available == kId3v1TagBytes) {
                position_ = end;
                return false;
            }
        }
    }

    if (available < headerBytes_) {
        if (!atEnd) return false;
        const std::size_t sync = std::min<std::size_t>(SyncBytes(format_), static_cast<std::size_t>(available));
        const bool syncStart = FindSync(format_, p, p + sync) == p;
        AddFault(window_.FileOffset(position_),
                 syncStart ? "frame cut short at the end: only " + std::to_string(available) +
                                 " bytes of a frame header remain, a header takes " + std::to_string(headerBytes_)
                           : "sync word missing: the last " + std::to_string(available) +
                                 " bytes hold no frame; expected " + SyncText(format_));
        position_ = end;
        return false;
    }

    FrameHeader header;
    HeaderFault fault;
    switch (ReadFrameHeader(format_, {p, headerBytes_}, header, fault)) {
    case HeaderRead::NoSync:
        StartSearch(position_, std::string("sync word missing: expected ") + SyncText(format_) + ", found " +
                                   Found(position_));
        return true;
    case HeaderRead::Invalid: StartSearch(position_, Describe(fault)); return true;
    case HeaderRead::Ok: break;
    }
    if (available < header.Size) {
        if (!atEnd) return false;
        StartSuspect(header, {}, true);
        return true;
    }
    if (available < header.Size + headerBytes_ && !atEnd) return false;

    const FrameCheck check = CheckFrame(position_, header);
    // AC3 vouches for a frame by its CRCs; the other formats by the frame behind it.
    const bool good = format_ == AudioFormat::Ac3 && check.CrcOk();
    if (good || FollowedByFrame(position_ + header.Size, header.Family, atEnd)) {
        Accept(window_.FileOffset(position_), header, check);
        position_ += header.Size;
    } else {
        StartSuspect(header, check, false);
    }
    return true;
}

FrameScanner::FrameCheck FrameScanner::CheckFrame(std::uint64_t offset, const FrameHeader& header) const {
    FrameCheck check;
    if (format_ != AudioFormat::Ac3) return check;
    // crc1 closes the first 5/8 of the frame and crc2 the whole frame, both
    // behind the sync word: a whole part leaves the register at 0.
    const std::uint8_t* p = window_.At(offset);
    check.Crc1 = Crc16(0, {p + 2, header.Crc1Bytes - 2});
    check.Crc2 = Crc16(check.Crc1, {p + header.Crc1Bytes, header.Size - header.Crc1Bytes});
    return check;
}

bool FrameScanner::FollowedByFrame(std::uint64_t offset, std::uint32_t family, bool atEnd) const {
    const std::uint64_t end = window_.End();
    if (offset == end && atEnd) return true;  // the last frame
    if (offset > end || end - offset < headerBytes_) return false;
    FrameHeader next;
    HeaderFault fault;
    return ReadFrameHeader(format_, {window_.At(offset), headerBytes_}, next, fault) == HeaderRead::Ok &&
           next.Family == family;
}

void FrameScanner::Accept(std::uint64_t fileOffset, const FrameHeader& header, const FrameCheck& check) {
    ++stream_.Frames;
    stream_.Samples += header.Samples;
    stream_.Duration += static_cast<double>(header.Samples) / header.SampleRate;
    if (!stream_.FirstSync) {
        stream_.FirstSync = fileOffset;
        stream_.Coding = header.Coding;
        stream_.SampleRate = header.SampleRate;
        stream_.BitRate = header.BitRate;
        stream_.Channels = header.Channels;
        stream_.Lfe = header.Lfe;
        stream_.Layout = header.Layout;
        last_ = header;
    } else if (header.SampleRate != last_.SampleRate || header.Channels != last_.Channels ||
               header.Lfe != last_.Lfe || std::strcmp(header.Layout, last_.Layout) != 0) {
        AddFault(fileOffset, "the stream changes here from " + Facts(last_.SampleRate, last_.Layout, last_.Lfe) +
                                 " to " + Facts(header.SampleRate, header.Layout, header.Lfe) +
                                 "; expected one format throughout");
        last_ = header;
    }
    if (!check.CrcOk()) {
        const std::string size = std::to_string(header.Size);
        AddFault(fileOffset, check.Crc1 != 0
                                 ? "CRC1 mismatch: the first 5/8 of the " + size + "-byte frame (bytes 2 to " +
                                       std::to_string(header.Crc1Bytes - 1) + ") leave the CRC remainder " +
                                       Hex16(check.Crc1) + ", expected 0"
                                 : "CRC2 mismatch: the " + size + "-byte frame leaves the CRC remainder " +
                                       Hex16(check.Crc2) + ", expected 0");
    }
    if (frames_ != nullptr) {
        frames_->push_back(Ac3Frame{fileOffset, header.Size, check.Crc1 == 0, check.Crc2 == 0, header.Fscod,
                                    header.Frmsizecod, header.Bsid, header.Acmod, header.Lfe});
    }
}

// ---- the search for the next good frame ----

void FrameScanner::StartSearch(std::uint64_t offset, std::string cause) {
    Search search;
    search.From = offset + 1;
    search.FaultStream = offset;
    search.FaultFile = window_.FileOffset(offset);
    search.Cause = std::move(cause);
    search_ = std::move(search);
}

void FrameScanner::StartSuspect(const FrameHeader& header, const FrameCheck& check, bool pastEnd) {
    StartSearch(position_, "");
    search_->Suspect = true;
    search_->Header = header;
    search_->Check = check;
    search_->PastEnd = pastEnd;
    if (!pastEnd) {
        search_->FrameEndFile = window_.FileOffset(position_ + header.Size);
        search_->AfterFrame = Found(position_ + header.Size);
    }
}

// One step of the search; false when it needs bytes still to come.
bool FrameScanner::Resync(bool atEnd) {
    Search& search = *search_;
    for (;;) {
        const std::uint64_t end = window_.End();
        const std::uint8_t* from = window_.At(search.From);
        const std::uint8_t* hit = FindSync(format_, from, window_.At(end));
        if (hit == window_.At(end)) {
            if (!atEnd) {
                // Keep the bytes that may begin a sync word.
                const std::uint64_t keep = end - std::min<std::uint64_t>(end, SyncBytes(format_) - 1);
                search.From = std::max(search.From, keep);
                return false;
            }
            EndSearch(std::nullopt);
            return true;
        }
        const std::uint64_t candidate = search.From + static_cast<std::uint64_t>(hit - from);
        switch (Candidate(candidate, atEnd)) {
        case Verdict::Good: EndSearch(candidate); return true;
        case Verdict::More: search.From = candidate; return false;
        case Verdict::Bad: search.From = candidate + 1; break;
        }
    }
}

// Whether a good frame starts at the offset. A frame cut off by the end of
// the stream is no place to resume.
FrameScanner::Verdict FrameScanner::Candidate(std::uint64_t offset, bool atEnd) {
    const std::uint64_t available = window_.End() - offset;
    if (available < headerBytes_) return atEnd ? Verdict::Bad : Verdict::More;
    FrameHeader header;
    HeaderFault fault;
    if (ReadFrameHeader(format_, {window_.At(offset), headerBytes_}, header, fault) != HeaderRead::Ok) {
        return Verdict::Bad;
    }
    if (available < header.Size) return atEnd ? Verdict::Bad : Verdict::More;
    if (available < header.Size + headerBytes_ && !atEnd) return Verdict::More;
    if (format_ == AudioFormat::Ac3 && CheckFrame(offset, header).CrcOk()) return Verdict::Good;
    return FollowedByFrame(offset + header.Size, header.Family, atEnd) ? Verdict::Good : Verdict::Bad;
}

void FrameScanner::EndSearch(std::optional<std::uint64_t> found) {
    const Search search = std::move(*search_);
    search_.reset();
    const std::uint64_t end = window_.End();
    const auto skipped = [&](std::uint64_t from) {
        return found ? std::to_string(*found - from) + " bytes skipped up to the next frame at byte " +
                           std::to_string(window_.FileOffset(*found))
                     : "no frame follows in the last " + std::to_string(end - from) + " bytes";
    };
    if (!search.Suspect) {
        AddFault(search.FaultFile, search.Cause + "; " + skipped(search.FaultStream));
    } else {
        const std::uint64_t start = search.FaultStream;
        const std::uint64_t frameEnd = start + search.Header.Size;
        const std::string size = std::to_string(search.Header.Size);
        if (found && *found < frameEnd) {
            AddFault(search.FaultFile, "frame cut short: the " + size + "-byte frame is cut after " +
                                           std::to_string(*found - start) +
                                           " bytes, where the next frame begins (byte " +
                                           std::to_string(window_.FileOffset(*found)) + ")");
        } else if (search.PastEnd) {
            AddFault(search.FaultFile, "frame cut short at the end: " + std::to_string(end - start) + " of its " +
                                           size + " bytes are there");
        } else {
            // The frame itself is whole; what follows it is not a frame.
            Accept(search.FaultFile, search.Header, search.Check);
            if (found ? *found > frameEnd : frameEnd < end) {
                AddFault(search.FrameEndFile, std::string("sync word missing: expected ") + SyncText(format_) +
                                                  ", found " + search.AfterFrame + "; " + skipped(frameEnd));
            }
        }
    }
    position_ = found.value_or(end);
}

// ---- facts and faults ----

void FrameScanner::AddFault(std::uint64_t fileOffset, std::string what) {
    if (stream_.Faults.size() < kAudioFaultsListed) {
        stream_.Faults.push_back({fileOffset, std::move(what)});
    } else {
        ++stream_.FaultsNotListed;
    }
}

// The bytes at a stream offset, as many as a sync word has, for a sentence.
std::string FrameScanner::Found(std::uint64_t offset) const {
    const std::uint64_t end = window_.End();
    if (offset >= end) return "the end of the stream";
    const std::size_t count = static_cast<std::size_t>(std::min<std::uint64_t>(SyncBytes(format_), end - offset));
    return HexBytes(window_.At(offset), count);
}

AudioStream FrameScanner::Finish() {
    stream_.Bytes = window_.Received();
    if (stream_.Bytes == 0) {
        AddFault(0, std::string("the stream is empty; expected ") + AudioFormatName(format_) + " frames");
    } else if (position_ > stream_.Bytes) {
        AddFault(0, "the ID3 tag at the start runs past the end of the stream");
    }
    return std::move(stream_);
}

}  // namespace kestrova
