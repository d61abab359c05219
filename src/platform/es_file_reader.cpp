// Sequential host-file reading: see es_file_reader.h.
#include "platform/es_file_reader.h"

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "platform/error.h"

namespace kestrova::platform {

namespace {

constexpr std::size_t kBlockSize = 1 << 20;

}  // namespace

EsFileReader::EsFileReader(const std::string& hostPath, const char* kind) : path_(hostPath), kind_(kind) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(hostPath, ec)) {
        throw Error("Cannot open the " + kind_ + " \"" + hostPath + "\": " +
                    (std::filesystem::exists(hostPath, ec) ? "it is not a file" : "there is no such file"));
    }
    size_ = std::filesystem::file_size(hostPath, ec);
    if (ec) throw Error("Cannot read the size of the " + kind_ + " \"" + hostPath + "\": " + ec.message());
    file_ = std::fopen(hostPath.c_str(), "rb");
    if (file_ == nullptr) {
        throw Error("Cannot open the " + kind_ + " \"" + hostPath + "\": " + std::strerror(errno));
    }
    // Large blocks: the scanners read every byte once, front to back.
    std::setvbuf(file_, nullptr, _IOFBF, kBlockSize);
}

EsFileReader::~EsFileReader() {
    if (file_ != nullptr) std::fclose(file_);
}

std::size_t EsFileReader::Read(std::span<std::uint8_t> buffer) {
    if (buffer.empty()) return 0;
    const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), file_);
    if (count < buffer.size() && std::ferror(file_) != 0) {
        throw Error("Cannot read the " + kind_ + " \"" + path_ + "\" at offset " + std::to_string(position_ + count) +
                    ": " + std::strerror(errno));
    }
    position_ += count;
    return count;
}

}  // namespace kestrova::platform
