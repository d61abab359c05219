// Windows command-line splitting against the system parser's known answers,
// and quoting that splits back to the same arguments.
#include "platform/command_line.h"

#include <gtest/gtest.h>

#include "platform/error.h"

namespace kestrova::platform {
namespace {

struct SplitCase {
    const char* line;
    std::vector<std::string> tokens;
};

TEST(CommandLine, SplitsAsTheSystemParserDoes) {
    const SplitCase cases[] = {
        {"", {}},
        {"   \t ", {}},
        {"prog", {"prog"}},
        {"prog a  b\tc  ", {"prog", "a", "b", "c"}},
        // The program token keeps its backslashes and ends at the next quote.
        {"\"C:\\Program Files\\x.exe\" a", {"C:\\Program Files\\x.exe", "a"}},
        {"\"C:\\dir\\\" a", {"C:\\dir\\", "a"}},
        {"\"a b\"c d", {"a b", "c", "d"}},
        {"C:\\Program Files\\x.exe", {"C:\\Program", "Files\\x.exe"}},
        {"a\\\"b c", {"a\\\"b", "c"}},
        // 2n backslashes before a quote: n backslashes, the quote toggles.
        {"p a\\\\\\\\\"b c\" d e", {"p", "a\\\\b c", "d", "e"}},
        // 2n+1 backslashes before a quote: n backslashes and a literal quote.
        {"p a\\\\\\\"b c d", {"p", "a\\\"b", "c", "d"}},
        // Backslashes not before a quote stay.
        {"p a\\\\\\b d\"e f\"g h", {"p", "a\\\\\\b", "de fg", "h"}},
        {"p \"C:\\dir\\\\\" x", {"p", "C:\\dir\\", "x"}},
        // A doubled quote inside a quoted run is a literal quote and ends it.
        {"p a\"b\"\" c d", {"p", "ab\"", "c", "d"}},
        {"p \"a\"\"b\" c", {"p", "a\"b c"}},
        {"p \"\"\"a\"\"\"", {"p", "\"a\""}},
        // Empty arguments.
        {"p \"\"", {"p", ""}},
        {"p \"\" \"\"", {"p", "", ""}},
        // An unterminated quoted run takes the rest of the line.
        {"p \"a b", {"p", "a b"}},
        {"\"K:\\A B\\tool.exe\" -i \"K:\\x y\\in.vob\" -o K:\\out",
         {"K:\\A B\\tool.exe", "-i", "K:\\x y\\in.vob", "-o", "K:\\out"}},
        {"p -core( -input \"K:\\a b.ac3\" )", {"p", "-core(", "-input", "K:\\a b.ac3", ")"}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(SplitCommandLine(c.line), c.tokens) << "line: [" << c.line << "]";
    }
}

TEST(CommandLine, QuotingSplitsBackToTheSameArguments) {
    const std::vector<std::string> arguments = {
        "plain", "", "with blank", "tab\there", "quote\"inside", "\"", "trailing\\", "trailing blank \\",
        "C:\\dir\\", "back\\\\\"slashes", "\\\\server\\share", "ümlaut ß", "a\"\"b", "-o%2",
    };
    for (const auto& argument : arguments) {
        const std::string line = "prog " + QuoteArgument(argument);
        const auto tokens = SplitCommandLine(line);
        ASSERT_EQ(tokens.size(), 2u) << line;
        EXPECT_EQ(tokens[1], argument) << line;
    }
    EXPECT_EQ(QuoteArgument("K:\\JOB\\x.vob"), "K:\\JOB\\x.vob");
    EXPECT_EQ(QuoteArgument("K:\\A B\\"), "\"K:\\A B\\\\\"");

    std::vector<std::string> all = {"C:\\Program Files\\x.exe"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    EXPECT_EQ(SplitCommandLine(JoinCommandLine(all)), all);
    EXPECT_EQ(JoinCommandLine({"x.exe", "a b"}), "x.exe \"a b\"");
    EXPECT_THROW(QuoteProgram("bad\"name"), Error);
}

}  // namespace
}  // namespace kestrova::platform
