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
                     QStringLiteral("Creates a catalogue without packages. FILE is packages.json "
                                    "in the current folder by\ndefault. An existing file is not "
                                    "changed."));
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
