// Version resource reader: see version_info.h. The path through the file is
// DOS header -> PE header -> section table -> resource directory (type
// RT_VERSION, its first name, its first language) -> VS_VERSIONINFO. Every
// offset, RVA, size and count is checked against the file before use.
#include "platform/version_info.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <vector>

#include "platform/error.h"
#include "platform/text_encoding.h"

namespace kestrova::platform {

namespace {

constexpr std::uint32_t kPeSignature = 0x00004550;        // "PE\0\0"
constexpr std::uint16_t kPe32Magic = 0x10B;
constexpr std::uint16_t kPe32PlusMagic = 0x20B;
constexpr std::uint32_t kResourceDirectoryIndex = 2;      // IMAGE_DIRECTORY_ENTRY_RESOURCE
constexpr std::uint32_t kRtVersion = 16;
constexpr std::uint32_t kSubdirectoryFlag = 0x80000000;   // entry points at another directory
constexpr std::uint32_t kNamedEntryFlag = 0x80000000;     // entry is named by a string, not an id
constexpr std::uint32_t kFixedFileInfoSignature = 0xFEEF04BD;
constexpr std::size_t kCoffHeaderSize = 20;
constexpr std::size_t kSectionHeaderSize = 40;
constexpr std::size_t kResourceDirectorySize = 16;        // IMAGE_RESOURCE_DIRECTORY
constexpr std::size_t kResourceEntrySize = 8;             // IMAGE_RESOURCE_DIRECTORY_ENTRY
constexpr std::size_t kResourceDataEntrySize = 16;        // IMAGE_RESOURCE_DATA_ENTRY
constexpr std::size_t kFixedFileInfoSize = 52;            // VS_FIXEDFILEINFO, 13 dwords
constexpr std::size_t kBlockHeaderSize = 6;               // wLength, wValueLength, wType

std::string Hex(std::uint64_t number) {
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    do {
        text.insert(text.begin(), digits[number % 16]);
        number /= 16;
    } while (number != 0);
    return "0x" + text;
}

// Little-endian reads of a whole file, each checked against its size; a
// failure names the file, the offset and what was expected there.
class FileBytes {
public:
    FileBytes(const std::string& bytes, const std::string& path) : bytes_(bytes), path_(path) {}

    std::size_t Size() const { return bytes_.size(); }

    bool Has(std::uint64_t offset, std::uint64_t count) const {
        return offset <= bytes_.size() && count <= bytes_.size() - offset;
    }

    void Require(std::uint64_t offset, std::uint64_t count, const std::string& what) const {
        if (!Has(offset, count))
            Fail(offset, what + " (" + std::to_string(count) + " bytes) reaches past the end of the file (" +
                             std::to_string(bytes_.size()) + " bytes)");
    }

    std::uint16_t U16(std::uint64_t offset, const std::string& what) const {
        Require(offset, 2, what);
        return static_cast<std::uint16_t>(Byte(offset) | (Byte(offset + 1) << 8));
    }

    std::uint32_t U32(std::uint64_t offset, const std::string& what) const {
        Require(offset, 4, what);
        return Byte(offset) | (Byte(offset + 1) << 8) | (Byte(offset + 2) << 16) |
               (static_cast<std::uint32_t>(Byte(offset + 3)) << 24);
    }

    [[noreturn]] void Fail(std::uint64_t offset, const std::string& what) const {
        throw Error("The program file \"" + path_ + "\" has a damaged version resource at offset " +
                    std::to_string(offset) + " (" + Hex(offset) + "): " + what + ".");
    }

private:
    std::uint32_t Byte(std::uint64_t offset) const { return static_cast<unsigned char>(bytes_[offset]); }

    const std::string& bytes_;
    const std::string& path_;
};

struct Section {
    std::uint32_t VirtualAddress = 0;
    std::uint32_t RawSize = 0;
    std::uint32_t RawOffset = 0;
};

// A run of bytes of the file: where it starts and how long it may be.
struct Span {
    std::uint64_t Offset = 0;
    std::uint64_t Size = 0;
};

class PeReader {
public:
    PeReader(const FileBytes& file, std::vector<Section> sections) : file_(file), sections_(std::move(sections)) {}

