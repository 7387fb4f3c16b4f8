#pragma once

#include <QColor>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// The rules of the program's style sheet, for tests of the design. Supports only the part of the
/// language that the sheet uses.
class StyleSheet final
{
public:
    struct Rule
    {
        QString selector; ///< a single one; lists with commas are split
        QMap<QString, QString> declarations;

        /// The selector without its states: "#Download" of "#Download:hover".
        QString subject() const;
        /// The states, in the order of the sheet: ":hover"; empty for the normal state.
        QString state() const;
    };

    explicit StyleSheet(const QString &text);

    /// The comment at the beginning of the sheet.
    const QString &head() const { return m_head; }
    /// The sheet after head(), without comments.
    const QString &body() const { return m_body; }
    const QVector<Rule> &rules() const { return m_rules; }

    /// The colour of a property ("color", "background") of a subject in a state, or in the normal
    /// state if the state does not set it. Invalid if neither does.
    QColor color(const QString &subject, const QString &state, const QString &property) const;
    /// The states that the sheet has rules for, the normal state first.
    QStringList states(const QString &subject) const;

    /// All colours in a text, each once.
    static QStringList colorsIn(const QString &text);
    /// The contrast ratio of two colours as defined by the Web Content Accessibility Guidelines,
    /// from 1 to 21.
    static double contrast(const QColor &first, const QColor &second);

private:
    void readRules();

    QString m_head;
    QString m_body;
    QVector<Rule> m_rules;
};

} // namespace Kavo::Testing
