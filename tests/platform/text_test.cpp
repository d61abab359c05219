// The shared text rules: Windows path names and the numbers texts begin with.
#include "platform/text.h"

#include <gtest/gtest.h>

#include <limits>

namespace kestrova::platform {
namespace {

TEST(Text, PathNamesTakeTheLastNameOnly) {
    EXPECT_EQ(FileNameOf("K:\\A.DIR\\VTS_01_0.IFO"), "VTS_01_0.IFO");
    EXPECT_EQ(FileNameOf("C:x.exe"), "x.exe");
    EXPECT_EQ(WithoutExtension("menu.sst.Original.sst"), "menu.sst.Original");
    EXPECT_EQ(WithoutExtension("K:\\A.DIR\\FILE"), "K:\\A.DIR\\FILE") << "a dot in a folder is no extension";
    EXPECT_EQ(WithExtension("K:/x/VTS_01_0.IFO", ".VOB"), "K:/x/VTS_01_0.VOB");
    EXPECT_EQ(JoinPath("K:\\", "JOB"), "K:\\JOB");
}

TEST(Text, LeadingNumbersStopAtTheFirstOtherCharacterAndHoldAtTheLimit) {
    EXPECT_EQ(LeadingWholeNumber("  -42abc"), -42);
    EXPECT_EQ(LeadingWholeNumber("x1"), 0);
    EXPECT_EQ(LeadingWholeNumber("99999999999999999999999"), std::numeric_limits<std::int64_t>::max());
    EXPECT_DOUBLE_EQ(LeadingNumber(" 96.5%"), 96.5);
}

}  // namespace
}  // namespace kestrova::platform
