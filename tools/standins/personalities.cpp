// The table of the stand-in's personalities. A new tool adds its own file
// with its Run function and one row here.
#include "standin.h"

#include <array>

namespace kestrova::standin {

namespace {

constexpr std::array<PersonalityEntry, 7> kPersonalities = {{
    {"sleep", RunSleep, false, "sleep MS [FILE]      waits MS milliseconds, then writes FILE"},
    {"touch", RunTouch, false, "touch FILE...        makes each file (empty) where it is missing"},
    {"copy", RunCopy, true, "copy SOURCE TARGET   copies the bytes of SOURCE to TARGET"},
    {"program-folder", RunProgramFolder, false,
     "program-folder DIR   lays out the tools the pre-flight checks look for in host folder DIR"},
    {"dvd2avirb", RunDvd2avi, true,
     "dvd2avirb -IA=1 -FO=0 -Cs=2 -YR=1 -TN=1 -IF=[M2V] -DRC=0 -OF=[OUT] -exit\n"
     "                       indexes M2V into OUT.d2v (DVD2AVI project) and OUT.log"},
    {"dvd2avidg", RunDvd2avi, true, "dvd2avidg ...        as dvd2avirb"},
    {"DGIndex", RunDvd2avi, true,
     "DGIndex -IA=1 -FO=0 -YR=1 -TN=1 -IF=[M2V] -DRC=0 -OF=[OUT] -exit\n"
     "                       indexes M2V into OUT.d2v (DGIndex project) and OUT.log"},
}};

}  // namespace

std::span<const PersonalityEntry> Personalities() { return kPersonalities; }

}  // namespace kestrova::standin
