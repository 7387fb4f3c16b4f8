#include "packages/record/FormerFolders.h"

#include "core/FileCopy.h"
#include "core/Log.h"
#include "core/Paths.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace Kavo::Models {

namespace {

QString notesPath()
{
    return applicationDataDirectory() + QStringLiteral("folders.json");
}

QJsonObject readNotes()
{
    QFile file(notesPath());
    return file.open(QIODevice::ReadOnly) ? QJsonDocument::fromJson(file.readAll()).object()
                                          : QJsonObject();
}

/// The file is replaced in one step and only by a complete one.
bool writeNotes(const QJsonObject &notes)
{
    const QByteArray text = QJsonDocument(notes).toJson();
    QFile draft(hiddenBeside(notesPath(), QStringLiteral("draft")));
    const bool written = draft.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
                         draft.write(text) == text.size();
    const bool replaced = written && copyOver(draft.fileName(), notesPath());
    draft.remove();
    return replaced;
}

QStringList textsOf(const QJsonArray &array)
{
    QStringList texts;
    for (const QJsonValue &value : array)
        texts.append(value.toString());
    return texts;
}

} // namespace

QStringList formerFolders(const QString &kind, const QString &current, const QString &standard)
{
    const QString folder = QDir::cleanPath(current);
    const QString usual = QDir::cleanPath(standard);
    QJsonObject notes = readNotes();
    QStringList folders = textsOf(notes.value(kind).toArray());
    if (folder != usual && folders.value(folders.size() - 1) != folder) {
        folders.removeAll(folder);
        folders.append(folder);
        notes.insert(kind, QJsonArray::fromStringList(folders));
        if (!writeNotes(notes))
            logLine(QStringLiteral("Folder is not remembered : ") + folder);
    }
    folders.prepend(usual);
    folders.removeAll(folder);
    std::reverse(folders.begin(), folders.end());
    return folders;
}

} // namespace Kavo::Models
