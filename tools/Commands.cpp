#include "tools/Commands.h"

#include "tools/AddCommand.h"
#include "tools/CheckCommand.h"
#include "tools/ExitStatus.h"
#include "tools/InitCommand.h"
#include "tools/ProbeCommand.h"
#include "tools/SchemaCommand.h"
#include "tools/Terminal.h"

#include <QCoreApplication>

#include <algorithm>
#include <iterator>

namespace Kavo::Tools {

namespace {

struct Command
{
    const char *name;
    const char *purpose;
    int (*run)(const QStringList &arguments);
};

constexpr Command Known[] = {
    {"init", "creates a catalogue without packages", runInit},
    {"add", "adds a version to a catalogue", runAdd},
    {"check", "finds mistakes in a catalogue and its archives", runCheck},
    {"probe", "examines the server of a catalogue", runProbe},
    {"schema", "prints the JSON Schema of catalogues, for editors", runSchema},
};

QByteArray help()
{
    QByteArray text = "Usage: kavo-catalogue COMMAND [ARGUMENTS]\n"
                      "\n"
                      "Makes and checks catalogues of add-ons for Kavo Suite.\n"
                      "\n";
    for (const Command &command : Known)
        text += "  " + QByteArray(command.name).leftJustified(8) + command.purpose + '\n';
    return text + "\n"
                  "kavo-catalogue COMMAND --help describes a command.\n"
                  "kavo-catalogue --version prints the version of the program.\n";
}

} // namespace

int runCommand(const QStringList &arguments)
{
    const QString first = arguments.value(0);
    if (first == QLatin1String("--help") || first == QLatin1String("-h")) {
        print(help());
        return CLEAN;
    }
    if (first == QLatin1String("--version") || first == QLatin1String("-v")) {
        print("kavo-catalogue " + QCoreApplication::applicationVersion().toUtf8() + '\n');
        return CLEAN;
    }
    const auto *const command =
        std::find_if(std::begin(Known), std::end(Known), [&first](const Command &candidate) {
            return first == QLatin1String(candidate.name);
        });
    if (command != std::end(Known))
        return command->run(arguments.mid(1));
    complain(first.isEmpty()
                 ? QStringLiteral("a command is missing; --help lists them")
                 : QStringLiteral("there is no command \"%1\"; --help lists them").arg(first));
    return USAGE;
}

} // namespace Kavo::Tools
