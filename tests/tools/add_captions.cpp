// add-captions [--atsc] IN.M2V OUT.M2V FRAME=WORD[,WORD...]...
//
// Puts line-21 caption words into the user data of an MPEG-2 video
// elementary stream, in one of the two forms DVD video carries them:
//   - the DVD form (default): after each group header a user data block
//     "CC" 01 F8, a flag byte (odd field first, the number of frames of the
//     group), then per frame of the group a field-1 block (FF b1 b2) and a
//     field-2 block (FE 80 80);
//   - the ATSC form (--atsc): before the first slice of each picture a user
//     data block "GA94" 03, the cc_data flags (two triplets), FF, a field-1
//     triplet (FC b1 b2), a field-2 triplet (FD 80 80) and the marker FF.
// FRAME=WORDS places the words on consecutive frames from FRAME (counted
// from 0 over the whole stream); every other frame carries the null pair
// 80 80. Words are four hexadecimal digits with their parity bits set, as
// an SCC file writes them ("9420"); a byte without odd parity is refused.
//
// The stream must have frame pictures and no B pictures, so that pictures
// come in display order: ffmpeg's mpeg2video makes such streams by
// default. A group of more than 31 frames cannot be described in the DVD
// form.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t kPictureStartCode = 0x00;
constexpr std::uint8_t kLastSliceStartCode = 0xAF;
constexpr std::uint8_t kGroupStartCode = 0xB8;
constexpr std::size_t kGroupHeaderBytes = 4;     // time code, closed_gop, broken_link
constexpr std::size_t kMostFramesOfAGroup = 31;  // the 5-bit block count of the DVD form
constexpr std::uint16_t kNullPair = 0x8080;

[[noreturn]] void Fail(const std::string& what) { throw std::runtime_error(what); }

bool OddParity(std::uint8_t byte) {
    int ones = 0;
    for (int bit = 0; bit < 8; ++bit) ones += (byte >> bit) & 1;
    return ones % 2 == 1;
}

using Words = std::map<std::size_t, std::uint16_t>;  // by frame

// "FRAME=WORD,WORD" into the frame of each word.
void ReadPlacement(const std::string& argument, Words& words) {
    const auto equals = argument.find('=');
    if (equals == std::string::npos || equals == 0 ||
        argument.find_first_not_of("0123456789") != equals) {
        Fail("\"" + argument + "\" is not FRAME=WORD[,WORD...]");
    }
    std::size_t frame = std::stoul(argument.substr(0, equals));
    for (std::size_t from = equals + 1; from <= argument.size();) {
        std::size_t end = argument.find(',', from);
        if (end == std::string::npos) end = argument.size();
        const std::string word = argument.substr(from, end - from);
        if (word.size() != 4 || word.find_first_not_of("0123456789abcdefABCDEF") != std::string::npos) {
            Fail("\"" + word + "\" in \"" + argument + "\" is not four hexadecimal digits");
        }
        const auto value = static_cast<std::uint16_t>(std::stoul(word, nullptr, 16));
        if (!OddParity(static_cast<std::uint8_t>(value >> 8)) || !OddParity(static_cast<std::uint8_t>(value))) {
            Fail("the word " + word + " lacks its parity bits");
        }
        if (!words.emplace(frame, value).second) Fail("frame " + std::to_string(frame) + " is given two words");
        ++frame;
        from = end + 1;
    }
}

// Where the user data goes: behind each group header (DVD form) or before
// the first slice of each picture (ATSC form), with the frames it covers.
struct Insertion {
    std::size_t At = 0;
    std::size_t FirstFrame = 0;
    std::size_t Frames = 0;
};

