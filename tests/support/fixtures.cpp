// Locating the fixture discs: see fixtures.h.
#include "support/fixtures.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>

namespace kestrova::test {

namespace fs = std::filesystem;

std::string FixtureRoot() {
    if (const char* root = std::getenv("KESTROVA_FIXTURES"); root != nullptr && *root != '\0') return root;
#ifdef KESTROVA_FIXTURE_DIR
    return KESTROVA_FIXTURE_DIR;
#else
    return "fixtures";
#endif
}

std::vector<std::string> FixtureDiscs() {
    std::vector<std::string> discs;
    std::error_code ec;
    for (fs::directory_iterator it(FixtureRoot(), ec), end; !ec && it != end; it.increment(ec)) {
        if (fs::is_directory(it->path() / "VIDEO_TS")) discs.push_back((it->path() / "VIDEO_TS").string());
    }
    std::sort(discs.begin(), discs.end());
    if (discs.empty()) {
        throw std::runtime_error("No fixture discs in " + FixtureRoot() +
                                 ": run the dvd_fixtures test (ctest -R dvd_fixtures) or "
                                 "tests/fixtures/make-dvd-fixtures.sh into that folder");
    }
    return discs;
}

std::string FixtureDisc(const std::string& name) {
    const fs::path disc = fs::path(FixtureRoot()) / name / "VIDEO_TS";
    if (!fs::is_directory(disc)) throw std::runtime_error("Fixture disc " + disc.string() + " is missing");
    return disc.string();
}

}  // namespace kestrova::test
