// The language table: codes, names, the selection list and the matrices.
#include "model/language_table.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace kestrova {
namespace {

TEST(LanguageTable, CodesGiveNamesAndUnknownCodesGiveEnglish) {
    const CLsDVD table;
    EXPECT_EQ(table.priv_LangCodeToLangName("fr"), "French");
    EXPECT_EQ(table.priv_LangCodeToLangName("bn"), "Bengali;Bangla");
    EXPECT_EQ(table.priv_LangCodeToLangName("lv"), "Latvian,Lettish");
    EXPECT_EQ(table.priv_LangCodeToLangName("zu"), "Zulu");
    EXPECT_EQ(table.priv_LangCodeToLangName("xx"), "English");
    EXPECT_EQ(table.priv_LangCodeToLangName("FR"), "English") << "codes are lower case on the disc";
    EXPECT_EQ(table.priv_LangCodeToLangName(""), "English");

    const auto& codes = table.SpareLanguage();
    EXPECT_STREQ(codes[0].Code, "  ");
    EXPECT_STREQ(codes[143].Name, "Not Specified");
    EXPECT_STREQ(codes[25].Code, "en");
}

TEST(LanguageTable, SelectionListIsSortedWithoutRepeats) {
    const CLsDVD table;
    EXPECT_EQ(table.Language_Count(), 140);
    std::vector<std::string> names;
    for (int i = 0; i < table.Language_Count(); ++i) names.push_back(table.Language_Array(i));
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::adjacent_find(names.begin(), names.end()), names.end());
    EXPECT_EQ(table.Language_Array(140), "");
}

TEST(LanguageTable, MatricesAreTheMpeg2Defaults) {
    const CLsDVD table;
    EXPECT_EQ(table.Intra()[0], 8);
    EXPECT_EQ(table.Intra()[63], 83);
    EXPECT_EQ(table.NonIntra()[0], 16);
    EXPECT_EQ(table.NonIntra()[31], 27);  // "19 20 21 22 23 24 26 27"
    EXPECT_EQ(table.NonIntra()[63], 33);
}

}  // namespace
}  // namespace kestrova
