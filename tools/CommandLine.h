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
    /// `synopsis` is what follows the name of the program.
    CommandLine(const QString &synopsis, const QString &description);

    /// To declare options with.
    QCommandLineParser &parser() { return m_parser; }

    /// Reads the arguments, of which `positional` stand by themselves and up to `optional` more
    /// may. Returns the exit status when there is nothing to run: help was asked for, or the
    /// arguments are not understood.
    std::optional<int> read(const QStringList &arguments, int positional, int optional = 0);

private:
    QCommandLineParser m_parser;
    QString m_synopsis;
    QString m_description;
};

} // namespace Kavo::Tools
