// The Scenarist script linter: the grammar a Scenarist script adds to the
// tokenizer's (object order, the keys each block knows, the brace behind
// Object=Version). See script_lint.h.
#include <algorithm>
#include <array>

#include "authoring/scenarist_schema.h"
#include "authoring/script_lint.h"

namespace kestrova {

namespace {

std::string Dec(std::int64_t n) { return std::to_string(n); }

using B = ScenaristBlock;

constexpr std::array<std::string_view, 7> kObjectOrder = {"Version",      "Data Folder",     "Track Folder", "Scenario",
                                                          "Project Info", "Default Setting", "List"};

class GrammarCheck {
public:
    GrammarCheck(const ScriptDocument& document, ScriptDiagnostics& diagnostics)
        : document_(document), diagnostics_(diagnostics) {}

    void Run() {
        if (document_.Nodes.empty()) return;
        Objects();
        ClosingBraces();
    }

private:
    void Objects() {
        std::size_t next = 0;  // the index in kObjectOrder expected next
        std::uint32_t lastLine = document_.LineCount;
        for (const ScriptNode& node : document_.Children(document_.Root())) {
            if (!Statement(node, B::Root)) continue;
            const auto at = std::find(kObjectOrder.begin(), kObjectOrder.end(), Value(node));
            if (Key(node) != "Object" || at == kObjectOrder.end()) {
                Say(diagnostics_, "grammar.unknown-key", document_.Path, node.Line, [&] {
                    return Quoted(Whole(node)) + " at depth 0: \"Object=" +
                           std::string(next < kObjectOrder.size() ? kObjectOrder[next] : kObjectOrder.back()) +
                           "\" or another object expected";
                });
                continue;
            }
            const auto index = static_cast<std::size_t>(at - kObjectOrder.begin());
            if (index < next) {
                Say(diagnostics_, "grammar.object-order", document_.Path, node.Line, [&] {
                    return Quoted(Whole(node)) +
                           " out of order or repeated: the objects come once each, in the order " + OrderText();
                });
            } else if (index > next) {
                Say(diagnostics_, "grammar.object-order", document_.Path, node.Line, [&] {
                    return "\"Object=" + std::string(kObjectOrder[next]) + "\" expected before " + Quoted(Whole(node)) +
                           " (the order is " + OrderText() + ")";
                });
            }
            next = std::max(next, index + 1);
            if (!node.IsBlock()) {
                Say(diagnostics_, "grammar.block", document_.Path, node.Line, [&] {
                    return Quoted(Whole(node)) + " opens an object: \"{\" expected on the next line at depth 0";
                });
                continue;
            }
            Block(node, SchemaOf(B::Root).Blocks[index].Block);
        }
        if (next < kObjectOrder.size()) {
            Say(diagnostics_, "grammar.object-order", document_.Path, std::max<std::uint32_t>(lastLine, 1), [&] {
                return "the file ends without \"Object=" + std::string(kObjectOrder[next]) + "\" (the order is " +
                       OrderText() + ")";
            });
        }
    }

    static std::string OrderText() {
        std::string text;
        for (std::string_view name : kObjectOrder) text += (text.empty() ? "" : ", ") + std::string(name);
        return text;
    }

    std::string_view Whole(const ScriptNode& node) const { return document_.Statement(node); }
    std::string_view Key(const ScriptNode& node) const { return document_.Key(node); }
    std::string_view Value(const ScriptNode& node) const { return document_.Value(node); }

    // False for a line that is no key=value statement, which it reports.
    bool Statement(const ScriptNode& node, ScenaristBlock in) {
        if (node.HasEquals()) return true;
        if (Key(node).empty() && in == B::Uop) {
            Say(diagnostics_, "oddity.uop-empty-entry", document_.Path, node.Line, [] {
                return std::string(
                    "an empty line in a UOP list: prohibition bits 25 to 27 of the mask, which have no name");
            });
        } else if (Key(node).empty()) {
            Say(diagnostics_, "grammar.statement", document_.Path, node.Line,
                [] { return std::string("an empty line: key=value, \"{\" or \"}\" expected"); });
        } else {
            Say(diagnostics_, "grammar.statement", document_.Path, node.Line,
                [&] { return Quoted(Key(node)) + " has no \"=\": key=value, \"{\" or \"}\" expected"; });
        }
        return false;
    }

