#include "tools/CommandLine.h"

#include "tools/ExitStatus.h"
#include "tools/Terminal.h"

namespace Kavo::Tools {

CommandLine::CommandLine(const QString &synopsis, const QString &description)
    : m_synopsis(synopsis)
    , m_description(description)
{
    m_parser.addOption({{QStringLiteral("h"), QStringLiteral("help")},
                        QStringLiteral("Prints this help and exits.")});
}

std::optional<int> CommandLine::read(const QStringList &arguments, int positional, int optional)
{
    const QStringList all = QStringList(QStringLiteral("kavo-catalogue")) + arguments;
    const bool isUnderstood = m_parser.parse(all);
    if (isUnderstood && m_parser.isSet(QStringLiteral("help"))) {
        // Qt's help text begins with the name of the executable and does not support commands.
        const QString options = m_parser.helpText().section(QStringLiteral("\n\n"), 1);
        print((QStringLiteral("Usage: kavo-catalogue ") + m_synopsis + QStringLiteral("\n\n") +
               m_description + QStringLiteral("\n\n") + options)
                  .toUtf8());
        return CLEAN;
    }
    QString fault;
    if (!isUnderstood)
        fault = m_parser.errorText();
    else if (m_parser.positionalArguments().size() < positional)
        fault = QStringLiteral("an argument is missing");
    else if (m_parser.positionalArguments().size() > positional + optional)
        fault = QStringLiteral("there are too many arguments");
    if (fault.isEmpty())
        return std::nullopt;
    complain(fault);
    complain(QStringLiteral("usage: kavo-catalogue ") + m_synopsis);
    return USAGE;
}

} // namespace Kavo::Tools
