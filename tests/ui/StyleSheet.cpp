#include "tests/ui/StyleSheet.h"
#include "tests/support/Literals.h"

#include <QRegularExpression>

#include <cmath>

namespace Kavo::Testing {

namespace {

/// The position of the first state. The two colons of a subcontrol like "::item" do not count.
int stateBegin(const QString &selector)
{
    static const QRegularExpression state("(?<!:):(?!:)"_s);
    const int begin = selector.indexOf(state, selector.lastIndexOf(QLatin1Char(' ')) + 1);
    return begin < 0 ? selector.size() : begin;
}

double linear(double channel)
{
    return channel <= 0.04045 ? channel / 12.92 : std::pow((channel + 0.055) / 1.055, 2.4);
}

double luminance(const QColor &color)
{
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) +
           0.0722 * linear(color.blueF());
}

} // namespace

QString StyleSheet::Rule::subject() const
{
    return selector.left(stateBegin(selector));
}

QString StyleSheet::Rule::state() const
{
    return selector.mid(stateBegin(selector));
}

StyleSheet::StyleSheet(const QString &text)
{
    const int end = text.indexOf("*/"_s) + 2;
    m_head = text.left(end);
    m_body = text.mid(end);
    m_body.remove(
        QRegularExpression(R"(/\*.*?\*/)"_s, QRegularExpression::DotMatchesEverythingOption));
    readRules();
}

void StyleSheet::readRules()
{
    static const QRegularExpression block(R"(([^{}]+)\{([^{}]*)\})"_s);
    for (auto found = block.globalMatch(m_body); found.hasNext();) {
        const QRegularExpressionMatch match = found.next();
        QMap<QString, QString> declarations;
        for (const QString &line : match.captured(2).split(QLatin1Char(';')))
            declarations.insert(line.section(QLatin1Char(':'), 0, 0).trimmed(),
                                line.section(QLatin1Char(':'), 1).trimmed());
        for (const QString &selector : match.captured(1).split(QLatin1Char(',')))
            m_rules.append({selector.simplified(), declarations});
    }
}

QColor StyleSheet::color(const QString &subject, const QString &state,
                         const QString &property) const
{
    QString value;
    QString valueAtRest;
    for (const Rule &rule : m_rules) {
        if (rule.subject() != subject || !rule.declarations.contains(property))
            continue;
        if (rule.state() == state)
            value = rule.declarations.value(property);
        if (rule.state().isEmpty())
            valueAtRest = rule.declarations.value(property);
    }
    const QString &said = value.isEmpty() ? valueAtRest : value;
    return said == "transparent"_s ? QColor(Qt::transparent) : QColor(said);
}

QStringList StyleSheet::states(const QString &subject) const
{
    QStringList found{QString()};
    for (const Rule &rule : m_rules) {
        if (rule.subject() == subject && !found.contains(rule.state()))
            found.append(rule.state());
    }
    return found;
}

QStringList StyleSheet::colorsIn(const QString &text)
{
    static const QRegularExpression color(R"(#[0-9a-f]{6}\b)"_s);
    QStringList found;
    for (auto match = color.globalMatch(text); match.hasNext();)
        found.append(match.next().captured());
    found.removeDuplicates();
    found.sort();
    return found;
}

double StyleSheet::contrast(const QColor &first, const QColor &second)
{
    const double a = luminance(first);
    const double b = luminance(second);
    return (qMax(a, b) + 0.05) / (qMin(a, b) + 0.05);
}

} // namespace Kavo::Testing
