// Preloaded into the installed panel, tells whoever plays a person where things are: in the folder
// named by TALO_PLACES, a file called like the program, with a line for every button that can be
// clicked now. Its name, its middle on the screen, and whether it is on.
#include <QAbstractButton>
#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QTextStream>
#include <QTimer>
#include <QWindow>

namespace
{

// Words in which a button without a name of its own is found, in one piece.
QString nameOf(const QAbstractButton &button)
{
    const QString name =
        button.objectName().isEmpty() ? button.text().remove('&') : button.objectName();
    return name.simplified().replace(' ', '_');
}

void tell()
{
    const QWidget *const modal = QApplication::activeModalWidget();
    QSaveFile file(qEnvironmentVariable("TALO_PLACES") + '/' +
                   QFileInfo(QCoreApplication::applicationFilePath()).fileName());
    if (!file.open(QIODevice::WriteOnly))
        return;
    QTextStream out(&file);
    for (const QWidget *widget : QApplication::allWidgets()) {
        const auto *const button = qobject_cast<const QAbstractButton *>(widget);
        if (!button || !button->isVisible() || !button->isEnabled() ||
            (modal && button->window() != modal))
            continue;
        // A click comes to nothing before the display has shown the window.
        const QWindow *const window = button->window()->windowHandle();
        if (!window || !window->isExposed())
            continue;
        const QPoint middle = button->mapToGlobal(button->rect().center());
        out << nameOf(*button) << ' ' << middle.x() << ' ' << middle.y() << ' '
            << (button->isChecked() ? "on" : "off") << '\n';
    }
    out.flush();
    file.commit();
}

void start()
{
    if (qEnvironmentVariableIsEmpty("TALO_PLACES") || !qobject_cast<QApplication *>(qApp))
        return;
    auto *const timer = new QTimer(qApp);
    QObject::connect(timer, &QTimer::timeout, tell);
    timer->start(100);
}

} // namespace

Q_COREAPP_STARTUP_FUNCTION(start)
