#include "core/OneLine.h"

#include <QVector>

namespace Kavo {

namespace {

bool isShown(uint character)
{
    // Qt counts these two line breaks as printable.
    return QChar::isPrint(character) && character != QChar::LineSeparator &&
           character != QChar::ParagraphSeparator;
}

} // namespace

QString oneLine(const QString &path)
{
    QVector<uint> characters = path.toUcs4();
    for (uint &character : characters) {
        if (!isShown(character))
            character = '?';
    }
    return QString::fromUcs4(characters.constData(), characters.size());
}

} // namespace Kavo
