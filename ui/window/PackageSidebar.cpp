#include "ui/window/PackageSidebar.h"

#include "packages/PackageController.h"

#include <QComboBox>
#include <QLabel>
#include <QListWidget>
#include <QVBoxLayout>

namespace Kavo::Ui {

using Controllers::PackageController;

namespace {

constexpr int Width = 200;
constexpr int TypesHeight = 150;

QString categoryText(const QString &category)
{
    const QString lower = category.toLower();
    return lower.left(1).toUpper() + lower.mid(1);
}

} // namespace

PackageSidebar::PackageSidebar(const QSharedPointer<PackageController> &controller, QWidget *parent)
    : PackageSidebar(controller, PackageController::packageTypes(), parent)
{}

PackageSidebar::PackageSidebar(const QSharedPointer<PackageController> &controller,
                               const QStringList &categories, QWidget *parent)
    : StyledWidget(QStringLiteral("PackageSidebar"), parent)
    , m_controller(controller)
{
    setFixedWidth(Width);
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(16, 16, 16, 16);
    layout->setSpacing(8);
    addChoice(*layout, tr("Category"), makeCategories(categories));
    addChoice(*layout, tr("Type"), makeTypes());
    layout->addStretch();
}

void PackageSidebar::addChoice(QVBoxLayout &layout, const QString &caption, QWidget *choice)
{
    auto *label = new QLabel(caption, this);
    label->setObjectName(QStringLiteral("SidebarCaption"));
    label->setBuddy(choice);
    choice->setAccessibleName(caption);
    layout.addWidget(label);
    layout.addWidget(choice);
}

// Fixed, see docs/compatibility.md.
QComboBox *PackageSidebar::makeCategories(const QStringList &categories)
{
    auto *choice = new QComboBox(this);
    choice->setObjectName(QStringLiteral("CategoryChoice"));
    for (const QString &category : categories)
        choice->addItem(QIcon(), categoryText(category), category);
    return choice;
}

QListWidget *PackageSidebar::makeTypes()
{
    auto *list = new QListWidget(this);
    list->setObjectName(QStringLiteral("TypeChoice"));
    list->setMaximumHeight(TypesHeight);
    for (const QString &type : {tr("Free"), tr("Paid")}) {
        auto *item = new QListWidgetItem(type, list);
        item->setFlags(item->flags() | Qt::ItemIsUserCheckable);
        item->setCheckState(Qt::Checked);
    }
    return list;
}

} // namespace Kavo::Ui
