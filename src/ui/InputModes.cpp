#include "ui/InputModes.h"

#include "analysis/JunkNames.h"

namespace corvane {

std::optional<InputModeText> inputModeText(qint16 mode)
{
    switch (static_cast<InputMode>(mode)) {
    case InputMode::AddURL:
        return InputModeText{QStringLiteral("Enter URL (like %1)").arg(exampleStartAddress()),
                             QStringLiteral("Please enter URL"), QStringLiteral("http://")};
    case InputMode::AddKeyword:
        return InputModeText{
            QStringLiteral("Enter Keyword"), QStringLiteral("Please enter Keyword"), {}};
    case InputMode::AddKnowledgebase:
        return InputModeText{QStringLiteral("Enter Knowledgebase name"),
                             QStringLiteral("Please enter Knowledgebase name"),
                             {}};
    case InputMode::AddDomain:
        return InputModeText{QStringLiteral("Enter Domain name to exclude"),
                             QStringLiteral("Please enter Domian name"),
                             {}};
    case InputMode::AddExcludeEmailType:
        return InputModeText{QStringLiteral("Enter Email-ID types to exclude"),
                             QStringLiteral("Please enter Email-ID types to exclude"),
                             {}};
    case InputMode::AddIncludeEmailType:
        return InputModeText{QStringLiteral("Enter Email-ID type to include"),
                             QStringLiteral("Please enter Email-ID types to include"),
                             {}};
    case InputMode::AddTaxonomy:
        return InputModeText{
            QStringLiteral("Please enter taxonomy"), QStringLiteral("Please enter Taxonomy"), {}};
    case InputMode::AddJunkExtension:
        return InputModeText{QStringLiteral("Enter file extension (like png)"),
                             QStringLiteral("Please enter file extension"),
                             {}};
    }
    return std::nullopt;
}

InputVerdict checkInput(qint16 mode, const QString &text)
{
    InputVerdict verdict;
    const auto modeText = inputModeText(mode);
    if (text.isEmpty()) {
        verdict.message = modeText ? modeText->emptyMessage : QString();
        return verdict;
    }
    if (static_cast<InputMode>(mode) == InputMode::AddURL &&
        !text.startsWith(QLatin1String("http://"))) {
        verdict.message =
            QStringLiteral("Please enter valid URL (like %1)").arg(exampleStartAddress());
        verdict.resetTo = QStringLiteral("http://");
        return verdict;
    }
    if (static_cast<InputMode>(mode) == InputMode::AddJunkExtension &&
        normalisedJunkExtension(text).isEmpty()) {
        verdict.message = QStringLiteral(
            "Please enter a file extension of up to 16 letters and digits (like png)");
        return verdict;
    }
    verdict.accepted = true;
    return verdict;
}

InputOperations &InputOperations::set(InputMode mode, Operation operation)
{
    const auto index = static_cast<size_t>(mode);
    if (index < m_operations.size())
        m_operations[index] = std::move(operation);
    return *this;
}

bool InputOperations::run(qint16 mode, const QString &text) const
{
    if (mode <= 0 || static_cast<size_t>(mode) >= m_operations.size() || !m_operations[mode])
        return false;
    m_operations[mode](text);
    return true;
}

} // namespace corvane
