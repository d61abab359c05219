// The reader of authoring scripts. One tokenizer for the tab-depth grammar
// both back ends write: a line is a run of tabs (its depth) and a
// statement, the statement "key=value" (split at the first "="; the value
// may hold more), "{" or "}". A "{" on the line after a statement, at the
// same depth, makes that statement a block; its contents stand one depth
// further in until the "}" at the opener's depth. The braces decide the
// structure; depths are checked against it.
//
// The tokenizer gives a tree of statements over the file's bytes; the
// Scenarist and Muxman readers turn that tree into the authoring model.
// Faults of the grammar are diagnostics with the file and line, never
// exceptions: a broken file still gives a tree and a model of what could
// be read.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "authoring/script_diagnostics.h"
#include "authoring/script_model.h"
#include "platform/files.h"

namespace kestrova {

// One statement. Blocks hold their statements as a chain of children. The
// texts are offsets into the document's bytes (ScriptDocument::Key, Value),
// which keeps a node at 32 bytes: a script has a node for nearly every line.
struct ScriptNode {
    std::uint32_t At = 0;           // the statement's first byte
    std::uint32_t KeyLength = 0;    // before the first "=", or the whole statement without one
    std::uint32_t ValueLength = 0;  // behind the first "="
    std::uint32_t Line = 0;
    std::uint32_t CloseLine = 0;   // a block's "}" line; 0 while open or for a value
    std::uint32_t FirstChild = 0;  // node indices; 0 is none (node 0 is the root)
    std::uint32_t NextSibling = 0;
    std::uint16_t Depth = 0;       // tabs in front (at most 65535)
    std::uint8_t CloseBlanks = 0;  // blanks behind a block's closing "}" (at most 255)
    std::uint8_t Flags = 0;

    static constexpr std::uint8_t kHasEquals = 1, kIsBlock = 2;
    bool HasEquals() const { return (Flags & kHasEquals) != 0; }
    bool IsBlock() const { return (Flags & kIsBlock) != 0; }
};
static_assert(sizeof(ScriptNode) == 32);

// A script's bytes and the tree over them. Node 0 is the root: its
// children are the statements at depth 0.
class ScriptDocument {
public:
    std::string Path;
    std::unique_ptr<char[]> Bytes;
    std::size_t Size = 0;
    std::vector<ScriptNode> Nodes;
    std::uint32_t LineCount = 0;

    const ScriptNode& Root() const { return Nodes.front(); }
    const ScriptNode& Node(std::uint32_t index) const { return Nodes[index]; }
    std::string_view Key(const ScriptNode& node) const { return {Bytes.get() + node.At, node.KeyLength}; }
    std::string_view Value(const ScriptNode& node) const {
        if (!node.HasEquals()) return {};
        return {Bytes.get() + node.At + node.KeyLength + 1, node.ValueLength};
    }
    // "key=value" as written, or the key alone.
    std::string_view Statement(const ScriptNode& node) const {
        return {Bytes.get() + node.At, node.KeyLength + (node.HasEquals() ? 1 + node.ValueLength : 0)};
    }

    // The children of a node, in order: for (const ScriptNode& c : doc.Children(n)).
    class ChildRange {
    public:
        class Iterator {
        public:
            Iterator(const std::vector<ScriptNode>* nodes, std::uint32_t at) : nodes_(nodes), at_(at) {}
            const ScriptNode& operator*() const { return (*nodes_)[at_]; }
            Iterator& operator++() {
                at_ = (*nodes_)[at_].NextSibling;
                return *this;
            }
            bool operator!=(const Iterator& other) const { return at_ != other.at_; }

        private:
            const std::vector<ScriptNode>* nodes_;
            std::uint32_t at_;
        };
        ChildRange(const std::vector<ScriptNode>* nodes, std::uint32_t first) : nodes_(nodes), first_(first) {}
        Iterator begin() const { return {nodes_, first_}; }
        Iterator end() const { return {nodes_, 0}; }

    private:
        const std::vector<ScriptNode>* nodes_;
        std::uint32_t first_;
    };
    ChildRange Children(const ScriptNode& node) const { return {&Nodes, node.FirstChild}; }
};

// Builds the tree over the bytes, reporting the grammar's faults of line
// ends (grammar.crlf, grammar.truncated), indentation (grammar.tabs,
// grammar.depth), braces (grammar.brace, grammar.unbalanced), bytes
// (grammar.control, grammar.8bit) and an empty file.
// The file is at most 4 GiB less a byte.
ScriptDocument TokenizeScript(std::string path, std::unique_ptr<char[]> bytes, std::size_t size,
                              ScriptDiagnostics& diagnostics);
// The same over a copy of a text.
ScriptDocument TokenizeScript(std::string path, std::string_view text, ScriptDiagnostics& diagnostics);

// Reads a file (a drive path) through the platform's path space and
// tokenizes it; the document and its diagnostics name it `shownAs`, or the
// path when that is empty. Throws Error when the file cannot be read.
ScriptDocument ReadScriptFile(const platform::FileSystem& files, const std::string& path,
                              ScriptDiagnostics& diagnostics, const std::string& shownAs = {});

// The authoring model of a Scenarist script's tree. Fields it does not
// model are passed over (the linter checks them); a numeric field that is
// not a number is value.number and reads as 0.
ScriptModel ReadScenaristModel(const ScriptDocument& document, ScriptDiagnostics& diagnostics);

// The authoring model of a Muxman script's tree (Dialect Muxman): the
// destination folder and palettes of its settings, its segments as the
// tracks of one folder "Content", its navigation as the first PGC and the
// domains. Command lines keep their text whole, and the name a link or
// jump reaches is their Target. A numeric field that is not a number is
// value.number and reads as 0.
ScriptModel ReadMuxmanModel(const ScriptDocument& document, ScriptDiagnostics& diagnostics);

}  // namespace kestrova
