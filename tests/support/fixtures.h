// The DVD-Video file sets the tests run on: made at test time by
// tests/fixtures/make-dvd-fixtures.sh with dvdauthor, spumux and ffmpeg into
// the build folder (the "dvd_fixtures" test does it before the suites that
// need them).
#pragma once

#include <string>
#include <vector>

namespace kestrova::test {

// The folder holding one sub-folder per disc (each with VIDEO_TS/ inside):
// $KESTROVA_FIXTURES when set, else the build's fixtures folder.
std::string FixtureRoot();

// Host paths of every disc's VIDEO_TS folder, in name order. Throws with a
// sentence saying how to make them when there are none.
std::vector<std::string> FixtureDiscs();

// The VIDEO_TS folder of one disc by name ("pal-vmg-buttons").
std::string FixtureDisc(const std::string& name);

}  // namespace kestrova::test
