// The event lines of a subpicture list: see sst_lines.h.
#include "subpicture/sst_lines.h"

#include "platform/text.h"

namespace kestrova {

namespace {

std::vector<std::string> SplitAt(const std::string& text, char separator) {
    std::vector<std::string> parts;
    std::size_t start = 0;
    for (std::size_t at = text.find(separator); at != std::string::npos; at = text.find(separator, start)) {
        parts.push_back(text.substr(start, at - start));
        start = at + 1;
    }
    parts.push_back(text.substr(start));
    return parts;
}

}  // namespace

bool IsSstSettingLine(const std::string& line) {
    const std::string head = line.substr(0, 5);
    return head == "Tape_" || head == "Pixel" || head == "Displ" || head == "Color" || head == "Contr";
}

void BitmapVobAndCell(const std::string& name, int& vob, int& cell) {
    vob = cell = 0;
    const auto fields = SplitAt(name, '_');
    if (fields.size() < 5 || fields[3].size() < 2 || fields[4].size() < 2) return;
    vob = static_cast<int>(platform::LeadingWholeNumber(std::string_view(fields[3]).substr(1)));
    cell = static_cast<int>(platform::LeadingWholeNumber(std::string_view(fields[4]).substr(1)));
}

std::vector<SstEvent> ReadSstEvents(JobContext& job, const std::string& path) {
    std::vector<SstEvent> events;
    const auto lines = job.Files.ReadLines(path);
    for (std::size_t i = kSstHeadLines; i < lines.size(); ++i) {
        const std::string& line = lines[i];
        if (line.empty() || IsSstSettingLine(line)) continue;
        SstEvent event;
        event.Line = i + 1;
        event.Commented = line[0] == '#';
        event.Highlight = line.find("Highlight") != std::string::npos;
        event.Fields = SplitAt(event.Commented ? line.substr(1) : line, '\t');
        if (event.Fields.size() >= 4) {
            const std::string& file = event.Fields[3];
            event.Name = file.size() > 4 ? file.substr(0, file.size() - 4) : file;
            BitmapVobAndCell(event.Name, event.Vob, event.Cell);
        }
        events.push_back(std::move(event));
    }
    return events;
}

}  // namespace kestrova
