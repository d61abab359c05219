// Registry tree and its text forms: see registry_text.h.
#include "platform/registry_text.h"

#include <cstdio>

#include "platform/path_space.h"
#include "platform/text.h"
#include "platform/text_encoding.h"

namespace kestrova::platform {

namespace {

// ---- tree helpers ---------------------------------------------------------

template <typename Items, typename NameOf>
void Reindex(std::unordered_map<std::string, std::size_t>& index, const Items& items, NameOf nameOf) {
    index.clear();
    for (std::size_t i = 0; i < items.size(); ++i) index.emplace(ToUpperAscii(nameOf(items[i])), i);
}

// ---- text helpers ---------------------------------------------------------

struct TextLine {
    std::string Text;  // without its CR LF or LF
    int Number = 0;
    bool Ended = true;  // a line end followed it
};

std::vector<TextLine> SplitLines(const std::string& text) {
    std::vector<TextLine> lines;
    std::size_t start = 0;
    // A UTF-8 byte order mark some editors put first.
    if (text.compare(0, 3, "\xEF\xBB\xBF") == 0) start = 3;
    int number = 1;
    while (start < text.size()) {
        const std::size_t end = text.find('\n', start);
        TextLine line;
        line.Number = number++;
        if (end == std::string::npos) {
            line.Text = text.substr(start);
            line.Ended = false;
            start = text.size();
        } else {
            line.Text = text.substr(start, end - start);
            start = end + 1;
        }
        if (!line.Text.empty() && line.Text.back() == '\r') line.Text.pop_back();
        lines.push_back(std::move(line));
    }
    return lines;
}

[[noreturn]] void Fault(int line, const std::string& what) { throw RegistryTextFault{line, what}; }

// "dword:" is followed by one to eight hex digits and nothing else.
std::uint32_t ReadDwordDigits(const std::string& digits, int line) {
    const std::string text = Trim(digits);
    if (text.empty() || text.size() > 8) Fault(line, "a dword value needs one to eight hex digits");
    std::uint32_t number = 0;
    for (char c : text) {
        const int digit = HexDigitValue(c);
        if (digit < 0) Fault(line, "a dword value holds \"" + text + "\", which is not hex digits");
        number = number * 16 + static_cast<std::uint32_t>(digit);
    }
    return number;
}

// The bytes of a comma-separated hex list ("41,00,42"); a trailing comma
// is allowed.
std::string ReadHexBytes(const std::string& list, int line) {
    std::string bytes;
    if (Trim(list).empty()) return bytes;
    std::vector<std::string> tokens;
    std::size_t start = 0;
    for (std::size_t comma; (comma = list.find(',', start)) != std::string::npos; start = comma + 1)
        tokens.push_back(Trim(list.substr(start, comma - start)));
    tokens.push_back(Trim(list.substr(start)));
    if (tokens.back().empty()) tokens.pop_back();
    for (const std::string& token : tokens) {
        if (token.empty()) Fault(line, "a hex value has an empty byte between commas");
        if (token.size() > 2 || HexDigitValue(token[0]) < 0 || (token.size() == 2 && HexDigitValue(token[1]) < 0))
            Fault(line, "a hex value holds \"" + token + "\", which is not a byte in hex");
        int value = HexDigitValue(token[0]);
        if (token.size() == 2) value = value * 16 + HexDigitValue(token[1]);
        bytes += static_cast<char>(value);
    }
    return bytes;
}

// Joins a value's continuation lines: a data part ending in "\" goes on in
// the next line. Leaves `index` at the last line used.
std::string JoinContinuation(const std::vector<TextLine>& lines, std::size_t& index, std::string data) {
    data = Trim(data);
    while (!data.empty() && data.back() == '\\') {
        data.pop_back();
        if (index + 1 >= lines.size()) Fault(lines[index].Number, "a value goes on past the end of the file");
        ++index;
        data += Trim(lines[index].Text);
    }
    return data;
}

// ---- REGEDIT4 -------------------------------------------------------------

// A quoted text from `at` (the opening quote) with \\ and \" escaped; other
// backslashes stand for themselves. Returns the position after the closing quote.
std::size_t ReadRegedit4Quoted(const std::string& line, std::size_t at, std::string& text, int number) {
    text.clear();
    std::size_t i = at + 1;
    while (i < line.size()) {
        const char c = line[i];
        if (c == '"') return i + 1;
        if (c == '\\' && i + 1 < line.size() && (line[i + 1] == '\\' || line[i + 1] == '"')) {
            text += line[i + 1];
            i += 2;
            continue;
        }
        text += c;
        ++i;
    }
    Fault(number, "a quoted text has no closing quotation mark");
}

struct ParsedKey {
    bool Remove = false;
    HiveRoot Root = HiveRoot::CurrentUser;
    std::vector<std::string> Path;
};

ParsedKey ReadRegedit4KeyLine(const std::string& line, int number) {
    if (line.back() != ']') Fault(number, "a key line has no closing \"]\"");
    std::string inner = line.substr(1, line.size() - 2);
    ParsedKey key;
    if (!inner.empty() && inner[0] == '-') {
        key.Remove = true;
        inner.erase(0, 1);
    }
    const std::size_t slash = inner.find('\\');
    const std::string rootName = ToUpperAscii(inner.substr(0, slash));
    key.Path = SplitKeyPath(slash == std::string::npos ? std::string() : inner.substr(slash + 1));
    if (rootName == "HKEY_CURRENT_USER" || rootName == "HKCU") {
        key.Root = HiveRoot::CurrentUser;
    } else if (rootName == "HKEY_LOCAL_MACHINE" || rootName == "HKLM") {
        key.Root = HiveRoot::LocalMachine;
    } else if (rootName == "HKEY_CLASSES_ROOT" || rootName == "HKCR") {
        key.Root = HiveRoot::LocalMachine;
        std::vector<std::string> path = ClassesRootPrefix();
        path.insert(path.end(), key.Path.begin(), key.Path.end());
        key.Path = std::move(path);
    } else {
        Fault(number, "the key \"" + inner + "\" does not start with HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE or "
                      "HKEY_CLASSES_ROOT");
    }
    if (key.Remove && key.Path.empty()) Fault(number, "a whole root cannot be removed");
    return key;
}

// The data part of a value line: a quoted text, dword:, hex...: or "-".
// Continuation lines of hex data advance `index`.
RegistryChange ReadRegedit4Data(const std::vector<TextLine>& lines, std::size_t& index, const std::string& data,
                                RegistryChange change) {
    const int number = lines[index].Number;
    const std::string trimmed = Trim(data);
    if (trimmed == "-") {
        change.What = RegistryChange::Action::RemoveValue;
        return change;
    }
    change.What = RegistryChange::Action::SetValue;
    RegistryValue& value = change.Value;
    if (!trimmed.empty() && trimmed[0] == '"') {
        const std::size_t after = ReadRegedit4Quoted(trimmed, 0, value.Text, number);
        if (after != trimmed.size()) Fault(number, "text follows the closing quotation mark of a value");
        value.Kind = RegistryValueKind::String;
        return change;
    }
    if (StartsWithIgnoreCase(trimmed, "dword:")) {
        value.Kind = RegistryValueKind::Dword;
        value.Number = ReadDwordDigits(trimmed.substr(6), number);
        return change;
    }
    if (StartsWithIgnoreCase(trimmed, "hex")) {
        const std::string joined = JoinContinuation(lines, index, trimmed);
        const std::size_t colon = joined.find(':');
        if (colon == std::string::npos) Fault(number, "a hex value has no \":\"");
        const std::string type = ToUpperAscii(joined.substr(0, colon));
        bool typeOk = type == "HEX";
        if (!typeOk && type.size() > 5 && type.compare(0, 4, "HEX(") == 0 && type.back() == ')') {
            typeOk = true;
            for (std::size_t i = 4; i + 1 < type.size(); ++i) typeOk = typeOk && HexDigitValue(type[i]) >= 0;
        }
        if (!typeOk) Fault(number, "\"" + joined.substr(0, colon) + "\" is not a value type");
        const std::string bytes = ReadHexBytes(joined.substr(colon + 1), number);
        // Texts with line breaks are kept as hex(1) (ANSI text with its ending
        // zero); read them back as texts.
        if (type == "HEX(1)" && !bytes.empty() && bytes.back() == '\0' &&
            bytes.find('\0') == bytes.size() - 1) {
            value.Kind = RegistryValueKind::String;
            value.Text = bytes.substr(0, bytes.size() - 1);
            return change;
        }
        value.Kind = RegistryValueKind::Raw;
        value.Text = Trim(joined.substr(0, colon + 1)) + Trim(joined.substr(colon + 1));
        return change;
    }
    Fault(number, "the value is not a quoted text, dword:, hex: or -");
}

// ---- writing --------------------------------------------------------------

// Appends the text between quotation marks with \ and " escaped.
void AppendQuoted(std::string& out, const std::string& text) {
    out += '"';
    for (char c : text) {
        if (c == '\\' || c == '"') out += '\\';
        out += c;
    }
    out += '"';
}

// Hex data ("hex(1):41,00,...") wrapped as regedit wraps it, lines of at
// most 80 characters joined by "\" and indented by two blanks.
std::string WrapHex(const std::string& head, const std::string& data) {
    std::string out = head;
    std::size_t lineLength = head.size();
    const std::size_t colon = data.find(':');
    out += data.substr(0, colon + 1);
    lineLength += colon + 1;
    std::string rest = data.substr(colon + 1);
    std::size_t start = 0;
    while (start < rest.size()) {
        std::size_t comma = rest.find(',', start);
        const bool last = comma == std::string::npos;
        const std::string token = rest.substr(start, last ? std::string::npos : comma - start + 1);
        if (lineLength + token.size() > 77 && lineLength > 2) {
            out += "\\\r\n  ";
            lineLength = 2;
        }
        out += token;
        lineLength += token.size();
        if (last) break;
        start = comma + 1;
    }
    return out;
}

std::string ToHexList(const std::string& bytes) {
    std::string out;
    char buffer[4];
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        std::snprintf(buffer, sizeof buffer, "%02x", static_cast<unsigned char>(bytes[i]));
        if (i > 0) out += ',';
        out += buffer;
    }
    return out;
}

void WriteValue(std::string& out, const RegistryValue& value) {
    std::string head;
    if (value.Name.empty()) {
        head = "@=";
    } else {
        AppendQuoted(head, value.Name);
        head += '=';
    }
    switch (value.Kind) {
        case RegistryValueKind::Dword: {
            char buffer[16];
            std::snprintf(buffer, sizeof buffer, "dword:%08x", static_cast<unsigned>(value.Number));
            out += head;
            out += buffer;
            break;
        }
        case RegistryValueKind::String:
        case RegistryValueKind::ExpandString:
            // A line break would end the line, so such a text goes as hex(1).
            if (value.Text.find_first_of("\r\n") != std::string::npos || value.Text.find('\0') != std::string::npos) {
                std::string bytes = value.Text.substr(0, value.Text.find('\0'));
                bytes += '\0';
                out += WrapHex(head, "hex(1):" + ToHexList(bytes));
            } else {
                out += head;
                AppendQuoted(out, value.Text);
            }
            break;
        case RegistryValueKind::Raw:
            out += WrapHex(head, value.Text);
            break;
    }
    out += "\r\n";
}

void WriteKey(std::string& out, const RegistryKey& key, const std::string& path, bool isRoot) {
    if (!isRoot || !key.Values().empty()) {
        out += "[" + path + "]\r\n";
        for (const RegistryValue& value : key.Values()) WriteValue(out, value);
        out += "\r\n";
    }
    for (std::size_t i = 0; i < key.SubkeyCount(); ++i) {
        const RegistryKey& subkey = key.Subkey(i);
        WriteKey(out, subkey, path + "\\" + subkey.Name(), false);
    }
}

// ---- Wine -----------------------------------------------------------------

// Wine escapes: \\ \" \[ \] and C escapes, \x with up to four hex digits (a
// UTF-16 unit), \ooo octal. Units are gathered so that surrogate pairs join.
std::string UnescapeWine(const std::string& text, int number) {
    std::string out;
    std::uint32_t highSurrogate = 0;
    auto flushUnit = [&](std::uint32_t unit) {
        if (unit >= 0xD800 && unit < 0xDC00) {
            if (highSurrogate != 0) AppendUtf8(out, 0xFFFD);
            highSurrogate = unit;
            return;
        }
        if (unit >= 0xDC00 && unit < 0xE000) {
            AppendUtf8(out, highSurrogate != 0 ? 0x10000 + ((highSurrogate - 0xD800) << 10) + (unit - 0xDC00) : 0xFFFD);
            highSurrogate = 0;
            return;
        }
        if (highSurrogate != 0) AppendUtf8(out, 0xFFFD);
        highSurrogate = 0;
        AppendUtf8(out, unit);
    };
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c != '\\') {
            if (highSurrogate != 0) AppendUtf8(out, 0xFFFD);  // a lone high surrogate
            highSurrogate = 0;
            out += c;
            continue;
        }
        if (++i >= text.size()) Fault(number, "a text ends in the middle of an escape");
        const char e = text[i];
        switch (e) {
            case 'a': flushUnit(7); break;
            case 'b': flushUnit(8); break;
            case 'e': flushUnit(27); break;
            case 'f': flushUnit(12); break;
            case 'n': flushUnit(10); break;
            case 'r': flushUnit(13); break;
            case 't': flushUnit(9); break;
            case 'v': flushUnit(11); break;
            case 'x': {
                std::uint32_t unit = 0;
                int digits = 0;
                while (digits < 4 && i + 1 < text.size() && HexDigitValue(text[i + 1]) >= 0) {
                    unit = unit * 16 + static_cast<std::uint32_t>(HexDigitValue(text[++i]));
                    ++digits;
                }
                if (digits == 0) Fault(number, "a \\x escape has no hex digits");
                flushUnit(unit);
                break;
            }
            default:
                if (e >= '0' && e <= '7') {
                    std::uint32_t unit = static_cast<std::uint32_t>(e - '0');
                    for (int digits = 1; digits < 3 && i + 1 < text.size() && text[i + 1] >= '0' && text[i + 1] <= '7';
                         ++digits)
                        unit = unit * 8 + static_cast<std::uint32_t>(text[++i] - '0');
                    flushUnit(unit);
                } else {
                    flushUnit(static_cast<unsigned char>(e));
                }
        }
    }
    if (highSurrogate != 0) AppendUtf8(out, 0xFFFD);
    return out;
}

