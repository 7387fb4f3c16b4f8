#include "tools/SchemaCommand.h"

#include "tools/CommandLine.h"
#include "tools/ExitStatus.h"
#include "tools/Terminal.h"

#include <QFile>

namespace Kavo::Tools {

int runSchema(const QStringList &arguments)
{
    CommandLine line(
        QStringLiteral("schema"),
        QStringLiteral("Prints the JSON Schema of catalogues, for editors that complete "
                       "and check what is typed."));
    if (const auto status = line.read(arguments, 0))
        return *status;
    QFile schema(QStringLiteral(":/schema/catalogue.schema.json"));
    if (!schema.open(QIODevice::ReadOnly)) {
        complain(QStringLiteral("the schema is missing in this build"));
        return NOT_READ;
    }
    print(schema.readAll());
    return CLEAN;
}

} // namespace Kavo::Tools
