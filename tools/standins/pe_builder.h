// Small but valid Windows program files (PE32 or PE32+ with one .rsrc
// section) for tests: with a version resource carrying a fixed file and
// product version and a string table, or without one. Used to lay out a
// program folder ("DVDDecrypter.exe" version 3.5.4.0 ...) so that version
// checks read real resources.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>

namespace kestrova::pe {

struct PeVersion {
    PeVersion(std::uint16_t major, std::uint16_t minor, std::uint16_t build, std::uint16_t revision,
              std::string fileDescription = "", std::string productName = "")
        : Major(major), Minor(minor), Build(build), Revision(revision),
          FileDescription(std::move(fileDescription)), ProductName(std::move(productName)) {}

    std::uint16_t Major = 0;
    std::uint16_t Minor = 0;
    std::uint16_t Build = 0;
    std::uint16_t Revision = 0;
    std::string FileDescription;  // UTF-8
    std::string ProductName;      // UTF-8
    // The product version; the file version when not given.
    std::optional<std::array<std::uint16_t, 4>> ProductVersion;
    bool Pe32Plus = false;  // 64-bit headers (PE32+) instead of PE32
};

// The bytes of a program file whose resources are an icon, the version
// resource and a manifest.
std::string BuildPeWithVersion(const PeVersion& version);

// The bytes of a program file whose resources are an icon and a manifest,
// but no version resource.
std::string BuildPeWithoutVersion();

}  // namespace kestrova::pe
