// The sectors of a PGC's cells read as one stream: see cell_sectors.h.
#include "cell_sectors.h"

#include <algorithm>

#include "platform/error.h"
#include "platform/stream_files.h"

namespace kestrova::standin {

std::size_t CellSectorReader::Read(std::span<std::uint8_t> into) {
    std::size_t placed = 0;
    while (placed < into.size() && range_ < ranges_.size()) {
        const Range& range = ranges_[range_];
        if (inRange_ == range.End - range.First) {
            ++range_;
            inRange_ = 0;
            continue;
        }
        MoveTo(range.First + inRange_);
        const std::size_t want = static_cast<std::size_t>(
            std::min<std::uint64_t>(into.size() - placed, range.End - range.First - inRange_));
        const std::size_t got = file_->Read(into.subspan(placed, want));
        if (got == 0) {
            throw Error("vsrip: \"" + vob_ + "\" ended at byte " + std::to_string(position_) + " while being read");
        }
        placed += got;
        inRange_ += got;
        position_ += got;
    }
    return placed;
}

std::size_t CellSectorReader::RangeOf(std::uint64_t offset) const {
    for (std::size_t i = 0; i < ranges_.size(); ++i) {
        const std::uint64_t length = ranges_[i].End - ranges_[i].First;
        if (offset < length) return i;
        offset -= length;
    }
    return ranges_.size();
}

std::uint64_t CellSectorReader::VobOffsetOf(std::uint64_t offset) const {
    for (const Range& range : ranges_) {
        if (offset < range.End - range.First) return range.First + offset;
        offset -= range.End - range.First;
    }
    return offset;
}

void CellSectorReader::MoveTo(std::uint64_t offset) {
    if (!file_ || offset < position_) {
        file_ = platform::OpenFileReader(paths_, vob_);
        position_ = 0;
    }
    std::vector<std::uint8_t> skipped;
    while (position_ < offset) {
        skipped.resize(static_cast<std::size_t>(std::min<std::uint64_t>(offset - position_, 1 << 20)));
        const std::size_t got = file_->Read(skipped);
        if (got == 0) {
            throw Error("vsrip: \"" + vob_ + "\" ended at byte " + std::to_string(position_) + " while being read");
        }
        position_ += got;
    }
}

}  // namespace kestrova::standin
