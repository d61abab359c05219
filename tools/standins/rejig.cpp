// "Rejig": requantises MPEG-2 video in place of re-encoding it. Called as
// -i LIST -auto -close -quiet; each line of LIST is one job,
//   -level Q -i"PATH.M2V"
// and leaves PATH.mpv beside the input. Q is the compression asked for, a
// percentage (the job offers 30 to 70): the stream is requantised by
// M2VRequantiser with the factor 100 / (100 - Q), its ratio of input to
// output size (Q 50 halves the stream, Q 30 takes it to 70 %).
// M2VRequantiser copies what it cannot parse, so each input is scanned
// first and a damaged one is refused.
#include <cstdio>
#include <vector>

#include "assets/video_stream.h"
#include "encoding.h"
#include "platform/error.h"
#include "platform/files.h"

namespace kestrova::standin {

namespace {

struct RejigJob {
    long Level = 0;
    std::string Input;  // drive path of the M2V
};

// One line of the list; throws Error for a line of another form.
RejigJob ParseRejigLine(const std::string& line) {
    const auto refuse = [&line](const std::string& why) {
        return Error("\"" + line.substr(0, 60) + "\" " + why + "; expected -level Q -i\"PATH.M2V\"");
    };
    std::size_t at = 0;
    const auto skipBlanks = [&] {
        while (at < line.size() && (line[at] == ' ' || line[at] == '\t')) ++at;
    };
    skipBlanks();
    if (line.compare(at, 7, "-level ") != 0) throw refuse("does not begin with -level");
    at += 7;
    skipBlanks();
    const std::size_t digits = line.find_first_not_of("0123456789", at);
    RejigJob job;
    job.Level = ParseNumber(line.substr(at, digits == std::string::npos ? std::string::npos : digits - at),
                            "compression level");
    if (job.Level < 1 || job.Level > 99) throw refuse("asks for a compression outside 1 to 99 %");
    at = digits == std::string::npos ? line.size() : digits;
    skipBlanks();
    if (line.compare(at, 3, "-i\"") != 0) throw refuse("has no -i\" after the level");
    at += 3;
    const std::size_t close = line.find('"', at);
    if (close == std::string::npos) throw refuse("does not close its path with a double quote");
    job.Input = line.substr(at, close - at);
    if (job.Input.empty()) throw refuse("names no file");
    at = close + 1;
    skipBlanks();
    if (at != line.size()) throw refuse("runs on after its path");
    return job;
}

std::string Requantise(const Invocation& call, const RejigJob& job) {
    const platform::FileSystem files(call.Paths);
    const std::string output = platform::WithExtension(job.Input, ".mpv");
    files.DeleteFile(output);
    if (!files.FileExists(job.Input)) throw Error("there is no video file \"" + job.Input + "\"");
    const std::string input = files.ToHost(job.Input);
    ScanVideoStreamFile(input);
    const std::string requantiser = RequireHostProgram("M2VRequantiser", "to requantise in the place of Rejig");
    const std::string shell = RequireHostProgram("sh", "to give M2VRequantiser its input and output");
    const ScratchFolder scratch(call);
    char factor[32];
    std::snprintf(factor, sizeof factor, "%.6f", 100.0 / static_cast<double>(100 - job.Level));
    // M2VRequantiser reads the stream on stdin and writes the result on stdout.
    const int status = RunHostProgram(call, {shell, "-c", "exec \"$0\" \"$1\" \"$2\" < \"$3\" > \"$4\"", requantiser,
                                             factor, std::to_string(files.FileSize(job.Input)), input,
                                             scratch.Host() + "/requantised.mpv"});
    if (status != 0) {
        throw Error("M2VRequantiser could not requantise \"" + job.Input + "\" (exit status " +
                    std::to_string(status) + ")");
    }
    files.MoveFile(scratch.Drive() + "\\requantised.mpv", output);
    return output;
}

}  // namespace

int RunRejig(const Invocation& call) {
    std::string list;
    for (std::size_t i = 0; i < call.Arguments.size(); ++i) {
        const std::string& argument = call.Arguments[i];
        if (platform::EqualsIgnoreCase(argument, "-i") && i + 1 < call.Arguments.size()) {
            list = call.Arguments[++i];
        } else if (!platform::EqualsIgnoreCase(argument, "-auto") && !platform::EqualsIgnoreCase(argument, "-close") &&
                   !platform::EqualsIgnoreCase(argument, "-quiet")) {
            throw Error("Rejig: \"" + argument +
                        "\" is not an option of this tool; expected -i LIST -auto -close -quiet");
        }
    }
    if (list.empty()) throw Error("Rejig: expected -i LIST -auto -close -quiet");
    std::vector<std::pair<std::size_t, std::string>> lines;  // number from 1, text
    try {
        std::size_t number = 0;
        for (const std::string& line : platform::FileSystem(call.Paths).ReadLines(list)) {
            ++number;
            if (!platform::Trim(line).empty()) lines.emplace_back(number, line);
        }
    } catch (const Error& error) {
        throw Error("Rejig: cannot read the job list \"" + list + "\": " + error.what());
    }
    return RunItems(
        call, lines.size(), [&](std::size_t index) { return Requantise(call, ParseRejigLine(lines[index].second)); },
        [&](std::size_t index) { return "line " + std::to_string(lines[index].first) + " of \"" + list + "\""; });
}

}  // namespace kestrova::standin
