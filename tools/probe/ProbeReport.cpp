#include "tools/probe/ProbeReport.h"

#include "core/OneLine.h"

#include <QStringList>

#include <algorithm>
#include <array>

namespace Kavo::Tools {

namespace {

constexpr int Columns = 4;
using Row = std::array<QString, Columns>;

/// Equal observations of several addresses.
using Group = QVector<Observation>;

bool saySame(const Observation &one, const Observation &other)
{
    const bool isOfOne = one.subject != Observation::Subject::Server ||
                         one.address.authority() == other.address.authority();
    return isOfOne && one.subject == other.subject && one.asked == other.asked &&
           one.verdict == other.verdict && one.advice == other.advice;
}

QVector<Group> grouped(const QVector<Observation> &observations)
{
    QVector<Group> groups;
    for (const Observation &observation : observations) {
        const auto same =
            std::find_if(groups.begin(), groups.end(), [&observation](const Group &group) {
                return saySame(group.first(), observation);
            });
        if (same == groups.end())
            groups.append({observation});
        else
            same->append(observation);
    }
    return groups;
}

QString subjectOf(const Group &group)
{
    const Observation &first = group.first();
    const int count = group.size();
    switch (first.subject) {
    case Observation::Subject::Server:
        return first.address.authority();
    case Observation::Subject::Catalogue:
        return QStringLiteral("catalogue");
    case Observation::Subject::Picture:
        return count == 1 ? QStringLiteral("icon") : QStringLiteral("%1 icons").arg(count);
    case Observation::Subject::Archive:
        return count == 1 ? QStringLiteral("archive") : QStringLiteral("%1 archives").arg(count);
    }
    return {};
}

QString cameOf(const Group &group)
{
    const QString first = group.first().came;
    const bool isOne =
        std::all_of(group.cbegin(), group.cend(),
                    [&first](const Observation &observation) { return observation.came == first; });
    return isOne ? first : first + QStringLiteral(" and the like");
}

/// Text from servers and catalogues is not trusted and goes to a terminal.
Row rowOf(const Group &group)
{
    const Observation &first = group.first();
    return {oneLine(subjectOf(group)), first.asked, oneLine(cameOf(group)),
            ProbeReport::nameOf(first.verdict)};
}

QString table(const QVector<Row> &rows)
{
    std::array<int, Columns> widths{};
    for (const Row &row : rows) {
        for (std::size_t column = 0; column < Columns; ++column)
            widths.at(column) = qMax(widths.at(column), row.at(column).size());
    }
    QString text;
    for (const Row &row : rows) {
        QString line;
        for (std::size_t column = 0; column < Columns; ++column)
            line += row.at(column).leftJustified(widths.at(column) + 2);
        text += line.trimmed() + QLatin1Char('\n');
    }
    return text;
}

QString adviceOf(const Group &group)
{
    constexpr int mostAddresses = 5;
    const Observation &first = group.first();
    QString text =
        QStringLiteral("\n%1: %2\n").arg(ProbeReport::nameOf(first.verdict), first.advice);
    if (first.address.isEmpty())
        return text;
    for (const Observation &observation : group.mid(0, mostAddresses))
        text += QStringLiteral("    %1\n")
                    .arg(oneLine(observation.address.toDisplayString(QUrl::RemoveUserInfo)));
    if (group.size() > mostAddresses)
        text += QStringLiteral("    and %1 more\n").arg(group.size() - mostAddresses);
    return text;
}

} // namespace

Verdict ProbeReport::worst() const
{
    Verdict worst = Verdict::Good;
    for (const Observation &observation : m_observations)
        worst = std::max(worst, observation.verdict);
    return worst;
}

QString ProbeReport::text() const
{
    const QVector<Group> groups = grouped(m_observations);
    QVector<Row> rows{{QStringLiteral("WHAT"), QStringLiteral("ASKED"), QStringLiteral("CAME"),
                       QStringLiteral("VERDICT")}};
    QString advice;
    for (const Group &group : groups) {
        rows.append(rowOf(group));
        if (!group.first().advice.isEmpty())
            advice += adviceOf(group);
    }
    return table(rows) + advice;
}

QString ProbeReport::nameOf(Verdict verdict)
{
    switch (verdict) {
    case Verdict::Good:
        return QStringLiteral("good");
    case Verdict::Note:
        return QStringLiteral("note");
    case Verdict::Costs:
        return QStringLiteral("costs users");
    case Verdict::Unusable:
        return QStringLiteral("cannot be used");
    case Verdict::Unreachable:
        return QStringLiteral("not reachable");
    }
    return {};
}

} // namespace Kavo::Tools
