// Sequential byte streams: the two small interfaces through which the
// demultiplexer and the scanners of VOB files read and write bytes without
// touching the operating system themselves. stream_files.h has the host
// file implementations; tests use memory ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

namespace kestrova::platform {

// Reads a stream from its start to its end, in order.
class ByteReader {
public:
    virtual ~ByteReader() = default;

    // Fills `into` from the current position and returns the count placed.
    // Less than the whole span only at the end of the stream; 0 at the end.
    // Throws Error naming the stream when the read fails.
    virtual std::size_t Read(std::span<std::uint8_t> into) = 0;

    // The stream's name for messages: the path the caller gave.
    virtual const std::string& Name() const = 0;
};

// Writes a stream at its end; a few bytes already written may be rewritten
// in place (a header whose sizes are known only at the end).
class ByteWriter {
public:
    virtual ~ByteWriter() = default;

    virtual void Write(std::span<const std::uint8_t> bytes) = 0;

    // Replaces bytes already written, from `offset` on; the range must lie
    // inside what was written. Throws Error otherwise.
    virtual void Rewrite(std::uint64_t offset, std::span<const std::uint8_t> bytes) = 0;

    // Bytes in the stream so far (those it held before an append included).
    virtual std::uint64_t Size() const = 0;

    // Writes out what is buffered and closes; throws Error when that fails.
    // A writer destroyed without Close() closes quietly.
    virtual void Close() = 0;

    virtual const std::string& Name() const = 0;
};

}  // namespace kestrova::platform
