// Checked access to one table of an IFO file held in memory. Every read goes
// through ByteHandle and is first checked against the file, so a truncated or
// inconsistent IFO ends the read with a sentence naming the file, the table
// (by its DVD name) and the byte offset, never with a read out of range.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "job/bits.h"

namespace kestrova {

inline constexpr std::int64_t kSectorSize = 2048;

// The Error a broken table gives: "<file>: <table> at byte <offset>: <problem>."
[[noreturn]] void ThrowIfoError(const ByteSource& source, const std::string& table, std::int64_t offset,
                                const std::string& problem);

class IfoTable {
public:
    // A table starting at byte `base` of the file; offsets of the reads below
    // are counted from the base.
    IfoTable(const ByteSource& source, std::string table, std::int64_t base);

    // The table whose sector stands in the 32-bit word at `pointerOffset` of
    // the file header; none when that sector is 0. Throws when the sector
    // lies beyond the end of the file.
    static std::optional<IfoTable> AtSector(const ByteSource& source, const std::string& table,
                                            std::int64_t pointerOffset);

    const ByteSource& Source() const { return *source_; }
    const std::string& Name() const { return table_; }
    std::int64_t Base() const { return base_; }

    // Throws unless `count` bytes from base + offset lie inside the file;
    // `what` says what those bytes are ("12 language unit entries").
    void Require(std::int64_t offset, std::int64_t count, const std::string& what) const;
    [[noreturn]] void Fail(std::int64_t offset, const std::string& problem) const;

    std::uint8_t Byte(std::int64_t offset) const;
    std::int64_t Word(std::int64_t offset) const;  // 16-bit unsigned, big-endian
    std::int64_t Long(std::int64_t offset) const;  // 32-bit unsigned, big-endian
    std::string Hex(std::int64_t offset, std::int64_t count) const;                   // joined upper-case digits
    std::vector<std::string> HexBytes(std::int64_t offset, std::int64_t count) const;  // one text per byte
    std::vector<std::string> BinBytes(std::int64_t offset, std::int64_t count) const;  // eight digits per byte
    std::vector<std::uint8_t> Bytes(std::int64_t offset, std::int64_t count) const;

    // A table that starts `offset` bytes into this one, checked to start
    // inside the file.
    IfoTable Sub(std::string table, std::int64_t offset, const std::string& what) const;

private:
    const ByteSource* source_;
    std::string table_;
    std::int64_t base_ = 0;
};

}  // namespace kestrova
