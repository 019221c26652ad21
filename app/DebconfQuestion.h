// The consent question asked through debconf, the configuration system of
// Debian packages, so that the frontend the administrator chose shows it
// (dialog, readline, gnome, kde, passthrough for PackageKit) and an answer
// can be given ahead of time:
//
//   echo "quorvel-example quorvel-example/consent boolean true" | debconf-set-selections
//
// A product names its own boolean question in its Preferences
// ("DebconfQuestion") and declares it in its own package's templates, with
// a text question "<question>-message" beside it that shows the message:
// a boolean alone shows its long text only behind a Help button in some
// frontends. Without that key the question is `quorvel/consent`, loaded
// from the bundle's quorvel.templates. ${title} and ${message} are filled
// with the panel's own words. debconf keeps every answer: an accepted one
// stays and is not asked again, a declined one is marked unseen so that
// the next install asks again.
#pragma once

#include <optional>
#include <string>

class DebconfQuestion {
public:
    // The question of a bundle that names none, and the bundle resource
    // with its template.
    static constexpr const char* kDefaultQuestion = "quorvel/consent";
    static constexpr const char* kTemplateResource = "quorvel.templates";
    // The suffix of the text question that shows the message.
    static constexpr const char* kMessageSuffix = "-message";

    // What the question shows, and where it is declared.
    struct Texts {
        std::string templateFile; // loaded first unless empty
        std::string question;     // the boolean question's name
        std::string title;
        std::string message;
    };

    // How the question ended.
    enum class Answer {
        kConsented,     // yes, now or given before
        kDeclined,      // a person said no
        kDeclinedAhead, // no was given ahead of time (preseeded)
        kNobodyAsked,   // nobody could be asked (noninteractive) and no answer was there
        kFailed,        // debconf failed on the way
    };

    // A client of the debconf at the other end of these pipes.
    DebconfQuestion(int commands, int replies) : commands_(commands), replies_(replies) {}

    // Greets debconf and asks for escaped arguments, so that the message
    // keeps its line breaks. False when nothing answers as debconf would
    // within `timeoutMs` (a script may have stopped its debconf before
    // starting us).
    bool Connect(int timeoutMs);

    // Asks, or takes the answer debconf already holds (a preseeded or an
    // earlier accepted one). In a maintainer script's session
    // (`scriptSession`) the capabilities are cleared again afterwards.
    Answer Ask(const Texts& texts, bool scriptSession);

    // Asks through a debconf frontend started for this one question, as a
    // maintainer script that does not use debconf itself needs: the frontend
    // runs this executable again with `kChildArgument` and the texts.
    static Answer AskUnderOwnFrontend(const Texts& texts);

    // The argument that makes the executable that child, and the child's
    // side: `arguments` are the template file, the question, the title and
    // the message. Returns the child's exit status.
    static constexpr const char* kChildArgument = "--debconf-question";
    static constexpr int kChildArgumentCount = 4;
    static int RunAsFrontendChild(const char* const arguments[kChildArgumentCount]);

    // The line that gives the question's answer ahead of time, for the
    // administrator: "<owner> <question> boolean true".
    static std::string PreseedLine(const std::string& question);

private:
    // One reply line: its numeric code and the text after it.
    struct Reply {
        int code = -1;
        std::string text;
    };

    // Sends one command and reads its reply, waiting at most `timeoutMs`
    // (-1: as long as the person takes). Nullopt when the pipe failed.
    std::optional<Reply> Command(const std::string& command, int timeoutMs = -1);
    // Sends one command; true when debconf reports success.
    bool Succeeds(const std::string& command);
    // The question's flow once the texts are in place.
    Answer AskQuestion(const Texts& texts);
    // One argument as debconf reads it back: after CAPB escape, blanks,
    // backslashes and newlines survive; before it, newlines become blanks.
    std::string Argument(const std::string& text) const;

    int commands_;        // where commands go
    int replies_;         // where replies come from
    bool escape_ = false; // true once debconf agreed to escaped arguments
};
