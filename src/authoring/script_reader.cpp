// The tokenizer of the tab-depth grammar and the reading of a script file:
// see script_reader.h. The Scenarist model is read in scenarist_reader.cpp.
#include "authoring/script_reader.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/stream_files.h"

namespace kestrova {

namespace {

// Counts a diagnostic, building its text only while the rule still lists.

std::string HexByte(unsigned char byte) {
    static const char kDigits[] = "0123456789ABCDEF";
    return std::string("0x") + kDigits[byte >> 4] + kDigits[byte & 0x0F];
}

// True when a statement holds no byte below 0x20 and none above 0x7F: the
// common case, tested eight bytes at a time. (DEL passes.)
bool PlainText(const char* s, const char* end) {
    constexpr std::uint64_t kHigh = 0x8080808080808080ULL;
    constexpr std::uint64_t kBelowSpace = 0x2020202020202020ULL;
    for (; end - s >= 8; s += 8) {
        std::uint64_t word;
        std::memcpy(&word, s, 8);
        // A byte with its top bit set, or one that drops below zero when
        // 0x20 is taken away (a control byte).
        if (((word | (word - kBelowSpace)) & kHigh) != 0) return false;
    }
    for (; s < end; ++s) {
        const auto c = static_cast<unsigned char>(*s);
        if (c < 0x20 || c >= 0x80) return false;
    }
    return true;
}

// The slow walk of a statement with tabs, control or 8-bit bytes: finds the
// first "=" and reports the first foreign byte of each kind. A tab inside a
// statement is allowed.
void Scan(ScriptDiagnostics& diagnostics, const std::string& file, std::uint32_t line, const char* start, const char* s,
          const char* end, const char*& equals) {
    bool control = false, eightBit = false;
    for (const char* p = s; p < end; ++p) {
        const auto byte = static_cast<unsigned char>(*p);
        const auto column = p - start + 1;
        if (byte == '=') {
            if (equals == nullptr) equals = p;
        } else if ((byte < 0x20 && byte != '\t') || byte == 0x7F) {
            if (control) continue;
            control = true;
            if (byte == '\r') {
                Say(diagnostics, "grammar.crlf", file, line,
                    [column] { return "CR without LF in column " + std::to_string(column) + ": lines end in CR LF"; });
            } else {
                Say(diagnostics, "grammar.control", file, line, [byte, column] {
                    return "control byte " + HexByte(byte) + " in column " + std::to_string(column) +
                           ": text, tabs in front only";
                });
            }
        } else if (byte >= 0x80 && !eightBit) {
            eightBit = true;
            Say(diagnostics, "grammar.8bit", file, line, [byte, column] {
                return "8-bit byte " + HexByte(byte) + " in column " + std::to_string(column) + ": 7-bit text expected";
            });
        }
    }
}

// A block open while tokenizing. A "{" with no statement to open is kept as
// a transparent frame: its contents go to the block around it, and its "}"
// closes nothing else.
struct Frame {
    std::uint32_t Node = 0;
    std::uint32_t LastChild = 0;
    std::uint32_t OpenLine = 0;
    std::uint16_t Depth = 0;
    bool Transparent = false;
};

}  // namespace

ScriptDocument TokenizeScript(std::string path, std::unique_ptr<char[]> bytes, std::size_t size,
                              ScriptDiagnostics& diagnostics) {
    ScriptDocument document;
    document.Path = std::move(path);
    document.Bytes = std::move(bytes);
    document.Size = size;
    const std::string& file = document.Path;
    std::vector<ScriptNode>& nodes = document.Nodes;
    const char* const data = document.Bytes.get();
    if (size >= 0xFFFFFFFFU) {
        nodes.emplace_back();
        diagnostics.Add("grammar.truncated", file, 1,
                        "the file holds 4 GiB or more: a script of some megabytes expected");
        return document;
    }
    // Scripts run at about 32 bytes a line; the vector grows past that.
    nodes.reserve(size / 32 + 2);
    nodes.emplace_back();
    if (size == 0) {
        diagnostics.Add("grammar.empty-file", file, 1, "the file is empty: \"Object=Version\" expected on line 1");
        return document;
    }

    std::vector<Frame> frames(1);
    frames.reserve(64);
    std::uint32_t line = 0;
    std::size_t pos = 0;
    while (pos < size) {
        ++line;
        const char* const start = data + pos;
        const auto* lf = static_cast<const char*>(std::memchr(start, '\n', size - pos));
        const char* end = lf != nullptr ? lf : data + size;
        pos = lf != nullptr ? static_cast<std::size_t>(lf - data) + 1 : size;
        if (end > start && end[-1] == '\r') {
            --end;
            if (lf == nullptr) {
                diagnostics.Add("grammar.truncated", file, line, "the file ends behind a CR: LF expected");
            }
        } else if (lf != nullptr) {
            Say(diagnostics, "grammar.crlf", file, line,
                [] { return std::string("LF without CR: lines end in CR LF"); });
        } else {
            diagnostics.Add("grammar.truncated", file, line,
                            "the file ends inside this line (cut short?): CR LF expected at its end");
        }

        const char* s = start;
        while (s < end && *s == '\t') ++s;
        std::size_t depth = static_cast<std::size_t>(s - start);
        bool depthKnown = true;
        if (s < end && *s == ' ') {
            Say(diagnostics, "grammar.tabs", file, line,
                [] { return std::string("blanks in the indentation: tabs only"); });
            while (s < end && (*s == ' ' || *s == '\t')) ++s;
            depthKnown = false;
        }

        const char* equals = nullptr;
        if (!PlainText(s, end)) {
            Scan(diagnostics, file, line, start, s, end, equals);
        } else {
            equals = static_cast<const char*>(std::memchr(s, '=', static_cast<std::size_t>(end - s)));
        }

        const auto length = static_cast<std::size_t>(end - s);
        Frame& frame = frames.back();
        if (length == 1 && *s == '{') {
            const std::uint32_t opener = frame.LastChild;
            if (opener != 0 && !nodes[opener].IsBlock() && nodes[opener].HasEquals()) {
                ScriptNode& node = nodes[opener];
                node.Flags |= ScriptNode::kIsBlock;
                if (depthKnown && depth != node.Depth) {
                    Say(diagnostics, "grammar.brace", file, line, [&] {
                        return "\"{\" at depth " + std::to_string(depth) + ": depth " + std::to_string(node.Depth) +
                               " of " + Quoted(document.Statement(node)) + " (line " + std::to_string(node.Line) +
                               ") expected";
                    });
                }
                frames.push_back({opener, 0, line, node.Depth, false});
            } else {
                Say(diagnostics, "grammar.brace", file, line,
                    [] { return std::string("\"{\" with no statement to open: a key=value line expected before it"); });
                const Frame transparent{frame.Node, frame.LastChild, line,
                                        static_cast<std::uint16_t>(depthKnown ? depth : frames.size() - 1), true};
                frames.push_back(transparent);
            }
            continue;
        }
        if (length >= 1 && *s == '}' && std::all_of(s + 1, end, [](char c) { return c == ' '; })) {
            if (frames.size() == 1) {
                Say(diagnostics, "grammar.unbalanced", file, line,
                    [] { return std::string("\"}\" with no block open"); });
                continue;
            }
            if (depthKnown && depth != frame.Depth) {
                Say(diagnostics, "grammar.brace", file, line, [&] {
                    return "\"}\" at depth " + std::to_string(depth) + ": depth " + std::to_string(frame.Depth) +
                           " of the block opened at line " + std::to_string(frame.OpenLine) + " expected";
                });
            }
            const Frame closed = frame;
            frames.pop_back();
            if (closed.Transparent) {
                frames.back().LastChild = closed.LastChild;
            } else {
                ScriptNode& node = nodes[closed.Node];
                node.CloseLine = line;
                node.CloseBlanks = static_cast<std::uint8_t>(std::min<std::size_t>(length - 1, 255));
            }
            continue;
        }

        const std::size_t expected = frames.size() - 1;
        if (depthKnown && depth != expected) {
            Say(diagnostics, "grammar.depth", file, line, [&] {
                return "depth " + std::to_string(depth) + " where " + std::to_string(expected) +
                       " blocks are open: depth " + std::to_string(expected) + " expected";
            });
        }
        if (!depthKnown) depth = expected;
        const auto index = static_cast<std::uint32_t>(nodes.size());
        ScriptNode& node = nodes.emplace_back();
        node.At = static_cast<std::uint32_t>(s - data);
        if (equals != nullptr) {
            node.KeyLength = static_cast<std::uint32_t>(equals - s);
            node.ValueLength = static_cast<std::uint32_t>(end - equals - 1);
            node.Flags = ScriptNode::kHasEquals;
        } else {
            node.KeyLength = static_cast<std::uint32_t>(length);
        }
        node.Line = line;
        node.Depth = static_cast<std::uint16_t>(std::min<std::size_t>(depth, 0xFFFF));
        if (frame.LastChild == 0) {
            nodes[frame.Node].FirstChild = index;
        } else {
            nodes[frame.LastChild].NextSibling = index;
        }
        frame.LastChild = index;
    }
    document.LineCount = line;

    if (frames.size() > 1) {
        const auto open = std::find_if(frames.rbegin(), frames.rend(), [](const Frame& f) { return !f.Transparent; });
        std::string text = "the file ends with " + std::to_string(frames.size() - 1) + " block" +
                           (frames.size() > 2 ? "s" : "") + " open (cut short?)";
        if (open != frames.rend() && open->Node != 0) {
            const ScriptNode& node = nodes[open->Node];
            text += ": \"}\" expected at depth " + std::to_string(node.Depth) + " to close " +
                    Quoted(document.Statement(node)) + " of line " + std::to_string(node.Line);
        }
        diagnostics.Add("grammar.unbalanced", file, line, std::move(text));
    }
    return document;
}

ScriptDocument TokenizeScript(std::string path, std::string_view text, ScriptDiagnostics& diagnostics) {
    auto bytes = std::make_unique_for_overwrite<char[]>(text.size());
    std::copy(text.begin(), text.end(), bytes.get());
    return TokenizeScript(std::move(path), std::move(bytes), text.size(), diagnostics);
}

ScriptDocument ReadScriptFile(const platform::FileSystem& files, const std::string& path,
                              ScriptDiagnostics& diagnostics, const std::string& shownAs) {
    // One read into a buffer of the file's size. A file that grows meanwhile
    // is read to its end.
    std::size_t size = static_cast<std::size_t>(files.FileSize(path));
    auto bytes = std::make_unique_for_overwrite<char[]>(size);
    const auto reader = platform::OpenFileReader(files.Paths(), path);
    std::size_t filled = 0;
    for (;;) {
        if (filled == size) {
            std::uint8_t more[65536];
            const std::size_t got = reader->Read(more);
            if (got == 0) break;
            auto grown = std::make_unique_for_overwrite<char[]>(size + got);
            std::copy(bytes.get(), bytes.get() + filled, grown.get());
            std::copy(more, more + got, grown.get() + filled);
            bytes = std::move(grown);
            size += got;
            filled += got;
            continue;
        }
        const std::size_t got = reader->Read({reinterpret_cast<std::uint8_t*>(bytes.get()) + filled, size - filled});
        if (got == 0) break;
        filled += got;
    }
    return TokenizeScript(shownAs.empty() ? path : shownAs, std::move(bytes), filled, diagnostics);
}

}  // namespace kestrova
