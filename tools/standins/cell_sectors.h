// The sectors of a PGC's cells in a VOB, read as one stream: what vsrip
// rips, subpictures and captions alike.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/byte_streams.h"
#include "platform/path_space.h"

namespace kestrova::standin {

// Sector ranges of the VOB read one after the other as one stream: the
// PGC's cells joined in cell order. Offsets in it are mapped back to the
// cell and to the VOB's own offsets. The file is read forwards and opened
// again when a cell lies before the one read last.
class CellSectorReader final : public platform::ByteReader {
public:
    struct Range {
        std::uint64_t First = 0;  // byte offsets in the VOB; End excluded
        std::uint64_t End = 0;
    };

    CellSectorReader(const platform::PathSpace& paths, std::string vob, std::vector<Range> ranges, std::string name)
        : paths_(paths), vob_(std::move(vob)), ranges_(std::move(ranges)), name_(std::move(name)) {}

    std::size_t Read(std::span<std::uint8_t> into) override;
    const std::string& Name() const override { return name_; }

    // The range (cell) holding an offset of the joined stream, and the
    // VOB's offset of that byte.
    std::size_t RangeOf(std::uint64_t offset) const;
    std::uint64_t VobOffsetOf(std::uint64_t offset) const;

private:
    void MoveTo(std::uint64_t offset);

    const platform::PathSpace& paths_;
    std::string vob_;
    std::vector<Range> ranges_;
    std::string name_;
    std::unique_ptr<platform::ByteReader> file_;
    std::uint64_t position_ = 0;  // in the file
    std::size_t range_ = 0;
    std::uint64_t inRange_ = 0;
};

}  // namespace kestrova::standin
