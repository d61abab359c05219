// A fresh host folder for one test, removed with everything in it when the
// test ends, and a path space whose drive K: maps to it.
#pragma once

#include <string>

#include "platform/path_space.h"

namespace kestrova::test {

class TempFolder {
public:
    TempFolder();
    ~TempFolder();
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    // Absolute host path, no trailing "/".
    const std::string& Host() const { return host_; }
    // Host path of a relative name inside ("a/b.txt").
    std::string Host(const std::string& relative) const { return host_ + "/" + relative; }

    // Writes a host file (making its folders) with the given bytes.
    void Write(const std::string& relative, const std::string& bytes) const;
    std::string Read(const std::string& relative) const;
    bool Exists(const std::string& relative) const;

    // A path space with the default Z: and K: mapped to this folder.
    platform::PathSpace Drives() const;

private:
    std::string host_;
};

}  // namespace kestrova::test
