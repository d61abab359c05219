// Windows command-line splitting against the system parser's known answers,
// and quoting that splits back to the same arguments.
#include "platform/command_line.h"

#include <gtest/gtest.h>

#include "platform/error.h"

namespace kestrova::platform {
namespace {

TEST(CommandLine, SplitsAsTheSystemParserDoes) {
    // Program token: backslashes kept, ends at the next quote. Other tokens: 2n backslashes before a quote give n
    // and toggle, 2n+1 give n and a literal quote; a doubled quote in a quoted run is literal and ends the run.
    const struct {
        const char* line;
        std::vector<std::string> tokens;
    } cases[] = {
        {"", {}},
        {"   \t ", {}},
        {"prog a  b\tc  ", {"prog", "a", "b", "c"}},
        {"\"C:\\Program Files\\x.exe\" a", {"C:\\Program Files\\x.exe", "a"}},
        {"\"C:\\dir\\\" a", {"C:\\dir\\", "a"}},
        {"\"a b\"c d", {"a b", "c", "d"}},
        {"C:\\Program Files\\x.exe", {"C:\\Program", "Files\\x.exe"}},
        {"a\\\"b c", {"a\\\"b", "c"}},
        {"p a\\\\\\\\\"b c\" d e", {"p", "a\\\\b c", "d", "e"}},
        {"p a\\\\\\\"b c d", {"p", "a\\\"b", "c", "d"}},
        {"p a\\\\\\b d\"e f\"g h", {"p", "a\\\\\\b", "de fg", "h"}},
        {"p \"C:\\dir\\\\\" x", {"p", "C:\\dir\\", "x"}},
        {"p a\"b\"\" c d", {"p", "ab\"", "c", "d"}},
        {"p \"a\"\"b\" c", {"p", "a\"b c"}},
        {"p \"\"\"a\"\"\"", {"p", "\"a\""}},
        {"p \"\" \"\"", {"p", "", ""}},
        {"p \"a b", {"p", "a b"}},
        {"p -core( -input \"K:\\a b.ac3\" )", {"p", "-core(", "-input", "K:\\a b.ac3", ")"}},
    };
    for (const auto& c : cases) EXPECT_EQ(SplitCommandLine(c.line), c.tokens) << "line: [" << c.line << "]";
}

TEST(CommandLine, QuotingSplitsBackToTheSameArguments) {
    std::vector<std::string> all = {"C:\\Program Files\\x.exe", "plain", "", "with blank", "tab\there",
                                    "quote\"inside", "\"", "trailing\\", "trailing blank \\", "back\\\\\"slashes",
                                    "\\\\server\\share", "ümlaut ß", "a\"\"b", "-o%2"};
    for (std::size_t i = 1; i < all.size(); ++i) {
        EXPECT_EQ(SplitCommandLine("prog " + QuoteArgument(all[i])), (std::vector<std::string>{"prog", all[i]}));
    }
    EXPECT_EQ(SplitCommandLine(JoinCommandLine(all)), all);
    EXPECT_EQ(QuoteArgument("K:\\JOB\\x.vob"), "K:\\JOB\\x.vob");
    EXPECT_EQ(QuoteArgument("K:\\A B\\"), "\"K:\\A B\\\\\"");
    EXPECT_THROW(QuoteProgram("bad\"name"), Error);
}

}  // namespace
}  // namespace kestrova::platform
