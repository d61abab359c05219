// "program-folder HOSTDIR": lays out the files the pre-flight checks look
// for, as an installation has them: revpulldown.exe and Muxman.exe beside
// the program, and "DVD Decrypter\DVDDecrypter.exe" with a version resource
// of 3.5.4.0. They are small PE files; when one is run, the launcher's tool
// table decides what runs in its place.
#include <filesystem>
#include <fstream>

#include "platform/error.h"
#include "standin.h"
#include "pe_builder.h"

namespace kestrova::standin {

namespace {

void WriteHostFile(const std::filesystem::path& path, const std::string& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    if (!out) throw Error("Cannot write " + path.string());
}

}  // namespace

int RunProgramFolder(const Invocation& call) {
    if (call.Arguments.size() != 1) throw Error("program-folder takes one host folder");
    const std::filesystem::path folder(call.Arguments[0]);
    WriteHostFile(folder / "revpulldown.exe", pe::BuildPeWithVersion({1, 0, 0, 0, "revpulldown"}));
    WriteHostFile(folder / "Muxman.exe", pe::BuildPeWithVersion({0, 15, 0, 0, "Muxman"}));
    WriteHostFile(folder / "DVD Decrypter" / "DVDDecrypter.exe",
                  pe::BuildPeWithVersion({3, 5, 4, 0, "DVD Decrypter"}));
    return 0;
}

}  // namespace kestrova::standin