// The end of an escaped run from `at` up to the unescaped `close`.
std::size_t FindUnescaped(const std::string& line, std::size_t at, char close) {
    for (std::size_t i = at; i < line.size(); ++i) {
        if (line[i] == '\\') {
            ++i;
        } else if (line[i] == close) {
            return i;
        }
    }
    return std::string::npos;
}

void ReadWineValue(const std::vector<TextLine>& lines, std::size_t& index, RegistryKey& key) {
    const std::string& line = lines[index].Text;
    const int number = lines[index].Number;
    RegistryValue value;
    std::size_t at = 0;
    if (line[0] == '@') {
        at = 1;
    } else {
        const std::size_t close = FindUnescaped(line, 1, '"');
        if (close == std::string::npos) Fault(number, "a value name has no closing quotation mark");
        value.Name = UnescapeWine(line.substr(1, close - 1), number);
        at = close + 1;
    }
    if (at >= line.size() || line[at] != '=') Fault(number, "a value name is not followed by \"=\"");
    const std::string data = line.substr(at + 1);
    std::size_t quote = std::string::npos;
    if (!data.empty() && data[0] == '"') {
        value.Kind = RegistryValueKind::String;
        quote = 0;
    } else if (StartsWithIgnoreCase(data, "str(")) {
        // str(2): an unexpanded text; other str(n) (multi-texts) are not read.
        const std::size_t colon = data.find("):\"");
        if (colon == std::string::npos) Fault(number, "a str() value has no quoted text");
        if (data.substr(4, colon - 4) != "2") return;
        value.Kind = RegistryValueKind::ExpandString;
        quote = colon + 2;
    } else if (StartsWithIgnoreCase(data, "dword:")) {
        value.Kind = RegistryValueKind::Dword;
        value.Number = ReadDwordDigits(data.substr(6), number);
        key.SetValue(std::move(value));
        return;
    } else if (StartsWithIgnoreCase(data, "hex")) {
        // Binary and other types are of no use to Kestrova; skip them with
        // their continuation lines.
        JoinContinuation(lines, index, data);
        return;
    } else {
        Fault(number, "the value is not a quoted text, str(), dword: or hex");
    }
    const std::size_t close = FindUnescaped(data, quote + 1, '"');
    if (close == std::string::npos) Fault(number, "a quoted text has no closing quotation mark");
    value.Text = UnescapeWine(data.substr(quote + 1, close - quote - 1), number);
    key.SetValue(std::move(value));
}

}  // namespace

