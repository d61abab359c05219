// Avisynth script lines: see avisynth_script.h.
#include "frameserver/avisynth_script.h"

#include <cstdlib>

#include "platform/path_space.h"

namespace kestrova {

namespace {

bool IsNameStart(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_'; }
bool IsNameChar(char c) { return IsNameStart(c) || (c >= '0' && c <= '9'); }
bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Parses one line of the script into its calls.
class LineParser {
public:
    explicit LineParser(const std::string& text) : text_(text) {}

    std::vector<Call> Parse() {
        std::vector<Call> calls;
        SkipBlanks();
        if (AtEnd()) return calls;
        for (;;) {
            calls.push_back(ParseCall());
            SkipBlanks();
            if (AtEnd()) return calls;
            if (text_[pos_] != '.') Fail("expected the end of the line or \".\" before \"" + Rest() + "\"");
            ++pos_;
            SkipBlanks();
        }
    }

private:
    bool AtEnd() const { return pos_ >= text_.size() || text_[pos_] == '#'; }

    void SkipBlanks() {
        while (pos_ < text_.size() && (text_[pos_] == ' ' || text_[pos_] == '\t' || text_[pos_] == '\r')) ++pos_;
    }

    std::string Rest() const { return text_.substr(pos_, 30); }

    [[noreturn]] void Fail(const std::string& message) const { throw ScriptFault{message}; }

    std::string ParseName() {
        if (pos_ >= text_.size() || !IsNameStart(text_[pos_])) {
            Fail("expected a function name before \"" + Rest() + "\"");
        }
        const std::size_t start = pos_;
        while (pos_ < text_.size() && IsNameChar(text_[pos_])) ++pos_;
        return text_.substr(start, pos_ - start);
    }

    Call ParseCall() {
        Call call;
        call.Name = ParseName();
        SkipBlanks();
        if (pos_ >= text_.size() || text_[pos_] != '(') return call;  // a call without parentheses
        ++pos_;
        SkipBlanks();
        if (pos_ < text_.size() && text_[pos_] == ')') {
            ++pos_;
            return call;
        }
        for (;;) {
            call.Arguments.push_back(ParseArgument());
            SkipBlanks();
            if (pos_ >= text_.size()) Fail("the arguments of " + call.Name + " are not closed by \")\"");
            if (text_[pos_] == ')') {
                ++pos_;
                return call;
            }
            if (text_[pos_] != ',') Fail("expected \",\" or \")\" in the arguments of " + call.Name);
            ++pos_;
            SkipBlanks();
        }
    }

    Argument ParseArgument() {
        Argument argument;
        // "name=value": a name followed by "=" that is not "==".
        const std::size_t start = pos_;
        if (pos_ < text_.size() && IsNameStart(text_[pos_])) {
            const std::string name = ParseName();
            SkipBlanks();
            if (pos_ < text_.size() && text_[pos_] == '=' && (pos_ + 1 >= text_.size() || text_[pos_ + 1] != '=')) {
                ++pos_;
                SkipBlanks();
                argument.Name = platform::ToUpperAscii(name);
            } else {
                pos_ = start;
            }
        }
        argument.Item = ParseValue();
        return argument;
    }

    Value ParseValue() {
        Value value;
        if (pos_ >= text_.size()) Fail("expected a value at the end of the line");
        const char c = text_[pos_];
        if (c == '"') {
            const bool triple = text_.compare(pos_, 3, "\"\"\"") == 0;
            const std::string quote = triple ? "\"\"\"" : "\"";
            const std::size_t close = text_.find(quote, pos_ + quote.size());
            if (close == std::string::npos) Fail("a string is not closed by a double quote");
            value.Kind = ValueKind::String;
            value.Text = text_.substr(pos_ + quote.size(), close - pos_ - quote.size());
            pos_ = close + quote.size();
            return value;
        }
        if (IsDigit(c) || c == '-' || c == '+' || c == '.') return ParseNumber();
        if (IsNameStart(c)) {
            const std::string word = ParseName();
            const std::string upper = platform::ToUpperAscii(word);
            if (upper == "TRUE" || upper == "FALSE") {
                value.Kind = ValueKind::Bool;
                value.Flag = upper == "TRUE";
                return value;
            }
            Fail("the value \"" + word + "\" is not a number, string or true/false");
        }
        Fail("expected a value before \"" + Rest() + "\"");
    }

    Value ParseNumber() {
        const std::size_t start = pos_;
        if (text_[pos_] == '-' || text_[pos_] == '+') ++pos_;
        std::size_t digits = 0;
        while (pos_ < text_.size() && IsDigit(text_[pos_])) ++pos_, ++digits;
        bool isFloat = false;
        if (pos_ < text_.size() && text_[pos_] == '.') {
            isFloat = true;
            ++pos_;
            while (pos_ < text_.size() && IsDigit(text_[pos_])) ++pos_, ++digits;
        }
        if (digits == 0 || digits > 18) Fail("\"" + text_.substr(start, pos_ - start + 1) + "\" is not a number");
        const std::string number = text_.substr(start, pos_ - start);
        Value value;
        if (isFloat) {
            value.Kind = ValueKind::Float;
            value.Float = std::strtod(number.c_str(), nullptr);
        } else {
            value.Kind = ValueKind::Int;
            value.Int = std::strtoll(number.c_str(), nullptr, 10);
        }
        return value;
    }

    const std::string& text_;
    std::size_t pos_ = 0;
};

}  // namespace

std::vector<Call> ParseScriptLine(const std::string& line) { return LineParser(line).Parse(); }

}  // namespace kestrova
