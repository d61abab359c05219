// Temporary folders for tests: see temp_folder.h.
#include "support/temp_folder.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace kestrova::test {

namespace fs = std::filesystem;

TempFolder::TempFolder() {
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base != nullptr && *base != '\0' ? base : "/tmp") + "/kestrova-test-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("Cannot make a temporary folder from " + pattern);
    host_ = pattern;
}

TempFolder::~TempFolder() {
    std::error_code ec;
    fs::remove_all(host_, ec);
}

void TempFolder::Write(const std::string& relative, const std::string& bytes) const {
    const fs::path path = Host(relative);
    fs::create_directories(path.parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << bytes;
    if (!out) throw std::runtime_error("Cannot write test file " + path.string());
}

std::string TempFolder::Read(const std::string& relative) const {
    std::ifstream in(Host(relative), std::ios::binary);
    if (!in) throw std::runtime_error("Cannot read test file " + Host(relative));
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

bool TempFolder::Exists(const std::string& relative) const { return fs::exists(Host(relative)); }

platform::PathSpace TempFolder::Drives() const {
    platform::PathSpace space;
    space.MapDrive('K', host_);
    return space;
}

}  // namespace kestrova::test
