#pragma once

#include <QString>

#include <array>
#include <functional>
#include <optional>

namespace corvane {

// What the input box asks for; the number is the mode code the windows pass.
enum class InputMode : qint16 {
    AddURL = 1,
    AddKeyword = 2,
    AddKnowledgebase = 3, // the knowledge base's name, stored as a mail group
    AddDomain = 4,
    AddExcludeEmailType = 5,
    AddIncludeEmailType = 6,
    AddTaxonomy = 7,
    AddJunkExtension = 8, // a file extension for the modern profile's junk filter
};

// The address shown in the URL prompts as an example.
inline QString exampleStartAddress()
{
    return QStringLiteral("http://www.example.com");
}

struct InputModeText
{
    QString prompt;
    QString emptyMessage;
    QString initialText;
};

// Prompt, empty-input message and starting text of a mode; nothing for an unknown mode.
std::optional<InputModeText> inputModeText(qint16 mode);

// What OK does with the typed text.
struct InputVerdict
{
    bool accepted = false;
    QString message;                // shown when refused
    std::optional<QString> resetTo; // the field's new text when refused, if it changes
};
InputVerdict checkInput(qint16 mode, const QString &text);

// The operations the caller lends the input box, one per mode. The box runs the one of its
// mode with the accepted text; a mode without an operation just returns the text.
class InputOperations
{
public:
    using Operation = std::function<void(const QString &)>;

    InputOperations &set(InputMode mode, Operation operation);
    // Runs the mode's operation; false when the mode has none.
    bool run(qint16 mode, const QString &text) const;

private:
    std::array<Operation, 9> m_operations;
};

} // namespace corvane
