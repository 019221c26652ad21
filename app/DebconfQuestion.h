// The consent question asked through debconf, the configuration system of
// Debian packages, so that the frontend the administrator chose shows it
// (dialog, readline, gnome, kde, passthrough for PackageKit) and an answer
// can be given ahead of time:
//
//   echo "quorvel quorvel/consent boolean true" | debconf-set-selections
//
// The question is `quorvel/consent`, a boolean that defaults to false. Its
// template ships in the bundle (Resources/quorvel.templates) and is loaded
// with X_LOADTEMPLATEFILE under the owner `quorvel`; its ${title} and
// ${message} are filled with the panel's own words. debconf keeps every
// answer: an accepted one stays and is not asked again, a declined one is
// marked unseen so that the next install asks again.
#pragma once

#include <optional>
#include <string>

class DebconfQuestion {
public:
    // The question's name, its owner in debconf's database, and the bundle
    // resource with its template.
    static constexpr const char* kQuestion = "quorvel/consent";
    static constexpr const char* kOwner = "quorvel";
    static constexpr const char* kTemplateResource = "quorvel.templates";

    // What the question shows, and the template file that declares it.
    struct Texts {
        std::string templateFile;
        std::string title;
        std::string message;
    };

    // A client of the debconf at the other end of these pipes.
    DebconfQuestion(int commands, int replies) : commands_(commands), replies_(replies) {}

    // Greets debconf, and in a session of our own asks for escaped
    // arguments (`ownSession`; a maintainer script's session keeps the
    // capabilities the script chose). False when nothing answers as debconf
    // would within `timeoutMs` (a script may have stopped its debconf
    // before starting us).
    bool Connect(int timeoutMs, bool ownSession);

    // Asks, or takes the answer debconf already holds (a preseeded or an
    // earlier accepted one). True consents, false declines; nullopt when
    // debconf failed on the way.
    std::optional<bool> Ask(const Texts& texts);

    // Asks through a debconf frontend started for this one question, as a
    // maintainer script that does not use debconf itself needs: the frontend
    // runs this executable again with `kChildArgument` and the texts.
    static std::optional<bool> AskUnderOwnFrontend(const Texts& texts);

    // The argument that makes the executable that child, and the child's
    // side: `arguments` are the template file, the title and the message.
    // Returns the child's exit status.
    static constexpr const char* kChildArgument = "--debconf-question";
    static int RunAsFrontendChild(const char* const arguments[3]);

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
    // One argument as debconf reads it back: after CAPB escape, blanks,
    // backslashes and newlines survive; before it, newlines become blanks.
    std::string Argument(const std::string& text) const;

    int commands_;        // where commands go
    int replies_;         // where replies come from
    bool escape_ = false; // true once debconf agreed to escaped arguments
};
