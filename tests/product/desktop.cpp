#include "product/desktop.h"

#include <QAbstractButton>
#include <QFileSystemModel>
#include <QMessageBox>
#include <QProcess>
#include <QScreen>
#include <QThread>
#include <QTreeView>

namespace talo::test
{

namespace
{

QWidget *front()
{
    if (QWidget *modal = QApplication::activeModalWidget())
        return modal;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (window->isVisible())
            return window;
    }
    return nullptr;
}

QAbstractButton *button(const std::function<bool(QAbstractButton *)> &wanted)
{
    QWidget *window = front();
    if (!window)
        return nullptr;
    for (QAbstractButton *candidate : window->findChildren<QAbstractButton *>()) {
        if (candidate->isVisible() && candidate->isEnabled() && wanted(candidate))
            return candidate;
    }
    return nullptr;
}

QPoint middle(QWidget *widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

} // namespace

void Desktop::await(const std::string &what, std::function<bool()> condition, int seconds) const
{
    for (int tries = 0; tries < seconds * 20; ++tries) {
        if (see<bool>(condition))
            return;
        QThread::msleep(50);
    }
    throw Failure("waited in vain for " + what);
}

void Desktop::clickAt(const std::function<QPoint()> &where) const
{
    const QPoint point = see<QPoint>(where);
    const int code =
        QProcess::execute("xdotool", {"mousemove", QString::number(point.x()),
                                      QString::number(point.y()), "sleep", "0.05", "click", "1"});
    if (code != 0)
        throw Failure("xdotool failed");
}

void Desktop::click(const char *objectName) const
{
    const auto find = [objectName] {
        return button([&](QAbstractButton *b) { return b->objectName() == objectName; });
    };
    await(objectName, [&] { return find() != nullptr; });
    clickAt([&] { return middle(find()); });
}

void Desktop::clickText(const QString &text) const
{
    const auto find = [&text] {
        return button([&](QAbstractButton *b) { return b->text().remove('&').trimmed() == text; });
    };
    await(text.toStdString(), [&] { return find() != nullptr; });
    clickAt([&] { return middle(find()); });
}

void Desktop::clickItem(const QModelIndex &index, QAbstractItemView *view) const
{
    clickAt([&] { return view->viewport()->mapToGlobal(view->visualRect(index).center()); });
}

QString Desktop::answerMessage() const
{
    const auto box = [] { return qobject_cast<QMessageBox *>(QApplication::activeModalWidget()); };
    await("a message box", [&] { return box() && box()->isVisible(); });
    const QString text = see<QString>([&] { return box()->text(); });
    clickAt([&] { return middle(box()->buttons().first()); });
    await("the message box to close", [&] { return !box(); });
    return text;
}

void Desktop::choose(const QString &path) const
{
    const auto tree = [] {
        QWidget *dialog = QApplication::activeModalWidget();
        return dialog ? dialog->findChild<QTreeView *>() : nullptr;
    };
    const auto index = [&] {
        return qobject_cast<QFileSystemModel *>(tree()->model())->index(path);
    };
    await("the chooser", [&] { return tree() && tree()->isVisible(); });
    // Its rows arrive bit by bit; show the folder until it stands still where it can be clicked.
    QRect last;
    await("the folder's row", [&] {
        tree()->scrollTo(index(), QAbstractItemView::PositionAtCenter);
        const QRect now = tree()->visualRect(index());
        const bool still = !now.isEmpty() && now == last;
        last = now;
        return still;
    });
    QThread::msleep(300);
    clickAt([&] {
        tree()->scrollTo(index(), QAbstractItemView::PositionAtCenter);
        return tree()->viewport()->mapToGlobal(tree()->visualRect(index()).center());
    });
    await("the folder to be the current one", [&] { return tree()->currentIndex() == index(); });
    clickText("OK");
}

void Desktop::screenshot(const std::string &name) const
{
    const QByteArray folder = qgetenv("TALO_SCREENSHOTS");
    if (folder.isEmpty())
        return;
    QThread::msleep(300);
    see<bool>([&] {
        return QApplication::primaryScreen()->grabWindow(0).save(
            QString::fromLocal8Bit(folder) + '/' + QString::fromStdString(name) + ".png");
    });
}

} // namespace talo::test
