// Host files as sequential byte streams (byte_streams.h): large buffered
// reads and writes through POSIX descriptors, for the demultiplexer's
// single pass over a VOB. Paths are drive paths of the job, mapped through
// the PathSpace; messages name the drive path and the host path.
#pragma once

#include <memory>
#include <string>

#include "platform/byte_streams.h"
#include "platform/path_space.h"

namespace kestrova::platform {

// Opens a file for reading; throws Error naming it when it cannot.
std::unique_ptr<ByteReader> OpenFileReader(const PathSpace& paths, const std::string& path);

enum class WriteMode {
    Replace,  // make the file anew, empty
    Append,   // keep what it holds and write behind it (made when missing)
};

// Opens a file for writing; its folder must exist.
std::unique_ptr<ByteWriter> OpenFileWriter(const PathSpace& paths, const std::string& path, WriteMode mode);

}  // namespace kestrova::platform
