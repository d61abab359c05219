// A bounds-checked reader of the audio streams a DVD menu carries: AC3,
// MPEG audio (layers I to III), DTS core, DVD LPCM and the demultiplexer's
// WAV files, as files of their own or as the audio sub-streams of a VOB.
// It reads every frame header (and for AC3 both check words), front to
// back in blocks, so memory stays the same for any length. Damage is
// reported, not thrown: each bad spot is a byte offset and a sentence, and
// the read goes on at the next good frame. Only a file that is missing or
// cannot be read is an Error.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "platform/byte_streams.h"

namespace kestrova {

enum class AudioFormat { Unknown, Ac3, MpegAudio, Dts, Lpcm, Wav };

// "AC3", "MPEG audio", "DTS", "LPCM", "WAV", "unknown".
const char* AudioFormatName(AudioFormat format);

// A bad spot of a stream.
struct AudioFault {
    std::uint64_t Offset = 0;  // byte offset in the file read (the VOB for a sub-stream)
    std::string What;          // what was found there and what was expected, one sentence
};

// Bad spots a stream lists at most; further ones are only counted.
inline constexpr std::size_t kAudioFaultsListed = 1000;

struct AudioStream {
    std::string Name;            // the file's path, as the caller gave it
    std::uint8_t Stream = 0;     // for a VOB's sub-stream its DVD stream byte (0x80, 0xC0, ...); 0 for a file
    AudioFormat Format = AudioFormat::Unknown;
    std::string Coding;          // in words: "AC3", "MPEG-1 Layer II", "DTS", "LPCM", "PCM"
    std::int32_t SampleRate = 0; // Hz; 0 when unknown
    std::int64_t BitRate = 0;    // nominal, bit/s (the header's rate; PCM: rate x channels x bits)
    std::int32_t Channels = 0;   // all channels, LFE included
    bool Lfe = false;
    std::string Layout;          // AC3 "3/2", "1+1" (dual mono); MPEG "stereo", "joint stereo", ...
    std::int32_t BitsPerSample = 0;  // PCM only
    // AC3, MPEG, DTS: frames with a whole, valid header (those failing a
    // CRC included). LPCM in a VOB: its packets. WAV: sample frames.
    std::uint64_t Frames = 0;
    std::uint64_t Samples = 0;   // per channel
    double Duration = 0;         // seconds, from the samples
    std::optional<std::uint64_t> FirstSync;  // offset of the first good frame
    std::uint64_t Bytes = 0;     // bytes of the stream read (a sub-stream's payload bytes)
    std::vector<AudioFault> Faults;  // in stream order
    std::uint64_t FaultsNotListed = 0;
    std::string Note;            // what cannot be known, e.g. of raw LPCM
};

// One AC3 syncframe as the file holds it.
struct Ac3Frame {
    std::uint64_t Offset = 0;    // of its sync word
    std::uint32_t Size = 0;      // bytes, from fscod and frmsizecod
    bool Crc1Ok = false;         // the first 5/8 of the frame
    bool Crc2Ok = false;         // the whole frame
    std::uint8_t Fscod = 0;
    std::uint8_t Frmsizecod = 0;
    std::uint8_t Bsid = 0;
    std::uint8_t Acmod = 0;
    bool Lfe = false;
};

struct Ac3FrameList {
    AudioStream Stream;           // the facts and bad spots of the whole file
    std::vector<Ac3Frame> Frames; // every frame Stream.Frames counts, in file order
};

// Reads a stream of the given format from its first byte to its last.
AudioStream ScanAudioStream(platform::ByteReader& reader, AudioFormat format);

// Reads an audio file on the host. The format comes from the content (a
// RIFF header, a program stream pack, the first frame that is followed by
// another of its kind), the file's extension deciding between formats that
// both fit and naming it when nothing fits. Throws Error naming the file
// when it is missing or unreadable, or when it is a program stream (use
// ScanVobAudioFile).
AudioStream ScanAudioFile(const std::string& hostPath);

// Every AC3 frame of a stream, for cutting whole frames and replacing
// those failing a CRC.
Ac3FrameList ReadAc3Frames(platform::ByteReader& reader);
Ac3FrameList ReadAc3Frames(const std::string& hostPath);

struct VobAudio {
    std::string Name;
    std::vector<AudioStream> Streams;  // by stream byte
    // Packs that cannot be read; each is passed over and the read goes on.
    std::vector<AudioFault> Faults;
    std::uint64_t Packs = 0;
};

// The audio sub-streams of a program stream: AC3 0x80-0x87, DTS 0x88-0x8F
// and LPCM 0xA0-0xA7 in private stream 1, MPEG audio 0xC0-0xC7. Offsets of
// bad spots are offsets in the VOB.
VobAudio ScanVobAudio(platform::ByteReader& vob);
VobAudio ScanVobAudioFile(const std::string& hostPath);

// True when the host file begins with an MPEG pack header (00 00 01 BA).
// Throws Error naming the file when it is missing or unreadable.
bool IsProgramStreamFile(const std::string& hostPath);

}  // namespace kestrova
