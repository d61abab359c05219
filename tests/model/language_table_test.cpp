// The language table: codes to names and the selection list.
#include "model/language_table.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kestrova {
namespace {

TEST(LanguageTable, CodesGiveNamesAndUnknownCodesGiveEnglish) {
    const CLsDVD table;
    EXPECT_EQ(table.priv_LangCodeToLangName("fr"), "French");
    EXPECT_EQ(table.priv_LangCodeToLangName("xx"), "English");
    EXPECT_EQ(table.priv_LangCodeToLangName("FR"), "English") << "codes are lower case on the disc";
    EXPECT_EQ(table.priv_LangCodeToLangName(""), "English") << "the empty code of the last row is no match";
}

TEST(LanguageTable, SelectionListIsSortedWithoutRepeats) {
    const CLsDVD table;
    std::vector<std::string> names;
    for (int i = 0; i < table.Language_Count(); ++i) names.push_back(table.Language_Array(i));
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_NE(std::find(names.begin(), names.end(), "Not Specified"), names.end());
    EXPECT_EQ(table.Language_Array(table.Language_Count()), "");
    EXPECT_EQ(table.Language_Array(-1), "");
}

}  // namespace
}  // namespace kestrova