    const ScenaristBlockRule* FindBlock(const ScenaristSchema& schema, const ScriptNode& node, bool byValue) const {
        for (const ScenaristBlockRule& rule : schema.Blocks) {
            if (KeyMatches(rule.Key, Key(node)) && (!byValue || rule.Value == Value(node))) return &rule;
        }
        return nullptr;
    }

    static bool KnowsKey(const ScenaristSchema& schema, std::string_view key) {
        for (std::string_view known : schema.Keys) {
            if (KeyMatches(known, key)) return true;
        }
        return false;
    }

    void Block(const ScriptNode& block, ScenaristBlock type) {
        const ScenaristSchema& schema = SchemaOf(type);
        for (const ScriptNode& node : document_.Children(block)) {
            if (!Statement(node, type)) continue;
            if (node.IsBlock()) {
                if (const ScenaristBlockRule* rule = FindBlock(schema, node, true)) {
                    Block(node, rule->Block);
                } else if (KnowsKey(schema, Key(node))) {
                    Say(diagnostics_, "grammar.block", document_.Path, node.Line, [&] {
                        return Quoted(Key(node)) + " takes a value in " + std::string(schema.Name) + ", not a block";
                    });
                } else if (const ScenaristBlockRule* byKey = FindBlock(schema, node, false)) {
                    Say(diagnostics_, "grammar.unknown-key", document_.Path, node.Line, [&] {
                        return "unknown block " + Quoted(Whole(node)) + " in " + std::string(schema.Name) + ": " +
                               Quoted(std::string(Key(node)) + "=" + std::string(byKey->Value)) + " expected";
                    });
                } else {
                    Say(diagnostics_, "grammar.unknown-key", document_.Path, node.Line,
                        [&] { return "unknown block " + Quoted(Whole(node)) + " in " + std::string(schema.Name); });
                }
                continue;
            }
            if (KnowsKey(schema, Key(node))) continue;
            if (FindBlock(schema, node, true) != nullptr) {
                Say(diagnostics_, "grammar.block", document_.Path, node.Line, [&] {
                    return Quoted(Whole(node)) + " opens a block: \"{\" expected on the next line at depth " +
                           Dec(node.Depth);
                });
            } else {
                Say(diagnostics_, "grammar.unknown-key", document_.Path, node.Line,
                    [&] { return "unknown key " + Quoted(Key(node)) + " in " + std::string(schema.Name); });
            }
        }
    }

    // "}    " closes Object=Version, a bare "}" every other block.
    void ClosingBraces() {
        const ScriptNode* version = nullptr;
        for (const ScriptNode& node : document_.Children(document_.Root())) {
            if (node.IsBlock() && Key(node) == "Object" && Value(node) == "Version") {
                version = &node;
                break;
            }
        }
        for (const ScriptNode& node : document_.Nodes) {
            if (!node.IsBlock() || node.CloseLine == 0) continue;
            const bool isVersion = &node == version;
            if (isVersion && node.CloseBlanks != 4) {
                diagnostics_.Add("grammar.version-brace", document_.Path, node.CloseLine,
                                 "Object=Version closes with \"}    \", a brace and four blanks");
            } else if (!isVersion && node.CloseBlanks != 0) {
                Say(diagnostics_, "grammar.version-brace", document_.Path, node.CloseLine, [&] {
                    return "\"}\" with " + Dec(node.CloseBlanks) + " blank" + (node.CloseBlanks > 1 ? "s" : "") +
                           " behind it closes " + Quoted(Whole(node)) + ": only Object=Version closes with \"}    \"";
                });
            }
        }
    }

    const ScriptDocument& document_;
    ScriptDiagnostics& diagnostics_;
};

}  // namespace

void CheckScenaristGrammar(const ScriptDocument& document, ScriptDiagnostics& diagnostics) {
    GrammarCheck(document, diagnostics).Run();
}

}  // namespace kestrova
