// A person at a desktop: looks at the windows of this process, and clicks and types through the X
// server.
//
// The steps run on a thread of their own, so that they go on while a dialog keeps the slot that
// opened it from returning.
#pragma once

#include <QAbstractItemView>
#include <QApplication>
#include <QMessageBox>
#include <QWidget>
#include <functional>
#include <stdexcept>
#include <string>

namespace talo::test
{

class Failure : public std::runtime_error
{
    using std::runtime_error::runtime_error;
};

// A person's steps went as they should; otherwise the failure names the one that did not.
#define SUCCEEDS(...)                                                                              \
    do {                                                                                           \
        const std::string failure = __VA_ARGS__;                                                   \
        QVERIFY2(failure.empty(), failure.c_str());                                                \
    } while (false)

// Throw a Failure where the two differ.
void expect(const QString &seen, const QString &wanted);
void expect(const QStringList &seen, const QStringList &wanted);

class Desktop
{
public:
    // Runs `look` on the GUI thread and waits for its answer.
    template <typename T> T see(std::function<T()> look) const
    {
        T result{};
        QMetaObject::invokeMethod(
            qApp, [&] { result = look(); }, Qt::BlockingQueuedConnection);
        return result;
    }

    // Until `condition` holds, looked at on the GUI thread. `what` names it in the failure.
    void await(const std::string &what, std::function<bool()> condition, int seconds = 20) const;

    // A visible widget of the window that takes the clicks now.
    void click(const char *objectName) const;
    void clickText(const QString &text) const;
    void clickItem(const QModelIndex &index, QAbstractItemView *view) const;

    // Types over what the text field says, which screen readers know by this name.
    void type(const QString &fieldName, const QString &text) const;
    // Opens the box that screen readers know by this name, and clicks one of its entries.
    void pick(const QString &boxName, const QString &entry) const;
    void press(const char *key) const;

    // Takes the front message box for its text and answers it, by its first button if none is said.
    QString answerMessage(QMessageBox::StandardButton answer = QMessageBox::NoButton) const;

    // Shows a folder or file in the chooser that is open, and clicks it.
    void mark(const QString &path) const;
    // The same, and clicks OK.
    void choose(const QString &path) const;

    void screenshot(const std::string &name) const;

private:
    void clickAt(const std::function<QPoint()> &where) const;
};

// Shows the product's window to a person, and returns what kept that person from finishing, or
// nothing.
std::string play(const std::function<void(const Desktop &)> &person);

} // namespace talo::test
