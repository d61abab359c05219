// Questions and messages to the user. The window, the console of
// kestrova-cli and the scripted answers of tests implement the same
// interface, so the job never knows which one it talks to.
#pragma once

#include <deque>
#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace kestrova::platform {

enum class MessageKind { Information, Exclamation, Critical, Question };

class Questions {
public:
    virtual ~Questions() = default;

    // A yes/no question. `unattendedAnswer` is what a run without a person
    // takes.
    virtual bool AskYesNo(const std::string& text, const std::string& title, bool unattendedAnswer) = 0;
    virtual void ShowMessage(const std::string& text, const std::string& title, MessageKind kind) = 0;
    // A path chosen by the user, or empty when none was.
    virtual std::string ChooseFile(const std::string& title, const std::string& filter) = 0;
    virtual std::string ChooseFolder(const std::string& title) = 0;
};

// The console: asks on the terminal, or, when unattended, takes every
// question's unattended answer and reports it through `note`.
class ConsoleQuestions : public Questions {
public:
    ConsoleQuestions(std::istream& in, std::ostream& out, bool unattended,
                     std::function<void(const std::string&)> note = {});

    bool AskYesNo(const std::string& text, const std::string& title, bool unattendedAnswer) override;
    void ShowMessage(const std::string& text, const std::string& title, MessageKind kind) override;
    std::string ChooseFile(const std::string& title, const std::string& filter) override;
    std::string ChooseFolder(const std::string& title) override;

private:
    std::string AskLine(const std::string& prompt);

    std::istream& in_;
    std::ostream& out_;
    bool unattended_;
    std::function<void(const std::string&)> note_;
};

// Answers given in advance, in order; every question and message is kept
// so a test can check what the user was told. A question with no answer
// left takes its unattended answer.
class ScriptedQuestions : public Questions {
public:
    struct Shown {
        std::string Text;
        std::string Title;
        bool WasQuestion = false;
    };

    void AnswerYes() { answers_.push_back("yes"); }
    void AnswerNo() { answers_.push_back("no"); }
    void AnswerPath(const std::string& path) { answers_.push_back(path); }

    bool AskYesNo(const std::string& text, const std::string& title, bool unattendedAnswer) override;
    void ShowMessage(const std::string& text, const std::string& title, MessageKind kind) override;
    std::string ChooseFile(const std::string& title, const std::string& filter) override;
    std::string ChooseFolder(const std::string& title) override;

    const std::vector<Shown>& History() const { return shown_; }

private:
    std::string Next();

    std::deque<std::string> answers_;
    std::vector<Shown> shown_;
};

}  // namespace kestrova::platform