// ---- RegistryKey ----------------------------------------------------------

const RegistryValue* RegistryKey::FindValue(const std::string& name) const {
    const auto found = valueIndex_.find(ToUpperAscii(name));
    return found == valueIndex_.end() ? nullptr : &values_[found->second];
}

void RegistryKey::SetValue(RegistryValue value) {
    const std::string folded = ToUpperAscii(value.Name);
    const auto found = valueIndex_.find(folded);
    if (found != valueIndex_.end()) {
        value.Name = values_[found->second].Name;
        values_[found->second] = std::move(value);
        return;
    }
    valueIndex_.emplace(folded, values_.size());
    values_.push_back(std::move(value));
}

bool RegistryKey::RemoveValue(const std::string& name) {
    const auto found = valueIndex_.find(ToUpperAscii(name));
    if (found == valueIndex_.end()) return false;
    values_.erase(values_.begin() + static_cast<std::ptrdiff_t>(found->second));
    Reindex(valueIndex_, values_, [](const RegistryValue& v) { return v.Name; });
    return true;
}

RegistryKey* RegistryKey::FindSubkey(const std::string& name) const {
    const auto found = subkeyIndex_.find(ToUpperAscii(name));
    return found == subkeyIndex_.end() ? nullptr : subkeys_[found->second].get();
}