    // The file bytes an RVA stands for, up to the end of its section's raw
    // data and of the file.
    Span MapRva(std::uint32_t rva, std::uint64_t referenceOffset, const std::string& what) const {
        for (const Section& section : sections_) {
            if (rva < section.VirtualAddress) continue;
            const std::uint64_t into = rva - section.VirtualAddress;
            if (into >= section.RawSize) continue;
            const std::uint64_t offset = std::uint64_t{section.RawOffset} + into;
            if (offset >= file_.Size())
                file_.Fail(referenceOffset, what + " at RVA " + Hex(rva) + " lies past the end of the file");
            return {offset, std::min<std::uint64_t>(section.RawSize - into, file_.Size() - offset)};
        }
        file_.Fail(referenceOffset, what + " at RVA " + Hex(rva) + " lies in no section of the file");
    }

private:
    const FileBytes& file_;
    std::vector<Section> sections_;
};

// IMAGE_RESOURCE_DIRECTORY at `directory` (relative to the resource root):
// the entry chosen by `pick`, or nullopt when there is none.
template <typename Pick>
std::optional<std::uint32_t> FindResourceEntry(const FileBytes& file, const Span& resources, std::uint64_t directory,
                                               const std::string& what, Pick pick) {
    const std::uint64_t at = resources.Offset + directory;
    if (directory + kResourceDirectorySize > resources.Size)
        file.Fail(at, "the " + what + " resource directory lies outside the resource section");
    const std::uint32_t named = file.U16(at + 12, "the named entry count of the " + what + " resource directory");
    const std::uint32_t ids = file.U16(at + 14, "the id entry count of the " + what + " resource directory");
    const std::uint64_t count = std::uint64_t{named} + ids;
    if (directory + kResourceDirectorySize + count * kResourceEntrySize > resources.Size)
        file.Fail(at, "the " + std::to_string(count) + " entries of the " + what +
                          " resource directory reach outside the resource section");
    for (std::uint64_t i = 0; i < count; ++i) {
        const std::uint64_t entry = at + kResourceDirectorySize + i * kResourceEntrySize;
        const std::uint32_t name = file.U32(entry, "a resource directory entry");
        if (pick(name)) return file.U32(entry + 4, "a resource directory entry");
    }
    return std::nullopt;
}

// Where a resource directory entry points: a subdirectory or a data entry,
// checked to lie inside the resource section.
std::uint64_t EntryTarget(const FileBytes& file, const Span& resources, std::uint32_t offsetToData, bool subdirectory,
                          const std::string& what) {
    if (((offsetToData & kSubdirectoryFlag) != 0) != subdirectory)
        file.Fail(resources.Offset, "the " + what + " entry should point at a " +
                                        (subdirectory ? "subdirectory" : "data entry") + " but does not");
    return offsetToData & ~kSubdirectoryFlag;
}

struct Block {
    std::uint64_t Start = 0;  // offset in the file
    std::uint64_t End = 0;    // Start + wLength
    std::uint16_t ValueLength = 0;
    std::uint16_t Type = 0;
    std::u16string Key;
    std::uint64_t Value = 0;     // offset of the value, after the key's padding
};

// One block of VS_VERSIONINFO (header, key, padding), inside `parentEnd`.
// `base` is the start of the resource: padding runs to 32-bit bounds from it.
Block ReadBlock(const FileBytes& file, std::uint64_t base, std::uint64_t start, std::uint64_t parentEnd) {
    Block block;
    block.Start = start;
    if (start + kBlockHeaderSize > parentEnd) file.Fail(start, "a version block header lies outside its parent");
    const std::uint16_t length = file.U16(start, "a version block length");
    block.ValueLength = file.U16(start + 2, "a version block value length");
    block.Type = file.U16(start + 4, "a version block type");
    if (length < kBlockHeaderSize + 2) file.Fail(start, "a version block is " + std::to_string(length) +
                                                            " bytes long, shorter than its header");
    block.End = start + length;
    if (block.End > parentEnd) file.Fail(start, "a version block of " + std::to_string(length) +
                                                     " bytes reaches past the end of its parent");
    std::uint64_t at = start + kBlockHeaderSize;
    for (;; at += 2) {
        if (at + 2 > block.End) file.Fail(start, "a version block key has no ending zero inside the block");
        const std::uint16_t unit = file.U16(at, "a version block key");
        if (unit == 0) break;
        block.Key += static_cast<char16_t>(unit);
    }
    at += 2;
    block.Value = base + ((at - base + 3) & ~std::uint64_t{3});
    return block;
}

// The blocks inside `parent` after its value of `valueBytes` bytes.
template <typename Visit>
void ForEachChild(const FileBytes& file, std::uint64_t base, const Block& parent, std::uint64_t valueBytes,
                  Visit visit) {
    std::uint64_t at = base + ((parent.Value + valueBytes - base + 3) & ~std::uint64_t{3});
    while (at + kBlockHeaderSize <= parent.End) {
        const Block child = ReadBlock(file, base, at, parent.End);
        if (!visit(child)) return;
        at = base + ((child.End - base + 3) & ~std::uint64_t{3});
    }
}

std::string WordPair(std::uint32_t value) {
    return std::to_string(value >> 16) + "." + std::to_string(value & 0xFFFF);
}

VersionInfo ReadVsVersionInfo(const FileBytes& file, const Span& data) {
    const std::uint64_t base = data.Offset;
    const Block root = ReadBlock(file, base, base, base + data.Size);
    if (root.Key != u"VS_VERSION_INFO")
        file.Fail(base, "the version resource does not start with the key VS_VERSION_INFO");
    VersionInfo info;
    if (root.ValueLength != 0) {
        if (root.ValueLength < kFixedFileInfoSize || root.Value + kFixedFileInfoSize > root.End)
            file.Fail(root.Value, "the fixed file information is shorter than 52 bytes or lies outside the resource");
        const std::uint32_t signature = file.U32(root.Value, "the fixed file information signature");
        if (signature != kFixedFileInfoSignature)
            file.Fail(root.Value, "the fixed file information signature is " + Hex(signature) + ", not 0xFEEF04BD");
        const auto dword = [&](int index) { return file.U32(root.Value + 4 * index, "the fixed file information"); };
        info.StructureVersion = WordPair(dword(1));
        info.FileVersion = WordPair(dword(2)) + "." + WordPair(dword(3));
        info.ProductVersion = WordPair(dword(4)) + "." + WordPair(dword(5));
    }
    bool stringsSeen = false;
    ForEachChild(file, base, root, root.ValueLength, [&](const Block& child) {
        if (child.Key != u"StringFileInfo" || stringsSeen) return true;
        stringsSeen = true;
        // The first string table (one language and code page) is the one read.
        ForEachChild(file, base, child, child.ValueLength, [&](const Block& table) {
            ForEachChild(file, base, table, table.ValueLength, [&](const Block& text) {
                if (text.Key != u"FileDescription") return true;
                // wValueLength counts UTF-16 units, with the ending zero.
                std::u16string units;
                for (std::uint64_t at = text.Value, n = 0; n < text.ValueLength && at + 2 <= text.End; at += 2, ++n) {
                    const std::uint16_t unit = file.U16(at, "the FileDescription text");
                    if (unit == 0) break;
                    units += static_cast<char16_t>(unit);
                }
                info.FileDescription = Utf16ToUtf8(units);
                return false;
            });
            return false;
        });
        return true;
    });
    return info;
}

std::optional<VersionInfo> ReadFromBytes(const FileBytes& file) {
    // DOS header: "MZ", and at 0x3C the offset of the PE header.
    if (!file.Has(0, 64) || file.U16(0, "the DOS signature") != 0x5A4D) return std::nullopt;
    const std::uint32_t pe = file.U32(0x3C, "the PE header offset");
    if (!file.Has(pe, 4) || file.U32(pe, "the PE signature") != kPeSignature) return std::nullopt;
    const std::uint64_t coff = std::uint64_t{pe} + 4;
    file.Require(coff, kCoffHeaderSize, "the COFF header");
    const std::uint16_t sectionCount = file.U16(coff + 2, "the section count");
    const std::uint16_t optionalSize = file.U16(coff + 16, "the optional header size");
    const std::uint64_t optional = coff + kCoffHeaderSize;
    file.Require(optional, optionalSize, "the optional header");
    if (optionalSize < 2) return std::nullopt;
    const std::uint16_t magic = file.U16(optional, "the optional header magic");
    std::uint64_t countField = 0;
    if (magic == kPe32Magic) {
        countField = 92;
    } else if (magic == kPe32PlusMagic) {
        countField = 108;
    } else {
        return std::nullopt;  // neither PE32 nor PE32+
    }
    // The data directories follow their count; a file without the resource
    // entry has no resources.
    const std::uint64_t resourceEntry = countField + 4 + kResourceDirectoryIndex * 8;
    if (resourceEntry + 8 > optionalSize) return std::nullopt;
    if (file.U32(optional + countField, "the data directory count") <= kResourceDirectoryIndex) return std::nullopt;
    const std::uint32_t resourceRva = file.U32(optional + resourceEntry, "the resource directory RVA");
    const std::uint32_t resourceSize = file.U32(optional + resourceEntry + 4, "the resource directory size");
    if (resourceRva == 0 || resourceSize == 0) return std::nullopt;

    const std::uint64_t table = optional + optionalSize;
    file.Require(table, std::uint64_t{sectionCount} * kSectionHeaderSize, "the section table");
    std::vector<Section> sections;
    for (std::uint16_t i = 0; i < sectionCount; ++i) {
        const std::uint64_t at = table + std::uint64_t{i} * kSectionHeaderSize;
        sections.push_back({file.U32(at + 12, "a section address"), file.U32(at + 16, "a section size"),
                            file.U32(at + 20, "a section file offset")});
    }
    const PeReader reader(file, std::move(sections));
    const Span resources = reader.MapRva(resourceRva, optional + resourceEntry, "the resource directory");

    const auto isVersion = [](std::uint32_t name) { return (name & kNamedEntryFlag) == 0 && name == kRtVersion; };
    const auto any = [](std::uint32_t) { return true; };
    const auto type = FindResourceEntry(file, resources, 0, "type", isVersion);
    if (!type) return std::nullopt;
    const auto name = FindResourceEntry(file, resources, EntryTarget(file, resources, *type, true, "version type"),
                                        "version name", any);
    if (!name) return std::nullopt;
    const auto language = FindResourceEntry(
        file, resources, EntryTarget(file, resources, *name, true, "version name"), "version language", any);
    if (!language) return std::nullopt;
    const std::uint64_t dataEntry = EntryTarget(file, resources, *language, false, "version language");
    if (dataEntry + kResourceDataEntrySize > resources.Size)
        file.Fail(resources.Offset + dataEntry, "the version data entry lies outside the resource section");
    const std::uint64_t entryAt = resources.Offset + dataEntry;
    const std::uint32_t dataRva = file.U32(entryAt, "the version data RVA");
    const std::uint32_t dataSize = file.U32(entryAt + 4, "the version data size");
    const Span data = reader.MapRva(dataRva, entryAt, "the version resource");
    if (dataSize > data.Size)
        file.Fail(entryAt, "the version resource of " + std::to_string(dataSize) + " bytes reaches past its section");
    return ReadVsVersionInfo(file, {data.Offset, dataSize});
}

}  // namespace

std::optional<VersionInfo> ReadVersionInfo(const std::string& hostPath) {
    std::error_code ec;
    if (!std::filesystem::is_regular_file(hostPath, ec)) return std::nullopt;
    std::ifstream in(hostPath, std::ios::binary);
    if (!in) throw Error("The program file \"" + hostPath + "\" cannot be opened to read its version.");
    std::ostringstream content;
    content << in.rdbuf();
    if (in.bad()) throw Error("The program file \"" + hostPath + "\" cannot be read to find its version.");
    const std::string bytes = content.str();
    return ReadFromBytes(FileBytes(bytes, hostPath));
}

}  // namespace kestrova::platform
