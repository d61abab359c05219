// The names a Muxman script gives a disc's objects: the ones a command's
// target and the object it names must spell alike.
#include "muxman/mxp_names.h"

#include <gtest/gtest.h>

#include "support/job_fixture.h"

namespace kestrova {
namespace {

TEST(MuxmanNames, DomainTextIsPaddedTitlesAndScenesAreNot) {
    EXPECT_EQ(MuxmanPgcName(1, "English", 1), "EnglishTitleMenu");
    EXPECT_EQ(MuxmanPgcName(1, "English", 2), "VMGEnglishPGC2");
    EXPECT_EQ(MuxmanPgcName(3, "French", 1), "VTS002FrenchPGC1");
    EXPECT_EQ(MuxmanCellName(3, "French", 1, 4), "VTS002FrenchPGC1C004");
    EXPECT_EQ(MuxmanTitleProgramName(12, 3, 1, 2), "VTS12T3PGC1PG2");
    EXPECT_EQ(MuxmanSceneName(3, 1, 2), "VTS2_001_Scene_002");
    EXPECT_EQ(MuxmanSceneName(1, 4, 1), "VMG_004_Scene_001");
    EXPECT_EQ(MuxmanSegmentName(3, 7), "VTS2_VOBID7");
}

// Two codes of one language, and a name with the separators of a command
// line in it, still give every unit of a domain names of its own.
TEST(MuxmanNames, LanguageNamesAreCutAndKeptApart) {
    test::JobFixture f;
    VTS_Properties& vmg = f.job.DiscModel.Add();
    for (const char* code : {"iw", "he", "", "om", "bn"}) {
        Language_Properties& unit = vmg.Language.Add();
        unit.Language_Folder = code;
        unit.PGC_Quantity = 1;
    }
    const std::string hebrew = MuxmanLanguage(f.job, 1, 1);
    EXPECT_EQ(MuxmanLanguage(f.job, 1, 2), hebrew + "He");
    EXPECT_EQ(MuxmanLanguage(f.job, 1, 3), "English");
    EXPECT_EQ(MuxmanLanguage(f.job, 1, 4), "Oromo");
    EXPECT_EQ(MuxmanLanguage(f.job, 1, 5), "Bengali");
}

}  // namespace
}  // namespace kestrova
