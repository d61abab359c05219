// Drive-letter path space: mapping both ways and Windows-style name lookup.
#include "platform/path_space.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

TEST(PathSpace, DefaultMapsZToRootBothWays) {
    PathSpace space;
    EXPECT_EQ(space.ToHost("Z:\\tmp\\job"), "/tmp/job");
    EXPECT_EQ(space.ToHost("z:/tmp/./x/../job"), "/tmp/job");
    EXPECT_EQ(space.ToWindows("/tmp/job/"), "Z:\\tmp\\job");
    EXPECT_EQ(space.ToWindows("/"), "Z:\\");
}

TEST(PathSpace, LongestRootWinsAndDriveRootIsThreeCharacters) {
    test::TempFolder temp;
    PathSpace space = temp.Drives();
    space.AddDrives("L:=" + temp.Host("inner") + "@cdrom");
    EXPECT_EQ(space.ToWindows(temp.Host()), "K:\\");
    EXPECT_EQ(space.ToWindows(temp.Host("a/b")), "K:\\a\\b");
    EXPECT_EQ(space.ToWindows(temp.Host("inner/VIDEO_TS")), "L:\\VIDEO_TS");
    // A sibling whose name merely starts like the root is not inside it.
    EXPECT_EQ(space.ToWindows(temp.Host("inner2")), "K:\\inner2");
    // A root spelled with "//", "." or ".." is the same root.
    space.AddDrives("M:=" + temp.Host() + "//inner/../other/./");
    EXPECT_EQ(space.Drives()[2].HostRoot, temp.Host("other"));
    EXPECT_EQ(space.ToWindows(temp.Host("other/a")), "M:\\a");
    ASSERT_EQ(space.Drives()[1].Letter, 'L');
    EXPECT_EQ(space.Drives()[1].Kind, DriveKind::CDRom);
}

TEST(PathSpace, ExistingNamesAreFoundWithoutRegardToCase) {
    test::TempFolder temp;
    temp.Write("Disc/VIDEO_TS/VTS_01_0.IFO", "x");
    temp.Write("Disc/VIDEO_TS/Menü Ä.txt", "y");
    PathSpace space = temp.Drives();
    EXPECT_EQ(space.ToHost("k:\\disc\\video_ts\\vts_01_0.ifo"), temp.Host("Disc/VIDEO_TS/VTS_01_0.IFO"));
    // Non-ASCII names keep their bytes; ASCII letters around them still fold.
    EXPECT_EQ(space.ToHost("K:\\DISC\\video_ts\\Menü Ä.TXT"), temp.Host("Disc/VIDEO_TS/Menü Ä.txt"));
    // A name that does not exist yet is kept as spelled, below the real folder.
    EXPECT_EQ(space.ToHost("K:\\disc\\New Folder\\A.VOB"), temp.Host("Disc/New Folder/A.VOB"));
}

TEST(PathSpace, BadPathsAndEntriesAreRefusedWithTheirText) {
    PathSpace space;
    EXPECT_THROW(space.ToHost("relative\\path"), Error);
    try {
        space.ToHost("Q:\\x");
        FAIL();
    } catch (const Error& e) {
        EXPECT_NE(std::string(e.what()).find("Q:"), std::string::npos);
    }
    EXPECT_THROW(space.AddDrives("K=/tmp"), Error);
    EXPECT_THROW(space.AddDrives("K:=relative"), Error);
    EXPECT_THROW(space.AddDrives("K:=/tmp@floppy"), Error);
}

TEST(PathSpace, DriveListRoundTrips) {
    PathSpace space;
    space.AddDrives("K:=/tmp/job;D:=/media/dvd@cdrom;");
    PathSpace copy;
    copy.AddDrives(space.DriveList());
    ASSERT_EQ(copy.Drives().size(), 3u);
    EXPECT_EQ(copy.Drives()[0].Letter, 'D');
    EXPECT_EQ(copy.Drives()[0].Kind, DriveKind::CDRom);
    EXPECT_EQ(copy.Drives()[1].HostRoot, "/tmp/job");
}

}  // namespace
}  // namespace kestrova::platform
