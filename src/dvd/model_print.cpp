// The printed DVD model: see model_print.h.
#include "dvd/model_print.h"

#include <cstdio>

#include "dvd/crosscheck_dump.h"
#include "dvd/vm_commands.h"
#include "job/timecode.h"
#include "platform/text_encoding.h"

namespace kestrova {

namespace {

std::string HexText(std::uint32_t value, int width) {
    char text[16];
    std::snprintf(text, sizeof text, "%0*X", width, value);
    return text;
}

std::int64_t Count(std::size_t count) { return static_cast<std::int64_t>(count); }

PrintNode Commands(const Collection<Command_Properties>& list) {
    auto array = PrintNode::Array();
    for (const auto& command : list) {
        auto& item = array.Push(PrintNode::Object());
        item.Set("Hex", command.Hex);
        item.Set("Command", command.Command);
    }
    return array;
}

PrintNode DecodedCommands(const JobContext& job, const std::vector<CommandBytes>& list) {
    auto array = PrintNode::Array();
    for (const auto& command : list) {
        auto& item = array.Push(PrintNode::Object());
        item.Set("Hex", CommandHex(command));
        item.Set("Command", Hex2Command(job, command));
    }
    return array;
}

// A PGC of the playback side into `node`, which holds what the caller puts
// first. There is no cell table in the model for these, so each cell carries
// its playback time (BCD as on the disc, and frames) and its category byte.
PrintNode PlaybackPgcNode(const JobContext& job, const PGCI& pgc, PrintNode node) {
    // Frames are counted at the rate the time marks in its frame byte (bits
    // 7-6: 01 for 25, 11 for 30), not the job's standard: a disc without
    // menus leaves that unset.
    TimeBase timing;
    auto time = [&timing](std::uint32_t bcd, PrintNode& into) {
        timing.VideoStandard = (bcd >> 6 & 3) == 1 ? "PAL" : "NTSC";
        into.Set("BCD", HexText(bcd, 8));
        into.Set("Frames", TimeToFrames(timing, HexText(bcd, 8)));
    };
    time(pgc.PlaybackTime, node);
    node.Set("Next_PGC", pgc.Next);
    node.Set("Previous_PGC", pgc.Previous);
    node.Set("GoUp_PGC", pgc.GoUp);
    node.Set("Still_Time", pgc.StillTime);
    node.Set("UOPString", pgc.UserOperations);
    node.Set("AudioStream1", pgc.FirstAudioControl >> 8 & 0x0F);
    node.Set("SubpictureStream1", HexText(pgc.FirstSubpictureControl, 8));
    node.Set("PRE_COMMANDS", DecodedCommands(job, pgc.Commands.Pre));
    node.Set("POST_COMMAND", DecodedCommands(job, pgc.Commands.Post));
    node.Set("CELL_COMMAND", DecodedCommands(job, pgc.Commands.Cell));
    auto& programs = node.Set("PG", PrintNode::Array());
    for (const auto& cells : ProgramCells(pgc)) {
        auto& refs = programs.Push(PrintNode::Object()).Set("cell_ref", PrintNode::Array());
        for (const std::size_t i : cells) {
            auto& ref = refs.Push(PrintNode::Object());
            ref.Set("Vob_Id", pgc.Positions[i].VobId);
            ref.Set("CELL_ID", pgc.Positions[i].CellId);
            ref.Set("CellPause", pgc.Cells[i].StillTime);
            ref.Set("CellCommand", pgc.Cells[i].CellCommand);
            ref.Set("Angle", pgc.Cells[i].Category);
            time(pgc.Cells[i].PlaybackTime, ref);
        }
    }
    return node;
}

PrintNode VideoNode(const Video_Properties& video) {
    auto node = PrintNode::Object();
    node.Set("Mpeg_Type", video.Mpeg_Type);
    node.Set("Standard", video.Standard);
    node.Set("Size", video.Size);
    node.Set("Aspect_Ratio", video.Aspect_Ratio);
    node.Set("Display_Mode", video.Display_Mode);
    node.Set("Display", video.Display);
    node.Set("Display_Pan_Scan", video.Display_Pan_Scan);
    node.Set("Display_LetterBoxed", video.Display_LetterBoxed);
    node.Set("LetterBoxed", video.LetterBoxed);
    node.Set("Bitrate", video.Bitrate);
    node.Set("Camera", video.Camera);
    node.Set("Line_21_Switch_1", video.Line_21_Switch_1);
    node.Set("Line_21_Switch_2", video.Line_21_Switch_2);
    node.Set("Audio_Quantity", video.Audio_Quantity);
    node.Set("SubStream_Quantity", video.SubStream_Quantity);
    return node;
}

PrintNode PgcNode(const PGC_Number_Properties& pgc, std::size_t number) {
    auto node = PrintNode::Object();
    node.Set("Number", Count(number));
    node.Set("PGC_Type", pgc.PGC_Type);
    node.Set("Next_PGC", static_cast<std::uint16_t>(pgc.Next_PGC));
    node.Set("Previous_PGC", static_cast<std::uint16_t>(pgc.Previous_PGC));
    node.Set("GoUp_PGC", pgc.GoUp_PGC);
    node.Set("Still_Time", pgc.Still_Time);
    node.Set("UOPString", pgc.UOPString);
    auto& uops = node.Set("UOPs", PrintNode::Array());
    for (const auto& uop : pgc.UOPs) uops.Push(PrintNode::Text(uop.Command));
    node.Set("AudioStream1", pgc.AudioStream1);
    node.Set("SubsPresent", pgc.SubsPresent);
    node.Set("SubStringA", pgc.SubStringA);
    node.Set("SubStringB", pgc.SubStringB);
    auto& ids = node.Set("Stream1_Uses_ID", PrintNode::Object());
    ids.Set("Normal", pgc.Stream1_Normal_Uses_ID);
    ids.Set("Wide", pgc.Stream1_Wide_Uses_ID);
    ids.Set("Letter", pgc.Stream1_Letter_Uses_ID);
    ids.Set("Pan", pgc.Stream1_Pan_Uses_ID);
    node.Set("Palette_Number", pgc.Palette_Number);
    node.Set("Possible_Dummy", pgc.Possible_Dummy);
    node.Set("PRE_COMMANDS", Commands(pgc.PRE_COMMANDS));
    node.Set("POST_COMMAND", Commands(pgc.POST_COMMAND));
    node.Set("CELL_COMMAND", Commands(pgc.CELL_COMMAND));
    auto& programs = node.Set("PG", PrintNode::Array());
    std::size_t use = 0;
    for (const auto& program : pgc.PG) {
        auto& cells = programs.Push(PrintNode::Object()).Set("cell_ref", PrintNode::Array());
        for (const auto& ref : program.cell_ref) {
            ++use;
            auto& cell = cells.Push(PrintNode::Object());
            cell.Set("Vob_Id", ref.Vob_Id);
            cell.Set("CELL_ID", ref.CELL_ID);
            cell.Set("CellPause", use < pgc.NewCellPause.size() ? pgc.NewCellPause[use] : 0);
            cell.Set("CellCommand", use < pgc.NewCellCommand.size() ? pgc.NewCellCommand[use] : 0);
        }
    }
    return node;
}

PrintNode VobNode(const VTS_Properties& vts, std::size_t v) {
    const auto& vob = vts.Vob_Id.Item(v);
    auto node = PrintNode::Object();
    node.Set("Vob_Id", Count(v));
    node.Set("Dummy", vob.Dummy);
    node.Set("SUB_STREAM", Count(vob.SUB_STREAM.Count()));
    auto& cells = node.Set("CELL_ID", PrintNode::Array());
    for (std::size_t c = 1; c <= vob.CELL_ID.Count(); ++c) {
        const auto& scene = vob.CELL_ID.Item(c);
        auto& cell = cells.Push(PrintNode::Object());
        cell.Set("CELL_ID", Count(c));
        cell.Set("VTSM_START", static_cast<std::uint32_t>(scene.VTSM_START));
        cell.Set("VTSM_END", static_cast<std::uint32_t>(scene.VTSM_END));
        cell.Set("Frames", scene.Frames);
        if (vts.Video.Count() == 0 || vts.Video.Item(1).VobId.Count() < v) continue;
        const auto& played = vts.Video.Item(1).VobId.Item(v).CellId.Item(c);
        auto& play = cell.Set("CellId", PrintNode::Object());
        play.Set("Frames", played.Frames);
        play.Set("BCD", HexText(static_cast<std::uint32_t>(played.BCD), 8));
        play.Set("CellPause", played.CellPause);
        play.Set("CellCommand", played.CellCommand);
        play.Set("Angle", played.Angle);
        play.Set("DummyCell", played.DummyCell);
    }
    return node;
}

PrintNode DomainNode(const JobContext& job, std::size_t d) {
    const auto& vts = job.DiscModel.Item(d);
    auto node = PrintNode::Object();
    node.Set("Domain", Count(d));
    node.Set("Ifo", IfoNameOfDomain(static_cast<int>(d)));
    node.Set("OriginalIfo", vts.OriginalIfo);
    if (vts.Video.Count() > 0) node.Set("Video", VideoNode(vts.Video.Item(1)));
    auto& audio = node.Set("Audio", PrintNode::Array());
    for (const auto& stream : vts.Audio) {
        auto& item = audio.Push(PrintNode::Object());
        item.Set("Audio_Type", stream.Audio_Type);
        item.Set("Language", stream.Language);
    }
    node.Set("SubsPresent", vts.SubsPresent);
    node.Set("UpdateIfoForSubs", vts.UpdateIfoForSubs);
    node.Set("Split_Cell", vts.Split_Cell);
    auto& modes = node.Set("Stream_Ids", PrintNode::Object());
    modes.Set("Normal", vts.Normal);
    modes.Set("Wide", vts.Wide);
    modes.Set("Letter", vts.Letter);
    modes.Set("Pan", vts.Pan);

    auto& units = node.Set("Language", PrintNode::Array());
    for (const auto& unit : vts.Language) {
        auto& item = units.Push(PrintNode::Object());
        item.Set("Language_Folder", unit.Language_Folder);
        item.Set("PGC_Quantity", unit.PGC_Quantity);
        auto& pgcs = item.Set("PGC_Number", PrintNode::Array());
        for (std::size_t j = 1; j <= unit.PGC_Number.Count(); ++j) pgcs.Push(PgcNode(unit.PGC_Number.Item(j), j));
    }
    auto& vobs = node.Set("Vob_Id", PrintNode::Array());
    for (std::size_t v = 1; v <= vts.Vob_Id.Count(); ++v) vobs.Push(VobNode(vts, v));

    if (d < job.StreamUse.size()) {
        auto& streams = node.Set("StreamUse", PrintNode::Array());
        const auto& use = job.StreamUse[d];
        for (int index = 0; index < StreamUse_Record::kSize; ++index) {
            const auto& first = use.FirstUse[static_cast<std::size_t>(index)];
            const auto& mode = use.Mode[static_cast<std::size_t>(index)];
            if (mode.empty() && first.Language_Folder.empty()) continue;
            auto& item = streams.Push(PrintNode::Object());
            item.Set("Id", index - StreamUse_Record::kOffset);
            item.Set("Mode", mode);
            item.Set("Language_Folder", first.Language_Folder);
            item.Set("Shared", first.Shared);
        }
    }
    return node;
}

PrintNode TitleMapNode(const JobContext& job) {
    auto sets = PrintNode::Array();
    for (std::size_t n = 1; n <= job.TitleMap.Count(); ++n) {
        auto& set = sets.Push(PrintNode::Object());
        set.Set("VTS", Count(n));
        auto& titles = set.Set("TITLES", PrintNode::Array());
        for (const auto& title : job.TitleMap.Item(n).TITLES) {
            auto& item = titles.Push(PrintNode::Object());
            item.Set("TitleNumber", title.TitleNumber);
            item.Set("VTS_TTN", title.VTS_TTN);
            item.Set("Chapter_Count", title.Chapter_Count);
            auto& pgcs = item.Set("PGC_Number", PrintNode::Array());
            for (const auto& pgc : title.PGC_Number) {
                auto& chapters = pgcs.Push(PrintNode::Object()).Set("PG_Chapter", PrintNode::Array());
                for (const auto& program : pgc.PG) chapters.Push(PrintNode::Number(program.Chapter));
            }
        }
    }
    return sets;
}

void Indent(std::string& out, int indent) { out.append(static_cast<std::size_t>(indent), ' '); }

std::string ScalarText(const PrintNode& node, const std::string& text, std::int64_t number) {
    if (node.GetKind() == PrintNode::Kind::Number) return std::to_string(number);
    return text.empty() ? "\"\"" : text;
}

std::string QuotedIfBlank(const std::string& text) {
    return text.find(' ') == std::string::npos ? text : JsonQuote(text);
}

}  // namespace

bool PrintNode::IsFlat() const {
    for (const auto& member : members_) {
        if (member.second.kind_ == Kind::Object || member.second.kind_ == Kind::Array) return false;
    }
    return true;
}

PrintNode PrintNode::Text(std::string text) {
    PrintNode node(Kind::Text);
    node.text_ = std::move(text);
    return node;
}

PrintNode PrintNode::Number(std::int64_t number) {
    PrintNode node(Kind::Number);
    node.number_ = number;
    return node;
}

PrintNode& PrintNode::Set(const std::string& key, PrintNode value) {
    members_.emplace_back(key, std::move(value));
    return members_.back().second;
}

PrintNode& PrintNode::Push(PrintNode value) {
    items_.push_back(std::move(value));
    return items_.back();
}

std::string PrintNode::RenderText() const {
    std::string out;
    RenderTextMembers(out, 0);
    return out;
}

void PrintNode::RenderTextMembers(std::string& out, int indent) const {
    for (const auto& [key, value] : members_) {
        switch (value.kind_) {
            case Kind::Text:
            case Kind::Number:
                Indent(out, indent);
                out += key + " " + ScalarText(value, value.text_, value.number_) + "\n";
                break;
            case Kind::Object:
                Indent(out, indent);
                out += key + "\n";
                value.RenderTextMembers(out, indent + 2);
                break;
            case Kind::Array:
                for (std::size_t i = 0; i < value.items_.size(); ++i) {
                    const auto& item = value.items_[i];
                    Indent(out, indent);
                    out += key + " " + std::to_string(i + 1);
                    if (item.kind_ == Kind::Object && item.IsFlat()) {
                        // A row of scalars (a command, a cell reference) on one line.
                        out += ":";
                        for (const auto& [name, field] : item.members_) {
                            out += " " + name + "=" + QuotedIfBlank(ScalarText(field, field.text_, field.number_));
                        }
                        out += "\n";
                    } else if (item.kind_ == Kind::Object) {
                        out += "\n";
                        item.RenderTextMembers(out, indent + 2);
                    } else if (item.kind_ == Kind::Array) {
                        out += " [" + std::to_string(item.items_.size()) + " items]\n";
                    } else {
                        out += " " + ScalarText(item, item.text_, item.number_) + "\n";
                    }
                }
                break;
        }
    }
}

std::string PrintNode::RenderJson() const {
    std::string out;
    RenderJsonValue(out, 0);
    out += "\n";
    return out;
}

void PrintNode::RenderJsonValue(std::string& out, int indent) const {
    switch (kind_) {
        case Kind::Text: out += JsonQuote(text_); return;
        case Kind::Number: out += std::to_string(number_); return;
        case Kind::Object:
            if (members_.empty()) {
                out += "{}";
                return;
            }
            out += "{\n";
            for (std::size_t i = 0; i < members_.size(); ++i) {
                Indent(out, indent + 2);
                out += JsonQuote(members_[i].first) + ": ";
                members_[i].second.RenderJsonValue(out, indent + 2);
                out += i + 1 < members_.size() ? ",\n" : "\n";
            }
            Indent(out, indent);
            out += "}";
            return;
        case Kind::Array:
            if (items_.empty()) {
                out += "[]";
                return;
            }
            out += "[\n";
            for (std::size_t i = 0; i < items_.size(); ++i) {
                Indent(out, indent + 2);
                items_[i].RenderJsonValue(out, indent + 2);
                out += i + 1 < items_.size() ? ",\n" : "\n";
            }
            Indent(out, indent);
            out += "]";
            return;
    }
}

void AddPlaybackPGCs(PrintNode& root, const JobContext& job, const PlaybackPGCs& pgcs) {
    if (pgcs.FP_PGC) root.Set("FP_PGC", PlaybackPgcNode(job, *pgcs.FP_PGC, PrintNode::Object()));
    auto& sets = root.Set("VTS_PGCIT", PrintNode::Array());
    for (std::size_t n = 0; n < pgcs.VTS_PGCIT.size(); ++n) {
        auto& set = sets.Push(PrintNode::Object());
        set.Set("VTS", Count(n + 1));
        auto& list = set.Set("PGC", PrintNode::Array());
        for (std::size_t j = 0; j < pgcs.VTS_PGCIT[n].size(); ++j) {
            const TitlePGC& title = pgcs.VTS_PGCIT[n][j];
            auto node = PrintNode::Object();
            node.Set("Number", Count(j + 1));
            node.Set("PGC_Type", std::to_string(title.Entry.Category));
            list.Push(PlaybackPgcNode(job, title.Pgc, std::move(node)));
        }
    }
}

std::string JsonQuote(const std::string& text) {
    std::string out = "\"";
    for (std::size_t at = 0; at < text.size(); ++at) {
        const unsigned char c = static_cast<unsigned char>(text[at]);
        // Text that is UTF-8 (a folder name, say) stays as it is.
        if (const std::size_t length = c >= 0x80 ? platform::Utf8SequenceLength(text, at) : 0; length > 1) {
            out.append(text, at, length);
            at += length - 1;
            continue;
        }
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20 || c >= 0x7F) {
                    // A byte that is not part of UTF-8 is kept as its own code point.
                    char escape[8];
                    std::snprintf(escape, sizeof escape, "\\u%04X", c);
                    out += escape;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

PrintNode ModelTree(const JobContext& job) {
    auto root = PrintNode::Object();
    auto& domains = root.Set("DiscModel", PrintNode::Array());
    for (std::size_t d = 1; d <= job.DiscModel.Count(); ++d) domains.Push(DomainNode(job, d));
    root.Set("TitleMap", TitleMapNode(job));
    auto& pool = root.Set("PalettePool", PrintNode::Array());
    for (const auto& palette : job.PalettePool) {
        // Y Cr Cb of the 16 colours.
        std::string colours;
        for (const auto& colour : palette.Palette) {
            if (!colours.empty()) colours += " ";
            colours += HexText(static_cast<std::uint32_t>(colour.Y << 16 | colour.Cr << 8 | colour.Cb), 6);
        }
        pool.Push(PrintNode::Object()).Set("Palette", colours);
    }
    return root;
}

}  // namespace kestrova
