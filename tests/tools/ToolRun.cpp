#include "tests/tools/ToolRun.h"

#include <QProcess>

namespace Kavo::Testing {

ToolRun::ToolRun(const QStringList &arguments, const QString &folder)
{
    QProcess process;
    if (!folder.isEmpty())
        process.setWorkingDirectory(folder);
    process.start(QStringLiteral(KAVO_CATALOGUE), arguments);
    constexpr int longest = 60'000;
    if (!process.waitForFinished(longest)) {
        process.kill();
        process.waitForFinished(-1);
    } else if (process.exitStatus() == QProcess::NormalExit) {
        m_status = process.exitCode();
    }
    m_output = process.readAllStandardOutput();
    m_complaints = process.readAllStandardError();
}

} // namespace Kavo::Testing
