// Host files as byte streams: buffered writes, appends, rewrites of a
// header, reads to the end, and failures that name the path.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/error.h"
#include "platform/stream_files.h"
#include "support/temp_folder.h"

namespace kestrova::platform {
namespace {

std::span<const std::uint8_t> Span(const std::string& text) {
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

TEST(StreamFiles, WritesAppendsRewritesAndReadsBackWhatWasWritten) {
    test::TempFolder temp;
    const PathSpace paths = temp.Drives();
    const std::string big(700 * 1024, 'b');  // larger than the write buffer
    {
        auto writer = OpenFileWriter(paths, "K:\\out.bin", WriteMode::Replace);
        writer->Write(Span("HEAD"));
        writer->Write(Span(big));
        writer->Write(Span("tail"));
        EXPECT_EQ(writer->Size(), 8 + big.size());
        writer->Rewrite(0, Span("head"));
        EXPECT_THROW(writer->Rewrite(writer->Size() - 2, Span("xyz")), Error);
        writer->Close();
        EXPECT_THROW(writer->Write(Span("late")), Error);
    }
    {
        auto writer = OpenFileWriter(paths, "K:\\OUT.BIN", WriteMode::Append);
        EXPECT_EQ(writer->Size(), 8 + big.size());
        writer->Write(Span("+more"));
        writer->Close();
    }
    EXPECT_EQ(temp.Read("out.bin"), "head" + big + "tail+more");

    auto reader = OpenFileReader(paths, "K:\\out.bin");
    EXPECT_EQ(reader->Name(), "K:\\out.bin");
    std::vector<std::uint8_t> block(300 * 1024);
    std::string back;
    while (const std::size_t got = reader->Read(block)) back.append(block.begin(), block.begin() + got);
    EXPECT_EQ(back, "head" + big + "tail+more");

    try {
        OpenFileReader(paths, "K:\\missing.vob");
        ADD_FAILURE() << "no error for a missing file";
    } catch (const Error& error) {
        EXPECT_NE(std::string(error.what()).find("\"K:\\missing.vob\""), std::string::npos) << error.what();
    }
    EXPECT_THROW(OpenFileWriter(paths, "K:\\no folder\\out.bin", WriteMode::Replace), Error);
}

}  // namespace
}  // namespace kestrova::platform
