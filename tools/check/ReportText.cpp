#include "tools/check/ReportText.h"

#include "core/OneLine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace Kavo::Tools {

namespace {

QString wordFor(Severity severity)
{
    switch (severity) {
    case Severity::NOTE:
        return QStringLiteral("note");
    case Severity::WARNING:
        return QStringLiteral("warning");
    case Severity::ERROR:
        return QStringLiteral("error");
    }
    Q_UNREACHABLE();
}

QString summary(const CheckReport &report)
{
    QStringList counts;
    for (const Severity severity : {Severity::ERROR, Severity::WARNING, Severity::NOTE})
        counts.append(counted(report.count(severity), wordFor(severity)));
    QString text = counts.join(QStringLiteral(", "));
    if (report.leftOut() > 0)
        text += QStringLiteral(", and %1 more of the same rules").arg(report.leftOut());
    return text;
}

/// Text from the catalogue may contain control sequences for the terminal.
QString asLines(const Finding &finding, const QString &file)
{
    const RuleText &rule = describe(finding.rule);
    const QString pointer =
        finding.pointer.isEmpty() ? QString() : QStringLiteral(" [%1]").arg(finding.pointer);
    const QString place =
        QStringLiteral("%1:%2:%3: ").arg(file).arg(finding.line).arg(finding.column);
    const QString name = wordFor(rule.severity) + QStringLiteral(": ") +
                         QString::fromLatin1(rule.name) + QStringLiteral(": ");
    return oneLine(place + name + finding.message + pointer) + QStringLiteral("\n    Clients: ") +
           QString::fromUtf8(rule.effect) + QStringLiteral("\n    Remedy: ") +
           QString::fromUtf8(rule.remedy) + QLatin1Char('\n');
}

QJsonObject asObject(const Finding &finding)
{
    const RuleText &rule = describe(finding.rule);
    return {{QStringLiteral("rule"), QString::fromLatin1(rule.name)},
            {QStringLiteral("severity"), wordFor(rule.severity)},
            {QStringLiteral("pointer"), finding.pointer},
            {QStringLiteral("line"), finding.line},
            {QStringLiteral("column"), finding.column},
            {QStringLiteral("message"), finding.message},
            {QStringLiteral("effect"), QString::fromUtf8(rule.effect)},
            {QStringLiteral("remedy"), QString::fromUtf8(rule.remedy)}};
}

} // namespace

QString counted(int count, const QString &word)
{
    return QString::number(count) + QLatin1Char(' ') + word +
           (count == 1 ? QString() : QStringLiteral("s"));
}

QByteArray reportAsText(const CheckReport &report, const QString &file)
{
    QString text;
    for (const Finding &finding : report.findings())
        text += asLines(finding, file);
    text += oneLine(file) + QStringLiteral(": ") + summary(report) + QLatin1Char('\n');
    return text.toUtf8();
}

QByteArray reportAsJson(const CheckReport &report, const QString &file)
{
    QJsonArray findings;
    for (const Finding &finding : report.findings())
        findings.append(asObject(finding));
    const QJsonObject object{{QStringLiteral("file"), file},
                             {QStringLiteral("findings"), findings},
                             {QStringLiteral("errors"), report.count(Severity::ERROR)},
                             {QStringLiteral("warnings"), report.count(Severity::WARNING)},
                             {QStringLiteral("notes"), report.count(Severity::NOTE)},
                             {QStringLiteral("leftOut"), report.leftOut()}};
    return QJsonDocument(object).toJson();
}

} // namespace Kavo::Tools