RegistryKey& RegistryKey::MakeSubkey(const std::string& name) {
    if (RegistryKey* existing = FindSubkey(name)) return *existing;
    subkeyIndex_.emplace(ToUpperAscii(name), subkeys_.size());
    subkeys_.push_back(std::make_unique<RegistryKey>(name));
    return *subkeys_.back();
}

bool RegistryKey::RemoveSubkey(const std::string& name) {
    const auto found = subkeyIndex_.find(ToUpperAscii(name));
    if (found == subkeyIndex_.end()) return false;
    subkeys_.erase(subkeys_.begin() + static_cast<std::ptrdiff_t>(found->second));
    Reindex(subkeyIndex_, subkeys_, [](const std::unique_ptr<RegistryKey>& k) { return k->Name(); });
    return true;
}

void RegistryKey::Clear() {
    values_.clear();
    valueIndex_.clear();
    subkeys_.clear();
    subkeyIndex_.clear();
}

// ---- RegistryTree ---------------------------------------------------------

const RegistryKey* RegistryTree::Find(HiveRoot root, const std::vector<std::string>& path) const {
    return const_cast<RegistryTree*>(this)->Find(root, path);
}

RegistryKey* RegistryTree::Find(HiveRoot root, const std::vector<std::string>& path) {
    RegistryKey* key = &Root(root);
    for (const std::string& part : path) {
        key = key->FindSubkey(part);
        if (key == nullptr) return nullptr;
    }
    return key;
}

