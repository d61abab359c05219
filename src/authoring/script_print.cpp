// The authoring model as a print tree: see script_print.h. Rows whose
// fields are all scalars (an item, a play, a button, a command, a cell
// without menus) print as one line; empty optional fields are left out.
#include "authoring/script_print.h"

#include <string>

namespace kestrova {

namespace {

std::int64_t Count(std::size_t n) { return static_cast<std::int64_t>(n); }

PrintNode Placed(const ScriptPlace& place) {
    PrintNode node = PrintNode::Object();
    node.Set("line", std::int64_t{place.Line});
    return node;
}

void SetIf(PrintNode& node, const std::string& key, const std::string& text) {
    if (!text.empty()) node.Set(key, text);
}

std::string DataKindName(ScriptDataKind kind) {
    switch (kind) {
    case ScriptDataKind::Video:
        return "video";
    case ScriptDataKind::Still:
        return "still";
    case ScriptDataKind::Audio:
        return "audio";
    case ScriptDataKind::Subpicture:
        return "sub-picture";
    }
    return "";
}

std::string TrackKindName(ScriptTrackKind kind) {
    switch (kind) {
    case ScriptTrackKind::Video:
        return "video";
    case ScriptTrackKind::StillMenu:
        return "still menu";
    case ScriptTrackKind::SlideShow:
        return "slide show";
    }
    return "";
}

PrintNode DataItemNode(const ScriptDataItem& item) {
    PrintNode node = Placed(item.Place);
    node.Set("kind", DataKindName(item.Kind));
    node.Set("name", item.Name);
    node.Set("file", item.File);
    if (item.PlaceHolder) node.Set("place_holder", "yes");
    node.Set("start", item.StartTime);
    node.Set("end", item.EndTime);
    if (item.Width != 0 || item.Height != 0) {
        node.Set("width", std::int64_t{item.Width});
        node.Set("height", std::int64_t{item.Height});
    }
    SetIf(node, "aspect", item.AspectRatio);
    if (item.Kind == ScriptDataKind::Audio) {
        node.Set("bit_rate", std::int64_t{item.BitRate});
        node.Set("channels", item.Channels);
        node.Set("lfe", item.Lfe ? "yes" : "no");
    }
    return node;
}

std::string Four(const std::array<int, 4>& values) {
    return std::to_string(values[0]) + " " + std::to_string(values[1]) + " " + std::to_string(values[2]) + " " +
           std::to_string(values[3]);
}

std::string AreaText(const ScriptArea& a) {
    return std::to_string(a.X1) + "," + std::to_string(a.Y1) + "-" + std::to_string(a.X2) + "," + std::to_string(a.Y2);
}

// A Muxman play names its file and has no start to video; its sub-picture
// plays carry their look.
PrintNode PlayNode(const ScriptPlay& play, bool muxman) {
    PrintNode node = Placed(play.Place);
    SetIf(node, "data", play.Data);
    SetIf(node, "file", play.File);
    if (!muxman) node.Set("start_to_video", play.StartTimeToVideo);
    if (!muxman || !play.StartTime.empty()) node.Set("start", play.StartTime);
    node.Set("duration", play.Duration);
    const ScriptSubpictureLook& look = play.Look;
    if (!look.ForcedStart.empty() || !look.TimeCode.empty()) {
        node.Set("forced_start", look.ForcedStart);
        node.Set("time_code", look.TimeCode);
        node.Set("origin", std::to_string(look.OriginX) + "," + std::to_string(look.OriginY));
        node.Set("display_area", AreaText(look.DisplayArea));
        node.Set("pixel_colours", look.PixelColors[0] + "/" + look.PixelColors[1] + "/" + look.PixelColors[2]);
        node.Set("colour", Four(look.Color));
        node.Set("contrast", Four(look.Contrast));
    }
    return node;
}

PrintNode StreamNode(const ScriptStream& stream, bool muxman) {
    PrintNode node = Placed(stream.Place);
    node.Set("number", std::int64_t{stream.StreamNumber});
    SetIf(node, "language", stream.Language);
    if (muxman) {
        node.Set("language_extension", std::int64_t{stream.LanguageExtension});
        node.Set("delay", std::int64_t{stream.Delay});
    }
    SetIf(node, "display_mode", stream.DisplayMode);
    PrintNode& plays = node.Set("play", PrintNode::Array());
    for (const ScriptPlay& play : stream.Plays) plays.Push(PlayNode(play, muxman));
    return node;
}

PrintNode HighlightNode(const ScriptHighlight& highlight, bool muxman) {
    PrintNode node = PlayNode(highlight.Play, muxman);
    SetIf(node, "select_end", highlight.SelectEndTime);
    node.Set("button_modes",
             highlight.ButtonModes[0] + "/" + highlight.ButtonModes[1] + "/" + highlight.ButtonModes[2]);
    node.Set("offset", std::int64_t{highlight.OffsetNumber});
    node.Set("numerical", std::int64_t{highlight.NumericalButtons});
    node.Set("forced_selected", highlight.ForcedSelected);
    node.Set("forced_activated", highlight.ForcedActivated);
    PrintNode& groups = node.Set("colour_group", PrintNode::Array());
    for (const ScriptColorGroup& group : highlight.ColorGroups) {
        PrintNode& g = groups.Push(PrintNode::Object());
        g.Set("selection_colour", Four(group.SelectionColor));
        g.Set("selection_contrast", Four(group.SelectionContrast));
        g.Set("action_colour", Four(group.ActionColor));
        g.Set("action_contrast", Four(group.ActionContrast));
    }
    PrintNode& buttons = node.Set("button", PrintNode::Array());
    for (const ScriptButton& button : highlight.Buttons) {
        PrintNode b = Placed(button.Place);
        b.Set("name", button.Name);
        b.Set("number", std::int64_t{button.Number});
        b.Set("colour", std::int64_t{button.ColorIndex});
        b.Set("auto", button.AutoAction ? "yes" : "no");
        std::string areas;
        for (const ScriptArea& a : button.Areas) areas += (areas.empty() ? "" : " ") + AreaText(a);
        b.Set("areas", areas);
        b.Set("left", button.Left);
        b.Set("right", button.Right);
        b.Set("up", button.Up);
        b.Set("down", button.Down);
        buttons.Push(std::move(b));
    }
    return node;
}

std::string Joined(const std::vector<std::string>& texts) {
    std::string out;
    for (const std::string& text : texts) out += (out.empty() ? "" : "; ") + text;
    return out;
}

PrintNode TrackNode(const ScriptTrack& track, bool muxman) {
    PrintNode node = Placed(track.Place);
    node.Set("kind", TrackKindName(track.Kind));
    node.Set("name", track.Name);
    node.Set("display_mode", track.DisplayMode);
    if (muxman) {
        node.Set("standard", track.Standard);
        PrintNode& plays = node.Set("video_play", PrintNode::Array());
        for (const ScriptPlay& play : track.VideoPlays) plays.Push(PlayNode(play, true));
    } else {
        node.Set("picture", PlayNode(track.Picture, false));
    }
    PrintNode& audio = node.Set("audio_stream", PrintNode::Array());
    for (const ScriptStream& stream : track.AudioStreams) audio.Push(StreamNode(stream, muxman));
    PrintNode& subpictures = node.Set("sub_picture_stream", PrintNode::Array());
    for (const ScriptStream& stream : track.SubpictureStreams) subpictures.Push(StreamNode(stream, muxman));
    PrintNode& highlights = node.Set("highlight", PrintNode::Array());
    for (const ScriptHighlight& highlight : track.Highlights) highlights.Push(HighlightNode(highlight, muxman));
    PrintNode& scenes = node.Set("scene", PrintNode::Array());
    for (const ScriptScene& scene : track.Scenes) {
        PrintNode s = Placed(scene.Place);
        s.Set("name", scene.Name);
        if (!muxman) s.Set("palette", scene.ColorPalette);
        s.Set("time", scene.SceneTime);
        SetIf(s, "uop", muxman ? scene.Uop : Joined(scene.Uops));
        scenes.Push(std::move(s));
    }
    return node;
}

PrintNode CommandNode(const ScriptCommand& command) {
    PrintNode node = Placed(command.Place);
    node.Set("name", command.Name);
    node.Set("command", command.Text);
    node.Set("to_action", command.Target);
    return node;
}

void Commands(PrintNode& node, const std::string& key, const std::vector<ScriptCommand>& commands) {
    PrintNode& list = node.Set(key, PrintNode::Array());
    for (const ScriptCommand& command : commands) list.Push(CommandNode(command));
}

PrintNode PgcNode(const ScriptPgc& pgc) {
    PrintNode node = Placed(pgc.Place);
    node.Set("name", pgc.Name);
    if (!pgc.Visible) node.Set("visible", "no");
    SetIf(node, "next", pgc.NextPgc);
    SetIf(node, "prev", pgc.PrevPgc);
    SetIf(node, "goup", pgc.GoupPgc);
    SetIf(node, "menu_id", pgc.MenuId);
    node.Set("still_time", std::int64_t{pgc.StillTime});
    SetIf(node, "uop", pgc.Uop.empty() ? Joined(pgc.Uops) : pgc.Uop);
    SetIf(node, "palette", pgc.Palette);
    Commands(node, "pre_command", pgc.PreCommands);
    Commands(node, "post_command", pgc.PostCommands);
    Commands(node, "cell_command", pgc.CellCommands);
    PrintNode& programs = node.Set("program", PrintNode::Array());
    for (const ScriptProgram& program : pgc.Programs) {
        PrintNode& p = programs.Push(Placed(program.Place));
        p.Set("name", program.Name);
        PrintNode& cells = p.Set("cell", PrintNode::Array());
        for (const ScriptCell& cell : program.Cells) {
            PrintNode c = Placed(cell.Place);
            c.Set("name", cell.Name);
            c.Set("linked_scene", cell.LinkedScene);
            c.Set("seamless", std::int64_t{cell.SeamlessFlag});
            c.Set("still_time", std::int64_t{cell.StillTime});
            c.Set("cell_command", std::int64_t{cell.CellCommand});
            if (!cell.Menus.empty()) {
                PrintNode& menus = c.Set("menu", PrintNode::Array());
                for (const ScriptMenu& menu : cell.Menus) {
                    PrintNode& m = menus.Push(Placed(menu.Place));
                    m.Set("name", menu.Name);
                    Commands(m, "command", menu.Commands);
                }
            }
            cells.Push(std::move(c));
        }
    }
    return node;
}

PrintNode References(const std::vector<ScriptReference>& references) {
    PrintNode list = PrintNode::Array();
    for (const ScriptReference& reference : references) list.Push(PrintNode::Text(reference.Name));
    return list;
}

PrintNode DomainNode(const ScriptDomain& domain) {
    PrintNode node = Placed(domain.Place);
    node.Set("kind", domain.Kind == ScriptDomainKind::VideoManager ? "video manager" : "title set");
    node.Set("name", domain.Name);
    PrintNode& languages = node.Set("language", PrintNode::Array());
    for (const ScriptLanguage& language : domain.Languages) {
        PrintNode& l = languages.Push(Placed(language.Place));
        l.Set("name", language.Name);
        l.Set("language_name", language.LanguageName);
        SetIf(l, "label", language.Label);
        PrintNode& pgcs = l.Set("pgc", PrintNode::Array());
        for (const ScriptPgc& pgc : language.Pgcs) pgcs.Push(PgcNode(pgc));
        if (!language.PartOfTitle.empty()) l.Set("part_of_title", References(language.PartOfTitle));
    }
    node.Set("menu_track", References(domain.MenuTracks));
    node.Set("title_track", References(domain.TitleTracks));
    PrintNode& titles = node.Set("title", PrintNode::Array());
    for (const ScriptTitle& title : domain.Titles) {
        PrintNode& t = titles.Push(Placed(title.Place));
        t.Set("name", title.Name);
        SetIf(t, "uop", title.Uop);
        PrintNode& pgcs = t.Set("pgc", PrintNode::Array());
        for (const ScriptPgc& pgc : title.Pgcs) pgcs.Push(PgcNode(pgc));
        t.Set("part_of_title", References(title.PartOfTitle));
    }
    return node;
}

}  // namespace

PrintNode ScriptModelTree(const ScriptModel& model) {
    PrintNode root = PrintNode::Object();
    const bool muxman = model.Dialect == ScriptDialect::Muxman;
    root.Set("file", model.Files.empty() ? std::string() : model.Files.front());
    if (muxman) {
        root.Set("dialect", "muxman");
    } else {
        root.Set("data_format_version", std::int64_t{model.DataFormatVersion});
    }
    SetIf(root, "dvd_root_directory", model.DvdRootDirectory);
    PrintNode& dataFolders = root.Set("data_folder", PrintNode::Array());
    for (const ScriptDataFolder& folder : model.DataFolders) {
        PrintNode& f = dataFolders.Push(Placed(folder.Place));
        f.Set("name", folder.Name);
        f.Set("items", Count(folder.Items.size()));
        PrintNode& items = f.Set("item", PrintNode::Array());
        for (const ScriptDataItem& item : folder.Items) items.Push(DataItemNode(item));
    }
    PrintNode& trackFolders = root.Set("track_folder", PrintNode::Array());
    for (const ScriptTrackFolder& folder : model.TrackFolders) {
        PrintNode& f = trackFolders.Push(Placed(folder.Place));
        f.Set("name", folder.Name);
        f.Set("tracks", Count(folder.Tracks.size()));
        PrintNode& tracks = f.Set("track", PrintNode::Array());
        for (const ScriptTrack& track : folder.Tracks) tracks.Push(TrackNode(track, muxman));
    }
    PrintNode& scenario = root.Set("scenario", Placed(model.Scenario.Place));
    if (model.Scenario.FirstPgc) scenario.Set("first_pgc", PgcNode(*model.Scenario.FirstPgc));
    if (model.Scenario.ResumePgc) scenario.Set("resume_pgc", PgcNode(*model.Scenario.ResumePgc));
    PrintNode& domains = scenario.Set("domain", PrintNode::Array());
    for (const ScriptDomain& domain : model.Scenario.Domains) domains.Push(DomainNode(domain));
    PrintNode& palettes = root.Set("palette", PrintNode::Array());
    for (const ScriptPalette& palette : model.Palettes) {
        PrintNode p = Placed(palette.Place);
        p.Set("name", palette.Name);
        std::string colours;
        for (const ScriptColor& c : palette.Colors) {
            colours += (colours.empty() ? "" : " ") + std::to_string(c.Index) + ":" + std::to_string(c.Red) + "," +
                       std::to_string(c.Green) + "," + std::to_string(c.Blue);
        }
        p.Set("colours", colours);
        palettes.Push(std::move(p));
    }
    return root;
}

}  // namespace kestrova
