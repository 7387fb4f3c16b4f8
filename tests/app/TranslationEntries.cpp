#include "tests/app/TranslationEntries.h"
#include "tests/support/Literals.h"

#include <QFile>
#include <QRegularExpression>
#include <QXmlStreamReader>

namespace Kavo::Testing {

namespace {

QStringList readForms(QXmlStreamReader &reader)
{
    QString text;
    QStringList forms;
    while (reader.readNext() != QXmlStreamReader::EndElement && !reader.atEnd()) {
        if (reader.isStartElement())
            forms.append(reader.readElementText());
        else
            text += reader.text();
    }
    return forms.isEmpty() ? QStringList(text) : forms;
}

TranslationEntry readEntry(QXmlStreamReader &reader, const QString &context)
{
    TranslationEntry entry;
    entry.context = context;
    while (reader.readNextStartElement()) {
        if (reader.name() == QLatin1String("source")) {
            entry.source = reader.readElementText();
        } else if (reader.name() == QLatin1String("comment")) {
            entry.comment = reader.readElementText();
        } else if (reader.name() == QLatin1String("translation")) {
            entry.state = reader.attributes().value(QLatin1String("type")).toString();
            entry.translations = readForms(reader);
        } else {
            reader.skipCurrentElement();
        }
    }
    return entry;
}

QStringList placeHolders(const QString &text)
{
    static const QRegularExpression pattern("%L?(?:[0-9]{1,2}|n)"_s);
    QStringList found;
    auto matches = pattern.globalMatch(text);
    while (matches.hasNext())
        found.append(matches.next().captured());
    found.sort();
    return found;
}

QString blanksAtStart(const QString &text)
{
    static const QRegularExpression pattern(R"(^\s*)"_s);
    return pattern.match(text).captured();
}

QString blanksAtEnd(const QString &text)
{
    static const QRegularExpression pattern(R"(\s*\z)"_s);
    return pattern.match(text).captured();
}

bool endsInColon(const QString &text)
{
    return text.trimmed().endsWith(QLatin1Char(':'));
}

} // namespace

QString TranslationEntry::key() const
{
    return context + QLatin1String(": \"") + source + QLatin1String("\" ") + comment;
}

QVector<TranslationEntry> readTranslations(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QXmlStreamReader reader(&file);
    QVector<TranslationEntry> entries;
    QString context;
    while (!reader.atEnd()) {
        if (reader.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (reader.name() == QLatin1String("name"))
            context = reader.readElementText();
        else if (reader.name() == QLatin1String("message"))
            entries.append(readEntry(reader, context));
    }
    return reader.hasError() ? QVector<TranslationEntry>() : entries;
}

QString lossOf(const QString &source, const QString &translation)
{
    if (placeHolders(source) != placeHolders(translation))
        return "place-holders"_s;
    if (blanksAtStart(source) != blanksAtStart(translation))
        return "blanks at the start"_s;
    if (blanksAtEnd(source) != blanksAtEnd(translation))
        return "blanks at the end"_s;
    if (endsInColon(source) && !endsInColon(translation))
        return "the colon at the end"_s;
    return {};
}

QStringList differentlyTranslated(const QVector<TranslationEntry> &entries,
                                  const Translate &translate)
{
    QStringList keys;
    for (const TranslationEntry &entry : entries) {
        if (entry.translations.size() > 1)
            continue;
        const QString translation =
            translate(entry.context.toUtf8().constData(), entry.source.toUtf8().constData(),
                      entry.comment.toUtf8().constData());
        if (entry.translations != QStringList(translation))
            keys.append(entry.key());
    }
    return keys;
}

} // namespace Kavo::Testing
