#include "product/desktop.h"

#include "app/app.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QFileSystemModel>
#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QScreen>
#include <QTextEdit>
#include <QThread>
#include <QTreeView>
#include <QWindow>

#include <thread>

namespace talo::test
{

namespace
{

// The display server has it where clicks reach it.
bool exposed(const QWidget *window)
{
    return window->isVisible() && window->windowHandle() && window->windowHandle()->isExposed();
}

QWidget *front()
{
    if (QWidget *modal = QApplication::activeModalWidget())
        return exposed(modal) ? modal : nullptr;
    for (QWidget *window : QApplication::topLevelWidgets()) {
        if (exposed(window))
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

template <typename W> W *named(const QString &accessibleName)
{
    QWidget *window = front();
    if (!window)
        return nullptr;
    for (W *candidate : window->findChildren<W *>()) {
        if (candidate->isVisible() && candidate->accessibleName() == accessibleName)
            return candidate;
    }
    return nullptr;
}

void xdotool(const QStringList &arguments)
{
    if (QProcess::execute("xdotool", arguments) != 0)
        throw Failure("xdotool failed");
}

QPoint middle(QWidget *widget)
{
    return widget->mapToGlobal(widget->rect().center());
}

} // namespace

void expect(const QString &seen, const QString &wanted)
{
    if (seen != wanted)
        throw Failure(("saw \"" + seen + "\" instead of \"" + wanted + '"').toStdString());
}

void expect(const QStringList &seen, const QStringList &wanted)
{
    expect(seen.join(", "), wanted.join(", "));
}

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
    xdotool({"mousemove", QString::number(point.x()), QString::number(point.y()), "sleep", "0.05",
             "click", "1"});
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
    // An item may be wider than what is seen of it.
    clickAt([&] {
        const QRect seen = view->visualRect(index) & view->viewport()->rect();
        return view->viewport()->mapToGlobal(seen.center());
    });
}

void Desktop::type(const QString &fieldName, const QString &text) const
{
    const auto field = [&fieldName]() -> QWidget * {
        if (QWidget *line = named<QLineEdit>(fieldName))
            return line;
        return named<QTextEdit>(fieldName);
    };
    const auto content = [&field] {
        if (const auto *line = qobject_cast<QLineEdit *>(field()))
            return line->text();
        return qobject_cast<QTextEdit *>(field())->toPlainText();
    };
    await(fieldName.toStdString(), [&] { return field() != nullptr; });
    clickAt([&] { return middle(field()); });
    xdotool({"key", "ctrl+a", "BackSpace"});
    await("an empty field", [&] { return content().isEmpty(); });
    if (!text.isEmpty())
        xdotool({"type", text});
    await("what was typed", [&] { return content() == text; });
}

void Desktop::pick(const QString &boxName, const QString &entry) const
{
    const auto box = [&boxName] { return named<QComboBox>(boxName); };
    const auto open = [] { return QApplication::activePopupWidget() != nullptr; };
    await(boxName.toStdString(), [&] { return box() != nullptr; });
    QComboBox *const found = see<QComboBox *>(box);
    clickAt([&] { return middle(found); });
    await("the open box", open);
    const QModelIndex index = see<QModelIndex>(
        [&] { return found->model()->index(found->findText(entry), found->modelColumn()); });
    if (!index.isValid())
        throw Failure(boxName.toStdString() + " has no entry " + entry.toStdString());
    // A click too soon after the one that opened the box counts as a part of it and picks nothing.
    for (int tries = 0; see<bool>(open); ++tries) {
        if (tries == 20)
            throw Failure("cannot pick " + entry.toStdString());
        clickItem(index, found->view());
        for (int waits = 0; waits < 10 && see<bool>(open); ++waits)
            QThread::msleep(50);
    }
    await(entry.toStdString(), [&] { return found->currentText() == entry; });
}

void Desktop::press(const char *key) const
{
    xdotool({"key", key});
}

QString Desktop::answerMessage(QMessageBox::StandardButton answer) const
{
    const auto shown = [] { return qobject_cast<QMessageBox *>(front()); };
    await("a message box", [&] { return shown() != nullptr; });
    const auto box = see<QPointer<QMessageBox>>(shown);
    QString text = see<QString>([&] { return box->text(); });
    clickAt([&] {
        return middle(answer == QMessageBox::NoButton ? box->buttons().first()
                                                      : box->button(answer));
    });
    await("the message box to close", [&] { return !box || !box->isVisible(); });
    return text;
}

void Desktop::mark(const QString &path) const
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
    // More rows may arrive after all, and move it away from under the mouse.
    const auto current = [&] { return tree()->currentIndex() == index(); };
    for (int tries = 0; tries == 0 || !see<bool>(current); ++tries) {
        if (tries == 20)
            throw Failure("cannot mark " + path.toStdString());
        clickAt([&] {
            tree()->scrollTo(index(), QAbstractItemView::PositionAtCenter);
            return tree()->viewport()->mapToGlobal(tree()->visualRect(index()).center());
        });
        for (int waits = 0; waits < 20 && !see<bool>(current); ++waits)
            QThread::msleep(50);
    }
}

void Desktop::choose(const QString &path) const
{
    mark(path);
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

std::string play(const std::function<void(const Desktop &)> &person)
{
    // Closing the windows at the end of one person's steps must not end the next one's.
    QApplication::setQuitOnLastWindowClosed(false);
    TaloAntivirus_Linux_App window;
    window.show();
    std::string failure;
    std::thread thread([&] {
        const Desktop desktop;
        try {
            desktop.await("the window", [&] { return window.windowHandle()->isExposed(); });
            person(desktop);
        } catch (const Failure &problem) {
            failure = problem.what();
            desktop.screenshot("failed");
        }
        // Close whatever a failure left open, so that its exec() returns.
        QMetaObject::invokeMethod(qApp, [] { QApplication::closeAllWindows(); });
        QMetaObject::invokeMethod(
            qApp, [] { QApplication::exit(); }, Qt::QueuedConnection);
    });
    QApplication::exec();
    thread.join();
    return failure;
}

} // namespace talo::test
