// Console and scripted implementations of the question interface.
#include "platform/questions.h"

#include <istream>
#include <ostream>

namespace kestrova::platform {

namespace {

const char* KindWord(MessageKind kind) {
    switch (kind) {
        case MessageKind::Information: return "Information";
        case MessageKind::Exclamation: return "Warning";
        case MessageKind::Critical: return "Error";
        case MessageKind::Question: return "Question";
    }
    return "Information";
}

}  // namespace

ConsoleQuestions::ConsoleQuestions(std::istream& in, std::ostream& out, bool unattended,
                                   std::function<void(const std::string&)> note)
    : in_(in), out_(out), unattended_(unattended), note_(std::move(note)) {}

std::string ConsoleQuestions::AskLine(const std::string& prompt) {
    out_ << prompt << std::flush;
    std::string line;
    if (!std::getline(in_, line)) return {};
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

bool ConsoleQuestions::AskYesNo(const std::string& text, const std::string& title, bool unattendedAnswer) {
    if (unattended_) {
        if (note_) note_("Question \"" + title + "\": " + text + " - answered " + (unattendedAnswer ? "Yes" : "No") +
                         " (unattended)");
        return unattendedAnswer;
    }
    for (;;) {
        const std::string answer = AskLine("[" + title + "] " + text + " (y/n) ");
        if (answer.empty() && !in_) return unattendedAnswer;  // input closed
        if (answer == "y" || answer == "Y" || answer == "yes" || answer == "Yes") return true;
        if (answer == "n" || answer == "N" || answer == "no" || answer == "No") return false;
    }
}

void ConsoleQuestions::ShowMessage(const std::string& text, const std::string& title, MessageKind kind) {
    out_ << KindWord(kind) << " [" << title << "]: " << text << '\n' << std::flush;
    if (unattended_ && note_) note_("Message \"" + title + "\": " + text);
}

std::string ConsoleQuestions::ChooseFile(const std::string& title, const std::string& filter) {
    if (unattended_) return {};
    return AskLine(title + " (" + filter + "): ");
}

std::string ConsoleQuestions::ChooseFolder(const std::string& title) {
    if (unattended_) return {};
    return AskLine(title + ": ");
}

std::string ScriptedQuestions::Next() {
    if (answers_.empty()) return {};
    std::string answer = answers_.front();
    answers_.pop_front();
    return answer;
}

bool ScriptedQuestions::AskYesNo(const std::string& text, const std::string& title, bool unattendedAnswer) {
    shown_.push_back({text, title, true});
    if (answers_.empty()) return unattendedAnswer;
    return Next() == "yes";
}

void ScriptedQuestions::ShowMessage(const std::string& text, const std::string& title, MessageKind) {
    shown_.push_back({text, title, false});
}

std::string ScriptedQuestions::ChooseFile(const std::string& title, const std::string&) {
    shown_.push_back({title, title, true});
    return Next();
}

std::string ScriptedQuestions::ChooseFolder(const std::string& title) {
    shown_.push_back({title, title, true});
    return Next();
}

}  // namespace kestrova::platform