std::vector<Insertion> FindInsertions(const Bytes& stream, bool atsc) {
    std::vector<Insertion> groups, pictures;
    bool sliceDue = false;  // a picture whose first slice is still to come
    std::size_t frames = 0;
    for (std::size_t at = 0; at + 4 <= stream.size(); ++at) {
        if (stream[at] != 0 || stream[at + 1] != 0 || stream[at + 2] != 1) continue;
        const std::uint8_t code = stream[at + 3];
        if (code == kGroupStartCode) {
            if (at + 4 + kGroupHeaderBytes > stream.size()) Fail("the stream ends inside a group header");
            groups.push_back({at + 4 + kGroupHeaderBytes, frames, 0});
        } else if (code == kPictureStartCode) {
            if (groups.empty()) Fail("a picture comes before the first group header");
            if (at + 6 > stream.size()) Fail("the stream ends inside a picture header");
            const int type = (stream[at + 5] >> 3) & 0x07;  // behind the 10-bit temporal reference
            if (type == 3) Fail("the stream has B pictures; its pictures are not in display order");
            ++groups.back().Frames;
            sliceDue = true;
        } else if (code <= kLastSliceStartCode && sliceDue) {
            pictures.push_back({at, frames++, 1});
            sliceDue = false;
        }
        at += 3;
    }
    if (groups.empty()) Fail("the stream has no group header");
    return atsc ? pictures : groups;
}

Bytes Pair(std::uint16_t pair) { return {static_cast<std::uint8_t>(pair >> 8), static_cast<std::uint8_t>(pair)}; }

std::uint16_t PairOf(const Words& words, std::size_t frame) {
    const auto word = words.find(frame);
    return word == words.end() ? kNullPair : word->second;
}

Bytes DvdUserData(const Insertion& group, const Words& words) {
    if (group.Frames > kMostFramesOfAGroup) {
        Fail("a group of " + std::to_string(group.Frames) + " frames; the caption block count holds at most 31");
    }
    Bytes data = {0x00, 0x00, 0x01, 0xB2, 'C', 'C', 0x01, 0xF8,
                  static_cast<std::uint8_t>(0x80 | (group.Frames << 1))};  // odd field first, no extra field
    for (std::size_t k = 0; k < group.Frames; ++k) {
        const Bytes pair = Pair(PairOf(words, group.FirstFrame + k));
        data.insert(data.end(), {0xFF, pair[0], pair[1], 0xFE, 0x80, 0x80});
    }
    return data;
}

Bytes AtscUserData(const Insertion& picture, const Words& words) {
    const Bytes pair = Pair(PairOf(words, picture.FirstFrame));
    // process_cc_data_flag and two triplets; em_data FF; field 1, field 2; marker.
    return {0x00, 0x00, 0x01, 0xB2, 'G', 'A', '9', '4', 0x03, 0x42, 0xFF,
            0xFC, pair[0], pair[1], 0xFD, 0x80, 0x80, 0xFF};
}

}  // namespace

int main(int argc, char** argv) {
    const bool atsc = argc > 1 && std::strcmp(argv[1], "--atsc") == 0;
    const int first = atsc ? 2 : 1;
    if (argc < first + 3) {
        std::fprintf(stderr, "usage: add-captions [--atsc] IN.M2V OUT.M2V FRAME=WORD[,WORD...]...\n");
        return 2;
    }
    try {
        Words words;
        for (int i = first + 2; i < argc; ++i) ReadPlacement(argv[i], words);
        std::ifstream in(argv[first], std::ios::binary);
        if (!in) Fail(std::string("cannot open ") + argv[first]);
        const Bytes stream((std::istreambuf_iterator<char>(in)), {});
        const std::vector<Insertion> places = FindInsertions(stream, atsc);

        Bytes out;
        std::size_t copied = 0;
        std::size_t frames = 0;
        for (const Insertion& place : places) {
            out.insert(out.end(), stream.begin() + static_cast<std::ptrdiff_t>(copied),
                       stream.begin() + static_cast<std::ptrdiff_t>(place.At));
            const Bytes data = atsc ? AtscUserData(place, words) : DvdUserData(place, words);
            out.insert(out.end(), data.begin(), data.end());
            copied = place.At;
            frames = place.FirstFrame + place.Frames;
        }
        out.insert(out.end(), stream.begin() + static_cast<std::ptrdiff_t>(copied), stream.end());
        if (!words.empty() && words.rbegin()->first >= frames) {
            Fail("a word is placed on frame " + std::to_string(words.rbegin()->first) + "; the stream has " +
                 std::to_string(frames) + " frames");
        }

        std::ofstream file(argv[first + 1], std::ios::binary);
        file.write(reinterpret_cast<const char*>(out.data()), static_cast<std::streamsize>(out.size()));
        if (!file.flush()) Fail(std::string("cannot write ") + argv[first + 1]);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "add-captions: %s\n", error.what());
        return 1;
    }
    return 0;
}
