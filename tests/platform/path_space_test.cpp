// Drive-letter path space: mapping both ways and Windows-style name lookup.
#include "platform/path_space.h"

#include <gtest/gtest.h>

#include "platform/error.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

TEST(PathSpace, DefaultZRootLongestRootWinsAndDriveRootIsThreeCharacters) {
    PathSpace plain;
    EXPECT_EQ(plain.ToHost("z:/tmp/./x/../job"), "/tmp/job");
    EXPECT_EQ(plain.ToWindows("/tmp/job/"), "Z:\\tmp\\job");
    EXPECT_EQ(plain.ToWindows("/"), "Z:\\");

    test::TempFolder temp;
    PathSpace space = temp.Drives();
    space.AddDrives("L:=" + temp.Host("inner") + "@cdrom");
    EXPECT_EQ(space.ToWindows(temp.Host()), "K:\\");
    EXPECT_EQ(space.ToWindows(temp.Host("inner/VIDEO_TS")), "L:\\VIDEO_TS");
    EXPECT_EQ(space.ToWindows(temp.Host("inner2")), "K:\\inner2") << "a sibling that starts like the root";
    space.AddDrives("M:=" + temp.Host() + "//inner/../other/./");
    EXPECT_EQ(space.ToWindows(temp.Host("other/a")), "M:\\a");
    EXPECT_EQ(space.Drives()[1].Kind, DriveKind::CDRom);
}

TEST(PathSpace, ExistingNamesAreFoundWithoutRegardToCase) {
    test::TempFolder temp;
    temp.Write("Disc/VIDEO_TS/Menü Ä.txt", "y");
    PathSpace space = temp.Drives();
    // Non-ASCII names keep their bytes; ASCII letters around them fold; a new name is kept as spelled.
    EXPECT_EQ(space.ToHost("K:\\DISC\\video_ts\\Menü Ä.TXT"), temp.Host("Disc/VIDEO_TS/Menü Ä.txt"));
    EXPECT_EQ(space.ToHost("K:\\disc\\New Folder\\A.VOB"), temp.Host("Disc/New Folder/A.VOB"));
}

TEST(PathSpace, BadEntriesAreRefusedAndTheDriveListRoundTrips) {
    PathSpace space;
    EXPECT_THROW(space.ToHost("relative\\path"), Error);
    try {
        space.ToHost("Q:\\x");
        FAIL() << "an unmapped drive was mapped";
    } catch (const Error& e) {
        EXPECT_NE(std::string(e.what()).find("Q:"), std::string::npos) << e.what();
    }
    for (const char* bad : {"K=/tmp", "K:=relative", "K:=/tmp@floppy"}) EXPECT_THROW(space.AddDrives(bad), Error);
    space.AddDrives("K:=/tmp/job;D:=/media/dvd@cdrom;");
    PathSpace copy;
    copy.AddDrives(space.DriveList());
    ASSERT_EQ(copy.Drives().size(), 3u);
    EXPECT_EQ(copy.Drives()[0].Kind, DriveKind::CDRom);
    EXPECT_EQ(copy.Drives()[1].HostRoot, "/tmp/job");
}

}  // namespace
}  // namespace kestrova::platform
