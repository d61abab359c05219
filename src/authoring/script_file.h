// A script file as the authoring tools read it: one statement a line, each
// line closed by CR LF, its depth given by leading tabs and nothing else.
// The text is gathered in memory and written in one piece through a
// temporary file, so a script cut short (a full disk) never stands under
// its final name.
#pragma once

#include <string>
#include <string_view>

#include "platform/files.h"

namespace kestrova {

// n tab characters; the empty text for n = 0.
std::string MakeTab(int n);

class ScriptFile {
public:
    // The path the script is saved under; kept for messages.
    explicit ScriptFile(std::string path) : path_(std::move(path)) {}

    const std::string& Path() const { return path_; }

    // A line at a depth.
    void Line(int depth, std::string_view statement);
    // "key=value" at a depth.
    void Line(int depth, std::string_view key, std::string_view value);
    // A line that announces a block, then its "{" at the same depth.
    void Open(int depth, std::string_view statement);
    // The closing brace at a depth.
    void Close(int depth) { Line(depth, "}"); }
    // An empty block: the announcing line and both braces.
    void Empty(int depth, std::string_view statement) {
        Open(depth, statement);
        Close(depth);
    }

    const std::string& Text() const { return text_; }

    // Writes the text under the path, replacing what stood there; a failure
    // leaves the old file whole and no partial one. A script is made again
    // from the model whenever a run needs it (a kept one is reused only when
    // asked for), so the write does not wait for the disk.
    void Save(const platform::FileSystem& files) const {
        files.WriteFileAtomic(path_, text_, platform::FileSystem::Flush::No);
    }

private:
    std::string path_;
    std::string text_;
};

}  // namespace kestrova
