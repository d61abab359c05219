// Reading a script's text in the Scenarist tests: lines at a depth, an
// item block by its name, and the grammar every script keeps.
#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <vector>

namespace kestrova::test {

// Script lines at a depth, each closed by CR LF.
inline std::string At(int depth, std::initializer_list<const char*> lines) {
    std::string text;
    for (const char* line : lines) text += std::string(static_cast<std::size_t>(depth), '\t') + line + "\r\n";
    return text;
}

// The depth-4 item block that holds the line "Name=<name>".
inline std::string Item(const std::string& text, const std::string& name) {
    const std::size_t at = text.find(At(5, {("Name=" + name).c_str()}));
    if (at == std::string::npos) return "no item " + name;
    const std::size_t begin = text.rfind("\t\t\t\tItem=", at);
    const std::size_t end = text.find("\r\n\t\t\t\t}\r\n", at);
    return text.substr(begin, end + 9 - begin);
}

inline void ExpectHas(const std::string& text, const std::string& part) {
    EXPECT_NE(text.find(part), std::string::npos) << part << "\nin:\n" << text;
}

// Every line ends in CR LF and is indented by tabs only; each brace stands
// at its opener's depth and every other line one deeper than the innermost
// open brace; all are closed, and only Version's (the first object) is "}    ".
inline void ExpectWellFormed(const std::string& text) {
    std::vector<std::size_t> open;
    std::size_t previous = 0;
    for (std::size_t at = 0, line = 1; at < text.size(); ++line) {
        const std::size_t end = text.find("\r\n", at);
        ASSERT_NE(end, std::string::npos) << "line " << line << " has no CR LF";
        const std::string statement = text.substr(at, end - at);
        const std::size_t depth = statement.find_first_not_of('\t');
        ASSERT_TRUE(depth != std::string::npos && statement[depth] != ' ' && statement.find('\n') == std::string::npos)
            << "line " << line << ": " << statement;
        const std::string body = statement.substr(depth);
        if (body == "{") {
            EXPECT_EQ(depth, previous) << "line " << line;
            open.push_back(depth);
        } else if (body == "}" || body == "}    ") {
            ASSERT_FALSE(open.empty()) << "line " << line;
            EXPECT_EQ(depth, open.back()) << "line " << line;
            EXPECT_TRUE(body == "}" || text.find("\r\nObject=") > at) << "line " << line;
            open.pop_back();
        } else {
            EXPECT_EQ(depth, open.empty() ? 0 : open.back() + 1) << "line " << line << ": " << statement;
        }
        previous = depth;
        at = end + 2;
    }
    EXPECT_TRUE(open.empty()) << open.size() << " blocks left open";
}

}  // namespace kestrova::test
