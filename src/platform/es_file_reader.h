// A buffered sequential reader of one host file, for scanners that walk an
// elementary stream from its first byte to its last (the MPEG video scanner
// of src/assets reads through it). It opens, reads in large blocks and
// reports failures as sentences naming the file.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <string>
#include <vector>

namespace kestrova::platform {

class EsFileReader {
public:
    // Opens the host file. Throws Error naming it when it is missing, a
    // folder, or cannot be opened; `kind` names what it should hold in those
    // sentences ("the video file ...").
    explicit EsFileReader(const std::string& hostPath, const char* kind = "video file");
    ~EsFileReader();
    EsFileReader(const EsFileReader&) = delete;
    EsFileReader& operator=(const EsFileReader&) = delete;

    const std::string& Path() const { return path_; }
    // The size of the file when it was opened.
    std::uint64_t Size() const { return size_; }
    // Bytes handed out so far.
    std::uint64_t Position() const { return position_; }

    // Fills as much of `buffer` as the file still holds and returns how
    // many bytes that was; 0 at the end. Throws Error naming the file and
    // the offset when the read fails.
    std::size_t Read(std::span<std::uint8_t> buffer);

private:
    std::string path_;
    std::string kind_;
    std::FILE* file_ = nullptr;
    std::uint64_t size_ = 0;
    std::uint64_t position_ = 0;
};

}  // namespace kestrova::platform
