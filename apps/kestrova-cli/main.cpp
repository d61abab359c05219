// kestrova-cli: runs a re-authoring job without a window, unattended.
#include <iostream>
#include <string>

namespace {

const char* const kUsage =
    "Usage: kestrova-cli [Load=\"DRIVE\" | Folder=\"FOLDER\" | /TOKEN[=VALUE] ... | /INIFILE FILE]\n"
    "\n"
    "Re-authors the menus of a DVD-Video file set without a window. Questions\n"
    "take their unattended answer and are written to the run log.\n"
    "\n"
    "Tokens (the first four letters count, in any case):\n"
    "  /STAR               start the job by itself\n"
    "  /PATH=\"FOLDER\"      output (working) folder\n"
    "  /DRIV=LETTER        source drive\n"
    "  /PAUS /MINI /DEIN   pause before encoding, minimise, deinterlace\n"
    "  /CCEO /CCEV /CCER /REJI  encoder choice\n"
    "  /COMP=N /PASS=N /AVEB=N /THRE=N  encoder numbers and size threshold\n"
    "  /INIFILE FILE       read the job from an INI file\n"
    "\n"
    "Environment: KESTROVA_DRIVES=\"K:=/host/folder;D:=/media/dvd@cdrom\" maps drive\n"
    "letters to host folders (Z: is \"/\").\n";

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h") {
        std::cout << kUsage;
        return argc < 2 ? 2 : 0;
    }
    std::cerr << "kestrova-cli: the job spine is not built yet; only --help works in this version.\n";
    return 2;
}
