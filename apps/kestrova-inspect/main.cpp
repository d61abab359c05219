// kestrova-inspect: prints what the reader sees of a VIDEO_TS folder.
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc < 2 || std::string(argv[1]) == "--help" || std::string(argv[1]) == "-h") {
        std::cout << "Usage: kestrova-inspect [--json] VIDEO_TS_FOLDER\n"
                     "\n"
                     "Prints the DVD model of a VIDEO_TS folder: per domain its attributes,\n"
                     "language units, PGCs, commands, cells and the title map.\n";
        return argc < 2 ? 2 : 0;
    }
    std::cerr << "kestrova-inspect: the IFO reader is not built yet; only --help works in this version.\n";
    return 2;
}
