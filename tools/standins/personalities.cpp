// The table of the stand-in's personalities. A new tool adds its own file
// with its Run function and one row here.
#include "standin.h"

#include <array>

namespace kestrova::standin {

namespace {

constexpr std::array<PersonalityEntry, 4> kPersonalities = {{
    {"sleep", RunSleep, false, "sleep MS [FILE]      waits MS milliseconds, then writes FILE"},
    {"touch", RunTouch, false, "touch FILE...        makes each file (empty) where it is missing"},
    {"copy", RunCopy, true, "copy SOURCE TARGET   copies the bytes of SOURCE to TARGET"},
    {"program-folder", RunProgramFolder, false,
     "program-folder DIR   lays out the tools the pre-flight checks look for in host folder DIR"},
}};

}  // namespace

std::span<const PersonalityEntry> Personalities() { return kPersonalities; }

}  // namespace kestrova::standin
