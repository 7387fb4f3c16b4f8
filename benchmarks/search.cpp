// Measures the costs of a search in a long list. Prints one number in each line: the time from a
// keystroke to the painted list, in microseconds, at the 99th percentile; the longest time for
// which the event loop is blocked by a keystroke or while the texts of the packages are read, in
// microseconds; and the memory that the search needs for a package, in bytes.
//
//     bench_search WORK_FOLDER ADDRESS PACKAGES

#include "benchmarks/CardWindow.h"
#include "benchmarks/Measure.h"
#include "benchmarks/ProseMaker.h"
#include "components/WidgetList.h"
#include "ui/list/PackageFilter.h"
#include "ui/list/SearchField.h"
#include "ui/window/PackageContainer.h"

#include <QApplication>
#include <QBoxLayout>
#include <QKeyEvent>
#include <QTextStream>

#include <algorithm>
#include <malloc.h>

using namespace Kavo::Benchmarks;
using Kavo::Components::WidgetList;
using Kavo::Ui::PackageContainer;
using Kavo::Ui::PackageFilter;
using Kavo::Ui::SearchField;

namespace {

constexpr int Searches = 60;
constexpr int ShortestText = 40;
constexpr int LongestText = 240;

/// Allocated bytes of the heap, without memory that the process only reserves.
qint64 memoryInUse()
{
    const auto info = ::mallinfo2();
    return static_cast<qint64>(info.uordblks) + static_cast<qint64>(info.hblkhd);
}

void writeTexts(const Kavo::Models::PackageList &packages, ProseMaker &prose)
{
    Random random(1);
    for (const auto &package : packages) {
        const int words = ShortestText + random.below(LongestText - ShortestText);
        package->setName(prose.text(3));
        package->setShortDescription(prose.text(10));
        package->setDescription(random.chance(33) ? prose.richText(words) : prose.text(words));
    }
}

/// Makes the filter read all texts. Returns the microseconds of the longest turn.
qint64 readAll(PackageFilter &filter)
{
    qint64 longest = 0;
    filter.prepare();
    while (!filter.isComplete())
        longest = std::max(longest, timed([] { QCoreApplication::processEvents(); }));
    return longest;
}

/// The texts that are searched: texts of buttons, a text that occurs nowhere, and one or two words
/// of the packages' texts.
QVector<QString> searches(ProseMaker &prose)
{
    QVector<QString> texts{QStringLiteral("update"), QStringLiteral("download"),
                           QStringLiteral("free plugin"), QStringLiteral("qqqq")};
    while (texts.size() < Searches)
        texts.append(prose.text(1 + texts.size() % 2));
    return texts;
}

class Typist final
{
public:
    Typist(SearchField &field, const WidgetList &list) : m_field(field), m_list(list) {}

    void type(const QString &text)
    {
        for (const QChar letter : text)
            press(Qt::Key_unknown, letter);
        for (int i = 0; i < text.size(); ++i)
            press(Qt::Key_Backspace, QString());
    }

    qint64 slow()
    {
        std::sort(m_times.begin(), m_times.end());
        return m_times.at(m_times.size() * 99 / 100);
    }
    qint64 slowest() { return *std::max_element(m_times.begin(), m_times.end()); }

private:
    void press(int key, const QString &text)
    {
        m_times.append(timed([this, key, &text] {
            QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier, text);
            QCoreApplication::sendEvent(&m_field, &event);
            // The second call handles events that were posted during the first one.
            QCoreApplication::processEvents();
            QCoreApplication::processEvents();
        }));
        if (!m_list.isVisible())
            return;
        const QVector<int> visible = m_list.visibleRows();
        for (const int row : visible)
            require(m_list.rowWidget(row) && m_list.rowWidget(row)->isVisible(), "an empty row");
    }

    SearchField &m_field;
    const WidgetList &m_list;
    QVector<qint64> m_times;
};

SearchField &addField(CardWindow &window)
{
    auto *field = new SearchField(&window.window());
    qobject_cast<QBoxLayout *>(window.window().layout())->insertWidget(0, field);
    QObject::connect(field, &SearchField::textChanged,
                     window.window().findChild<PackageContainer *>(), &PackageContainer::search);
    return *field;
}

} // namespace

int main(int argc, char **argv)
{
    const QApplication application(argc, argv);
    const QStringList arguments = requireArguments(3);
    const int packages = arguments.at(3).toInt();
    CardWindow window(arguments.at(1), arguments.at(2));
    SearchField &field = addField(window);
    window.fill(packages);
    ProseMaker prose;
    writeTexts(window.engine().controller().packages(), prose);
    auto *filter = window.window().findChild<PackageFilter *>();
    require(!filter->isComplete(), "the texts were read too early");
    qint64 longest = readAll(*filter);

    // A filter without a window, so that nothing else allocates memory while it is measured.
    PackageFilter alone;
    const qint64 before = memoryInUse();
    alone.setPackages(window.engine().controller().packages());
    longest = std::max(longest, readAll(alone));
    qint64 memory = memoryInUse() - before;

    Typist typist(field, window.list());
    for (const QString &text : searches(prose))
        typist.type(text);
    QCoreApplication::processEvents();
    const qint64 whole = memoryInUse();
    window.list().listRows(QBitArray(packages));
    memory += memoryInUse() - whole;

    QTextStream out(stdout);
    out << typist.slow() << '\n' << std::max(longest, typist.slowest()) << '\n';
    out << memory / packages << '\n';
    return 0;
}
