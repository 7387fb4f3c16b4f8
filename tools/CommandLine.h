#pragma once

#include <QCommandLineParser>
#include <QString>
#include <QStringList>

#include <optional>

namespace Kavo::Tools {

/// The options and arguments of one command. It adds --help to what the command declares.
class CommandLine final
{
public:
    /// `synopsis` follows the name of the program.
    CommandLine(const QString &synopsis, const QString &description);

    /// The parser, for the declaration of options.
    QCommandLineParser &parser() { return m_parser; }

    /// Parses the arguments: `positional` ones are required and up to `optional` more are allowed.
    /// Returns the exit status if there is nothing to run, because help was requested or the
    /// arguments are wrong.
    std::optional<int> read(const QStringList &arguments, int positional, int optional = 0);

private:
    QCommandLineParser m_parser;
    QString m_synopsis;
    QString m_description;
};

} // namespace Kavo::Tools
