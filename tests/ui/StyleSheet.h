#pragma once

#include <QColor>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Kavo::Testing {

/// The program's style sheet as text, cut into its rules, for tests that judge the design itself.
/// Knows as much of the language as the sheet uses.
class StyleSheet final
{
public:
    struct Rule
    {
        QString selector; ///< one, without the commas of the sheet
        QMap<QString, QString> declarations;

        /// What the selector means without its states: "#Download" of "#Download:hover".
        QString subject() const;
        /// The states, in the order of the sheet: ":hover"; empty for the state of rest.
        QString state() const;
    };

    explicit StyleSheet(const QString &text);

    /// The comment at the head.
    const QString &head() const { return m_head; }
    /// Everything below it, without comments.
    const QString &body() const { return m_body; }
    const QVector<Rule> &rules() const { return m_rules; }

    /// Colour of a property ("color", "background") of a subject in a state; where the state says
    /// nothing, that of rest. Invalid when it is not said, transparent when that is.
    QColor color(const QString &subject, const QString &state, const QString &property) const;
    /// The states in which the sheet says anything of the subject, rest first.
    QStringList states(const QString &subject) const;

    /// All colours in a text, each once.
    static QStringList colorsIn(const QString &text);
    /// Contrast of two colours as the web's accessibility guidelines measure it, 1 to 21.
    static double contrast(const QColor &first, const QColor &second);

private:
    void readRules();

    QString m_head;
    QString m_body;
    QVector<Rule> m_rules;
};

} // namespace Kavo::Testing
