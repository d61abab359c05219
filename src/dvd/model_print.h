// The DVD model as kestrova-inspect prints it: per domain its attributes,
// language units, PGCs with commands (text and bytes), programs, cells and
// cell tables, then the title map, and after the model the first-play and
// title PGCs. One tree of the facts, rendered either as stable indented
// lines or as JSON.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "dvd/title_pgcs.h"
#include "job/context.h"

namespace kestrova {

// A small document tree: an object keeps its members in insertion order.
class PrintNode {
public:
    enum class Kind { Object, Array, Text, Number };

    static PrintNode Object() { return PrintNode(Kind::Object); }
    static PrintNode Array() { return PrintNode(Kind::Array); }
    static PrintNode Text(std::string text);
    static PrintNode Number(std::int64_t number);

    // Object members and array items; both return the added node.
    PrintNode& Set(const std::string& key, PrintNode value);
    PrintNode& Set(const std::string& key, const std::string& text) { return Set(key, Text(text)); }
    PrintNode& Set(const std::string& key, const char* text) { return Set(key, Text(text)); }
    PrintNode& Set(const std::string& key, std::int64_t number) { return Set(key, Number(number)); }
    PrintNode& Push(PrintNode value);

    Kind GetKind() const { return kind_; }
    // An object whose members are all texts and numbers.
    bool IsFlat() const;
    // Lines of "key value", nested members indented by two blanks, array
    // items numbered from 1; an array item made of scalars only is one line
    // of name=value pairs.
    std::string RenderText() const;
    // JSON with two-blank indentation.
    std::string RenderJson() const;

private:
    explicit PrintNode(Kind kind) : kind_(kind) {}
    void RenderTextMembers(std::string& out, int indent) const;
    void RenderJsonValue(std::string& out, int indent) const;

    Kind kind_;
    std::string text_;
    std::int64_t number_ = 0;
    std::vector<std::pair<std::string, PrintNode>> members_;
    std::vector<PrintNode> items_;
};

// The whole model of the job as one tree.
PrintNode ModelTree(const JobContext& job);

// Adds the first-play PGC (FP_PGC) and the title PGCs of each title set
// (VTS_PGCIT) to a model tree, in the lines of the menu PGCs: commands as
// text and bytes, programs with their cells, playback and still times.
void AddPlaybackPGCs(PrintNode& root, const JobContext& job, const PlaybackPGCs& pgcs);

// JSON string escaping of a text (quotes included).
std::string JsonQuote(const std::string& text);

}  // namespace kestrova