RegistryKey& RegistryTree::Make(HiveRoot root, const std::vector<std::string>& path) {
    RegistryKey* key = &Root(root);
    for (const std::string& part : path) key = &key->MakeSubkey(part);
    return *key;
}

bool RegistryTree::Remove(HiveRoot root, const std::vector<std::string>& path) {
    if (path.empty()) return false;
    RegistryKey* parent = Find(root, std::vector<std::string>(path.begin(), path.end() - 1));
    return parent != nullptr && parent->RemoveSubkey(path.back());
}

void RegistryTree::Clear() {
    CurrentUser.Clear();
    LocalMachine.Clear();
}

void ApplyChanges(RegistryTree& tree, const std::vector<RegistryChange>& changes) {
    for (const RegistryChange& change : changes) {
        switch (change.What) {
            case RegistryChange::Action::MakeKey:
                tree.Make(change.Root, change.Path);
                break;
            case RegistryChange::Action::RemoveKey:
                tree.Remove(change.Root, change.Path);
                break;
            case RegistryChange::Action::SetValue:
                tree.Make(change.Root, change.Path).SetValue(change.Value);
                break;
            case RegistryChange::Action::RemoveValue:
                if (RegistryKey* key = tree.Find(change.Root, change.Path)) key->RemoveValue(change.Value.Name);
                break;
        }
    }
}

// ---- text forms -----------------------------------------------------------

