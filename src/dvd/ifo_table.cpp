// Checked access to the tables of an IFO file: see ifo_table.h.
#include "dvd/ifo_table.h"

#include <utility>

#include "platform/error.h"

namespace kestrova {

void ThrowIfoError(const ByteSource& source, const std::string& table, std::int64_t offset,
                   const std::string& problem) {
    throw Error(source.FileName + ": " + table + " at byte " + std::to_string(offset) + ": " + problem + ".");
}

IfoTable::IfoTable(const ByteSource& source, std::string table, std::int64_t base)
    : source_(&source), table_(std::move(table)), base_(base) {}

std::optional<IfoTable> IfoTable::AtSector(const ByteSource& source, const std::string& table,
                                          std::int64_t pointerOffset) {
    IfoTable header(source, "IFO header", 0);
    const std::int64_t sector = header.Long(pointerOffset);
    if (sector == 0) return std::nullopt;
    const std::int64_t base = sector * kSectorSize;
    const auto size = static_cast<std::int64_t>(source.Bytes.size());
    if (base >= size) {
        ThrowIfoError(source, table, base,
                      "the sector " + std::to_string(sector) + " named at byte " + std::to_string(pointerOffset) +
                          " lies beyond the end of the file (" + std::to_string(size) +
                          " bytes); the table was expected inside the file");
    }
    return IfoTable(source, table, base);
}

void IfoTable::Require(std::int64_t offset, std::int64_t count, const std::string& what) const {
    const auto size = static_cast<std::int64_t>(source_->Bytes.size());
    const std::int64_t start = base_ + offset;
    if (offset < 0 || count < 0 || start > size || count > size - start) {
        ThrowIfoError(*source_, table_, start,
                      "expected " + what + " (" + std::to_string(count) + " bytes), but the file ends at byte " +
                          std::to_string(size));
    }
}

void IfoTable::Fail(std::int64_t offset, const std::string& problem) const {
    ThrowIfoError(*source_, table_, base_ + offset, problem);
}

std::uint8_t IfoTable::Byte(std::int64_t offset) const {
    Require(offset, 1, "a byte field");
    return ByteAt(*source_, base_ + offset);
}

std::int64_t IfoTable::Word(std::int64_t offset) const {
    Require(offset, 2, "a 16-bit field");
    return ByteHandleD(*source_, base_ + offset, 2);
}

std::int64_t IfoTable::Long(std::int64_t offset) const {
    Require(offset, 4, "a 32-bit field");
    return ByteHandleD(*source_, base_ + offset, 4);
}

std::string IfoTable::Hex(std::int64_t offset, std::int64_t count) const {
    Require(offset, count, "the bytes read");
    return ByteHandleS(*source_, base_ + offset, count);
}

std::vector<std::string> IfoTable::HexBytes(std::int64_t offset, std::int64_t count) const {
    Require(offset, count, "the bytes read");
    return ByteHandleH(*source_, base_ + offset, count);
}

std::vector<std::string> IfoTable::BinBytes(std::int64_t offset, std::int64_t count) const {
    Require(offset, count, "the bytes read");
    return ByteHandleB(*source_, base_ + offset, count);
}

std::vector<std::uint8_t> IfoTable::Bytes(std::int64_t offset, std::int64_t count) const {
    Require(offset, count, "the bytes read");
    return ByteHandleBytes(*source_, base_ + offset, count);
}

IfoTable IfoTable::Sub(std::string table, std::int64_t offset, const std::string& what) const {
    const auto size = static_cast<std::int64_t>(source_->Bytes.size());
    if (offset < 0 || base_ + offset >= size) {
        ThrowIfoError(*source_, table_, base_,
                      what + " (" + std::to_string(offset) + ") points to byte " + std::to_string(base_ + offset) +
                          ", past the end of the file (" + std::to_string(size) + " bytes)");
    }
    return IfoTable(*source_, std::move(table), base_ + offset);
}

}  // namespace kestrova
