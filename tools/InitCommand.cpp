#include "tools/InitCommand.h"

#include "core/OneLine.h"
#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"
#include "tools/publish/CatalogueFile.h"

namespace Kavo::Tools {

int runInit(const QStringList &arguments)
{
    CommandLine line(QStringLiteral("init [FILE]"),
                     QStringLiteral("Starts a catalogue without packages, packages.json in the "
                                    "present folder where no FILE is\nnamed. A file that is there "
                                    "already is left alone."));
    if (const auto status = line.read(arguments, 0, 1))
        return *status;
    const QString path =
        line.parser().positionalArguments().value(0, QStringLiteral("packages.json"));
    const QString fault = CatalogueFile::make(path, QByteArrayLiteral("[]\n"));
    if (!fault.isEmpty()) {
        complain(oneLine(path) + QStringLiteral(": ") + fault);
        return NOT_READ;
    }
    print((oneLine(path) + QStringLiteral(": a catalogue without packages\n")).toUtf8());
    return CLEAN;
}

} // namespace Kavo::Tools