std::vector<RegistryChange> ReadRegedit4(const std::string& text, bool asHive) {
    const std::vector<TextLine> lines = SplitLines(text);
    if (lines.empty() || Trim(lines[0].Text) != "REGEDIT4") Fault(1, "the first line is not \"REGEDIT4\"");
    if (asHive) {
        for (const TextLine& line : lines)
            if (line.Text.find('\0') != std::string::npos) Fault(line.Number, "the line holds a NUL byte");
        if (!lines.back().Ended)
            Fault(lines.back().Number, "the last line has no line end, so the file was cut short");
    }
    std::vector<RegistryChange> changes;
    bool inKey = false;      // a "[KEY]" section is open
    bool inRemoval = false;  // a "[-KEY]" section: its value lines are ignored, as regedit does
    HiveRoot root = HiveRoot::CurrentUser;
    std::vector<std::string> path;
    for (std::size_t index = 1; index < lines.size(); ++index) {
        const std::string line = Trim(lines[index].Text);
        const int number = lines[index].Number;
        if (line.empty() || line[0] == ';') continue;
        if (line[0] == '[') {
            ParsedKey key = ReadRegedit4KeyLine(line, number);
            RegistryChange change;
            change.What = key.Remove ? RegistryChange::Action::RemoveKey : RegistryChange::Action::MakeKey;
            change.Root = key.Root;
            change.Path = key.Path;
            changes.push_back(change);
            inKey = !key.Remove;
            inRemoval = key.Remove;
            root = key.Root;
            path = std::move(key.Path);
            continue;
        }
        if (line[0] != '"' && line[0] != '@') Fault(number, "the line is neither a key, a value nor a comment");
        if (!inKey && !inRemoval) Fault(number, "a value comes before any key");
        RegistryChange change;
        change.Root = root;
        change.Path = path;
        std::size_t at = 1;
        if (line[0] == '"') at = ReadRegedit4Quoted(line, 0, change.Value.Name, number);
        while (at < line.size() && IsBlank(line[at])) ++at;
        if (at >= line.size() || line[at] != '=') Fault(number, "a value name is not followed by \"=\"");
        change = ReadRegedit4Data(lines, index, line.substr(at + 1), std::move(change));
        if (inKey) changes.push_back(std::move(change));
    }
    return changes;
}

std::string WriteRegedit4(const RegistryTree& tree) {
    std::string out = "REGEDIT4\r\n\r\n";
    out.reserve(1 << 16);
    WriteKey(out, tree.CurrentUser, tree.CurrentUser.Name(), true);
    WriteKey(out, tree.LocalMachine, tree.LocalMachine.Name(), true);
    return out;
}

void ReadWineRegistry(const std::string& text, RegistryKey& root) {
    const std::vector<TextLine> lines = SplitLines(text);
    if (lines.empty() || Trim(lines[0].Text) != "WINE REGISTRY Version 2")
        Fault(1, "the first line is not \"WINE REGISTRY Version 2\"");
    RegistryKey* key = nullptr;
    for (std::size_t index = 1; index < lines.size(); ++index) {
        const std::string& line = lines[index].Text;
        const int number = lines[index].Number;
        if (Trim(line).empty() || line[0] == ';' || line[0] == '#') continue;
        if (line[0] == '[') {
            // "[Software\\DVD Decrypter] 1700000000": escaped name, then a time.
            const std::size_t close = FindUnescaped(line, 1, ']');
            if (close == std::string::npos) Fault(number, "a key line has no closing \"]\"");
            key = &root;
            for (const std::string& part : SplitKeyPath(UnescapeWine(line.substr(1, close - 1), number)))
                key = &key->MakeSubkey(part);
            continue;
        }
        if (line[0] != '"' && line[0] != '@') Fault(number, "the line is neither a key, a value nor a comment");
        if (key == nullptr) Fault(number, "a value comes before any key");
        ReadWineValue(lines, index, *key);
    }
}

std::vector<std::string> SplitKeyPath(const std::string& key) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    while (start <= key.size()) {
        std::size_t slash = key.find('\\', start);
        if (slash == std::string::npos) slash = key.size();
        if (slash > start) parts.push_back(key.substr(start, slash - start));
        start = slash + 1;
    }
    return parts;
}

std::vector<std::string> ClassesRootPrefix() { return {"Software", "Classes"}; }

}  // namespace kestrova::platform
