// Real MPEG video elementary streams for the tests, made once per test
// program by ffmpeg in a temporary folder (drive K:), what ffprobe reports
// of them, and byte helpers to find start codes and make soft telecine.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/temp_folder.h"

namespace kestrova::test {

inline std::string CaptureCommand(const std::string& command) {
    std::string output;
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    char chunk[4096];
    for (std::size_t got = 0; pipe && (got = std::fread(chunk, 1, sizeof chunk, pipe.get())) > 0;) {
        output.append(chunk, got);
    }
    return output;
}

inline bool HaveFfmpeg() {
    static const bool have = std::system("ffmpeg -version >/dev/null 2>&1") == 0 &&
                              std::system("ffprobe -version >/dev/null 2>&1") == 0;
    return have;
}

// What ffprobe says of one frame, in display order.
struct ProbedFrame {
    std::string Type;  // "I", "P", "B"
    bool Interlaced = false;
    bool TopFieldFirst = false;
    int RepeatPict = 0;
};

inline std::vector<ProbedFrame> ProbeFrames(const std::string& hostPath) {
    const std::string output = CaptureCommand(
        "ffprobe -v error -select_streams v:0 -show_entries frame=pict_type,interlaced_frame,top_field_first,"
        "repeat_pict -of compact '" + hostPath + "'");
    std::vector<ProbedFrame> frames;
    for (std::size_t start = 0, end; start < output.size(); start = end + 1) {
        end = std::min(output.find('\n', start), output.size());
        const std::string line = "|" + output.substr(start, end - start) + "|";
        auto field = [&line](const std::string& key) {
            const std::size_t at = line.find("|" + key + "=");
            return at == std::string::npos ? "" : line.substr(at + key.size() + 2,
                                                              line.find('|', at + 1) - at - key.size() - 2);
        };
        if (field("pict_type").empty()) continue;
        frames.push_back({field("pict_type"), field("interlaced_frame") == "1", field("top_field_first") == "1",
                          std::atoi(field("repeat_pict").c_str())});
    }
    return frames;
}

// The streams every test of the program shares, as host paths in Folder().
class MpegTestStreams {
public:
    static MpegTestStreams& Get() {
        static MpegTestStreams streams;
        return streams;
    }

    const TempFolder& Folder() const { return folder_; }
    std::string Host(const std::string& name) const { return folder_.Host(name); }

    // ffmpeg over a test source with these options, once; "" and a failure when it cannot.
    std::string Make(const std::string& name, const std::string& options) {
        if (made_.count(name) != 0) return made_[name];
        const std::string command = "ffmpeg -nostdin -loglevel error -y -f lavfi -i testsrc=" + options + " '" +
                                    Host(name) + "'";
        if (std::system(command.c_str()) != 0) {
            ADD_FAILURE() << "ffmpeg could not make " << name << ": " << command;
            return "";
        }
        return made_[name] = Host(name);
    }

    // 37 PAL frames, a group every 12, two B pictures between the references.
    std::string Progressive25() {
        return Make("p25.m2v", "size=720x576:rate=25 -frames:v 37 -c:v mpeg2video -g 12 -bf 2 -f mpeg2video");
    }
    std::string InterlacedTff25() {
        return Make("i25.m2v", "size=720x576:rate=25 -frames:v 37 -c:v mpeg2video -g 12 -bf 2 -flags +ilme+ildct "
                               "-top 1 -f mpeg2video");
    }
    std::string InterlacedTff30() {
        return Make("i30.m2v", "size=720x480:rate=30000/1001 -frames:v 37 -c:v mpeg2video -g 15 -bf 2 "
                               "-flags +ilme+ildct -top 1 -f mpeg2video");
    }
    // One NTSC frame: a still menu.
    std::string Still() {
        return Make("still.m2v", "size=720x480:rate=30000/1001 -frames:v 1 -c:v mpeg2video -f mpeg2video");
    }
    // 37 film frames without B pictures: decode order is display order, as SoftTelecine needs.
    std::string Film() {
        return Make("film.m2v", "size=720x480:rate=24000/1001 -frames:v 37 -c:v mpeg2video -g 15 -bf 0 "
                                "-f mpeg2video");
    }
    std::string Mpeg1() {
        return Make("mpeg1.m1v", "size=352x288:rate=25 -frames:v 10 -c:v mpeg1video -g 5 -bf 1 -f mpeg1video");
    }

private:
    TempFolder folder_;
    std::map<std::string, std::string> made_;
};

#define KESTROVA_REQUIRE_FFMPEG()                                                                  \
    do {                                                                                           \
        if (!::kestrova::test::HaveFfmpeg()) GTEST_SKIP() << "ffmpeg and ffprobe are not installed"; \
    } while (false)

// Byte offsets of every "00 00 01 code" in the bytes.
inline std::vector<std::size_t> StartCodeOffsets(const std::string& bytes, unsigned char code) {
    std::vector<std::size_t> offsets;
    for (std::size_t at = 0; at + 3 < bytes.size(); ++at) {
        if (bytes.compare(at, 3, std::string("\0\0\1", 3)) == 0 && static_cast<unsigned char>(bytes[at + 3]) == code) {
            offsets.push_back(at);
        }
    }
    return offsets;
}

// Offsets of the extensions (00 00 01 B5) whose identifier, the next byte's high four bits, is `id`.
inline std::vector<std::size_t> ExtensionOffsets(const std::string& bytes, unsigned id) {
    std::vector<std::size_t> offsets;
    for (const std::size_t at : StartCodeOffsets(bytes, 0xB5)) {
        if (at + 4 < bytes.size() && (static_cast<unsigned char>(bytes[at + 4]) >> 4) == id) offsets.push_back(at);
    }
    return offsets;
}

// A progressive film stream without B pictures made soft telecine as DVDs carry it: 29.97 frames a
// second, an interlaced sequence, and the 3:2 pattern TFF+RFF, none, RFF, TFF on progressive frames.
inline std::string SoftTelecine(std::string bytes) {
    for (const std::size_t at : StartCodeOffsets(bytes, 0xB3)) {
        bytes[at + 7] = static_cast<char>((static_cast<unsigned char>(bytes[at + 7]) & 0xF0) | 4);  // 30000/1001
    }
    for (const std::size_t at : ExtensionOffsets(bytes, 1)) bytes[at + 5] = static_cast<char>(bytes[at + 5] & ~0x08);
    const std::vector<std::size_t> pictures = ExtensionOffsets(bytes, 8);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        static const unsigned char kPattern[] = {0x80 | 0x02, 0x00, 0x02, 0x80};
        unsigned char& flags = reinterpret_cast<unsigned char&>(bytes[pictures[i] + 7]);
        flags = static_cast<unsigned char>((flags & ~0x82u) | kPattern[i % 4]);
        bytes[pictures[i] + 8] = static_cast<char>(bytes[pictures[i] + 8] | 0x80);  // progressive_frame
    }
    return bytes;
}

}  // namespace kestrova::test
