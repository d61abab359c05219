// Host files as sequential byte streams: see stream_files.h. The reader
// reads straight into the caller's buffer; the writer gathers small writes
// (one PES payload at a time) into a buffer of its own.
#include "platform/stream_files.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <system_error>
#include <vector>

#include "platform/error.h"

namespace kestrova::platform {

namespace {

constexpr std::size_t kWriteBuffer = 512 * 1024;

[[noreturn]] void Fail(const std::string& what, const std::string& path, const std::string& host, int error) {
    throw Error(what + " \"" + path + "\" (host \"" + host + "\"): " + std::generic_category().message(error));
}

int OpenRetrying(const std::string& host, int flags) {
    for (;;) {
        const int fd = ::open(host.c_str(), flags | O_CLOEXEC, 0666);
        if (fd >= 0 || errno != EINTR) return fd;
    }
}

class FileReader final : public ByteReader {
public:
    FileReader(std::string path, std::string host) : path_(std::move(path)), host_(std::move(host)) {
        fd_ = OpenRetrying(host_, O_RDONLY);
        if (fd_ < 0) Fail("Cannot open", path_, host_, errno);
        // Advice only: a failure costs speed, not correctness.
        static_cast<void>(::posix_fadvise(fd_, 0, 0, POSIX_FADV_SEQUENTIAL));
    }
    ~FileReader() override { ::close(fd_); }
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    std::size_t Read(std::span<std::uint8_t> into) override {
        std::size_t filled = 0;
        while (filled < into.size()) {
            const ssize_t got = ::read(fd_, into.data() + filled, into.size() - filled);
            if (got < 0) {
                if (errno == EINTR) continue;
                Fail("Cannot read", path_, host_, errno);
            }
            if (got == 0) break;
            filled += static_cast<std::size_t>(got);
        }
        return filled;
    }

    const std::string& Name() const override { return path_; }

private:
    std::string path_;
    std::string host_;
    int fd_ = -1;
};

class FileWriter final : public ByteWriter {
public:
    FileWriter(std::string path, std::string host, WriteMode mode) : path_(std::move(path)), host_(std::move(host)) {
        const int flags = O_WRONLY | O_CREAT | (mode == WriteMode::Replace ? O_TRUNC : 0);
        fd_ = OpenRetrying(host_, flags);
        if (fd_ < 0) Fail("Cannot write", path_, host_, errno);
        const off_t end = ::lseek(fd_, 0, SEEK_END);
        if (end < 0) {
            const int error = errno;
            ::close(fd_);
            Fail("Cannot write", path_, host_, error);
        }
        written_ = static_cast<std::uint64_t>(end);
        buffer_.reserve(kWriteBuffer);
    }
    ~FileWriter() override {
        if (fd_ >= 0) ::close(fd_);
    }
    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    void Write(std::span<const std::uint8_t> bytes) override {
        RequireOpen();
        if (buffer_.size() + bytes.size() > kWriteBuffer) Flush();
        if (bytes.size() >= kWriteBuffer) {
            WriteAll(bytes, written_);
        } else {
            buffer_.insert(buffer_.end(), bytes.begin(), bytes.end());
        }
        written_ += bytes.size();
    }

    void Rewrite(std::uint64_t offset, std::span<const std::uint8_t> bytes) override {
        RequireOpen();
        if (offset > written_ || bytes.size() > written_ - offset) {
            throw Error("Cannot rewrite " + std::to_string(bytes.size()) + " bytes at offset " +
                        std::to_string(offset) + " of \"" + path_ + "\": it holds " + std::to_string(written_) +
                        " bytes");
        }
        Flush();
        WriteAll(bytes, offset);
    }

    std::uint64_t Size() const override { return written_; }

    void Close() override {
        if (fd_ < 0) return;
        Flush();
        const int fd = fd_;
        fd_ = -1;
        if (::close(fd) != 0 && errno != EINTR) Fail("Cannot write", path_, host_, errno);
    }

    const std::string& Name() const override { return path_; }

private:
    void RequireOpen() const {
        if (fd_ < 0) throw Error("The file \"" + path_ + "\" was written after it was closed");
    }

    void Flush() {
        if (buffer_.empty()) return;
        WriteAll(buffer_, written_ - buffer_.size());
        buffer_.clear();
    }

    // Writes at an offset, so that a rewrite of the header and the stream's
    // end need no seek back and forth.
    void WriteAll(std::span<const std::uint8_t> bytes, std::uint64_t offset) {
        std::size_t done = 0;
        while (done < bytes.size()) {
            const ssize_t put = ::pwrite(fd_, bytes.data() + done, bytes.size() - done,
                                         static_cast<off_t>(offset + done));
            if (put < 0) {
                if (errno == EINTR) continue;
                Fail("Cannot write", path_, host_, errno);
            }
            done += static_cast<std::size_t>(put);
        }
    }

    std::string path_;
    std::string host_;
    int fd_ = -1;
    std::uint64_t written_ = 0;  // including what is still buffered
    std::vector<std::uint8_t> buffer_;
};

}  // namespace

std::unique_ptr<ByteReader> OpenFileReader(const PathSpace& paths, const std::string& path) {
    return std::make_unique<FileReader>(path, paths.ToHost(path));
}

std::unique_ptr<ByteWriter> OpenFileWriter(const PathSpace& paths, const std::string& path, WriteMode mode) {
    return std::make_unique<FileWriter>(path, paths.ToHost(path), mode);
}

}  // namespace kestrova::platform
