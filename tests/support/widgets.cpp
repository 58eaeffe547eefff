#include "support/widgets.h"

#include <QBoxLayout>
#include <QFileSystemModel>
#include <QMetaMethod>
#include <QTreeView>
#include <QtTest>

namespace talo::test
{
namespace
{

QStringList methodsOf(const QMetaObject &meta, QMetaMethod::MethodType type)
{
    QStringList found;
    for (int i = meta.methodOffset(); i < meta.methodCount(); ++i) {
        if (meta.method(i).methodType() == type) {
            found << QString::fromLatin1(meta.method(i).methodSignature());
        }
    }
    return found;
}

QStringList describe(const QBoxLayout *layout);

QString describe(const QBoxLayout *layout, int index)
{
    QLayoutItem *item = layout->itemAt(index);
    const bool horizontal = layout->direction() == QBoxLayout::LeftToRight;
    if (const QSpacerItem *spacer = item->spacerItem()) {
        const QSize size = spacer->sizeHint();
        const bool stretches = item->expandingDirections() != Qt::Orientations();
        return stretches ? QString("stretch")
                         : QString("spacing %1").arg(horizontal ? size.width() : size.height());
    }
    if (const QWidget *widget = item->widget()) {
        const QString name = widget->objectName();
        return "widget " + (name.isEmpty() ? QString(widget->metaObject()->className()) : name);
    }
    const auto *box = qobject_cast<QBoxLayout *>(item->layout());
    if (!box) {
        return "layout";
    }
    const bool row = box->direction() == QBoxLayout::LeftToRight;
    return (row ? "row [" : "column [") + describe(box).join(", ") + "]";
}

QStringList describe(const QBoxLayout *layout)
{
    QStringList items;
    for (int i = 0; i < layout->count(); ++i) {
        items << describe(layout, i);
    }
    return items;
}

} // namespace

QList<QAbstractButton *> buttons(const QWidget *parent, const QString &text)
{
    QList<QAbstractButton *> found;
    for (QAbstractButton *candidate : parent->findChildren<QAbstractButton *>()) {
        if (candidate->text() == text) {
            found << candidate;
        }
    }
    return found;
}

QAbstractButton *button(const QWidget *parent, const QString &text)
{
    const QList<QAbstractButton *> found = buttons(parent, text);
    return found.size() == 1 ? found.first() : nullptr;
}

bool click(QWidget *widget)
{
    if (!widget || !widget->isVisible() || !widget->isEnabled()) {
        return false;
    }
    QTest::mouseClick(widget, Qt::LeftButton);
    return true;
}

bool clickPath(QTreeView *tree, const QString &path)
{
    auto *model = tree ? qobject_cast<QFileSystemModel *>(tree->model()) : nullptr;
    if (!model) {
        return false;
    }
    // Rows move while the folders' content arrives; a click that hit another row is given again.
    return QTest::qWaitFor([&] {
        const QModelIndex index = model->index(path);
        for (QModelIndex up = index.parent(); up.isValid(); up = up.parent()) {
            tree->expand(up);
        }
        tree->scrollTo(index);
        const QRect place = tree->visualRect(index) & tree->viewport()->rect();
        if (!index.isValid() || place.isEmpty()) {
            return false;
        }
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, Qt::NoModifier, place.center());
        return model->filePath(tree->currentIndex()) == path;
    });
}

QStringList signalsOf(const QMetaObject &meta)
{
    return methodsOf(meta, QMetaMethod::Signal);
}

QStringList slotsOf(const QMetaObject &meta)
{
    return methodsOf(meta, QMetaMethod::Slot);
}

QStringList layoutOf(const QWidget *widget)
{
    const auto *box = qobject_cast<QBoxLayout *>(widget->layout());
    return box ? describe(box) : QStringList();
}

} // namespace talo::test
