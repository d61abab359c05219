// Builder of small PE files with resources: see pe_builder.h. Layout: DOS
// header and stub, PE header, one section header, headers padded to 0x200,
// then the .rsrc section at RVA 0x1000 holding the resource directory tree
// (type -> name -> language -> data entry) and the resource data.
#include "pe_builder.h"

#include <utility>
#include <vector>

#include "platform/text_encoding.h"

namespace kestrova::pe {

namespace {

using platform::Utf8ToUtf16;

constexpr std::uint32_t kFileAlignment = 0x200;
constexpr std::uint32_t kSectionAlignment = 0x1000;
constexpr std::uint32_t kResourceRva = 0x1000;
constexpr std::uint32_t kPeOffset = 0x80;
constexpr std::uint32_t kRtIcon = 3;
constexpr std::uint32_t kRtVersion = 16;
constexpr std::uint32_t kRtManifest = 24;
constexpr std::uint32_t kLanguageUsEnglish = 0x0409;

void Put16(std::string& out, std::uint32_t value) {
    out += static_cast<char>(value & 0xFF);
    out += static_cast<char>((value >> 8) & 0xFF);
}

void Put32(std::string& out, std::uint32_t value) {
    Put16(out, value & 0xFFFF);
    Put16(out, value >> 16);
}

void Set16(std::string& out, std::size_t at, std::uint32_t value) {
    out[at] = static_cast<char>(value & 0xFF);
    out[at + 1] = static_cast<char>((value >> 8) & 0xFF);
}

void PadTo(std::string& out, std::size_t alignment) {
    while (out.size() % alignment != 0) out += '\0';
}

std::uint32_t AlignUp(std::uint32_t value, std::uint32_t alignment) {
    return (value + alignment - 1) / alignment * alignment;
}

void PutUtf16z(std::string& out, const std::u16string& text) {
    for (char16_t unit : text) Put16(out, unit);
    Put16(out, 0);
}

// One block of VS_VERSIONINFO: wLength, wValueLength, wType, the key, the
// value and the children, each part starting on a 32-bit bound. wLength
// leaves out the padding after the last part.
std::string VersionBlock(const std::u16string& key, const std::string& value, std::uint16_t valueLength,
                         std::uint16_t type, const std::vector<std::string>& children) {
    std::string out;
    Put16(out, 0);
    Put16(out, valueLength);
    Put16(out, type);
    PutUtf16z(out, key);
    if (!value.empty()) {
        PadTo(out, 4);
        out += value;
    }
    for (const std::string& child : children) {
        PadTo(out, 4);
        out += child;
    }
    Set16(out, 0, static_cast<std::uint32_t>(out.size()));
    return out;
}

std::string TextBlock(const std::u16string& key, const std::string& utf8) {
    const std::u16string text = Utf8ToUtf16(utf8);
    std::string value;
    PutUtf16z(value, text);
    return VersionBlock(key, value, static_cast<std::uint16_t>(text.size() + 1), 1, {});
}

std::string FourNumbers(const std::array<std::uint16_t, 4>& n) {
    return std::to_string(n[0]) + "." + std::to_string(n[1]) + "." + std::to_string(n[2]) + "." + std::to_string(n[3]);
}

std::string VersionResource(const PeVersion& v) {
    const std::array<std::uint16_t, 4> file = {v.Major, v.Minor, v.Build, v.Revision};
    const std::array<std::uint16_t, 4> product = v.ProductVersion.value_or(file);
    std::string fixed;  // VS_FIXEDFILEINFO
    Put32(fixed, 0xFEEF04BD);
    Put32(fixed, 0x00010000);  // structure version 1.0
    Put32(fixed, (std::uint32_t{file[0]} << 16) | file[1]);
    Put32(fixed, (std::uint32_t{file[2]} << 16) | file[3]);
    Put32(fixed, (std::uint32_t{product[0]} << 16) | product[1]);
    Put32(fixed, (std::uint32_t{product[2]} << 16) | product[3]);
    Put32(fixed, 0x3F);     // file flags mask
    Put32(fixed, 0);        // file flags
    Put32(fixed, 0x40004);  // VOS_NT_WINDOWS32
    Put32(fixed, 1);        // VFT_APP
    Put32(fixed, 0);        // subtype
    Put32(fixed, 0);        // date
    Put32(fixed, 0);

    const std::string table = VersionBlock(u"040904B0", "", 0, 1,
                                           {TextBlock(u"CompanyName", "Test Maker"),
                                            TextBlock(u"FileDescription", v.FileDescription),
                                            TextBlock(u"FileVersion", FourNumbers(file)),
                                            TextBlock(u"ProductName", v.ProductName),
                                            TextBlock(u"ProductVersion", FourNumbers(product))});
    std::string translation;
    Put16(translation, kLanguageUsEnglish);
    Put16(translation, 0x04B0);  // Unicode code page
    const std::string var = VersionBlock(u"Translation", translation, 4, 0, {});
    return VersionBlock(u"VS_VERSION_INFO", fixed, static_cast<std::uint16_t>(fixed.size()), 0,
                        {VersionBlock(u"StringFileInfo", "", 0, 1, {table}),
                         VersionBlock(u"VarFileInfo", "", 0, 1, {var})});
}

// The .rsrc section: one name and one language per type.
std::string ResourceSection(const std::vector<std::pair<std::uint32_t, std::string>>& resources) {
    const std::uint32_t count = static_cast<std::uint32_t>(resources.size());
    const std::uint32_t perType = 16 + 8 + 16 + 8 + 16;  // name directory, language directory, data entry
    std::uint32_t dataAt = AlignUp(16 + 8 * count + perType * count, 4);
    std::string directories;
    std::string data;
    auto directoryHeader = [](std::string& out, std::uint32_t ids) {
        Put32(out, 0);  // characteristics
        Put32(out, 0);  // time stamp
        Put32(out, 0);  // version
        Put16(out, 0);  // named entries
        Put16(out, ids);
    };
    directoryHeader(directories, count);
    for (std::uint32_t i = 0; i < count; ++i) {
        Put32(directories, resources[i].first);
        Put32(directories, 0x80000000 | (16 + 8 * count + perType * i));
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t base = 16 + 8 * count + perType * i;
        directoryHeader(directories, 1);  // names
        Put32(directories, 1);
        Put32(directories, 0x80000000 | (base + 24));
        directoryHeader(directories, 1);  // languages
        Put32(directories, kLanguageUsEnglish);
        Put32(directories, base + 48);
        Put32(directories, kResourceRva + dataAt + static_cast<std::uint32_t>(data.size()));  // data entry
        Put32(directories, static_cast<std::uint32_t>(resources[i].second.size()));
        Put32(directories, 0);  // code page
        Put32(directories, 0);
        data += resources[i].second;
        PadTo(data, 4);
    }
    PadTo(directories, 4);
    return directories + data;
}

std::string ProgramFile(const std::string& section, bool plus) {
    std::string out;
    // DOS header: "MZ" and, at 0x3C, where the PE header is; then the stub.
    out += "MZ";
    out.resize(0x3C, '\0');
    Put32(out, kPeOffset);
    out += std::string("\x0E\x1F\xBA\x0E\x00\xB4\x09\xCD\x21\xB8\x01\x4C\xCD\x21", 14);
    out += "This program cannot be run in DOS mode.\r\r\n$";
    out.resize(kPeOffset, '\0');

    const std::uint32_t rawSize = AlignUp(static_cast<std::uint32_t>(section.size()), kFileAlignment);
    const std::uint32_t imageSize = kResourceRva + AlignUp(static_cast<std::uint32_t>(section.size()), kSectionAlignment);
    out += std::string("PE\0\0", 4);
    Put16(out, plus ? 0x8664 : 0x14C);   // machine
    Put16(out, 1);                       // sections
    Put32(out, 0);                       // time stamp
    Put32(out, 0);                       // symbol table
    Put32(out, 0);                       // symbols
    Put16(out, plus ? 240 : 224);        // optional header size
    Put16(out, plus ? 0x0022 : 0x0102);  // executable; large-address-aware or 32-bit

    Put16(out, plus ? 0x20B : 0x10B);
    Put16(out, 0x000E);      // linker version
    Put32(out, 0);           // size of code
    Put32(out, rawSize);     // initialised data
    Put32(out, 0);           // uninitialised data
    Put32(out, 0);           // entry point
    Put32(out, kResourceRva);  // base of code
    if (plus) {
        Put32(out, 0x40000000);  // image base, 64 bits
        Put32(out, 0x1);
    } else {
        Put32(out, kResourceRva);  // base of data
        Put32(out, 0x400000);      // image base
    }
    Put32(out, kSectionAlignment);
    Put32(out, kFileAlignment);
    Put32(out, 4);  // OS version 4.0
    Put32(out, 0);  // image version
    Put32(out, 4);  // subsystem version 4.0
    Put32(out, 0);  // Win32 version value
    Put32(out, imageSize);
    Put32(out, kFileAlignment);  // size of headers
    Put32(out, 0);               // checksum
    Put16(out, 2);               // Windows GUI
    Put16(out, 0);               // DLL characteristics
    for (std::uint32_t amount : {0x100000u, 0x1000u, 0x100000u, 0x1000u}) {  // stack and heap
        Put32(out, amount);
        if (plus) Put32(out, 0);
    }
    Put32(out, 0);   // loader flags
    Put32(out, 16);  // data directories
    for (int i = 0; i < 16; ++i) {
        Put32(out, i == 2 ? kResourceRva : 0);
        Put32(out, i == 2 ? static_cast<std::uint32_t>(section.size()) : 0);
    }

    out += std::string(".rsrc\0\0\0", 8);
    Put32(out, static_cast<std::uint32_t>(section.size()));  // virtual size
    Put32(out, kResourceRva);
    Put32(out, rawSize);
    Put32(out, kFileAlignment);  // file offset of the section
    Put32(out, 0);
    Put32(out, 0);
    Put16(out, 0);
    Put16(out, 0);
    Put32(out, 0x40000040);  // initialised data, readable
    out.resize(kFileAlignment, '\0');
    out += section;
    PadTo(out, kFileAlignment);
    return out;
}

std::string IconBytes() { return std::string(40, '\x11'); }

std::string ManifestBytes() {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n"
           "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\"/>\r\n";
}

}  // namespace

std::string BuildPeWithVersion(const PeVersion& version) {
    return ProgramFile(ResourceSection({{kRtIcon, IconBytes()},
                                        {kRtVersion, VersionResource(version)},
                                        {kRtManifest, ManifestBytes()}}),
                       version.Pe32Plus);
}

std::string BuildPeWithoutVersion() {
    return ProgramFile(ResourceSection({{kRtIcon, IconBytes()}, {kRtManifest, ManifestBytes()}}), false);
}

}  // namespace kestrova::pe
